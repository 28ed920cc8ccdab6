// The OSPF records of the open HAL: the grid computation, the port's limit
// on grid size, the widths the equipment keeps, and the JSON form.
#include <gtest/gtest.h>

#include <climits>

#include "hal/ospf.h"
#include "ospf/router.h"

namespace {

using hal::EOSPFNetworkRange;

EOSPFNetworkRange grid(int rows, int cols, int linkType) {
    EOSPFNetworkRange r;
    r.SetNumberOfRows(rows, -1);
    r.SetNumberOfCols(cols, -1);
    r.SetLinkType(linkType);
    return r;
}

TEST(OspfGrid, CountsFollowTheGridRule) {
    struct Case {
        int rows, cols, linkType, routers, subnets, lsas;
    } cases[] = {
        {0, 0, 0, 0, 0, 0},      {0, 5, 0, 0, 0, 0},       {1, 1, 0, 1, 0, 1},    {1, 4, 0, 4, 3, 7},
        {4, 1, 1, 4, 3, 4},      {2, 2, 0, 4, 4, 8},       {3, 4, 0, 12, 17, 29}, {3, 4, 1, 12, 17, 12},
        {100000, 100000, 0, INT_MAX, INT_MAX, INT_MAX},
    };
    for (const auto& c : cases) {
        EOSPFNetworkRange r = grid(c.rows, c.cols, c.linkType);
        EXPECT_EQ(r.CalcNoOfRouters(), c.routers) << c.rows << "x" << c.cols;
        EXPECT_EQ(r.CalcNoOfSubnets(), c.subnets) << c.rows << "x" << c.cols;
        EXPECT_EQ(r.CalcNoOfGeneratedLSAs(), c.lsas) << c.rows << "x" << c.cols << " link " << c.linkType;
    }
}

TEST(OspfGrid, APositiveLimitKeyCapsRowsAndColumns) {
    struct Case {
        int requested, key, kept;
    } cases[] = {{9, -1, 9}, {9, 0, 9}, {9, 4, 4}, {4, 4, 4}, {3, 4, 3}, {0, 4, 0}};
    for (const auto& c : cases) {
        EOSPFNetworkRange r;
        r.SetNumberOfRows(c.requested, c.key);
        r.SetNumberOfCols(c.requested, c.key);
        EXPECT_EQ(r.GetNumberOfRows(), c.kept) << c.requested << " key " << c.key;
        EXPECT_EQ(r.GetNumberOfCols(), c.kept) << c.requested << " key " << c.key;
    }
}

TEST(OspfRecords, FieldsAreAsWideAsOnTheWire) {
    hal::EOSPFInterface i;
    i.SetPriority(300);
    i.SetOptions(0x1ff);
    i.SetHelloInterval(65536 + 10);
    i.SetMetric(65536 + 7);
    i.SetMD5AuthenticationKeyId(256 + 3);
    i.SetMTU(65536 + 1500);
    EXPECT_EQ(i.GetPriority(), 44);
    EXPECT_EQ(i.GetOptions(), 0xff);
    EXPECT_EQ(i.GetHelloInterval(), 10);
    EXPECT_EQ(i.GetMetric(), 7);
    EXPECT_EQ(i.GetMD5AuthenticationKeyId(), 3);
    EXPECT_EQ(i.GetMTU(), 1500);

    hal::EOSPFRouteRange rr;
    rr.SetMetric(0x1000005);
    EXPECT_EQ(rr.GetMetric(), 5u);
    hal::EOSPFUserLSA lsa;
    lsa.SetMetric(0xffffffff);
    lsa.SetAge(65536 + 3600);
    EXPECT_EQ(lsa.GetMetric(), 0xffffffu);
    EXPECT_EQ(lsa.GetAge(), 3600);
}

TEST(OspfRecords, DefaultsAreThoseOfABroadcastInterface) {
    hal::EOSPFInterface i;
    EXPECT_EQ(i.GetHelloInterval(), 10);
    EXPECT_EQ(i.GetDeadInterval(), 40u);
    EXPECT_EQ(i.GetPriority(), 1);
    EXPECT_EQ(i.GetMTU(), 1500);
    EXPECT_EQ(i.GetNetworkType(), 2);
    EXPECT_EQ(i.GetAuthenticationMethod(), 0);
    EXPECT_EQ(hal::EOSPFUserLSA{}.GetSequenceNumber(), 0x80000001u);
    EXPECT_FALSE(hal::EOSPFRouter{}.GetGracefulRestart());
}

TEST(OspfJson, AnLsaCarriesTheHeaderAndTheBodyOfItsTypeOnly) {
    struct Case {
        int type, tlv;
        std::vector<const char*> present, absent;
    } cases[] = {
        {1, 0, {"RouterBits", "RouterLinks"}, {"NetworkMask", "Metric", "TlvType"}},
        {2, 0, {"NetworkMask", "AttachedRouters"}, {"Metric", "RouterLinks"}},
        {3, 0, {"NetworkMask", "Metric"}, {"ExternalMetricType", "AttachedRouters"}},
        {4, 0, {"NetworkMask", "Metric"}, {"ForwardingAddress"}},
        {5, 0, {"Metric", "ExternalMetricType", "ForwardingAddress", "ExternalRouteTag"}, {"RouterLinks"}},
        {10, 0, {"TlvType", "RouterAddress"}, {"TlvLinkType", "TrafficEngineering"}},
        {11, 1, {"TlvType", "TlvLinkType", "LocalIPAddress", "TrafficEngineering"}, {"RouterAddress", "Metric"}},
    };
    for (const auto& c : cases) {
        hal::EOSPFUserLSA lsa;
        lsa.SetType(c.type);
        lsa.SetTlvType(c.tlv);
        hal::Json j = lsa;
        for (const char* key : {"Type", "LinkStateID", "AdvertisingRouter", "Options", "SequenceNumber", "Age"})
            EXPECT_TRUE(j.contains(key)) << "type " << c.type << " lacks " << key;
        for (const char* key : c.present) EXPECT_TRUE(j.contains(key)) << "type " << c.type << " lacks " << key;
        for (const char* key : c.absent) EXPECT_FALSE(j.contains(key)) << "type " << c.type << " has " << key;
    }
}

TEST(OspfJson, ThePortConfigurationDescribesEachGrid) {
    zk::COspfServer config;
    config.SetID(hal::EComponentId::New());
    hal::EOSPFRouter router;
    for (int rows : {3, 5}) {
        hal::EOSPFInterface i;
        i.AddNetworkRange(grid(rows, 2, 0));
        router.AddInterface(i);
    }
    config.server.AddRouter(router);
    hal::Json j = config.ToJson();
    EXPECT_EQ(j["ID"], config.GetID().GetValue());
    const hal::Json& interfaces = j["RouterList"][0]["InterfaceList"];
    ASSERT_EQ(interfaces.size(), 2u);
    EXPECT_EQ(interfaces[0]["NetworkRangeList"][0]["Description"], "Auto generated 3 by 2 grid");
    EXPECT_EQ(interfaces[1]["NetworkRangeList"][0]["Description"], "Auto generated 5 by 2 grid");
    EXPECT_EQ(interfaces[1]["NetworkRangeList"][0]["NoOfSubnets"], 13);
}

}  // namespace
