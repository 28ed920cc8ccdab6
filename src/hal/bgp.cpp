#include "hal/bgp.h"

#include "hal/registry.h"

namespace hal {
namespace {
RegisterRecord<EBGPGlobalConfig> registerBgpGlobalConfig("EBGPGlobalConfig");
RegisterRecord<EBGP::ConfigAsPathSegment> registerBgpSegment("EBGP::ConfigAsPathSegment");
RegisterRecord<EBGP::ConfigExtendedCommunity> registerBgpExtendedCommunity("EBGP::ConfigExtendedCommunity");
RegisterRecord<EBGP::ConfigRouteRange> registerBgpRouteRange("EBGP::ConfigRouteRange");
RegisterRecord<EBGP::ConfigMplsRouteRange> registerBgpMplsRouteRange("EBGP::ConfigMplsRouteRange");
RegisterRecord<EBGP::ConfigRouteTarget> registerBgpRouteTarget("EBGP::ConfigRouteTarget");
RegisterRecord<EBGP::ConfigVpnRouteRange> registerBgpVpnRouteRange("EBGP::ConfigVpnRouteRange");
RegisterRecord<EBGP::ConfigL3Site> registerBgpL3Site("EBGP::ConfigL3Site");
RegisterRecord<EBGP::ConfigPrefixFilter> registerBgpPrefixFilter("EBGP::ConfigPrefixFilter");
RegisterRecord<EBGP::ConfigRouteFilter> registerBgpRouteFilter("EBGP::ConfigRouteFilter");
RegisterRecord<EBGP::ConfigInternalNeighborItem> registerBgpInternalItem("EBGP::ConfigInternalNeighborItem");
RegisterRecord<EBGP::ConfigInternalTable> registerBgpInternalTable("EBGP::ConfigInternalTable");
RegisterRecord<EBGP::ConfigNeighbor> registerBgpNeighbor("EBGP::ConfigNeighbor");
RegisterRecord<EBGPServer> registerBgpServer("EBGPServer");
}  // namespace
}  // namespace hal
