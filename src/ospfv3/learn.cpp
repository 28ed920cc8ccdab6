// The learned LSA class, and zkchassis::learn ospfv3Lsas C D P interfaceIp
// lsaList: what a port learned for one interface address. Each element of
// lsaList is a list of -option value pairs naming the options of
// TCLOspfV3LearnedLsa:
//   {-lsaType 2 -linkStateId 0.0.0.1 -advertisingRouterId 2.2.2.2
//    -sequenceNumber 0x80000005 -lsaAge 30 -prefixes {2001:db8:1::/64}}
#include <optional>
#include <string>
#include <vector>

#include "binding/learned.h"
#include "core/parse.h"
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

// A Tcl list of prefixes.
std::optional<std::vector<hal::EIPMaskedAddress>> prefixList(const std::string& text) {
    int n;
    const char** items;
    if (Tcl_SplitList(nullptr, text.c_str(), &n, &items) != TCL_OK) return std::nullopt;
    std::vector<hal::EIPMaskedAddress> prefixes;
    for (int i = 0; i < n; ++i) {
        auto p = prefixOf(items[i]);
        if (!p) break;
        prefixes.push_back(*p);
    }
    Tcl_Free(reinterpret_cast<char*>(items));
    if (prefixes.size() != size_t(n)) return std::nullopt;
    return prefixes;
}

}  // namespace

// ---- learned LSA ----

static binding::Describe<TCLOspfV3LearnedLsa> describeOspfV3LearnedLsa("TCLOspfV3LearnedLsa", [](auto& c) {
    using T = TCLOspfV3LearnedLsa;
    using R = hal::EOSPFv3LearnedLSA;
    auto prefixesText = [](const std::vector<hal::EIPMaskedAddress>& list) {
        std::string text;
        for (const auto& p : list) text += (text.empty() ? "" : " ") + p.ToString();
        return text;
    };
    c.constructor();
    // The ospfV3Lsa* number of the type: ospfV3LsaRouter 0 to ospfV3LsaIntraAreaPrefix 6.
    c.readOnly("lsaType", &T::lsaType).maps(&R::type).learned(range(0, 6));
    c.readOnly("linkStateId", &T::linkStateId).maps(&R::linkStateId).learned(ipv4);
    c.readOnly("advertisingRouterId", &T::advertisingRouterId).maps(&R::advertisingRouter).learned(ipv4);
    c.readOnly("sequenceNumber", &T::sequenceNumber).maps(&R::sequence).learned(range(0, 0xFFFFFFFF));
    c.readOnly("lsaAge", &T::lsaAge).maps(&R::age).learned(range(0, 3600));  // MaxAge
    c.readOnly("prefixes", &T::prefixes)
        .mapsVia(
            [](const std::string& text) { return prefixList(text).value_or(std::vector<hal::EIPMaskedAddress>{}); },
            prefixesText, &R::prefixes)
        .learned([](const std::string& text) { return prefixList(text).has_value(); });
    c.method("setDefault", &T::setDefault);
});

namespace {

struct RegisterOspfV3LearnedLsas {
    RegisterOspfV3LearnedLsas() {
        learn::registerItems<hal::EOSPFv3LearnedLSA>(kOspfV3LsasKind, Protocol::OspfV3, "interfaceIp lsaList",
                                                     &learn::kIpv6Key, "LSA",
                                                     binding::learnedItems<TCLOspfV3LearnedLsa>());
    }
} registerOspfV3LearnedLsas;

}  // namespace
}  // namespace zk
