// zkchassis::learn ospfv3Lsas C D P interfaceIp lsaList: what a port learned
// for one interface address. Each element of lsaList is a list of -option
// value pairs naming the options of TCLOspfV3LearnedLsa:
//   {-lsaType 2 -linkStateId 0.0.0.1 -advertisingRouterId 2.2.2.2
//    -sequenceNumber 0x80000005 -lsaAge 30 -prefixes {2001:db8:1::/64}}
#include <optional>
#include <string>
#include <vector>

#include "core/learn_input.h"
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

using Lsa = hal::EOSPFv3LearnedLSA;

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

const learn::Option<Lsa> kLsaOptions[] = {
    {"-lsaType", learn::number<&Lsa::type, 0, 6>},
    {"-linkStateId", learn::ipv4<&Lsa::linkStateId>},
    {"-advertisingRouterId", learn::ipv4<&Lsa::advertisingRouter>},
    {"-sequenceNumber", learn::number<&Lsa::sequence, 0, 0xFFFFFFFF>},
    {"-lsaAge", learn::number<&Lsa::age, 0, 3600>},
    {"-prefixes", learn::parsed<&Lsa::prefixes, prefixList>},
};

struct RegisterOspfV3LearnedLsas {
    RegisterOspfV3LearnedLsas() {
        learn::registerItems<Lsa>(kOspfV3LsasKind, "interfaceIp lsaList", &learn::kIpv6Key, "LSA",
                                  learn::withOptions<Lsa>(kLsaOptions));
    }
} registerOspfV3LearnedLsas;

}  // namespace
}  // namespace zk
