#include "isis/learned.h"

#include "core/learn_input.h"
#include "isis/forms.h"

namespace zk {

static binding::Describe<TCLIsisLearnedLsp> describeIsisLearnedLsp("TCLIsisLearnedLsp", [](auto& c) {
    using T = TCLIsisLearnedLsp;
    using R = hal::EISISLearnedLSP;
    c.constructor();
    c.readOnly("lspId", &T::lspId).mapsVia([](const std::string&) { return hal::EBlob{}; }, isis::lspIdText, &R::lspId);
    c.readOnly("sequenceNumber", &T::sequenceNumber).maps(&R::sequence);
    c.readOnly("remainingLifetime", &T::remainingLifetime).maps(&R::remainingLifetime);
    c.readOnly("level", &T::level).maps(&R::level);
    c.readOnly("tlvs", &T::tlvs).maps(&R::tlvs);
    c.method("setDefault", &T::setDefault);
});

// ---- zkchassis::learn isisLsps C D P systemId lspList ----

namespace {

using Lsp = hal::EISISLearnedLSP;

const learn::Option<Lsp> kLspOptions[] = {
    {"-lspId", learn::parsed<&Lsp::lspId, isis::parseLspId>},
    {"-sequenceNumber", learn::number<&Lsp::sequence, 0, UINT32_MAX>},
    {"-remainingLifetime", learn::number<&Lsp::remainingLifetime, 0, 65535>},
    {"-level", learn::number<&Lsp::level, 1, 2>},
    {"-tlvs", learn::text<&Lsp::tlvs>},
};

const learn::Key kSystemIdKey{"six bytes", [](Tcl_Obj* v) -> std::optional<std::string> {
                                  const char* text = Tcl_GetString(v);
                                  if (!isis::systemId(text)) return std::nullopt;
                                  return isis::systemIdText(isis::systemIdBlob(text));
                              }};

// Without -lspId an LSP is the router's own first fragment: its system ID
// (the key, canonical) and two zero bytes.
std::string readLsp(Tcl_Obj* element, const std::string& systemId, Lsp& lsp) {
    Lsp start;
    start.lspId = isis::systemIdBlob(systemId);
    start.lspId.bytes.resize(8, 0);
    return learn::withOptions<Lsp>(kLspOptions, start)(element, systemId, lsp);
}

struct RegisterLearnedIsisLsps {
    RegisterLearnedIsisLsps() {
        learn::registerItems<Lsp>(kIsisLspsKind, "systemId lspList", &kSystemIdKey, "LSP", readLsp);
    }
} registerLearnedIsisLsps;

}  // namespace
}  // namespace zk
