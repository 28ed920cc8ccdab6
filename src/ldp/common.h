// What the LDP classes share: label and address checks, and the rule for
// options that need a feature of the port.
#pragma once

#include <initializer_list>
#include <string>

#include "core/port.h"
#include "hal/ldp.h"

namespace zk::ldp {

// An option that takes effect only on ports with some feature, and
// whether the object's value differs from the record's default.
struct PortDependent {
    const char* option;
    bool differs;
};

// True when the current port has the feature. Otherwise the options keep
// the record's defaults (the caller's business) and a message is left: for
// every differing option "<function>:  <option> is not supported on port
// %s.", or without a port "<function>: Please select the port ...". Neither
// refuses the conversion.
bool portHasFeature(const char* function, bool (*has)(const Port&), std::initializer_list<PortDependent> options);

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
