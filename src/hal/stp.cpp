#include "hal/stp.h"

#include "hal/registry.h"

namespace hal {
namespace {
RegisterRecord<EStpInterface> registerStpInterface("EStpInterface");
RegisterRecord<EStpLan> registerStpLan("EStpLan");
RegisterRecord<EStpBridge> registerStpBridge("EStpBridge");
RegisterRecord<EStpServer> registerStpServer("EStpServer");
RegisterRecord<EStpLearnedBridge> registerStpLearnedBridge("EStpLearnedBridge");
RegisterRecord<EStpLearnedInterface> registerStpLearnedInterface("EStpLearnedInterface");
}  // namespace
}  // namespace hal
