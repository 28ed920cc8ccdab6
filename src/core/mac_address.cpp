#include "core/mac_address.h"

#include <cstdio>

namespace zk {

namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// `groups` groups of `digits` hex digits, split by `separator`.
std::optional<uint64_t> readGroups(std::string_view text, int groups, int digits, char separator) {
    if (text.size() != size_t(groups * digits + groups - 1)) return std::nullopt;
    uint64_t mac = 0;
    size_t i = 0;
    for (int g = 0; g < groups; ++g) {
        if (g > 0 && text[i++] != separator) return std::nullopt;
        for (int d = 0; d < digits; ++d) {
            int v = hexDigit(text[i++]);
            if (v < 0) return std::nullopt;
            mac = mac << 4 | uint64_t(v);
        }
    }
    return mac;
}

}  // namespace

std::optional<uint64_t> parseMac(std::string_view text) {
    if (text.size() == 17) {
        char separator = text[2];
        if (separator != ':' && separator != '-') return std::nullopt;
        return readGroups(text, 6, 2, separator);
    }
    return readGroups(text, 3, 4, '.');
}

std::string formatMac(uint64_t mac) {
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", unsigned(mac >> 40 & 0xff),
                  unsigned(mac >> 32 & 0xff), unsigned(mac >> 24 & 0xff), unsigned(mac >> 16 & 0xff),
                  unsigned(mac >> 8 & 0xff), unsigned(mac & 0xff));
    return text;
}

hal::EBlob macBlob(const std::string& text) {
    uint64_t mac = parseMac(text).value_or(0);
    std::vector<uint8_t> bytes(6);
    for (size_t i = 0; i < 6; ++i) bytes[i] = uint8_t(mac >> (40 - 8 * i));
    return hal::EBlob(std::move(bytes));
}

std::string macText(const hal::EBlob& b) {
    uint64_t mac = 0;
    for (size_t i = 0; i < 6; ++i) mac = mac << 8 | (i < b.bytes.size() ? b.bytes[i] : 0);
    return formatMac(mac);
}

}  // namespace zk
