// IndexedList against a plain vector of pairs: random adds, erases, finds and
// positional reads that swing the size up and down through compactions,
// with copies and moves along the way; keys of both kinds the module uses,
// a hash that sends every key to one place, and an index so narrow that
// the slot limit is reached.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "util/indexed_list.h"

namespace {

struct SameHash {
    size_t operator()(const std::string&) const { return 42; }
};

// keyOf(i) is the i-th key of a domain of `domain` keys.
struct StringKeys {
    using List = zk::IndexedList<std::string, int>;
    static std::string keyOf(int i) { return "range-" + std::to_string(i); }
    static constexpr int domain = 3000;
};
struct SpacedIds {  // identities handed out to other lists in between
    using List = zk::IndexedList<uint64_t, int>;
    static uint64_t keyOf(int i) { return uint64_t(i) * 4096 + 1; }
    static constexpr int domain = 3000;
};
struct OneBucket {
    using List = zk::IndexedList<std::string, int, SameHash>;
    static std::string keyOf(int i) { return std::to_string(i); }
    static constexpr int domain = 200;
};
struct ByteIndex {  // at most 255 slots: adds past them must compact first
    using List = zk::IndexedList<uint64_t, int, std::hash<uint64_t>, uint8_t>;
    static uint64_t keyOf(int i) { return uint64_t(i); }
    static constexpr int domain = 250;
};

template <class P>
class IndexedListModel : public ::testing::Test {
protected:
    using List = typename P::List;
    using Key = decltype(P::keyOf(0));
    using Model = std::vector<std::pair<Key, int>>;

    std::mt19937 rng{20240611};
    int next = 0;  // values are unique, so a wrong slot shows

    int uniform(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng); }

    static typename Model::iterator locate(Model& m, const Key& k) {
        return std::find_if(m.begin(), m.end(), [&](auto& e) { return e.first == k; });
    }

    // One random operation on both; adds outnumber erases while addBias holds.
    void step(List& l, Model& m, bool addBias) {
        Key k = P::keyOf(uniform(P::domain));
        auto it = locate(m, k);
        int op = uniform(10);
        if (op < (addBias ? 6 : 3)) {
            bool added = l.add(k, next);
            ASSERT_EQ(added, it == m.end());
            if (added) m.emplace_back(k, next);
            ++next;
        } else if (op < 8) {
            ASSERT_EQ(l.erase(k), it != m.end());
            if (it != m.end()) m.erase(it);
        } else if (op < 9) {
            const List& cl = l;
            const int* v = cl.find(k);
            ASSERT_EQ(v != nullptr, it != m.end());
            ASSERT_EQ(cl.contains(k), it != m.end());
            if (v) {
                ASSERT_EQ(*v, it->second);
            }
        } else {
            size_t pos = size_t(uniform(int(m.size()) + 2));
            auto [key, v] = l.at(pos);
            if (pos >= m.size()) {
                ASSERT_EQ(key, nullptr);
                ASSERT_EQ(v, nullptr);
            } else {
                ASSERT_NE(key, nullptr);
                ASSERT_EQ(*key, m[pos].first);
                ASSERT_EQ(*v, m[pos].second);
            }
        }
        ASSERT_EQ(l.size(), m.size());
    }

    static void same(List& l, const Model& m) {
        ASSERT_EQ(l.size(), m.size());
        ASSERT_EQ(l.empty(), m.empty());
        Model seen;
        std::as_const(l).forEach([&](const Key& k, const int& v) { seen.emplace_back(k, v); });
        ASSERT_EQ(seen, m);
        for (size_t pos = 0; pos < m.size(); ++pos) {
            auto [k, v] = l.at(pos);
            ASSERT_EQ(*k, m[pos].first) << pos;
            ASSERT_EQ(l.find(*k), v) << pos;  // the index leads to the slot at() reads
        }
    }

    void run(int steps) {
        List l;
        Model m;
        for (int i = 0; i < steps; ++i) {
            bool growing = (i / (P::domain * 2)) % 2 == 0;
            ASSERT_NO_FATAL_FAILURE(step(l, m, growing));
            if (i % 997 == 0) {
                ASSERT_NO_FATAL_FAILURE(same(l, m));
            }
            if (i % 2503 == 0) {  // a copy goes its own way, then replaces the original
                List c(l);
                Model cm = m;
                for (int j = 0; j < 300; ++j) ASSERT_NO_FATAL_FAILURE(step(c, cm, j % 2));
                ASSERT_NO_FATAL_FAILURE(same(l, m));
                ASSERT_NO_FATAL_FAILURE(same(c, cm));
                l = c;
                m = cm;
            }
            if (i % 4001 == 0) {  // a move leaves an empty list that still works
                List moved(std::move(l));
                ASSERT_NO_FATAL_FAILURE(same(l, {}));
                ASSERT_TRUE(l.add(P::keyOf(0), -1));
                l = std::move(moved);
                ASSERT_NO_FATAL_FAILURE(same(moved, {}));
            }
            if (i % 15013 == 15012) {
                l.clear();
                m.clear();
            }
        }
        ASSERT_NO_FATAL_FAILURE(same(l, m));
    }
};

using Kinds = ::testing::Types<StringKeys, SpacedIds, OneBucket, ByteIndex>;
TYPED_TEST_SUITE(IndexedListModel, Kinds);

TYPED_TEST(IndexedListModel, AgreesWithAPlainVector) { this->run(60000); }

// Full of live items, the list refuses another with an exception, still says
// false to a duplicate, and takes a new item again once one is erased.
TEST(IndexedList, SlotLimit) {
    zk::IndexedList<int, int, std::hash<int>, uint8_t> l;
    for (int i = 0; i < 255; ++i) ASSERT_TRUE(l.add(i, i));
    EXPECT_THROW(l.add(1000, 0), std::length_error);
    EXPECT_FALSE(l.add(7, 0));
    ASSERT_TRUE(l.erase(7));
    ASSERT_TRUE(l.add(1000, 1000));
    ASSERT_EQ(l.size(), 255u);
    EXPECT_EQ(*l.at(7).first, 8);
    EXPECT_EQ(*l.at(254).second, 1000);
    EXPECT_EQ(*l.find(254), 254);
}

// An erased item's value is given back at once, not kept in its dead slot.
TEST(IndexedList, EraseReleasesTheValue) {
    auto held = std::make_shared<int>(1);
    zk::IndexedList<std::string, std::shared_ptr<int>> l;
    for (int i = 0; i < 10; ++i) l.add(std::to_string(i), held);
    ASSERT_EQ(held.use_count(), 11);
    l.erase("3");
    EXPECT_EQ(held.use_count(), 10);
    l.clear();
    EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
