#include "hal/multicast.h"

#include "hal/registry.h"

namespace hal {
namespace {
RegisterRecord<EIgmpSourceRange> registerIgmpSourceRange("EIgmpSourceRange");
RegisterRecord<EIgmpGroupRange> registerIgmpGroupRange("EIgmpGroupRange");
RegisterRecord<EIgmpHost> registerIgmpHost("EIgmpHost");
RegisterRecord<EIgmpServer> registerIgmpServer("EIgmpServer");
RegisterRecord<EMldSourceRange> registerMldSourceRange("EMldSourceRange");
RegisterRecord<EMldGroupRange> registerMldGroupRange("EMldGroupRange");
RegisterRecord<EMldHost> registerMldHost("EMldHost");
RegisterRecord<EMldServer> registerMldServer("EMldServer");
RegisterRecord<EMulticastLearnedGroup> registerMulticastLearnedGroup("EMulticastLearnedGroup");
RegisterRecord<EPimsmJoinPrune> registerPimsmJoinPrune("EPimsmJoinPrune");
RegisterRecord<EPimsmSourceRange> registerPimsmSourceRange("EPimsmSourceRange");
RegisterRecord<EPimsmInterface> registerPimsmInterface("EPimsmInterface");
RegisterRecord<EPimsmCandidateRpRange> registerPimsmCandidateRpRange("EPimsmCandidateRpRange");
RegisterRecord<EPimsmRouter> registerPimsmRouter("EPimsmRouter");
RegisterRecord<EPimsmServer> registerPimsmServer("EPimsmServer");
RegisterRecord<EPimsmLearnedNeighbor> registerPimsmLearnedNeighbor("EPimsmLearnedNeighbor");
RegisterRecord<EPimsmLearnedRp> registerPimsmLearnedRp("EPimsmLearnedRp");
}  // namespace
}  // namespace hal
