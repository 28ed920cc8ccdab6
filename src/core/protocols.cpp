#include "core/protocols.h"

#include <algorithm>
#include <array>

namespace zk {
namespace {

using P = Protocol;
// clang-format off
constexpr ProtocolRow kRows[kProtocolCount] = {
//   protocol   name      title      service switch              flag   create switch                 rank  start                    stop                    transmit
    {P::Igmp,   "igmp",   "IGMP",    "enableIgmpQueryResponse",  false, "enableIgmpCreateInterface",  5,    {54, "startIgmp"},       {117, "stopIgmp"},      {55, "transmitIgmpLeave"}},
    {P::Ospf,   "ospf",   "OSPF",    "enableOspfService",        false, "enableOspfCreateInterface",  2,    {65, "startOspf"},       {66, "stopOspf"},       {}},
    {P::Bgp4,   "bgp4",   "BGP-4",   "enableBgp4Service",        false, "enableBgp4CreateInterface",  0,    {63, "startBgp4"},       {64, "stopBgp4"},       {}},
    {P::Isis,   "isis",   "IS-IS",   "enableIsisService",        false, "enableIsisCreateInterface",  1,    {76, "startIsis"},       {77, "stopIsis"},       {}},
    {P::Rsvp,   "rsvp",   "RSVP-TE", "enableRsvpService",        true,  "enableRsvpCreateInterface",  4,    {82, "startRsvp"},       {83, "stopRsvp"},       {}},
    {P::Rip,    "rip",    "RIP",     "enableRipService",         false, "enableRipCreateInterface",   3,    {89, "startRip"},        {90, "stopRip"},        {}},
    {P::Ldp,    "ldp",    "LDP",     "enableLdpService",         false, nullptr,                      -1,   {95, "startLdp"},        {96, "stopLdp"},        {}},
    {P::Ripng,  "ripng",  "RIPng",   "enableRipngService",       false, nullptr,                      -1,   {97, "startRipng"},      {98, "stopRipng"},      {}},
    {P::Mld,    "mld",    "MLD",     "enableMldService",         false, nullptr,                      -1,   {113, "startMld"},       {114, "stopMld"},       {}},
    {P::OspfV3, "ospfv3", "OSPFv3",  "enableOspfV3Service",      false, nullptr,                      -1,   {115, "startOspfV3"},    {116, "stopOspfV3"},    {}},
    {P::Pimsm,  "pimsm",  "PIM-SM",  "enablePimsmService",       false, nullptr,                      -1,   {111, "startPimsm"},     {112, "stopPimsm"},     {}},
    {P::Stp,    "stp",    "STP",     "enableStpService",         true,  nullptr,                      -1,   {10000, "startStp"},     {10001, "stopStp"},     {}},
};
// clang-format on
constexpr Command kAliases[] = {{54, "transmitIgmpJoin"}};

constexpr bool rowsInEnumOrder() {
    for (int i = 0; i < kProtocolCount; ++i)
        if (int(kRows[i].protocol) != i) return false;
    return true;
}
static_assert(rowsInEnumOrder(), "one row per protocol, in the order of the enum");

constexpr size_t countCodes() {
    size_t n = 0;
    for (const ProtocolRow& r : kRows) n += 2 + (r.transmit.name ? 1 : 0);
    return n;
}

std::array<CommandCode, countCodes()> buildCodes() {
    std::array<CommandCode, countCodes()> codes{};
    size_t n = 0;
    for (const ProtocolRow& r : kRows) {
        codes[n++] = {r.start.code, r.start.name, r.protocol, CommandCode::Start};
        codes[n++] = {r.stop.code, r.stop.name, r.protocol, CommandCode::Stop};
        if (r.transmit.name) codes[n++] = {r.transmit.code, r.transmit.name, r.protocol, CommandCode::Transmit};
    }
    std::sort(codes.begin(), codes.end(), [](const CommandCode& a, const CommandCode& b) { return a.code < b.code; });
    return codes;
}

const std::array<CommandCode, countCodes()>& codeTable() {
    static const auto codes = buildCodes();
    return codes;
}

}  // namespace

std::span<const ProtocolRow> protocolTable() { return kRows; }
const ProtocolRow& protocolRow(Protocol p) { return kRows[size_t(p)]; }

std::optional<Protocol> protocolFromName(std::string_view name) {
    for (const ProtocolRow& r : kRows)
        if (name == r.name) return r.protocol;
    return std::nullopt;
}

std::span<const CommandCode> commandCodes() { return codeTable(); }

const CommandCode* findCommandCode(int code) {
    const auto& codes = codeTable();
    auto it = std::lower_bound(codes.begin(), codes.end(), code,
                               [](const CommandCode& c, int v) { return c.code < v; });
    return it != codes.end() && it->code == code ? &*it : nullptr;
}

std::span<const Command> commandAliases() { return kAliases; }

}  // namespace zk
