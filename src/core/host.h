// The module's side of the host interface: its log, the start and stop
// commands a script or the host sends to a port, and statistics enabling.
#pragma once

#include <string>

#include "core/equipment.h"

namespace zk {

inline constexpr const char* kPackageVersion = "0.0";  // of zkmainprotocol

// Sends `message` to the host's log (the callback given to InitProtocols).
void hostLog(const std::string& message);

// Sends a start, stop or transmit command code to a port. 0; 1 unknown
// code or the port refused it; 100 no such port or it is not available;
// 104 the protocol is not licensed on the port.
int sendPortCommand(int chasID, int cardID, int portID, int command);

// Switches the statistics of `protocol` (a name: bgp4, ospf ...) on a port.
// 0; 1 unknown protocol; 100 no such port or it is not available.
int enablePortStatistics(int chasID, int cardID, int portID, const std::string& protocol, int enable);

// Whether the current port answers a request of learned-information
// `kind` now: 0, or 1 with "<where>   <reason>" in the last-error text.
// Every request for learned information or statistics asks this before
// it goes out (see docs/host.md).
int portAnswers(const char* where, const Port& port, const char* kind);

}  // namespace zk
