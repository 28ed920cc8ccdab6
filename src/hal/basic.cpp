#include "hal/basic.h"

#include <atomic>
#include <arpa/inet.h>

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
    // RFC 5952 text for IPv6 (lower case, the longest run of zero groups as
    // "::", an IPv4-mapped tail dotted).
    char buf[INET6_ADDRSTRLEN];
    inet_ntop(v6_ ? AF_INET6 : AF_INET, bytes_.data(), buf, sizeof buf);
    return buf;
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
    char buf[17] = {'"'};  // a quoted dotted address, written without a detour through std::string
    char* p = buf + 1;
    for (size_t i = 0; i < 4; ++i) {
        unsigned octet = a.GetBytes()[i];
        if (octet >= 100) *p++ = char('0' + octet / 100);
        if (octet >= 10) *p++ = char('0' + octet / 10 % 10);
        *p++ = char('0' + octet % 10);
        *p++ = i < 3 ? '.' : '"';
    }
    w.raw(std::string_view(buf, size_t(p - buf)));
}
void writeJson(JsonWriter& w, const EIPMaskedAddress& a) { w.string(a.ToString()); }
void writeJson(JsonWriter& w, const EComponentId& id) { w.unsignedInteger(id.GetValue()); }

}  // namespace hal
