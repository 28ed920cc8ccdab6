// TCLProtocolServer: switches the port-level services of one port (ARP and
// ping responders, each protocol's service and interface creation). Each
// method names its port; there is no current port here.
#pragma once

#include <array>
#include <string>

#include "core/object.h"
#include "core/protocols.h"

namespace zk {

class TCLProtocolServer : public Object {
public:
    TCLProtocolServer() { setDefault(); }

    int enableArpResponse;
    int enablePingResponse;
    // Each protocol's service switch and interface-creation switch, by
    // protocol; the options are named by the protocol table.
    std::array<int, kProtocolCount> service{};
    std::array<int, kProtocolCount> createInterface{};
    int arpServerEnable;   // deprecated alias of enableArpResponse
    int pingServerEnable;  // deprecated alias of enablePingResponse
    int repeatCount;       // the rest are kept and not used
    int rate;
    std::string MacAddress;
    std::string IpAddress;
    int count;
    int mapType;

    void setDefault();
    int set(int chasID, int cardID, int portID);
    int get(int chasID, int cardID, int portID);
    int write(int chasID, int cardID, int portID);
    // The host interface: a start/stop/transmit command code to the port,
    // and the statistics switch of one protocol (by name) on the port.
    int sendCommand(int chasID, int cardID, int portID, int command);
    int enableStatistics(int chasID, int cardID, int portID, std::string protocol, int enable);

private:
    bool Validate();
};

}  // namespace zk
