#include "ospf/ranges.h"

#include "core/checks.h"
#include "core/parse.h"
#include "core/port.h"

namespace zk {

const std::array<TeBandwidths::Field, 10> TeBandwidths::kFields = {{
    {"maxBandwidth", &TeBandwidths::maxBandwidth},
    {"maxReservableBandwidth", &TeBandwidths::maxReservableBandwidth},
    {"unreservedBandwidthPriority0", &TeBandwidths::unreservedBandwidthPriority0},
    {"unreservedBandwidthPriority1", &TeBandwidths::unreservedBandwidthPriority1},
    {"unreservedBandwidthPriority2", &TeBandwidths::unreservedBandwidthPriority2},
    {"unreservedBandwidthPriority3", &TeBandwidths::unreservedBandwidthPriority3},
    {"unreservedBandwidthPriority4", &TeBandwidths::unreservedBandwidthPriority4},
    {"unreservedBandwidthPriority5", &TeBandwidths::unreservedBandwidthPriority5},
    {"unreservedBandwidthPriority6", &TeBandwidths::unreservedBandwidthPriority6},
    {"unreservedBandwidthPriority7", &TeBandwidths::unreservedBandwidthPriority7},
}};

namespace {
// An address step as a 32-bit number, most significant byte first.
uint32_t step(const std::string& text) { return parseIPv4(text).value_or(0); }
}  // namespace

hal::EIPAddress validAddress(const std::string& text) { return ipv4Address(text).value_or(hal::EIPAddress{}); }

hal::EBlob adminGroupBlob(const std::string& text) {
    auto group = parseAdminGroup(text).value_or(std::array<uint8_t, 4>{});
    return hal::EBlob({group.begin(), group.end()});
}

void TeBandwidths::loadBandwidths(const hal::ETrafficEngineeringData& te) {
    maxBandwidth = te.GetMaxBandwidth();
    maxReservableBandwidth = te.GetMaxReservableBandwidth();
    for (int p = 0; p < 8; ++p) this->*kFields[size_t(p) + 2].member = te.GetUnreservedBandwidth(p);
}

void TeBandwidths::fillBandwidths(hal::ETrafficEngineeringData& te) const {
    for (int p = 0; p < 8; ++p) te.SetUnreservedBandwidth(p, this->*kFields[size_t(p) + 2].member);
    te.SetMaxBandwidth(maxBandwidth);
    te.SetMaxReservableBandwidth(maxReservableBandwidth);
}

std::string adminGroupText(const hal::EBlob& group) {
    std::string text;
    for (uint8_t b : group.GetData()) text += (text.empty() ? "" : " ") + formatText("%02x", b);
    return text;
}

// ---- route range ----

bool TCLOspfRouteRange::Validate() {
    Checks c;
    c.range(enable, 0, 1, "TCLOspfRouteRange::Validate()    Invalid enable.");
    c.range(routeOrigin, 0, 2, "TCLOspfRouteRange::Validate()    Invalid routeOrigin.");
    c.notNegative(metric, "TCLOspfRouteRange::Validate()   Invalid metric");
    c.range(prefix, 0, 32, "TCLOspfRouteRange::Validate()   Invalid prefix");
    c.ipv4(networkIpAddress, "TCLOspfRouteRange::Validate()    Invalid networkIpAddress");
    return c.ok();
}

int TCLOspfRouteRange::ToRecord(hal::EOSPFRouteRange& r) {
    if (!Validate()) return kFail;
    r.SetOrigin(routeOrigin);
    r.SetNumberOfRoutes(uint32_t(numberOfNetworks));
    r.SetEnabled(enable != 0);
    r.SetMaskWidth(prefix);
    r.SetMetric(uint32_t(metric));
    r.SetNetworkAddress(validAddress(networkIpAddress));
    return kOk;
}

void TCLOspfRouteRange::FromRecord(const hal::EOSPFRouteRange& r) {
    enable = r.IsEnabled();
    routeOrigin = r.GetOrigin();
    metric = int(r.GetMetric());
    numberOfNetworks = int(r.GetNumberOfRoutes());
    prefix = r.GetMaskWidth();
    networkIpAddress = r.GetNetworkAddress().ToString();
}

static binding::Describe<TCLOspfRouteRange> describeRouteRange(200, "TCLOspfRouteRange", [](auto& c) {
    using T = TCLOspfRouteRange;
    c.constructor();
    c.option("enable", &T::enable);
    c.option("routeOrigin", &T::routeOrigin);
    c.option("metric", &T::metric);
    c.option("numberOfNetworks", &T::numberOfNetworks);
    c.option("prefix", &T::prefix);
    c.option("networkIpAddress", &T::networkIpAddress);
    c.method("setDefault", &T::setDefault);
});

// ---- network range ----

bool TCLOspfNetworkRange::Validate() {
    Checks c;
    c.notNegative(numRows, "TCLOspfNetworkRange::Validate()   Invalid numRows");
    c.notNegative(numColumns, "TCLOspfNetworkRange::Validate()   Invalid numColumns");
    c.range(entryPointRow, 0, numRows, "TCLOspfNetworkRange::Validate()   Invalid entryPointRow");
    c.range(entryPointColumn, 0, numColumns, "TCLOspfNetworkRange::Validate()   Invalid entryPointColumn");
    c.range(maskWidth, 0, 32, "TCLOspfNetworkRange::Validate()   Invalid prefix");
    c.ipv4(firstRouterId, "TCLOspfNetworkRange::Validate()    Invalid firstRouterId");
    c.ipv4(firstSubnetIpAddress, "TCLOspfNetworkRange::Validate()    Invalid firstSubnetIpAddress");
    c.ipv4(routerIdIncrementBy, "TCLOspfNetworkRange::Validate()    Invalid routerIdIncrementBy");
    c.ipv4(subnetIpIncrementBy, "TCLOspfNetworkRange::Validate()    Invalid subnetIpIncrementBy");
    c.range(linkType, 0, 1, "TCLOspfInterface::ValidateOspfInterfaceParms()    Invalid linkType.");
    c.range(enableEBit, 0, 1, "TCLOspfInterface::ValidateOspfInterfaceParms()    Invalid enableEBit.");
    c.range(enableBBit, 0, 1, "TCLOspfInterface::ValidateOspfInterfaceParms()    Invalid enableBBit.");
    return c.ok();
}

// The port may not emulate a grid of any size: the HAL caps rows and
// columns by the port's limit key, and a lowered count is reported.
void TCLOspfNetworkRange::setGridSize(hal::EOSPFNetworkRange& r) const {
    Port* port = currentPort();
    if (!port) {
        r.SetNumberOfCols(numColumns, -1);
        r.SetNumberOfRows(numRows, -1);
        return;
    }
    int key = port->gridLimit;
    r.SetNumberOfRows(numRows, key);
    if (r.GetNumberOfRows() != numRows)
        setLastErrorf("TCLOspfNetworkRange::SetOspfNetworkRange()   Selected value for numRows is not supported for "
                      "this configuration on port %s. numRows is changed to valid number %d.",
                      portName(*port), r.GetNumberOfRows());
    r.SetNumberOfCols(numColumns, key);
    if (r.GetNumberOfCols() != numColumns)
        setLastErrorf("TCLOspfNetworkRange::SetOspfNetworkRange()   Selected value for numColumns is not supported "
                      "for this configuration on port %s. numColumns is changed to valid number %d.",
                      portName(*port), r.GetNumberOfCols());
}

int TCLOspfNetworkRange::ToRecord(hal::EOSPFNetworkRange& r) {
    if (!Validate()) return kFail;
    r.SetIncrementAddressFromMask(enableIncrementIpFromMask != 0);
    r.SetFirstRouterID(validAddress(firstRouterId));
    r.SetRouterIDIncrement(step(routerIdIncrementBy));
    r.SetFirstSubnetIPAddress(hal::EIPMaskedAddress(validAddress(firstSubnetIpAddress), maskWidth));
    r.SetSubnetIncrement(step(subnetIpIncrementBy));
    r.SetLinkType(linkType);
    r.SetTEEnabled(enableTe != 0);
    r.SetBitField((enableBBit ? 1 : 0) + (enableEBit ? 2 : 0));
    r.SetRouterLSAAdvertiseLoopback(enableAdvertiseRouterLsaLoopback != 0);
    hal::ETrafficEngineeringData te = r.GetTEConfig();
    fillBandwidths(te);
    te.SetMetric(uint32_t(linkMetric));
    r.SetTEConfig(te);
    setGridSize(r);
    r.SetEntryPoint(entryPointRow, entryPointColumn);
    setGridSize(r);  // asked once more after the entry point; a lowered count is reported again
    loadCounts(r);
    return kOk;
}

void TCLOspfNetworkRange::loadCounts(const hal::EOSPFNetworkRange& r) {
    numSubnets = r.CalcNoOfSubnets();
    numRouters = r.CalcNoOfRouters();
    numGeneratedLsas = r.CalcNoOfGeneratedLSAs();
}

void TCLOspfNetworkRange::FromRecord(const hal::EOSPFNetworkRange& r) {
    entryPointRow = r.GetEntryPointRow();
    entryPointColumn = r.GetEntryPointColumn();
    numRows = r.GetNumberOfRows();
    numColumns = r.GetNumberOfCols();
    firstRouterId = r.GetFirstRouterID().ToString();
    firstSubnetIpAddress = r.GetFirstSubnetIPAddress().GetAddress().ToString();
    routerIdIncrementBy = formatIPv4(r.GetRouterIDIncrement());
    subnetIpIncrementBy = formatIPv4(r.GetSubnetIncrement());
    enableIncrementIpFromMask = r.GetIncrementAddressFromMask();
    maskWidth = r.GetFirstSubnetIPAddress().GetPrefixLength();
    linkType = r.GetLinkType();
    enableBBit = (r.GetBitField() & 1) != 0;
    enableEBit = (r.GetBitField() & 2) != 0;
    enableAdvertiseRouterLsaLoopback = r.GetRouterLSAAdvertiseLoopback();
    enableTe = r.IsTEEnabled();
    loadBandwidths(r.GetTEConfig());
    linkMetric = int(r.GetTEConfig().GetMetric());
    loadCounts(r);
}

static binding::Describe<TCLOspfNetworkRange> describeNetworkRange(201, "TCLOspfNetworkRange", [](auto& c) {
    using T = TCLOspfNetworkRange;
    c.constructor();
    c.option("entryPointRow", &T::entryPointRow);
    c.option("entryPointColumn", &T::entryPointColumn);
    c.option("numRows", &T::numRows);
    c.option("numColumns", &T::numColumns);
    c.option("firstRouterId", &T::firstRouterId);
    c.option("firstSubnetIpAddress", &T::firstSubnetIpAddress);
    c.option("routerIdIncrementBy", &T::routerIdIncrementBy);
    c.option("subnetIpIncrementBy", &T::subnetIpIncrementBy);
    c.option("enableIncrementIpFromMask", &T::enableIncrementIpFromMask);
    c.option("maskWidth", &T::maskWidth);
    c.option("linkType", &T::linkType);
    c.option("enableBBit", &T::enableBBit);
    c.option("enableEBit", &T::enableEBit);
    c.option("enableAdvertiseRouterLsaLoopback", &T::enableAdvertiseRouterLsaLoopback);
    c.option("enableTe", &T::enableTe);
    describeMaxBandwidths(c);
    c.option("linkMetric", &T::linkMetric);
    describeUnreservedBandwidths(c);
    c.readOnly("numSubnets", &T::numSubnets);
    c.readOnly("numRouters", &T::numRouters);
    c.readOnly("numGeneratedLsas", &T::numGeneratedLsas);
    c.method("setDefault", &T::setDefault);
});

}  // namespace zk
