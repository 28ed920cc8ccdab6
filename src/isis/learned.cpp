#include "isis/learned.h"

#include <tcl.h>

#include <string_view>

#include "chassis/lab.h"
#include "chassis/learn.h"
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

bool lspNumber(Tcl_Obj* o, long long lo, long long hi, long long& out) {
    Tcl_WideInt w;
    if (Tcl_GetWideIntFromObj(nullptr, o, &w) != TCL_OK || w < lo || w > hi) return false;
    out = w;
    return true;
}

// One LSP from its -option value pairs; "" or why it is refused. Without
// -lspId the LSP is the router's own first fragment.
std::string parseLsp(Tcl_Obj* pairs, const hal::EBlob& systemId, Lsp& lsp) {
    int n;
    Tcl_Obj** items;
    if (Tcl_ListObjGetElements(nullptr, pairs, &n, &items) != TCL_OK || n % 2) return "expected a list of -option value pairs";
    std::vector<uint8_t> id = systemId.bytes;
    id.resize(8, 0);
    lsp.lspId = hal::EBlob(id);
    for (int k = 0; k < n; k += 2) {
        std::string_view option = Tcl_GetString(items[k]);
        Tcl_Obj* value = items[k + 1];
        long long v = 0;
        bool good = true;
        if (option == "-lspId") {
            auto parsed = isis::parseLspId(Tcl_GetString(value));
            if (parsed) lsp.lspId = *parsed;
            good = parsed.has_value();
        } else if (option == "-sequenceNumber") {
            good = lspNumber(value, 0, UINT32_MAX, v);
            lsp.sequence = uint32_t(v);
        } else if (option == "-remainingLifetime") {
            good = lspNumber(value, 0, 65535, v);
            lsp.remainingLifetime = uint16_t(v);
        } else if (option == "-level") {
            good = lspNumber(value, 1, 2, v);
            lsp.level = uint8_t(v);
        } else if (option == "-tlvs") {
            lsp.tlvs = Tcl_GetString(value);
        } else {
            return "unknown option \"" + std::string(option) +
                   "\": must be -lspId, -sequenceNumber, -remainingLifetime, -level or -tlvs";
        }
        if (!good) return "bad value for " + std::string(option) + ": \"" + Tcl_GetString(value) + "\"";
    }
    return "";
}

int learnIsisLsps(Tcl_Interp* interp, chassis::Port& port, int objc, Tcl_Obj* const objv[]) {
    auto fail = [interp](const std::string& text) {
        Tcl_SetObjResult(interp, Tcl_NewStringObj(text.c_str(), -1));
        return TCL_ERROR;
    };
    if (objc != 2) return fail("wrong # args: should be \"zkchassis::learn isisLsps C D P systemId lspList\"");
    std::string id = Tcl_GetString(objv[0]);
    if (!isis::systemId(id)) return fail("invalid systemId \"" + id + "\": expected six bytes");
    hal::EBlob systemId = isis::systemIdBlob(id);
    int count;
    Tcl_Obj** lsps;
    if (Tcl_ListObjGetElements(interp, objv[1], &count, &lsps) != TCL_OK) return TCL_ERROR;
    auto data = std::make_shared<LearnedIsisLsps>();
    data->lsps.resize(size_t(count));
    for (int i = 0; i < count; ++i)
        if (std::string why = parseLsp(lsps[i], systemId, data->lsps[size_t(i)]); !why.empty())
            return fail("LSP " + std::to_string(i + 1) + " of lspList: " + why);
    chassis::Lab::instance().replies().learn(port.id.key(), kIsisLspsKind, isis::systemIdText(systemId), data);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

struct RegisterLearnedIsisLsps {
    RegisterLearnedIsisLsps() { chassis::registerLearnKind(kIsisLspsKind, "systemId lspList", learnIsisLsps); }
} registerLearnedIsisLsps;

}  // namespace
}  // namespace zk
