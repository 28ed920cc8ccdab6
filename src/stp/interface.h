// One port of an emulated bridge, and the LAN of hosts behind one.
#pragma once

#include <string>

#include "binding/staged.h"
#include "hal/stp.h"

namespace zk {

class TCLStpInterface : public binding::Staged<TCLStpInterface, hal::EStpInterface> {
public:
    TCLStpInterface() { setDefault(); }

    int enable;
    int portNumber;
    int portPriority;
    int pathCost;
    int linkType;
    int enableEdgePort;
};

class TCLStpLan : public binding::Staged<TCLStpLan, hal::EStpLan> {
public:
    TCLStpLan() { setDefault(); }

    int enable;
    int portNumber;
    std::string firstMac;
    int count;
    int vlanId;
};

}  // namespace zk
