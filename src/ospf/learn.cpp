// zkchassis::learn ospfLsas C D P interfaceIp lsaList: what a port learned
// for one interface address, each element of lsaList a list of -option
// value pairs of TCLOspfUserLsa.
#include <tcl.h>

#include "binding/option_list.h"
#include "chassis/lab.h"
#include "chassis/learn.h"
#include "core/port.h"
#include "ospf/interface.h"

namespace zk {
namespace {

int learnOspfLsas(Tcl_Interp* interp, Port& port, int objc, Tcl_Obj* const objv[]) {
    auto fail = [interp](const std::string& text) {
        Tcl_SetObjResult(interp, Tcl_NewStringObj(text.c_str(), -1));
        return TCL_ERROR;
    };
    if (objc != 2) return fail("wrong # args: should be \"zkchassis::learn ospfLsas C D P interfaceIp lsaList\"");
    std::string ip = Tcl_GetString(objv[0]);
    if (!ipv4Address(ip)) return fail("invalid interfaceIp \"" + ip + "\": expected an IPv4 address");
    int count;
    Tcl_Obj** elements;
    if (Tcl_ListObjGetElements(interp, objv[1], &count, &elements) != TCL_OK) return TCL_ERROR;

    const binding::ClassRecord& cls = binding::classOf<TCLOspfUserLsa>();
    auto data = std::make_shared<LearnedLsaList>();
    const std::string savedError = lastError();  // the chassis never touches the module's last error
    for (int i = 0; i < count; ++i) {
        std::string where = "LSA " + std::to_string(i + 1) + " of lsaList: ";
        TCLOspfUserLsa lsa;
        std::string error;
        if (!binding::configureFromList(interp, cls, lsa, elements[i], error)) return fail(where + error);
        hal::EOSPFUserLSA record;
        if (lsa.ToRecord(record) != kOk) {
            std::string why = lastError();
            setLastError(savedError);
            return fail(where + why);
        }
        data->lsas.push_back(record);
    }
    chassis::Lab::instance().replies().learn(port.id.key(), kOspfLsasKind, learnedLsaKey(ip), data);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

struct RegisterLearnedLsas {
    RegisterLearnedLsas() { chassis::registerLearnKind(kOspfLsasKind, "interfaceIp lsaList", learnOspfLsas); }
} registerLearnedLsas;

}  // namespace
}  // namespace zk
