// One circuit of an emulated IS-IS router: addressing (IPv4 and IPv6),
// network type, level, metric, hello timing, DIS priority, circuit
// authentication and traffic-engineering link data.
#pragma once

#include <string>

#include "binding/staged.h"
#include "core/te_options.h"
#include "hal/isis.h"

namespace zk {

class TCLIsisInterface : public binding::Staged<TCLIsisInterface, hal::EISISInterface>, public TeBandwidths {
public:
    TCLIsisInterface() { setDefault(); }

    int enable;
    int connectToDut;  // 0: the circuit leads into the router's grids
    std::string ipAddress;
    std::string ipMask;
    std::string ipV6Address;
    int ipV6PrefixLength;
    int networkType;
    int level;
    int metric;
    int helloInterval;
    int holdMultiplier;
    int priority;
    int circuitAuthType;
    std::string circuitPassword;
    int enableTrafficEngineering;
    int linkMetric;
    std::string adminGroup;
    std::string protocolInterfaceDescription;

    int intoRecordRest(hal::EISISInterface& r);
    void fromRecordRest(const hal::EISISInterface& r) { loadBandwidths(r.te); }
};

}  // namespace zk
