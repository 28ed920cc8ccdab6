// Learned-information replies with a clock the test turns by hand.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "chassis/replies.h"

namespace {

using chassis::LearnedData;
using chassis::ReplyQueue;

struct Labels : LearnedData {
    explicit Labels(int n) : count(n) {}
    int count;
};

struct Fixture : ::testing::Test {
    int64_t now = 5000;
    ReplyQueue q;
    std::shared_ptr<int> requester = std::make_shared<int>(0);
    std::vector<int> delivered;  // the count of each reply, -1 for "nothing learned"

    void SetUp() override { q.setClock([this] { return now; }); }
    void ask(const std::string& key = "k") {
        q.request("1.1.1", "labels", key, requester, [this](std::shared_ptr<const LearnedData> d) {
            auto* l = dynamic_cast<const Labels*>(d.get());
            delivered.push_back(l ? l->count : -1);
        });
    }
};

TEST_F(Fixture, DueAfterTheDelayNotBeforeAndOnce) {
    q.replyDelayMs = 100;
    q.learn("1.1.1", "labels", "k", std::make_shared<Labels>(7));
    ask();
    EXPECT_EQ(q.nextDueIn(), 100);
    now += 99;
    EXPECT_EQ(q.poll(), 0);
    EXPECT_TRUE(delivered.empty());
    EXPECT_EQ(q.nextDueIn(), 1);
    now += 1;
    EXPECT_EQ(q.poll(), 1);
    EXPECT_EQ(delivered, (std::vector<int>{7}));
    EXPECT_EQ(q.poll(), 0);
    EXPECT_EQ(delivered.size(), 1u);
    EXPECT_EQ(q.nextDueIn(), -1);
    EXPECT_EQ(q.pending(), 0u);
}

TEST_F(Fixture, NoDelayIsDueAtOnce) {
    ask();
    EXPECT_EQ(q.nextDueIn(), 0);
    EXPECT_EQ(q.poll(), 1);
    EXPECT_EQ(delivered, (std::vector<int>{-1}));  // nothing learned: a null reply
}

TEST_F(Fixture, NegativeDelayCountsAsNone) {
    q.replyDelayMs = -50;
    ask();
    EXPECT_EQ(q.nextDueIn(), 0);
    EXPECT_EQ(q.poll(), 1);
}

TEST_F(Fixture, RequesterGoneIsNotCalled) {
    q.replyDelayMs = 10;
    ask();
    requester.reset();
    now += 10;
    EXPECT_EQ(q.poll(), 0);
    EXPECT_TRUE(delivered.empty());
    EXPECT_EQ(q.pending(), 0u);
}

TEST_F(Fixture, ReplyCarriesWhatWasLearnedAtTheRequest) {
    q.learn("1.1.1", "labels", "k", std::make_shared<Labels>(1));
    ask();
    q.learn("1.1.1", "labels", "k", std::make_shared<Labels>(2));
    ask();
    ask("other");
    EXPECT_EQ(q.poll(), 3);
    EXPECT_EQ(delivered, (std::vector<int>{1, 2, -1}));
}

TEST_F(Fixture, LearnedIsKeptPerPortKindAndKey) {
    q.learn("1.1.1", "labels", "k", std::make_shared<Labels>(1));
    EXPECT_NE(q.learned("1.1.1", "labels", "k"), nullptr);
    EXPECT_EQ(q.learned("1.1.2", "labels", "k"), nullptr);
    EXPECT_EQ(q.learned("1.1.1", "lsas", "k"), nullptr);
    EXPECT_EQ(q.learned("1.1.1", "labels", "j"), nullptr);
}

TEST_F(Fixture, NextDueInIsTheEarliest) {
    q.replyDelayMs = 300;
    ask();
    now += 100;
    q.replyDelayMs = 50;
    ask();
    EXPECT_EQ(q.nextDueIn(), 50);
    now += 50;
    EXPECT_EQ(q.poll(), 1);
    EXPECT_EQ(q.nextDueIn(), 150);
    now += 1000;
    EXPECT_EQ(q.nextDueIn(), 0);
    EXPECT_EQ(q.poll(), 1);
}

TEST_F(Fixture, ARequestMadeByAReplyWaitsForTheNextPoll) {
    q.request("1.1.1", "labels", "k", requester, [this](std::shared_ptr<const LearnedData>) {
        delivered.push_back(0);
        ask();
    });
    EXPECT_EQ(q.poll(), 1);
    EXPECT_EQ(q.pending(), 1u);
    EXPECT_EQ(q.poll(), 1);
    EXPECT_EQ(delivered, (std::vector<int>{0, -1}));
}

TEST_F(Fixture, ArmTimerHearsTheDelay) {
    std::vector<int64_t> armed;
    q.armTimer = [&](int64_t ms) { armed.push_back(ms); };
    q.replyDelayMs = 40;
    ask();
    q.replyDelayMs = 0;
    ask();
    EXPECT_EQ(armed, (std::vector<int64_t>{40, 0}));
}

TEST_F(Fixture, ClearForgetsLearnedAndPending) {
    q.learn("1.1.1", "labels", "k", std::make_shared<Labels>(1));
    ask();
    q.clear();
    EXPECT_EQ(q.pending(), 0u);
    EXPECT_EQ(q.learned("1.1.1", "labels", "k"), nullptr);
    EXPECT_EQ(q.poll(), 0);
}

}  // namespace
