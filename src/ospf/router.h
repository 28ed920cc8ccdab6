// The OSPFv2 server of a port and the emulated routers it holds, and the
// port's OSPF configuration as the chassis keeps it.
#pragma once

#include <string>
#include <vector>

#include "chassis/port.h"
#include "core/collection.h"
#include "core/server.h"
#include "hal/ospf.h"
#include "ospf/interface.h"
#include "ospf/ranges.h"
#include "ospf/user_lsa.h"

namespace zk {

// The OSPF configuration of one port: the HAL server with its routers. Its
// JSON form describes each network range by the grid it generates.
class COspfServer : public chassis::EConfigRoot {
public:
    hal::EOSPFServer server;
    hal::Json ToJson() const override;
};

class TCLOspfRouter : public Object {
public:
    TCLOspfRouter(TCLOspfInterface* pOspfInterface, TCLOspfRouteRange* pOspfRouteRange,
                  TCLOspfUserLsaGroup* pOspfUserLsaGroup);

    std::string routerId;
    int enable;
    int autoGenerateRouterLsa;
    int enableDiscardLearnedLsas;
    int enableGracefulRestart;
    int enableRebuildAdjacency;

    Collection<TCLOspfInterface, hal::EOSPFInterface> interfaces;
    Collection<TCLOspfRouteRange, hal::EOSPFRouteRange> routeRanges;
    Collection<TCLOspfUserLsaGroup, hal::EOSPFUserLSAGroup> userLsaGroups;

    void setDefault();
    int ToRecord(hal::EOSPFRouter& r);
    void FromRecord(const hal::EOSPFRouter& r);
    std::vector<CollectionBase*> childCollections() override { return {&interfaces, &routeRanges, &userLsaGroups}; }

private:
    bool Validate();
    void Copy(const hal::EOSPFRouter& r);
    void setPortFeatures(hal::EOSPFRouter& r) const;

    hal::EOSPFRouter work_;  // the router's own HAL object: its interfaces, ranges and groups
    ItemList interfaceNames_, routeRangeNames_, userLsaGroupNames_;
};

class TCLOspfServer : public PortServer {
public:
    explicit TCLOspfServer(TCLOspfRouter* pOspfRouter);

    Collection<TCLOspfRouter, hal::EOSPFRouter> routers;

    void setDefault() { routers.resetCursor(); }
    // The server has no options of its own: set and get only ask for the port.
    int set() { return ready(); }
    int get() { return currentPort() ? kOk : kNoPort; }
    std::vector<CollectionBase*> childCollections() override { return {&routers}; }

protected:
    chassis::EConfigRoot& configOf(Port& port) override;
};

}  // namespace zk
