// RIP and RIPng speakers against each other and against a hand-driven
// neighbour on a link in memory, in virtual time: what goes out (packing,
// authentication, response modes, poison, pacing, jitter), what is kept
// (timeouts, receive types) and what is refused (hostile packets).
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <random>

#include "bgp_hex.h"
#include "engine/rip/speaker.h"

using namespace engine;
using namespace engine::rip;
using bgptest::hex;

namespace {

// A shared segment: a datagram to a group or broadcast address reaches every
// other link, one to a unicast address the link that has it; after 1 ms.
class Lan {
public:
    explicit Lan(Reactor& r) : reactor_(r) {}
    class Port : public Link {
    public:
        Port(Lan& lan, IpAddress own) : own_(own), lan_(lan) {}
        bool send(std::span<const uint8_t> bytes, const IpAddress& from, const IpAddress& to, uint16_t port) override {
            lan_.carry(this, Bytes(bytes.begin(), bytes.end()), from, to, port, hopLimit);
            return true;
        }
        uint16_t sourcePort = 0;  // 0: the protocol's port
        int hopLimit = 255;
        IpAddress own_;
        std::vector<std::pair<IpAddress, Bytes>> heard;  // (destination, bytes) of what reached this port
        std::vector<IpAddress> heardFrom;                // and who sent it

    private:
        Lan& lan_;
    };

    Port& attach(const std::string& own) {
        ports_.push_back(std::make_unique<Port>(*this, *IpAddress::parse(own)));
        return *ports_.back();
    }

private:
    void carry(Port* from, Bytes bytes, const IpAddress& src, const IpAddress& to, uint16_t port, int hops) {
        reactor_.after(1ms, [this, from, bytes, src, to, port, hops] {
            bool group = to.isV6() ? to.bytes[0] == 0xFF : (to.bytes[0] >= 224 || to.bytes[3] == 255);
            for (auto& p : ports_) {
                if (p.get() == from || (!group && p->own_ != to)) continue;
                p->heard.push_back({to, bytes});
                p->heardFrom.push_back(src);
                uint16_t sport = from->sourcePort ? from->sourcePort : (to.isV6() ? kRipngPort : kRipPort);
                (void)port;
                if (p->onReceive) p->onReceive(Link::Received{src, sport, to, hops, bytes});
            }
        });
    }
    Reactor& reactor_;
    std::vector<std::unique_ptr<Port>> ports_;
};

hal::EIPAddress address(const std::string& text) {
    IpAddress a = *IpAddress::parse(text);
    if (a.isV6()) return hal::EIPAddress::FromV6(a.bytes);
    return hal::EIPAddress::FromV4(uint32_t(a.bytes[0]) << 24 | uint32_t(a.bytes[1]) << 16 | uint32_t(a.bytes[2]) << 8 |
                                   a.bytes[3]);
}

hal::ERIPServer ripServer(const std::string& own, int prefix, const std::string& network, int count,
                          uint32_t metric = 1) {
    hal::ERIPServer s;
    hal::ERIPRouter r;
    r.ipAddress = {address(own), 24};
    r.updateInterval = 5;
    r.updateIntervalOffset = 1;
    hal::ERIPRouteRange g;
    g.networkNumber = address(network);
    g.mask = prefix;
    g.numberOfRoutes = count;
    g.metric = metric;
    g.routeTag = 9;
    r.routeRanges.Add(g);
    s.routers.Add(r);
    return s;
}

template <class F>
void editRouter(hal::ERIPServer& s, F f) {
    for (size_t i = 0; i < s.routers.Size(); ++i) f(*s.routers.At(i));
}

// Speakers a and b and a probe that hears everything and speaks by hand,
// on one LAN in virtual time; RIP (10.0.0.x) or RIPng (fe80::x).
template <bool V6>
struct LanTest : ::testing::Test {
    VirtualClock clock;
    Reactor reactor{clock};
    Lan lan{reactor};
    Lan::Port& linkA = lan.attach(V6 ? "fe80::1" : "10.0.0.1");
    Lan::Port& linkB = lan.attach(V6 ? "fe80::2" : "10.0.0.2");
    Lan::Port& probe = lan.attach(V6 ? "fe80::9" : "10.0.0.9");
    Speaker a{reactor, V6}, b{reactor, V6};

    void SetUp() override {
        a.setLink(&linkA);
        b.setLink(&linkB);
        if (V6) {
            a.setLinkLocal(*IpAddress::parse("fe80::1"));
            b.setLinkLocal(*IpAddress::parse("fe80::2"));
        } else {
            a.seed(1);
            b.seed(2);
        }
    }
    void run(Duration d) { clock.advance(d); }
    size_t learned(Speaker& s, const std::string& key) {
        auto l = s.learnedRoutes(key);
        return l ? l->size() : 0;
    }
    // Responses the probe heard, decoded.
    std::vector<RipPacket> heardResponses() {
        std::vector<RipPacket> out;
        for (auto& [to, bytes] : probe.heard)
            if (auto p = decodeRip(bytes); p && p->command == Command::Response) out.push_back(p.value());
        return out;
    }
    // The probe sends to the group from `port`, and 5 ms pass.
    void inject(const Bytes& bytes, uint16_t port = V6 ? kRipngPort : kRipPort) {
        probe.sourcePort = port;
        probe.send(bytes, probe.own_, *IpAddress::parse(V6 ? "ff02::9" : "224.0.0.9"), V6 ? kRipngPort : kRipPort);
        run(5ms);
    }
};
using Pair = LanTest<false>;
using NgPair = LanTest<true>;

TEST_F(Pair, EachLearnsTheOthersRangesWithMetricNextHopAndTag) {
    a.configure(ripServer("10.0.0.1", 24, "20.0.0.0", 30, 3));
    b.configure(ripServer("10.0.0.2", 16, "30.1.0.0", 4));
    a.start();
    b.start();
    run(100ms);
    auto got = b.learnedRoutes("10.0.0.2");
    ASSERT_TRUE(got);
    ASSERT_EQ(got->size(), 30u);
    EXPECT_EQ((*got)[0].network.ToString(), "20.0.0.0");
    EXPECT_EQ((*got)[29].network.ToString(), "20.0.29.0");
    EXPECT_EQ((*got)[0].prefixLength, 24);
    EXPECT_EQ((*got)[0].metric, 3u);
    EXPECT_EQ((*got)[0].routeTag, 9);
    EXPECT_EQ((*got)[0].nextHop.ToString(), "10.0.0.1");
    EXPECT_EQ((*got)[0].source.ToString(), "10.0.0.1");
    EXPECT_EQ(learned(a, "10.0.0.1"), 4u);
    // 30 routes: two packets (25 + 5) at start, two more to answer b's request.
    EXPECT_EQ(b.counters("10.0.0.2")->updatesReceived, a.counters("10.0.0.1")->updatesSent);
    EXPECT_EQ(a.counters("10.0.0.1")->updatesSent, 4u);
    EXPECT_EQ(a.counters("10.0.0.1")->requestsReceived, 1u);
}

// ---- packing --------------------------------------------------------------------

struct PackCase {
    const char* name;
    int routes;
    bool password;
    std::vector<size_t> sizes;
};
void PrintTo(const PackCase& c, std::ostream* os) { *os << c.name; }
class Packing : public Pair, public ::testing::WithParamInterface<PackCase> {};

TEST_P(Packing, AtMost25EntriesAPacketFewerWithAuthentication) {
    auto s = ripServer("10.0.0.1", 24, "20.0.0.0", GetParam().routes);
    if (GetParam().password)
        editRouter(s, [](auto& r) {
            r.authorization = true;
            r.authorizationPassword = "pw";
        });
    editRouter(s, [](auto& r) { r.generalRequest = false; });
    a.configure(s);
    a.start();
    run(10ms);
    std::vector<size_t> sizes;
    for (auto& p : heardResponses()) {
        sizes.push_back(p.entries.size());
        EXPECT_EQ(p.password.has_value(), GetParam().password);
    }
    EXPECT_EQ(sizes, GetParam().sizes);
}

INSTANTIATE_TEST_SUITE_P(Rfc2453, Packing,
                         ::testing::Values(PackCase{"one", 1, false, {1}}, PackCase{"exactly_25", 25, false, {25}},
                                           PackCase{"sixty", 60, false, {25, 25, 10}},
                                           PackCase{"sixty_authenticated", 60, true, {24, 24, 12}}),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- send types -------------------------------------------------------------------

struct SendCase {
    const char* name;
    int sendType;
    const char* destination;
    uint8_t version;
};
void PrintTo(const SendCase& c, std::ostream* os) { *os << c.name; }
class SendTypes : public Pair, public ::testing::WithParamInterface<SendCase> {};

TEST_P(SendTypes, GoToTheGroupOrTheSubnetBroadcastWithTheirVersion) {
    auto s = ripServer("10.0.0.1", 24, "20.0.0.0", 2);
    editRouter(s, [&](auto& r) { r.sendType = GetParam().sendType; });
    a.configure(s);
    a.start();
    run(10ms);
    ASSERT_FALSE(probe.heard.empty());
    for (auto& [to, bytes] : probe.heard) {
        EXPECT_EQ(to.toString(), GetParam().destination);
        EXPECT_EQ(bytes[1], GetParam().version);
    }
    auto r = heardResponses();
    ASSERT_EQ(r.size(), 1u);
    EXPECT_EQ(r[0].entries[0].mask, GetParam().version == 2 ? 0xFFFFFF00u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Rfc2453, SendTypes,
                         ::testing::Values(SendCase{"multicast", 0, "224.0.0.9", 2},
                                           SendCase{"broadcast_v1", 1, "10.0.0.255", 1},
                                           SendCase{"broadcast_v2", 2, "10.0.0.255", 2}),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- receive types ---------------------------------------------------------------------

struct ReceiveCase {
    const char* name;
    int receiveType;
    size_t fromV1, fromV2;
};
void PrintTo(const ReceiveCase& c, std::ostream* os) { *os << c.name; }
class ReceiveTypes : public Pair, public ::testing::WithParamInterface<ReceiveCase> {};

TEST_P(ReceiveTypes, KeepOnlyTheVersionsAsked) {
    auto s = ripServer("10.0.0.2", 24, "30.0.0.0", 1);
    editRouter(s, [&](auto& r) { r.receiveType = GetParam().receiveType; });
    b.configure(s);
    b.start();
    inject(hex("02010000 0002 0000 0b000000 00000000 00000000 00000001"));  // v1: 11.0.0.0
    EXPECT_EQ(learned(b, "10.0.0.2"), GetParam().fromV1);
    inject(hex("02020000 0002 0000 0c000000 ff000000 00000000 00000001"));  // v2: 12.0.0.0/8
    EXPECT_EQ(learned(b, "10.0.0.2"), GetParam().fromV1 + GetParam().fromV2);
}

INSTANTIATE_TEST_SUITE_P(Rfc2453, ReceiveTypes,
                         ::testing::Values(ReceiveCase{"none", 0, 0, 0}, ReceiveCase{"v1", 1, 1, 0},
                                           ReceiveCase{"v2", 2, 0, 1}, ReceiveCase{"both", 3, 1, 1}),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- authentication -----------------------------------------------------------------------

struct AuthCase {
    const char* name;
    const char* sender;  // nullptr: no authentication
    const char* receiver;
    bool learned;
};
void PrintTo(const AuthCase& c, std::ostream* os) { *os << c.name; }
class Authentication : public Pair, public ::testing::WithParamInterface<AuthCase> {};

TEST_P(Authentication, OnlyTheRightPasswordPasses) {
    auto sa = ripServer("10.0.0.1", 24, "20.0.0.0", 3);
    auto sb = ripServer("10.0.0.2", 24, "30.0.0.0", 1);
    auto set = [](hal::ERIPServer& s, const char* pw) {
        if (pw)
            editRouter(s, [&](auto& r) {
                r.authorization = true;
                r.authorizationPassword = pw;
            });
    };
    set(sa, GetParam().sender);
    set(sb, GetParam().receiver);
    a.configure(sa);
    b.configure(sb);
    a.start();
    b.start();
    run(50ms);
    EXPECT_EQ(learned(b, "10.0.0.2"), GetParam().learned ? 3u : 0u);
    EXPECT_EQ(b.counters("10.0.0.2")->authFailures > 0, !GetParam().learned);
}

INSTANTIATE_TEST_SUITE_P(Rfc2453, Authentication,
                         ::testing::Values(AuthCase{"none", nullptr, nullptr, true},
                                           AuthCase{"right", "s3cret", "s3cret", true},
                                           AuthCase{"wrong", "s3cret", "other", false},
                                           AuthCase{"missing", nullptr, "s3cret", false},
                                           AuthCase{"unexpected", "s3cret", nullptr, false},
                                           AuthCase{"cut_at_16", "0123456789abcdefXX", "0123456789abcdefYY", true}),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- response modes ----------------------------------------------------------------------

struct ModeCase {
    const char* name;
    int mode;
    int learnedMetric;  // what a's update carries for b's route; -1: not there, -2: nothing sent
};
void PrintTo(const ModeCase& c, std::ostream* os) { *os << c.name; }
class ResponseModes : public Pair, public ::testing::WithParamInterface<ModeCase> {};

TEST_P(ResponseModes, DecideWhatALearnedRouteLooksLikeOnItsOwnLink) {
    auto sa = ripServer("10.0.0.1", 24, "20.0.0.0", 1);
    editRouter(sa, [&](auto& r) {
        r.responseMode = GetParam().mode;
        r.generalRequest = false;
    });
    a.configure(sa);
    a.start();
    inject(hex("02020000 0002 0000 1f000000 ff000000 00000000 00000004"));  // 31.0.0.0/8 metric 4
    ASSERT_EQ(learned(a, "10.0.0.1"), 1u);
    probe.heard.clear();
    run(12s);  // regular updates
    auto heard = heardResponses();
    if (GetParam().learnedMetric == -2) {
        EXPECT_TRUE(heard.empty());
        return;
    }
    ASSERT_FALSE(heard.empty());
    int metric = -1;
    for (auto& e : heard.back().entries)
        if (e.address == 0x1F000000) metric = int(e.metric);
    EXPECT_EQ(metric, GetParam().learnedMetric);
}

INSTANTIATE_TEST_SUITE_P(Rfc2453, ResponseModes,
                         ::testing::Values(ModeCase{"default", 0, 5}, ModeCase{"split_horizon", 1, -1},
                                           ModeCase{"poison_reverse", 2, 16}, ModeCase{"space_saver", 3, -1},
                                           ModeCase{"silent", 4, -2}),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- requests -------------------------------------------------------------------------------

TEST_F(Pair, AnswersAWholeTableRequestAndSpecificEntries) {
    auto sa = ripServer("10.0.0.1", 24, "20.0.0.0", 3, 2);
    editRouter(sa, [](auto& r) { r.updateInterval = 0; });
    a.configure(sa);
    a.start();
    run(10ms);
    probe.heard.clear();
    inject(hex("01020000 0000 0000 00000000 00000000 00000000 00000010"));
    auto whole = heardResponses();
    ASSERT_EQ(whole.size(), 1u);
    EXPECT_EQ(whole[0].entries.size(), 3u);
    EXPECT_EQ(probe.heard[0].first.toString(), "10.0.0.9");  // to the asker
    probe.heard.clear();
    // A query from another port: 20.0.1.0/24 is known (metric 2), 40.0.0.0/8 is not.
    inject(hex("01020000 0002 0000 14000100 ffffff00 00000000 00000010"
               "         0002 0000 28000000 ff000000 00000000 00000010"),
           4000);
    auto specific = heardResponses();
    ASSERT_EQ(specific.size(), 1u);
    ASSERT_EQ(specific[0].entries.size(), 2u);
    EXPECT_EQ(specific[0].entries[0].metric, 2u);
    EXPECT_EQ(specific[0].entries[1].metric, 16u);
    EXPECT_EQ(a.counters("10.0.0.1")->requestsReceived, 2u);
}

TEST_F(Pair, AGeneralRequestAtStartBringsTheNeighboursTable) {
    auto sb = ripServer("10.0.0.2", 24, "30.0.0.0", 2);
    editRouter(sb, [](auto& r) { r.updateInterval = 0; });  // b sends only at start and when asked
    b.configure(sb);
    b.start();
    run(1s);
    a.configure(ripServer("10.0.0.1", 24, "20.0.0.0", 1));
    a.start();
    run(100ms);
    EXPECT_EQ(learned(a, "10.0.0.1"), 2u);
    EXPECT_EQ(b.counters("10.0.0.2")->requestsReceived, 1u);
}

// ---- stop, reconfiguration and timeouts --------------------------------------------------------

TEST_F(Pair, AStopPoisonsEveryRouteAndTheNeighbourDropsThem) {
    a.configure(ripServer("10.0.0.1", 24, "20.0.0.0", 40));
    b.configure(ripServer("10.0.0.2", 24, "30.0.0.0", 1));
    a.start();
    b.start();
    run(50ms);
    ASSERT_EQ(learned(b, "10.0.0.2"), 40u);
    probe.heard.clear();
    bool done = false;
    a.stop([&] { done = true; });
    EXPECT_TRUE(done);
    run(50ms);
    auto heard = heardResponses();
    size_t poisoned = 0;
    for (auto& p : heard)
        for (auto& e : p.entries) poisoned += e.metric == 16 && e.address >> 16 == 0x1400;
    EXPECT_EQ(poisoned, 40u);
    EXPECT_EQ(learned(b, "10.0.0.2"), 0u);
    probe.heard.clear();
    probe.heardFrom.clear();
    run(20s);
    for (auto& from : probe.heardFrom) EXPECT_NE(from.toString(), "10.0.0.1") << "a went on after its stop";
}

TEST_F(Pair, AConfigureWhileRunningPoisonsARemovedRangeAndAnnouncesANewOne) {
    auto sa = ripServer("10.0.0.1", 24, "20.0.0.0", 5);
    a.configure(sa);
    b.configure(ripServer("10.0.0.2", 24, "30.0.0.0", 1));
    a.start();
    b.start();
    run(50ms);
    ASSERT_EQ(learned(b, "10.0.0.2"), 5u);
    auto next = ripServer("10.0.0.1", 24, "21.0.0.0", 2);
    a.configure(next);
    run(50ms);
    auto got = b.learnedRoutes("10.0.0.2");
    ASSERT_EQ(got->size(), 2u);
    EXPECT_EQ((*got)[0].network.ToString(), "21.0.0.0");
}

TEST_F(Pair, LearnedRoutesTimeOutAfterSixIntervalsAndGoFourLater) {
    auto sb = ripServer("10.0.0.2", 24, "30.0.0.0", 1);  // update interval 5 s: 30 s and 20 s
    b.configure(sb);
    b.start();
    inject(hex("02020000 0002 0000 1f000000 ff000000 00000000 00000002"));
    ASSERT_EQ(learned(b, "10.0.0.2"), 1u);
    run(29s);
    EXPECT_EQ(learned(b, "10.0.0.2"), 1u);
    run(2s);
    EXPECT_EQ(learned(b, "10.0.0.2"), 0u);  // timed out: metric 16, not listed
    EXPECT_EQ(b.counters("10.0.0.2")->updatesReceived, 1u);
}

TEST_F(Pair, RegularUpdatesKeepWithinTheJitter) {
    auto sa = ripServer("10.0.0.1", 24, "20.0.0.0", 1);  // 5 s, 1 s of jitter
    editRouter(sa, [](auto& r) { r.generalRequest = false; });
    a.configure(sa);
    a.start();
    std::vector<Time> at;
    probe.onReceive = [&](const Link::Received&) { at.push_back(clock.now()); };
    run(61s);
    ASSERT_GE(at.size(), 11u);
    for (size_t i = 1; i < at.size(); ++i) {
        EXPECT_GE(at[i] - at[i - 1], 4s);
        EXPECT_LE(at[i] - at[i - 1], 6s);
    }
}

// ---- hostile input ----------------------------------------------------------------------------

struct HostileCase {
    const char* name;
    std::string bytes;
    uint16_t port;
    uint64_t Counters::*counter;
};
void PrintTo(const HostileCase& c, std::ostream* os) { *os << c.name; }
class Hostile : public Pair, public ::testing::WithParamInterface<HostileCase> {};

std::string manyEntries(int n) {
    std::string s;
    for (int i = 0; i < n; ++i) s += "0002 0000 0b000000 ff000000 00000000 00000001";
    return s;
}

TEST_P(Hostile, TheSpeakerSurvivesDropsAndCounts) {
    auto sb = ripServer("10.0.0.2", 24, "30.0.0.0", 1);
    b.configure(sb);
    b.start();
    a.configure(ripServer("10.0.0.1", 24, "20.0.0.0", 2));
    a.start();
    run(50ms);
    ASSERT_EQ(learned(b, "10.0.0.2"), 2u);
    inject(hex(GetParam().bytes), GetParam().port);
    EXPECT_EQ((*b.counters("10.0.0.2")).*GetParam().counter, 1u);
    EXPECT_EQ(learned(b, "10.0.0.2"), 2u);  // nothing new, and what b knew stays
}

INSTANTIATE_TEST_SUITE_P(
    Rfc2453, Hostile,
    ::testing::Values(
        HostileCase{"truncated", "02020000 0002 0000 0b00", kRipPort, &Counters::badPackets},
        HostileCase{"version_0", "02000000" + manyEntries(1), kRipPort, &Counters::badPackets},
        HostileCase{"version_9", "02090000" + manyEntries(1), kRipPort, &Counters::badPackets},
        HostileCase{"command_7", "07020000" + manyEntries(1), kRipPort, &Counters::badPackets},
        HostileCase{"twenty_six_entries", "02020000" + manyEntries(26), kRipPort, &Counters::badPackets},
        HostileCase{"huge", "02020000" + manyEntries(3000), kRipPort, &Counters::badPackets},
        HostileCase{"response_from_another_port", "02020000" + manyEntries(1), 999, &Counters::badPackets},
        HostileCase{"family_7", "02020000 0007 0000 0b000000 ff000000 00000000 00000001", kRipPort,
                    &Counters::badEntries},
        HostileCase{"metric_0", "02020000 0002 0000 0b000000 ff000000 00000000 00000000", kRipPort,
                    &Counters::badEntries},
        HostileCase{"metric_17", "02020000 0002 0000 0b000000 ff000000 00000000 00000011", kRipPort,
                    &Counters::badEntries},
        HostileCase{"metric_huge", "02020000 0002 0000 0b000000 ff000000 00000000 ffffffff", kRipPort,
                    &Counters::badEntries},
        HostileCase{"password_unasked", "02020000 ffff 0002 41414141414141414141414141414141" + manyEntries(1),
                    kRipPort, &Counters::authFailures}),
    [](const auto& info) { return std::string(info.param.name); });

// RFC 1058 3.2: a version 1 entry has no mask; its length is the class's,
// the router's own subnet length within its class network, or 32.
struct V1Case {
    const char* name;
    const char* entry;  // address, hex
    const char* prefix;
};
void PrintTo(const V1Case& c, std::ostream* os) { *os << c.name; }
class Version1Lengths : public Pair, public ::testing::WithParamInterface<V1Case> {};

TEST_P(Version1Lengths, FollowTheClassAndTheRoutersSubnet) {
    b.configure(ripServer("10.0.0.2", 24, "30.0.0.0", 1));  // 10.0.0.2/24
    b.start();
    inject(hex(std::string("02010000 0002 0000 ") + GetParam().entry + " 00000000 00000000 00000001"));
    auto got = b.learnedRoutes("10.0.0.2");
    ASSERT_EQ(got->size(), 1u);
    EXPECT_EQ((*got)[0].network.ToString() + "/" + std::to_string((*got)[0].prefixLength), GetParam().prefix);
}

INSTANTIATE_TEST_SUITE_P(Rfc1058, Version1Lengths,
                         ::testing::Values(V1Case{"class_a", "0b000000", "11.0.0.0/8"},
                                           V1Case{"class_b", "ac100000", "172.16.0.0/16"},
                                           V1Case{"class_c", "c0000200", "192.0.2.0/24"},
                                           V1Case{"host_elsewhere", "0b000001", "11.0.0.1/32"},
                                           V1Case{"own_class_subnet", "0a010200", "10.1.2.0/24"},
                                           V1Case{"own_class_host", "0a010203", "10.1.2.3/32"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(Pair, GoodEntriesBesideBadOnesAreKept) {
    b.configure(ripServer("10.0.0.2", 24, "30.0.0.0", 1));
    b.start();
    inject(
        hex("02020000 0002 0000 0b000000 ff000000 00000000 00000011"
            "         0002 0000 0c000000 ff000000 00000000 00000002"));
    EXPECT_EQ(learned(b, "10.0.0.2"), 1u);
    EXPECT_EQ(b.counters("10.0.0.2")->badEntries, 1u);
}

TEST_F(Pair, ANeighbourFloodingRoutesMeetsTheLimit) {
    b.setLearnedLimit(30);
    b.configure(ripServer("10.0.0.2", 24, "30.0.0.0", 1));
    b.start();
    a.configure(ripServer("10.0.0.1", 24, "20.0.0.0", 100));
    a.start();
    run(50ms);
    EXPECT_EQ(learned(b, "10.0.0.2"), 30u);
    EXPECT_EQ(b.counters("10.0.0.2")->tableFull, 140u);  // 70 refused, twice (the start and the request's answer)
}

hal::ERIPngServer ripngServer(uint32_t id, const std::string& network, int count, uint32_t pace = 0,
                              uint32_t periodMs = 0);

// A seeded mutation fuzzer: valid packets of both families, bit-flipped,
// cut, lengthened and overwritten, go to a running speaker from the link's
// port and from others. Nothing may crash or read out of bounds (the
// sanitizer build runs this too), every packet is counted once, and an
// accepted packet encodes again into one that decodes to the same values.
template <class Packet>
void fuzz(Pair& t, bool v6, const std::vector<Bytes>& seedsIn) {
    std::mt19937 rng(7);
    std::vector<Bytes> seeds = seedsIn;
    uint64_t sent = 0;
    Speaker s(t.reactor, v6);
    Lan::Port& link = t.lan.attach(v6 ? "fe80::5" : "10.0.0.5");
    s.setLink(&link);
    if (v6) {
        s.setLinkLocal(*IpAddress::parse("fe80::5"));
        s.configure(ripngServer(5, "2001:db8:5::", 3));
    } else {
        s.configure(ripServer("10.0.0.5", 24, "50.0.0.0", 3));
    }
    s.start();
    const IpAddress from = *IpAddress::parse(v6 ? "fe80::9" : "10.0.0.9");
    const IpAddress to = *IpAddress::parse(v6 ? "ff02::9" : "224.0.0.9");
    for (int i = 0; i < 20000; ++i) {
        Bytes b = seeds[rng() % seeds.size()];
        switch (rng() % 5) {
        case 0:
            if (!b.empty()) b[rng() % b.size()] ^= uint8_t(1 << (rng() % 8));
            break;
        case 1:
            b.resize(rng() % (b.size() + 1));
            break;
        case 2:
            b.resize(b.size() + rng() % 60, uint8_t(rng()));
            break;
        case 3:
            for (auto& x : b)
                if (rng() % 4 == 0) x = uint8_t(rng());
            break;
        default:
            b.resize(4 + 20 * (rng() % 200), uint8_t(rng()));
            break;
        }
        if constexpr (std::is_same_v<Packet, RipPacket>) {
            if (auto d = decodeRip(b)) {
                auto again = decodeRip(encodeRip(*d));
                EXPECT_TRUE(again.ok() && *again == *d);
            }
        } else {
            if (auto d = decodeRipng(b)) {
                auto again = decodeRipng(encodeRipng(*d));
                EXPECT_TRUE(again.ok() && *again == *d);
            }
        }
        t.probe.sourcePort = rng() % 8 ? 0 : uint16_t(rng());
        t.probe.hopLimit = rng() % 8 ? 255 : int(rng() % 255);
        t.probe.send(b, from, to, 0);
        ++sent;
        if (i % 500 == 0) t.run(1s);
    }
    t.run(1s);
    EXPECT_EQ(s.counters(v6 ? "5" : "10.0.0.5")->packetsReceived, sent);
    EXPECT_TRUE(s.running());
    s.stop(nullptr);
}

TEST_F(Pair, MutatedRipPacketsHurtNothing) {
    std::vector<Bytes> seeds = {
        hex("02020000 0002 0007 0a010200 ffffff00 0a000001 00000003 0002 0000 0b000000 ff000000 00000000 00000001"),
        hex("02020000 ffff 0002 73336372657400000000000000000000 0002 0000 0c000000 ff000000 00000000 00000002"),
        hex("02010000 0002 0000 ac100000 00000000 00000000 00000010"),
        hex("01020000 0000 0000 00000000 00000000 00000000 00000010"),
        hex("01020000 0002 0000 32000100 ffffff00 00000000 00000010")};
    fuzz<RipPacket>(*this, false, seeds);
}

TEST_F(Pair, MutatedRipngPacketsHurtNothing) {
    std::vector<Bytes> seeds = {
        hex("02010000 fe800000000000000000000000000001 0000 00 ff 20010db8000100000000000000000000 002a 40 02"),
        hex("02010000 20010db8000200000000000000000000 0000 30 01 20010db8000300000000000000000000 0000 80 10"),
        hex("01010000 00000000000000000000000000000000 0000 00 10"),
        hex("01010000 20010db8000500000000000000000000 0000 40 10")};
    fuzz<RipngPacket>(*this, true, seeds);
}

// ---- RIPng ------------------------------------------------------------------------------------

hal::ERIPngServer ripngServer(uint32_t id, const std::string& network, int count, uint32_t pace, uint32_t periodMs) {
    hal::ERIPngServer s;
    s.numberOfRoutes = pace;
    s.timePeriod = periodMs;
    hal::ERIPngRouter r;
    r.routerId = id;
    r.updateInterval = 5;
    r.updateIntervalOffset = 1;
    hal::ERIPngRouteRange g;
    g.networkNumber = address(network);
    g.mask = 64;
    g.numberOfRoutes = count;
    g.metric = 2;
    r.routeRanges.Add(g);
    s.routers.Add(r);
    return s;
}

TEST_F(NgPair, EachLearnsTheOthersPrefixesWithTheSenderAsNextHop) {
    a.configure(ripngServer(1, "2001:db8:1::", 100));
    b.configure(ripngServer(2, "2001:db8:2::", 3));
    a.start();
    b.start();
    clock.advance(100ms);
    auto got = b.learnedRoutes("2");
    ASSERT_TRUE(got);
    ASSERT_EQ(got->size(), 100u);
    EXPECT_EQ((*got)[0].network.ToString(), "2001:db8:1::");
    EXPECT_EQ((*got)[99].network.ToString(), "2001:db8:1:63::");
    EXPECT_EQ((*got)[0].metric, 2u);
    EXPECT_EQ((*got)[0].nextHop.ToString(), "fe80::1");
    EXPECT_EQ(learned(a, "1"), 3u);
    // 100 routes on a 1500-byte link: 72 a packet; at start and for b's request.
    EXPECT_EQ(a.counters("1")->updatesSent, 4u);
}

TEST_F(NgPair, PacingSpreadsAnUpdateOverTimePeriods) {
    a.configure(ripngServer(1, "2001:db8:1::", 50, 10, 100));  // 10 routes per 100 ms
    a.start();
    std::vector<Time> at;
    probe.onReceive = [&](const Link::Received& d) {
        if (auto p = decodeRipng(d.bytes); p && p->command == Command::Response) at.push_back(clock.now());
    };
    clock.advance(2s);
    ASSERT_GE(at.size(), 5u);
    EXPECT_GE(at[4] - at[0], 350ms);
}

TEST_F(NgPair, ANamedNextHopIsKeptAndAWrongHopLimitDropped) {
    b.configure(ripngServer(2, "2001:db8:2::", 1));
    b.start();
    inject(hex("02010000 fe800000000000000000000000000077 0000 00 ff"
               "         20010db8000900000000000000000000 0000 40 01"));
    auto got = b.learnedRoutes("2");
    ASSERT_EQ(got->size(), 1u);
    EXPECT_EQ((*got)[0].nextHop.ToString(), "fe80::77");
    probe.hopLimit = 64;
    inject(hex("02010000 20010db8000a00000000000000000000 0000 40 01"));
    EXPECT_EQ(learned(b, "2"), 1u);
    EXPECT_EQ(b.counters("2")->badPackets, 1u);
}

TEST_F(NgPair, AStopPoisonsAndAHugeMalformedPacketIsOnlyCounted) {
    a.configure(ripngServer(1, "2001:db8:1::", 10));
    b.configure(ripngServer(2, "2001:db8:2::", 1));
    a.start();
    b.start();
    clock.advance(50ms);
    ASSERT_EQ(learned(b, "2"), 10u);
    std::string huge = "02010000";
    for (int i = 0; i < 3000; ++i) huge += "20010db8000b00000000000000000000 0000 ff 11";
    inject(hex(huge + "00"));
    inject(hex(huge));
    EXPECT_EQ(b.counters("2")->badPackets, 1u);
    EXPECT_EQ(b.counters("2")->badEntries, 3000u);
    a.stop(nullptr);
    clock.advance(5ms);
    EXPECT_EQ(learned(b, "2"), 0u);
}

}  // namespace
