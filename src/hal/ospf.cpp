#include "hal/ospf.h"

#include "hal/registry.h"

namespace hal {
namespace {
RegisterRecord<ETrafficEngineeringData> registerTe("ETrafficEngineeringData");
RegisterRecord<EOSPFNetworkRange> registerNetworkRange("EOSPFNetworkRange");
RegisterRecord<ELSInterface> registerLsInterface("ELSInterface");
RegisterRecord<EOSPFInterface> registerInterface("EOSPFInterface");
RegisterRecord<EOSPFRouteRange> registerRouteRange("EOSPFRouteRange");
RegisterRecord<EOSPFUserLSA> registerUserLsa("EOSPFUserLSA");
RegisterRecord<EOSPFUserLSAGroup> registerUserLsaGroup("EOSPFUserLSAGroup");
RegisterRecord<EOSPFRouter> registerRouter("EOSPFRouter");
RegisterRecord<EOSPFServer> registerServer("EOSPFServer");
}  // namespace
}  // namespace hal
