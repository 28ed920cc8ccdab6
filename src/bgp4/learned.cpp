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
        data->values[int(selector)] = Tcl_GetString(items[k + 1]);
    }
    return learn::file(interp, out, *key, data);
}

struct RegisterLearnedBgp {
    RegisterLearnedBgp() {
        learn::registerItems<Route>(kBgpRoutesKind, Protocol::Bgp4, "dutIp routeList", &learn::kAnyIpKey, "route",
                                    binding::learnedItems<TCLBgp4LearnedRoute>({}, settleFamily));
        learn::registerKind(kBgpStatsKind, Protocol::Bgp4, "dutIp {selector value ...}", learnStats, true);
    }
} registerLearnedBgp;

}  // namespace

}  // namespace zk
