#include "isis/learned.h"

#include "binding/learned.h"
#include "isis/forms.h"

namespace zk {

static binding::Describe<TCLIsisLearnedLsp> describeIsisLearnedLsp("TCLIsisLearnedLsp", [](auto& c) {
    using T = TCLIsisLearnedLsp;
    using R = hal::EISISLearnedLSP;
    auto lspIdBlob = [](const std::string& text) { return isis::parseLspId(text).value_or(hal::EBlob{}); };
    c.constructor();
    c.readOnly("lspId", &T::lspId).mapsVia(lspIdBlob, isis::lspIdText, &R::lspId).learned([](const std::string& text) {
        return isis::parseLspId(text).has_value();
    });
    c.readOnly("sequenceNumber", &T::sequenceNumber).maps(&R::sequence).learned(range(0, UINT32_MAX));
    c.readOnly("remainingLifetime", &T::remainingLifetime).maps(&R::remainingLifetime).learned(range(0, 65535));
    c.readOnly("level", &T::level).maps(&R::level).learned(range(1, 2));
    c.readOnly("tlvs", &T::tlvs).maps(&R::tlvs).learned();
    c.method("setDefault", &T::setDefault);
});

// ---- zkchassis::learn isisLsps C D P systemId lspList ----

namespace {

using Lsp = hal::EISISLearnedLSP;

const learn::Key kSystemIdKey{"six bytes", [](Tcl_Obj* v) -> std::optional<std::string> {
                                  const char* text = Tcl_GetString(v);
                                  if (!isis::systemId(text)) return std::nullopt;
                                  return isis::systemIdText(isis::systemIdBlob(text));
                              }};

// Without -lspId an LSP is the router's own first fragment: its system ID
// (the key) and two zero bytes.
std::string readLsp(Tcl_Obj* element, const std::string& systemId, Lsp& lsp) {
    Lsp start;
    start.lspId = isis::systemIdBlob(systemId);
    start.lspId.bytes.resize(8, 0);
    return binding::learnedItems<TCLIsisLearnedLsp>(start)(element, systemId, lsp);
}

struct RegisterLearnedIsisLsps {
    RegisterLearnedIsisLsps() {
        learn::registerItems<Lsp>(kIsisLspsKind, Protocol::Isis, "systemId lspList", &kSystemIdKey, "LSP", readLsp);
    }
} registerLearnedIsisLsps;

}  // namespace
}  // namespace zk
