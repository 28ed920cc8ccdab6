#include "hal/rip.h"

#include "hal/registry.h"

namespace hal {
namespace {

RegisterRecord<ERIPServer> registerRipServer("ERIPServer");
RegisterRecord<ERIPRouter> registerRipRouter("ERIPRouter");
RegisterRecord<ERIPRouteRange> registerRipRouteRange("ERIPRouteRange");
RegisterRecord<ERIPngServer> registerRipngServer("ERIPngServer");
RegisterRecord<ERIPngRouter> registerRipngRouter("ERIPngRouter");
RegisterRecord<ERIPngInterface> registerRipngInterface("ERIPngInterface");
RegisterRecord<ERIPngRouteRange> registerRipngRouteRange("ERIPngRouteRange");

}  // namespace
}  // namespace hal
