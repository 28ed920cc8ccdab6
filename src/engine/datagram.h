// Datagram sockets for the speakers that run over UDP or straight over IP
// (RIP on UDP 520/521, OSPF on IP protocol 89): made inside a namespace,
// joined to multicast groups per interface, and served by the reactor with
// the interface a datagram came in on, its destination and its TTL.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "engine/fd.h"
#include "engine/ip.h"
#include "engine/reactor.h"
#include "engine/tcp.h"

namespace engine {

// A UDP socket bound to local:port (SO_REUSEADDR; IPv6 only for IPv6).
Fd udpSocket(const std::string& netns, const IpAddress& local, uint16_t port, uint32_t scopeId = 0);
// A raw socket of an IP protocol (89 for OSPF). IPv4 datagrams are received
// with their IP header, as the kernel hands them; IPv6 ones without.
Fd rawIpSocket(const std::string& netns, int family, int protocol);

// Multicast on one interface.
void joinGroup(int fd, const IpAddress& group, int ifindex);
void leaveGroup(int fd, const IpAddress& group, int ifindex);
void setMulticastInterface(int fd, int family, int ifindex);
void setMulticastTtl(int fd, int family, int ttl);
void setMulticastLoop(int fd, int family, bool on);
// Only datagrams of this interface reach the socket (SO_BINDTODEVICE).
void bindToDevice(int fd, const std::string& ifname);

struct Datagram {
    SockAddr from;
    IpAddress to;     // the destination address (a group for multicast)
    int ifindex = 0;  // the interface it came in on
    int ttl = -1;     // IPv4 TTL or IPv6 hop limit as received; -1 when unknown
    std::span<const uint8_t> bytes;
};

// A datagram socket on the reactor. Receiving asks the kernel for the
// arrival interface, destination and TTL of every datagram.
class DatagramSocket {
public:
    DatagramSocket(Reactor& reactor, Fd fd);
    ~DatagramSocket();
    DatagramSocket(const DatagramSocket&) = delete;
    DatagramSocket& operator=(const DatagramSocket&) = delete;

    // The bytes are valid during the call. The handler may destroy the socket.
    std::function<void(const Datagram&)> onReceive;

    // Sends at once; false when the kernel refuses (a full buffer drops the
    // datagram, as the network would). ifindex > 0 picks the interface out;
    // `from` (an address of this host) the source address.
    bool sendTo(std::span<const uint8_t> bytes, const SockAddr& to, int ifindex = 0,
                const IpAddress* from = nullptr);
    int lastError() const { return lastError_; }
    uint64_t drops() const { return drops_; }
    int fd() const { return fd_.get(); }
    int family() const { return family_; }

private:
    void readAll();

    Reactor& reactor_;
    Fd fd_;
    int family_;
    int lastError_ = 0;
    uint64_t drops_ = 0;
    std::shared_ptr<bool> token_ = std::make_shared<bool>(true);
};

}  // namespace engine
