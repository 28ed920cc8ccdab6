// An IPv4 or IPv6 address as the engine passes it to the kernel.
#pragma once

#include <sys/socket.h>

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace engine {

struct IpAddress {
    int family = AF_INET;             // AF_INET or AF_INET6
    std::array<uint8_t, 16> bytes{};  // network order; IPv4 uses the first four

    // Dotted IPv4 or IPv6 text; nothing for anything else.
    static std::optional<IpAddress> parse(std::string_view text);
    static IpAddress v4(uint32_t hostOrder);
    // From most-significant-first bytes (what the configuration records keep).
    static IpAddress fromBytes(bool v6, const std::array<uint8_t, 16>& b) {
        return IpAddress{v6 ? AF_INET6 : AF_INET, b};
    }

    bool isV6() const { return family == AF_INET6; }
    size_t size() const { return isV6() ? 16 : 4; }
    std::string toString() const;
    auto operator<=>(const IpAddress&) const = default;
};

}  // namespace engine
