#include "hal/ospf.h"

#include "hal/registry.h"

namespace hal {
namespace {
RegisterRecord<ETrafficEngineeringData> registerOspfTe("ETrafficEngineeringData");
RegisterRecord<EOSPFNetworkRange> registerOspfNetworkRange("EOSPFNetworkRange");
RegisterRecord<ELSInterface> registerOspfLsInterface("ELSInterface");
RegisterRecord<EOSPFInterface> registerOspfInterface("EOSPFInterface");
RegisterRecord<EOSPFRouteRange> registerOspfRouteRange("EOSPFRouteRange");
RegisterRecord<EOSPFUserLSA> registerOspfUserLsa("EOSPFUserLSA");
RegisterRecord<EOSPFUserLSAGroup> registerOspfUserLsaGroup("EOSPFUserLSAGroup");
RegisterRecord<EOSPFRouter> registerOspfRouter("EOSPFRouter");
RegisterRecord<EOSPFServer> registerOspfServer("EOSPFServer");
}  // namespace
}  // namespace hal
