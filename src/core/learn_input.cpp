#include "core/learn_input.h"

#include "chassis/lab.h"
#include "core/mac_address.h"
#include "core/parse.h"

namespace zk::learn {

namespace detail {

bool wide(Tcl_Obj* value, long long lo, long long hi, long long& out) {
    Tcl_WideInt w;
    if (Tcl_GetWideIntFromObj(nullptr, value, &w) != TCL_OK || w < lo || w > hi) return false;
    out = w;
    return true;
}

std::optional<hal::EIPAddress> address(Tcl_Obj* value, int family) {
    const char* text = Tcl_GetString(value);
    if (family != 6)
        if (auto a = ipv4Address(text)) return a;
    if (family != 4) return ipv6Address(text);
    return std::nullopt;
}

std::optional<hal::EBlob> mac(Tcl_Obj* value) {
    const char* text = Tcl_GetString(value);
    if (!validMac(text)) return std::nullopt;
    return macBlob(text);
}

std::string pairsOf(Tcl_Obj* element, int& n, Tcl_Obj**& pairs) {
    if (Tcl_ListObjGetElements(nullptr, element, &n, &pairs) != TCL_OK || n % 2)
        return "expected a list of -option value pairs";
    return "";
}

std::string unknownOption(std::string_view option, const std::vector<std::string_view>& names) {
    std::string text = "unknown option \"" + std::string(option) + "\": must be ";
    for (size_t i = 0; i < names.size(); ++i)
        text += std::string(i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + std::string(names[i]);
    return text;
}

std::string badValue(std::string_view option, Tcl_Obj* value) {
    return "bad value for " + std::string(option) + ": \"" + Tcl_GetString(value) + "\"";
}

}  // namespace detail

bool Given::has(std::string_view option) const {
    for (std::string_view n : names_)
        if (n == option) return true;
    return false;
}

namespace {
std::optional<std::string> addressKey(Tcl_Obj* value, int family) {
    auto a = detail::address(value, family);
    if (!a) return std::nullopt;
    return a->ToString();
}
}  // namespace

const Key kIpv4Key{"an IPv4 address", [](Tcl_Obj* v) { return addressKey(v, 4); }};
const Key kIpv6Key{"an IPv6 address", [](Tcl_Obj* v) { return addressKey(v, 6); }};
const Key kAnyIpKey{"an IPv4 or IPv6 address", [](Tcl_Obj* v) { return addressKey(v, 0); }};
const Key kMacKey{"a MAC address", [](Tcl_Obj* v) -> std::optional<std::string> {
                      auto mac = parseMac(Tcl_GetString(v));
                      if (!mac) return std::nullopt;
                      return formatMac(*mac);
                  }};

int failed(Tcl_Interp* interp, const std::string& text) {
    Tcl_SetObjResult(interp, Tcl_NewStringObj(text.c_str(), -1));
    return TCL_ERROR;
}

std::optional<std::string> readKey(Tcl_Interp* interp, Tcl_Obj* value, const char* name, const Key& key) {
    auto canonical = key.canonical(value);
    if (!canonical)
        failed(interp, std::string("invalid ") + name + " \"" + Tcl_GetString(value) + "\": expected " + key.expected);
    return canonical;
}

int file(Tcl_Interp* interp, chassis::Port& port, const char* kind, const std::string& key,
         std::shared_ptr<chassis::LearnedData> data) {
    chassis::Lab::instance().replies().learn(port.id.key(), kind, key, std::move(data));
    Tcl_ResetResult(interp);
    return TCL_OK;
}

}  // namespace zk::learn
