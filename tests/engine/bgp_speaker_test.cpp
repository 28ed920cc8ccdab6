// Speakers in virtual time over in-memory wires, ours against ours and
// against a scripted device: sessions come up whoever connects, routes
// arrive with their attributes, a configuration applied while running
// changes routes without a reset, stop sends a Cease, hold timers expire,
// and a hostile peer ends only its own session.
#include <gtest/gtest.h>

#include <ostream>
#include <set>

#include "bgp_speaker_lab.h"

using namespace speakertest;

namespace {

constexpr const char* kA = "10.0.0.1";
constexpr const char* kB = "10.0.0.2";

// Two speakers, A and B, each with one neighbor towards the other.
struct Pair {
    explicit Pair(const hal::EBGPServer& a, const hal::EBGPServer& b, WireOptions o = {}) : lab(o) {
        sa = std::make_unique<Speaker>(lab.reactor, Place{}, lab.net());
        sb = std::make_unique<Speaker>(lab.reactor, Place{}, lab.net());
        sa->configure(a);
        sb->configure(b);
    }
    Lab lab;
    std::unique_ptr<Speaker> sa, sb;
    void up(Duration d) {  // both start; d of virtual time passes
        sa->start();
        sb->start();
        lab.run(d);
    }
    std::map<int, std::string> statsA(const char* dut = kB) { return sa->statistics(ip(dut)); }
    std::map<int, std::string> statsB(const char* dut = kA) { return sb->statistics(ip(dut)); }
    size_t learnedB(const char* dut = kA) {
        auto r = sb->learnedRoutes(ip(dut));
        return r ? r->size() : 0;
    }
};

// ---------------------------------------------------------------- coming up

struct UpCase {
    const char* name;
    const char* a;
    const char* b;
    uint32_t asA, asB;
    bool internal;
    bool activeA, activeB;
    Duration startBLater;      // B starts this long after A
    bool addressLate = false;  // A's address comes to the interface 2.5 s after A starts
    Duration latency{0};       // of the wires: OPENs cross, both sides resolve the collision
};

std::ostream& operator<<(std::ostream& os, const UpCase& c) { return os << c.name; }

class SpeakerUp : public ::testing::TestWithParam<UpCase> {};

TEST_P(SpeakerUp, OneSessionComesUpAndLivesThroughAMinute) {
    const UpCase& c = GetParam();
    auto na = neighbor(c.a, c.b, c.asA, c.internal);
    auto nb = neighbor(c.b, c.a, c.asB, c.internal);
    hal::EBGPServer ca = server({na}), cb = server({nb});
    ca.internal.activeConnect = ca.external.activeConnect = c.activeA;
    cb.internal.activeConnect = cb.external.activeConnect = c.activeB;
    Pair p(ca, cb, WireOptions{c.latency, 0, {}, {}});
    if (c.addressLate) p.lab.missing.insert(*IpAddress::parse(c.a));
    p.sa->start();
    p.lab.run(c.startBLater);
    if (c.addressLate) {
        EXPECT_EQ(p.sa->lastError(), "cannot assign requested address");
        p.lab.missing.clear();
    }
    p.sb->start();
    p.lab.run(5s);
    for (const auto& stats : {p.statsA(c.b), p.statsB(c.a)}) {
        EXPECT_EQ(num(stats, selector::kState), 6u) << "Established";
        // A collision closes one of the two connections with a Cease, which
        // either end may send; nothing else ends anything.
        EXPECT_LE(num(stats, selector::kCeaseReceived) + num(stats, selector::kCeaseSent),
                  c.activeA && c.activeB ? 2u : 0u);
        EXPECT_EQ(num(stats, selector::kNotificationSent), num(stats, selector::kCeaseSent));
        EXPECT_EQ(num(stats, selector::kStarts), 1u);
    }
    const auto before = p.statsA(c.b);
    p.lab.run(60s);
    const auto after = p.statsA(c.b);
    EXPECT_EQ(num(after, selector::kState), 6u);
    EXPECT_EQ(num(after, selector::kStarts), num(before, selector::kStarts)) << "no restart in a minute";
    EXPECT_GE(num(after, selector::kKeepAliveSent) - num(before, selector::kKeepAliveSent), 19u)
        << "keepalive every 3 s";
    EXPECT_EQ(num(after, selector::kOurAs), c.asA);
    EXPECT_EQ(num(after, selector::kPeerAs), c.asB);
    EXPECT_EQ(after.at(selector::kPeerIp), c.b);
    EXPECT_EQ(after.at(selector::kOurId),
              std::string(c.a).find(':') == std::string::npos ? c.a : after.at(selector::kOurId));
    EXPECT_EQ(num(after, selector::kHoldTimer), 9u);
    EXPECT_EQ(after.size(), size_t(selector::kCount)) << "every selector answers";
}

INSTANTIATE_TEST_SUITE_P(
    Sessions, SpeakerUp,
    ::testing::Values(UpCase{"ExternalOnlyAConnects", kA, kB, 65001, 65002, false, true, false, 0s},
                      UpCase{"ExternalOnlyBConnects", kA, kB, 65001, 65002, false, false, true, 0s},
                      UpCase{"ExternalBothConnectAtOnce", kA, kB, 65001, 65002, false, true, true, 0s},
                      UpCase{"BothConnectBLaterThanARetries", kA, kB, 65001, 65002, false, true, true, 2500ms},
                      UpCase{"InternalBothConnect", kA, kB, 65001, 65001, true, true, true, 0s},
                      UpCase{"IPv6External", "2001:db8::1", "2001:db8::2", 65001, 65002, false, true, true, 0s},
                      UpCase{"BothConnectAtOnceOverALatency", kA, kB, 65001, 65002, false, true, true, 0s, false, 5ms},
                      UpCase{"PassiveWhoseAddressComesLate", kA, kB, 65001, 65002, false, false, true, 2500ms, true}),
    [](const auto& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------- routes

struct RouteCase {
    const char* name;
    bool internal;
    hal::EBGP::ConfigRouteRange range;
    uint64_t count;
    std::function<void(const hal::EBGP::LearnedRoute&)> check;  // on the first route
};

std::ostream& operator<<(std::ostream& os, const RouteCase& c) { return os << c.name; }

class SpeakerRoutes : public ::testing::TestWithParam<RouteCase> {};

TEST_P(SpeakerRoutes, ArriveInThePeersRibWithTheirAttributes) {
    const RouteCase& c = GetParam();
    auto na = neighbor(kA, kB, 65001, c.internal);
    na.routeRanges.Add(c.range);
    Pair p(server({na}), server({neighbor(kB, kA, c.internal ? 65001 : 65002, c.internal)}));
    p.up(1050ms);  // the rates are of the last whole second
    EXPECT_EQ(num(p.statsA(), selector::kRoutesPerSecondSent), c.count);
    EXPECT_EQ(num(p.statsB(), selector::kRoutesPerSecondReceived), c.count);
    p.lab.run(9s);
    EXPECT_EQ(num(p.statsA(), selector::kRoutesPerSecondSent), 0u);
    auto routes = p.sb->learnedRoutes(ip(kA));
    ASSERT_TRUE(routes);
    ASSERT_EQ(routes->size(), c.count);
    c.check(routes->front());
    EXPECT_EQ(num(p.statsA(), selector::kRoutesAdvertised), c.count);
    EXPECT_EQ(num(p.statsB(), selector::kRoutesAdvertisedReceived), c.count);
    EXPECT_EQ(num(p.statsA(), selector::kRoutesWithdrawn), 0u);
    // The End-of-RIB marker is the last UPDATE: one more than the packed ones.
    EXPECT_GE(num(p.statsA(), selector::kUpdateSent), 2u);
}

hal::EBGP::ConfigRouteRange withAttributes() {
    auto r = range("20.0.0.0", 300);
    r.origin = 2;
    r.medEnabled = true;
    r.med = 77;
    r.communities = {0xFDE80001u, 0xFFFFFF01u};
    r.localPreference = 250;
    return r;
}

INSTANTIATE_TEST_SUITE_P(
    Ranges, SpeakerRoutes,
    ::testing::Values(RouteCase{"ExternalV4", false, range("20.0.0.0", 1000), 1000,
                                [](const hal::EBGP::LearnedRoute& r) {
                                    EXPECT_EQ(r.network.ToString(), "20.0.0.0");
                                    EXPECT_EQ(r.prefixLength, 24);
                                    EXPECT_EQ(r.nextHop.ToString(), kA) << "next hop: the local address";
                                    EXPECT_EQ(r.asPath, std::vector<uint16_t>{65001}) << "our AS in front";
                                }},
                      RouteCase{"InternalWithAttributes", true, withAttributes(), 300,
                                [](const hal::EBGP::LearnedRoute& r) {
                                    EXPECT_EQ(r.origin, 2);
                                    EXPECT_EQ(r.med, 77u);
                                    EXPECT_EQ(r.localPreference, 250u) << "LOCAL_PREF goes to internal peers";
                                    EXPECT_EQ(r.communities, (std::vector<uint32_t>{0xFDE80001u, 0xFFFFFF01u}));
                                    EXPECT_TRUE(r.asPath.empty()) << "no AS added towards an internal peer";
                                }},
                      RouteCase{"SeveralLengths", false,
                                [] {
                                    auto r = range("30.0.0.0", 50, 16);
                                    r.thruPrefix = 20;
                                    return r;
                                }(),
                                250,
                                [](const hal::EBGP::LearnedRoute& r) { EXPECT_EQ(r.network.ToString(), "30.0.0.0"); }}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Speaker, AnIPv6RangeGoesInMultiprotocolReach) {
    auto na = neighbor("2001:db8::1", "2001:db8::2", 65001, false);
    na.routeRanges.Add(range("2001:db8:100::", 64, 48));
    Pair p(server({na}), server({neighbor("2001:db8::2", "2001:db8::1", 65002, false)}));
    p.up(10s);
    auto routes = p.sb->learnedRoutes(ip("2001:db8::1"));
    ASSERT_TRUE(routes);
    ASSERT_EQ(routes->size(), 64u);
    EXPECT_EQ(routes->front().network.ToString(), "2001:db8:100::");
    EXPECT_EQ(routes->back().network.ToString(), "2001:db8:13f::");
    EXPECT_EQ(routes->front().nextHop.ToString(), "2001:db8::1");
}

TEST(Speaker, LabelledAndVpnRangesAreAnnouncedAndChangedWhileRunning) {
    auto families = [](hal::EBGP::ConfigNeighbor n) {
        n.ipV4Mpls = n.ipV4MplsVpn = true;
        return n;
    };
    auto na = families(neighbor(kA, kB, 65001, false));
    hal::EBGP::ConfigMplsRouteRange m;
    m.firstNetwork = ip("40.0.0.0");
    m.numberOfRoutes = 10;
    m.labels.startLabel = 100;
    na.mplsRouteRanges.Add(m);
    hal::EBGP::ConfigL3Site site;
    hal::EBGP::ConfigVpnRouteRange v;
    v.firstNetwork = ip("41.0.0.0");
    v.numberOfRoutes = 5;
    site.vpnRouteRanges.Add(v);
    na.l3Sites.Add(site);
    hal::EBGPServer ca = server({na});
    Pair p(ca, server({families(neighbor(kB, kA, 65002, false))}));
    p.up(5s);
    std::set<uint32_t> labels;  // of the labelled routes
    auto byFamily = [&] {
        std::map<int, size_t> n;
        for (const auto& r : *p.sb->learnedRoutes(ip(kA))) {
            ++n[r.family];
            labels.insert(r.family == 3 ? uint32_t(r.label) : 100u);
        }
        return n;
    };
    EXPECT_EQ(byFamily(), (std::map<int, size_t>{{3, 10}, {4, 5}}));
    EXPECT_EQ(labels, std::set<uint32_t>{100});
    const uint64_t opens = num(p.statsB(), selector::kOpenReceived);
    ca.neighbors.At(0)->mplsRouteRanges.At(0)->numberOfRoutes = 4;
    p.sa->configure(ca);
    p.lab.run(2s);
    EXPECT_EQ(byFamily(), (std::map<int, size_t>{{3, 4}, {4, 5}}));
    EXPECT_EQ(num(p.statsB(), selector::kOpenReceived), opens) << "no reset";
}

// ---------------------------------------------------------------- configure while running

struct ChangeCase {
    const char* name;
    std::function<void(hal::EBGP::ConfigNeighbor&)> change;
    size_t learned;      // routes B holds afterwards
    uint64_t withdrawn;  // prefixes A withdrew
    uint32_t med;        // of B's first route
    bool reset;          // the session is started again
};

std::ostream& operator<<(std::ostream& os, const ChangeCase& c) { return os << c.name; }

class SpeakerChange : public ::testing::TestWithParam<ChangeCase> {};

TEST_P(SpeakerChange, AppliesTheDifference) {
    const ChangeCase& c = GetParam();
    auto na = neighbor(kA, kB, 65001, false);
    na.routeRanges.Add(range("20.0.0.0", 100));
    na.routeRanges.Add(range("21.0.0.0", 50));
    hal::EBGPServer ca = server({na});
    Pair p(ca, server({neighbor(kB, kA, 65002, false)}));
    p.up(5s);
    ASSERT_EQ(p.learnedB(), 150u);
    const uint64_t opens = num(p.statsB(), selector::kOpenReceived);

    hal::EBGP::ConfigNeighbor next = *ca.neighbors.At(0);
    c.change(next);
    ca.neighbors.Replace(ca.neighbors.At(0)->id, next);
    p.sa->configure(ca);
    p.lab.run(5s);

    EXPECT_EQ(num(p.statsB(), selector::kState), 6u);
    EXPECT_EQ(num(p.statsB(), selector::kOpenReceived) > opens, c.reset) << "a reset sends a new OPEN";
    EXPECT_EQ(p.learnedB(), c.learned);
    if (!c.reset) {
        EXPECT_EQ(num(p.statsA(), selector::kRoutesWithdrawn), c.withdrawn);
    }
    auto routes = p.sb->learnedRoutes(ip(kA));
    ASSERT_TRUE(routes && !routes->empty());
    EXPECT_EQ(routes->front().med, c.med);
}

INSTANTIATE_TEST_SUITE_P(
    Changes, SpeakerChange,
    ::testing::Values(
        ChangeCase{"NothingChanges", [](auto&) {}, 150, 0, 0, false},
        ChangeCase{"RangeAdded", [](auto& n) { n.routeRanges.Add(range("22.0.0.0", 25)); }, 175, 0, 0, false},
        ChangeCase{"RangeRemoved", [](auto& n) { n.routeRanges.Remove(n.routeRanges.At(1)->id); }, 100, 50, 0, false},
        ChangeCase{"RangeDisabled", [](auto& n) { n.routeRanges.At(1)->enabled = false; }, 100, 50, 0, false},
        ChangeCase{"MedChangedReannouncedInPlace",
                   [](auto& n) {
                       n.routeRanges.At(0)->medEnabled = true;
                       n.routeRanges.At(0)->med = 5;
                   },
                   150, 0, 5, false},
        ChangeCase{"RangeShrunkWithdrawsTheRest", [](auto& n) { n.routeRanges.At(0)->numberOfRoutes = 40; }, 90, 100, 0,
                   false},
        ChangeCase{"HoldTimeChangedResetsTheSession", [](auto& n) { n.holdTime = 30; }, 150, 0, 0, true}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Speaker, AddedAndRemovedNeighborsStartAndEndWithACease) {
    Lab lab;
    auto third = std::make_unique<Speaker>(lab.reactor, Place{}, lab.net());
    third->configure(server({neighbor("10.0.0.3", kA, 65003, false)}));
    third->start();
    Speaker a(lab.reactor, Place{}, lab.net());
    Speaker b(lab.reactor, Place{}, lab.net());
    hal::EBGPServer ca = server({neighbor(kA, kB, 65001, false)});
    a.configure(ca);
    b.configure(server({neighbor(kB, kA, 65002, false)}));
    a.start();
    b.start();
    lab.run(5s);
    ASSERT_EQ(num(a.statistics(ip(kB)), selector::kState), 6u);
    EXPECT_TRUE(a.statistics(ip("10.0.0.3")).empty()) << "not a neighbor yet";
    EXPECT_FALSE(a.learnedRoutes(ip("10.0.0.3")));

    const uint64_t opens = num(a.statistics(ip(kB)), selector::kOpenSent);
    ca.neighbors.Add(neighbor(kA, "10.0.0.3", 65001, false));
    a.configure(ca);
    lab.run(5s);
    EXPECT_EQ(num(a.statistics(ip("10.0.0.3")), selector::kState), 6u) << "the added neighbor came up";
    EXPECT_EQ(num(a.statistics(ip(kB)), selector::kOpenSent), opens) << "the other one stayed up";

    ca.neighbors.Remove(ca.neighbors.At(0)->id);
    a.configure(ca);
    lab.run(1s);
    EXPECT_TRUE(a.statistics(ip(kB)).empty());
    auto sb = b.statistics(ip(kA));
    EXPECT_EQ(num(sb, selector::kCeaseReceived), 1u);
    EXPECT_EQ(num(sb, selector::kLastErrorReceived), uint64_t(err::kCease) << 8 | err::kPeerDeconfigured);
    EXPECT_EQ(num(a.statistics(ip("10.0.0.3")), selector::kState), 6u);
}

TEST(Speaker, AnInternalNeighborMeshesWithTheFurtherPeersOfItsTable) {
    Lab lab;
    auto na = neighbor(kA, kB, 65001, true);
    na.routeRanges.Add(range("20.0.0.0", 10));
    hal::EBGP::ConfigInternalNeighborItem more;
    more.dutAddress = ip("10.0.0.3");
    na.internalTable.peers.Add(more);
    hal::EBGPServer ca = server({na});
    Speaker a(lab.reactor, Place{}, lab.net()), b(lab.reactor, Place{}, lab.net()), c(lab.reactor, Place{}, lab.net());
    a.configure(ca);
    b.configure(server({neighbor(kB, kA, 65001, true)}));
    c.configure(server({neighbor("10.0.0.3", kA, 65001, true)}));
    for (Speaker* s : {&a, &b, &c}) s->start();
    lab.run(5s);
    for (Speaker* s : {&b, &c}) {
        auto routes = s->learnedRoutes(ip(kA));
        ASSERT_TRUE(routes);
        EXPECT_EQ(routes->size(), 10u);
    }
    ca.neighbors.At(0)->internalTable.peers.At(0)->enabled = false;
    a.configure(ca);
    lab.run(1s);
    EXPECT_TRUE(a.statistics(ip("10.0.0.3")).empty());
    EXPECT_EQ(num(c.statistics(ip(kA)), selector::kLastErrorReceived),
              uint64_t(err::kCease) << 8 | err::kPeerDeconfigured);
    EXPECT_EQ(num(b.statistics(ip(kA)), selector::kState), 6u);
}

// ---------------------------------------------------------------- stop

TEST(Speaker, StopSendsCeaseFlushesAndReportsDone) {
    auto na = neighbor(kA, kB, 65001, false);
    na.routeRanges.Add(range("20.0.0.0", 100));
    Pair p(server({na}), server({neighbor(kB, kA, 65002, false)}, 30));
    p.up(5s);
    ASSERT_EQ(p.learnedB(), 100u);
    const uint64_t ceases = num(p.statsB(), selector::kCeaseReceived);
    bool done = false;
    p.sa->stop([&] { done = true; });
    EXPECT_FALSE(p.sa->running());
    p.lab.run(1s, 1ms);
    EXPECT_TRUE(done);
    const auto sb = p.statsB();
    EXPECT_EQ(num(sb, selector::kCeaseReceived), ceases + 1);
    EXPECT_EQ(num(sb, selector::kLastErrorReceived), uint64_t(err::kCease) << 8 | err::kAdminShutdown);
    EXPECT_NE(num(sb, selector::kState), 6u);
    EXPECT_EQ(p.learnedB(), 0u) << "the peer's routes go with the session";
    EXPECT_EQ(num(p.statsA(), selector::kActiveOn), 0u);
    // Stopped: nothing more is sent, whatever time passes.
    const uint64_t sent = num(p.statsA(), selector::kMessageSent);
    p.lab.run(60s);
    EXPECT_EQ(num(p.statsA(), selector::kMessageSent), sent);
    // And it comes back.
    p.sa->start();
    p.lab.run(35s);
    EXPECT_EQ(num(p.statsA(), selector::kState), 6u);
    EXPECT_EQ(p.learnedB(), 100u);
}

TEST(Speaker, DestroyedItClosesEverythingWithoutANotification) {
    for (bool midStop : {false, true}) {
        Pair p(server({neighbor(kA, kB, 65001, false)}), server({neighbor(kB, kA, 65002, false)}, 30));
        p.up(3s);
        ASSERT_EQ(num(p.statsB(), selector::kState), 6u);
        const uint64_t notifications = num(p.statsB(), selector::kNotificationReceived);
        bool done = false;
        if (midStop) p.sa->stop([&] { done = true; });  // its Cease is queued, not yet delivered
        p.sa.reset();
        p.lab.run(1s);
        EXPECT_FALSE(done) << "no report from a speaker that is gone";
        EXPECT_NE(num(p.statsB(), selector::kState), 6u) << "the peer saw the connection go";
        EXPECT_EQ(num(p.statsB(), selector::kNotificationReceived), notifications);
    }
}

struct OnceCase {
    const char* name;
    bool establishOnce;
    bool comesBack;
};

std::ostream& operator<<(std::ostream& os, const OnceCase& c) { return os << c.name; }

class SpeakerOnce : public ::testing::TestWithParam<OnceCase> {};

TEST_P(SpeakerOnce, APeeringUpOnceStaysDownWhenSoConfigured) {
    const OnceCase& c = GetParam();
    hal::EBGPServer cb = server({neighbor(kB, kA, 65002, false)});
    cb.external.establishOnceOnly = c.establishOnce;
    Pair p(server({neighbor(kA, kB, 65001, false)}), cb);
    p.up(3s);
    ASSERT_EQ(num(p.statsB(), selector::kState), 6u);
    bool done = false;
    p.sa->stop([&] { done = true; });
    p.lab.run(1s);
    ASSERT_TRUE(done);
    p.sa->start();
    p.lab.run(10s);
    EXPECT_EQ(num(p.statsB(), selector::kState) == 6, c.comesBack);
    EXPECT_EQ(num(p.statsA(), selector::kState) == 6, c.comesBack);
    EXPECT_GE(num(p.statsB(), selector::kConnectsReceived), 1u) << "A kept knocking";
}

INSTANTIATE_TEST_SUITE_P(Once, SpeakerOnce,
                         ::testing::Values(OnceCase{"Again", false, true}, OnceCase{"EstablishOnce", true, false}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Speaker, LinkFlapTakesThePortsLinkDownAndUpOnItsTimes) {
    auto na = neighbor(kA, kB, 65001, false);
    na.linkFlap = true;
    na.linkUpTime = 2;
    na.linkDownTime = 1;
    Lab lab;
    Speaker a(lab.reactor, Place{}, lab.net());
    std::vector<std::pair<int64_t, bool>> link;
    a.setLink = [&](bool up) { link.emplace_back(lab.clock.now() / 1ms, up); };
    a.configure(server({na}));
    a.start();
    lab.run(6500ms, 10ms);
    EXPECT_EQ(link, (std::vector<std::pair<int64_t, bool>>{{2000, false}, {3000, true}, {5000, false}, {6000, true}}));
    lab.run(2s, 10ms);  // down again at 8 s: stop brings it back up
    bool done = false;
    a.stop([&] { done = true; });
    lab.run(1s);
    ASSERT_EQ(link.size(), 6u);
    EXPECT_EQ(link.back().second, true);
    lab.run(10s);
    EXPECT_EQ(link.size(), 6u) << "no flapping once stopped";
}

}  // namespace
