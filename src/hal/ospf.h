// OSPFv2 configuration records of the open HAL: router, interface, route
// and network ranges, traffic-engineering data, user LSA groups and LSAs,
// and the port-level server that holds the routers.
//
// Fields are as wide as OSPF carries them: a router priority and the
// options field are one byte, the hello interval and an interface cost are
// 16 bits, summary and external metrics 24 bits. Defaults are the usual
// ones of a broadcast interface (hello 10 s, dead 40 s, priority 1, MTU 1500).
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "hal/basic.h"

namespace hal {

// Link data of traffic engineering (the link TLV's sub-TLVs); bandwidths
// are in bytes per second as on the wire.
class ETrafficEngineeringData {
public:
    double GetMaxBandwidth() const { return maxBandwidth_; }
    double GetMaxReservableBandwidth() const { return maxReservableBandwidth_; }
    uint32_t GetMetric() const { return metric_; }
    const EBlob& GetAdministrativeGroup() const { return adminGroup_; }
    double GetUnreservedBandwidth(int priority) const { return unreserved_.at(size_t(priority)); }
    const std::array<double, 8>& GetUnreservedBandwidths() const { return unreserved_; }

    void SetMaxBandwidth(double v) { maxBandwidth_ = v; }
    void SetMaxReservableBandwidth(double v) { maxReservableBandwidth_ = v; }
    void SetMetric(uint32_t v) { metric_ = v; }
    void SetAdministrativeGroup(const EBlob& b) { adminGroup_ = b; }
    void SetUnreservedBandwidth(int priority, double v) { unreserved_.at(size_t(priority)) = v; }

    bool operator==(const ETrafficEngineeringData&) const = default;

private:
    static constexpr double kGigabit = 125000000.0;  // 1 Gbit/s in bytes per second
    double maxBandwidth_ = kGigabit;
    double maxReservableBandwidth_ = kGigabit;
    uint32_t metric_ = 0;
    EBlob adminGroup_{std::vector<uint8_t>(4, 0)};
    std::array<double, 8> unreserved_{kGigabit, kGigabit, kGigabit, kGigabit,
                                      kGigabit, kGigabit, kGigabit, kGigabit};
};

// An emulated grid of routers and subnets behind an interface.
class EOSPFNetworkRange : public ERecord {
public:
    // Limit key of the port: a positive key caps the count, 0 or -1 none.
    void SetNumberOfRows(int n, int key) { rows_ = capped(n, key); }
    void SetNumberOfCols(int n, int key) { cols_ = capped(n, key); }
    int GetNumberOfRows() const { return rows_; }
    int GetNumberOfCols() const { return cols_; }
    void SetEntryPoint(int row, int col) {
        entryRow_ = row;
        entryCol_ = col;
    }
    int GetEntryPointRow() const { return entryRow_; }
    int GetEntryPointColumn() const { return entryCol_; }

    void SetFirstRouterID(const EIPAddress& a) { firstRouterId_ = a; }
    const EIPAddress& GetFirstRouterID() const { return firstRouterId_; }
    void SetRouterIDIncrement(uint32_t step) { routerIdStep_ = step; }
    uint32_t GetRouterIDIncrement() const { return routerIdStep_; }
    void SetFirstSubnetIPAddress(const EIPMaskedAddress& a) { firstSubnet_ = a; }
    const EIPMaskedAddress& GetFirstSubnetIPAddress() const { return firstSubnet_; }
    void SetSubnetIncrement(uint32_t step) { subnetStep_ = step; }
    uint32_t GetSubnetIncrement() const { return subnetStep_; }
    void SetIncrementAddressFromMask(bool v) { incrementFromMask_ = v; }
    bool GetIncrementAddressFromMask() const { return incrementFromMask_; }

    void SetLinkType(int t) { linkType_ = uint8_t(t); }
    int GetLinkType() const { return linkType_; }
    void SetBitField(int bits) { bits_ = uint8_t(bits); }
    int GetBitField() const { return bits_; }
    void SetRouterLSAAdvertiseLoopback(bool v) { loopback_ = v; }
    bool GetRouterLSAAdvertiseLoopback() const { return loopback_; }
    void SetTEEnabled(bool v) { teEnabled_ = v; }
    bool IsTEEnabled() const { return teEnabled_; }
    void SetTEConfig(const ETrafficEngineeringData& te) { te_ = te; }
    const ETrafficEngineeringData& GetTEConfig() const { return te_; }

    // The grid: rows x columns routers, each joined to its right and lower
    // neighbour by one subnet; every router originates a router LSA and, on
    // broadcast links, every subnet a network LSA.
    // Counts beyond the range of an int are reported as its largest value.
    int CalcNoOfRouters() const { return saturated(routers()); }
    int CalcNoOfSubnets() const { return saturated(subnets()); }
    int CalcNoOfGeneratedLSAs() const { return saturated(routers() + (linkType_ == 0 ? subnets() : 0)); }

private:
    static int capped(int n, int key) { return key > 0 && n > key ? key : n; }
    long long routers() const { return (long long)rows_ * cols_; }
    long long subnets() const {
        if (rows_ <= 0 || cols_ <= 0) return 0;
        return (long long)rows_ * (cols_ - 1) + (long long)cols_ * (rows_ - 1);
    }
    static int saturated(long long v) { return v > INT32_MAX ? INT32_MAX : v < INT32_MIN ? INT32_MIN : int(v); }
    int rows_ = 2, cols_ = 2;
    int entryRow_ = 1, entryCol_ = 1;
    EIPAddress firstRouterId_ = EIPAddress::FromV4(0x0A000001);    // 10.0.0.1
    uint32_t routerIdStep_ = 1;
    EIPMaskedAddress firstSubnet_{EIPAddress::FromV4(0x0A010000), 24};  // 10.1.0.0/24
    uint32_t subnetStep_ = 0x100;
    bool incrementFromMask_ = true;
    uint8_t linkType_ = 0;  // broadcast
    uint8_t bits_ = 0;
    bool loopback_ = false;
    bool teEnabled_ = false;
    ETrafficEngineeringData te_;
};

// What every link-state interface has.
class ELSInterface : public ERecord {
public:
    void SetEnabled(bool v) { enabled_ = v; }
    bool IsEnabled() const { return enabled_; }
    void SetConnectedToDUT(bool v) { connectedToDut_ = v; }
    bool IsConnectedToDUT() const { return connectedToDut_; }
    void SetIPAddress(const EIPAddress& a) { address_ = a; }
    const EIPAddress& GetIPAddress() const { return address_; }
    void SetInterfaceMask(const EIPAddress& a) { mask_ = a; }
    const EIPAddress& GetInterfaceMask() const { return mask_; }
    void SetMetric(int v) { metric_ = uint16_t(v); }  // an interface cost is 16 bits
    int GetMetric() const { return metric_; }
    void SetTEEnabled(bool v) { teEnabled_ = v; }
    bool IsTEEnabled() const { return teEnabled_; }
    void SetTrafficEngineering(const ETrafficEngineeringData& te) { te_ = te; }
    const ETrafficEngineeringData& GetTrafficEngineering() const { return te_; }
    void SetLinkType(int t) { linkType_ = uint8_t(t); }
    int GetLinkType() const { return linkType_; }
    void SetNeighborRouterID(const EIPAddress& a) { neighborRouterId_ = a; }
    const EIPAddress& GetNeighborRouterID() const { return neighborRouterId_; }
    void SetInterfaceId(int id) { interfaceId_ = id; }
    int GetInterfaceId() const { return interfaceId_; }
    void SetInterfaceDescription(std::string d) { interfaceDescription_ = std::move(d); }
    const std::string& GetInterfaceDescription() const { return interfaceDescription_; }

private:
    bool enabled_ = true;
    bool connectedToDut_ = true;
    EIPAddress address_;
    EIPAddress mask_ = EIPAddress::FromV4(0xFFFFFF00);
    uint16_t metric_ = 1;
    bool teEnabled_ = false;
    ETrafficEngineeringData te_;
    uint8_t linkType_ = 2;  // transit, as on a broadcast network
    EIPAddress neighborRouterId_;
    int interfaceId_ = 0;
    std::string interfaceDescription_;
};

class EOSPFInterface : public ELSInterface {
public:
    void SetAreaID(uint32_t v) { area_ = v; }
    uint32_t GetAreaID() const { return area_; }
    void SetPriority(int v) { priority_ = uint8_t(v); }
    int GetPriority() const { return priority_; }
    void SetOptions(int v) { options_ = uint8_t(v); }
    int GetOptions() const { return options_; }
    void SetHelloInterval(int v) { hello_ = uint16_t(v); }
    int GetHelloInterval() const { return hello_; }
    void SetDeadInterval(uint32_t v) { dead_ = v; }
    uint32_t GetDeadInterval() const { return dead_; }
    void SetNetworkType(int v) { networkType_ = uint8_t(v); }
    int GetNetworkType() const { return networkType_; }
    void SetMTU(int v) { mtu_ = uint16_t(v); }
    int GetMTU() const { return mtu_; }
    void SetValidateReceivedMTUSize(bool v) { validateMtu_ = v; }
    bool GetValidateReceivedMTUSize() const { return validateMtu_; }
    void SetAdvertiseNetworkRange(bool v) { advertiseRange_ = v; }
    bool GetAdvertiseNetworkRange() const { return advertiseRange_; }
    void SetAuthenticationMethod(int v) { authMethod_ = uint8_t(v); }
    int GetAuthenticationMethod() const { return authMethod_; }
    void SetMD5AuthenticationKeyId(int v) { md5KeyId_ = uint8_t(v); }
    int GetMD5AuthenticationKeyId() const { return md5KeyId_; }
    void SetAuthenticationPassword(std::string s) { password_ = std::move(s); }
    const std::string& GetAuthenticationPassword() const { return password_; }
    void SetMD5AuthenticationKey(std::string s) { md5Key_ = std::move(s); }
    const std::string& GetMD5AuthenticationKey() const { return md5Key_; }
    void SetNeighborIPAddress(const EIPAddress& a) { neighborIp_ = a; }
    const EIPAddress& GetNeighborIPAddress() const { return neighborIp_; }

    EComponentId AddNetworkRange(EOSPFNetworkRange r) { return ranges_.Add(std::move(r)); }
    RecordList<EOSPFNetworkRange>& GetNetworkRangeList() { return ranges_; }
    const RecordList<EOSPFNetworkRange>& GetNetworkRangeList() const { return ranges_; }

private:
    uint32_t area_ = 0;
    uint8_t priority_ = 1;
    uint8_t options_ = 2;  // E bit: external routes are flooded
    uint16_t hello_ = 10;
    uint32_t dead_ = 40;
    uint8_t networkType_ = 2;  // broadcast
    uint16_t mtu_ = 1500;
    bool validateMtu_ = true;
    bool advertiseRange_ = false;
    uint8_t authMethod_ = 0;
    uint8_t md5KeyId_ = 1;
    std::string password_;
    std::string md5Key_;
    EIPAddress neighborIp_;
    RecordList<EOSPFNetworkRange> ranges_;
};

class EOSPFRouteRange : public ERecord {
public:
    void SetEnabled(bool v) { enabled_ = v; }
    bool IsEnabled() const { return enabled_; }
    void SetOrigin(int v) { origin_ = uint8_t(v); }
    int GetOrigin() const { return origin_; }
    void SetMetric(uint32_t v) { metric_ = v & 0xFFFFFF; }  // summary and external metrics are 24 bits
    uint32_t GetMetric() const { return metric_; }
    void SetNumberOfRoutes(uint32_t v) { routes_ = v; }
    uint32_t GetNumberOfRoutes() const { return routes_; }
    void SetMaskWidth(int v) { maskWidth_ = uint8_t(v); }
    int GetMaskWidth() const { return maskWidth_; }
    void SetNetworkAddress(const EIPAddress& a) { network_ = a; }
    const EIPAddress& GetNetworkAddress() const { return network_; }

private:
    bool enabled_ = true;
    uint8_t origin_ = 0;  // another area
    uint32_t metric_ = 0;
    uint32_t routes_ = 1;
    uint8_t maskWidth_ = 24;
    EIPAddress network_ = EIPAddress::FromV4(0xC0000000);  // 192.0.0.0
};

// One link of a router LSA.
struct EOSPFRouterLink {
    int type = 1;  // point-to-point
    EIPAddress linkId;
    EIPAddress linkData;
    int metric = 1;
    bool operator==(const EOSPFRouterLink&) const = default;
};

// One LSA as the router advertises it: the common header and the body of
// its type. Fields of other types keep their defaults and are not sent.
class EOSPFUserLSA : public ERecord {
public:
    enum Type { kRouter = 1, kNetwork = 2, kSummaryIp = 3, kSummaryAs = 4, kExternal = 5,
                kOpaqueLocal = 9, kOpaqueArea = 10, kOpaqueDomain = 11 };

    // Header.
    void SetType(int t) { type_ = uint8_t(t); }
    int GetType() const { return type_; }
    void SetLinkStateID(const EIPAddress& a) { linkStateId_ = a; }
    const EIPAddress& GetLinkStateID() const { return linkStateId_; }
    void SetAdvertisingRouter(const EIPAddress& a) { advertisingRouter_ = a; }
    const EIPAddress& GetAdvertisingRouter() const { return advertisingRouter_; }
    void SetOptions(int v) { options_ = uint8_t(v); }
    int GetOptions() const { return options_; }
    void SetSequenceNumber(uint32_t v) { sequence_ = v; }
    uint32_t GetSequenceNumber() const { return sequence_; }
    void SetAge(int v) { age_ = uint16_t(v); }
    int GetAge() const { return age_; }

    // Router LSA.
    void SetRouterBits(int v) { routerBits_ = uint8_t(v); }
    int GetRouterBits() const { return routerBits_; }
    void SetRouterLinks(std::vector<EOSPFRouterLink> l) { links_ = std::move(l); }
    const std::vector<EOSPFRouterLink>& GetRouterLinks() const { return links_; }

    // Network, summary and external LSAs.
    void SetNetworkMask(const EIPAddress& a) { mask_ = a; }
    const EIPAddress& GetNetworkMask() const { return mask_; }
    void SetAttachedRouters(std::vector<EIPAddress> l) { attached_ = std::move(l); }
    const std::vector<EIPAddress>& GetAttachedRouters() const { return attached_; }
    void SetMetric(uint32_t v) { metric_ = v & 0xFFFFFF; }
    uint32_t GetMetric() const { return metric_; }
    void SetExternalMetricType(int v) { externalType_ = uint8_t(v); }
    int GetExternalMetricType() const { return externalType_; }
    void SetForwardingAddress(const EIPAddress& a) { forwarding_ = a; }
    const EIPAddress& GetForwardingAddress() const { return forwarding_; }
    void SetExternalRouteTag(uint32_t v) { routeTag_ = v; }
    uint32_t GetExternalRouteTag() const { return routeTag_; }

    // Opaque traffic-engineering LSA: a router address TLV or a link TLV.
    void SetTlvType(int v) { tlvType_ = uint8_t(v); }
    int GetTlvType() const { return tlvType_; }
    void SetRouterAddress(const EIPAddress& a) { routerAddress_ = a; }
    const EIPAddress& GetRouterAddress() const { return routerAddress_; }
    void SetTlvLinkType(int v) { tlvLinkType_ = uint8_t(v); }
    int GetTlvLinkType() const { return tlvLinkType_; }
    void SetTlvLinkID(const EIPAddress& a) { tlvLinkId_ = a; }
    const EIPAddress& GetTlvLinkID() const { return tlvLinkId_; }
    void SetLocalIPAddress(const EIPAddress& a) { localIp_ = a; }
    const EIPAddress& GetLocalIPAddress() const { return localIp_; }
    void SetRemoteIPAddress(const EIPAddress& a) { remoteIp_ = a; }
    const EIPAddress& GetRemoteIPAddress() const { return remoteIp_; }
    void SetTrafficEngineering(const ETrafficEngineeringData& te) { te_ = te; }
    const ETrafficEngineeringData& GetTrafficEngineering() const { return te_; }

private:
    uint8_t type_ = kRouter;
    EIPAddress linkStateId_;
    EIPAddress advertisingRouter_;
    uint8_t options_ = 2;
    uint32_t sequence_ = 0x80000001;  // the initial sequence number
    uint16_t age_ = 0;
    uint8_t routerBits_ = 0;
    std::vector<EOSPFRouterLink> links_;
    EIPAddress mask_ = EIPAddress::FromV4(0xFFFFFF00);
    std::vector<EIPAddress> attached_;
    uint32_t metric_ = 1;
    uint8_t externalType_ = 1;  // type 2, the usual default for redistributed routes
    EIPAddress forwarding_;
    uint32_t routeTag_ = 0;
    uint8_t tlvType_ = 0;  // router address TLV
    EIPAddress routerAddress_;
    uint8_t tlvLinkType_ = 1;  // point-to-point
    EIPAddress tlvLinkId_;
    EIPAddress localIp_;
    EIPAddress remoteIp_;
    ETrafficEngineeringData te_;
};

class EOSPFUserLSAGroup : public ERecord {
public:
    void SetEnabled(bool v) { enabled_ = v; }
    bool IsEnabled() const { return enabled_; }
    void SetAreaID(uint32_t v) { area_ = v; }
    uint32_t GetAreaID() const { return area_; }
    void SetDescription(std::string d) { description_ = std::move(d); }
    const std::string& GetDescription() const { return description_; }
    EComponentId AddUserLSA(EOSPFUserLSA l) { return lsas_.Add(std::move(l)); }
    RecordList<EOSPFUserLSA>& GetUserLSAList() { return lsas_; }
    const RecordList<EOSPFUserLSA>& GetUserLSAList() const { return lsas_; }

private:
    bool enabled_ = true;
    uint32_t area_ = 0;
    std::string description_;
    RecordList<EOSPFUserLSA> lsas_;
};

class EOSPFRouter : public ERecord {
public:
    void SetRouterID(const EBlob& b) { routerId_ = b; }
    const EBlob& GetRouterID() const { return routerId_; }
    void SetEnabled(bool v) { enabled_ = v; }
    bool IsEnabled() const { return enabled_; }
    void SetGenerateRouterLSA(bool v) { generateRouterLsa_ = v; }
    bool GenerateRouterLSA() const { return generateRouterLsa_; }
    void SetDiscardLearnedLSAs(bool v) { discardLearned_ = v; }
    bool GetDiscardLearnedLSAs() const { return discardLearned_; }
    void SetGracefulRestart(bool v) { gracefulRestart_ = v; }
    bool GetGracefulRestart() const { return gracefulRestart_; }
    void SetRebuildAdjForLSDBChange(bool v) { rebuildAdj_ = v; }
    bool GetRebuildAdjForLSDBChange() const { return rebuildAdj_; }

    EComponentId AddInterface(EOSPFInterface i) { return interfaces_.Add(std::move(i)); }
    EComponentId AddRouteRange(EOSPFRouteRange r) { return routeRanges_.Add(std::move(r)); }
    EComponentId AddUserLSAGroup(EOSPFUserLSAGroup g) { return groups_.Add(std::move(g)); }
    RecordList<EOSPFInterface>& GetInterfaceList() { return interfaces_; }
    const RecordList<EOSPFInterface>& GetInterfaceList() const { return interfaces_; }
    RecordList<EOSPFRouteRange>& GetRouteRangeList() { return routeRanges_; }
    const RecordList<EOSPFRouteRange>& GetRouteRangeList() const { return routeRanges_; }
    RecordList<EOSPFUserLSAGroup>& GetUserLSAGroupList() { return groups_; }
    const RecordList<EOSPFUserLSAGroup>& GetUserLSAGroupList() const { return groups_; }

private:
    EBlob routerId_{std::vector<uint8_t>(4, 0)};
    bool enabled_ = true;
    bool generateRouterLsa_ = true;
    bool discardLearned_ = false;
    bool gracefulRestart_ = false;
    bool rebuildAdj_ = false;
    RecordList<EOSPFInterface> interfaces_;
    RecordList<EOSPFRouteRange> routeRanges_;
    RecordList<EOSPFUserLSAGroup> groups_;
};

// The OSPF configuration of one port: its emulated routers.
class EOSPFServer : public ERecord {
public:
    EComponentId AddRouter(EOSPFRouter r) { return routers_.Add(std::move(r)); }
    RecordList<EOSPFRouter>& GetRouterList() { return routers_; }
    const RecordList<EOSPFRouter>& GetRouterList() const { return routers_; }

private:
    RecordList<EOSPFRouter> routers_;
};

void to_json(Json& j, const ETrafficEngineeringData& te);
void to_json(Json& j, const EOSPFNetworkRange& r);
void to_json(Json& j, const ELSInterface& i);
void to_json(Json& j, const EOSPFInterface& i);
void to_json(Json& j, const EOSPFRouteRange& r);
void to_json(Json& j, const EOSPFRouterLink& l);
void to_json(Json& j, const EOSPFUserLSA& l);
void to_json(Json& j, const EOSPFUserLSAGroup& g);
void to_json(Json& j, const EOSPFRouter& r);
void to_json(Json& j, const EOSPFServer& s);

}  // namespace hal
