#include "core/learn_input.h"

#include <map>

#include "core/mac_address.h"
#include "core/parse.h"

namespace zk::learn {

bool Given::has(std::string_view option) const {
    for (const std::string& n : names_)
        if (n == option) return true;
    return false;
}

namespace {
// An address of the family (4 or 6; 0 either) in its canonical text.
std::optional<std::string> addressKey(Tcl_Obj* value, int family) {
    const char* text = Tcl_GetString(value);
    std::optional<hal::EIPAddress> a;
    if (family != 6) a = ipv4Address(text);
    if (!a && family != 4) a = ipv6Address(text);
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

int file(Tcl_Interp* interp, Filed& out, const std::string& key, std::shared_ptr<const LearnedData> data) {
    out = {key, std::move(data)};
    Tcl_ResetResult(interp);
    return TCL_OK;
}

namespace {
std::map<std::string, Kind, std::less<>>& kinds() {
    static auto* k = new std::map<std::string, Kind, std::less<>>;  // filled by static registrations
    return *k;
}
}  // namespace

void registerKind(const char* kind, Protocol protocol, const char* usage, Handler handler, bool statistics) {
    kinds()[kind] = Kind{protocol, statistics, usage, std::move(handler)};
}

const Kind* findKind(std::string_view kind) {
    auto it = kinds().find(kind);
    return it == kinds().end() ? nullptr : &it->second;
}

void forEachKind(const std::function<void(const std::string&, const Kind&)>& visit) {
    for (const auto& [name, kind] : kinds()) visit(name, kind);
}

}  // namespace zk::learn
