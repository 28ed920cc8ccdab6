#include "hal/bgp.h"

#include "hal/registry.h"

namespace hal {
namespace {
RegisterRecord<EBGPGlobalConfig> registerGlobalConfig("EBGPGlobalConfig");
RegisterRecord<EBGP::ConfigAsPathSegment> registerSegment("EBGP::ConfigAsPathSegment");
RegisterRecord<EBGP::ConfigExtendedCommunity> registerExtendedCommunity("EBGP::ConfigExtendedCommunity");
RegisterRecord<EBGP::ConfigRouteRange> registerRouteRange("EBGP::ConfigRouteRange");
RegisterRecord<EBGP::ConfigMplsRouteRange> registerMplsRouteRange("EBGP::ConfigMplsRouteRange");
RegisterRecord<EBGP::ConfigRouteTarget> registerRouteTarget("EBGP::ConfigRouteTarget");
RegisterRecord<EBGP::ConfigVpnRouteRange> registerVpnRouteRange("EBGP::ConfigVpnRouteRange");
RegisterRecord<EBGP::ConfigL3Site> registerL3Site("EBGP::ConfigL3Site");
RegisterRecord<EBGP::ConfigPrefixFilter> registerPrefixFilter("EBGP::ConfigPrefixFilter");
RegisterRecord<EBGP::ConfigRouteFilter> registerRouteFilter("EBGP::ConfigRouteFilter");
RegisterRecord<EBGP::ConfigInternalNeighborItem> registerInternalItem("EBGP::ConfigInternalNeighborItem");
RegisterRecord<EBGP::ConfigInternalTable> registerInternalTable("EBGP::ConfigInternalTable");
RegisterRecord<EBGP::ConfigNeighbor> registerNeighbor("EBGP::ConfigNeighbor");
RegisterRecord<EBGPServer> registerServer("EBGPServer");
}  // namespace
}  // namespace hal
