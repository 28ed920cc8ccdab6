#include "services/protocol_server.h"

#include "binding/describe.h"
#include "core/host.h"
#include "core/port.h"

namespace zk {
namespace {

using chassis::Protocol;

// Each protocol's service option, in the order the port services walk them.
// The RSVP-TE and STP holders take a flag (any non-zero value is 1); the
// others take the value as it stands.
struct ServiceField {
    Protocol protocol;
    int TCLProtocolServer::*enable;
    bool flag = false;
};
const ServiceField kServices[] = {
    {Protocol::Igmp, &TCLProtocolServer::enableIgmpQueryResponse},
    {Protocol::Ospf, &TCLProtocolServer::enableOspfService},
    {Protocol::Bgp4, &TCLProtocolServer::enableBgp4Service},
    {Protocol::Isis, &TCLProtocolServer::enableIsisService},
    {Protocol::Rsvp, &TCLProtocolServer::enableRsvpService, true},
    {Protocol::Rip, &TCLProtocolServer::enableRipService},
    {Protocol::Ldp, &TCLProtocolServer::enableLdpService},
    {Protocol::Ripng, &TCLProtocolServer::enableRipngService},
    {Protocol::Mld, &TCLProtocolServer::enableMldService},
    {Protocol::OspfV3, &TCLProtocolServer::enableOspfV3Service},
    {Protocol::Pimsm, &TCLProtocolServer::enablePimsmService},
    {Protocol::Stp, &TCLProtocolServer::enableStpService, true},
};
const ServiceField kCreateInterface[] = {
    {Protocol::Bgp4, &TCLProtocolServer::enableBgp4CreateInterface},
    {Protocol::Isis, &TCLProtocolServer::enableIsisCreateInterface},
    {Protocol::Ospf, &TCLProtocolServer::enableOspfCreateInterface},
    {Protocol::Rip, &TCLProtocolServer::enableRipCreateInterface},
    {Protocol::Rsvp, &TCLProtocolServer::enableRsvpCreateInterface},
    {Protocol::Igmp, &TCLProtocolServer::enableIgmpCreateInterface},
};

void warnDeprecated(const char* parameter) {
    hostLog(formatText("********* Warning - deprecated parameter TCLProtocolServer.%s configured.", parameter));
}

}  // namespace

void TCLProtocolServer::setDefault() {
    for (const auto& s : kServices) this->*s.enable = 0;
    enableArpResponse = enablePingResponse = 0;
    for (const auto& s : kCreateInterface) this->*s.enable = 1;
    arpServerEnable = pingServerEnable = repeatCount = rate = count = mapType = -1;
    MacAddress.clear();
    IpAddress.clear();
}

bool TCLProtocolServer::Validate() {
    if (arpServerEnable != -1) {
        enableArpResponse = arpServerEnable;
        arpServerEnable = -1;
        warnDeprecated("arpServerEnable");
    }
    if (pingServerEnable != -1) {
        enablePingResponse = pingServerEnable;
        warnDeprecated("pingServerEnable");
        arpServerEnable = -1;  // pingServerEnable stays set, so every later set warns again
    }
    return true;
}

int TCLProtocolServer::set(int c, int d, int p) {
    Port* port = findPort(c, d, p);
    if (!port || !port->available) return kNoPort;
    if (!Validate()) return kInvalid;
    if (port->hasCapability(chassis::kCapabilityArp)) port->arpResponse = enableArpResponse;
    if (port->hasCapability(chassis::kCapabilityPing)) port->pingResponse = enablePingResponse;
    if (port->hasCapability(chassis::kCapabilityRouting)) {
        for (const auto& s : kServices)
            if (port->isLicensed(s.protocol)) {
                int v = this->*s.enable;
                port->holder(s.protocol).serviceEnabled = s.flag ? v != 0 : v;
            }
        for (const auto& s : kCreateInterface) port->holder(s.protocol).createInterface = this->*s.enable;
    }
    return kOk;
}

int TCLProtocolServer::get(int c, int d, int p) {
    Port* port = findPort(c, d, p);
    if (!port) return kNoPort;
    setDefault();
    enableArpResponse = port->arpResponse;
    enablePingResponse = port->pingResponse;
    for (const auto& s : kServices) this->*s.enable = port->holder(s.protocol).serviceEnabled;
    for (const auto& s : kCreateInterface) this->*s.enable = port->holder(s.protocol).createInterface;
    return kOk;
}

int TCLProtocolServer::write(int c, int d, int p) {
    Port* port = findPort(c, d, p);
    if (!port || !port->available) {
        setLastError("TCLProtocolServer::write() Port not available");
        return kNoPort;
    }
    port->send("services", port->servicesJson());
    return kOk;
}

// The command codes name their protocol, so one method of the port-level
// class serves every protocol, those added later included.
int TCLProtocolServer::sendCommand(int c, int d, int p, int command) { return sendPortCommand(c, d, p, command); }

int TCLProtocolServer::enableStatistics(int c, int d, int p, std::string protocol, int enable) {
    return enablePortStatistics(c, d, p, protocol, enable);
}

static binding::Describe<TCLProtocolServer> describeProtocolServer("TCLProtocolServer", [](auto& c) {
    using T = TCLProtocolServer;
    c.constructor();
    c.option("enableArpResponse", &T::enableArpResponse);
    c.option("enablePingResponse", &T::enablePingResponse);
    c.option("enableIgmpQueryResponse", &T::enableIgmpQueryResponse);
    c.option("enableOspfService", &T::enableOspfService);
    c.option("enableBgp4Service", &T::enableBgp4Service);
    c.option("enableIsisService", &T::enableIsisService);
    c.option("enableRsvpService", &T::enableRsvpService);
    c.option("enableRipService", &T::enableRipService);
    c.option("enableLdpService", &T::enableLdpService);
    c.option("enableRipngService", &T::enableRipngService);
    c.option("enableMldService", &T::enableMldService);
    c.option("enableOspfV3Service", &T::enableOspfV3Service);
    c.option("enablePimsmService", &T::enablePimsmService);
    c.option("enableStpService", &T::enableStpService);
    c.option("enableBgp4CreateInterface", &T::enableBgp4CreateInterface);
    c.option("enableIsisCreateInterface", &T::enableIsisCreateInterface);
    c.option("enableOspfCreateInterface", &T::enableOspfCreateInterface);
    c.option("enableRipCreateInterface", &T::enableRipCreateInterface);
    c.option("enableRsvpCreateInterface", &T::enableRsvpCreateInterface);
    c.option("enableIgmpCreateInterface", &T::enableIgmpCreateInterface);
    c.option("arpServerEnable", &T::arpServerEnable);
    c.option("pingServerEnable", &T::pingServerEnable);
    c.option("repeatCount", &T::repeatCount);
    c.option("rate", &T::rate);
    c.option("MacAddress", &T::MacAddress).maxChars(63);
    c.option("IpAddress", &T::IpAddress).maxChars(63);
    c.option("count", &T::count);
    c.option("mapType", &T::mapType);
    c.method("setDefault", &T::setDefault);
    c.method("set", &T::set, "chasID", "cardID", "portID");
    c.method("get", &T::get, "chasID", "cardID", "portID");
    c.method("write", &T::write, "chasID", "cardID", "portID");
    c.method("sendCommand", &T::sendCommand, "chasID", "cardID", "portID", "command");
    c.method("enableStatistics", &T::enableStatistics, "chasID", "cardID", "portID", "protocol", "enable");
});

}  // namespace zk
