// What an IS-IS router advertises besides its circuits: route ranges
// (blocks of IPv4 or IPv6 prefixes) and generated grids of routers, with
// the traffic-engineering paths through a grid.
#pragma once

#include <string>

#include "binding/staged.h"
#include "core/te_options.h"
#include "hal/isis.h"

namespace zk {

class TCLIsisRouteRange : public binding::Staged<TCLIsisRouteRange, hal::EISISRouteRange> {
public:
    TCLIsisRouteRange() { setDefault(); }

    int enable;
    std::string networkIpAddress;  // IPv4 or IPv6: the family of the range
    int prefix;
    int numberOfNetworks;
    int networkStep;
    int metric;
    int routeOrigin;
    int enableUpDownBit;
};

class TCLIsisGridTePath : public binding::Staged<TCLIsisGridTePath, hal::EISISGridTePath> {
public:
    TCLIsisGridTePath() { setDefault(); }

    int enable;
    int sourceRow;
    int sourceColumn;
    int destinationRow;
    int destinationColumn;
    double bandwidth;
    std::string adminGroup;
};

class TCLIsisGrid : public binding::Staged<TCLIsisGrid, hal::EISISGrid>, public TeBandwidths {
public:
    TCLIsisGrid(TCLIsisRouteRange* pIsisRouteRange, TCLIsisGridTePath* pIsisGridTePath);

    int numRows;
    int numColumns;
    int entryPointRow;
    int entryPointColumn;
    std::string firstSystemId;
    std::string systemIdIncrementBy;
    std::string firstRouterId;
    std::string routerIdIncrementBy;
    std::string firstSubnetIpAddress;
    std::string subnetIpIncrementBy;
    int maskWidth;
    int linkType;
    int metric;
    int enableTe;
    int linkMetric;
    std::string adminGroup;
    int numRouters;
    int numLinks;

    // Every node of the grid advertises these ranges.
    ChildList<TCLIsisRouteRange, &hal::EISISGrid::routeRanges> routeRanges;
    ChildList<TCLIsisGridTePath, &hal::EISISGrid::tePaths> tePaths;

    int intoRecordRest(hal::EISISGrid& r);
    void fromRecordRest(const hal::EISISGrid& r);

private:
    void loadCounts(const hal::EISISGrid& r);
};

}  // namespace zk
