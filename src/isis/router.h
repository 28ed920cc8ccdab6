// The IS-IS server of a port and the emulated routers it holds.
#pragma once

#include <string>
#include <vector>

#include "binding/staged.h"
#include "core/learned.h"
#include "core/port_server.h"
#include "hal/isis.h"
#include "isis/interface.h"
#include "isis/learned.h"
#include "isis/ranges.h"

namespace zk {

class TCLIsisRouter : public binding::Staged<TCLIsisRouter, hal::EISISRouter> {
public:
    TCLIsisRouter(TCLIsisInterface* pIsisInterface, TCLIsisRouteRange* pIsisRouteRange, TCLIsisGrid* pIsisGrid,
                  TCLIsisLearnedLsp* pIsisLearnedLsp);

    int enable;
    std::string systemId;
    std::string areaAddresses;
    int level;
    int enableDynamicHostname;
    std::string hostname;
    int enableWideMetric;
    int enableTrafficEngineering;
    std::string teRouterId;
    int enableOverloadBit;
    int enableAttachedBit;
    int lspRefreshInterval;
    int lspMaxLifetime;
    int areaAuthType;
    std::string areaPassword;
    int domainAuthType;
    std::string domainPassword;
    int gracefulRestartMode;
    int gracefulRestartVersion;
    int gracefulRestartTime;
    int numberOfLearnedLsps;

    ChildList<TCLIsisInterface, &hal::EISISRouter::interfaces> interfaces;
    ChildList<TCLIsisRouteRange, &hal::EISISRouter::routeRanges> routeRanges;
    ChildList<TCLIsisGrid, &hal::EISISRouter::grids> grids;

    // The LSPs the router learned (its description declares the methods).
    LearnedWalk<hal::EISISLearnedLSP, TCLIsisLearnedLsp> learnedLsps;

    void setDefault();

    void FromRecord(const hal::EISISRouter& r);
    int intoRecordRest(hal::EISISRouter& r);

private:
    void forgetLearned();

};

class TCLIsisServer : public RouterServer<hal::EISISServer, TCLIsisRouter, &hal::EISISServer::routers, Protocol::Isis> {
public:
    using RouterServer::RouterServer;
};

}  // namespace zk
