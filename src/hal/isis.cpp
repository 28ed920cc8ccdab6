#include "hal/isis.h"

#include "hal/registry.h"

namespace hal {
namespace {
RegisterRecord<EISISRouteRange> registerIsisRouteRange("EISISRouteRange");
RegisterRecord<EISISGridTePath> registerIsisGridTePath("EISISGridTePath");
RegisterRecord<EISISGrid> registerIsisGrid("EISISGrid");
RegisterRecord<EISISInterface> registerIsisInterface("EISISInterface");
RegisterRecord<EISISRouter> registerIsisRouter("EISISRouter");
RegisterRecord<EISISServer> registerIsisServer("EISISServer");
RegisterRecord<EISISLearnedLSP> registerIsisLearnedLsp("EISISLearnedLSP");
}  // namespace
}  // namespace hal
