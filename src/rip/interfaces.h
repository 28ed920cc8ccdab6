// RIP and RIPng routers run on the port's protocol interfaces, which a
// script names by their description.
#pragma once

#include <optional>
#include <string>

namespace zk {

// The local id of the current port's interface of that description, if any.
std::optional<int> interfaceIdOf(const std::string& description);
// The description of the current port's interface with that local id, or "".
std::string interfaceDescriptionOf(std::optional<int> localId);

}  // namespace zk
