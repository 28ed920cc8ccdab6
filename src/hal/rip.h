// RIP (IPv4) and RIPng (IPv6) configuration records: the port's server, the
// emulated routers, RIPng's protocol interfaces, and the route ranges a
// router advertises. Defaults follow common RIP practice: a full table
// every 30 s with a few seconds of jitter, one hop per advertised route.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "chassis/port.h"
#include "hal/basic.h"

namespace hal {

// A block of networks a router advertises; what RIP and RIPng share.
class EAnyIpRouteRange : public ERecord {
public:
    bool IsEnabled() const { return enabled_; }
    void SetEnabled(bool v) { enabled_ = v; }
    // The route tag is 16 bits on the wire.
    uint16_t GetRouteTag() const { return routeTag_; }
    void SetRouteTag(uint16_t v) { routeTag_ = v; }
    const EIPAddress& GetNetworkNumber() const { return network_; }
    void SetNetworkNumber(const EIPAddress& a) { network_ = a; }
    int GetMask() const { return mask_; }  // prefix length
    void SetMask(int v) { mask_ = v; }
    int GetNumberOfRoutes() const { return numberOfRoutes_; }
    void SetNumberOfRoutes(int v) { numberOfRoutes_ = v; }
    const EIPAddress& GetNextHop() const { return nextHop_; }
    void SetNextHop(const EIPAddress& a) { nextHop_ = a; }

protected:
    EAnyIpRouteRange(EIPAddress anyAddress, int mask)
        : network_(anyAddress), mask_(mask), nextHop_(anyAddress) {}

private:
    bool enabled_ = true;
    uint16_t routeTag_ = 0;
    EIPAddress network_;
    int mask_;
    int numberOfRoutes_ = 1;
    EIPAddress nextHop_;  // the any-address: the router itself
};

class ERIPRouteRange : public EAnyIpRouteRange {
public:
    ERIPRouteRange() : EAnyIpRouteRange(EIPAddress::FromV4(0), 24) {}
    uint32_t GetMetric() const { return metric_; }
    void SetMetric(uint32_t v) { metric_ = v; }

private:
    uint32_t metric_ = 1;
};

class ERIPRouter : public ERecord {
public:
    ERIPRouter() : address_(EIPAddress::FromV4(0), 24) {}

    bool IsEnabled() const { return enabled_; }
    void SetEnabled(bool v) { enabled_ = v; }
    const EIPMaskedAddress& GetIPAddress() const { return address_; }
    void SetIPAddress(const EIPMaskedAddress& a) { address_ = a; }
    // 0 default, 1 split horizon, 2 poison reverse, 3 split horizon space
    // saver, 4 silent.
    int GetResponseMode() const { return responseMode_; }
    void SetResponseMode(int v) { responseMode_ = v; }
    // 0 multicast, 1 broadcast version 1, 2 broadcast version 2.
    int GetSendType() const { return sendType_; }
    void SetSendType(int v) { sendType_ = v; }
    // 0 none, 1 version 1, 2 version 2, 3 both.
    int GetReceiveType() const { return receiveType_; }
    void SetReceiveType(int v) { receiveType_ = v; }
    // A router asks its neighbours for their whole table when it starts.
    bool IsGeneralRequestEnabled() const { return generalRequest_; }
    void EnableGeneralRequest(bool v) { generalRequest_ = v; }
    bool IsAuthorizationEnabled() const { return authorization_; }
    void EnableAuthorization(bool v) { authorization_ = v; }
    const std::string& GetAuthorizationPassword() const { return password_; }
    void SetAuthorizationPassword(std::string v) { password_ = std::move(v); }
    uint32_t GetUpdateInterval() const { return updateInterval_; }  // seconds
    void SetUpdateInterval(uint32_t v) { updateInterval_ = v; }
    uint32_t GetUpdateIntervalOffset() const { return updateIntervalOffset_; }  // seconds of jitter
    void SetUpdateIntervalOffset(uint32_t v) { updateIntervalOffset_ = v; }
    // The port's protocol interface the router runs on; none until set.
    std::optional<int> GetInterfaceId() const { return interfaceId_; }
    void SetInterfaceId(int v) { interfaceId_ = v; }
    void ClearInterfaceId() { interfaceId_.reset(); }

    const RecordList<ERIPRouteRange>& GetRouteRanges() const { return routeRanges_; }
    RecordList<ERIPRouteRange>& RouteRanges() { return routeRanges_; }

private:
    bool enabled_ = true;
    EIPMaskedAddress address_;
    int responseMode_ = 0;
    int sendType_ = 0;
    int receiveType_ = 3;
    bool generalRequest_ = true;
    bool authorization_ = false;
    std::string password_;
    uint32_t updateInterval_ = 30;
    uint32_t updateIntervalOffset_ = 5;
    std::optional<int> interfaceId_;
    RecordList<ERIPRouteRange> routeRanges_;
};

// The RIP configuration of one port.
class ERIPServer : public chassis::EConfigRoot {
public:
    const RecordList<ERIPRouter>& GetRouters() const { return routers_; }
    RecordList<ERIPRouter>& Routers() { return routers_; }
    Json ToJson() const override;

private:
    RecordList<ERIPRouter> routers_;
};

class ERIPngRouteRange : public EAnyIpRouteRange {
public:
    ERIPngRouteRange() : EAnyIpRouteRange(EIPAddress::FromV6({}), 64) {}
    // The equipment keeps 16 bits of the metric.
    uint16_t GetMetric() const { return metric_; }
    void SetMetric(uint16_t v) { metric_ = v; }
    uint32_t GetStep() const { return step_; }  // between generated prefixes
    void SetStep(uint32_t v) { step_ = v; }
    bool GetExcludeLoopback() const { return excludeLoopback_; }
    void SetExcludeLoopback(bool v) { excludeLoopback_ = v; }
    bool GetExcludeMulticast() const { return excludeMulticast_; }
    void SetExcludeMulticast(bool v) { excludeMulticast_ = v; }

private:
    uint16_t metric_ = 1;
    uint32_t step_ = 1;
    bool excludeLoopback_ = false;
    bool excludeMulticast_ = false;
};

class ERIPngInterface : public ERecord {
public:
    bool IsEnabled() const { return enabled_; }
    void SetEnabled(bool v) { enabled_ = v; }
    // 0 split horizon, 1 no split horizon, 2 poison reverse.
    int GetResponseMode() const { return responseMode_; }
    void SetResponseMode(int v) { responseMode_ = v; }
    // Cost added to routes learned over this interface.
    uint32_t GetInterfaceMetric() const { return interfaceMetric_; }
    void SetInterfaceMetric(uint32_t v) { interfaceMetric_ = v; }
    std::optional<int> GetInterfaceId() const { return interfaceId_; }
    void SetInterfaceId(int v) { interfaceId_ = v; }
    void ClearInterfaceId() { interfaceId_.reset(); }

private:
    bool enabled_ = true;
    int responseMode_ = 0;
    uint32_t interfaceMetric_ = 1;
    std::optional<int> interfaceId_;
};

class ERIPngRouter : public ERecord {
public:
    bool IsEnabled() const { return enabled_; }
    void SetEnabled(bool v) { enabled_ = v; }
    uint32_t GetRouterId() const { return routerId_; }
    void SetRouterId(uint32_t v) { routerId_ = v; }
    // 0 ignore received routes, 1 store them.
    int GetReceiveType() const { return receiveType_; }
    void SetReceiveType(int v) { receiveType_ = v; }
    uint32_t GetUpdateInterval() const { return updateInterval_; }
    void SetUpdateInterval(uint32_t v) { updateInterval_ = v; }
    uint32_t GetUpdateIntervalOffset() const { return updateIntervalOffset_; }
    void SetUpdateIntervalOffset(uint32_t v) { updateIntervalOffset_ = v; }
    // Whether the interfaces' metrics are added to advertised routes.
    bool IsInterfaceMetricEnabled() const { return interfaceMetric_; }
    void EnableInterfaceMetric(bool v) { interfaceMetric_ = v; }

    const RecordList<ERIPngRouteRange>& GetRouteRanges() const { return routeRanges_; }
    RecordList<ERIPngRouteRange>& RouteRanges() { return routeRanges_; }
    const RecordList<ERIPngInterface>& GetInterfaces() const { return interfaces_; }
    RecordList<ERIPngInterface>& Interfaces() { return interfaces_; }

private:
    bool enabled_ = true;
    uint32_t routerId_ = 0;
    int receiveType_ = 1;
    uint32_t updateInterval_ = 30;
    uint32_t updateIntervalOffset_ = 5;
    bool interfaceMetric_ = true;
    RecordList<ERIPngRouteRange> routeRanges_;
    RecordList<ERIPngInterface> interfaces_;
};

// The RIPng configuration of one port. Update pacing: at most
// NumberOfRoutes routes per TimePeriod milliseconds; 0 sends without pause.
class ERIPngServer : public chassis::EConfigRoot {
public:
    uint32_t GetNumberOfRoutes() const { return numberOfRoutes_; }
    void SetNumberOfRoutes(uint32_t v) { numberOfRoutes_ = v; }
    uint32_t GetTimePeriod() const { return timePeriod_; }
    void SetTimePeriod(uint32_t v) { timePeriod_ = v; }
    const RecordList<ERIPngRouter>& GetRouters() const { return routers_; }
    RecordList<ERIPngRouter>& Routers() { return routers_; }
    Json ToJson() const override;

private:
    uint32_t numberOfRoutes_ = 0;
    uint32_t timePeriod_ = 0;
    RecordList<ERIPngRouter> routers_;
};

void to_json(Json& j, const ERIPRouteRange& r);
void to_json(Json& j, const ERIPRouter& r);
void to_json(Json& j, const ERIPServer& s);
void to_json(Json& j, const ERIPngRouteRange& r);
void to_json(Json& j, const ERIPngInterface& i);
void to_json(Json& j, const ERIPngRouter& r);
void to_json(Json& j, const ERIPngServer& s);

}  // namespace hal
