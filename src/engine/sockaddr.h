// A socket address of either family.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <string>

#include "engine/ip.h"

namespace engine {

struct SockAddr {
    sockaddr_storage storage{};
    socklen_t length = 0;

    // scopeId: the interface index of an IPv6 link-local address.
    static SockAddr of(const IpAddress& a, uint16_t port, uint32_t scopeId = 0);
    IpAddress address() const;
    uint16_t port() const;
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
    std::string toString() const;  // "10.0.0.1:179", "[2001:db8::1]:179"
};

SockAddr localAddress(int fd);
SockAddr peerAddress(int fd);

}  // namespace engine
