#include "core/parse.h"

#include <arpa/inet.h>
#include <tcl.h>

#include <cstdio>

namespace zk {

std::optional<uint32_t> parseIPv4(std::string_view s) {
    uint32_t value = 0;
    size_t i = 0;
    for (int part = 0; part < 4; ++part) {
        if (part > 0) {
            if (i >= s.size() || s[i] != '.') return std::nullopt;
            ++i;
        }
        size_t start = i;
        unsigned n = 0;
        while (i < s.size() && s[i] >= '0' && s[i] <= '9' && i - start < 3) n = n * 10 + unsigned(s[i++] - '0');
        if (i == start || n > 255) return std::nullopt;
        value = value << 8 | n;
    }
    if (i != s.size()) return std::nullopt;
    return value;
}

std::string formatIPv4(uint32_t v) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%u.%u.%u.%u", v >> 24, (v >> 16) & 255, (v >> 8) & 255, v & 255);
    return buf;
}

std::optional<std::array<uint8_t, 16>> parseIPv6(std::string_view s) {
    if (s.empty() || s.size() > 45) return std::nullopt;
    std::string text(s);
    if (text.find('\0') != std::string::npos) return std::nullopt;
    std::array<uint8_t, 16> bytes{};
    if (inet_pton(AF_INET6, text.c_str(), bytes.data()) != 1) return std::nullopt;
    return bytes;
}

namespace {
int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}
bool isSeparator(char c) { return c == ' ' || c == '\t' || c == ':' || c == '-'; }
}  // namespace

std::optional<std::vector<uint8_t>> parseBytes(std::string_view s) {
    std::vector<uint8_t> out;
    size_t i = 0;
    while (i < s.size()) {
        if (isSeparator(s[i])) {
            ++i;
            continue;
        }
        size_t start = i;
        while (i < s.size() && !isSeparator(s[i])) {
            if (hexValue(s[i]) < 0) return std::nullopt;
            ++i;
        }
        size_t len = i - start;
        if (len == 1) {
            out.push_back(uint8_t(hexValue(s[start])));
        } else {
            if (len % 2) return std::nullopt;
            for (size_t k = start; k < i; k += 2)
                out.push_back(uint8_t(hexValue(s[k]) << 4 | hexValue(s[k + 1])));
        }
    }
    return out;
}

std::optional<std::array<uint8_t, 4>> parseAdminGroup(std::string_view s) {
    if (auto v4 = parseIPv4(s))
        return std::array<uint8_t, 4>{uint8_t(*v4 >> 24), uint8_t(*v4 >> 16), uint8_t(*v4 >> 8), uint8_t(*v4)};
    auto bytes = parseBytes(s);
    if (!bytes || bytes->size() != 4) return std::nullopt;
    return std::array<uint8_t, 4>{(*bytes)[0], (*bytes)[1], (*bytes)[2], (*bytes)[3]};
}

std::optional<hal::EIPAddress> ipv4Address(std::string_view s) {
    auto v = parseIPv4(s);
    if (!v) return std::nullopt;
    return hal::EIPAddress::FromV4(*v);
}

std::optional<hal::EIPAddress> ipv6Address(std::string_view s) {
    auto v = parseIPv6(s);
    if (!v) return std::nullopt;
    return hal::EIPAddress::FromV6(*v);
}

}  // namespace zk

namespace zk {

hal::EIPAddress anyAddress(std::string_view s) {
    if (auto a = ipv4Address(s)) return *a;
    return ipv6Address(s).value_or(hal::EIPAddress{});
}

std::optional<std::vector<hal::EIPAddress>> ipv4List(const std::string& text) {
    int n;
    const char** argv;
    if (Tcl_SplitList(nullptr, text.c_str(), &n, &argv) != TCL_OK) return std::nullopt;
    std::vector<hal::EIPAddress> addresses;
    bool good = true;
    for (int i = 0; i < n && good; ++i) {
        auto a = ipv4Address(argv[i]);
        if (a) addresses.push_back(*a);
        good = a.has_value();
    }
    Tcl_Free(reinterpret_cast<char*>(argv));
    return good ? std::optional(addresses) : std::nullopt;
}

std::string ipv4ListText(const std::vector<hal::EIPAddress>& addresses) {
    std::string text;
    for (const auto& a : addresses) text += (text.empty() ? "" : " ") + a.ToString();
    return text;
}

}  // namespace zk
