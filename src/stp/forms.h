// What the spanning tree classes share: the checks of bridge and port
// identifiers (IEEE 802.1D-2004, 9.2.5 and 9.2.7) and the learned kinds.
#pragma once

#include <string>

#include "core/mac_address.h"

namespace zk::stp {

// `zkchassis::learn stpBridge` / `stpInterfaces` file what a port learned
// under these kinds, per bridge MAC address in its colon form.
inline constexpr const char* kBridgeKind = "stpBridge";
inline constexpr const char* kInterfacesKind = "stpInterfaces";

// A bridge priority keeps only its upper four bits on the wire, a port
// priority the upper four bits of a byte.
inline constexpr int kBridgePriorityStep = 4096;
inline constexpr int kPortPriorityStep = 16;
inline constexpr int kLastPortNumber = 4095;          // 12 bits
inline constexpr long long kMaxPathCost = 200000000;  // 802.1D-2004 Table 17-3

// A bridge or host address: a MAC address with the group bit clear.
inline bool individualMac(const std::string& text) {
    auto mac = parseMac(text);
    return mac && !(*mac >> 40 & 1);
}

// Counting up from an individual address reaches a group address when the
// first byte changes: a run of hosts stays within the lower 40 bits.
inline constexpr uint64_t kMacLowBits = (uint64_t(1) << 40) - 1;

inline bool inRange(long long v, long long lo, long long hi) { return v >= lo && v <= hi; }
// A value that is a multiple of `step`; one out of its range has its own message.
inline bool inSteps(long long v, long long last, long long step) { return v < 0 || v > last || v % step == 0; }

}  // namespace zk::stp
