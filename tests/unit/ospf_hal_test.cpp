// The OSPF records of the open HAL: the grid computation, the widths the
// equipment keeps, and the JSON form of the port's configuration.
#include <gtest/gtest.h>

#include <climits>

#include "hal/json.h"
#include "hal/ospf.h"

namespace {

using hal::EOSPFNetworkRange;

EOSPFNetworkRange grid(int rows, int cols, int linkType) {
    EOSPFNetworkRange r;
    r.SetNumberOfRows(rows, -1);
    r.SetNumberOfCols(cols, -1);
    r.linkType = uint8_t(linkType);
    return r;
}

TEST(OspfGrid, CountsFollowTheGridRule) {
    struct Case {
        int rows, cols, linkType, routers, subnets, lsas;
    } cases[] = {
        {0, 0, 0, 0, 0, 0},   {0, 5, 0, 0, 0, 0},    {1, 1, 0, 1, 0, 1},     {1, 4, 0, 4, 3, 7},
        {4, 1, 1, 4, 3, 4},   {2, 2, 0, 4, 4, 8},    {3, 4, 0, 12, 17, 29},  {3, 4, 1, 12, 17, 12},
        {100000, 100000, 0, INT_MAX, INT_MAX, INT_MAX},
    };
    for (const auto& c : cases) {
        EOSPFNetworkRange r = grid(c.rows, c.cols, c.linkType);
        EXPECT_EQ(r.CalcNoOfRouters(), c.routers) << c.rows << "x" << c.cols;
        EXPECT_EQ(r.CalcNoOfSubnets(), c.subnets) << c.rows << "x" << c.cols;
        EXPECT_EQ(r.CalcNoOfGeneratedLSAs(), c.lsas) << c.rows << "x" << c.cols << " link " << c.linkType;
    }
}

TEST(OspfJson, ThePortConfigurationDescribesEachGrid) {
    hal::EOSPFServer config;
    config.id = hal::EComponentId::New();
    hal::EOSPFRouter router;
    for (int rows : {3, 5}) {
        hal::EOSPFInterface i;
        i.ranges.Add(grid(rows, 2, 0));
        router.interfaces.Add(i);
    }
    config.routers.Add(router);
    hal::Json j = hal::Json::parse(hal::jsonText(config));
    EXPECT_EQ(j["ID"], config.id.GetValue());
    const hal::Json& interfaces = j["RouterList"][0]["InterfaceList"];
    ASSERT_EQ(interfaces.size(), 2u);
    EXPECT_EQ(interfaces[0]["NetworkRangeList"][0]["Description"], "Auto generated 3 by 2 grid");
    EXPECT_EQ(interfaces[1]["NetworkRangeList"][0]["Description"], "Auto generated 5 by 2 grid");
    EXPECT_EQ(interfaces[1]["NetworkRangeList"][0]["NoOfSubnets"], 13);
}

}  // namespace
