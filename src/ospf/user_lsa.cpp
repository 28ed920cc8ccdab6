#include "ospf/user_lsa.h"

#include <tcl.h>

#include <cmath>
#include <optional>
#include <vector>

#include "binding/describe.h"
#include "core/checks.h"
#include "core/describe_collection.h"
#include "core/parse.h"

namespace zk {

namespace {

// The elements of a Tcl list given as text; nullopt when it is no list.
std::optional<std::vector<std::string>> listElements(const std::string& text) {
    int n;
    const char** argv;
    if (Tcl_SplitList(nullptr, text.c_str(), &n, &argv) != TCL_OK) return std::nullopt;
    std::vector<std::string> out(argv, argv + n);
    Tcl_Free(reinterpret_cast<char*>(argv));
    return out;
}

std::optional<long long> integer(const std::string& text, long long lo, long long hi) {
    Tcl_WideInt v;
    Tcl_Obj* o = Tcl_NewStringObj(text.c_str(), -1);
    Tcl_IncrRefCount(o);
    bool ok = Tcl_GetWideIntFromObj(nullptr, o, &v) == TCL_OK && v >= lo && v <= hi;
    Tcl_DecrRefCount(o);
    return ok ? std::optional<long long>(v) : std::nullopt;
}

// Router links: each element {linkType linkId linkData metric}, the link
// type one of the ospfLink* constants and the metric a 16-bit cost.
std::optional<std::vector<hal::EOSPFRouterLink>> routerLinkList(const std::string& text) {
    auto elements = listElements(text);
    if (!elements) return std::nullopt;
    std::vector<hal::EOSPFRouterLink> links;
    for (const auto& e : *elements) {
        auto fields = listElements(e);
        if (!fields || fields->size() != 4) return std::nullopt;
        auto type = integer((*fields)[0], 1, 4);
        auto id = ipv4Address((*fields)[1]);
        auto data = ipv4Address((*fields)[2]);
        auto metric = integer((*fields)[3], 0, 65535);
        if (!type || !id || !data || !metric) return std::nullopt;
        links.push_back({int(*type), *id, *data, int(*metric)});
    }
    return links;
}

std::optional<std::vector<hal::EIPAddress>> routerIdList(const std::string& text) {
    auto elements = listElements(text);
    if (!elements) return std::nullopt;
    std::vector<hal::EIPAddress> ids;
    for (const auto& e : *elements) {
        auto a = ipv4Address(e);
        if (!a) return std::nullopt;
        ids.push_back(*a);
    }
    return ids;
}

bool knownLsaType(int t) {
    switch (t) {
    case hal::EOSPFUserLSA::kRouter:
    case hal::EOSPFUserLSA::kNetwork:
    case hal::EOSPFUserLSA::kSummaryIp:
    case hal::EOSPFUserLSA::kSummaryAs:
    case hal::EOSPFUserLSA::kExternal:
    case hal::EOSPFUserLSA::kOpaqueLocal:
    case hal::EOSPFUserLSA::kOpaqueArea:
    case hal::EOSPFUserLSA::kOpaqueDomain:
        return true;
    default:
        return false;
    }
}

}  // namespace

// ---- user LSA ----

bool TCLOspfUserLsa::Validate() {
    Checks c;
    c.that(knownLsaType(lsaType), "TCLOspfUserLsa::Validate()   Invalid lsaType");
    c.ipv4(linkStateId, "TCLOspfUserLsa::Validate()   Invalid linkStateId");
    c.ipv4(advertisingRouterId, "TCLOspfUserLsa::Validate()   Invalid advertisingRouterId");
    c.range(options, 0, 255, "TCLOspfUserLsa::Validate()   Invalid options");
    // 0x80000000 is reserved: sequence numbers run from 0x80000001 to 0x7fffffff.
    c.that(sequenceNumber != 0x80000000u, "TCLOspfUserLsa::Validate()   Invalid sequenceNumber");
    c.range(lsaAge, 0, 3600, "TCLOspfUserLsa::Validate()   Invalid lsaAge");
    c.range(routerBits, 0, 7, "TCLOspfUserLsa::Validate()   Invalid routerBits");
    c.that(routerLinkList(routerLinks).has_value(), "TCLOspfUserLsa::Validate()   Invalid routerLinks");
    c.ipv4(networkMask, "TCLOspfUserLsa::Validate()   Invalid networkMask");
    c.that(routerIdList(attachedRouters).has_value(), "TCLOspfUserLsa::Validate()   Invalid attachedRouters");
    c.range(metric, 0, 0xFFFFFF, "TCLOspfUserLsa::Validate()   Invalid metric");
    c.range(externalMetricType, 0, 1, "TCLOspfUserLsa::Validate()   Invalid externalMetricType");
    c.ipv4(forwardingAddress, "TCLOspfUserLsa::Validate()   Invalid forwardingAddress");
    c.range(tlvType, 0, 1, "TCLOspfUserLsa::Validate()   Invalid tlvType");
    c.ipv4(routerAddress, "TCLOspfUserLsa::Validate()   Invalid routerAddress");
    c.range(tlvLinkType, 1, 2, "TCLOspfUserLsa::Validate()   Invalid tlvLinkType");
    c.ipv4(tlvLinkId, "TCLOspfUserLsa::Validate()   Invalid tlvLinkId");
    c.ipv4(localIpAddress, "TCLOspfUserLsa::Validate()   Invalid localIpAddress");
    c.ipv4(remoteIpAddress, "TCLOspfUserLsa::Validate()   Invalid remoteIpAddress");
    c.notNegative(teMetric, "TCLOspfUserLsa::Validate()   Invalid teMetric");
    c.that(parseAdminGroup(adminGroup).has_value(), "TCLOspfUserLsa::Validate()   Invalid adminGroup");
    for (const auto& f : kFields) {
        double v = this->*f.member;
        if (!std::isfinite(v) || v < 0) c.fail(std::string("TCLOspfUserLsa::Validate()   Invalid ") + f.name);
    }
    return c.ok();
}

int TCLOspfUserLsa::ToRecord(hal::EOSPFUserLSA& r) {
    if (!Validate()) return kFail;
    r.SetType(lsaType);
    r.SetLinkStateID(validAddress(linkStateId));
    r.SetAdvertisingRouter(validAddress(advertisingRouterId));
    r.SetOptions(options);
    r.SetSequenceNumber(sequenceNumber);
    r.SetAge(lsaAge);
    r.SetRouterBits(routerBits);
    r.SetRouterLinks(routerLinkList(routerLinks).value_or(std::vector<hal::EOSPFRouterLink>{}));
    r.SetNetworkMask(validAddress(networkMask));
    r.SetAttachedRouters(routerIdList(attachedRouters).value_or(std::vector<hal::EIPAddress>{}));
    r.SetMetric(uint32_t(metric));
    r.SetExternalMetricType(externalMetricType);
    r.SetForwardingAddress(validAddress(forwardingAddress));
    r.SetExternalRouteTag(externalRouteTag);
    r.SetTlvType(tlvType);
    r.SetRouterAddress(validAddress(routerAddress));
    r.SetTlvLinkType(tlvLinkType);
    r.SetTlvLinkID(validAddress(tlvLinkId));
    r.SetLocalIPAddress(validAddress(localIpAddress));
    r.SetRemoteIPAddress(validAddress(remoteIpAddress));
    hal::ETrafficEngineeringData te;
    fillBandwidths(te);
    te.SetMetric(uint32_t(teMetric));
    te.SetAdministrativeGroup(adminGroupBlob(adminGroup));
    r.SetTrafficEngineering(te);
    return kOk;
}

void TCLOspfUserLsa::FromRecord(const hal::EOSPFUserLSA& r) {
    lsaType = r.GetType();
    linkStateId = r.GetLinkStateID().ToString();
    advertisingRouterId = r.GetAdvertisingRouter().ToString();
    options = r.GetOptions();
    sequenceNumber = r.GetSequenceNumber();
    lsaAge = r.GetAge();
    routerBits = r.GetRouterBits();
    routerLinks.clear();
    for (const auto& l : r.GetRouterLinks())
        routerLinks += formatText("%s{%d %s %s %d}", routerLinks.empty() ? "" : " ", l.type,
                                  l.linkId.ToString().c_str(), l.linkData.ToString().c_str(), l.metric);
    networkMask = r.GetNetworkMask().ToString();
    attachedRouters.clear();
    for (const auto& a : r.GetAttachedRouters()) attachedRouters += (attachedRouters.empty() ? "" : " ") + a.ToString();
    metric = int(r.GetMetric());
    externalMetricType = r.GetExternalMetricType();
    forwardingAddress = r.GetForwardingAddress().ToString();
    externalRouteTag = r.GetExternalRouteTag();
    tlvType = r.GetTlvType();
    routerAddress = r.GetRouterAddress().ToString();
    tlvLinkType = r.GetTlvLinkType();
    tlvLinkId = r.GetTlvLinkID().ToString();
    localIpAddress = r.GetLocalIPAddress().ToString();
    remoteIpAddress = r.GetRemoteIPAddress().ToString();
    const hal::ETrafficEngineeringData& te = r.GetTrafficEngineering();
    teMetric = int(te.GetMetric());
    adminGroup = adminGroupText(te.GetAdministrativeGroup());
    loadBandwidths(te);
}

static binding::Describe<TCLOspfUserLsa> describeUserLsa(202, "TCLOspfUserLsa", [](auto& c) {
    using T = TCLOspfUserLsa;
    c.constructor();
    c.option("lsaType", &T::lsaType);
    c.option("linkStateId", &T::linkStateId);
    c.option("advertisingRouterId", &T::advertisingRouterId);
    c.option("options", &T::options);
    c.option("sequenceNumber", &T::sequenceNumber);
    c.option("lsaAge", &T::lsaAge);
    c.option("routerBits", &T::routerBits);
    c.option("routerLinks", &T::routerLinks);
    c.option("networkMask", &T::networkMask);
    c.option("attachedRouters", &T::attachedRouters);
    c.option("metric", &T::metric);
    c.option("externalMetricType", &T::externalMetricType);
    c.option("forwardingAddress", &T::forwardingAddress);
    c.option("externalRouteTag", &T::externalRouteTag);
    c.option("tlvType", &T::tlvType);
    c.option("routerAddress", &T::routerAddress);
    c.option("tlvLinkType", &T::tlvLinkType);
    c.option("tlvLinkId", &T::tlvLinkId);
    c.option("localIpAddress", &T::localIpAddress);
    c.option("remoteIpAddress", &T::remoteIpAddress);
    c.option("teMetric", &T::teMetric);
    c.option("adminGroup", &T::adminGroup);
    describeMaxBandwidths(c, true);
    describeUnreservedBandwidths(c, true);
    c.method("setDefault", &T::setDefault);
});

// ---- user LSA group ----

// Adding an LSA to a group needs no port: the group is only a record until
// its router is added to a server.
TCLOspfUserLsaGroup::TCLOspfUserLsaGroup(TCLOspfUserLsa* pOspfUserLsa)
    : userLsas(pOspfUserLsa, {.ready = [] { return int(kOk); },
                              .records = [this] { return &work_.GetUserLSAList(); },
                              .names = [this] { return &userLsaNames_; },
                              .refused = kFail}) {
    setDefault();
}

void TCLOspfUserLsaGroup::setDefault() {
    hal::EOSPFUserLSAGroup fresh;
    enable = fresh.IsEnabled();
    areaId = int(fresh.GetAreaID());
    description = fresh.GetDescription();
    userLsas.resetCursor();
}

bool TCLOspfUserLsaGroup::Validate() {
    Checks c;
    c.range(enable, 0, 1, "TCLOspfUserLsaGroup::Validate()   Invalid enable.");
    c.notNegative(areaId, "TCLOspfUserLsaGroup::Validate()   Invalid areaId");
    return c.ok();
}

int TCLOspfUserLsaGroup::ToRecord(hal::EOSPFUserLSAGroup& r) {
    if (!Validate()) return kFail;
    r = work_;
    r.SetEnabled(enable != 0);
    r.SetAreaID(uint32_t(areaId));
    r.SetDescription(description);
    return kOk;
}

void TCLOspfUserLsaGroup::FromRecord(const hal::EOSPFUserLSAGroup& r) {
    work_ = r;
    enable = r.IsEnabled();
    areaId = int(r.GetAreaID());
    description = r.GetDescription();
}

static binding::Describe<TCLOspfUserLsaGroup> describeUserLsaGroup(203, "TCLOspfUserLsaGroup", [](auto& c) {
    using T = TCLOspfUserLsaGroup;
    c.template constructor<TCLOspfUserLsa*>(binding::optional("pOspfUserLsa"));  // without one the group holds no LSAs
    c.option("enable", &T::enable);
    c.option("areaId", &T::areaId);
    c.option("description", &T::description);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::userLsas>(c, "UserLsa", "userLsaLocalId", "clearAllUserLsas");
});

}  // namespace zk
