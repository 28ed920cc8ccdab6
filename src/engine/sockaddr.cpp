#include "engine/sockaddr.h"

#include <arpa/inet.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace engine {

namespace {

[[noreturn]] void throwErrno(const std::string& what) { throw std::system_error(errno, std::generic_category(), what); }

}  // namespace

SockAddr SockAddr::of(const IpAddress& a, uint16_t port, uint32_t scopeId) {
    SockAddr s;
    if (a.isV6()) {
        auto* sin6 = reinterpret_cast<sockaddr_in6*>(&s.storage);
        sin6->sin6_family = AF_INET6;
        sin6->sin6_port = htons(port);
        sin6->sin6_scope_id = scopeId;
        std::memcpy(&sin6->sin6_addr, a.bytes.data(), 16);
        s.length = sizeof(sockaddr_in6);
    } else {
        auto* sin = reinterpret_cast<sockaddr_in*>(&s.storage);
        sin->sin_family = AF_INET;
        sin->sin_port = htons(port);
        std::memcpy(&sin->sin_addr, a.bytes.data(), 4);
        s.length = sizeof(sockaddr_in);
    }
    return s;
}

IpAddress SockAddr::address() const {
    IpAddress a;
    if (storage.ss_family == AF_INET6) {
        a.family = AF_INET6;
        std::memcpy(a.bytes.data(), &reinterpret_cast<const sockaddr_in6*>(&storage)->sin6_addr, 16);
    } else {
        std::memcpy(a.bytes.data(), &reinterpret_cast<const sockaddr_in*>(&storage)->sin_addr, 4);
    }
    return a;
}

uint16_t SockAddr::port() const {
    return ntohs(storage.ss_family == AF_INET6 ? reinterpret_cast<const sockaddr_in6*>(&storage)->sin6_port
                                               : reinterpret_cast<const sockaddr_in*>(&storage)->sin_port);
}

std::string SockAddr::toString() const {
    const std::string host = address().toString();
    return (storage.ss_family == AF_INET6 ? "[" + host + "]" : host) + ":" + std::to_string(port());
}

SockAddr localAddress(int fd) {
    SockAddr s;
    s.length = sizeof s.storage;
    if (::getsockname(fd, reinterpret_cast<sockaddr*>(&s.storage), &s.length) < 0) throwErrno("getsockname");
    return s;
}

SockAddr peerAddress(int fd) {
    SockAddr s;
    s.length = sizeof s.storage;
    if (::getpeername(fd, reinterpret_cast<sockaddr*>(&s.storage), &s.length) < 0) throwErrno("getpeername");
    return s;
}

}  // namespace engine
