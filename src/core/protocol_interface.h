// The port's protocol interfaces as the protocol classes name them.
#pragma once

#include <optional>
#include <string>

namespace zk {

// Routers and RIPng interfaces run on the port's protocol interfaces, which
// a script names by their description.
// The local id of the current port's interface of that description, if any.
std::optional<int> interfaceIdOf(const std::string& description);
// The same on the current port whether usable or not, 0 when it has none:
// the interface id a link-state or LDP interface record carries.
int localInterfaceId(const std::string& description);
// The description of the current port's interface with that local id, or "".
std::string interfaceDescriptionOf(std::optional<int> localId);

// A router's own lists (route ranges, interfaces) work only while a usable
// port is selected: 0, else 100.
int childListsReady();

}  // namespace zk
