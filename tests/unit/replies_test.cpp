// Learned-information replies with a clock the test turns by hand.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "chassis/replies.h"

namespace {

struct Labels : chassis::LearnedData { explicit Labels(int n) : count(n) {} int count; };

TEST(Replies, DueAfterTheDelayOnceEarliestFirstToLiveRequestersOnly) {
    int64_t now = 5000;
    chassis::ReplyQueue q;
    auto requester = std::make_shared<int>(0);
    std::vector<int> delivered;  // the count of each reply, -1 for "nothing learned"
    std::vector<int64_t> armed;  // the timers asked for
    q.setClock([&] { return now; });
    q.armTimer = [&](int64_t ms) { armed.push_back(ms); };
    std::function<void(const char*, int)> ask = [&](const char* key, int delay) {
        q.replyDelayMs = delay;
        q.request("1.1.1", "labels", key, requester, [&](std::shared_ptr<const chassis::LearnedData> d) {
            auto* l = dynamic_cast<const Labels*>(d.get());
            delivered.push_back(l ? l->count : -1);
            if (l && l->count == 2) ask("other", 0);  // waits for the next poll
        });
    };
    q.learn("1.1.1", "labels", "k", std::make_shared<Labels>(1));
    ask("k", 300);  // 5300
    q.learn("1.1.1", "labels", "k", std::make_shared<Labels>(2));  // not for the request already made
    now += 100;
    ask("k", 50);  // 5150
    ask("j", -50);  // counts as none: 5100
    EXPECT_EQ(armed, (std::vector<int64_t>{300, 50, 0}));
    EXPECT_EQ(q.poll(), 1);
    EXPECT_EQ(q.nextDueIn(), 50);
    now += 49;
    EXPECT_EQ(q.poll(), 0);
    now += 1;
    EXPECT_EQ(q.poll(), 1);
    EXPECT_EQ(q.nextDueIn(), 0);  // the request the reply made
    now += 1000;
    EXPECT_EQ(q.poll(), 2);
    EXPECT_EQ(delivered, (std::vector<int>{-1, 2, 1, -1}));
    EXPECT_EQ(q.nextDueIn(), -1);
    ask("k", 0);
    requester.reset();  // gone: not called
    EXPECT_EQ(q.poll(), 0);
    EXPECT_EQ(q.pending(), 0u);
    q.clear();
    EXPECT_EQ(q.learned("1.1.1", "labels", "k"), nullptr);
}

}  // namespace
