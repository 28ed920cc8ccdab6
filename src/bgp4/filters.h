// Which learned routes a neighbor keeps (its route filter and prefix
// filters), and its internal sessions (the internal table and its peers).
#pragma once

#include <string>

#include "binding/staged.h"
#include "hal/bgp.h"

namespace zk {

class TCLBgp4PrefixFilter : public binding::Staged<TCLBgp4PrefixFilter, hal::EBGP::ConfigPrefixFilter> {
public:
    TCLBgp4PrefixFilter() { setDefault(); }

    int enable;
    int family;
    std::string networkAddress;
    int prefixLength;
    int enableExactMatch;
};

class TCLBgp4RouteFilter : public binding::Staged<TCLBgp4RouteFilter, hal::EBGP::ConfigRouteFilter> {
public:
    TCLBgp4RouteFilter() { setDefault(); }

    int enable;
    int family;
    int enablePrefixFilters;
    int maxRoutes;
};

class TCLBgp4InternalNeighborItem
    : public binding::Staged<TCLBgp4InternalNeighborItem, hal::EBGP::ConfigInternalNeighborItem> {
public:
    TCLBgp4InternalNeighborItem() { setDefault(); }

    int enable;
    std::string dutIpAddress;
};

class TCLBgp4InternalTable : public binding::Staged<TCLBgp4InternalTable, hal::EBGP::ConfigInternalTable> {
public:
    explicit TCLBgp4InternalTable(TCLBgp4InternalNeighborItem* pInternalNeighborItem);

    int enable;
    int retries;
    int retryDelay;
    int enableActiveConnect;
    int enableEstablishOnce;

    ChildList<TCLBgp4InternalNeighborItem, &hal::EBGP::ConfigInternalTable::peers> neighborItems;
};

}  // namespace zk
