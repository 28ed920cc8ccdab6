#include "hal/basic.h"

#include <atomic>
#include <charconv>
#include <cstdio>

namespace hal {

std::string EBlob::ToHex() const {
    static const char digits[] = "0123456789abcdef";
    std::string s;
    s.reserve(bytes.size() * 2);
    for (uint8_t b : bytes) {
        s += digits[b >> 4];
        s += digits[b & 15];
    }
    return s;
}

EIPAddress EIPAddress::FromV4(uint32_t v) {
    EIPAddress a;
    a.bytes_[0] = uint8_t(v >> 24);
    a.bytes_[1] = uint8_t(v >> 16);
    a.bytes_[2] = uint8_t(v >> 8);
    a.bytes_[3] = uint8_t(v);
    return a;
}

EIPAddress EIPAddress::FromV6(const std::array<uint8_t, 16>& bytes) {
    EIPAddress a;
    a.v6_ = true;
    a.bytes_ = bytes;
    return a;
}

uint32_t EIPAddress::GetV4() const {
    return uint32_t(bytes_[0]) << 24 | uint32_t(bytes_[1]) << 16 | uint32_t(bytes_[2]) << 8 |
           uint32_t(bytes_[3]);
}

EBlob EIPAddress::GetAddressAsBlob() const {
    return {std::vector<uint8_t>(bytes_.begin(), bytes_.begin() + (v6_ ? 16 : 4))};
}

std::string EIPAddress::ToString() const {
    char buf[64];
    if (!v6_) {
        std::snprintf(buf, sizeof buf, "%u.%u.%u.%u", bytes_[0], bytes_[1], bytes_[2], bytes_[3]);
        return buf;
    }
    // RFC 5952 text: lower case, the longest run of two or more zero groups as "::".
    uint16_t g[8];
    for (int i = 0; i < 8; ++i) g[i] = uint16_t(bytes_[2 * i] << 8 | bytes_[2 * i + 1]);
    int bestStart = -1, bestLen = 0;
    for (int i = 0; i < 8;) {
        if (g[i]) { ++i; continue; }
        int j = i;
        while (j < 8 && !g[j]) ++j;
        if (j - i > bestLen && j - i >= 2) { bestStart = i; bestLen = j - i; }
        i = j;
    }
    std::string s;
    for (int i = 0; i < 8; ++i) {
        if (i == bestStart) {
            s += "::";
            i += bestLen - 1;
            continue;
        }
        if (!s.empty() && s.back() != ':') s += ':';
        std::snprintf(buf, sizeof buf, "%x", g[i]);
        s += buf;
    }
    return s;
}

std::string EIPMaskedAddress::ToString() const {
    return address.ToString() + "/" + std::to_string(prefix);
}

EComponentId EComponentId::New() {
    static std::atomic<uint64_t> next{1};
    return EComponentId(next++);
}

void writeJson(JsonWriter& w, const EBlob& b) { w.string(b.ToHex()); }
void writeJson(JsonWriter& w, const EIPAddress& a) {
    if (a.IsV6()) return w.string(a.ToString());
    char buf[18] = "\"";  // a quoted dotted address, written without a detour through std::string
    char* p = buf + 1;
    for (int i = 0; i < 4; ++i) {
        p = std::to_chars(p, buf + sizeof buf, a.GetBytes()[size_t(i)]).ptr;
        *p++ = i < 3 ? '.' : '"';
    }
    w.raw(std::string_view(buf, size_t(p - buf)));
}
void writeJson(JsonWriter& w, const EIPMaskedAddress& a) { w.string(a.ToString()); }
void writeJson(JsonWriter& w, const EComponentId& id) { w.unsignedInteger(id.GetValue()); }

}  // namespace hal
