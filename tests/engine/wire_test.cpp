// The in-memory wire in virtual time: order and timing of delivery across
// latencies and splits, back-pressure through a receiver that stops reading,
// end of stream and reset, and handlers that destroy the streams.
#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <vector>

#include "engine/wire.h"

namespace {

using engine::Duration;
using engine::Reactor;
using engine::Stream;
using engine::VirtualClock;
using engine::WireOptions;
using namespace std::chrono_literals;

std::vector<uint8_t> bytesOf(const std::string& s) { return {s.begin(), s.end()}; }

WireOptions wire(Duration latency, size_t maxChunk) {
    WireOptions o;
    o.latency = latency;
    o.maxChunk = maxChunk;
    return o;
}

struct DeliveryCase {
    const char* name;
    WireOptions options;
    std::vector<std::string> sends;
    size_t expectPieces;
};

class WireDelivery : public ::testing::TestWithParam<DeliveryCase> {};

TEST_P(WireDelivery, BytesArriveInOrderAfterTheLatencyInPiecesOfAtMostMaxChunk) {
    const DeliveryCase& c = GetParam();
    VirtualClock clock;
    Reactor r(clock);
    auto [a, b] = engine::makeWire(r, c.options);
    std::string got;
    std::vector<size_t> pieces;
    std::vector<Duration> arrivals;
    b->onData = [&](Stream::Bytes bytes) {
        got.append(bytes.begin(), bytes.end());
        pieces.push_back(bytes.size());
        arrivals.push_back(clock.now());
    };
    std::string all;
    for (const auto& s : c.sends) {
        ASSERT_TRUE(a->send(s.data(), s.size()));
        all += s;
    }
    EXPECT_EQ(a->queued(), all.size());
    if (c.options.latency > Duration{0}) {
        clock.advance(c.options.latency - 1ns);
        EXPECT_TRUE(got.empty()) << "nothing before the latency";
    }
    clock.advance(c.options.latency + 1ms);
    EXPECT_EQ(got, all);
    EXPECT_EQ(a->queued(), 0u);
    EXPECT_EQ(pieces.size(), c.expectPieces);
    for (size_t n : pieces) {
        if (c.options.maxChunk) {
            EXPECT_LE(n, c.options.maxChunk);
        }
    }
    for (Duration t : arrivals) EXPECT_EQ(t, c.options.latency);
}

INSTANTIATE_TEST_SUITE_P(Cases, WireDelivery,
                         ::testing::Values(DeliveryCase{"AsSent", {}, {"OPEN", "KEEPALIVE"}, 2},
                                           DeliveryCase{"Latency", wire(10ms, 0), {"abc", "def"}, 2},
                                           DeliveryCase{"ByteByByte", wire(0ms, 1), {"abc", "de"}, 5},
                                           DeliveryCase{"SplitAcrossMessages", wire(5ms, 4), {"0123456789"}, 3}),
                         [](const auto& info) { return info.param.name; });

TEST(Wire, EachEndReportsTheAddressesItWasGiven) {
    VirtualClock clock;
    Reactor r(clock);
    WireOptions o;
    o.first = engine::SockAddr::of(*engine::IpAddress::parse("10.0.0.1"), 40000);
    o.second = engine::SockAddr::of(*engine::IpAddress::parse("10.0.0.2"), 179);
    auto [a, b] = engine::makeWire(r, o);
    EXPECT_EQ(a->localAddress().toString(), "10.0.0.1:40000");
    EXPECT_EQ(a->peerAddress().toString(), "10.0.0.2:179");
    EXPECT_EQ(b->localAddress().toString(), "10.0.0.2:179");
    EXPECT_EQ(b->peerAddress().toString(), "10.0.0.1:40000");
}

TEST(Wire, BothWaysAndRepliesFromInsideTheHandler) {
    VirtualClock clock;
    Reactor r(clock);
    auto [a, b] = engine::makeWire(r, wire(1ms, 0));
    std::string atA;
    b->onData = [&](Stream::Bytes bytes) {
        std::string s(bytes.begin(), bytes.end());
        b->send(bytesOf("re:" + s));
    };
    a->onData = [&](Stream::Bytes bytes) { atA.append(bytes.begin(), bytes.end()); };
    a->send(bytesOf("x"));
    clock.advance(1ms);
    EXPECT_EQ(atA, "") << "the reply takes its own latency";
    clock.advance(1ms);
    EXPECT_EQ(atA, "re:x");
}

TEST(Wire, AReceiverThatStopsReadingFillsTheSendersQueueUntilItsLimit) {
    VirtualClock clock;
    Reactor r(clock);
    auto [a, b] = engine::makeWire(r);
    a->setWaterMarks(1000, 200);
    a->setQueueLimit(5000);
    int high = 0, low = 0;
    size_t queuedAtHigh = 0;
    a->onHighWater = [&](size_t q) {
        ++high;
        queuedAtHigh = q;
    };
    a->onLowWater = [&] { ++low; };
    size_t received = 0;
    b->onData = [&](Stream::Bytes bytes) { received += bytes.size(); };
    b->pauseReading(true);
    const std::vector<uint8_t> block(300, 0xab);
    int accepted = 0;
    for (int i = 0; i < 30; ++i) {
        if (a->send(block)) ++accepted;
        clock.advance(1ms);
    }
    EXPECT_EQ(accepted, 16) << "16 * 300 fits under 5000, a 17th would not";
    EXPECT_EQ(received, 0u);
    EXPECT_EQ(a->queued(), 4800u);
    EXPECT_EQ(high, 1) << "once, however far above";
    EXPECT_EQ(queuedAtHigh, 1200u);
    b->pauseReading(false);
    clock.advance(1ms);
    EXPECT_EQ(received, 4800u);
    EXPECT_EQ(a->queued(), 0u);
    EXPECT_EQ(low, 1);
}

struct EndCase {
    const char* name;
    int how;  // 0 close, 1 abort, 2 destroy
    bool peerGetsData;
    int expectErrno;  // of the peer's onClosed
};

class WireEnd : public ::testing::TestWithParam<EndCase> {};

TEST_P(WireEnd, ThePeerSeesTheEndOfTheStream) {
    const EndCase& c = GetParam();
    VirtualClock clock;
    Reactor r(clock);
    auto [a, b] = engine::makeWire(r, wire(2ms, 0));
    std::string got;
    std::vector<std::error_code> closes;
    b->onData = [&](Stream::Bytes bytes) { got.append(bytes.begin(), bytes.end()); };
    b->onClosed = [&](std::error_code ec) {
        EXPECT_EQ(got.empty(), !c.peerGetsData) << "the end comes after the data";
        closes.push_back(ec);
    };
    bool aClosed = false;
    a->onClosed = [&](std::error_code) { aClosed = true; };
    a->send(bytesOf("CEASE"));
    if (c.how == 0) a->close();
    if (c.how == 1) a->abort();
    if (c.how == 2) a.reset();
    if (a) {
        EXPECT_FALSE(a->send(bytesOf("more"))) << "nothing after the end";
    }
    clock.advance(10ms);
    EXPECT_EQ(got, c.peerGetsData ? "CEASE" : "");
    ASSERT_EQ(closes.size(), 1u);
    EXPECT_EQ(closes[0].value(), c.expectErrno);
    EXPECT_TRUE(b->closed());
    EXPECT_FALSE(aClosed) << "the side that ended hears nothing";
    EXPECT_FALSE(b->send(bytesOf("late")));
}

INSTANTIATE_TEST_SUITE_P(Cases, WireEnd,
                         ::testing::Values(EndCase{"CloseFlushesFirst", 0, true, 0},
                                           EndCase{"AbortDrops", 1, false, ECONNRESET},
                                           EndCase{"DestroyResets", 2, false, ECONNRESET}),
                         [](const auto& info) { return info.param.name; });

TEST(Wire, HandlersMayDestroyEitherEnd) {
    VirtualClock clock;
    Reactor r(clock);
    auto [a, b] = engine::makeWire(r, wire(0ms, 2));
    int pieces = 0;
    b->onData = [&](Stream::Bytes) {
        if (++pieces == 2) {
            a.reset();  // the sender, in the middle of its delivery
            b.reset();  // and the receiver itself
        }
    };
    a->send(bytesOf("0123456789"));
    clock.advance(5ms);
    EXPECT_EQ(pieces, 2);
    EXPECT_FALSE(a);
    EXPECT_FALSE(b);
}

// Two toy sessions with keepalive and hold timers, the way a speaker uses
// the engine: each sends a byte every 3 s and gives up (and stops sending)
// 9 s after it last heard one. When one side goes deaf it expires first;
// then the other, having heard nothing since, 9 s after the deaf side's
// last keepalive arrived.
struct ToySession {
    Reactor& reactor;
    Stream& stream;
    engine::Timer keepalive{reactor}, hold{reactor};
    Duration lastHeard{-1}, expiredAt{-1};

    ToySession(Reactor& r, Stream& s) : reactor(r), stream(s) {
        stream.onData = [this](Stream::Bytes) {
            lastHeard = reactor.now();
            hold.restart(9s);
        };
        keepalive.startPeriodic(3s, [this] { stream.send("K", 1); });
        hold.start(9s, [this] {
            expiredAt = reactor.now();
            keepalive.cancel();
        });
    }
};

struct HoldCase {
    const char* name;
    Duration latency;
    Duration deafAt;  // when the second session stops reading
};

class WireSessions : public ::testing::TestWithParam<HoldCase> {};

TEST_P(WireSessions, HoldTimerExpiresNineSecondsAfterTheLastKeepalive) {
    const HoldCase& c = GetParam();
    VirtualClock clock;
    Reactor r(clock);
    auto [a, b] = engine::makeWire(r, wire(c.latency, 0));
    ToySession left(r, *a), right(r, *b);
    clock.advance(c.deafAt);
    b->pauseReading(true);
    clock.advance(60s);
    ASSERT_NE(right.expiredAt, Duration{-1});
    ASSERT_NE(left.expiredAt, Duration{-1});
    EXPECT_EQ(right.expiredAt, right.lastHeard + 9s);
    EXPECT_EQ(left.expiredAt, left.lastHeard + 9s);
    EXPECT_LT(right.expiredAt, left.expiredAt);
    // Keepalives leave at multiples of 3 s and arrive a latency later.
    const Duration lastToRight = right.lastHeard - c.latency, lastToLeft = left.lastHeard - c.latency;
    EXPECT_EQ(lastToRight % 3s, Duration{0});
    EXPECT_EQ(lastToLeft % 3s, Duration{0});
    EXPECT_LE(lastToRight + c.latency, c.deafAt) << "nothing heard after going deaf";
    EXPECT_GT(lastToRight + c.latency + 3s, c.deafAt) << "but everything before";
    // The deaf side's last keepalive left before it expired; one due at the
    // same instant does not leave: the hold timer, armed earlier, fires first.
    EXPECT_EQ(lastToLeft, (right.expiredAt - 1ns) / 3s * 3s);
}

INSTANTIATE_TEST_SUITE_P(Cases, WireSessions,
                         ::testing::Values(HoldCase{"NoLatency", 0ms, 20s}, HoldCase{"SlowWire", 1500ms, 20s},
                                           HoldCase{"DeafOnAKeepalive", 0ms, 21s}),
                         [](const auto& info) { return info.param.name; });

}  // namespace
