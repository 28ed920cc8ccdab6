// What a neighbor learns from the port: the routes the device under test
// advertised to it, and its session statistics.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "binding/staged.h"
#include "core/learned.h"
#include "hal/bgp.h"

namespace zk {

// `zkchassis::learn bgpRoutes` and `bgpStats` file their lists under these
// kinds, per DUT address in its normal text form (as a stored neighbor's
// DUT address reads).
inline constexpr const char* kBgpRoutesKind = "bgpRoutes";
inline constexpr const char* kBgpStatsKind = "bgpStats";

// Statistic values by selector (bgpOurIP 0 .. bgpRoutesReceivedBeforeStaleTimerExpired 70).
using LearnedBgpStats = LearnedStatistics;
inline constexpr int kLastStatistic = 70;

// One learned route, read-only to scripts.
class TCLBgp4LearnedRoute : public binding::Staged<TCLBgp4LearnedRoute, hal::EBGP::LearnedRoute> {
public:
    TCLBgp4LearnedRoute() { setDefault(); }

    int family;
    std::string networkAddress;
    int prefixLength;
    std::string nextHopIpAddress;
    int origin;
    std::string asPath;
    unsigned localPref;
    unsigned med;
    std::string communities;
    int label;
    std::string routeDistinguisher;
    std::string routeTargets;
};

// Whether a route passes a neighbor's route filter and prefix filters.
bool keepsRoute(const hal::EBGP::ConfigNeighbor& n, const hal::EBGP::LearnedRoute& route);

}  // namespace zk
