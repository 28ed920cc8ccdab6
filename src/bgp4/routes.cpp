#include "bgp4/routes.h"

#include "bgp4/forms.h"
#include "binding/collection_methods.h"
#include "core/span.h"

namespace zk {

using bgp4::maxPrefixOf;

static binding::Describe<TCLBgp4AsPathItem> describeBgp4AsPathItem("TCLBgp4AsPathItem", [](auto& c) {
    using T = TCLBgp4AsPathItem;
    using R = hal::EBGP::ConfigAsPathSegment;
    c.constructor();
    c.option("segmentType", &T::segmentType).check(range(0, 4)).maps(&R::type);
    // A segment counts its AS numbers in one byte.
    c.option("asList", &T::asList)
        .check([](const std::string& s) {
            auto list = bgp4::parseAsList(s);
            return list && list->size() <= 255;
        })
        .mapsVia([](const std::string& s) { return bgp4::parseAsList(s).value_or(std::vector<uint16_t>{}); },
                 bgp4::formatAsList, &R::asNumbers);
    c.method("setDefault", &T::setDefault);
});

namespace {

// The transitive and non-transitive types: two-octet AS, IPv4 address,
// four-octet AS and opaque.
bool extendedCommunityType(int t) { return (t >= 0x00 && t <= 0x03) || (t >= 0x40 && t <= 0x43); }

std::optional<std::vector<uint8_t>> sixBytes(const std::string& s) {
    auto b = parseBytes(s);
    return b && b->size() == 6 ? b : std::nullopt;
}

std::string byteText(const hal::EBlob& b) {
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (uint8_t byte : b.bytes) {
        if (!out.empty()) out += ' ';
        out += digits[byte >> 4];
        out += digits[byte & 15];
    }
    return out;
}

}  // namespace

static binding::Describe<TCLBgp4ExtendedCommunity> describeBgp4ExtendedCommunity("TCLBgp4ExtendedCommunity", [](auto& c) {
    using T = TCLBgp4ExtendedCommunity;
    using R = hal::EBGP::ConfigExtendedCommunity;
    c.constructor();
    c.option("type", &T::type).check(extendedCommunityType, "TCLBgp4ExtendedCommunity::Validate()   Invalid type").maps(&R::type);
    c.option("subType", &T::subType).check(range(0, 255)).maps(&R::subType);
    c.option("value", &T::value)
        .check([](const std::string& s) { return sixBytes(s).has_value(); })
        .mapsVia([](const std::string& s) { return hal::EBlob(sixBytes(s).value_or(std::vector<uint8_t>(6, 0))); },
                 byteText, &R::value);
    c.method("setDefault", &T::setDefault);
});

namespace {

bool anyIp(const std::string& s) { return ipv4(s) || ipv6(s); }

// Communities and cluster IDs are four bytes each in an attribute whose
// length is 16 bits.
constexpr size_t kMaxFourByteValues = 65535 / 4;

// For each prefix length of the range, its networks stay in the address
// space (lengths out of their own ranges are refused by their checks).
bool routesFit(const Bgp4RouteOptions& o) {
    if (o.fromPrefix < 0 || o.thruPrefix > maxPrefixOf(o.networkAddress) || o.fromPrefix > o.thruPrefix) return true;
    for (int length = o.fromPrefix; length <= o.thruPrefix; ++length)
        if (!networksFit(o.networkAddress, length, o.numberOfRoutes, o.routeStep)) return false;
    return true;
}

// The routes a range sends: numberOfRoutes of each prefix length, as
// many of them as there are before the end of the address space.
long long routeCount(const Bgp4RouteOptions& o) {
    if (o.fromPrefix < 0 || o.thruPrefix > maxPrefixOf(o.networkAddress) || o.fromPrefix > o.thruPrefix)
        return o.numberOfRoutes;
    long long total = 0;
    for (int length = o.fromPrefix; length <= o.thruPrefix; ++length)
        total += networksIn(o.networkAddress, length, o.numberOfRoutes, o.routeStep);
    return total;
}

// RFC 7606: a segment of unknown type, or a set of no AS, is a malformed
// AS_PATH.
bool wellFormedPath(const hal::EBGP::ConfigRoutes& r) {
    bool good = true;
    r.asPath.ForEach([&](const hal::EBGP::ConfigAsPathSegment& seg) {
        bool set = seg.type == 1 || seg.type == 4;
        if (seg.type == 0 || (set && seg.asNumbers.empty())) good = false;
    });
    return good;
}

// Options of Bgp4RouteOptions onto a record derived from ConfigRoutes.
template <class T>
void describeRouteOptions(binding::ClassDesc<T>& c) {
    using O = Bgp4RouteOptions;
    using R = hal::EBGP::ConfigRoutes;
    const std::string v = c.record().name + "::Validate()   ";
    auto prefixFits = [](int prefix, const O& o) { return prefix >= 0 && prefix <= maxPrefixOf(o.networkAddress); };
    c.option("enable", &O::enable).check(boolean).maps(&R::enabled);
    c.option("networkAddress", &O::networkAddress).check(anyIp).maps(&R::firstNetwork);
    c.option("fromPrefix", &O::fromPrefix)
        .check([=](const T& t) { return prefixFits(t.fromPrefix, t); })
        .maps(&R::fromPrefix);
    c.option("thruPrefix", &O::thruPrefix)
        .check([=](const T& t) { return prefixFits(t.thruPrefix, t); })
        .check([=](const T& t) { return !prefixFits(t.fromPrefix, t) || !prefixFits(t.thruPrefix, t) || t.thruPrefix >= t.fromPrefix; },
               v + "thruPrefix must not be less than fromPrefix.")
        .maps(&R::thruPrefix);
    c.option("numberOfRoutes", &O::numberOfRoutes).check(atLeast(1)).maps(&R::numberOfRoutes);
    c.option("routeStep", &O::routeStep)
        .check(atLeast(1))
        // A range that runs past the end of the address space stops there:
        // it is taken, and the script is told.
        .checkWith([msg = v + "numberOfRoutes runs past the address space from networkAddress: the range stops at its end."](
                       const T& t, Checks& c) {
            if (c.ok() && !routesFit(t)) setLastError(msg);
        })
        .maps(&R::routeStep);
    c.option("origin", &O::origin).check(range(0, 2)).maps(&R::origin);
    c.option("asPathMode", &O::asPathMode)
        .check(range(0, 5))
        .check([](const T& t) { return wellFormedPath(t.work()); },
               v + "An AS path item of type bgpSegmentUnknown, or an AS set of no AS number, is malformed.")
        .maps(&R::asPathMode);
    c.option("nextHopSetMode", &O::nextHopSetMode).check(range(0, 1)).maps(&R::nextHopSetMode);
    c.option("nextHopMode", &O::nextHopMode).check(range(0, 2)).maps(&R::nextHopMode);
    // A next hop given by hand must be of the routes' family.
    c.option("nextHopIpAddress", &O::nextHopIpAddress)
        .check([](const T& t) {
            if (t.nextHopSetMode != 0) return anyIp(t.nextHopIpAddress);
            return ipv6(t.networkAddress) ? ipv6(t.nextHopIpAddress) : ipv4(t.nextHopIpAddress);
        })
        .maps(&R::nextHop);
    c.option("localPref", &O::localPref).maps(&R::localPreference);
    c.option("enableMed", &O::enableMed).check(boolean).maps(&R::medEnabled);
    c.option("med", &O::med).maps(&R::med);
    c.option("communities", &O::communities)
        .check([](const std::string& s) { return bgp4::parseCommunities(s).has_value(); })
        .check([](const std::string& s) { return bgp4::words(s).size() <= kMaxFourByteValues; },
               v + "communities holds more than 16383 values.")
        .mapsVia([](const std::string& s) { return bgp4::parseCommunities(s).value_or(std::vector<uint32_t>{}); },
                 bgp4::formatCommunities, &R::communities);
    c.option("enableAtomicAggregate", &O::enableAtomicAggregate).check(boolean).maps(&R::atomicAggregate);
    c.option("aggregatorAsNum", &O::aggregatorAsNum).check(range(0, 65535)).maps(&R::aggregatorAs);
    c.option("aggregatorIpAddress", &O::aggregatorIpAddress).check(ipv4).maps(&R::aggregatorAddress);
    c.option("originatorId", &O::originatorId).check(ipv4).maps(&R::originatorId);
    c.option("clusterList", &O::clusterList)
        .check([](const std::string& s) { return bgp4::parseIPv4List(s).has_value(); })
        .check([](const std::string& s) { return bgp4::words(s).size() <= kMaxFourByteValues; },
               v + "clusterList holds more than 16383 values.")
        .mapsVia([](const std::string& s) { return bgp4::parseIPv4List(s).value_or(std::vector<hal::EIPAddress>{}); },
                 bgp4::formatAddressList, &R::clusterList);
    c.option("enableFlapping", &O::enableFlapping).check(boolean).maps(&R::flapping);
    c.option("flapUpTime", &O::flapUpTime).check(atLeast(0)).maps(&R::flapUpTime);
    c.option("flapDownTime", &O::flapDownTime).check(atLeast(0)).maps(&R::flapDownTime);
    c.method("setDefault", &T::setDefault);
}

}  // namespace

TCLBgp4RouteRange::TCLBgp4RouteRange(TCLBgp4AsPathItem* pAsPathItem, TCLBgp4ExtendedCommunity* pExtendedCommunity)
    : asPathItems(this, pAsPathItem), extendedCommunities(this, pExtendedCommunity) {
    setDefault();
}

static binding::Describe<TCLBgp4RouteRange> describeBgp4RouteRange("TCLBgp4RouteRange", [](auto& c) {
    using T = TCLBgp4RouteRange;
    c.template constructor<TCLBgp4AsPathItem*, TCLBgp4ExtendedCommunity*>("pAsPathItem", "pExtendedCommunity");
    describeRouteOptions(c);
    describeCollection<&T::asPathItems>(c, "AsPathItem", "asPathItemId", "clearAllAsPathItems");
    describeCollection<&T::extendedCommunities>(c, "ExtendedCommunity", "extendedCommunityId",
                                                "clearAllExtendedCommunities");
});

namespace {

// Labels 0 to 15 are reserved; a label is 20 bits.
template <class T, class R>
void describeLabels(binding::ClassDesc<T>& c, hal::EBGP::ConfigLabels R::*labels) {
    using O = Bgp4LabelOptions;
    using L = hal::EBGP::ConfigLabels;
    c.option("labelMode", &O::labelMode).check(range(0, 1)).maps(labels, &L::labelMode);
    // In increment mode each route takes the next label.
    c.option("startLabel", &O::startLabel)
        .check(range(16, 1048575))
        .check([](const T& t) {
                   return t.labelMode != 1 || !range(16, 1048575)(t.startLabel) ||
                          stepsFit(uint64_t(t.startLabel), routeCount(t), 1, 1048575);
               },
               c.record().name + "::Validate()   numberOfRoutes runs past the label space from startLabel.")
        .maps(labels, &L::startLabel);
}

}  // namespace

static binding::Describe<TCLBgp4MplsRouteRange> describeBgp4MplsRouteRange("TCLBgp4MplsRouteRange", [](auto& c) {
    c.constructor();
    describeRouteOptions(c);
    describeLabels(c, &hal::EBGP::ConfigMplsRouteRange::labels);
});

static binding::Describe<TCLBgp4VpnRouteRange> describeBgp4VpnRouteRange("TCLBgp4VpnRouteRange", [](auto& c) {
    using T = TCLBgp4VpnRouteRange;
    using R = hal::EBGP::ConfigVpnRouteRange;
    c.constructor();
    describeRouteOptions(c);
    describeLabels(c, &R::labels);
    describeAdministrator(c, "distinguisher", &T::distinguisherType, &T::distinguisherAsNum, &T::distinguisherIpAddress,
                          &T::distinguisherAssignedNum, &R::distinguisher);
    c.option("distinguisherIncrementMode", &T::distinguisherIncrementMode)
        .check(range(0, 1))
        .maps(&R::distinguisherIncrementMode);
    c.option("distinguisherStep", &T::distinguisherStep).maps(&R::distinguisherStep);
});

}  // namespace zk
