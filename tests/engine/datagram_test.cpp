// Datagram sockets: on loopback, the source, destination, arrival interface
// and TTL of what arrives; as root, multicast across a veth pair the way RIP
// and OSPF use it, to groups the receiver joined and to one it did not.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/ip.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "engine/datagram.h"
#include "engine/netlink.h"
#include "lab.h"

namespace {

using engine::Datagram;
using engine::DatagramSocket;
using engine::IpAddress;
using engine::Reactor;
using engine::SockAddr;
using namespace std::chrono_literals;

IpAddress ip(const char* text) { return *IpAddress::parse(text); }

struct Received {
    SockAddr from;
    IpAddress to;
    int ifindex, ttl;
    std::string bytes;
};

void record(DatagramSocket& s, std::vector<Received>& into) {
    s.onReceive = [&into](const Datagram& d) {
        into.push_back({d.from, d.to, d.ifindex, d.ttl, std::string(d.bytes.begin(), d.bytes.end())});
    };
}

struct LoopbackCase {
    const char* address;
    int ttl;
};

class DatagramLoopback : public ::testing::TestWithParam<LoopbackCase> {};

TEST_P(DatagramLoopback, ArrivesWithSourceDestinationInterfaceAndTtl) {
    const auto& c = GetParam();
    Reactor r;
    DatagramSocket receiver(r, engine::udpSocket("", ip(c.address), 0));
    DatagramSocket sender(r, engine::udpSocket("", ip(c.address), 0));
    engine::setTtl(sender.fd(), c.ttl);
    std::vector<Received> got;
    record(receiver, got);
    const std::string payload = "RESPONSE";
    const SockAddr to = engine::localAddress(receiver.fd());
    ASSERT_TRUE(sender.sendTo({reinterpret_cast<const uint8_t*>(payload.data()), payload.size()}, to));
    ASSERT_TRUE(r.runUntil([&] { return !got.empty(); }, 2s));
    EXPECT_EQ(got[0].bytes, payload);
    EXPECT_EQ(got[0].from.port(), engine::localAddress(sender.fd()).port());
    EXPECT_EQ(got[0].from.address(), ip(c.address));
    EXPECT_EQ(got[0].to, ip(c.address));
    EXPECT_EQ(got[0].ifindex, 1) << "lo";
    EXPECT_EQ(got[0].ttl, c.ttl);
}

INSTANTIATE_TEST_SUITE_P(Cases, DatagramLoopback,
                         ::testing::Values(LoopbackCase{"127.0.0.1", 1}, LoopbackCase{"127.0.0.1", 255},
                                           LoopbackCase{"::1", 1}, LoopbackCase{"::1", 255}));

TEST(Datagram, ASendTheKernelRefusesIsCountedNotThrown) {
    Reactor r;
    DatagramSocket s(r, engine::udpSocket("", ip("127.0.0.1"), 0));
    const std::vector<uint8_t> tooBig(70000, 0);
    EXPECT_FALSE(s.sendTo(tooBig, engine::localAddress(s.fd())));
    EXPECT_EQ(s.lastError(), EMSGSIZE);
    EXPECT_EQ(s.drops(), 1u);
}

// Multicast across the veth pair: A sends, B listens on the group.
struct MulticastCase {
    const char* name;
    bool v6;
    bool raw;  // IP protocol 89 instead of UDP 520/521
    const char* group;
    bool joined;
    int ttl;
};

class DatagramMulticast : public engine_test::LabTest, public ::testing::WithParamInterface<MulticastCase> {};

TEST_P(DatagramMulticast, ReachesOnlyJoinedGroupsWithTheArrivalInterface) {
    const auto& c = GetParam();
    engine::Netlink na(lab->nsA), nb(lab->nsB);
    const int ia = na.link(lab->ifA)->index, ib = nb.link(lab->ifB)->index;
    na.setLinkUp(ia, true);
    nb.setLinkUp(ib, true);
    const IpAddress a = ip(c.v6 ? "fe80::a" : "10.55.0.1"), b = ip(c.v6 ? "fe80::b" : "10.55.0.2");
    na.addAddress(ia, a, c.v6 ? 64 : 24);
    nb.addAddress(ib, b, c.v6 ? 64 : 24);
    const int family = c.v6 ? AF_INET6 : AF_INET;
    const uint16_t port = c.raw ? 0 : (c.v6 ? 521 : 520);
    IpAddress any;
    any.family = family;
    Reactor r;
    DatagramSocket sender(r, c.raw ? engine::rawIpSocket(lab->nsA, family, 89)
                                   : engine::udpSocket(lab->nsA, a, port, c.v6 ? uint32_t(ia) : 0));
    DatagramSocket receiver(r,
                            c.raw ? engine::rawIpSocket(lab->nsB, family, 89) : engine::udpSocket(lab->nsB, any, port));
    if (c.joined) engine::joinGroup(receiver.fd(), ip(c.group), ib);
    engine::setMulticastInterface(sender.fd(), family, ia);
    engine::setMulticastTtl(sender.fd(), family, c.ttl);
    engine::setMulticastLoop(sender.fd(), family, false);
    std::vector<Received> got;
    record(receiver, got);
    const std::string payload = "HELLO-" + std::string(c.name);
    const std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(payload.data()), payload.size());
    // The link comes up a moment after it is set up; a few tries.
    for (int i = 0; i < 10 && got.empty(); ++i) {
        ASSERT_TRUE(sender.sendTo(bytes, SockAddr::of(ip(c.group), port), ia)) << strerror(sender.lastError());
        r.runUntil([&] { return !got.empty(); }, c.joined ? 100ms : 30ms);
    }
    if (!c.joined) {
        EXPECT_TRUE(got.empty()) << "a group nobody joined";
    } else {
        ASSERT_FALSE(got.empty());
        const Received& d = got.front();
        // Raw IPv4 sockets get the IP header in front.
        const size_t header = c.raw && !c.v6 ? size_t(uint8_t(d.bytes[0]) & 0x0f) * 4 : 0;
        EXPECT_EQ(d.bytes.substr(header), payload);
        EXPECT_EQ(d.from.address(), a);
        EXPECT_EQ(d.to, ip(c.group));
        EXPECT_EQ(d.ifindex, ib);
        EXPECT_EQ(d.ttl, c.ttl);
    }
    na.removeAddress(ia, a, c.v6 ? 64 : 24);
    nb.removeAddress(ib, b, c.v6 ? 64 : 24);
}

INSTANTIATE_TEST_SUITE_P(Cases, DatagramMulticast,
                         ::testing::Values(MulticastCase{"RipV4", false, false, "224.0.0.9", true, 1},
                                           MulticastCase{"RipV6", true, false, "ff02::9", true, 255},
                                           MulticastCase{"OspfV4", false, true, "224.0.0.5", true, 1},
                                           MulticastCase{"OspfV6", true, true, "ff02::5", true, 1},
                                           MulticastCase{"NotJoinedV4", false, false, "224.0.0.9", false, 1},
                                           MulticastCase{"NotJoinedV6", true, false, "ff02::9", false, 255}),
                         [](const auto& info) { return info.param.name; });

}  // namespace
