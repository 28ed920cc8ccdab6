// IndexedList: order of addition, lookup by key, positional access that
// stays right across erases and the compactions they trigger.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "core/indexed_list.h"

namespace {

using List = zk::IndexedList<std::string, int>;

std::vector<std::string> keysInOrder(List& l) {
    std::vector<std::string> keys;
    for (size_t i = 0; i < l.size(); ++i) keys.push_back(*l.at(i).first);
    return keys;
}

TEST(IndexedList, KeepsOrderOfAddition) {
    List l;
    for (const char* k : {"c", "a", "b"}) EXPECT_TRUE(l.add(k, int(k[0])));
    EXPECT_EQ(keysInOrder(l), (std::vector<std::string>{"c", "a", "b"}));
    std::vector<std::string> visited;
    l.forEach([&](const std::string& k, int v) {
        visited.push_back(k);
        EXPECT_EQ(v, int(k[0]));
    });
    EXPECT_EQ(visited, keysInOrder(l));
}

TEST(IndexedList, DuplicateKeyChangesNothing) {
    List l;
    EXPECT_TRUE(l.add("a", 1));
    EXPECT_FALSE(l.add("a", 2));
    EXPECT_EQ(l.size(), 1u);
    EXPECT_EQ(*l.find("a"), 1);
}

TEST(IndexedList, LookupAndErase) {
    List l;
    l.add("a", 1);
    l.add("b", 2);
    EXPECT_TRUE(l.contains("b"));
    EXPECT_EQ(l.find("zz"), nullptr);
    EXPECT_TRUE(l.erase("a"));
    EXPECT_FALSE(l.erase("a"));
    EXPECT_FALSE(l.contains("a"));
    EXPECT_EQ(l.find("a"), nullptr);
    EXPECT_EQ(*l.at(0).first, "b");
    EXPECT_EQ(l.at(1).first, nullptr);
    EXPECT_EQ(l.at(1).second, nullptr);
    // An erased key can be added again, at the end.
    EXPECT_TRUE(l.add("a", 3));
    EXPECT_EQ(keysInOrder(l), (std::vector<std::string>{"b", "a"}));
}

TEST(IndexedList, ClearEmpties) {
    List l;
    for (int i = 0; i < 100; ++i) l.add(std::to_string(i), i);
    l.clear();
    EXPECT_TRUE(l.empty());
    EXPECT_EQ(l.at(0).first, nullptr);
    EXPECT_TRUE(l.add("0", 7));
    EXPECT_EQ(*l.at(0).second, 7);
}

TEST(IndexedList, PositionsAfterManyErasesAndCompactions) {
    List l;
    const int n = 1000;
    for (int i = 0; i < n; ++i) l.add(std::to_string(i), i);
    // Erase all but every seventh, front to back: many compactions.
    for (int i = 0; i < n; ++i) {
        if (i % 7) {
            ASSERT_TRUE(l.erase(std::to_string(i)));
        }
    }
    ASSERT_EQ(l.size(), size_t((n + 6) / 7));
    for (size_t pos = 0; pos < l.size(); ++pos) {
        auto [k, v] = l.at(pos);
        ASSERT_NE(k, nullptr);
        EXPECT_EQ(*v, int(pos) * 7);
        EXPECT_EQ(*k, std::to_string(pos * 7));
        EXPECT_EQ(l.find(*k), v);  // the index follows the moved slots
    }
    EXPECT_EQ(l.at(l.size()).first, nullptr);
}

TEST(IndexedList, EraseFromTheBackAndAddAgain) {
    List l;
    for (int i = 0; i < 64; ++i) l.add(std::to_string(i), i);
    for (int i = 63; i >= 1; --i) l.erase(std::to_string(i));
    for (int i = 100; i < 110; ++i) l.add(std::to_string(i), i);
    std::vector<std::string> expected{"0"};
    for (int i = 100; i < 110; ++i) expected.push_back(std::to_string(i));
    EXPECT_EQ(keysInOrder(l), expected);
}

TEST(IndexedList, RandomisedAgainstVector) {
    std::mt19937 rng(12345);
    List l;
    std::vector<std::pair<std::string, int>> model;
    int next = 0;
    for (int step = 0; step < 20000; ++step) {
        int op = int(rng() % 10);
        if (op < 5 || model.empty()) {
            std::string k = "k" + std::to_string(rng() % 3000);
            bool present = false;
            for (auto& e : model) present |= e.first == k;
            ASSERT_EQ(l.add(k, next), !present);
            if (!present) model.emplace_back(k, next);
            ++next;
        } else if (op < 8) {
            size_t i = rng() % model.size();
            ASSERT_TRUE(l.erase(model[i].first));
            model.erase(model.begin() + long(i));
        } else if (op < 9) {
            size_t i = rng() % (model.size() + 2);
            auto [k, v] = l.at(i);
            if (i < model.size()) {
                ASSERT_NE(k, nullptr);
                ASSERT_EQ(*k, model[i].first);
                ASSERT_EQ(*v, model[i].second);
            } else {
                ASSERT_EQ(k, nullptr);
            }
        } else {
            size_t i = rng() % model.size();
            const int* v = l.find(model[i].first);
            ASSERT_NE(v, nullptr);
            ASSERT_EQ(*v, model[i].second);
        }
        ASSERT_EQ(l.size(), model.size());
    }
    std::vector<std::string> keys;
    for (auto& e : model) keys.push_back(e.first);
    EXPECT_EQ(keysInOrder(l), keys);
}

}  // namespace
