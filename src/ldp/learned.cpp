#include "ldp/learned.h"

#include <tcl.h>

#include <string_view>

#include "chassis/lab.h"
#include "chassis/learn.h"
#include "core/parse.h"

namespace zk {

static binding::Describe<TCLLdpLearnedLabel> describeLdpLearnedLabel("TCLLdpLearnedLabel", [](auto& c) {
    using T = TCLLdpLearnedLabel;
    using R = hal::ELdpLearnedLabel;
    c.constructor();
    c.readOnly("fecType", &T::fecType).maps(&R::fecType);
    c.readOnly("networkAddress", &T::networkAddress).maps(&R::network);
    c.readOnly("prefixLength", &T::prefixLength).maps(&R::prefixLength);
    c.readOnly("vcId", &T::vcId).maps(&R::vcId);
    c.readOnly("groupId", &T::groupId).maps(&R::groupId);
    c.readOnly("pwType", &T::pwType).maps(&R::pwType);
    c.readOnly("label", &T::label).maps(&R::label);
    c.readOnly("peerAddress", &T::peerAddress).maps(&R::peer);
    c.readOnly("state", &T::state).maps(&R::state);
    c.method("setDefault", &T::setDefault);
});

// ---- zkchassis::learn ldpLabels C D P routerId labelList ----

namespace {

using Label = hal::ELdpLearnedLabel;

// A number option of a learned label: its bounds and where it goes.
struct NumberOption {
    std::string_view name;
    long long lo, hi;
    void (*store)(Label&, long long);
};
const NumberOption kNumbers[] = {
    {"-fecType", kFecPrefix, kFecPwId, [](Label& l, long long v) { l.fecType = uint8_t(v); }},
    {"-prefixLength", 0, 32, [](Label& l, long long v) { l.prefixLength = uint8_t(v); }},
    {"-vcId", 0, UINT32_MAX, [](Label& l, long long v) { l.vcId = uint32_t(v); }},
    {"-groupId", 0, UINT32_MAX, [](Label& l, long long v) { l.groupId = uint32_t(v); }},
    {"-pwType", 0, 65535, [](Label& l, long long v) { l.pwType = uint16_t(v); }},
    {"-label", 0, hal::kLastLdpLabel, [](Label& l, long long v) { l.label = uint32_t(v); }},
    {"-state", 0, 2, [](Label& l, long long v) { l.state = uint8_t(v); }},
};

// One option of a label; "" or why its value is refused.
std::string readLabelOption(std::string_view option, Tcl_Obj* value, Label& l) {
    const std::string bad = "bad value for " + std::string(option) + ": \"" + Tcl_GetString(value) + "\"";
    if (option == "-networkAddress" || option == "-peerAddress") {
        auto address = ipv4Address(Tcl_GetString(value));
        if (!address) return bad;
        (option == "-peerAddress" ? l.peer : l.network) = *address;
        return "";
    }
    for (const NumberOption& n : kNumbers) {
        if (n.name != option) continue;
        Tcl_WideInt v;
        if (Tcl_GetWideIntFromObj(nullptr, value, &v) != TCL_OK || v < n.lo || v > n.hi) return bad;
        if (n.name == "-fecType" && v != kFecPrefix && v != kFecPwId) return bad;
        n.store(l, v);
        return "";
    }
    return "unknown option \"" + std::string(option) + "\"";
}

// Without -fecType a label with a VC ID is a pseudowire's, any other a prefix's.
std::string parseLabel(Tcl_Obj* pairs, Label& l) {
    int n;
    Tcl_Obj** items;
    if (Tcl_ListObjGetElements(nullptr, pairs, &n, &items) != TCL_OK || n % 2) return "expected a list of -option value pairs";
    bool typed = false, hasVc = false;
    for (int k = 0; k < n; k += 2) {
        std::string_view option = Tcl_GetString(items[k]);
        if (std::string why = readLabelOption(option, items[k + 1], l); !why.empty()) return why;
        typed = typed || option == "-fecType";
        hasVc = hasVc || option == "-vcId";
    }
    if (!typed) l.fecType = uint8_t(hasVc ? kFecPwId : kFecPrefix);
    return "";
}

int learnLdpLabels(Tcl_Interp* interp, chassis::Port& port, int objc, Tcl_Obj* const objv[]) {
    auto fail = [interp](const std::string& text) {
        Tcl_SetObjResult(interp, Tcl_NewStringObj(text.c_str(), -1));
        return TCL_ERROR;
    };
    if (objc != 2) return fail("wrong # args: should be \"zkchassis::learn ldpLabels C D P routerId labelList\"");
    auto routerId = ipv4Address(Tcl_GetString(objv[0]));
    if (!routerId) return fail(std::string("invalid routerId \"") + Tcl_GetString(objv[0]) + "\": expected an IPv4 address");
    int count;
    Tcl_Obj** labels;
    if (Tcl_ListObjGetElements(interp, objv[1], &count, &labels) != TCL_OK) return TCL_ERROR;
    auto data = std::make_shared<LearnedLdpLabels>();
    data->labels.resize(size_t(count));
    for (int i = 0; i < count; ++i)
        if (std::string why = parseLabel(labels[i], data->labels[size_t(i)]); !why.empty())
            return fail("label " + std::to_string(i + 1) + " of labelList: " + why);
    chassis::Lab::instance().replies().learn(port.id.key(), kLdpLabelsKind, routerId->ToString(), data);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

struct RegisterLearnedLdpLabels {
    RegisterLearnedLdpLabels() { chassis::registerLearnKind(kLdpLabelsKind, "routerId labelList", learnLdpLabels); }
} registerLearnedLdpLabels;

}  // namespace

}  // namespace zk
