// zkchassis::learn rsvpLabels C D P ourIp dutIp {{fecDescription label} ...}:
// the labels a port learned on the pair of an emulated address and a DUT
// address, answered to that pair's label requests.
#include "core/learn_input.h"
#include "core/parse.h"
#include "rsvp/neighbor.h"

namespace zk {
namespace {

int learnRsvpLabels(Tcl_Interp* interp, Tcl_Obj* const objv[], learn::Filed& out) {
    auto ourIp = learn::readKey(interp, objv[0], "ourIp", learn::kIpv4Key);
    auto dutIp = ourIp ? learn::readKey(interp, objv[1], "dutIp", learn::kIpv4Key) : std::nullopt;
    if (!dutIp) return TCL_ERROR;
    int count;
    Tcl_Obj** labels;
    if (Tcl_ListObjGetElements(interp, objv[2], &count, &labels) != TCL_OK) return TCL_ERROR;
    auto data = std::make_shared<LearnedItems<LearnedRsvpLabel>>();
    for (int i = 0; i < count; ++i) {
        std::string where = "label " + std::to_string(i + 1) + " of the label list: ";
        int n;
        Tcl_Obj** pair;
        if (Tcl_ListObjGetElements(nullptr, labels[i], &n, &pair) != TCL_OK || n != 2)
            return learn::failed(interp, where + "expected {fecDescription label}");
        Tcl_WideInt label;
        if (Tcl_GetWideIntFromObj(nullptr, pair[1], &label) != TCL_OK || label < 0 || label > 1048575)
            return learn::failed(interp, where + "bad label \"" + Tcl_GetString(pair[1]) + "\": expected 0 to 1048575");
        data->items.push_back({Tcl_GetString(pair[0]), uint32_t(label)});
    }
    return learn::file(interp, out, learnedLabelsKey(*ipv4Address(*ourIp), *ipv4Address(*dutIp)),
                       data);
}

struct RegisterLearnedRsvpLabels {
    RegisterLearnedRsvpLabels() {
        learn::registerKind(kRsvpLabelsKind, Protocol::Rsvp, "ourIp dutIp {{fecDescription label} ...}",
                                   learnRsvpLabels);
    }
} registerLearnedRsvpLabels;

}  // namespace
}  // namespace zk
