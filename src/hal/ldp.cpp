#include "hal/ldp.h"

#include "hal/registry.h"

namespace hal {
namespace {
RegisterRecord<ELdpAtmLabelRange> registerLdpAtmLabelRange("ELdpAtmLabelRange");
RegisterRecord<ELdpInterface> registerLdpInterface("ELdpInterface");
RegisterRecord<ELdpTargetedPeer> registerLdpTargetedPeer("ELdpTargetedPeer");
RegisterRecord<ELdpAdvertiseFecRange> registerLdpAdvertiseFecRange("ELdpAdvertiseFecRange");
RegisterRecord<ELdpRequestFecRange> registerLdpRequestFecRange("ELdpRequestFecRange");
RegisterRecord<ELdpL2VpnVcRange> registerLdpL2VpnVcRange("ELdpL2VpnVcRange");
RegisterRecord<ELdpVplsMacRange> registerLdpVplsMacRange("ELdpVplsMacRange");
RegisterRecord<ELdpL2VpnInterface> registerLdpL2VpnInterface("ELdpL2VpnInterface");
RegisterRecord<ELdpRouter> registerLdpRouter("ELdpRouter");
RegisterRecord<ELdpServer> registerLdpServer("ELdpServer");
RegisterRecord<ELdpLearnedLabel> registerLdpLearnedLabel("ELdpLearnedLabel");
}  // namespace
}  // namespace hal
