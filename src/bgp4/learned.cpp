#include "bgp4/learned.h"

#include <tcl.h>

#include <string_view>
#include <type_traits>

#include "bgp4/forms.h"
#include "chassis/lab.h"
#include "chassis/learn.h"
#include "core/parse.h"

namespace zk {

std::string learnedBgpKey(const std::string& dutIpText) { return anyAddress(dutIpText).ToString(); }

static binding::Describe<TCLBgp4LearnedRoute> describeBgp4LearnedRoute("TCLBgp4LearnedRoute", [](auto& c) {
    using T = TCLBgp4LearnedRoute;
    using R = hal::EBGP::LearnedRoute;
    c.constructor();
    c.readOnly("family", &T::family).maps(&R::family);
    c.readOnly("networkAddress", &T::networkAddress).maps(&R::network);
    c.readOnly("prefixLength", &T::prefixLength).maps(&R::prefixLength);
    c.readOnly("nextHopIpAddress", &T::nextHopIpAddress).maps(&R::nextHop);
    c.readOnly("origin", &T::origin).maps(&R::origin);
    c.readOnly("asPath", &T::asPath).mapsVia([](const std::string&) { return std::vector<uint16_t>{}; },
                                             bgp4::formatAsList, &R::asPath);
    c.readOnly("localPref", &T::localPref).maps(&R::localPreference);
    c.readOnly("med", &T::med).maps(&R::med);
    c.readOnly("communities", &T::communities)
        .mapsVia([](const std::string&) { return std::vector<uint32_t>{}; }, bgp4::formatCommunities, &R::communities);
    c.readOnly("label", &T::label).maps(&R::label);
    c.method("setDefault", &T::setDefault);
});

namespace {

using bgp4::kFamilyIpV6Unicast;

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

int fail(Tcl_Interp* interp, const std::string& text) {
    Tcl_SetObjResult(interp, Tcl_NewStringObj(text.c_str(), -1));
    return TCL_ERROR;
}

bool wide(Tcl_Obj* o, long long lo, long long hi, long long& out) {
    Tcl_WideInt w;
    if (Tcl_GetWideIntFromObj(nullptr, o, &w) != TCL_OK || w < lo || w > hi) return false;
    out = w;
    return true;
}

using Route = hal::EBGP::LearnedRoute;
using Setter = bool (*)(Tcl_Obj*, Route&);

template <auto Field, long long Lo, long long Hi>
bool setNumber(Tcl_Obj* o, Route& r) {
    long long v;
    if (!wide(o, Lo, Hi, v)) return false;
    using F = std::remove_reference_t<decltype(r.*Field)>;
    r.*Field = F(v);
    return true;
}

template <auto Field>
bool setAddress(Tcl_Obj* o, Route& r) {
    std::string text = Tcl_GetString(o);
    r.*Field = anyAddress(text);
    return ipv4(text) || ipv6(text);
}

template <auto Field, auto Parse>
bool setList(Tcl_Obj* o, Route& r) {
    auto list = Parse(Tcl_GetString(o));
    if (list) r.*Field = *list;
    return list.has_value();
}

const std::pair<std::string_view, Setter> kRouteOptions[] = {
    {"-family", setNumber<&Route::family, 1, 9>},
    {"-networkAddress", setAddress<&Route::network>},
    {"-prefixLength", setNumber<&Route::prefixLength, 0, 128>},
    {"-nextHopIpAddress", setAddress<&Route::nextHop>},
    {"-origin", setNumber<&Route::origin, 0, 2>},
    {"-asPath", setList<&Route::asPath, bgp4::parseAsList>},
    {"-localPref", setNumber<&Route::localPreference, 0, UINT32_MAX>},
    {"-med", setNumber<&Route::med, 0, UINT32_MAX>},
    {"-communities", setList<&Route::communities, bgp4::parseCommunities>},
    {"-label", setNumber<&Route::label, 0, 1048575>},
};

// One route from its -option value pairs; "" or why it is refused. Without
// -family the route is unicast of its address's family.
std::string parseRoute(Tcl_Obj* pairs, Route& r) {
    int n;
    Tcl_Obj** items;
    if (Tcl_ListObjGetElements(nullptr, pairs, &n, &items) != TCL_OK || n % 2) return "expected a list of -option value pairs";
    r.family = 0;
    for (int k = 0; k < n; k += 2) {
        std::string_view option = Tcl_GetString(items[k]);
        const Setter* set = nullptr;
        for (const auto& [name, setter] : kRouteOptions)
            if (name == option) set = &setter;
        if (!set) return "unknown option \"" + std::string(option) + "\"";
        if (!(*set)(items[k + 1], r))
            return "bad value for " + std::string(option) + ": \"" + Tcl_GetString(items[k + 1]) + "\"";
    }
    if (r.family == 0) r.family = r.network.IsV6() ? kFamilyIpV6Unicast : 1;
    return "";
}

int learnRoutes(Tcl_Interp* interp, chassis::Port& port, int objc, Tcl_Obj* const objv[]) {
    if (objc != 2) return fail(interp, "wrong # args: should be \"zkchassis::learn bgpRoutes C D P dutIp routeList\"");
    std::string ip = Tcl_GetString(objv[0]);
    if (!ipv4(ip) && !ipv6(ip)) return fail(interp, "invalid dutIp \"" + ip + "\": expected an IPv4 or IPv6 address");
    int count;
    Tcl_Obj** routes;
    if (Tcl_ListObjGetElements(interp, objv[1], &count, &routes) != TCL_OK) return TCL_ERROR;
    auto data = std::make_shared<LearnedBgpRoutes>();
    data->routes.resize(size_t(count));
    for (int i = 0; i < count; ++i)
        if (std::string why = parseRoute(routes[i], data->routes[size_t(i)]); !why.empty())
            return fail(interp, "route " + std::to_string(i + 1) + " of routeList: " + why);
    chassis::Lab::instance().replies().learn(port.id.key(), kBgpRoutesKind, learnedBgpKey(ip), data);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

int learnStats(Tcl_Interp* interp, chassis::Port& port, int objc, Tcl_Obj* const objv[]) {
    if (objc != 2) return fail(interp, "wrong # args: should be \"zkchassis::learn bgpStats C D P dutIp {selector value ...}\"");
    std::string ip = Tcl_GetString(objv[0]);
    if (!ipv4(ip) && !ipv6(ip)) return fail(interp, "invalid dutIp \"" + ip + "\": expected an IPv4 or IPv6 address");
    int n;
    Tcl_Obj** items;
    if (Tcl_ListObjGetElements(nullptr, objv[1], &n, &items) != TCL_OK || n % 2)
        return fail(interp, "expected a list of selector value pairs");
    auto data = std::make_shared<LearnedBgpStats>();
    for (int k = 0; k < n; k += 2) {
        long long selector;
        if (!wide(items[k], 0, kLastStatistic, selector))
            return fail(interp, std::string("unknown selector \"") + Tcl_GetString(items[k]) + "\": expected 0 to 70");
        data->values[int(selector)] = Tcl_GetString(items[k + 1]);
    }
    chassis::Lab::instance().replies().learn(port.id.key(), kBgpStatsKind, learnedBgpKey(ip), data);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

struct RegisterLearnedBgp {
    RegisterLearnedBgp() {
        chassis::registerLearnKind(kBgpRoutesKind, "dutIp routeList", learnRoutes);
        chassis::registerLearnKind(kBgpStatsKind, "dutIp {selector value ...}", learnStats);
    }
} registerLearnedBgp;

}  // namespace

}  // namespace zk
