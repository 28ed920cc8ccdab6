#include "ospfv3/user_lsa.h"

#include <tcl.h>

#include <optional>
#include <vector>

#include "binding/collection_methods.h"
#include "core/parse.h"

namespace zk {

namespace {

// Options of OSPFv3 LSAs and interfaces: a sum of the six defined bits
// (V6 1 to DC 32); prefix options a sum of NU 1, LA 2, MC 4 and P 8.
constexpr Range kOptionBits = range(0, 63);
constexpr Range kPrefixOptionBits = range(0, 15);
constexpr Range kMetric24 = range(0, 0xFFFFFF);
constexpr Range kMetric16 = range(0, 0xFFFF);
// Interface IDs are 32 bits; scripts give them as non-negative integers.
constexpr Range kInterfaceId = atLeast(0);

// 0x80000000 is reserved: sequence numbers run from 0x80000001 to 0x7fffffff.
bool sequenceNumber(unsigned v) { return v != 0x80000000u; }

template <class T>
void describeHeader(binding::ClassDesc<T>& c) {
    using H = OspfV3LsaHeader;
    using R = hal::EOSPFv3LSAHeader;
    c.option("linkStateId", &H::linkStateId).check(ipv4).maps(&R::linkStateId);
    c.option("advertisingRouterId", &H::advertisingRouterId).check(ipv4).maps(&R::advertisingRouter);
    c.option("sequenceNumber", &H::sequenceNumber).check(sequenceNumber).maps(&R::sequence);
    c.option("lsaAge", &H::lsaAge).check(range(0, 3600)).maps(&R::age);  // MaxAge is one hour
}

template <class T>
void describeOnePrefix(binding::ClassDesc<T>& c) {
    using P = OspfV3OnePrefix;
    using R = hal::EOSPFv3OnePrefix;
    c.option("prefixAddress", &P::prefixAddress).check(ipv6).maps(&R::prefix);
    c.option("prefixLength", &P::prefixLength).check(range(0, 128)).maps(&R::prefixLength);
    c.option("prefixOptions", &P::prefixOptions).check(kPrefixOptionBits).maps(&R::prefixOptions);
}

}  // namespace

// ---- items ----

static binding::Describe<TCLOspfV3LsaPrefix> describeOspfV3LsaPrefix("TCLOspfV3LsaPrefix", [](auto& c) {
    using T = TCLOspfV3LsaPrefix;
    using R = hal::EOSPFv3LSAPrefix;
    c.constructor();
    c.option("prefixAddress", &T::prefixAddress).check(ipv6).maps(&R::address);
    c.option("prefixLength", &T::prefixLength).check(range(0, 128)).maps(&R::length);
    c.option("prefixOptions", &T::prefixOptions).check(kPrefixOptionBits).maps(&R::options);
    c.option("metric", &T::metric).check(kMetric16).maps(&R::metric);
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLOspfV3RouterLsaInterface> describeOspfV3RouterLsaInterface(
    "TCLOspfV3RouterLsaInterface", [](auto& c) {
        using T = TCLOspfV3RouterLsaInterface;
        using R = hal::EOSPFv3RouterLSAInterface;
        c.constructor();
        // ospfV3LsaRouterInterfacePointToPoint 1, Transit 2, Virtual 4
        c.option("type", &T::type).check([](int t) { return t == 1 || t == 2 || t == 4; }).maps(&R::type);
        c.option("metric", &T::metric).check(kMetric16).maps(&R::metric);
        c.option("interfaceId", &T::interfaceId).check(kInterfaceId).maps(&R::interfaceId);
        c.option("neighborInterfaceId", &T::neighborInterfaceId).check(kInterfaceId).maps(&R::neighborInterfaceId);
        c.option("neighborRouterId", &T::neighborRouterId).check(ipv4).maps(&R::neighborRouterId);
        c.method("setDefault", &T::setDefault);
    });

// ---- the seven LSA types ----

TCLOspfV3RouterLsa::TCLOspfV3RouterLsa(TCLOspfV3RouterLsaInterface* pOspfV3RouterLsaInterface)
    : interfaces(this, pOspfV3RouterLsaInterface) {
    setDefault();
}

static binding::Describe<TCLOspfV3RouterLsa> describeOspfV3RouterLsa("TCLOspfV3RouterLsa", [](auto& c) {
    using T = TCLOspfV3RouterLsa;
    using R = hal::EOSPFv3RouterLSA;
    c.template constructor<TCLOspfV3RouterLsaInterface*>("pOspfV3RouterLsaInterface");
    describeHeader(c);
    c.option("routerBits", &T::routerBits).check(range(0, 7)).maps(&R::bits);  // 1 B, 2 E, 4 V
    c.option("options", &T::options).check(kOptionBits).maps(&R::options);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::interfaces>(c, "Interface", "interfaceLocalId", "clearAllInterfaces");
});

static binding::Describe<TCLOspfV3NetworkLsa> describeOspfV3NetworkLsa("TCLOspfV3NetworkLsa", [](auto& c) {
    using T = TCLOspfV3NetworkLsa;
    using R = hal::EOSPFv3NetworkLSA;
    c.constructor();
    describeHeader(c);
    c.option("options", &T::options).check(kOptionBits).maps(&R::options);
    c.option("attachedRouters", &T::attachedRouters)
        .check([](const std::string& s) { return ipv4List(s).has_value(); })
        .mapsVia([](const std::string& s) { return ipv4List(s).value_or(std::vector<hal::EIPAddress>{}); },
                 ipv4ListText, &R::attached);
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLOspfV3InterAreaPrefixLsa> describeOspfV3InterAreaPrefixLsa(
    "TCLOspfV3InterAreaPrefixLsa", [](auto& c) {
        using T = TCLOspfV3InterAreaPrefixLsa;
        using R = hal::EOSPFv3InterAreaPrefixLSA;
        c.constructor();
        describeHeader(c);
        c.option("metric", &T::metric).check(kMetric24).maps(&R::metric);
        describeOnePrefix(c);
        c.method("setDefault", &T::setDefault);
    });

static binding::Describe<TCLOspfV3InterAreaRouterLsa> describeOspfV3InterAreaRouterLsa(
    "TCLOspfV3InterAreaRouterLsa", [](auto& c) {
        using T = TCLOspfV3InterAreaRouterLsa;
        using R = hal::EOSPFv3InterAreaRouterLSA;
        c.constructor();
        describeHeader(c);
        c.option("options", &T::options).check(kOptionBits).maps(&R::options);
        c.option("metric", &T::metric).check(kMetric24).maps(&R::metric);
        c.option("destinationRouterId", &T::destinationRouterId).check(ipv4).maps(&R::destinationRouterId);
        c.method("setDefault", &T::setDefault);
    });

static binding::Describe<TCLOspfV3AsExternalLsa> describeOspfV3AsExternalLsa("TCLOspfV3AsExternalLsa", [](auto& c) {
    using T = TCLOspfV3AsExternalLsa;
    using R = hal::EOSPFv3ASExternalLSA;
    c.constructor();
    describeHeader(c);
    c.option("metric", &T::metric).check(kMetric24).maps(&R::metric);
    c.option("externalMetricType", &T::externalMetricType).check(boolean).maps(&R::externalType);
    describeOnePrefix(c);
    // :: leaves the forwarding address out (F bit clear), a tag of 0 the
    // route tag (T bit clear), a referenced LS type of 0 the reference.
    c.option("forwardingAddress", &T::forwardingAddress).check(ipv6).maps(&R::forwarding);
    c.option("externalRouteTag", &T::externalRouteTag).maps(&R::routeTag);
    c.option("referencedLsType", &T::referencedLsType).check(range(0, 0xFFFF)).maps(&R::referencedLsType);
    c.option("referencedLinkStateId", &T::referencedLinkStateId).check(ipv4).maps(&R::referencedLinkStateId);
    c.method("setDefault", &T::setDefault);
});

TCLOspfV3LinkLsa::TCLOspfV3LinkLsa(TCLOspfV3LsaPrefix* pOspfV3LsaPrefix) : prefixes(this, pOspfV3LsaPrefix) {
    setDefault();
}

static binding::Describe<TCLOspfV3LinkLsa> describeOspfV3LinkLsa("TCLOspfV3LinkLsa", [](auto& c) {
    using T = TCLOspfV3LinkLsa;
    using R = hal::EOSPFv3LinkLSA;
    c.template constructor<TCLOspfV3LsaPrefix*>("pOspfV3LsaPrefix");
    describeHeader(c);
    c.option("routerPriority", &T::routerPriority).check(range(0, 255)).maps(&R::priority);
    c.option("options", &T::options).check(kOptionBits).maps(&R::options);
    c.option("linkLocalAddress", &T::linkLocalAddress).check(ipv6).maps(&R::linkLocalAddress);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::prefixes>(c, "Prefix", "prefixLocalId", "clearAllPrefixes");
});

TCLOspfV3IntraAreaPrefixLsa::TCLOspfV3IntraAreaPrefixLsa(TCLOspfV3LsaPrefix* pOspfV3LsaPrefix)
    : prefixes(this, pOspfV3LsaPrefix) {
    setDefault();
}

static binding::Describe<TCLOspfV3IntraAreaPrefixLsa> describeOspfV3IntraAreaPrefixLsa(
    "TCLOspfV3IntraAreaPrefixLsa", [](auto& c) {
        using T = TCLOspfV3IntraAreaPrefixLsa;
        using R = hal::EOSPFv3IntraAreaPrefixLSA;
        c.template constructor<TCLOspfV3LsaPrefix*>("pOspfV3LsaPrefix");
        describeHeader(c);
        // The prefixes belong to a router LSA (0x2001) or a network LSA (0x2002).
        c.option("referencedLsType", &T::referencedLsType)
            .check([](int t) { return t == hal::ospfv3::kRouterLsa || t == hal::ospfv3::kNetworkLsa; })
            .maps(&R::referencedLsType);
        c.option("referencedLinkStateId", &T::referencedLinkStateId).check(ipv4).maps(&R::referencedLinkStateId);
        c.option("referencedAdvertisingRouterId", &T::referencedAdvertisingRouterId)
            .check(ipv4)
            .maps(&R::referencedAdvertisingRouter);
        c.method("setDefault", &T::setDefault);
        describeCollection<&T::prefixes>(c, "Prefix", "prefixLocalId", "clearAllPrefixes");
    });

// ---- user LSA group ----

// Adding an LSA to a group needs no port: the group is only a record until
// its router is added to a server.
TCLOspfV3UserLsaGroup::TCLOspfV3UserLsaGroup(TCLOspfV3RouterLsa* pOspfV3RouterLsa,
                                             TCLOspfV3NetworkLsa* pOspfV3NetworkLsa,
                                             TCLOspfV3InterAreaPrefixLsa* pOspfV3InterAreaPrefixLsa,
                                             TCLOspfV3InterAreaRouterLsa* pOspfV3InterAreaRouterLsa,
                                             TCLOspfV3AsExternalLsa* pOspfV3AsExternalLsa,
                                             TCLOspfV3LinkLsa* pOspfV3LinkLsa,
                                             TCLOspfV3IntraAreaPrefixLsa* pOspfV3IntraAreaPrefixLsa)
    : routerLsas(this, pOspfV3RouterLsa),
      networkLsas(this, pOspfV3NetworkLsa),
      interAreaPrefixLsas(this, pOspfV3InterAreaPrefixLsa),
      interAreaRouterLsas(this, pOspfV3InterAreaRouterLsa),
      asExternalLsas(this, pOspfV3AsExternalLsa),
      linkLsas(this, pOspfV3LinkLsa),
      intraAreaPrefixLsas(this, pOspfV3IntraAreaPrefixLsa) {
    setDefault();
}

static binding::Describe<TCLOspfV3UserLsaGroup> describeOspfV3UserLsaGroup("TCLOspfV3UserLsaGroup", [](auto& c) {
    using T = TCLOspfV3UserLsaGroup;
    using R = hal::EOSPFv3UserLSAGroup;
    c.template constructor<TCLOspfV3RouterLsa*, TCLOspfV3NetworkLsa*, TCLOspfV3InterAreaPrefixLsa*,
                           TCLOspfV3InterAreaRouterLsa*, TCLOspfV3AsExternalLsa*, TCLOspfV3LinkLsa*,
                           TCLOspfV3IntraAreaPrefixLsa*>(
        "pOspfV3RouterLsa", "pOspfV3NetworkLsa", "pOspfV3InterAreaPrefixLsa", "pOspfV3InterAreaRouterLsa",
        "pOspfV3AsExternalLsa", "pOspfV3LinkLsa", "pOspfV3IntraAreaPrefixLsa");
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("areaId", &T::areaId).check(atLeast(0)).maps(&R::area);
    c.option("description", &T::description).maps(&R::description);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::routerLsas>(c, "RouterLsa", "routerLsaLocalId", "clearAllRouterLsas");
    describeCollection<&T::networkLsas>(c, "NetworkLsa", "networkLsaLocalId", "clearAllNetworkLsas");
    describeCollection<&T::interAreaPrefixLsas>(c, "InterAreaPrefixLsa", "interAreaPrefixLsaLocalId",
                                                "clearAllInterAreaPrefixLsas");
    describeCollection<&T::interAreaRouterLsas>(c, "InterAreaRouterLsa", "interAreaRouterLsaLocalId",
                                                "clearAllInterAreaRouterLsas");
    describeCollection<&T::asExternalLsas>(c, "AsExternalLsa", "asExternalLsaLocalId", "clearAllAsExternalLsas");
    describeCollection<&T::linkLsas>(c, "LinkLsa", "linkLsaLocalId", "clearAllLinkLsas");
    describeCollection<&T::intraAreaPrefixLsas>(c, "IntraAreaPrefixLsa", "intraAreaPrefixLsaLocalId",
                                                "clearAllIntraAreaPrefixLsas");
});

}  // namespace zk
