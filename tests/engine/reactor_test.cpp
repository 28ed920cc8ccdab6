// The reactor in virtual time (timer order, cancelling and re-arming from
// inside callbacks, periodic timers, a randomised run against a model) and
// on the real clock (descriptors, wake-ups from other threads).
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "engine/reactor.h"

namespace {

using engine::Duration;
using engine::Reactor;
using engine::TimerId;
using engine::VirtualClock;
using namespace std::chrono_literals;

int64_t ms(Duration d) { return std::chrono::duration_cast<std::chrono::milliseconds>(d).count(); }

// ---------------------------------------------------------------- order

struct OrderCase {
    const char* name;
    std::vector<int> delaysMs;       // armed in this order, named by position
    std::vector<int> advancesMs;     // steps of the virtual clock
    std::vector<std::string> fired;  // "index@ms", in firing order
};

class TimerOrder : public ::testing::TestWithParam<OrderCase> {};

TEST_P(TimerOrder, FireInDeadlineThenArmingOrderAtTheirOwnTime) {
    const OrderCase& c = GetParam();
    VirtualClock clock;
    Reactor r(clock);
    std::vector<std::string> log;
    for (size_t i = 0; i < c.delaysMs.size(); ++i)
        r.after(std::chrono::milliseconds(c.delaysMs[i]),
                [&, i] { log.push_back(std::to_string(i) + "@" + std::to_string(ms(clock.now()))); });
    for (int step : c.advancesMs) clock.advance(std::chrono::milliseconds(step));
    EXPECT_EQ(log, c.fired);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, TimerOrder,
    ::testing::Values(OrderCase{"Scrambled", {30, 10, 20}, {100}, {"1@10", "2@20", "0@30"}},
                      OrderCase{"SameDeadlineKeepsArmingOrder", {5, 5, 1, 5}, {5}, {"2@1", "0@5", "1@5", "3@5"}},
                      OrderCase{"NotBeforeDue", {10}, {9}, {}}, OrderCase{"ExactlyAtDeadline", {10}, {9, 1}, {"0@10"}},
                      OrderCase{"ManySmallSteps", {3, 7}, {2, 2, 2, 2, 2}, {"0@3", "1@7"}},
                      OrderCase{"ZeroDelayAtNextAdvance", {0, 0}, {0}, {"0@0", "1@0"}},
                      OrderCase{"NegativeIsZero", {-5, 0}, {0}, {"0@0", "1@0"}}),
    [](const auto& info) { return info.param.name; });

// ---------------------------------------------------------------- callbacks changing timers

TEST(ReactorVirtual, CallbacksCancelRearmAndArmTimers) {
    VirtualClock clock;
    Reactor r(clock);
    std::vector<std::string> log;
    auto note = [&](const std::string& what) { log.push_back(what + "@" + std::to_string(ms(clock.now()))); };

    TimerId victim = r.after(10ms, [&] { note("victim"); });  // same deadline, armed before its killer
    TimerId late = r.after(50ms, [&] { note("late"); });
    TimerId killer = 0;
    killer = r.after(10ms, [&] {
        note("killer");
        EXPECT_FALSE(r.cancel(killer)) << "a fired one-shot is gone";
        EXPECT_TRUE(r.rearm(late, 5ms));  // now 15
        r.after(0ms, [&] { note("child"); });
    });
    EXPECT_TRUE(r.cancel(victim));
    EXPECT_FALSE(r.cancel(victim));
    EXPECT_FALSE(r.armed(victim));
    clock.advance(100ms);
    EXPECT_EQ(log, (std::vector<std::string>{"killer@10", "child@10", "late@15"}));
    EXPECT_EQ(r.timerCount(), 0u);
}

TEST(ReactorVirtual, StaleIdDoesNotTouchTheTimerThatReusedItsSlot) {
    VirtualClock clock;
    Reactor r(clock);
    const TimerId old = r.after(1ms, [] {});
    clock.advance(1ms);
    int fired = 0;
    const TimerId fresh = r.after(5ms, [&] { ++fired; });
    EXPECT_NE(old, fresh);
    EXPECT_FALSE(r.cancel(old));
    EXPECT_FALSE(r.rearm(old, 100ms));
    clock.advance(5ms);
    EXPECT_EQ(fired, 1);
}

TEST(ReactorVirtual, RemainingFollowsTheClock) {
    VirtualClock clock;
    Reactor r(clock);
    const TimerId id = r.after(90ms, [] {});
    clock.advance(30ms);
    EXPECT_EQ(r.remaining(id), Duration(60ms));
    r.rearm(id, 90ms);
    EXPECT_EQ(r.remaining(id), Duration(90ms));
    clock.advance(90ms);
    EXPECT_EQ(r.remaining(id), std::nullopt);
}

TEST(ReactorVirtual, TwoReactorsOnOneClockServeWorkPostedToEachOther) {
    VirtualClock clock;
    Reactor left(clock), right(clock);
    std::vector<std::string> log;
    // A ping-pong of posts, then a zero-delay timer armed by the last post
    // at the very end of the advance.
    std::function<void(int)> bounce = [&](int n) {
        Reactor& to = n % 2 ? left : right;
        log.push_back((n % 2 ? "L" : "R") + std::to_string(n));
        if (n < 5) {
            to.post([&, n] { bounce(n + 1); });
        } else {
            to.after(0ms, [&] { log.push_back("timer@" + std::to_string(ms(clock.now()))); });
        }
    };
    left.after(10ms, [&] { bounce(0); });
    clock.advance(10ms);
    EXPECT_EQ(log, (std::vector<std::string>{"R0", "L1", "R2", "L3", "R4", "L5", "timer@10"}));
    EXPECT_EQ(clock.now(), Duration(10ms));
}

TEST(ReactorVirtual, AdvanceToNextStopsAtTheNextDeadline) {
    VirtualClock clock;
    Reactor r(clock);
    int fired = 0;
    r.after(7ms, [&] { ++fired; });
    r.after(9ms, [&] { ++fired; });
    EXPECT_TRUE(clock.advanceToNext());
    EXPECT_EQ(clock.now(), Duration(7ms));
    EXPECT_EQ(fired, 1);
    EXPECT_FALSE(clock.advanceToNext(1ms)) << "the next is 2 ms away";
    EXPECT_TRUE(clock.advanceToNext());
    EXPECT_EQ(fired, 2);
    EXPECT_FALSE(clock.advanceToNext());
}

// ---------------------------------------------------------------- periodic

struct PeriodicCase {
    const char* name;
    int periodMs;
    int firstMs;      // < 0: the period
    int cancelAfter;  // the callback cancels its timer on this run (0: never)
    int advanceMs;
    std::vector<int> firedAtMs;
};

class Periodic : public ::testing::TestWithParam<PeriodicCase> {};

TEST_P(Periodic, FiresEveryPeriodWithoutDrift) {
    const PeriodicCase& c = GetParam();
    VirtualClock clock;
    Reactor r(clock);
    std::vector<int> at;
    TimerId id = 0;
    std::optional<Duration> first;
    if (c.firstMs >= 0) first = std::chrono::milliseconds(c.firstMs);
    id = r.every(
        std::chrono::milliseconds(c.periodMs),
        [&] {
            at.push_back(int(ms(clock.now())));
            if (int(at.size()) == c.cancelAfter) r.cancel(id);
        },
        first);
    // Odd steps: a periodic timer must not depend on being looked at on time.
    for (int t = 0; t < c.advanceMs; t += 7) clock.advance(std::chrono::milliseconds(std::min(7, c.advanceMs - t)));
    EXPECT_EQ(at, c.firedAtMs);
    EXPECT_EQ(r.armed(id), c.cancelAfter == 0);
}

INSTANTIATE_TEST_SUITE_P(Cases, Periodic,
                         ::testing::Values(PeriodicCase{"Plain", 10, -1, 0, 45, {10, 20, 30, 40}},
                                           PeriodicCase{"FirstDelay", 10, 5, 0, 45, {5, 15, 25, 35, 45}},
                                           PeriodicCase{"FirstAtOnce", 20, 0, 0, 45, {0, 20, 40}},
                                           PeriodicCase{"CancelsItself", 10, -1, 2, 100, {10, 20}},
                                           PeriodicCase{"OneMillisecond", 1, -1, 3, 100, {1, 2, 3}}),
                         [](const auto& info) { return info.param.name; });

TEST(ReactorVirtual, PeriodicNeedsAPeriod) {
    VirtualClock clock;
    Reactor r(clock);
    EXPECT_THROW(r.every(0ms, [] {}), std::invalid_argument);
}

TEST(ReactorVirtual, OwnedTimerRestartsAfterFiringAndCancelsWhenDestroyed) {
    VirtualClock clock;
    Reactor r(clock);
    int fired = 0;
    {
        engine::Timer hold(r);
        EXPECT_FALSE(hold.restart(1s)) << "nothing started yet";
        hold.start(90ms, [&] { ++fired; });
        clock.advance(60ms);
        EXPECT_TRUE(hold.restart(90ms));  // a keepalive arrived: 90 ms from now
        clock.advance(60ms);
        EXPECT_EQ(fired, 0);
        clock.advance(30ms);
        EXPECT_EQ(fired, 1);
        EXPECT_FALSE(hold.armed());
        EXPECT_TRUE(hold.restart(10ms));
        EXPECT_TRUE(hold.armed());
    }
    EXPECT_EQ(r.timerCount(), 0u);
    clock.advance(1s);
    EXPECT_EQ(fired, 1);
}

// ---------------------------------------------------------------- many timers against a model

TEST(ReactorVirtual, ThousandsOfTimersArmedCancelledAndRearmedMatchAModel) {
    VirtualClock clock;
    Reactor r(clock);
    std::mt19937 rng(7);
    constexpr int kTimers = 20000;
    struct Expect {
        int64_t deadlineNs;
        uint64_t order;
        int name;
    };
    std::map<int, TimerId> ids;
    std::map<int, Expect> live;
    uint64_t order = 0;
    std::vector<int> fired;
    std::vector<int64_t> firedAt;
    for (int i = 0; i < kTimers; ++i) {
        const Duration d = std::chrono::microseconds(rng() % 1'000'000);
        ids[i] = r.after(d, [&, i] {
            fired.push_back(i);
            firedAt.push_back(clock.now().count());
        });
        live[i] = {d.count(), order++, i};
    }
    for (int i = 0; i < kTimers; i += 3) {
        ASSERT_TRUE(r.cancel(ids[i]));
        live.erase(i);
    }
    for (int i = 1; i < kTimers; i += 5) {
        const Duration d = std::chrono::microseconds(rng() % 1'000'000);
        const bool wasLive = live.count(i) != 0;  // some were cancelled above
        ASSERT_EQ(r.rearm(ids[i], d), wasLive);
        if (wasLive) live[i] = {d.count(), order++, i};
    }
    EXPECT_EQ(r.timerCount(), live.size());
    std::vector<Expect> want;
    for (auto& [k, e] : live) want.push_back(e);
    std::sort(want.begin(), want.end(), [](const Expect& a, const Expect& b) {
        return a.deadlineNs != b.deadlineNs ? a.deadlineNs < b.deadlineNs : a.order < b.order;
    });
    clock.advance(1s);
    ASSERT_EQ(fired.size(), want.size());
    for (size_t i = 0; i < want.size(); ++i) {
        ASSERT_EQ(fired[i], want[i].name) << "at position " << i;
        ASSERT_EQ(firedAt[i], want[i].deadlineNs);
    }
    EXPECT_EQ(r.timerCount(), 0u);
}

// ---------------------------------------------------------------- real clock

TEST(ReactorReal, PostFromAnotherThreadWakesRun) {
    Reactor r;
    std::atomic<int> ran{0};
    std::thread poster([&] {
        std::this_thread::sleep_for(20ms);
        for (int i = 0; i < 100; ++i) r.post([&] { ++ran; });
        r.post([&] { r.stop(); });
    });
    const auto start = std::chrono::steady_clock::now();
    r.run();
    poster.join();
    EXPECT_EQ(ran.load(), 100);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
}

TEST(ReactorReal, TimersFireNotBeforeTheirTimeAndInOrder) {
    Reactor r;
    std::vector<int> order;
    const auto start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::duration firstAt{};
    r.after(30ms, [&] {
        order.push_back(2);
        r.stop();
    });
    r.after(15ms, [&] {
        order.push_back(1);
        firstAt = std::chrono::steady_clock::now() - start;
    });
    r.run();
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    EXPECT_GE(firstAt, 15ms);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
}

TEST(ReactorReal, DescriptorCallbacksSeeReadinessAndMayUnwatchThemselves) {
    Reactor r;
    int pipeFds[2];
    ASSERT_EQ(pipe(pipeFds), 0);
    engine::Fd readEnd(pipeFds[0]), writeEnd(pipeFds[1]);
    std::string got;
    r.watch(readEnd.get(), engine::kReadable, [&](uint32_t events) {
        EXPECT_TRUE(events & engine::kReadable);
        char buf[16];
        const ssize_t n = read(readEnd.get(), buf, sizeof buf);
        got.append(buf, size_t(std::max<ssize_t>(n, 0)));
        if (got.size() >= 3) r.unwatch(readEnd.get());
    });
    EXPECT_EQ(r.poll(0ms), 0u) << "nothing to read yet";
    ASSERT_EQ(write(writeEnd.get(), "abc", 3), 3);
    EXPECT_EQ(r.poll(1s), 1u);
    EXPECT_EQ(got, "abc");
    EXPECT_FALSE(r.watching(readEnd.get()));
    ASSERT_EQ(write(writeEnd.get(), "d", 1), 1);
    EXPECT_EQ(r.poll(10ms), 0u) << "an unwatched descriptor is not served";
}

TEST(ReactorReal, ADescriptorNumberClosedWhileWatchedCanBeWatchedAgain) {
    Reactor r;
    int first[2];
    ASSERT_EQ(pipe(first), 0);
    const int number = first[0];
    r.watch(first[0], engine::kReadable, [](uint32_t) { ADD_FAILURE() << "the old pipe is gone"; });
    close(first[0]);
    close(first[1]);
    int second[2];
    ASSERT_EQ(pipe(second), 0);
    engine::Fd readEnd(second[0]), writeEnd(second[1]);
    ASSERT_EQ(readEnd.get(), number) << "the kernel hands out the lowest free number";
    int seen = 0;
    r.watch(readEnd.get(), engine::kReadable, [&](uint32_t) {
        char c;
        EXPECT_EQ(read(readEnd.get(), &c, 1), 1);
        ++seen;
    });
    ASSERT_EQ(write(writeEnd.get(), "x", 1), 1);
    r.poll(1s);
    EXPECT_EQ(seen, 1);
}

TEST(ReactorReal, EventfdWritableAndReadable) {
    Reactor r;
    engine::Fd efd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    std::vector<uint32_t> seen;
    r.watch(efd.get(), engine::kWritable, [&](uint32_t events) { seen.push_back(events); });
    r.poll(0ms);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0] & (engine::kReadable | engine::kWritable), engine::kWritable);
    r.modify(efd.get(), engine::kReadable);
    seen.clear();
    r.poll(0ms);
    EXPECT_TRUE(seen.empty()) << "no count yet";
    const uint64_t one = 1;
    ASSERT_EQ(write(efd.get(), &one, sizeof one), ssize_t(sizeof one));
    r.poll(1s);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_TRUE(seen[0] & engine::kReadable);
}

}  // namespace
