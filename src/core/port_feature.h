// Options that take effect only on ports with some feature (graceful
// restart, refresh reduction, traffic engineering, ATM labels ...).
#pragma once

#include <initializer_list>
#include <span>

#include "core/port.h"

namespace zk {

// One such option, and whether the object's value differs from the
// record's default.
struct PortDependent {
    const char* option;
    bool differs;
};

// True when the current port has the feature. Otherwise the options keep
// the record's defaults (the caller's business) and a message is left: for
// each differing option "<function>:  <option> is not supported on port
// %s.", or without a port "<function>: Please select the port ...". Neither
// refuses the conversion.
bool portHasFeature(const char* function, bool (*has)(const Port&), std::span<const PortDependent> options);
inline bool portHasFeature(const char* function, bool (*has)(const Port&),
                           std::initializer_list<PortDependent> options) {
    return portHasFeature(function, has, std::span(options.begin(), options.size()));
}

}  // namespace zk
