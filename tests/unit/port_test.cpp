// The current port, the port table and port identities.
#include <gtest/gtest.h>

#include "chassis/lab.h"
#include "core/port.h"

namespace {

using chassis::Lab;
using chassis::PortId;
using chassis::Protocol;

struct PortFixture : ::testing::Test {
    void SetUp() override { Lab::instance().reset(false); }
    void TearDown() override { Lab::instance().reset(false); }
};

TEST_F(PortFixture, SelectResults) {
    EXPECT_EQ(zk::currentPort(), nullptr);
    EXPECT_EQ(zk::selectPort(1, 2, 3, Protocol::Ospf), 0);
    ASSERT_NE(zk::currentPort(), nullptr);
    EXPECT_EQ(zk::currentPort()->id, (PortId{1, 2, 3}));

    EXPECT_EQ(zk::selectPort(9, 9, 9, Protocol::Ospf), 100);
    EXPECT_EQ(zk::selectPort(1, 0, 1, Protocol::Ospf), 100);
    EXPECT_EQ(zk::currentPort()->id, (PortId{1, 2, 3}));  // unchanged

    Lab::instance().find(1, 4, 4)->licensed.erase(Protocol::Rip);
    EXPECT_EQ(zk::selectPort(1, 4, 4, Protocol::Rip), 104);
    EXPECT_EQ(zk::currentPort()->id, (PortId{1, 2, 3}));
    EXPECT_EQ(zk::selectPort(1, 4, 4, Protocol::Bgp4), 0);
    EXPECT_EQ(zk::currentPort()->id, (PortId{1, 4, 4}));
}

TEST_F(PortFixture, OneCurrentPortForEveryProtocol) {
    zk::selectPort(1, 1, 1, Protocol::Rip);
    zk::selectPort(1, 3, 2, Protocol::Ospf);
    EXPECT_EQ(zk::currentPort()->id, (PortId{1, 3, 2}));
}

TEST_F(PortFixture, ResetClearsTheCurrentPort) {
    zk::selectPort(1, 1, 1, Protocol::Rip);
    Lab::instance().reset(false);
    EXPECT_EQ(zk::currentPort(), nullptr);
    zk::selectPort(1, 1, 1, Protocol::Rip);
    Lab::instance().reset(true);
    EXPECT_EQ(zk::currentPort(), nullptr);
    EXPECT_EQ(zk::selectPort(1, 1, 1, Protocol::Rip), 100);
}

TEST_F(PortFixture, ARemovedPortIsNoLongerCurrent) {
    zk::selectPort(1, 1, 3, Protocol::Rip);
    EXPECT_TRUE(Lab::instance().remove(PortId{1, 1, 3}));
    EXPECT_EQ(zk::currentPort(), nullptr);
    EXPECT_EQ(zk::usablePort(), nullptr);
    EXPECT_FALSE(Lab::instance().remove(PortId{1, 1, 3}));
}

TEST_F(PortFixture, UsableNeedsAvailability) {
    zk::selectPort(1, 1, 1, Protocol::Rip);
    EXPECT_EQ(zk::usablePort(), zk::currentPort());
    zk::currentPort()->available = 0;
    EXPECT_NE(zk::currentPort(), nullptr);
    EXPECT_EQ(zk::usablePort(), nullptr);
    zk::clearCurrentPort();
    EXPECT_EQ(zk::currentPort(), nullptr);
}

TEST_F(PortFixture, DefaultLab) {
    auto ids = Lab::instance().list();
    ASSERT_EQ(ids.size(), 16u);
    EXPECT_EQ(ids.front(), (PortId{1, 1, 1}));
    EXPECT_EQ(ids.back(), (PortId{1, 4, 4}));
    const chassis::Port* p = zk::findPort(1, 3, 4);
    ASSERT_NE(p, nullptr);
    EXPECT_STREQ(zk::portName(*p), "1/3/4");
    EXPECT_EQ(p->type, "ethernet");
    EXPECT_TRUE(p->hasCapability(chassis::kCapabilityArp));
    EXPECT_TRUE(p->hasCapability(chassis::kCapabilityPing));
    EXPECT_TRUE(p->hasCapability(chassis::kCapabilityRouting));
    for (int i = 0; i < chassis::kProtocolCount; ++i) EXPECT_TRUE(p->isLicensed(Protocol(i)));
    EXPECT_EQ(zk::findPort(1, 5, 1), nullptr);
}

TEST_F(PortFixture, AddReplacesWithAFreshPort) {
    chassis::Port* old = Lab::instance().find(1, 1, 1);
    uint64_t generation = old->generation;
    old->name = "renamed";
    chassis::Port& fresh = Lab::instance().add(PortId{1, 1, 1});
    EXPECT_NE(fresh.generation, generation);
    EXPECT_EQ(fresh.name, "1/1/1");
    EXPECT_EQ(Lab::instance().list().size(), 16u);
}

TEST(PortId, KeyAndText) {
    EXPECT_EQ((PortId{1, 2, 3}).key(), "1.2.3");
    EXPECT_EQ((PortId{1, 2, 3}).text(), "1/2/3");
    EXPECT_EQ((PortId{10, 0, 255}).key(), "10.0.255");
    EXPECT_EQ((PortId{-1, 2, -3}).key(), "-1.2.-3");
    EXPECT_EQ((PortId{2147483647, -2147483647 - 1, 0}).text(), "2147483647/-2147483648/0");
}

TEST(PortId, OrderIsNumeric) {
    EXPECT_LT((PortId{1, 4, 4}), (PortId{1, 10, 1}));
    EXPECT_LT((PortId{1, 2, 9}), (PortId{1, 2, 10}));
    EXPECT_LT((PortId{0, 9, 9}), (PortId{1, 0, 0}));
}

TEST(Port, ProtocolNames) {
    EXPECT_STREQ(chassis::protocolName(Protocol::OspfV3), "ospfv3");
    EXPECT_EQ(chassis::protocolFromName("ripng"), Protocol::Ripng);
    EXPECT_FALSE(chassis::protocolFromName("services").has_value());
    EXPECT_FALSE(chassis::protocolFromName("OSPF").has_value());
}

TEST(Port, GridLimit) {
    chassis::Port p(PortId{1, 1, 1});
    EXPECT_EQ(p.limitGrid(1000), 1000);
    p.gridLimit = 8;
    EXPECT_EQ(p.limitGrid(1000), 8);
    EXPECT_EQ(p.limitGrid(3), 3);
}

}  // namespace
