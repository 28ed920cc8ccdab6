#include "engine/datagram.h"

#include <net/if.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "engine/netns.h"

namespace engine {

namespace {

[[noreturn]] void throwErrno(const std::string& what) { throw std::system_error(errno, std::generic_category(), what); }

void setInt(int fd, int level, int name, int value, const char* what) {
    if (::setsockopt(fd, level, name, &value, sizeof value) < 0) throwErrno(what);
}

// The arrival interface, destination and TTL of each datagram.
void askForAncillary(int fd, int family) {
    if (family == AF_INET6) {
        setInt(fd, IPPROTO_IPV6, IPV6_RECVPKTINFO, 1, "set IPV6_RECVPKTINFO");
        setInt(fd, IPPROTO_IPV6, IPV6_RECVHOPLIMIT, 1, "set IPV6_RECVHOPLIMIT");
    } else {
        setInt(fd, IPPROTO_IP, IP_PKTINFO, 1, "set IP_PKTINFO");
        setInt(fd, IPPROTO_IP, IP_RECVTTL, 1, "set IP_RECVTTL");
    }
}

int socketFamily(int fd) {
    int family = 0;
    socklen_t len = sizeof family;
    if (::getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &family, &len) < 0) throwErrno("get SO_DOMAIN");
    return family;
}

void membership(int fd, const IpAddress& group, int ifindex, bool join) {
    const std::string what =
        std::string(join ? "join " : "leave ") + group.toString() + " on interface " + std::to_string(ifindex);
    if (group.isV6()) {
        ipv6_mreq m{};
        std::memcpy(&m.ipv6mr_multiaddr, group.bytes.data(), 16);
        m.ipv6mr_interface = unsigned(ifindex);
        if (::setsockopt(fd, IPPROTO_IPV6, join ? IPV6_JOIN_GROUP : IPV6_LEAVE_GROUP, &m, sizeof m) < 0)
            throwErrno(what);
    } else {
        ip_mreqn m{};
        std::memcpy(&m.imr_multiaddr, group.bytes.data(), 4);
        m.imr_ifindex = ifindex;
        if (::setsockopt(fd, IPPROTO_IP, join ? IP_ADD_MEMBERSHIP : IP_DROP_MEMBERSHIP, &m, sizeof m) < 0)
            throwErrno(what);
    }
}

constexpr size_t kMaxDatagram = 65536;

}  // namespace

Fd udpSocket(const std::string& netns, const IpAddress& local, uint16_t port, uint32_t scopeId) {
    const SockAddr at = SockAddr::of(local, port, scopeId);
    Fd fd(socketIn(netns, local.family, SOCK_DGRAM | SOCK_NONBLOCK, 0));
    setInt(fd.get(), SOL_SOCKET, SO_REUSEADDR, 1, "set SO_REUSEADDR");
    if (local.isV6()) setInt(fd.get(), IPPROTO_IPV6, IPV6_V6ONLY, 1, "set IPV6_V6ONLY");
    if (::bind(fd.get(), at.get(), at.length) < 0)
        throwErrno("bind UDP " + at.toString() + (netns.empty() ? "" : " in network namespace '" + netns + "'"));
    return fd;
}

Fd rawIpSocket(const std::string& netns, int family, int protocol) {
    return Fd(socketIn(netns, family, SOCK_RAW | SOCK_NONBLOCK, protocol));
}

void joinGroup(int fd, const IpAddress& group, int ifindex) { membership(fd, group, ifindex, true); }
void leaveGroup(int fd, const IpAddress& group, int ifindex) { membership(fd, group, ifindex, false); }

void setMulticastInterface(int fd, int family, int ifindex) {
    if (family == AF_INET6) return setInt(fd, IPPROTO_IPV6, IPV6_MULTICAST_IF, ifindex, "set IPV6_MULTICAST_IF");
    ip_mreqn m{};
    m.imr_ifindex = ifindex;
    if (::setsockopt(fd, IPPROTO_IP, IP_MULTICAST_IF, &m, sizeof m) < 0) throwErrno("set IP_MULTICAST_IF");
}

void setMulticastTtl(int fd, int family, int ttl) {
    if (family == AF_INET6) return setInt(fd, IPPROTO_IPV6, IPV6_MULTICAST_HOPS, ttl, "set IPV6_MULTICAST_HOPS");
    setInt(fd, IPPROTO_IP, IP_MULTICAST_TTL, ttl, "set IP_MULTICAST_TTL");
}

void setMulticastLoop(int fd, int family, bool on) {
    if (family == AF_INET6) return setInt(fd, IPPROTO_IPV6, IPV6_MULTICAST_LOOP, on, "set IPV6_MULTICAST_LOOP");
    setInt(fd, IPPROTO_IP, IP_MULTICAST_LOOP, on, "set IP_MULTICAST_LOOP");
}

void bindToDevice(int fd, const std::string& ifname) {
    if (::setsockopt(fd, SOL_SOCKET, SO_BINDTODEVICE, ifname.c_str(), socklen_t(ifname.size())) < 0)
        throwErrno("bind to device " + ifname);
}

DatagramSocket::DatagramSocket(Reactor& reactor, Fd fd)
    : reactor_(reactor), fd_(std::move(fd)), family_(socketFamily(fd_.get())) {
    askForAncillary(fd_.get(), family_);
    reactor_.watch(fd_.get(), kReadable, [this](uint32_t) { readAll(); });
}

DatagramSocket::~DatagramSocket() { reactor_.unwatch(fd_.get()); }

void DatagramSocket::readAll() {
    const std::weak_ptr<bool> alive = token_;
    uint8_t buffer[kMaxDatagram];
    alignas(cmsghdr) char control[256];
    for (int i = 0; i < 64; ++i) {
        Datagram d;
        iovec iov{buffer, sizeof buffer};
        msghdr msg{};
        msg.msg_name = &d.from.storage;
        msg.msg_namelen = sizeof d.from.storage;
        msg.msg_iov = &iov;
        msg.msg_iovlen = 1;
        msg.msg_control = control;
        msg.msg_controllen = sizeof control;
        const ssize_t n = ::recvmsg(fd_.get(), &msg, MSG_DONTWAIT);
        if (n < 0) {
            if (errno == EINTR) continue;
            return;  // EAGAIN, or an error queued by an earlier send: nothing to read
        }
        d.from.length = msg.msg_namelen;
        d.to.family = family_;
        for (cmsghdr* c = CMSG_FIRSTHDR(&msg); c; c = CMSG_NXTHDR(&msg, c)) {
            if (c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_PKTINFO) {
                in_pktinfo info;
                std::memcpy(&info, CMSG_DATA(c), sizeof info);
                d.ifindex = info.ipi_ifindex;
                std::memcpy(d.to.bytes.data(), &info.ipi_addr, 4);
            } else if (c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_TTL) {
                int ttl;
                std::memcpy(&ttl, CMSG_DATA(c), sizeof ttl);
                d.ttl = ttl;
            } else if (c->cmsg_level == IPPROTO_IPV6 && c->cmsg_type == IPV6_PKTINFO) {
                in6_pktinfo info;
                std::memcpy(&info, CMSG_DATA(c), sizeof info);
                d.ifindex = int(info.ipi6_ifindex);
                std::memcpy(d.to.bytes.data(), &info.ipi6_addr, 16);
            } else if (c->cmsg_level == IPPROTO_IPV6 && c->cmsg_type == IPV6_HOPLIMIT) {
                int hops;
                std::memcpy(&hops, CMSG_DATA(c), sizeof hops);
                d.ttl = hops;
            }
        }
        d.bytes = std::span<const uint8_t>(buffer, size_t(n) < sizeof buffer ? size_t(n) : sizeof buffer);
        if (onReceive) onReceive(d);
        if (alive.expired()) return;
    }
}

bool DatagramSocket::sendTo(std::span<const uint8_t> bytes, const SockAddr& to, int ifindex, const IpAddress* from) {
    iovec iov{const_cast<uint8_t*>(bytes.data()), bytes.size()};
    msghdr msg{};
    msg.msg_name = const_cast<sockaddr*>(to.get());
    msg.msg_namelen = to.length;
    msg.msg_iov = &iov;
    msg.msg_iovlen = 1;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(in6_pktinfo))] = {};
    if (ifindex > 0 || from) {
        // The interface out, whatever the routing table says (link-local
        // and multicast destinations), and the source address.
        msg.msg_control = control;
        cmsghdr* c = reinterpret_cast<cmsghdr*>(control);
        if (family_ == AF_INET6) {
            in6_pktinfo info{};
            info.ipi6_ifindex = unsigned(ifindex > 0 ? ifindex : 0);
            if (from && from->isV6()) std::memcpy(&info.ipi6_addr, from->bytes.data(), 16);
            c->cmsg_level = IPPROTO_IPV6;
            c->cmsg_type = IPV6_PKTINFO;
            c->cmsg_len = CMSG_LEN(sizeof info);
            std::memcpy(CMSG_DATA(c), &info, sizeof info);
            msg.msg_controllen = CMSG_SPACE(sizeof info);
        } else {
            in_pktinfo info{};
            info.ipi_ifindex = ifindex > 0 ? ifindex : 0;
            if (from && !from->isV6()) std::memcpy(&info.ipi_spec_dst, from->bytes.data(), 4);
            c->cmsg_level = IPPROTO_IP;
            c->cmsg_type = IP_PKTINFO;
            c->cmsg_len = CMSG_LEN(sizeof info);
            std::memcpy(CMSG_DATA(c), &info, sizeof info);
            msg.msg_controllen = CMSG_SPACE(sizeof info);
        }
    }
    for (;;) {
        if (::sendmsg(fd_.get(), &msg, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0) return true;
        if (errno == EINTR) continue;
        lastError_ = errno;
        ++drops_;
        return false;
    }
}

}  // namespace engine
