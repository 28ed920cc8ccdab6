// What the RIP and RIPng classes share.
#pragma once

#include <optional>
#include <string>

namespace zk {

// Routers and RIPng interfaces run on the port's protocol interfaces, which
// a script names by their description.
// The local id of the current port's interface of that description, if any.
std::optional<int> interfaceIdOf(const std::string& description);
// The description of the current port's interface with that local id, or "".
std::string interfaceDescriptionOf(std::optional<int> localId);

// A router's own lists (route ranges, interfaces) work only while a usable
// port is selected: 0, else 100.
int childListsReady();

}  // namespace zk
