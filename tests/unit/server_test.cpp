// PortServer with a small server of its own: select, write, stream
// generation, and per-port named lists that survive selecting another port.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "chassis/lab.h"
#include "core/server.h"

namespace {

using chassis::Lab;
using chassis::Protocol;
using zk::Collection;
using zk::ItemList;

struct EItem : hal::ERecord {
    int v = 0;
};
void to_json(hal::Json& j, const EItem& r) { j = {{"V", r.v}}; }

struct ESrv : chassis::EConfigRoot {
    hal::RecordList<EItem> items;
    hal::Json ToJson() const override { return {{"Items", items}}; }
};

struct TItem : zk::Object {
    int v = 0;
    int ToRecord(EItem& r) {
        r.v = v;
        return 0;
    }
    void FromRecord(const EItem& r) { v = r.v; }
};

struct TSrv : zk::PortServer {
    explicit TSrv(TItem* staging)
        : PortServer(Protocol::Rip, 1),
          items(staging, {.ready = [this] { return ready(); },
                          .records = [this] {
                              auto* c = config<ESrv>();
                              return c ? &c->items : nullptr;
                          },
                          .names = [this] { return names(0); }}) {}
    chassis::EConfigRoot& configOf(chassis::Port& p) override { return p.holder(Protocol::Rip).Config<ESrv>(); }
    std::vector<zk::CollectionBase*> childCollections() override { return {&items}; }
    Collection<TItem, EItem> items;
};

struct ServerFixture : ::testing::Test {
    TItem item;
    TSrv srv{&item};
    void SetUp() override { Lab::instance().reset(false); }
    void TearDown() override { Lab::instance().reset(false); }
    int add(const std::string& name, int v) {
        item.v = v;
        return srv.items.add(name);
    }
    std::vector<int> walk() {
        std::vector<int> vs;
        for (int r = srv.items.getFirst(); r == 0; r = srv.items.getNext()) vs.push_back(item.v);
        return vs;
    }
};

TEST_F(ServerFixture, SelectCodes) {
    EXPECT_EQ(srv.select(9, 9, 9), 100);
    Lab::instance().find(1, 1, 2)->licensed.erase(Protocol::Rip);
    EXPECT_EQ(srv.select(1, 1, 2), 104);
    EXPECT_EQ(zk::currentPort(), nullptr);
    EXPECT_EQ(srv.select(1, 1, 1), 0);
    EXPECT_EQ(zk::currentPort()->id, (chassis::PortId{1, 1, 1}));
}

TEST_F(ServerFixture, NothingWithoutAUsablePort) {
    EXPECT_EQ(add("a", 1), 100);
    EXPECT_EQ(srv.items.getFirst(), 100);
    EXPECT_EQ(srv.write(), 1);
    srv.select(1, 1, 1);
    Lab::instance().find(1, 1, 1)->available = 0;
    EXPECT_EQ(add("a", 1), 100);
    EXPECT_EQ(srv.write(), 1);
}

TEST_F(ServerFixture, WriteSendsTheConfiguration) {
    srv.select(1, 2, 3);
    add("a", 1);
    add("b", 2);
    EXPECT_EQ(Lab::instance().find(1, 2, 3)->written("rip"), "");
    EXPECT_EQ(Lab::instance().find(1, 2, 3)->staged("rip"), R"({"Items":[{"V":1},{"V":2}]})");
    EXPECT_EQ(srv.write(), 0);
    EXPECT_EQ(Lab::instance().find(1, 2, 3)->written("rip"), R"({"Items":[{"V":1},{"V":2}]})");
    Lab::instance().find(1, 2, 3)->writeFails = 1;
    add("c", 3);
    EXPECT_EQ(srv.write(), 1);
    EXPECT_EQ(Lab::instance().find(1, 2, 3)->written("rip"), R"({"Items":[{"V":1},{"V":2}]})");
}

TEST_F(ServerFixture, ListsArePerPortAndSurviveSelectingAnother) {
    srv.select(1, 1, 1);
    add("a", 1);
    add("b", 2);
    srv.select(1, 1, 2);
    EXPECT_TRUE(walk().empty());
    EXPECT_EQ(add("a", 10), 0);  // the same name on another port
    srv.select(1, 1, 1);
    EXPECT_EQ(walk(), (std::vector<int>{1, 2}));
    EXPECT_EQ(srv.items.get("a"), 0);
    EXPECT_EQ(item.v, 1);
    srv.select(1, 1, 2);
    EXPECT_EQ(walk(), (std::vector<int>{10}));
}

TEST_F(ServerFixture, SelectResetsTheCursor) {
    srv.select(1, 1, 1);
    add("a", 1);
    add("b", 2);
    srv.items.getFirst();
    srv.items.getNext();
    EXPECT_EQ(srv.items.cursor(), 2u);
    srv.select(1, 1, 1);
    EXPECT_EQ(srv.items.cursor(), 0u);
    EXPECT_EQ(srv.items.getNext(), 0);
    EXPECT_EQ(item.v, 1);
}

TEST_F(ServerFixture, ARecreatedPortStartsEmpty) {
    srv.select(1, 1, 1);
    add("a", 1);
    Lab::instance().remove(chassis::PortId{1, 1, 1});
    EXPECT_EQ(add("b", 2), 100);
    Lab::instance().add(chassis::PortId{1, 1, 1});
    EXPECT_EQ(srv.select(1, 1, 1), 0);
    EXPECT_TRUE(walk().empty());
    EXPECT_EQ(add("a", 3), 0);
    EXPECT_EQ(Lab::instance().find(1, 1, 1)->staged("rip"), R"({"Items":[{"V":3}]})");
}

TEST_F(ServerFixture, ResetForgetsTheLists) {
    srv.select(1, 1, 1);
    add("a", 1);
    Lab::instance().reset(false);
    EXPECT_EQ(srv.items.getFirst(), 100);
    srv.select(1, 1, 1);
    EXPECT_EQ(Lab::instance().find(1, 1, 1)->staged("rip"), "");
    EXPECT_TRUE(walk().empty());
}

TEST_F(ServerFixture, GenerateStreams) {
    EXPECT_EQ(srv.generateStreams(1, 1, 1, 0), 1);  // no current port
    srv.select(1, 1, 1);
    EXPECT_EQ(srv.generateStreams(9, 9, 9, 0), 1);  // no such port
    Lab::instance().find(1, 1, 2)->available = 0;
    EXPECT_EQ(srv.generateStreams(1, 1, 2, 0), 100);
    Lab::instance().find(1, 1, 3)->writeFails = 1;
    EXPECT_EQ(srv.generateStreams(1, 1, 3, 0), 1);
    EXPECT_EQ(srv.generateStreams(1, 1, 4, 1), 0);
    const auto& streams = Lab::instance().find(1, 1, 4)->streams;
    ASSERT_EQ(streams.size(), 1u);
    EXPECT_EQ(streams[0].protocol, "rip");
    EXPECT_EQ(streams[0].action, 1);
    EXPECT_NE(streams[0].component, 0u);
    EXPECT_TRUE(Lab::instance().find(1, 1, 1)->streams.empty());
}

}  // namespace
