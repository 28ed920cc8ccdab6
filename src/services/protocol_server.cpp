#include "services/protocol_server.h"

#include "binding/describe.h"
#include "core/host.h"
#include "core/port.h"

namespace zk {
namespace {


// The options of a protocol's switches: row I of the protocol table.
template <size_t I>
int getService(const TCLProtocolServer& s) {
    return s.service[I];
}
template <size_t I>
void setService(TCLProtocolServer& s, int v) {
    s.service[I] = v;
}
template <size_t I>
int getCreateInterface(const TCLProtocolServer& s) {
    return s.createInterface[I];
}
template <size_t I>
void setCreateInterface(TCLProtocolServer& s, int v) {
    s.createInterface[I] = v;
}

template <class C, size_t... I>
void describeSwitches(C& c, std::index_sequence<I...>) {
    auto rows = protocolTable();
    (c.option(rows[I].serviceOption, &getService<I>, &setService<I>), ...);
    // The interface-creation switches stand in the order of their ranks.
    for (int rank = 0; rank < kProtocolCount; ++rank)
        ((rows[I].createOption && rows[I].createRank == rank
              ? (void)c.option(rows[I].createOption, &getCreateInterface<I>, &setCreateInterface<I>)
              : (void)0),
         ...);
}

void warnDeprecated(const char* parameter) {
    hostLog(formatText("********* Warning - deprecated parameter TCLProtocolServer.%s configured.", parameter));
}

}  // namespace

void TCLProtocolServer::setDefault() {
    service.fill(0);
    enableArpResponse = enablePingResponse = 0;
    createInterface.fill(1);
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
    if (port->hasCapability(kCapabilityArp)) port->arpResponse = enableArpResponse;
    if (port->hasCapability(kCapabilityPing)) port->pingResponse = enablePingResponse;
    if (port->hasCapability(kCapabilityRouting)) {
        for (const ProtocolRow& r : protocolTable()) {
            Holder& h = port->holder(r.protocol);
            int v = service[size_t(r.protocol)];
            if (port->isLicensed(r.protocol)) h.serviceEnabled = r.serviceFlag ? v != 0 : v;
            if (r.createOption) h.createInterface = createInterface[size_t(r.protocol)];
        }
    }
    return kOk;
}

int TCLProtocolServer::get(int c, int d, int p) {
    Port* port = findPort(c, d, p);
    if (!port) return kNoPort;
    setDefault();
    enableArpResponse = port->arpResponse;
    enablePingResponse = port->pingResponse;
    for (const ProtocolRow& r : protocolTable()) {
        service[size_t(r.protocol)] = port->holder(r.protocol).serviceEnabled;
        if (r.createOption) createInterface[size_t(r.protocol)] = port->holder(r.protocol).createInterface;
    }
    return kOk;
}

int TCLProtocolServer::write(int c, int d, int p) {
    Port* port = findPort(c, d, p);
    if (!port || !port->available) {
        setLastError("TCLProtocolServer::write() Port not available");
        return kNoPort;
    }
    port->sendServices();
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
    describeSwitches(c, std::make_index_sequence<kProtocolCount>{});
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
