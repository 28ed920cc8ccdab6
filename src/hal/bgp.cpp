#include "hal/bgp.h"

#include "hal/registry.h"

namespace hal {
namespace {
RegisterRecord<EBGPGlobalConfig> registerGlobalConfig("EBGPGlobalConfig");
RegisterRecord<EBGP::ConfigAsPathSegment> registerSegment("EBGP::ConfigAsPathSegment");
RegisterRecord<EBGP::ConfigExtendedCommunity> registerExtendedCommunity("EBGP::ConfigExtendedCommunity");
RegisterRecord<EBGP::ConfigRouteRange> registerRouteRange("EBGP::ConfigRouteRange");
RegisterRecord<EBGP::ConfigNeighbor> registerNeighbor("EBGP::ConfigNeighbor");
RegisterRecord<EBGPServer> registerServer("EBGPServer");
}  // namespace
}  // namespace hal
