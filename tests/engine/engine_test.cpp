// The engine thread: commands run there and their results come back; the
// shutdown hooks run on the loop and hold the join until done or the grace
// period ends.
#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "engine/engine.h"
#include "engine/snapshot.h"

namespace {

using engine::Engine;
using namespace std::chrono_literals;

TEST(Engine, CallRunsOnTheEngineThreadAndReturnsItsResult) {
    Engine e;
    EXPECT_FALSE(e.running());
    auto where = e.call([&] { return std::make_pair(std::this_thread::get_id(), e.onEngineThread()); });
    const auto [id, onThread] = where.get();
    EXPECT_TRUE(e.running()) << "started on first need";
    EXPECT_NE(id, std::this_thread::get_id());
    EXPECT_TRUE(onThread);
    EXPECT_FALSE(e.onEngineThread());
}

TEST(Engine, ExceptionOfACommandReachesTheCaller) {
    Engine e;
    auto f = e.call([]() -> int { throw std::runtime_error("no such port"); });
    EXPECT_THROW(f.get(), std::runtime_error);
    EXPECT_EQ(e.call([] { return 7; }).get(), 7) << "the loop goes on";
}

TEST(Engine, CommandsRunInTheOrderPostedAndKeepTheirTimers) {
    Engine e;
    std::vector<int> seen;
    for (int i = 0; i < 50; ++i) e.post([&seen, i] { seen.push_back(i); });
    std::promise<void> fired;
    e.post([&] { e.reactor().after(20ms, [&] { fired.set_value(); }); });
    EXPECT_EQ(fired.get_future().wait_for(2s), std::future_status::ready);
    e.call([] {}).get();
    ASSERT_EQ(seen.size(), 50u);
    for (int i = 0; i < 50; ++i) EXPECT_EQ(seen[size_t(i)], i);
}

struct ShutdownCase {
    const char* name;
    std::vector<int> hookDoneAfterMs;  // < 0: never done
    int graceMs;
    bool expectAllDone;
    int minMs, maxMs;  // how long shutdown() takes
};

class EngineShutdown : public ::testing::TestWithParam<ShutdownCase> {};

TEST_P(EngineShutdown, HooksRunOnTheLoopAndHoldTheJoinUntilDoneOrGrace) {
    const ShutdownCase& c = GetParam();
    Engine e;
    e.start();
    std::vector<std::string> log;  // written on the engine thread only
    std::atomic<int> done{0};
    for (size_t i = 0; i < c.hookDoneAfterMs.size(); ++i) {
        const int after = c.hookDoneAfterMs[i];
        e.addShutdownHook([&, i, after](std::function<void()> finished) {
            log.push_back("hook" + std::to_string(i) + (e.onEngineThread() ? "" : " off-thread"));
            if (after < 0) return;
            auto finish = [&, finished] {
                ++done;
                finished();
                finished();  // twice must not count twice
            };
            if (after == 0) finish();
            else e.reactor().after(std::chrono::milliseconds(after), finish);
        });
    }
    const auto start = std::chrono::steady_clock::now();
    e.shutdown(std::chrono::milliseconds(c.graceMs));
    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_FALSE(e.running());
    std::vector<std::string> want;
    for (size_t i = 0; i < c.hookDoneAfterMs.size(); ++i) want.push_back("hook" + std::to_string(i));
    EXPECT_EQ(log, want);
    const int expectDone = int(std::count_if(c.hookDoneAfterMs.begin(), c.hookDoneAfterMs.end(),
                                             [&](int a) { return a >= 0 && a < c.graceMs; }));
    EXPECT_EQ(done.load(), expectDone);
    EXPECT_EQ(done.load() == int(c.hookDoneAfterMs.size()), c.expectAllDone);
    EXPECT_GE(took, std::chrono::milliseconds(c.minMs));
    EXPECT_LT(took, std::chrono::milliseconds(c.maxMs));
}

INSTANTIATE_TEST_SUITE_P(Cases, EngineShutdown,
                         ::testing::Values(ShutdownCase{"NoHooks", {}, 2000, true, 0, 500},
                                           ShutdownCase{"DoneAtOnce", {0, 0}, 2000, true, 0, 500},
                                           ShutdownCase{"DoneLater", {0, 40}, 2000, true, 40, 1000},
                                           ShutdownCase{"NeverDoneIsCutByGrace", {0, -1}, 60, false, 60, 1000},
                                           ShutdownCase{"SlowerThanGrace", {300}, 50, false, 50, 280}),
                         [](const auto& info) { return info.param.name; });

TEST(Engine, StartsAgainAfterShutdown) {
    Engine e;
    e.call([] {}).get();
    e.shutdown();
    EXPECT_EQ(e.call([] { return 3; }).get(), 3);
}

TEST(Engine, RequestBringsResultOrExceptionToThePollingThread) {
    Engine e;
    engine::ReplyQueue replies;
    std::vector<std::string> got;
    e.request(
        replies, [] { return std::string("Established"); },
        [&](std::future<std::string> f) { got.push_back(f.get()); });
    e.request(
        replies, []() -> std::string { throw std::runtime_error("no session"); },
        [&](std::future<std::string> f) {
            try {
                f.get();
            } catch (const std::runtime_error& x) {
                got.push_back(std::string("error: ") + x.what());
            }
        });
    e.call([] {}).get();
    EXPECT_TRUE(got.empty()) << "replies wait for the poll";
    EXPECT_EQ(replies.drain(), 2u);
    EXPECT_EQ(got, (std::vector<std::string>{"Established", "error: no session"}));
}

TEST(Engine, WorkLeftAtShutdownBreaksItsPromiseInsteadOfHanging) {
    Engine e;
    std::future<int> late;
    e.addShutdownHook([&](std::function<void()> done) {
        late = e.call([] { return 1; });  // posted while the loop ends
        e.reactor().stop();
        done();
    });
    e.start();
    e.shutdown();
    ASSERT_TRUE(late.valid());
    ASSERT_EQ(late.wait_for(1s), std::future_status::ready);
    EXPECT_THROW(late.get(), std::future_error);
}

TEST(ReplyQueue, ResultsCrossToThePollingThread) {
    Engine e;
    engine::ReplyQueue replies;
    std::vector<int> got;
    const auto pollerThread = std::this_thread::get_id();
    for (int i = 0; i < 3; ++i)
        e.post([&, i] {
            replies.push([&, i] {
                EXPECT_EQ(std::this_thread::get_id(), pollerThread);
                got.push_back(i);
            });
        });
    pollfd p{replies.fd(), POLLIN, 0};
    ASSERT_EQ(::poll(&p, 1, 2000), 1) << "the descriptor shows that replies wait";
    e.call([] {}).get();  // all three pushed
    EXPECT_EQ(replies.pending(), 3u);
    EXPECT_EQ(replies.drain(), 3u);
    EXPECT_EQ(got, (std::vector<int>{0, 1, 2}));
    p.revents = 0;
    EXPECT_EQ(::poll(&p, 1, 0), 0) << "drained: nothing signalled";
}

TEST(Published, ReadersKeepTheirVersionWhileTheEnginePublishesNewOnes) {
    Engine e;
    engine::Published<std::vector<int>> table;
    EXPECT_EQ(table.get(), nullptr);
    EXPECT_EQ(e.call([&] { return table.publish(std::vector<int>{5, 5, 5}); }).get(), 1u);
    const auto held = table.get();
    // The engine publishes a thousand tables while this thread reads.
    auto writer = e.call([&] {
        for (int i = 0; i < 1000; ++i) table.publish(std::vector<int>(size_t(i % 7), i));
    });
    uint64_t last = 0;
    while (writer.wait_for(0ms) != std::future_status::ready) {
        const auto [value, version] = table.getVersioned();
        EXPECT_GE(version, last) << "versions only grow";
        last = version;
        for (int x : *value) EXPECT_EQ(x, (*value)[0]) << "a table is never seen half-written";
    }
    writer.get();
    EXPECT_EQ(*held, (std::vector<int>{5, 5, 5})) << "an old version stays as it was";
    EXPECT_EQ(table.version(), 1001u);
    EXPECT_EQ(*table.get(), std::vector<int>(999 % 7, 999));
}

}  // namespace
