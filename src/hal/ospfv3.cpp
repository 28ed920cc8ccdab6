#include "hal/ospfv3.h"

#include "hal/registry.h"

namespace hal {
namespace {
RegisterRecord<EOSPFv3NetworkRange> registerOspfV3NetworkRange("EOSPFv3NetworkRange");
RegisterRecord<EOSPFv3Interface> registerOspfV3Interface("EOSPFv3Interface");
RegisterRecord<EOSPFv3RouteRange> registerOspfV3RouteRange("EOSPFv3RouteRange");
RegisterRecord<EOSPFv3LSAPrefix> registerOspfV3LsaPrefix("EOSPFv3LSAPrefix");
RegisterRecord<EOSPFv3RouterLSAInterface> registerOspfV3RouterLsaInterface("EOSPFv3RouterLSAInterface");
RegisterRecord<EOSPFv3RouterLSA> registerOspfV3RouterLsa("EOSPFv3RouterLSA");
RegisterRecord<EOSPFv3NetworkLSA> registerOspfV3NetworkLsa("EOSPFv3NetworkLSA");
RegisterRecord<EOSPFv3InterAreaPrefixLSA> registerOspfV3InterAreaPrefixLsa("EOSPFv3InterAreaPrefixLSA");
RegisterRecord<EOSPFv3InterAreaRouterLSA> registerOspfV3InterAreaRouterLsa("EOSPFv3InterAreaRouterLSA");
RegisterRecord<EOSPFv3ASExternalLSA> registerOspfV3AsExternalLsa("EOSPFv3ASExternalLSA");
RegisterRecord<EOSPFv3LinkLSA> registerOspfV3LinkLsa("EOSPFv3LinkLSA");
RegisterRecord<EOSPFv3IntraAreaPrefixLSA> registerOspfV3IntraAreaPrefixLsa("EOSPFv3IntraAreaPrefixLSA");
RegisterRecord<EOSPFv3UserLSAGroup> registerOspfV3UserLsaGroup("EOSPFv3UserLSAGroup");
RegisterRecord<EOSPFv3LearnedLSA> registerOspfV3LearnedLsa("EOSPFv3LearnedLSA");
RegisterRecord<EOSPFv3Router> registerOspfV3Router("EOSPFv3Router");
RegisterRecord<EOSPFv3Server> registerOspfV3Server("EOSPFv3Server");
}  // namespace
}  // namespace hal
