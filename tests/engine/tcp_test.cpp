// TCP streams on the loopback of the process's namespace: a connection
// through the listener, refused connects, back-pressure from a peer that
// never reads, the end of the stream both ways. Addresses and socket options
// in a table.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/tcp.h"

namespace {

using engine::Fd;
using engine::IpAddress;
using engine::Reactor;
using engine::SockAddr;
using engine::Stream;
using engine::TcpConnection;
using engine::TcpListener;
using namespace std::chrono_literals;

IpAddress ip(const char* text) { return *IpAddress::parse(text); }

bool runUntil(Reactor& r, const std::function<bool()>& done, engine::Duration limit = 2s) {
    return r.runUntil(done, limit);
}

struct AddressCase {
    const char* text;
    bool valid;
    const char* normal;
};

class IpText : public ::testing::TestWithParam<AddressCase> {};

TEST_P(IpText, ParsesAndPrintsBothFamilies) {
    const auto& c = GetParam();
    const auto a = IpAddress::parse(c.text);
    ASSERT_EQ(a.has_value(), c.valid);
    if (!a) return;
    EXPECT_EQ(a->toString(), c.normal);
    const SockAddr s = SockAddr::of(*a, 179);
    EXPECT_EQ(s.address(), *a);
    EXPECT_EQ(s.port(), 179);
}

INSTANTIATE_TEST_SUITE_P(Cases, IpText,
                         ::testing::Values(AddressCase{"10.0.0.1", true, "10.0.0.1"},
                                           AddressCase{"2001:DB8:0:0::1", true, "2001:db8::1"},
                                           AddressCase{"::ffff:1.2.3.4", true, "::ffff:1.2.3.4"},
                                           AddressCase{"256.1.1.1", false, ""}, AddressCase{"10.0.0.1/24", false, ""},
                                           AddressCase{"", false, ""}));

TEST(IpAddress, FromHostOrderAndBytes) {
    EXPECT_EQ(IpAddress::v4(0x0a000102).toString(), "10.0.1.2");
    std::array<uint8_t, 16> b{0x20, 0x01, 0x0d, 0xb8};
    b[15] = 1;
    EXPECT_EQ(IpAddress::fromBytes(true, b).toString(), "2001:db8::1");
    EXPECT_EQ(SockAddr::of(ip("2001:db8::1"), 179).toString(), "[2001:db8::1]:179");
}

// A listener and a client connection on loopback, both on one reactor.
struct Pair {
    Reactor reactor;
    std::unique_ptr<TcpListener> listener;
    std::unique_ptr<TcpConnection> client, server;
    bool connected = false;

    explicit Pair(const char* loopback) {
        listener = std::make_unique<TcpListener>(
            reactor, engine::tcpListen("", ip(loopback), 0),
            [this](Fd fd, const SockAddr&) { server = TcpConnection::adopt(reactor, std::move(fd)); });
        client = TcpConnection::connect(reactor, engine::tcpConnect("", ip(loopback), listener->address().port()));
        client->onConnected = [this](std::error_code ec) { connected = !ec; };
        EXPECT_TRUE(runUntil(reactor, [&] { return connected && server; }));
    }
};

class TcpLoopback : public ::testing::TestWithParam<const char*> {};

TEST_P(TcpLoopback, BytesBothWaysThenTheEndOfTheStream) {
    Pair p(GetParam());
    ASSERT_TRUE(p.server);
    // Each end's addresses are the other's, reversed.
    EXPECT_EQ(p.server->peerAddress().address(), ip(GetParam()));
    EXPECT_EQ(p.server->peerAddress().toString(), p.client->localAddress().toString());
    EXPECT_EQ(p.client->peerAddress().toString(), p.server->localAddress().toString());
    EXPECT_EQ(p.client->peerAddress().port(), p.listener->address().port());
    std::string atServer, atClient;
    p.server->onData = [&](Stream::Bytes b) {
        atServer.append(b.begin(), b.end());
        if (atServer == "hello") p.server->send("world", 5);
    };
    p.client->onData = [&](Stream::Bytes b) { atClient.append(b.begin(), b.end()); };
    std::error_code serverEnd{EINVAL, std::generic_category()};
    bool serverClosed = false;
    p.server->onClosed = [&](std::error_code ec) {
        serverClosed = true;
        serverEnd = ec;
    };
    ASSERT_TRUE(p.client->send("hello", 5));
    ASSERT_TRUE(runUntil(p.reactor, [&] { return atClient == "world"; }));
    p.client->send("bye", 3);
    p.client->close();
    EXPECT_FALSE(p.client->send("x", 1));
    ASSERT_TRUE(runUntil(p.reactor, [&] { return serverClosed; }));
    EXPECT_EQ(atServer, "hellobye");
    EXPECT_FALSE(serverEnd) << serverEnd.message();
    EXPECT_TRUE(p.server->closed());
}

INSTANTIATE_TEST_SUITE_P(Families, TcpLoopback, ::testing::Values("127.0.0.1", "::1"));

TEST(Tcp, ConnectToAClosedPortReportsRefused) {
    Reactor r;
    uint16_t port;
    {
        Fd probe = engine::tcpListen("", ip("127.0.0.1"), 0);
        port = engine::localAddress(probe.get()).port();
    }
    auto c = TcpConnection::connect(r, engine::tcpConnect("", ip("127.0.0.1"), port));
    std::optional<std::error_code> result;
    c->onConnected = [&](std::error_code ec) { result = ec; };
    ASSERT_TRUE(runUntil(r, [&] { return result.has_value(); }));
    EXPECT_EQ(result->value(), ECONNREFUSED);
    EXPECT_TRUE(c->closed());
}

TEST(Tcp, APeerThatNeverReadsMeetsTheHighWaterMarkAndTheLimit) {
    Pair p("127.0.0.1");
    ASSERT_TRUE(p.server);
    p.server->pauseReading(true);
    p.client->setWaterMarks(256 << 10, 64 << 10);
    p.client->setQueueLimit(4 << 20);
    size_t highAt = 0;
    int lows = 0;
    p.client->onHighWater = [&](size_t q) { highAt = q; };
    p.client->onLowWater = [&] { ++lows; };
    const std::vector<uint8_t> block(64 << 10, 0x5a);
    size_t sent = 0;
    bool refused = false;
    for (int i = 0; i < 1000 && !refused; ++i) {
        if (p.client->send(block)) sent += block.size();
        else refused = true;
        p.reactor.poll(0ms);
    }
    EXPECT_TRUE(refused) << "the queue must stop growing at its limit";
    EXPECT_GE(highAt, size_t(256 << 10));
    EXPECT_LE(p.client->queued(), size_t(4 << 20));
    EXPECT_GT(p.client->queued(), size_t(4 << 20) - block.size());
    // The reader wakes up: everything arrives and the queue drains.
    size_t received = 0;
    p.server->onData = [&](Stream::Bytes b) { received += b.size(); };
    p.server->pauseReading(false);
    ASSERT_TRUE(runUntil(
        p.reactor, [&] { return received == sent; }, 5000ms))
        << received << " of " << sent;
    EXPECT_EQ(p.client->queued(), 0u);
    EXPECT_EQ(lows, 1);
}

TEST(Tcp, BytesSentWhileConnectingGoOutOnceConnected) {
    Reactor r;
    std::unique_ptr<TcpConnection> server;
    TcpListener listener(r, engine::tcpListen("", ip("127.0.0.1"), 0),
                         [&](Fd fd, const SockAddr&) { server = TcpConnection::adopt(r, std::move(fd)); });
    auto client = TcpConnection::connect(r, engine::tcpConnect("", ip("127.0.0.1"), listener.address().port()));
    EXPECT_TRUE(client->connecting());
    ASSERT_TRUE(client->send("early", 5));
    EXPECT_EQ(client->queued(), 5u);
    std::string got;
    ASSERT_TRUE(runUntil(r, [&] { return server != nullptr; }));
    server->onData = [&](Stream::Bytes b) { got.append(b.begin(), b.end()); };
    ASSERT_TRUE(runUntil(r, [&] { return got == "early"; }));
    EXPECT_EQ(client->queued(), 0u);
}

TEST(Tcp, AHandlerMayDestroyItsConnection) {
    Pair p("127.0.0.1");
    ASSERT_TRUE(p.server);
    int calls = 0;
    p.server->onData = [&](Stream::Bytes) {
        ++calls;
        p.server.reset();
    };
    p.client->send("one", 3);
    ASSERT_TRUE(runUntil(p.reactor, [&] { return !p.server; }));
    bool clientClosed = false;
    p.client->onClosed = [&](std::error_code) { clientClosed = true; };
    ASSERT_TRUE(runUntil(p.reactor, [&] { return clientClosed; })) << "the peer sees the end";
    EXPECT_EQ(calls, 1);
}

TEST(Tcp, ResetByThePeerIsAnError) {
    Pair p("127.0.0.1");
    ASSERT_TRUE(p.server);
    std::optional<std::error_code> end;
    p.client->onClosed = [&](std::error_code ec) { end = ec; };
    p.server->abort();
    ASSERT_TRUE(runUntil(p.reactor, [&] { return end.has_value(); }));
    EXPECT_EQ(end->value(), ECONNRESET);
}

struct OptionCase {
    const char* name;
    const char* family;
    engine::TcpOptions options;
    int level, option, expect;
};

class TcpOptions : public ::testing::TestWithParam<OptionCase> {};

TEST_P(TcpOptions, ReachTheSocket) {
    const auto& c = GetParam();
    Fd fd = engine::tcpConnect("", ip(c.family), 9, c.options);
    int value = -1;
    socklen_t len = sizeof value;
    ASSERT_EQ(getsockopt(fd.get(), c.level, c.option, &value, &len), 0);
    EXPECT_EQ(value, c.expect);
}

engine::TcpOptions withTtl(int ttl, int minTtl = 0) {
    engine::TcpOptions o;
    o.ttl = ttl;
    o.minTtl = minTtl;
    return o;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, TcpOptions,
    ::testing::Values(OptionCase{"Ttl", "127.0.0.1", withTtl(1), IPPROTO_IP, IP_TTL, 1},
                      OptionCase{"HopLimit", "::1", withTtl(255), IPPROTO_IPV6, IPV6_UNICAST_HOPS, 255},
                      OptionCase{"MinTtl", "127.0.0.1", withTtl(0, 254), IPPROTO_IP, IP_MINTTL, 254},
                      OptionCase{"MinHopLimit", "::1", withTtl(0, 255), IPPROTO_IPV6, IPV6_MINHOPCOUNT, 255},
                      OptionCase{"NoDelay", "127.0.0.1", {}, IPPROTO_TCP, TCP_NODELAY, 1},
                      OptionCase{"V6Only", "::1", {}, IPPROTO_IPV6, IPV6_V6ONLY, 1}),
    [](const auto& info) { return info.param.name; });

TEST(Tcp, SourceAddressOfAnotherFamilyIsRefused) {
    engine::TcpOptions o;
    o.local = ip("::1");
    EXPECT_THROW(engine::tcpConnect("", ip("127.0.0.1"), 9, o), std::system_error);
}

}  // namespace
