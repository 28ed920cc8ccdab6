// Validation reads as the list of checks it runs: one line per check, in
// order, each with its full message. A failing check writes its message to
// the last-error text, so after several failures the last one stands.
#pragma once

#include <string>

#include "core/errors.h"
#include "core/parse.h"

namespace zk {

class Checks {
public:
    void that(bool good, const char* message) {
        if (!good) fail(message);
    }
    void range(long long v, long long lo, long long hi, const char* message) { that(v >= lo && v <= hi, message); }
    void notNegative(long long v, const char* message) { that(v >= 0, message); }
    void ipv4(const std::string& text, const char* message) { that(parseIPv4(text).has_value(), message); }
    void ipv6(const std::string& text, const char* message) { that(parseIPv6(text).has_value(), message); }
    void fail(const char* message) {
        setLastError(message);
        ok_ = false;
    }
    void fail(std::string message) {
        setLastError(std::move(message));
        ok_ = false;
    }
    bool ok() const { return ok_; }

private:
    bool ok_ = true;
};

}  // namespace zk
