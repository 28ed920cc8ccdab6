#include "chassis/emulated_port.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>

#include "chassis/lab.h"
#include "core/errors.h"
#include "hal/json.h"

namespace chassis {

namespace {
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

EmulatedPort::EmulatedPort(PortId pid) : zk::Port(pid) {
    for (const zk::ProtocolRow& r : zk::protocolTable()) statistics.insert(r.protocol);
}

bool EmulatedPort::send(Protocol protocol, const hal::EConfigRoot& config) {
    return store(zk::protocolName(protocol), zk::configText(config, -1), [&] { return zk::configText(config, 2); });
}

bool EmulatedPort::sendServices() {
    hal::Json config = servicesJson();
    return store("services", config.dump(), [&] { return config.dump(2); });
}

bool EmulatedPort::store(std::string_view protocol, std::string text, const std::function<std::string()>& pretty) {
    if (writeFails) return false;
    if (tracing) trace("config " + std::string(protocol) + " " + text);
    written_[std::string(protocol)] = std::move(text);
    Lab& lab = Lab::instance();
    if (!lab.captureDir.empty()) {
        char name[128];
        std::snprintf(name, sizeof name, "/%06llu-%d.%d.%d-%.*s.json",
                      static_cast<unsigned long long>(++lab.captureSequence), id.chassis, id.card, id.port,
                      int(protocol.size()), protocol.data());
        std::ofstream out(lab.captureDir + name);
        out << pretty() << '\n';
        out.close();
        if (!out) lab.log("capture of " + std::string(protocol) + " on port " + id.text() + " failed: " +
                          lab.captureDir + name + " could not be written");
    }
    return true;
}

const std::string& EmulatedPort::written(std::string_view protocol) const {
    static const std::string nothing;
    auto it = written_.find(protocol);
    return it == written_.end() ? nothing : it->second;
}

// A start marks the protocol running, a stop marks it stopped (a stop of a
// protocol that does not run changes nothing), a transmit changes no state;
// each is kept and traced.
void EmulatedPort::command(const zk::CommandCode& command) {
    if (command.action != zk::CommandCode::Transmit)
        running[size_t(command.protocol)] = command.action == zk::CommandCode::Start;
    commands.push_back({command.code, command.name});
    trace("command " + std::to_string(command.code) + " " + command.name);
}

void EmulatedPort::enableStatistics(Protocol protocol, bool on) {
    if (on) statistics.insert(protocol);
    else statistics.erase(protocol);
    trace(std::string("statistics ") + zk::protocolName(protocol) + (on ? " on" : " off"));
}

std::optional<std::string> EmulatedPort::refusesToAnswer(Protocol protocol, bool statisticsQuery) const {
    std::string title = zk::protocolTitle(protocol);
    if (!alwaysAnswers && !isRunning(protocol)) return title + " is not running on port " + name + ".";
    if (statisticsQuery && !countsStatistics(protocol))
        return "Statistics of " + title + " are not enabled on port " + name + ".";
    return std::nullopt;
}

void EmulatedPort::request(const std::string& kind, const std::string& key, std::weak_ptr<void> requester,
                           zk::ReplyCallback done) {
    Lab::instance().replies().request(id.key(), kind, key, std::move(requester), std::move(done));
}

void EmulatedPort::generateStreams(Protocol protocol, uint64_t component, int action) {
    streams.push_back({zk::protocolName(protocol), component, action});
    Lab::instance().log(zk::formatText("generateStreams %s port %s action %d", zk::protocolName(protocol),
                                       id.text().c_str(), action));
}

void EmulatedPort::trace(std::string_view what) const {
    Lab& lab = Lab::instance();
    if (!tracing || lab.captureDir.empty()) return;
    std::string file = lab.captureDir + "/PortTrace.txt";
    std::ofstream out(file, std::ios::app);
    out << traceTimestamp() << ' ' << id.text() << ' ' << what << '\n';
    out.close();
    if (!out) lab.log("trace of port " + id.text() + " failed: " + file + " could not be written");
}

}  // namespace chassis
