#include "chassis/emulated_port.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>

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

// Writes `data` to the regular file `path`, made if missing, appended to or
// replaced. Anything else there (a FIFO, a device, a directory) is left
// alone: it is opened without waiting for a reader and never written.
// Returns "" or why nothing was written, for the host log.
std::string writeRegularFile(const std::string& path, std::string_view data, bool append) {
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (append ? O_APPEND : 0), 0644);
    struct stat st {};
    if (fd < 0)  // a FIFO without a reader refuses a writer that does not wait
        return path + (::stat(path.c_str(), &st) == 0 && !S_ISREG(st.st_mode) ? " is not a regular file" : " could not be written");
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return path + " is not a regular file";
    }
    bool good = append || ::ftruncate(fd, 0) == 0;
    while (good && !data.empty()) {
        ssize_t n = ::write(fd, data.data(), data.size());
        if (n < 0 && errno == EINTR) continue;
        good = n > 0;
        if (good) data.remove_prefix(size_t(n));
    }
    good = ::close(fd) == 0 && good;
    return good ? "" : path + " could not be written";
}
}  // namespace

EmulatedPort::EmulatedPort(PortId pid) : zk::Port(pid) {
    for (const zk::ProtocolRow& r : zk::protocolTable()) statistics.insert(r.protocol);
}

bool EmulatedPort::send(Protocol protocol, const hal::EConfigRoot& config) {
    if (!store(zk::protocolName(protocol), zk::configText(config, -1), [&] { return zk::configText(config, 2); }))
        return false;
    if (live_) live_->configure(protocol, config);
    return true;
}

bool EmulatedPort::sendServices() {
    hal::Json config = servicesJson();
    if (!store("services", config.dump(), [&] { return config.dump(2); })) return false;
    for (const zk::ProtocolRow& r : zk::protocolTable())
        servicesWritten_[size_t(r.protocol)] = holder(r.protocol).serviceEnabled;
    return true;
}

std::string EmulatedPort::bind() {
    if (netns == boundNetns_ && interfaceName == boundInterface_ && (live_ != nullptr) == !interfaceName.empty())
        return "";
    const LiveFactory* factory = liveFactory();
    std::unique_ptr<LiveBinding> binding;
    if (!interfaceName.empty()) {
        if (!factory) return "live ports are not available in this build";
        if (std::string why = factory->check(netns, interfaceName); !why.empty()) return why;
    }
    live_.reset();  // the old binding ends before the new one starts
    if (!interfaceName.empty()) live_ = factory->bind(id, netns, interfaceName);
    boundNetns_ = netns;
    boundInterface_ = interfaceName;
    std::fill(running.begin(), running.end(), 0);  // what ran on the old binding ran there
    return "";
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
        if (std::string why = writeRegularFile(lab.captureDir + name, pretty() + '\n', false); !why.empty())
            lab.log("capture of " + std::string(protocol) + " on port " + id.text() + " failed: " + why);
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
    bool start = command.action == zk::CommandCode::Start;
    if (live_ && command.action != zk::CommandCode::Transmit) {
        // A bound port runs a protocol only when the port services written
        // to it enable the protocol's service.
        const char* title = zk::protocolTitle(command.protocol);
        if (start && !servicesWritten_[size_t(command.protocol)])
            Lab::instance().log(std::string(title) + " does not start on port " + name +
                                ": its service is not enabled in the port services written to the port");
        else if (!live_->command(command))
            Lab::instance().log(std::string(title) + " is recorded but not run on the wire by port " + name);
        if (start && !servicesWritten_[size_t(command.protocol)]) start = false;
    }
    if (command.action != zk::CommandCode::Transmit) running[size_t(command.protocol)] = start;
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
    // A bound port answers from what runs, so only while it runs.
    if ((live_ || !alwaysAnswers) && !isRunning(protocol)) return title + " is not running on port " + name + ".";
    if (statisticsQuery && !countsStatistics(protocol))
        return "Statistics of " + title + " are not enabled on port " + name + ".";
    return std::nullopt;
}

void EmulatedPort::request(const std::string& kind, const std::string& key, std::weak_ptr<void> requester,
                           zk::ReplyCallback done) {
    ReplyQueue& replies = Lab::instance().replies();
    if (!live_) {
        replies.request(id.key(), kind, key, std::move(requester), std::move(done));
        return;
    }
    auto answer = [&replies, requester, done](std::shared_ptr<const zk::LearnedData> data) {
        replies.arrive(requester, done, std::move(data));
    };
    if (!live_->request(kind, key, answer)) answer(nullptr);
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
    std::string line = traceTimestamp() + ' ' + id.text() + ' ' + std::string(what) + '\n';
    if (std::string why = writeRegularFile(file, line, true); !why.empty())
        lab.log("trace of port " + id.text() + " failed: " + why);
}

}  // namespace chassis
