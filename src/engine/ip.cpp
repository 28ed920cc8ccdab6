#include "engine/ip.h"

#include <arpa/inet.h>

namespace engine {

std::optional<IpAddress> IpAddress::parse(std::string_view text) {
    const std::string s(text);
    IpAddress a;
    if (inet_pton(AF_INET, s.c_str(), a.bytes.data()) == 1) return a;
    a.family = AF_INET6;
    if (inet_pton(AF_INET6, s.c_str(), a.bytes.data()) == 1) return a;
    return std::nullopt;
}

IpAddress IpAddress::v4(uint32_t hostOrder) {
    IpAddress a;
    for (int i = 0; i < 4; ++i) a.bytes[i] = uint8_t(hostOrder >> (24 - 8 * i));
    return a;
}

std::string IpAddress::toString() const {
    char buf[INET6_ADDRSTRLEN] = {};
    inet_ntop(family, bytes.data(), buf, sizeof buf);
    return buf;
}

}  // namespace engine
