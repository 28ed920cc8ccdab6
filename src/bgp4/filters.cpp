#include "bgp4/filters.h"

#include "bgp4/forms.h"
#include "binding/collection_methods.h"

namespace zk {

namespace {

using bgp4::kFamilyIpV6Unicast, bgp4::kFamilyUserDefined;

bool familyAddress(int family, const std::string& text) {
    if (family == kFamilyUserDefined || family < 1 || family > kFamilyUserDefined) return ipv4(text) || ipv6(text);
    return family >= kFamilyIpV6Unicast ? ipv6(text) : ipv4(text);
}

}  // namespace

static binding::Describe<TCLBgp4PrefixFilter> describeBgp4PrefixFilter("TCLBgp4PrefixFilter", [](auto& c) {
    using T = TCLBgp4PrefixFilter;
    using R = hal::EBGP::ConfigPrefixFilter;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("family", &T::family).check(range(1, kFamilyUserDefined)).maps(&R::family);
    c.option("networkAddress", &T::networkAddress)
        .check([](const T& t) { return familyAddress(t.family, t.networkAddress); })
        .maps(&R::network);
    c.option("prefixLength", &T::prefixLength)
        .check([](const T& t) { return t.prefixLength >= 0 && t.prefixLength <= bgp4::maxPrefixOf(t.networkAddress); })
        .maps(&R::prefixLength);
    c.option("enableExactMatch", &T::enableExactMatch).check(boolean).maps(&R::exactMatch);
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLBgp4RouteFilter> describeBgp4RouteFilter("TCLBgp4RouteFilter", [](auto& c) {
    using T = TCLBgp4RouteFilter;
    using R = hal::EBGP::ConfigRouteFilter;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("family", &T::family).check(range(0, kFamilyUserDefined)).maps(&R::family);
    c.option("enablePrefixFilters", &T::enablePrefixFilters).check(boolean).maps(&R::usePrefixFilters);
    c.option("maxRoutes", &T::maxRoutes).check(atLeast(0)).maps(&R::maxRoutes);
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLBgp4InternalNeighborItem> describeBgp4InternalNeighborItem("TCLBgp4InternalNeighborItem", [](auto& c) {
    using T = TCLBgp4InternalNeighborItem;
    using R = hal::EBGP::ConfigInternalNeighborItem;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("dutIpAddress", &T::dutIpAddress)
        .check([](const std::string& s) { return ipv4(s) || ipv6(s); })
        .maps(&R::dutAddress);
    c.method("setDefault", &T::setDefault);
});

TCLBgp4InternalTable::TCLBgp4InternalTable(TCLBgp4InternalNeighborItem* pInternalNeighborItem)
    : neighborItems(this, pInternalNeighborItem) {
    setDefault();
}

static binding::Describe<TCLBgp4InternalTable> describeBgp4InternalTable("TCLBgp4InternalTable", [](auto& c) {
    using T = TCLBgp4InternalTable;
    using R = hal::EBGP::ConfigInternalTable;
    c.template constructor<TCLBgp4InternalNeighborItem*>("pInternalNeighborItem");
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("retries", &T::retries).check(atLeast(0)).maps(&R::retries);
    c.option("retryDelay", &T::retryDelay).check(atLeast(0)).maps(&R::retryDelay);
    c.option("enableActiveConnect", &T::enableActiveConnect).check(boolean).maps(&R::activeConnect);
    c.option("enableEstablishOnce", &T::enableEstablishOnce).check(boolean).maps(&R::establishOnceOnly);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::neighborItems>(c, "NeighborItem", "neighborItemId", "clearAllNeighborItems");
});

}  // namespace zk
