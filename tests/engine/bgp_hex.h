// Byte strings for the BGP codec tests, written as hex with blanks and
// line breaks wherever they help the reading.
#pragma once

#include <cctype>
#include <cstdint>
#include <string>
#include <string_view>

#include "engine/bgp/wire.h"

namespace bgptest {

inline engine::bgp::Bytes hex(std::string_view s) {
    engine::bgp::Bytes out;
    int hi = -1;
    for (char c : s) {
        if (!std::isxdigit(static_cast<unsigned char>(c))) continue;
        int v = std::isdigit(static_cast<unsigned char>(c)) ? c - '0' : (std::tolower(c) - 'a' + 10);
        if (hi < 0) {
            hi = v;
        } else {
            out.push_back(uint8_t(hi << 4 | v));
            hi = -1;
        }
    }
    return out;
}

inline std::string toHex(const engine::bgp::Bytes& b) {
    static const char* d = "0123456789abcdef";
    std::string s;
    for (uint8_t x : b) {
        s += d[x >> 4];
        s += d[x & 15];
    }
    return s;
}

// The 16-byte marker.
inline constexpr std::string_view kMarker = "ffffffffffffffffffffffffffffffff";

inline engine::bgp::Bytes cat(std::initializer_list<engine::bgp::Bytes> parts) {
    engine::bgp::Bytes out;
    for (const auto& p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

// A message of `type` around `body`, its length filled in.
inline engine::bgp::Bytes message(uint8_t type, const engine::bgp::Bytes& body) {
    engine::bgp::Bytes out = hex(kMarker);
    size_t len = 19 + body.size();
    out.push_back(uint8_t(len >> 8));
    out.push_back(uint8_t(len));
    out.push_back(type);
    out.insert(out.end(), body.begin(), body.end());
    return out;
}

}  // namespace bgptest
