#include "ospf/user_lsa.h"

#include <tcl.h>

#include <cmath>
#include <optional>
#include <vector>

#include "binding/collection_methods.h"
#include "core/parse.h"
#include "util/tcl_integer.h"

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
    bool ok = zk::readInteger(o, lo, hi, v) == zk::IntegerRead::Ok;
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

int TCLOspfUserLsa::intoRecordRest(hal::EOSPFUserLSA& r) {
    fillBandwidths(r.te);
    return kOk;
}

void TCLOspfUserLsa::fromRecordRest(const hal::EOSPFUserLSA& r) { loadBandwidths(r.te); }

namespace {

std::string routerLinksText(const std::vector<hal::EOSPFRouterLink>& links) {
    std::string text;
    for (const auto& l : links)
        text += formatText("%s{%d %s %s %d}", text.empty() ? "" : " ", l.type, l.linkId.ToString().c_str(),
                           l.linkData.ToString().c_str(), l.metric);
    return text;
}

}  // namespace

static binding::Describe<TCLOspfUserLsa> describeOspfUserLsa("TCLOspfUserLsa", [](auto& c) {
    using T = TCLOspfUserLsa;
    using R = hal::EOSPFUserLSA;
    using TE = hal::ETrafficEngineeringData;
    const std::string invalid = "TCLOspfUserLsa::Validate()   Invalid ";
    c.constructor();
    c.option("lsaType", &T::lsaType).check(knownLsaType, invalid + "lsaType").maps(&R::type);
    c.option("linkStateId", &T::linkStateId).check(ipv4, invalid + "linkStateId").maps(&R::linkStateId);
    c.option("advertisingRouterId", &T::advertisingRouterId)
        .check(ipv4, invalid + "advertisingRouterId")
        .maps(&R::advertisingRouter);
    c.option("options", &T::options).check(range(0, 255), invalid + "options").maps(&R::options);
    // 0x80000000 is reserved: sequence numbers run from 0x80000001 to 0x7fffffff.
    c.option("sequenceNumber", &T::sequenceNumber)
        .check([](unsigned v) { return v != 0x80000000u; }, invalid + "sequenceNumber")
        .maps(&R::sequence);
    c.option("lsaAge", &T::lsaAge).check(range(0, 3600), invalid + "lsaAge").maps(&R::age);
    c.option("routerBits", &T::routerBits).check(range(0, 7), invalid + "routerBits").maps(&R::routerBits);
    c.option("routerLinks", &T::routerLinks)
        .check([](const std::string& s) { return routerLinkList(s).has_value(); }, invalid + "routerLinks")
        .mapsVia([](const std::string& s) { return routerLinkList(s).value_or(std::vector<hal::EOSPFRouterLink>{}); },
                 routerLinksText, &R::links);
    c.option("networkMask", &T::networkMask).check(ipv4, invalid + "networkMask").maps(&R::mask);
    c.option("attachedRouters", &T::attachedRouters)
        .check([](const std::string& s) { return ipv4List(s).has_value(); }, invalid + "attachedRouters")
        .mapsVia([](const std::string& s) { return ipv4List(s).value_or(std::vector<hal::EIPAddress>{}); },
                 ipv4ListText, &R::attached);
    c.option("metric", &T::metric).check(range(0, 0xFFFFFF), invalid + "metric").maps(&R::metric);
    c.option("externalMetricType", &T::externalMetricType)
        .check(boolean, invalid + "externalMetricType")
        .maps(&R::externalType);
    c.option("forwardingAddress", &T::forwardingAddress)
        .check(ipv4, invalid + "forwardingAddress")
        .maps(&R::forwarding);
    c.option("externalRouteTag", &T::externalRouteTag).maps(&R::routeTag);
    c.option("tlvType", &T::tlvType).check(boolean, invalid + "tlvType").maps(&R::tlvType);
    c.option("routerAddress", &T::routerAddress).check(ipv4, invalid + "routerAddress").maps(&R::routerAddress);
    c.option("tlvLinkType", &T::tlvLinkType).check(range(1, 2), invalid + "tlvLinkType").maps(&R::tlvLinkType);
    c.option("tlvLinkId", &T::tlvLinkId).check(ipv4, invalid + "tlvLinkId").maps(&R::tlvLinkId);
    c.option("localIpAddress", &T::localIpAddress).check(ipv4, invalid + "localIpAddress").maps(&R::localIp);
    c.option("remoteIpAddress", &T::remoteIpAddress).check(ipv4, invalid + "remoteIpAddress").maps(&R::remoteIp);
    c.option("teMetric", &T::teMetric).check(atLeast(0), invalid + "teMetric").maps(&R::te, &TE::metric);
    c.option("adminGroup", &T::adminGroup)
        .check([](const std::string& s) { return parseAdminGroup(s).has_value(); }, invalid + "adminGroup")
        .mapsVia(adminGroupBlob, adminGroupText, &R::te, &TE::adminGroup);
    for (const auto& f : TeBandwidths::kFields)  // bytes per second: finite and not negative
        c.option(f.name, f.member).check([](double v) { return std::isfinite(v) && v >= 0; }, invalid + f.name);
    c.method("setDefault", &T::setDefault);
});

// ---- user LSA group ----

// Adding an LSA to a group needs no port: the group is only a record until
// its router is added to a server.
TCLOspfUserLsaGroup::TCLOspfUserLsaGroup(TCLOspfUserLsa* pOspfUserLsa) : userLsas(this, pOspfUserLsa) { setDefault(); }

static binding::Describe<TCLOspfUserLsaGroup> describeOspfUserLsaGroup("TCLOspfUserLsaGroup", [](auto& c) {
    using T = TCLOspfUserLsaGroup;
    using R = hal::EOSPFUserLSAGroup;
    c.template constructor<TCLOspfUserLsa*>(binding::optional("pOspfUserLsa"));  // without one the group holds no LSAs
    c.option("enable", &T::enable).check(boolean, "TCLOspfUserLsaGroup::Validate()   Invalid enable.").maps(&R::enabled);
    c.option("areaId", &T::areaId).check(atLeast(0), "TCLOspfUserLsaGroup::Validate()   Invalid areaId").maps(&R::area);
    c.option("description", &T::description).maps(&R::description);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::userLsas>(c, "UserLsa", "userLsaLocalId", "clearAllUserLsas");
});

}  // namespace zk
