// One emulated BGP-4 peer: its session (addresses, AS, timers, TCP MD5,
// graceful restart, link flap), the address families it negotiates, and
// the named lists of what it advertises.
#pragma once

#include <string>

#include <functional>

#include "binding/staged.h"
#include "bgp4/filters.h"
#include "bgp4/l3vpn.h"
#include "bgp4/learned.h"
#include "core/learned.h"
#include "bgp4/routes.h"
#include "hal/bgp.h"

namespace zk {

// The names of another object's list, kept with a parent's stored records
// as if they were the parent's own; never emptied by the parent's add.
class BorrowedNames : public CollectionBase {
public:
    explicit BorrowedNames(std::function<CollectionBase*()> list) : list_(std::move(list)) {}
    ItemList snapshot() override;
    void restore(const ItemList& names) override;
    void clearQuiet() override {}
    void resetCursor() override;

private:
    std::function<CollectionBase*()> list_;
};

// The route filter and the internal table are single staging objects: a
// neighbor takes them over at each conversion and loads them back with
// itself, the table together with the names of its peers.
class TCLBgp4Neighbor : public binding::Staged<TCLBgp4Neighbor, hal::EBGP::ConfigNeighbor> {
public:
    TCLBgp4Neighbor(TCLBgp4RouteRange* pBgpRouteRange, TCLBgp4L3Site* pL3Site, TCLBgp4MplsRouteRange* pMplsRouteRange,
                    TCLBgp4PrefixFilter* pPrefixFilter, TCLBgp4RouteFilter* pRouteFilter,
                    TCLBgp4InternalTable* pInternalTable, TCLBgp4LearnedRoute* pLearnedRoute);

    int type;
    int enable;
    int addressType;
    std::string localIpAddress;
    std::string dutIpAddress;
    int localAsNum;
    int asNumMode;
    int asNumStep;
    std::string bgpId;
    int holdTime;
    int keepAlive;
    int updateInterval;
    int ttl;
    std::string md5Key;
    int enableGracefulRestart;
    int restartTime;
    int staleTime;
    int enableLinkFlap;
    int linkFlapUpTime;
    int linkFlapDownTime;
    int enableIpV4Unicast;
    int enableIpV4Multicast;
    int enableIpV4Mpls;
    int enableIpV4MplsVpn;
    int enableIpV6Unicast;
    int enableIpV6Multicast;
    int enableIpV6Mpls;
    int enableIpV6MplsVpn;
    int numberOfLearnedRoutes;
    std::string statisticValue;

    void setDefault();
    // Statistics: requested as the learned routes are; one value by its selector.
    int requestStatistics();
    int getStatistic(int selector);

    ChildList<TCLBgp4RouteRange, &hal::EBGP::ConfigNeighbor::routeRanges> routeRanges;
    ChildList<TCLBgp4L3Site, &hal::EBGP::ConfigNeighbor::l3Sites> l3Sites;
    ChildList<TCLBgp4MplsRouteRange, &hal::EBGP::ConfigNeighbor::mplsRouteRanges> mplsRouteRanges;
    ChildList<TCLBgp4PrefixFilter, &hal::EBGP::ConfigNeighbor::prefixFilters> prefixFilters;

    // The routes the neighbor learned: what passes its filters, up to the
    // route filter's limit (the description declares the methods).
    LearnedWalk<hal::EBGP::LearnedRoute, TCLBgp4LearnedRoute> learnedRoutes;

    void FromRecord(const hal::EBGP::ConfigNeighbor& r);
    int intoRecordRest(hal::EBGP::ConfigNeighbor& r);
    void fromRecordRest(const hal::EBGP::ConfigNeighbor& r);

private:
    void setFamilies(hal::EBGP::ConfigNeighbor& r) const;
    void forgetLearned();

    Ref<TCLBgp4RouteFilter> routeFilter_;
    Ref<TCLBgp4InternalTable> internalTable_;
    BorrowedNames internalPeerNames_;

    LearnedReply<LearnedBgpStats> statsReply_;
};

}  // namespace zk
