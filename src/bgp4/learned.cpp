#include "bgp4/learned.h"

#include "bgp4/forms.h"
#include "binding/learned.h"
#include "core/parse.h"

namespace zk {

static binding::Describe<TCLBgp4LearnedRoute> describeBgp4LearnedRoute("TCLBgp4LearnedRoute", [](auto& c) {
    using T = TCLBgp4LearnedRoute;
    using R = hal::EBGP::LearnedRoute;
    auto address = [](const std::string& text) { return ipv4(text) || ipv6(text); };
    c.constructor();
    c.readOnly("family", &T::family).maps(&R::family).learned(range(1, 9));
    c.readOnly("networkAddress", &T::networkAddress).maps(&R::network).learned(address);
    c.readOnly("prefixLength", &T::prefixLength).maps(&R::prefixLength).learned(range(0, 128));
    c.readOnly("nextHopIpAddress", &T::nextHopIpAddress).maps(&R::nextHop).learned(address);
    c.readOnly("origin", &T::origin).maps(&R::origin).learned(range(0, 2));
    c.readOnly("asPath", &T::asPath)
        .mapsVia([](const std::string& s) { return bgp4::parseAsList(s).value_or(std::vector<uint16_t>{}); },
                 bgp4::formatAsList, &R::asPath)
        .learned([](const std::string& s) { return bgp4::parseAsList(s).has_value(); });
    c.readOnly("localPref", &T::localPref).maps(&R::localPreference).learned(range(0, UINT32_MAX));
    c.readOnly("med", &T::med).maps(&R::med).learned(range(0, UINT32_MAX));
    c.readOnly("communities", &T::communities)
        .mapsVia([](const std::string& s) { return bgp4::parseCommunities(s).value_or(std::vector<uint32_t>{}); },
                 bgp4::formatCommunities, &R::communities)
        .learned([](const std::string& s) { return bgp4::parseCommunities(s).has_value(); });
    c.readOnly("label", &T::label).maps(&R::label).learned(range(0, 1048575));
    // VPN routes: the distinguisher, and for every route the route targets,
    // each "AS:number" or "a.b.c.d:number".
    c.readOnly("routeDistinguisher", &T::routeDistinguisher)
        .mapsVia([](const std::string& s) { return s.empty() ? s : bgp4::parseAdministratorText(s).value_or(""); },
                 [](const std::string& s) { return s; }, &R::routeDistinguisher)
        .learned([](const std::string& s) { return s.empty() || bgp4::parseAdministratorText(s).has_value(); });
    c.readOnly("routeTargets", &T::routeTargets)
        .mapsVia(
            [](const std::string& s) { return bgp4::parseAdministratorList(s).value_or(std::vector<std::string>{}); },
            bgp4::formatTextList, &R::routeTargets)
        .learned([](const std::string& s) { return bgp4::parseAdministratorList(s).has_value(); });
    c.method("setDefault", &T::setDefault);
});

namespace {

bool samePrefix(const hal::EIPAddress& a, const hal::EIPAddress& b, int bits) {
    const auto &x = a.GetBytes(), &y = b.GetBytes();
    for (int i = 0; i < bits; ++i) {
        int mask = 0x80 >> (i % 8);
        if ((x[size_t(i / 8)] & mask) != (y[size_t(i / 8)] & mask)) return false;
    }
    return true;
}

bool matches(const hal::EBGP::ConfigPrefixFilter& f, const hal::EBGP::LearnedRoute& r) {
    if (!f.enabled || f.family != r.family || r.prefixLength < f.prefixLength) return false;
    if (f.exactMatch && r.prefixLength != f.prefixLength) return false;
    return f.network.IsV6() == r.network.IsV6() && samePrefix(f.network, r.network, f.prefixLength);
}

}  // namespace

bool keepsRoute(const hal::EBGP::ConfigNeighbor& n, const hal::EBGP::LearnedRoute& route) {
    const auto& filter = n.routeFilter;
    if (!filter.enabled) return true;
    if (filter.family != 0 && filter.family != route.family) return false;
    if (!filter.usePrefixFilters) return true;
    bool kept = false;
    n.prefixFilters.ForEach([&](const hal::EBGP::ConfigPrefixFilter& f) { kept = kept || matches(f, route); });
    return kept;
}

// ---- zkchassis::learn bgpRoutes / bgpStats ----

namespace {

using Route = hal::EBGP::LearnedRoute;

// Without -family a route is unicast of its address's family.
void settleFamily(Route& r, const learn::Given& given) {
    if (!given.has("family")) r.family = r.network.IsV6() ? bgp4::kFamilyIpV6Unicast : 1;
}

// A learned route whose prefix is longer than its address, or whose
// family is not its address's, could not have been learned.
std::string checkRoute(const Route& r) {
    const bool v6 = r.network.IsV6();
    if (r.prefixLength > (v6 ? 128 : 32))
        return "-prefixLength " + std::to_string(r.prefixLength) + " is longer than the address " + r.network.ToString();
    const bool familyV6 = r.family >= bgp4::kFamilyIpV6Unicast && r.family < bgp4::kFamilyUserDefined;
    if (r.family != bgp4::kFamilyUserDefined && familyV6 != v6)
        return "-family " + std::to_string(r.family) + " is not the family of " + r.network.ToString();
    if (!r.routeDistinguisher.empty() && r.family != bgp4::kFamilyIpV4MplsVpn && r.family != bgp4::kFamilyIpV6MplsVpn)
        return "-routeDistinguisher is for VPN routes (family 4 or 8), not -family " + std::to_string(r.family);
    return "";
}

learn::ItemReader<Route> readRoute() {
    auto read = binding::learnedItems<TCLBgp4LearnedRoute>({}, settleFamily);
    return [read](Tcl_Obj* element, const std::string& key, Route& r) {
        std::string why = read(element, key, r);
        return why.empty() ? checkRoute(r) : why;
    };
}

// The statistics of addresses: our and the peer's address and identifier.
bool addressStatistic(Tcl_WideInt selector) { return selector == 0 || selector == 1 || selector == 4 || selector == 5; }

int learnStats(Tcl_Interp* interp, Tcl_Obj* const objv[], learn::Filed& out) {
    auto key = learn::readKey(interp, objv[0], "dutIp", learn::kAnyIpKey);
    if (!key) return TCL_ERROR;
    int n;
    Tcl_Obj** items;
    if (Tcl_ListObjGetElements(nullptr, objv[1], &n, &items) != TCL_OK || n % 2)
        return learn::failed(interp, "expected a list of selector value pairs");
    auto data = std::make_shared<LearnedBgpStats>();
    for (int k = 0; k < n; k += 2) {
        Tcl_WideInt selector;
        if (Tcl_GetWideIntFromObj(nullptr, items[k], &selector) != TCL_OK || selector < 0 || selector > kLastStatistic)
            return learn::failed(interp,
                                 std::string("unknown selector \"") + Tcl_GetString(items[k]) + "\": expected 0 to 70");
        // Addresses as text, everything else a count in decimal.
        std::string value = Tcl_GetString(items[k + 1]);
        Tcl_WideInt count;
        if (addressStatistic(selector) ? !ipv4(value) && !ipv6(value)
                                       : Tcl_GetWideIntFromObj(nullptr, items[k + 1], &count) != TCL_OK || count < 0)
            return learn::failed(interp, "bad value for selector " + std::to_string(selector) + ": \"" + value + "\": expected " +
                                             (addressStatistic(selector) ? "an IPv4 or IPv6 address" : "a count"));
        data->values[int(selector)] = addressStatistic(selector) ? value : std::to_string(count);
    }
    return learn::file(interp, out, *key, data);
}

struct RegisterLearnedBgp {
    RegisterLearnedBgp() {
        learn::registerItems<Route>(kBgpRoutesKind, Protocol::Bgp4, "dutIp routeList", &learn::kAnyIpKey, "route",
                                    readRoute());
        learn::registerKind(kBgpStatsKind, Protocol::Bgp4, "dutIp {selector value ...}", learnStats, true);
    }
} registerLearnedBgp;

}  // namespace

}  // namespace zk
