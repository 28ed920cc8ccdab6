#include "ospf/ranges.h"

#include "core/ospf_grid_ranges.h"
#include "core/parse.h"
#include "core/grid_size.h"
#include "core/port.h"

namespace zk {

// ---- route range ----

static binding::Describe<TCLOspfRouteRange> describeOspfRouteRange("TCLOspfRouteRange", [](auto& c) {
    using T = TCLOspfRouteRange;
    using R = hal::EOSPFRouteRange;
    c.constructor();
    c.option("enable", &T::enable).check(boolean, "TCLOspfRouteRange::Validate()    Invalid enable.").maps(&R::enabled);
    c.option("routeOrigin", &T::routeOrigin)
        .check(range(0, 2), "TCLOspfRouteRange::Validate()    Invalid routeOrigin.")
        .maps(&R::origin);
    c.option("metric", &T::metric).check(atLeast(0), "TCLOspfRouteRange::Validate()   Invalid metric").maps(&R::metric);
    c.option("numberOfNetworks", &T::numberOfNetworks).maps(&R::routes);
    c.option("prefix", &T::prefix).check(range(0, 32), "TCLOspfRouteRange::Validate()   Invalid prefix").maps(&R::maskWidth);
    c.option("networkIpAddress", &T::networkIpAddress)
        .check(ipv4, "TCLOspfRouteRange::Validate()    Invalid networkIpAddress")
        .maps(&R::network);
    c.method("setDefault", &T::setDefault);
});

// ---- network range ----

int TCLOspfNetworkRange::intoRecordRest(hal::EOSPFNetworkRange& r) {
    r.firstSubnet = hal::EIPMaskedAddress(validAddress(firstSubnetIpAddress), maskWidth);
    r.bits = uint8_t((enableBBit ? 1 : 0) + (enableEBit ? 2 : 0));
    fillBandwidths(r.te);
    // The port may not emulate a grid of any size: rows and columns are
    // asked for once more after the entry point, and a lowered count is
    // reported again.
    const char* where = "TCLOspfNetworkRange::SetOspfNetworkRange()";
    setGridSize(r, numRows, numColumns, where);
    setGridSize(r, numRows, numColumns, where);
    keepEntryInside(r.entryRow, r.entryCol, r);
    loadGridCounts(*this, r);
    return kOk;
}

void TCLOspfNetworkRange::fromRecordRest(const hal::EOSPFNetworkRange& r) {
    loadGrid(*this, r);
    loadBandwidths(r.te);
}

static binding::Describe<TCLOspfNetworkRange> describeOspfNetworkRange("TCLOspfNetworkRange", [](auto& c) {
    using T = TCLOspfNetworkRange;
    using R = hal::EOSPFNetworkRange;
    using TE = hal::ETrafficEngineeringData;
    auto step = [](const std::string& text) { return parseIPv4(text).value_or(0); };  // most significant byte first
    c.constructor();
    c.option("entryPointRow", &T::entryPointRow)
        .check([](const T& t) { return t.entryPointRow >= 0 && t.entryPointRow <= t.numRows; },
               "TCLOspfNetworkRange::Validate()   Invalid entryPointRow")
        .maps(&R::entryRow);
    c.option("entryPointColumn", &T::entryPointColumn)
        .check([](const T& t) { return t.entryPointColumn >= 0 && t.entryPointColumn <= t.numColumns; },
               "TCLOspfNetworkRange::Validate()   Invalid entryPointColumn")
        .maps(&R::entryCol);
    c.option("numRows", &T::numRows).check(atLeast(0), "TCLOspfNetworkRange::Validate()   Invalid numRows");
    c.option("numColumns", &T::numColumns).check(atLeast(0), "TCLOspfNetworkRange::Validate()   Invalid numColumns");
    c.option("firstRouterId", &T::firstRouterId)
        .check(ipv4, "TCLOspfNetworkRange::Validate()    Invalid firstRouterId")
        .maps(&R::firstRouterId);
    c.option("firstSubnetIpAddress", &T::firstSubnetIpAddress)
        .check(ipv4, "TCLOspfNetworkRange::Validate()    Invalid firstSubnetIpAddress");
    c.option("routerIdIncrementBy", &T::routerIdIncrementBy)
        .check(ipv4, "TCLOspfNetworkRange::Validate()    Invalid routerIdIncrementBy")
        .mapsVia(step, formatIPv4, &R::routerIdStep);
    c.option("subnetIpIncrementBy", &T::subnetIpIncrementBy)
        .check(ipv4, "TCLOspfNetworkRange::Validate()    Invalid subnetIpIncrementBy")
        .mapsVia(step, formatIPv4, &R::subnetStep);
    c.option("enableIncrementIpFromMask", &T::enableIncrementIpFromMask).maps(&R::incrementFromMask);
    c.option("maskWidth", &T::maskWidth).check(range(0, 32), "TCLOspfNetworkRange::Validate()   Invalid prefix");
    c.option("linkType", &T::linkType)
        .check(boolean, "TCLOspfInterface::ValidateOspfInterfaceParms()    Invalid linkType.")
        .maps(&R::linkType);
    c.option("enableBBit", &T::enableBBit)
        .check(boolean, "TCLOspfInterface::ValidateOspfInterfaceParms()    Invalid enableBBit.");
    c.option("enableEBit", &T::enableEBit)
        .check(boolean, "TCLOspfInterface::ValidateOspfInterfaceParms()    Invalid enableEBit.");
    c.option("enableAdvertiseRouterLsaLoopback", &T::enableAdvertiseRouterLsaLoopback).maps(&R::loopback);
    c.option("enableTe", &T::enableTe).maps(&R::teEnabled);
    describeMaxBandwidths(c);
    c.option("linkMetric", &T::linkMetric).maps(&R::te, &TE::metric);
    describeUnreservedBandwidths(c);
    c.readOnly("numSubnets", &T::numSubnets);
    c.readOnly("numRouters", &T::numRouters);
    c.readOnly("numGeneratedLsas", &T::numGeneratedLsas);
    c.checkOrder({"numRows", "numColumns", "entryPointRow", "entryPointColumn", "maskWidth", "firstRouterId",
                  "firstSubnetIpAddress", "routerIdIncrementBy", "subnetIpIncrementBy", "linkType", "enableEBit",
                  "enableBBit"});
    c.method("setDefault", &T::setDefault);
});

}  // namespace zk
