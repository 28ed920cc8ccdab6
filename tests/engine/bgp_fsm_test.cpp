// The state machine in virtual time: two of ours over an in-memory wire
// (sessions come up, live through long stretches, end on hold timer
// expiry, stop, a wrong AS; restarts, connect retries, established-once),
// and one fed hostile bytes directly, in each state, answered with the
// NOTIFICATION RFC 4271, 6608 and 7313 prescribe.
#include <gtest/gtest.h>

#include <ostream>

#include <deque>
#include <functional>
#include <map>
#include <memory>

#include "bgp_hex.h"
#include "engine/bgp/builder.h"
#include "engine/bgp/fsm.h"

using namespace engine::bgp;
using bgptest::hex;
using bgptest::message;

namespace {

FsmConfig config(uint32_t as, uint32_t peerAs, uint32_t id, uint16_t hold = 9, bool active = true) {
    FsmConfig c;
    c.open = makeOpen(as, hold, id);
    c.open.caps.multiprotocol = {kIpv4Unicast};
    c.peerAs = peerAs;
    c.activeConnect = active;
    c.connectRetryTime = 1;
    return c;
}

// Two state machines joined by a wire, in virtual milliseconds.
class Wire {
public:
    struct Side {
        Counters counters;
        std::unique_ptr<Fsm> fsm;
        std::map<Timer, uint64_t> timers;  // deadlines
        bool connected = false;
        bool mute = false;  // what it sends is lost
        int connects = 0;
        int established = 0;
        std::vector<std::optional<Notification>> downs;
        std::vector<Update> updates;
    };

    Wire(FsmConfig a, FsmConfig b) {
        side_[0].fsm = std::make_unique<Fsm>(std::move(a), side_[0].counters);
        side_[1].fsm = std::make_unique<Fsm>(std::move(b), side_[1].counters);
    }
    Side& operator[](int i) { return side_[i]; }

    void call(int i, std::function<std::vector<Action>(Fsm&)> f) {
        queue_.push_back([this, i, f] { apply(i, f(*side_[i].fsm)); });
        drain();
    }
    // B starts, then A; both run for `ms`.
    void startBoth(uint64_t ms) {
        call(1, [](Fsm& f) { return f.start(); });
        call(0, [](Fsm& f) { return f.start(); });
        run(ms);
    }
    // Runs events and timers until `ms` more virtual milliseconds passed.
    void run(uint64_t ms) {
        const uint64_t until = now_ + ms;
        for (;;) {
            drain();
            int who = -1;
            Timer which{};
            uint64_t when = until + 1;
            for (int i = 0; i < 2; ++i)
                for (auto [t, at] : side_[i].timers)
                    if (at < when) {
                        who = i;
                        which = t;
                        when = at;
                    }
            if (who < 0) break;
            now_ = when;
            side_[who].timers.erase(which);
            apply(who, side_[who].fsm->timerExpired(which));
        }
        now_ = until;
    }

private:
    void drain() {
        while (!queue_.empty()) {
            auto f = std::move(queue_.front());
            queue_.pop_front();
            f();
        }
    }
    void apply(int i, std::vector<Action> actions) {
        Side& me = side_[i];
        Side& peer = side_[1 - i];
        for (Action& a : actions) {
            switch (a.kind) {
            case Action::Kind::Connect: {
                ++me.connects;
                State ps = peer.fsm->state();
                bool accepts = !peer.connected && (ps == State::Active || ps == State::Connect);
                if (accepts) {
                    me.connected = peer.connected = true;
                    queue_.push_back([this, i] { apply(i, side_[i].fsm->connected()); });
                    queue_.push_back([this, i] { apply(1 - i, side_[1 - i].fsm->connected()); });
                } else {
                    queue_.push_back([this, i] { apply(i, side_[i].fsm->connectionFailed()); });
                }
                break;
            }
            case Action::Kind::Send:
                if (me.connected && peer.connected && !me.mute) {
                    Bytes b = a.bytes;
                    // Bytes sent before a close still arrive, as on TCP.
                    queue_.push_back([this, i, b] { apply(1 - i, side_[1 - i].fsm->received(b)); });
                }
                break;
            case Action::Kind::Close:
                if (me.connected) {
                    me.connected = false;
                    if (peer.connected) {
                        peer.connected = false;
                        queue_.push_back([this, i] { apply(1 - i, side_[1 - i].fsm->connectionFailed()); });
                    }
                }
                break;
            case Action::Kind::StartTimer:
                me.timers[a.timer] = now_ + uint64_t(a.seconds) * 1000;
                break;
            case Action::Kind::StopTimer:
                me.timers.erase(a.timer);
                break;
            case Action::Kind::Established:
                ++me.established;
                break;
            case Action::Kind::Received:
                if (a.update) me.updates.push_back(*a.update);
                break;
            case Action::Kind::Down:
                me.downs.push_back(a.notification);
                break;
            }
        }
    }

    Side side_[2];
    std::deque<std::function<void()>> queue_;
    uint64_t now_ = 0;
};

uint64_t sentOf(const Counters& c, MessageType t) { return c.sent[size_t(t)].load(); }
uint64_t receivedOf(const Counters& c, MessageType t) { return c.received[size_t(t)].load(); }

struct UpCase {
    const char* name;
    uint16_t holdA, holdB;
    uint16_t keepaliveA;
    bool bActive;
    uint64_t keepalivesA;  // sent by A in 100 s, the one of the OPEN exchange included
};
void PrintTo(const UpCase& c, std::ostream* os) { *os << c.name; }

class FsmUpTest : public ::testing::TestWithParam<UpCase> {};

TEST_P(FsmUpTest, ComesUpAndStaysUp) {
    const UpCase& c = GetParam();
    FsmConfig a = config(65001, 65002, 1, c.holdA);
    a.keepaliveTime = c.keepaliveA;
    Wire w(a, config(65002, 65001, 2, c.holdB, c.bActive));
    w.startBoth(100000);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(w[i].fsm->state(), State::Established);
        EXPECT_EQ(w[i].established, 1);
        EXPECT_TRUE(w[i].downs.empty());
        EXPECT_EQ(w[i].counters.state.load(), 6);
        EXPECT_EQ(sentOf(w[i].counters, MessageType::Open), 1u);
        EXPECT_EQ(receivedOf(w[i].counters, MessageType::Open), 1u);
        EXPECT_EQ(w[i].fsm->session().holdTime, std::min(c.holdA, c.holdB));
        EXPECT_EQ(w[i].fsm->peerOpen()->asNumber(), i == 0 ? 65002u : 65001u);
    }
    EXPECT_EQ(sentOf(w[0].counters, MessageType::Keepalive), c.keepalivesA);
    EXPECT_EQ(receivedOf(w[1].counters, MessageType::Keepalive), c.keepalivesA);
}

INSTANTIATE_TEST_SUITE_P(Timers, FsmUpTest,
                         ::testing::Values(UpCase{"hold_9_keepalive_every_3", 9, 90, 0, false, 1 + 33},
                                           UpCase{"keepalive_set_below_a_third", 9, 9, 2, false, 1 + 50},
                                           UpCase{"keepalive_set_above_a_third_is_cut", 9, 9, 30, true, 1 + 33},
                                           UpCase{"hold_0_no_keepalives", 0, 0, 0, false, 1},
                                           UpCase{"one_side_hold_0", 0, 90, 0, true, 1}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Fsm, HoldTimerExpiresWhenThePeerFallsSilentThenRestarts) {
    Wire w(config(65001, 65002, 1), config(65002, 65001, 2, 9, false));
    w.startBoth(1000);
    ASSERT_EQ(w[0].fsm->state(), State::Established);
    w[1].mute = true;
    w.run(9000);
    ASSERT_EQ(w[0].downs.size(), 1u);
    EXPECT_EQ(w[0].downs[0], (Notification{4, 0, {}}));
    EXPECT_EQ(w[0].counters.notificationsSent[4][0].load(), 1u);
    EXPECT_EQ(w[0].counters.lastErrorSent.load(), 0x400u);
    w[1].mute = false;
    w.run(5000);  // the retry delay, and a new session
    EXPECT_EQ(w[0].fsm->state(), State::Established);
    EXPECT_EQ(w[0].established, 2);
    EXPECT_EQ(w[0].counters.starts.load(), 2u);
}

TEST(Fsm, StopSendsCeaseAndStaysDown) {
    Wire w(config(65001, 65002, 1), config(65002, 65001, 2, 9, false));
    w.startBoth(1000);
    w.call(0, [](Fsm& f) { return f.stop(); });
    w.run(60000);
    EXPECT_EQ(w[0].fsm->state(), State::Idle);
    EXPECT_EQ(w[0].counters.starts.load(), 1u);
    ASSERT_EQ(w[1].downs.size(), 1u);
    EXPECT_EQ(w[1].downs[0], (Notification{6, 2, {}}));
    EXPECT_EQ(w[1].counters.notificationsReceived[6][2].load(), 1u);
    EXPECT_EQ(w[1].counters.lastErrorReceived.load(), 0x602u);
    EXPECT_EQ(w[1].fsm->state(), State::Active);  // the passive side waits again
}

TEST(Fsm, WrongPeerAsIsRefused) {
    Wire w(config(65001, 65009, 1), config(65002, 65001, 2, 9, false));
    w.startBoth(500);
    ASSERT_FALSE(w[0].downs.empty());
    EXPECT_EQ(w[0].downs[0], (Notification{2, 2, {}}));
    EXPECT_EQ(w[1].downs[0], (Notification{2, 2, {}}));
    EXPECT_EQ(w[0].established, 0);
}

struct RetryCase {
    const char* name;
    uint32_t retries;
    int connects;  // in 60 s against a peer that never listens
};
void PrintTo(const RetryCase& c, std::ostream* os) { *os << c.name; }

class FsmRetryTest : public ::testing::TestWithParam<RetryCase> {};

TEST_P(FsmRetryTest, ConnectAttempts) {
    FsmConfig a = config(65001, 65002, 1);
    a.connectRetries = GetParam().retries;
    a.connectRetryTime = 5;
    Wire w(a, config(65002, 65001, 2, 9, false));  // never started: refuses
    w.call(0, [](Fsm& f) { return f.start(); });
    w.run(60000);
    EXPECT_EQ(w[0].connects, GetParam().connects);
}

INSTANTIATE_TEST_SUITE_P(Retries, FsmRetryTest,
                         ::testing::Values(RetryCase{"two_retries", 2, 3},
                                           // Refused at once, then every 5 s: 0, 5, ... 60.
                                           RetryCase{"no_end", 0, 13}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Fsm, EstablishOnceDoesNotComeBack) {
    for (bool once : {false, true}) {
        FsmConfig a = config(65001, 65002, 1);
        a.establishOnce = once;
        Wire w(a, config(65002, 65001, 2, 9, false));
        w.startBoth(1000);
        w.call(1, [](Fsm& f) { return f.stop(); });
        w.call(1, [](Fsm& f) { return f.start(); });
        w.run(10000);
        EXPECT_EQ(w[0].established, once ? 1 : 2) << once;
        EXPECT_EQ(w[0].counters.starts.load(), once ? 1u : 2u) << once;
    }
}

TEST(Fsm, UpdatesArriveInPiecesAndAreCounted) {
    Wire w(config(65001, 65002, 1), config(65002, 65001, 2, 9, false));
    w.startBoth(1000);
    EncodeSession s;
    s.localAs = 65001;
    s.internal = false;
    s.localAddress = hal::EIPAddress::FromV4(0x0a010002);
    UpdateEncoder enc(s, UpdateEncoder::Kind::Announce);
    hal::EBGP::ConfigRouteRange r;
    r.firstNetwork = hal::EIPAddress::FromV4(0x14000000);
    r.numberOfRoutes = 3000;
    enc.add(r, 65001);
    Bytes all = enc.all();
    // Delivered to B in 7-byte pieces, as a stream would.
    for (size_t at = 0; at < all.size(); at += 7) {
        Bytes piece(all.begin() + long(at), all.begin() + long(std::min(all.size(), at + 7)));
        w.call(1, [piece](Fsm& f) { return f.received(piece); });
    }
    size_t prefixes = 0;
    for (const Update& u : w[1].updates) prefixes += u.nlri.size();
    EXPECT_EQ(w[1].updates.size(), enc.messageCount());
    EXPECT_EQ(prefixes, 3000u);
    EXPECT_EQ(w[1].counters.routesAdvertisedReceived.load(), 3000u);
    EXPECT_EQ(receivedOf(w[1].counters, MessageType::Update), enc.messageCount());
    EXPECT_EQ(w[1].fsm->state(), State::Established);
}

// ---- one machine fed hostile bytes ------------------------------------------

// Our machine brought to `state` by a peer of AS 65002 over a fake connection.
std::unique_ptr<Fsm> machineIn(State state, Counters& counters) {
    auto f = std::make_unique<Fsm>(config(65001, 65002, 1), counters);
    f->start();
    f->connected();
    Open peer = makeOpen(65002, 9, 2);
    peer.caps.multiprotocol = {kIpv4Unicast};
    if (state != State::OpenSent) f->received(encodeOpen(peer));
    if (state == State::Established) f->received(encodeKeepalive());
    EXPECT_EQ(f->state(), state);
    return f;
}

struct HostileCase {
    const char* name;
    State state;
    Bytes bytes;
    Notification expected;
};
void PrintTo(const HostileCase& c, std::ostream* os) { *os << c.name; }

class FsmHostileTest : public ::testing::TestWithParam<HostileCase> {};

TEST_P(FsmHostileTest, AnswersAndEnds) {
    const HostileCase& c = GetParam();
    Counters counters;
    auto f = machineIn(c.state, counters);
    std::vector<Action> acts = f->received(c.bytes);
    EXPECT_EQ(f->state(), State::Idle);
    ASSERT_FALSE(acts.empty());
    EXPECT_EQ(acts[0].kind, Action::Kind::Send);
    EXPECT_EQ(bgptest::toHex(acts[0].bytes), bgptest::toHex(encodeNotification(c.expected)));
    EXPECT_EQ(acts[1].kind, Action::Kind::Close);
    EXPECT_EQ(counters.notificationsSent[c.expected.code][c.expected.subcode].load(), 1u);
    // And it starts again after the retry delay.
    bool restart = false;
    for (const Action& a : acts) restart |= a.kind == Action::Kind::StartTimer && a.timer == Timer::IdleHold;
    EXPECT_TRUE(restart);
}

Bytes withMarker(Bytes m, uint8_t firstByte) {
    m[0] = firstByte;
    return m;
}

INSTANTIATE_TEST_SUITE_P(
    Table, FsmHostileTest,
    ::testing::Values(
        HostileCase{"bad_marker", State::Established, withMarker(encodeKeepalive(), 0x7f), {1, 1, {}}},
        HostileCase{"length_past_4096",
                    State::Established,
                    hex("ffffffffffffffffffffffffffffffff 1388 02"),
                    {1, 2, {0x13, 0x88}}},
        HostileCase{
            "unknown_type", State::Established, hex("ffffffffffffffffffffffffffffffff 0013 09"), {1, 3, {0x09}}},
        HostileCase{
            "update_fields_past_the_message", State::Established, message(2, hex("0010 10 0a01 0000")), {3, 1, {}}},
        HostileCase{"open_in_established", State::Established, encodeOpen(makeOpen(65002, 9, 2)), {5, 3, {}}},
        HostileCase{"route_refresh_of_24_bytes",
                    State::Established,
                    message(5, hex("0001 00 01 00")),
                    {7, 1, message(5, hex("0001 00 01 00"))}},
        HostileCase{"update_in_open_sent", State::OpenSent, encodeEndOfRib(kIpv4Unicast), {5, 1, {}}},
        HostileCase{"keepalive_in_open_sent", State::OpenSent, encodeKeepalive(), {5, 1, {}}},
        HostileCase{"update_in_open_confirm", State::OpenConfirm, encodeEndOfRib(kIpv4Unicast), {5, 2, {}}},
        HostileCase{"open_version_3", State::OpenSent, message(1, hex("03 fdea 0009 00000002 00")), {2, 1, {0, 4}}},
        HostileCase{"open_hold_time_2", State::OpenSent, message(1, hex("04 fdea 0002 00000002 00")), {2, 6, {}}},
        HostileCase{"open_of_another_as", State::OpenSent, encodeOpen(makeOpen(65003, 9, 2)), {2, 2, {}}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Fsm, TreatAsWithdrawKeepsTheSession) {
    Counters counters;
    auto f = machineIn(State::Established, counters);
    auto acts = f->received(message(2, hex("0000 000e 40 01 01 03 40 02 00 40 03 04 0a010001 18 140000")));
    EXPECT_EQ(f->state(), State::Established);
    EXPECT_EQ(counters.updatesTreatedAsWithdraw.load(), 1u);
    EXPECT_EQ(counters.routesWithdrawnReceived.load(), 1u);
    EXPECT_EQ(counters.routesAdvertisedReceived.load(), 0u);
    bool delivered = false;
    for (const Action& a : acts)
        delivered |= a.kind == Action::Kind::Received && a.update->action == ErrorAction::TreatAsWithdraw;
    EXPECT_TRUE(delivered);
}

TEST(Fsm, UpdatesSentAreCountedAndPutOffTheKeepalive) {
    Counters counters;
    auto early = machineIn(State::OpenSent, counters);
    EXPECT_TRUE(early->updateSent(5).empty());
    EXPECT_EQ(sentOf(counters, MessageType::Update), 0u);
    auto f = machineIn(State::Established, counters);
    auto acts = f->updateSent(5);
    EXPECT_EQ(sentOf(counters, MessageType::Update), 5u);
    ASSERT_EQ(acts.size(), 1u);
    EXPECT_EQ(acts[0].kind, Action::Kind::StartTimer);
    EXPECT_EQ(acts[0].timer, Timer::Keepalive);
    EXPECT_EQ(acts[0].seconds, 3u);
}

TEST(Fsm, CollisionKeepsTheConnectionOfTheHigherIdentifier) {
    EXPECT_TRUE(keepOurConnection(0x0a000002, 0x0a000001));
    EXPECT_FALSE(keepOurConnection(0x0a000001, 0x0a000002));
    EXPECT_FALSE(keepOurConnection(0x0a000001, 0x0a000001));
    // Compared as unsigned numbers: 200.0.0.1 is above 10.0.0.1.
    EXPECT_TRUE(keepOurConnection(0xc8000001, 0x0a000001));
}

TEST(Fsm, NotificationReceivedEndsTheSessionQuietly) {
    Counters counters;
    auto f = machineIn(State::Established, counters);
    auto acts = f->received(encodeNotification({6, 4, {}}));
    EXPECT_EQ(f->state(), State::Idle);
    for (const Action& a : acts) EXPECT_NE(a.kind, Action::Kind::Send);  // never answered
    EXPECT_EQ(counters.notificationsReceived[6][4].load(), 1u);
    EXPECT_EQ(counters.notificationsReceivedOf(6), 1u);
    EXPECT_EQ(counters.lastErrorReceived.load(), 0x604u);
}

TEST(Fsm, SeveralMessagesInOneReadAndAPartialOne) {
    Counters counters;
    auto f = machineIn(State::Established, counters);
    Bytes burst = bgptest::cat({encodeKeepalive(), encodeEndOfRib(kIpv4Unicast), encodeKeepalive()});
    Bytes partial(burst.begin(), burst.begin() + 10);
    burst.insert(burst.end(), partial.begin(), partial.end());
    f->received(burst);
    EXPECT_EQ(receivedOf(counters, MessageType::Keepalive), 3u);  // one of the OPEN exchange
    EXPECT_EQ(receivedOf(counters, MessageType::Update), 1u);
    f->received(ByteView(encodeKeepalive()).subspan(10));
    EXPECT_EQ(receivedOf(counters, MessageType::Keepalive), 4u);
    EXPECT_EQ(f->state(), State::Established);
}

}  // namespace
