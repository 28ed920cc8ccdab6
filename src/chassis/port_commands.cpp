#include "chassis/port_commands.h"

#include <chrono>
#include <ctime>
#include <fstream>

#include "chassis/lab.h"
#include "chassis/learn.h"

namespace chassis {
namespace {

// transmitIgmpJoin and startIgmp are one code: starting the IGMP hosts is
// what sends their joins, so the port knows it by its start name.
const CommandCode kCommandCodes[] = {
    {54, "startIgmp", Protocol::Igmp, CommandCode::Start},
    {55, "transmitIgmpLeave", Protocol::Igmp, CommandCode::Transmit},
    {63, "startBgp4", Protocol::Bgp4, CommandCode::Start},
    {64, "stopBgp4", Protocol::Bgp4, CommandCode::Stop},
    {65, "startOspf", Protocol::Ospf, CommandCode::Start},
    {66, "stopOspf", Protocol::Ospf, CommandCode::Stop},
    {76, "startIsis", Protocol::Isis, CommandCode::Start},
    {77, "stopIsis", Protocol::Isis, CommandCode::Stop},
    {82, "startRsvp", Protocol::Rsvp, CommandCode::Start},
    {83, "stopRsvp", Protocol::Rsvp, CommandCode::Stop},
    {89, "startRip", Protocol::Rip, CommandCode::Start},
    {90, "stopRip", Protocol::Rip, CommandCode::Stop},
    {95, "startLdp", Protocol::Ldp, CommandCode::Start},
    {96, "stopLdp", Protocol::Ldp, CommandCode::Stop},
    {97, "startRipng", Protocol::Ripng, CommandCode::Start},
    {98, "stopRipng", Protocol::Ripng, CommandCode::Stop},
    {111, "startPimsm", Protocol::Pimsm, CommandCode::Start},
    {112, "stopPimsm", Protocol::Pimsm, CommandCode::Stop},
    {113, "startMld", Protocol::Mld, CommandCode::Start},
    {114, "stopMld", Protocol::Mld, CommandCode::Stop},
    {115, "startOspfV3", Protocol::OspfV3, CommandCode::Start},
    {116, "stopOspfV3", Protocol::OspfV3, CommandCode::Stop},
    {117, "stopIgmp", Protocol::Igmp, CommandCode::Stop},
    {10000, "startStp", Protocol::Stp, CommandCode::Start},
    {10001, "stopStp", Protocol::Stp, CommandCode::Stop},
};

// "2026-11-23 18:40:01.123", UTC.
std::string traceTimestamp() {
    using namespace std::chrono;
    auto now = system_clock::now();
    std::time_t seconds = system_clock::to_time_t(now);
    auto ms = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char text[40];
    size_t n = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &utc);
    std::snprintf(text + n, sizeof text - n, ".%03d", int(ms));
    return text;
}

}  // namespace

std::span<const CommandCode> commandCodes() { return kCommandCodes; }

const CommandCode* findCommandCode(int code) {
    for (const CommandCode& c : kCommandCodes)
        if (c.code == code) return &c;
    return nullptr;
}

void receiveCommand(Port& port, const CommandCode& command) {
    if (command.action != CommandCode::Transmit)
        port.running[size_t(command.protocol)] = command.action == CommandCode::Start;
    port.commands.push_back({command.code, command.name});
    port.trace("command " + std::to_string(command.code) + " " + command.name);
}

std::optional<std::string> refusesToAnswer(const Port& port, std::string_view kind) {
    const LearnKind* owner = findLearnKind(kind);
    if (!owner) return std::nullopt;
    std::string title = protocolTitle(owner->protocol);
    if (!port.alwaysAnswers && !port.isRunning(owner->protocol))
        return title + " is not running on port " + port.name + ".";
    if (owner->statistics && !port.countsStatistics(owner->protocol))
        return "Statistics of " + title + " are not enabled on port " + port.name + ".";
    return std::nullopt;
}

void Port::trace(std::string_view what) const {
    Lab& lab = Lab::instance();
    if (!tracing || lab.captureDir.empty()) return;
    std::string file = lab.captureDir + "/PortTrace.txt";
    std::ofstream out(file, std::ios::app);
    out << traceTimestamp() << ' ' << id.text() << ' ' << what << '\n';
    out.close();
    if (!out) lab.log("trace of port " + id.text() + " failed: " + file + " could not be written");
}

}  // namespace chassis
