// zkchassis::learn ospfv3Lsas C D P interfaceIp lsaList: what a port learned
// for one interface address. Each element of lsaList is a list of -option
// value pairs naming the options of TCLOspfV3LearnedLsa:
//   {-lsaType 2 -linkStateId 0.0.0.1 -advertisingRouterId 2.2.2.2
//    -sequenceNumber 0x80000005 -lsaAge 30 -prefixes {2001:db8:1::/64}}
#include <tcl.h>

#include <optional>
#include <string>

#include "chassis/lab.h"
#include "chassis/learn.h"
#include "core/parse.h"
#include "core/port.h"
#include "ospfv3/interface.h"

namespace zk {
namespace {

// address/length, the length 0..128.
std::optional<hal::EIPMaskedAddress> prefixOf(const std::string& text) {
    size_t slash = text.find('/');
    if (slash == std::string::npos) return std::nullopt;
    auto address = ipv6Address(std::string_view(text).substr(0, slash));
    std::string length = text.substr(slash + 1);
    if (!address || length.empty() || length.size() > 3 || length.find_first_not_of("0123456789") != std::string::npos)
        return std::nullopt;
    int n = std::stoi(length);
    if (n > 128) return std::nullopt;
    return hal::EIPMaskedAddress(*address, n);
}

// One value of a learned LSA into the record; false when it does not fit.
bool setLearned(Tcl_Interp* interp, hal::EOSPFv3LearnedLSA& r, const std::string& option, Tcl_Obj* value) {
    Tcl_WideInt v;
    std::string text = Tcl_GetString(value);
    auto integer = [&](Tcl_WideInt lo, Tcl_WideInt hi) {
        return Tcl_GetWideIntFromObj(nullptr, value, &v) == TCL_OK && v >= lo && v <= hi;
    };
    if (option == "-lsaType") return integer(0, 6) && (r.type = int(v), true);
    if (option == "-sequenceNumber") return integer(0, 0xFFFFFFFF) && (r.sequence = uint32_t(v), true);
    if (option == "-lsaAge") return integer(0, 3600) && (r.age = uint16_t(v), true);
    if (option == "-linkStateId" || option == "-advertisingRouterId") {
        auto a = ipv4Address(text);
        if (a) (option == "-linkStateId" ? r.linkStateId : r.advertisingRouter) = *a;
        return a.has_value();
    }
    if (option == "-prefixes") {
        int n;
        Tcl_Obj** items;
        if (Tcl_ListObjGetElements(nullptr, value, &n, &items) != TCL_OK) return false;
        r.prefixes.clear();
        for (int i = 0; i < n; ++i) {
            auto p = prefixOf(Tcl_GetString(items[i]));
            if (!p) return false;
            r.prefixes.push_back(*p);
        }
        return true;
    }
    return false;
}

int learnOspfV3Lsas(Tcl_Interp* interp, Port& port, int objc, Tcl_Obj* const objv[]) {
    auto fail = [interp](const std::string& text) {
        Tcl_SetObjResult(interp, Tcl_NewStringObj(text.c_str(), -1));
        return TCL_ERROR;
    };
    if (objc != 2) return fail("wrong # args: should be \"zkchassis::learn ospfv3Lsas C D P interfaceIp lsaList\"");
    std::string ip = Tcl_GetString(objv[0]);
    if (!ipv6Address(ip)) return fail("invalid interfaceIp \"" + ip + "\": expected an IPv6 address");
    int count;
    Tcl_Obj** elements;
    if (Tcl_ListObjGetElements(interp, objv[1], &count, &elements) != TCL_OK) return TCL_ERROR;

    static const char* const kOptions[] = {"-lsaType", "-linkStateId", "-advertisingRouterId", "-sequenceNumber",
                                           "-lsaAge", "-prefixes"};
    auto data = std::make_shared<OspfV3LearnedLsaList>();
    for (int i = 0; i < count; ++i) {
        std::string where = "LSA " + std::to_string(i + 1) + " of lsaList: ";
        int n;
        Tcl_Obj** pairs;
        if (Tcl_ListObjGetElements(nullptr, elements[i], &n, &pairs) != TCL_OK || n % 2 != 0)
            return fail(where + "expected a list of -option value pairs");
        hal::EOSPFv3LearnedLSA record;
        for (int k = 0; k < n; k += 2) {
            std::string option = Tcl_GetString(pairs[k]);
            bool known = false;
            for (const char* o : kOptions) known = known || option == o;
            if (!known) return fail(where + "unknown option \"" + option + "\"");
            if (!setLearned(interp, record, option, pairs[k + 1]))
                return fail(where + "invalid value \"" + Tcl_GetString(pairs[k + 1]) + "\" for " + option);
        }
        data->lsas.push_back(record);
    }
    chassis::Lab::instance().replies().learn(port.id.key(), kOspfV3LsasKind, ospfV3LearnedKey(ip), data);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

struct RegisterOspfV3LearnedLsas {
    RegisterOspfV3LearnedLsas() {
        chassis::registerLearnKind(kOspfV3LsasKind, "interfaceIp lsaList", learnOspfV3Lsas);
    }
} registerOspfV3LearnedLsas;

}  // namespace
}  // namespace zk
