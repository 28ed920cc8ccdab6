// The named-collection pattern with small record and child types: a leaf
// child, and a parent child that keeps leaves of its own.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/collection.h"

namespace {

using zk::Collection;
using zk::ItemList;

struct ELeaf : hal::ERecord {
    int v = 0;
};
struct EPar : hal::ERecord {
    int x = 0;
    hal::RecordList<ELeaf> leaves;
};

struct TLeaf : zk::Object {
    int v = 3;
    bool valid = true;
    int ToRecord(ELeaf& r) {
        if (!valid) {
            zk::setLastError("TLeaf invalid");
            return 1;
        }
        r.v = v;
        return 0;
    }
    void FromRecord(const ELeaf& r) { v = r.v; }
};

struct TPar : zk::Object {
    explicit TPar(TLeaf* l)
        : leaves(l, {.records = [this] { return &work.leaves; }, .names = [this] { return &leafNames; }}) {}
    int x = 0;
    EPar work;
    ItemList leafNames;
    Collection<TLeaf, ELeaf> leaves;
    std::vector<zk::CollectionBase*> childCollections() override { return {&leaves}; }
    int ToRecord(EPar& r) {
        r = work;
        r.x = x;
        return 0;
    }
    void FromRecord(const EPar& r) {
        work = r;
        x = r.x;
    }
};

// A parent holding leaves, with a switch for its readiness.
struct LeafHost {
    TLeaf staging;
    hal::RecordList<ELeaf> records;
    ItemList names;
    int readyCode = 0;
    Collection<TLeaf, ELeaf> leaves;

    LeafHost()
        : leaves(&staging, {.ready = [this] { return readyCode; },
                            .records = [this] { return &records; },
                            .names = [this] { return &names; }}) {}

    int add(const std::string& name, int v) {
        staging.v = v;
        return leaves.add(name);
    }
    std::vector<std::string> order() {
        std::vector<std::string> keys;
        names.forEach([&](const std::string& k, const zk::ItemEntry&) { keys.push_back(k); });
        return keys;
    }
    std::vector<int> recordValues() {
        std::vector<int> vs;
        records.ForEach([&](const ELeaf& r) { vs.push_back(r.v); });
        return vs;
    }
};

TEST(Collection, AddAndGet) {
    LeafHost h;
    EXPECT_EQ(h.add("a", 1), 0);
    EXPECT_EQ(h.add("b", 2), 0);
    EXPECT_EQ(h.order(), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(h.recordValues(), (std::vector<int>{1, 2}));
    EXPECT_EQ(h.leaves.get("a"), 0);
    EXPECT_EQ(h.staging.v, 1);
    EXPECT_EQ(h.leaves.get("nosuch"), 1);
    EXPECT_EQ(h.staging.v, 1);
}

TEST(Collection, DuplicateAndEmptyNames) {
    LeafHost h;
    h.add("a", 1);
    EXPECT_EQ(h.add("a", 9), 1);
    EXPECT_EQ(h.add("", 9), 100);
    EXPECT_EQ(h.recordValues(), (std::vector<int>{1}));
    EXPECT_EQ(h.names.size(), 1u);
}

TEST(Collection, EmptyNameCodeIsTheParentsChoice) {
    TLeaf staging;
    hal::RecordList<ELeaf> records;
    ItemList names;
    Collection<TLeaf, ELeaf> c(&staging, {.records = [&] { return &records; },
                                          .names = [&] { return &names; },
                                          .refused = 1});
    EXPECT_EQ(c.add(""), 1);
    EXPECT_EQ(c.add("x"), 0);
}

TEST(Collection, FailedValidationAddsNothing) {
    LeafHost h;
    zk::setLastError("");
    h.staging.valid = false;
    EXPECT_EQ(h.add("a", 1), 1);
    EXPECT_EQ(zk::lastError(), "TLeaf invalid");
    EXPECT_TRUE(h.names.empty());
    EXPECT_EQ(h.records.Size(), 0u);
}

TEST(Collection, MissingOrDeletedStagingObject) {
    hal::RecordList<ELeaf> records;
    ItemList names;
    auto staging = std::make_unique<TLeaf>();
    Collection<TLeaf, ELeaf> c(staging.get(), {.records = [&] { return &records; }, .names = [&] { return &names; }});
    EXPECT_EQ(c.add("a"), 0);
    staging.reset();  // the script deleted it
    EXPECT_EQ(c.staging(), nullptr);
    EXPECT_EQ(c.add("b"), 100);
    EXPECT_EQ(c.get("a"), 100);
    EXPECT_EQ(c.getFirst(), 100);
    EXPECT_EQ(c.set("a"), 100);

    Collection<TLeaf, ELeaf> none(nullptr, {.records = [&] { return &records; }, .names = [&] { return &names; }});
    EXPECT_EQ(none.add("c"), 100);
    EXPECT_EQ(none.getNext(), 100);
}

TEST(Collection, NotReadyGivesTheParentsCode) {
    LeafHost h;
    h.add("a", 1);
    h.readyCode = 100;
    EXPECT_EQ(h.add("b", 2), 100);
    EXPECT_EQ(h.leaves.get("a"), 100);
    EXPECT_EQ(h.leaves.set("a"), 100);
    EXPECT_EQ(h.leaves.del("a"), 100);
    EXPECT_EQ(h.leaves.getFirst(), 100);
    EXPECT_EQ(h.leaves.getNext(), 100);
    EXPECT_EQ(h.leaves.clearAll(), 100);
    EXPECT_EQ(h.order(), (std::vector<std::string>{"a"}));
}

TEST(Collection, NoListWithoutAPort) {
    TLeaf staging;
    Collection<TLeaf, ELeaf> c(&staging, {.records = [] { return static_cast<hal::RecordList<ELeaf>*>(nullptr); },
                                          .names = [] { return static_cast<ItemList*>(nullptr); }});
    EXPECT_EQ(c.add("a"), 100);
    EXPECT_EQ(c.getFirst(), 100);
    EXPECT_EQ(c.clearAll(), 0);
}

TEST(Collection, SetByName) {
    LeafHost h;
    h.add("a", 1);
    h.add("b", 2);
    h.staging.v = 20;
    EXPECT_EQ(h.leaves.set("b"), 0);
    EXPECT_EQ(h.recordValues(), (std::vector<int>{1, 20}));
    EXPECT_EQ(h.leaves.set("nosuch"), 1);
    h.staging.valid = false;
    h.staging.v = 99;
    EXPECT_EQ(h.leaves.set("a"), 1);
    EXPECT_EQ(h.recordValues(), (std::vector<int>{1, 20}));
}

TEST(Collection, SetAndDelWithoutNameUseTheItemLastReturned) {
    LeafHost h;
    for (int i = 0; i < 4; ++i) h.add(std::string(1, char('a' + i)), i);
    h.staging.v = 100;
    EXPECT_EQ(h.leaves.set(""), 0);  // cursor 0: the first item
    EXPECT_EQ(h.recordValues(), (std::vector<int>{100, 1, 2, 3}));
    EXPECT_EQ(h.leaves.getFirst(), 0);
    EXPECT_EQ(h.leaves.getNext(), 0);
    EXPECT_EQ(h.leaves.getNext(), 0);  // returned "c"
    h.staging.v = 42;
    EXPECT_EQ(h.leaves.set(""), 0);
    EXPECT_EQ(h.recordValues(), (std::vector<int>{100, 1, 42, 3}));
    EXPECT_EQ(h.leaves.del(""), 0);
    EXPECT_EQ(h.order(), (std::vector<std::string>{"a", "b", "d"}));
}

TEST(Collection, DelAfterGetFirstDeletesTheFirst) {
    LeafHost h;
    h.add("a", 1);
    h.add("b", 2);
    EXPECT_EQ(h.leaves.getFirst(), 0);
    EXPECT_EQ(h.leaves.del(""), 0);
    EXPECT_EQ(h.order(), (std::vector<std::string>{"b"}));
    EXPECT_EQ(h.recordValues(), (std::vector<int>{2}));
}

TEST(Collection, DelByNameAndAbsent) {
    LeafHost h;
    EXPECT_EQ(h.leaves.del(""), 1);
    EXPECT_EQ(h.leaves.del("a"), 1);
    h.add("a", 1);
    h.add("b", 2);
    EXPECT_EQ(h.leaves.del("a"), 0);
    EXPECT_EQ(h.leaves.del("a"), 1);
    EXPECT_EQ(h.recordValues(), (std::vector<int>{2}));
    EXPECT_EQ(h.add("a", 3), 0);  // the name is free again
    EXPECT_EQ(h.order(), (std::vector<std::string>{"b", "a"}));
}

TEST(Collection, IterationAndPastTheEnd) {
    LeafHost h;
    EXPECT_EQ(h.leaves.getFirst(), 1);
    for (int i = 0; i < 3; ++i) h.add("n" + std::to_string(i), i + 10);
    std::vector<int> seen;
    for (int r = h.leaves.getFirst(); r == 0; r = h.leaves.getNext()) seen.push_back(h.staging.v);
    EXPECT_EQ(seen, (std::vector<int>{10, 11, 12}));
    h.staging.v = 77;
    EXPECT_EQ(h.leaves.getNext(), 1);
    EXPECT_EQ(h.staging.v, 77);  // left as it was
    EXPECT_EQ(h.leaves.cursor(), 3u);
}

TEST(Collection, DeletionDuringIterationDoesNotMoveTheCursor) {
    LeafHost h;
    for (int i = 0; i < 4; ++i) h.add(std::string(1, char('a' + i)), i);
    EXPECT_EQ(h.leaves.getFirst(), 0);  // a
    EXPECT_EQ(h.leaves.getNext(), 0);   // b, cursor 2
    EXPECT_EQ(h.leaves.del("a"), 0);    // c and d move up one place
    EXPECT_EQ(h.leaves.getNext(), 0);
    EXPECT_EQ(h.staging.v, 3);  // d: c was skipped
    EXPECT_EQ(h.leaves.getNext(), 1);
}

TEST(Collection, ClearAll) {
    LeafHost h;
    for (int i = 0; i < 40; ++i) h.add(std::to_string(i), i);
    h.leaves.getFirst();
    EXPECT_EQ(h.leaves.clearAll(), 0);
    EXPECT_TRUE(h.names.empty());
    EXPECT_EQ(h.records.Size(), 0u);
    EXPECT_EQ(h.leaves.cursor(), 0u);
    EXPECT_EQ(h.leaves.getFirst(), 1);
    EXPECT_EQ(h.add("0", 5), 0);
}

TEST(Collection, GetOfAnItemWhoseRecordIsGoneFails) {
    LeafHost h;
    h.add("a", 1);
    h.records.Clear();
    EXPECT_EQ(h.leaves.get("a"), 1);
    EXPECT_EQ(h.leaves.getFirst(), 1);
}

// Parents whose children keep leaves of their own.
struct ParentHost {
    TLeaf leafStaging;
    TPar staging{&leafStaging};
    hal::RecordList<EPar> records;
    ItemList names;
    Collection<TPar, EPar> pars;

    ParentHost() : pars(&staging, {.records = [this] { return &records; }, .names = [this] { return &names; }}) {}

    std::vector<std::string> leafNames() {
        std::vector<std::string> keys;
        staging.leafNames.forEach([&](const std::string& k, const zk::ItemEntry&) { keys.push_back(k); });
        return keys;
    }
    int addLeaf(const std::string& name, int v) {
        leafStaging.v = v;
        return staging.leaves.add(name);
    }
};

TEST(Collection, AddEmptiesTheChildsListsAndKeepsItsOptions) {
    ParentHost h;
    h.staging.x = 5;
    h.addLeaf("l1", 1);
    h.addLeaf("l2", 2);
    EXPECT_EQ(h.pars.add("p1"), 0);
    EXPECT_EQ(h.staging.x, 5);
    EXPECT_TRUE(h.leafNames().empty());
    EXPECT_EQ(h.staging.work.leaves.Size(), 0u);
    const EPar* stored = h.records.At(0);
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(stored->x, 5);
    EXPECT_EQ(stored->leaves.Size(), 2u);
}

TEST(Collection, DuplicateAddLeavesTheChildsListsAlone) {
    ParentHost h;
    h.pars.add("p1");
    h.addLeaf("l1", 1);
    EXPECT_EQ(h.pars.add("p1"), 1);
    EXPECT_EQ(h.leafNames(), (std::vector<std::string>{"l1"}));
    EXPECT_EQ(h.staging.work.leaves.Size(), 1u);
}

TEST(Collection, GetRestoresTheChildsNamesAndRecords) {
    ParentHost h;
    h.staging.x = 1;
    h.addLeaf("l1", 11);
    h.addLeaf("l2", 12);
    h.pars.add("p1");
    h.staging.x = 2;
    h.addLeaf("l3", 13);
    h.pars.add("p2");

    EXPECT_EQ(h.pars.get("p1"), 0);
    EXPECT_EQ(h.staging.x, 1);
    EXPECT_EQ(h.leafNames(), (std::vector<std::string>{"l1", "l2"}));
    EXPECT_EQ(h.staging.leaves.get("l2"), 0);
    EXPECT_EQ(h.leafStaging.v, 12);
    EXPECT_EQ(h.staging.leaves.get("l3"), 1);

    // Iteration over the parents brings each one's leaves.
    EXPECT_EQ(h.pars.getFirst(), 0);
    EXPECT_EQ(h.pars.getNext(), 0);
    EXPECT_EQ(h.staging.x, 2);
    EXPECT_EQ(h.leafNames(), (std::vector<std::string>{"l3"}));
    EXPECT_EQ(h.staging.leaves.getFirst(), 0);
    EXPECT_EQ(h.leafStaging.v, 13);
    EXPECT_EQ(h.staging.leaves.getNext(), 1);
}

TEST(Collection, RestoreResetsTheChildsCursor) {
    ParentHost h;
    h.addLeaf("l1", 1);
    h.addLeaf("l2", 2);
    h.pars.add("p1");
    h.pars.get("p1");
    h.staging.leaves.getFirst();
    h.staging.leaves.getNext();
    EXPECT_EQ(h.staging.leaves.cursor(), 2u);
    h.pars.get("p1");
    EXPECT_EQ(h.staging.leaves.cursor(), 0u);
}

TEST(Collection, SetStoresTheChildsCurrentNames) {
    ParentHost h;
    h.addLeaf("l1", 1);
    h.pars.add("p1");
    h.pars.get("p1");
    h.addLeaf("l2", 2);
    EXPECT_EQ(h.pars.set("p1"), 0);
    h.staging.leaves.clearAll();
    EXPECT_TRUE(h.leafNames().empty());
    h.pars.get("p1");
    EXPECT_EQ(h.leafNames(), (std::vector<std::string>{"l1", "l2"}));
    EXPECT_EQ(h.staging.leaves.get("l2"), 0);
    EXPECT_EQ(h.leafStaging.v, 2);
}

}  // namespace
