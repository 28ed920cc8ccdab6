// What the LDP classes share: label and address checks.
#pragma once

#include <string>

#include "core/port_feature.h"
#include "hal/ldp.h"

namespace zk::ldp {

// Relations between two options are checked only when both are in their
// own ranges: a value out of range has its own message.
inline bool inRange(long long v, long long lo, long long hi) { return v >= lo && v <= hi; }
// A hold time (seconds, 16 bits) longer than the interval of what keeps it up.
inline bool holdOutlasts(int hold, int interval) {
    return !inRange(hold, 1, 65535) || !inRange(interval, 1, 65535) || hold > interval;
}

// A label of the range 16 .. 2^20 - 1, and whether `count` labels from
// `first` stay in it when each takes the next.
bool validLabel(long long label);
bool labelsFit(int labelMode, long long first, long long count);

// A contiguous IPv4 mask (255.255.252.0, not 255.0.255.0).
bool ipv4Mask(const std::string& text);

}  // namespace zk::ldp
