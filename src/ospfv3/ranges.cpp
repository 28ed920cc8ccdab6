#include "ospfv3/ranges.h"

#include "core/ospf_grid_ranges.h"
#include "core/parse.h"
#include "core/span.h"

namespace zk {

// ---- route range ----

static binding::Describe<TCLOspfV3RouteRange> describeOspfV3RouteRange("TCLOspfV3RouteRange", [](auto& c) {
    using T = TCLOspfV3RouteRange;
    using R = hal::EOSPFv3RouteRange;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("routeOrigin", &T::routeOrigin).check(range(0, 2)).maps(&R::origin);
    c.option("metric", &T::metric).check(range(0, 0xFFFFFF)).maps(&R::metric);
    c.option("numberOfNetworks", &T::numberOfNetworks).check(atLeast(0)).maps(&R::routes);
    c.option("prefix", &T::prefix).check(range(0, 128)).maps(&R::prefixLength);
    c.option("networkIpAddress", &T::networkIpAddress)
        .check(ipv6)
        .check([](const T& t) { return !ipv6(t.networkIpAddress) || networksFit(t.networkIpAddress, t.prefix, t.numberOfNetworks); },
               "TCLOspfV3RouteRange::Validate()   numberOfNetworks runs past the address space from networkIpAddress.")
        .maps(&R::network);
    c.method("setDefault", &T::setDefault);
});

// ---- network range ----

int TCLOspfV3NetworkRange::intoRecordRest(hal::EOSPFv3NetworkRange& r) {
    r.firstSubnet = hal::EIPMaskedAddress(anyAddress(firstSubnetIpAddress), maskWidth);
    r.bits = uint8_t((enableBBit ? 1 : 0) + (enableEBit ? 2 : 0));
    setGridSize(r, numRows, numColumns, "TCLOspfV3NetworkRange::SetOspfV3NetworkRange()");
    keepEntryInside(r.entryRow, r.entryCol, r);
    loadGridCounts(*this, r);
    return kOk;
}

void TCLOspfV3NetworkRange::fromRecordRest(const hal::EOSPFv3NetworkRange& r) {
    loadGrid(*this, r);
}

static binding::Describe<TCLOspfV3NetworkRange> describeOspfV3NetworkRange("TCLOspfV3NetworkRange", [](auto& c) {
    using T = TCLOspfV3NetworkRange;
    using R = hal::EOSPFv3NetworkRange;
    auto step = [](const std::string& text) { return parseIPv4(text).value_or(0); };  // most significant byte first
    c.constructor();
    c.option("entryPointRow", &T::entryPointRow)
        .check([](const T& t) { return t.entryPointRow >= 0 && t.entryPointRow <= t.numRows; })
        .maps(&R::entryRow);
    c.option("entryPointColumn", &T::entryPointColumn)
        .check([](const T& t) { return t.entryPointColumn >= 0 && t.entryPointColumn <= t.numColumns; })
        .maps(&R::entryCol);
    c.option("numRows", &T::numRows).check(atLeast(0));
    c.option("numColumns", &T::numColumns)
        .check(atLeast(0))
        .check([](const T& t) { return t.numRows != 0 || t.numColumns != 0; },
               "TCLOspfV3NetworkRange::Validate()   A grid of 0 by 0 has no router.");
    c.option("firstRouterId", &T::firstRouterId).check(ipv4).maps(&R::firstRouterId);
    c.option("routerIdIncrementBy", &T::routerIdIncrementBy).check(ipv4).mapsVia(step, formatIPv4, &R::routerIdStep);
    c.option("firstSubnetIpAddress", &T::firstSubnetIpAddress).check(ipv6);
    c.option("maskWidth", &T::maskWidth).check(range(0, 128));
    c.option("subnetIpIncrementBy", &T::subnetIpIncrementBy).check(ipv6).maps(&R::subnetStep);
    c.option("linkType", &T::linkType).check(boolean).maps(&R::linkType);
    c.option("enableBBit", &T::enableBBit).check(boolean);
    c.option("enableEBit", &T::enableEBit).check(boolean);
    c.readOnly("numSubnets", &T::numSubnets);
    c.readOnly("numRouters", &T::numRouters);
    c.readOnly("numGeneratedLsas", &T::numGeneratedLsas);
    c.method("setDefault", &T::setDefault);
});

}  // namespace zk
