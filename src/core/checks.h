// Validation reads as the list of checks it runs: one line per check, in
// order, each with its full message. A failing check writes its message to
// the last-error text, so after several failures the last one stands.
//
// The predicates below are what option declarations check with:
//   .check(range(0, 1))  .check(atLeast(0))  .check(ipv4)  .check(maxLength(8))
#pragma once

#include <climits>
#include <cstdint>
#include <string>

#include "core/errors.h"
#include "core/parse.h"

namespace zk {

class Checks {
public:
    void that(bool good, const char* message) {
        if (!good) fail(message);
    }
    void that(bool good, const std::string& message) {
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
    // Ends validation after this check: the checks after it do not run.
    void stop() { stopped_ = true; }
    bool stopped() const { return stopped_; }
    bool ok() const { return ok_; }

private:
    bool ok_ = true;
    bool stopped_ = false;
};

struct Range {
    long long lo, hi;
    bool operator()(long long v) const { return v >= lo && v <= hi; }
};
constexpr Range range(long long lo, long long hi) { return {lo, hi}; }
constexpr Range atLeast(long long lo) { return {lo, LLONG_MAX}; }
inline constexpr Range boolean{0, 1};

struct MaxLength {
    size_t n;
    bool operator()(const std::string& s) const { return s.size() <= n; }
};
constexpr MaxLength maxLength(size_t n) { return {n}; }

// 255.255.252.0, not 255.0.255.0: the ones, then only zeros.
inline bool contiguousMask(uint32_t mask) {
    uint32_t inverted = ~mask;
    return (inverted & (inverted + 1)) == 0;
}
inline bool ipv4(const std::string& text) { return parseIPv4(text).has_value(); }
inline bool ipv6(const std::string& text) { return parseIPv6(text).has_value(); }
inline bool bytes(const std::string& text) { return parseBytes(text).has_value(); }

}  // namespace zk
