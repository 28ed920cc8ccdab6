// A speaker against a scripted device in virtual time: hostile bytes end
// only the session they came on, with the NOTIFICATION they call for; the
// hold timer; a flood of small UPDATEs; a peer that stops reading; a large
// range written at the pace the peer reads; route refresh; graceful restart
// of the device; route flapping.
#include <gtest/gtest.h>

#include <ostream>

#include "bgp_hex.h"
#include "bgp_speaker_lab.h"

using namespace speakertest;
using bgptest::hex;
using bgptest::message;

namespace {

constexpr const char* kA = "10.0.0.1";
constexpr const char* kB = "10.0.0.2";
constexpr const char* kDev = "10.0.0.9";

// Speaker A with a neighbor towards the scripted device and one towards
// speaker B, which must not notice anything the device does.
struct Bench {
    explicit Bench(const std::function<void(hal::EBGP::ConfigNeighbor&)>& tune = {}, uint16_t devHold = 9)
        : dev(lab, kDev, 65009, 0x0A000009, devHold) {
        auto toDev = neighbor(kA, kDev, 65001, false);
        toDev.routeRanges.Add(range("20.0.0.0", 100));
        if (tune) tune(toDev);
        configA = server({toDev, neighbor(kA, kB, 65001, false)});
        a = std::make_unique<Speaker>(lab.reactor, Place{}, lab.net());
        b = std::make_unique<Speaker>(lab.reactor, Place{}, lab.net());
        a->configure(configA);
        b->configure(server({neighbor(kB, kA, 65002, false)}));
        b->start();
        a->start();
    }
    Lab lab;
    Scripted dev;
    hal::EBGPServer configA;
    std::unique_ptr<Speaker> a, b;
    std::map<int, std::string> devStats() { return a->statistics(ip(kDev)); }
    std::map<int, std::string> bStats() { return a->statistics(ip(kB)); }
    size_t devRoutes() {
        auto r = a->learnedRoutes(ip(kDev));
        return r ? r->size() : 0;
    }
    // An UPDATE from the device announcing `count` /32s from 50.0.0.0 (or `first`).
    static Bytes update(uint32_t first, uint32_t count) {
        PathAttributes pa;
        pa.origin = 0;
        pa.asPath = AsPath{AsSegment{2, {65009}}};
        pa.nextHop = 0x0A000009;
        std::vector<Prefix> nlri;
        for (uint32_t i = 0; i < count; ++i) nlri.push_back(Prefix::v4(first + i, 32));
        return encodeUpdate({}, pa, nlri, true);
    }
};

// ---------------------------------------------------------------- hostile bytes

struct HostileCase {
    const char* name;
    Bytes bytes;
    std::optional<std::pair<uint8_t, uint8_t>> answer;  // the NOTIFICATION sent, if any
    bool ends;                                          // the session ends
    int selector;                                       // the statistics selector that counts it (-1: none)
};

std::ostream& operator<<(std::ostream& os, const HostileCase& c) { return os << c.name; }

Bytes withMarkerByte(Bytes m, size_t at, uint8_t v) {
    m[at] = v;
    return m;
}

// An UPDATE whose attribute runs past the attribute list (the NLRI field
// is still where the lengths say).
Bytes truncatedAttribute() { return message(2, hex("0000 0007  40 01 01 00  40 02 09  20 32 00 00 00")); }

class SpeakerHostile : public ::testing::TestWithParam<HostileCase> {};

TEST_P(SpeakerHostile, EndsOnlyThatSession) {
    const HostileCase& c = GetParam();
    Bench t;
    t.lab.run(3s);
    ASSERT_EQ(num(t.devStats(), selector::kState), 6u);
    ASSERT_EQ(num(t.bStats(), selector::kState), 6u);
    t.dev.send(Bench::update(0x32000000, 5));
    t.lab.run(1s);
    ASSERT_EQ(t.devRoutes(), 5u);
    const uint64_t bOpens = num(t.bStats(), selector::kOpenSent);

    t.dev.send(c.bytes);
    t.lab.run(500ms);
    const auto s = t.devStats();
    auto n = t.dev.notification();
    EXPECT_EQ(n.has_value(), c.answer.has_value());
    if (c.answer && n) {
        EXPECT_EQ(n->code, c.answer->first);
        EXPECT_EQ(n->subcode, c.answer->second);
        EXPECT_EQ(num(s, selector::kLastErrorSent), uint64_t(c.answer->first) << 8 | c.answer->second);
    }
    if (c.selector >= 0) {
        EXPECT_EQ(num(s, c.selector), 1u);
    }
    if (c.ends) {
        EXPECT_TRUE(t.dev.closed) << "the connection closes";
        EXPECT_NE(num(s, selector::kState), 6u);
        EXPECT_EQ(t.devRoutes(), 0u) << "the routes of the session go";
    } else {
        EXPECT_EQ(num(s, selector::kState), 6u);
        EXPECT_EQ(t.devRoutes(), 4u) << "treat-as-withdraw took the one prefix away";
    }
    EXPECT_EQ(num(t.bStats(), selector::kState), 6u) << "the other session goes on";
    EXPECT_EQ(num(t.bStats(), selector::kOpenSent), bOpens);
    // The session comes back (the device answers again).
    t.lab.run(3s);
    EXPECT_EQ(num(t.devStats(), selector::kState), 6u);
}

INSTANTIATE_TEST_SUITE_P(
    Bytes, SpeakerHostile,
    ::testing::Values(
        HostileCase{"BadMarker", withMarkerByte(encodeKeepalive(), 3, 0x7f), std::pair{1, 1}, true,
                    selector::kHeaderNotSynchronized},
        HostileCase{"LengthPastTheLargestMessage", withMarkerByte(withMarkerByte(encodeKeepalive(), 16, 0x20), 17, 0),
                    std::pair{1, 2}, true, selector::kHeaderBadLength},
        HostileCase{"LengthUnderAHeader", withMarkerByte(encodeKeepalive(), 17, 18), std::pair{1, 2}, true,
                    selector::kHeaderBadLength},
        HostileCase{"UnknownType", message(9, {}), std::pair{1, 3}, true, selector::kHeaderBadType},
        HostileCase{"KeepaliveWithABody", message(4, hex("00")), std::pair{1, 2}, true, selector::kHeaderBadLength},
        HostileCase{"OpenWhenEstablished", encodeOpen(makeOpen(65009, 9, 0x0A000009)), std::pair{5, 3}, true,
                    selector::kFsmErrorSent},
        HostileCase{"TruncatedAttributeIsTreatedAsWithdraw", truncatedAttribute(), std::nullopt, false, -1},
        HostileCase{"WithdrawnLengthPastTheMessage", message(2, hex("0100 0000")), std::pair{3, 1}, true,
                    selector::kUpdateAttributeList},
        HostileCase{"NotificationFromThePeer", encodeNotification(notification(6, 4)), std::nullopt, true,
                    selector::kCeaseReceived}),
    [](const auto& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------- collision

struct CollisionCase {
    const char* name;
    uint32_t deviceId;  // A's is 10.0.0.1
    bool oursStays;     // the connection A opened
};

std::ostream& operator<<(std::ostream& os, const CollisionCase& c) { return os << c.name; }

class SpeakerCollision : public ::testing::TestWithParam<CollisionCase> {};

TEST_P(SpeakerCollision, TheConnectionOfTheHigherIdentifierStays) {
    const CollisionCase& c = GetParam();
    Lab lab;
    Scripted theirs(lab, kDev, 65009, c.deviceId, 9, false);  // the device's own connection
    Scripted ours(lab, kDev, 65009, c.deviceId);              // takes the one A opens
    ours.answer = false;  // holds A's connection in OpenSent until the other arrives
    Speaker a(lab.reactor, Place{}, lab.net());
    a.configure(server({neighbor(kA, kDev, 65001, false)}));
    a.start();
    lab.run(100ms, 1ms);
    ASSERT_EQ(ours.connections, 1);
    theirs.dial(kA);
    lab.run(100ms, 1ms);
    ours.greet();
    lab.run(1s, 1ms);
    Scripted& loser = c.oursStays ? theirs : ours;
    Scripted& winner = c.oursStays ? ours : theirs;
    ASSERT_TRUE(loser.notification());
    EXPECT_EQ(*loser.notification(), notification(err::kCease, err::kCollision));
    EXPECT_TRUE(loser.closed);
    EXPECT_FALSE(winner.notification());
    EXPECT_FALSE(winner.closed);
    EXPECT_EQ(num(a.statistics(ip(kDev)), selector::kState), 6u);
    EXPECT_EQ(num(a.statistics(ip(kDev)), selector::kStarts), 1u);
}

INSTANTIATE_TEST_SUITE_P(Collisions, SpeakerCollision,
                         ::testing::Values(CollisionCase{"DeviceHigher", 0x0A000009, false},
                                           CollisionCase{"DeviceLower", 0x01010101, true}),
                         [](const auto& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------- timers

struct HoldCase {
    const char* name;
    uint16_t ourHold, devHold;
    Duration silentFor;
    bool expires;
};

std::ostream& operator<<(std::ostream& os, const HoldCase& c) { return os << c.name; }

class SpeakerHold : public ::testing::TestWithParam<HoldCase> {};

TEST_P(SpeakerHold, ExpiresOnlyAfterTheAgreedHoldTime) {
    const HoldCase& c = GetParam();
    Bench t([&](auto& n) { n.holdTime = c.ourHold; }, c.devHold);
    t.lab.run(2s, 10ms);
    ASSERT_EQ(num(t.devStats(), selector::kState), 6u);
    t.dev.keepalives = false;
    t.lab.run(c.silentFor, 10ms);  // the device sends nothing more
    auto n = t.dev.notification();
    EXPECT_EQ(n.has_value(), c.expires);
    if (c.expires) {
        EXPECT_EQ(n->code, err::kHoldTimer);
        EXPECT_EQ(num(t.devStats(), selector::kHoldTimeExpiredSent), 1u);
    }
    EXPECT_EQ(num(t.bStats(), selector::kState), 6u);
}

INSTANTIATE_TEST_SUITE_P(Holds, SpeakerHold,
                         ::testing::Values(HoldCase{"Ours9NotYet", 9, 9, 6s, false},
                                           HoldCase{"Ours9Expired", 9, 9, 8s, true},
                                           HoldCase{"TheirsSmallerWins", 30, 9, 8s, true},
                                           HoldCase{"OursSmallerWins", 9, 30, 8s, true},
                                           HoldCase{"Both30NotYet", 30, 30, 26s, false}),
                         [](const auto& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------- load

// What pacing lets the stream hold: half a megabyte of /24s at 4 bytes each.
constexpr uint64_t kInFlight = (512 << 10) / 4;

TEST(SpeakerLoad, AFloodOfOnePrefixUpdatesIsTakenWhileOthersGoOn) {
    Bench t;
    t.lab.run(3s);
    Bytes flood;
    for (uint32_t i = 0; i < 20000; ++i) {
        Bytes u = Bench::update(0x32000000 + i, 1);
        flood.insert(flood.end(), u.begin(), u.end());
    }
    t.dev.send(flood);
    t.dev.send(encodeKeepalive());
    t.lab.run(2s);
    EXPECT_EQ(t.devRoutes(), 20000u);
    EXPECT_EQ(num(t.devStats(), selector::kUpdateReceived), 20000u);
    EXPECT_EQ(num(t.devStats(), selector::kRoutesAdvertisedReceived), 20000u);
    EXPECT_EQ(num(t.devStats(), selector::kState), 6u);
    EXPECT_EQ(num(t.bStats(), selector::kState), 6u);
}

TEST(SpeakerLoad, APeerThatStopsReadingHoldsAtMostTheHighWaterMarkThenTimesOut) {
    Bench t([](auto& n) { n.routeRanges.At(0)->numberOfRoutes = 200000; });
    t.dev.keepalives = false;
    t.dev.reads = false;  // it answers, and never reads a byte
    t.lab.run(1s, 1ms);
    ASSERT_EQ(num(t.devStats(), selector::kState), 6u);
    t.lab.run(8s, 1ms);
    EXPECT_LE(num(t.devStats(), selector::kRoutesAdvertised), kInFlight)
        << "written no further ahead than the pacing allows";
    t.lab.run(5s);
    EXPECT_EQ(num(t.devStats(), selector::kHoldTimeExpiredSent), 1u) << "the silent peer is let go";
    EXPECT_EQ(num(t.bStats(), selector::kState), 6u);
}

TEST(SpeakerLoad, AMillionPrefixesAreWrittenAtThePaceThePeerReads) {
    auto na = neighbor(kA, kB, 65001, false);
    na.routeRanges.Add(range("20.0.0.0", 1000000));
    Lab lab(WireOptions{1ms, 16384, {}, {}});
    Speaker a(lab.reactor, Place{}, lab.net()), b(lab.reactor, Place{}, lab.net());
    a.configure(server({na}));
    b.configure(server({neighbor(kB, kA, 65002, false)}));
    a.start();
    b.start();
    uint64_t most = 0;  // prefixes written and not yet read
    for (int i = 0; i < 20000; ++i) {
        lab.clock.advance(1ms);
        const uint64_t read = num(b.statistics(ip(kA)), selector::kRoutesAdvertisedReceived);
        most = std::max(most, num(a.statistics(ip(kB)), selector::kRoutesAdvertised) - read);
        if (read == 1000000u) break;
    }
    EXPECT_EQ(num(a.statistics(ip(kB)), selector::kRoutesAdvertised), 1000000u);
    auto routes = b.learnedRoutes(ip(kA));
    ASSERT_TRUE(routes);
    EXPECT_EQ(routes->size(), 1000000u);
    EXPECT_EQ(routes->back().network.ToString(), "35.66.63.0");
    EXPECT_LE(most, kInFlight);
    EXPECT_LE(num(a.statistics(ip(kB)), selector::kUpdateSent), 1000000u / 900) << "packed: ~1000 prefixes a message";
}

// ---------------------------------------------------------------- route refresh

TEST(SpeakerPeer, EndOfRibFollowsTheAnnouncementAndRouteRefreshSendsEverythingAgain) {
    Bench t;
    t.lab.run(3s);
    size_t markers = 0, before = 0;
    ASSERT_EQ(t.dev.prefixes(&markers, &before).first, 100u);
    EXPECT_EQ(markers, 1u) << "one End-of-RIB: the session carries IPv4 unicast only";
    EXPECT_EQ(before, 100u) << "after the whole first announcement";
    t.dev.send(encodeRouteRefresh({kIpv4Unicast, 0}));
    t.lab.run(1s);
    markers = 0;
    EXPECT_EQ(t.dev.prefixes(&markers).first, 200u);
    EXPECT_EQ(markers, 1u) << "a refresh ends without one";
    EXPECT_EQ(num(t.devStats(), selector::kState), 6u);
    t.dev.send(encodeRouteRefresh({kIpv6Unicast, 0}));  // a family the session does not carry
    t.lab.run(1s);
    EXPECT_EQ(t.dev.prefixes().first, 200u);
}

// ---------------------------------------------------------------- graceful restart

struct RestartCase {
    const char* name;
    bool comesBack;
    uint32_t resent;  // routes sent again after the restart
    bool endOfRib;
    Duration wait;  // after coming back
    size_t held;    // routes held at the end
    uint64_t failed, beforeStale;
    // The device's capability when it comes back: forwarding state kept
    // (the F bit), not kept, or no graceful restart at all.
    enum { Kept, NotKept, Gone } after = Kept;
};

std::ostream& operator<<(std::ostream& os, const RestartCase& c) { return os << c.name; }

class SpeakerRestart : public ::testing::TestWithParam<RestartCase> {};

TEST_P(SpeakerRestart, TheDevicesRoutesStayStaleWhileItRestarts) {
    const RestartCase& c = GetParam();
    Bench t([](auto& n) {
        n.gracefulRestart = true;
        n.staleTime = 4;
    });
    GracefulRestart gr;
    gr.time = 5;
    gr.families = {{kIpv4Unicast, true}};
    t.dev.open.caps.gracefulRestart = gr;
    t.lab.run(3s);
    ASSERT_EQ(num(t.devStats(), selector::kState), 6u);
    t.dev.send(Bench::update(0x32000000, 10));
    t.lab.run(1s);
    ASSERT_EQ(t.devRoutes(), 10u);

    t.dev.answer = c.comesBack;
    if (c.after == RestartCase::NotKept) t.dev.open.caps.gracefulRestart->families[0].forwarding = false;
    if (c.after == RestartCase::Gone) t.dev.open.caps.gracefulRestart.reset();
    t.dev.stream->abort();  // the device's control plane goes away without a word
    t.lab.run(500ms);
    EXPECT_EQ(t.devRoutes(), 10u) << "kept while the device restarts";
    EXPECT_EQ(num(t.devStats(), selector::kGracefulRestartsAttempted), 1u);
    t.lab.run(1500ms);  // the retry delay brings the connection back
    if (c.comesBack) {
        ASSERT_EQ(num(t.devStats(), selector::kState), 6u);
        t.dev.send(Bench::update(0x32000000, c.resent));
        if (c.endOfRib) t.dev.send(encodeEndOfRib(kIpv4Unicast));
    }
    t.lab.run(c.wait);
    EXPECT_EQ(t.devRoutes(), c.held);
    EXPECT_EQ(num(t.devStats(), selector::kGracefulRestartsFailed), c.failed);
    EXPECT_EQ(num(t.devStats(), selector::kRoutesBeforeStaleTimerExpired), c.beforeStale);
}

INSTANTIATE_TEST_SUITE_P(
    Restarts, SpeakerRestart,
    ::testing::Values(RestartCase{"NeverComesBack", false, 0, false, 5s, 0, 1, 0},
                      RestartCase{"BackWithEndOfRib", true, 6, true, 1s, 6, 0, 6},
                      RestartCase{"BackWithoutEndOfRibStaleTimeEndsIt", true, 6, false, 5s, 6, 0, 6},
                      RestartCase{"BackStaleRoutesStillHeldBeforeTheStaleTime", true, 6, false, 1s, 10, 0, 6},
                      // RFC 4724 4.2: without its forwarding state the old routes go at once.
                      RestartCase{"BackWithoutForwardingState", true, 6, false, 1s, 6, 0, 0, RestartCase::NotKept},
                      RestartCase{"BackWithoutTheCapability", true, 6, false, 1s, 6, 0, 0, RestartCase::Gone}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(SpeakerPeer, ANotificationEndsGracefulRestartAtOnce) {
    Bench t([](auto& n) { n.gracefulRestart = true; });
    GracefulRestart gr;
    gr.time = 5;
    t.dev.open.caps.gracefulRestart = gr;
    t.lab.run(3s);
    t.dev.send(Bench::update(0x32000000, 10));
    t.lab.run(1s);
    ASSERT_EQ(t.devRoutes(), 10u);
    t.dev.send(encodeNotification(notification(6, 2)));
    t.lab.run(100ms);
    EXPECT_EQ(t.devRoutes(), 0u);
    EXPECT_EQ(num(t.devStats(), selector::kGracefulRestartsAttempted), 0u);
    EXPECT_EQ(num(t.devStats(), selector::kCeaseReceived), 1u);
}

// ---------------------------------------------------------------- flapping

TEST(SpeakerPeer, AFlappingRangeIsWithdrawnAndAnnouncedOnItsTimes) {
    Bench t([](auto& n) {
        auto& r = *n.routeRanges.At(0);
        r.flapping = true;
        r.flapUpTime = 5;
        r.flapDownTime = 3;
        n.routeRanges.Add(range("21.0.0.0", 10));  // steady
    });
    t.lab.run(1s, 10ms);
    ASSERT_EQ(num(t.devStats(), selector::kState), 6u);
    const std::pair<size_t, size_t> steps[] = {{110, 0}, {110, 100}, {210, 100}, {210, 200}};
    const Duration at[] = {3s, 3s, 3s, 5s};  // 4 s, 7 s (down at 5 s), 10 s (up at 8 s), 15 s (down at 13 s)
    for (size_t i = 0; i < 4; ++i) {
        t.lab.run(at[i], 10ms);
        EXPECT_EQ(t.dev.prefixes(), steps[i]) << "step " << i;
    }
}

}  // namespace
