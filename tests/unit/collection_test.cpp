// The named-collection pattern, with a leaf child and a parent child that
// keeps leaves; the current port; and the per-port lists of a small
// PortServer, which survive selecting another port but not the port.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "chassis/lab.h"
#include "core/port_server.h"

namespace {

using chassis::Lab;
using zk::PortId;
using zk::Protocol;
using zk::Collection;
using zk::ItemList;
using Strings = std::vector<std::string>;
using Ints = std::vector<int>;

struct ELeaf : hal::ERecord { int v = 0; };
struct EPar : hal::ERecord { int x = 0; hal::RecordList<ELeaf> leaves; };
struct TLeaf : zk::Object {
    int v = 3;
    bool valid = true;
    int ToRecord(ELeaf& r) { return valid ? (r.v = v, 0) : (zk::setLastError("TLeaf invalid"), 1); }
    void FromRecord(const ELeaf& r) { v = r.v; }
};
struct TPar : zk::Object {
    explicit TPar(TLeaf* l) : leaves(l, {.records = [this] { return &work.leaves; }, .names = [this] { return &names; }}) {
        adoptList(&leaves);
    }
    int x = 0;
    EPar work;
    ItemList names;
    Collection<TLeaf, ELeaf> leaves;
    int ToRecord(EPar& r) { return r = work, r.x = x, 0; }
    void FromRecord(const EPar& r) { work = r, x = r.x; }
};

// getFirst, then getNext up to the n-th item: the code of the last call.
int walkTo(auto& c, int n) {
    int r = c.getFirst();
    while (--n > 0) r = c.getNext();
    return r;
}
Strings namesOf(ItemList& l) {
    Strings keys;
    return l.forEach([&](const std::string& k, const zk::ItemEntry&) { keys.push_back(k); }), keys;
}

// Leaves a, b, ... holding 0, 1, ..., under a parent whose readiness the test switches.
struct LeafHost {
    TLeaf staging;
    hal::RecordList<ELeaf> records;
    ItemList names;
    int readyCode = 0;
    Collection<TLeaf, ELeaf> leaves{&staging, {.ready = [this] { return readyCode; },
                                               .records = [this] { return &records; },
                                               .names = [this] { return &names; }}};
    explicit LeafHost(int n = 0) { for (int i = 0; i < n; ++i) add(std::string(1, char('a' + i)), i); }
    int add(const std::string& name, int v) { return staging.v = v, leaves.add(name); }
    Ints values() {
        Ints vs;
        return records.ForEach([&](const ELeaf& r) { vs.push_back(r.v); }), vs;
    }
};

TEST(Collection, AddGetAndRefusedNames) {
    LeafHost h(2);
    EXPECT_EQ(h.leaves.get("b"), 0);
    EXPECT_EQ(h.leaves.get("nosuch") + h.leaves.set("nosuch") + h.leaves.del("nosuch"), 3);
    EXPECT_EQ(h.staging.v, 1);
    EXPECT_EQ(h.add("a", 9), 1);
    EXPECT_EQ(h.add("", 9), 100);
    h.staging.valid = false;
    EXPECT_EQ(h.add("c", 9), 1);
    EXPECT_EQ(zk::lastError(), "TLeaf invalid");
    EXPECT_EQ(h.values(), (Ints{0, 1}));
    Collection<TLeaf, ELeaf> c(&h.staging, {.records = [&] { return &h.records; }, .names = [&] { return &h.names; }, .refused = 1});
    EXPECT_EQ(c.add(""), 1);  // the empty-name code is the parent's choice
}

// What add, get, set, del, getFirst, getNext and clearAll give when the collection cannot act.
TEST(Collection, RefusedWhenItCannotAct) {
    const char* what[] = {"staging object deleted", "parent not ready", "no list (no port)"};
    const Ints expected[] = {{100, 100, 100, 100, 100, 100, 0}, {100, 100, 100, 100, 100, 100, 100}, {100, 100, 100, 100, 100, 100, 0}};
    for (int i = 0; i < 3; ++i) {
        LeafHost h(1);
        auto staging = std::make_unique<TLeaf>();
        Collection<TLeaf, ELeaf> other(staging.get(), {.records = [&] { return i == 2 ? nullptr : &h.records; },
                                                       .names = [&] { return i == 2 ? nullptr : &h.names; }});
        Collection<TLeaf, ELeaf>& c = i == 1 ? h.leaves : other;
        if (i == 0) staging.reset();  // the script deleted it
        h.readyCode = i == 1 ? 100 : 0;
        Ints got{c.add("z"), c.get("a"), c.set("a"), c.del("a"), c.getFirst(), c.getNext()};
        EXPECT_EQ(h.names.size(), 1u) << what[i];
        got.push_back(c.clearAll());
        EXPECT_EQ(got, expected[i]) << what[i];
    }
}

TEST(Collection, SetDelAndIterationFollowTheItemLastReturned) {
    LeafHost h(5);
    h.staging.v = 100;
    EXPECT_EQ(h.leaves.set(""), 0);  // nothing returned yet: the first item
    EXPECT_EQ(walkTo(h.leaves, 3), 0);  // returned "c"
    h.staging.v = 42;
    EXPECT_EQ(h.leaves.set(""), 0);
    h.staging.valid = false;
    EXPECT_EQ(h.leaves.set("b"), 1);
    EXPECT_EQ(h.values(), (Ints{100, 1, 42, 3, 4}));
    EXPECT_EQ(h.leaves.del(""), 0);  // c; the cursor stays, so d is skipped
    EXPECT_EQ(h.leaves.getNext(), 0);
    EXPECT_EQ(h.staging.v, 4);
    h.staging.v = 77;
    EXPECT_EQ(h.leaves.getNext(), 1);
    EXPECT_EQ(h.staging.v, 77);  // left as it was past the end
    EXPECT_EQ(h.leaves.getFirst(), 0);
    EXPECT_EQ(h.leaves.del(""), 0);  // after getFirst: the first
    EXPECT_EQ(h.leaves.del("b") + h.leaves.del("b"), 1);
    EXPECT_EQ(h.values(), (Ints{3, 4}));
    EXPECT_EQ(h.leaves.clearAll(), 0);
    EXPECT_EQ(h.records.Size() + h.leaves.cursor() + h.names.size(), 0u);
    EXPECT_EQ(h.leaves.getFirst() + h.leaves.del(""), 2);  // nothing there
    h.staging.valid = true;
    EXPECT_EQ(h.add("a", 5), 0);
    h.records.Clear();
    EXPECT_EQ(h.leaves.get("a"), 1);  // its record is gone
}

// Add takes the child's leaves along and empties its lists, unless refused;
// get and set carry the leaf names; get restarts the child's iteration.
TEST(Collection, ParentsCarryTheirChildsLeaves) {
    TLeaf leaf;
    TPar par{&leaf};
    hal::RecordList<EPar> records;
    ItemList names;
    Collection<TPar, EPar> pars{&par, {.records = [&] { return &records; }, .names = [&] { return &names; }}};
    auto addLeaf = [&](const std::string& name, int v) { return leaf.v = v, par.leaves.add(name); };
    addLeaf("l1", 11);
    addLeaf("l2", 12);
    EXPECT_EQ(pars.add("p1"), 0);
    EXPECT_EQ(par.work.leaves.Size() + par.names.size(), 0u);
    par.x = 2;
    addLeaf("l3", 13);
    EXPECT_EQ(pars.add("p1"), 1);
    EXPECT_EQ(namesOf(par.names), (Strings{"l3"}));
    EXPECT_EQ(pars.add("p2"), 0);
    EXPECT_EQ(par.x, 2);  // the child keeps its options
    EXPECT_EQ(pars.get("p1"), 0);
    EXPECT_EQ(walkTo(par.leaves, 2), 0);
    addLeaf("l4", 14);
    EXPECT_EQ(pars.set("p1"), 0);
    par.leaves.clearAll();
    EXPECT_EQ(pars.getFirst(), 0);
    EXPECT_EQ(par.x + par.leaves.cursor(), 0u);
    EXPECT_EQ(namesOf(par.names), (Strings{"l1", "l2", "l4"}));
    leaf.v = 0;
    EXPECT_EQ(par.leaves.get("l4"), 0);
    EXPECT_EQ(leaf.v, 14);
    EXPECT_EQ(pars.getNext(), 0);
    EXPECT_EQ(par.x, 2);
    EXPECT_EQ(walkTo(par.leaves, 2), 1);  // l3, then past the end
    EXPECT_EQ(leaf.v, 13);
}

struct EItem : hal::ERecord {
    int v = 0;
    static constexpr auto fields() { return hal::fields(hal::field("V", &EItem::v)); }
};
struct ESrv : hal::ConfigRoot<ESrv> {
    hal::RecordList<EItem> items;
    static constexpr auto fields() { return hal::fields(hal::field("Items", &ESrv::items)); }
};
struct TItem : zk::Object {
    int v = 0;
    int ToRecord(EItem& r) { return r.v = v, 0; }
    void FromRecord(const EItem& r) { v = r.v; }
};
struct TSrv : zk::Server<ESrv> {
    explicit TSrv(TItem* staging) : Server(Protocol::Rip), items(this, staging) {}
    zk::ServerList<TItem, &ESrv::items> items;
};

struct Lab0 : ::testing::Test {
    TItem item;
    TSrv srv{&item};
    void SetUp() override { Lab::instance().reset(false); }
    void TearDown() override { SetUp(); }
    chassis::EmulatedPort& port(int c, int d, int p) { return *Lab::instance().find(c, d, p); }
    int add(const std::string& name, int v) { return item.v = v, srv.items.add(name); }
    Ints walk() {
        Ints vs;
        for (int r = srv.items.getFirst(); r == 0; r = srv.items.getNext()) vs.push_back(item.v);
        return vs;
    }
};

// One current port for every protocol, and only while it exists.
TEST_F(Lab0, TheCurrentPort) {
    EXPECT_EQ(zk::selectPort(1, 2, 3, Protocol::Ospf), 0);
    port(1, 4, 4).licensed.erase(Protocol::Rip);
    EXPECT_EQ(srv.select(1, 4, 4) + srv.select(1, 0, 1), 204);  // not licensed, no such port
    EXPECT_EQ(zk::currentPort()->id, (PortId{1, 2, 3}));  // unchanged by refusals
    EXPECT_EQ(srv.select(1, 4, 3), 0);
    port(1, 4, 3).available = 0;
    EXPECT_EQ(zk::currentPort()->id, (PortId{1, 4, 3}));
    EXPECT_EQ(zk::usablePort(), nullptr);
    Lab::instance().remove(PortId{1, 4, 3});
    EXPECT_EQ(zk::currentPort(), nullptr);
    zk::selectPort(1, 1, 1, Protocol::Rip);
    Lab::instance().reset(false);
    EXPECT_EQ(zk::currentPort(), nullptr);
}

TEST_F(Lab0, ListsArePerPortAndForgottenWithTheirPort) {
    EXPECT_EQ(add("a", 1), 100);  // no current port
    srv.select(1, 1, 1);
    add("a", 1), add("b", 2), srv.items.getFirst();
    srv.select(1, 1, 2);
    EXPECT_EQ(add("a", 10), 0);  // the same name on another port
    srv.select(1, 1, 1);
    EXPECT_EQ(srv.items.getNext(), 0);  // select restarts the iteration
    EXPECT_EQ(item.v, 1);
    EXPECT_EQ(walk(), (Ints{1, 2}));
    srv.select(1, 1, 2);
    EXPECT_EQ(walk(), (Ints{10}));
    Lab::instance().add(PortId{1, 1, 2});
    EXPECT_TRUE(walk().empty());
    EXPECT_EQ(add("a", 3), 0);
    EXPECT_EQ(port(1, 1, 2).staged("rip"), R"({"Items":[{"V":3}]})");
}

}  // namespace
