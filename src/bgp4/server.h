// The BGP-4 server of a port: the connection settings of its internal and
// external peers, and its neighbors per port.
#pragma once

#include "bgp4/neighbor.h"
#include "core/port_server.h"
#include "hal/bgp.h"

namespace zk {

class TCLBgp4Server : public Server<hal::EBGPServer> {
public:
    explicit TCLBgp4Server(TCLBgp4Neighbor* pBgpNeighbor);

    unsigned internalLocalAsNum;
    unsigned internalRetries;
    unsigned internalRetryDelay;
    int enableInternalActiveConnect;
    int enableInternalEstablishOnce;
    unsigned externalRetries;
    unsigned externalRetryDelay;
    int enableExternalActiveConnect;
    int enableExternalEstablishOnce;

    ServerList<TCLBgp4Neighbor, &hal::EBGPServer::neighbors> neighbors;

    void setDefault();
    // 0; 100 without a usable port. The options are taken as they stand.
    int set();
    // 0; 100 without a current port.
    int get();
};

}  // namespace zk
