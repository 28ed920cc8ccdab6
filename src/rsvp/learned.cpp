// zkchassis::learn rsvpLabels C D P ourIp dutIp {{fecDescription label} ...}:
// the labels a port learned on the pair of an emulated address and a DUT
// address, answered to that pair's label requests.
#include <tcl.h>

#include "chassis/lab.h"
#include "chassis/learn.h"
#include "core/parse.h"
#include "rsvp/neighbor.h"

namespace zk {
namespace {

int rsvpLearnFail(Tcl_Interp* interp, const std::string& text) {
    Tcl_SetObjResult(interp, Tcl_NewStringObj(text.c_str(), -1));
    return TCL_ERROR;
}

int learnRsvpLabels(Tcl_Interp* interp, chassis::Port& port, int objc, Tcl_Obj* const objv[]) {
    if (objc != 3)
        return rsvpLearnFail(
            interp, "wrong # args: should be \"zkchassis::learn rsvpLabels C D P ourIp dutIp {{fecDescription label} ...}\"");
    const char* names[2] = {"ourIp", "dutIp"};
    hal::EIPAddress address[2];
    for (int i = 0; i < 2; ++i) {
        std::string text = Tcl_GetString(objv[i]);
        auto a = ipv4Address(text);
        if (!a) return rsvpLearnFail(interp, std::string("invalid ") + names[i] + " \"" + text + "\": expected an IPv4 address");
        address[i] = *a;
    }
    int count;
    Tcl_Obj** labels;
    if (Tcl_ListObjGetElements(interp, objv[2], &count, &labels) != TCL_OK) return TCL_ERROR;
    auto data = std::make_shared<LearnedRsvpLabels>();
    for (int i = 0; i < count; ++i) {
        std::string where = "label " + std::to_string(i + 1) + " of the label list: ";
        int n;
        Tcl_Obj** pair;
        if (Tcl_ListObjGetElements(nullptr, labels[i], &n, &pair) != TCL_OK || n != 2)
            return rsvpLearnFail(interp, where + "expected {fecDescription label}");
        Tcl_WideInt label;
        if (Tcl_GetWideIntFromObj(nullptr, pair[1], &label) != TCL_OK || label < 0 || label > 1048575)
            return rsvpLearnFail(interp, where + "bad label \"" + Tcl_GetString(pair[1]) + "\": expected 0 to 1048575");
        data->table.entries.push_back({Tcl_GetString(pair[0]), uint32_t(label)});
    }
    chassis::Lab::instance().replies().learn(port.id.key(), kRsvpLabelsKind, learnedLabelsKey(address[0], address[1]),
                                             data);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

struct RegisterLearnedRsvpLabels {
    RegisterLearnedRsvpLabels() {
        chassis::registerLearnKind(kRsvpLabelsKind, "ourIp dutIp {{fecDescription label} ...}", learnRsvpLabels);
    }
} registerLearnedRsvpLabels;

}  // namespace
}  // namespace zk
