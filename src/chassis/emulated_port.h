// A port of the emulated chassis: it keeps what it is sent (the written
// configuration of each protocol, the port services, the commands and
// stream requests it received), answers learned-information requests from
// what a test loaded with zkchassis::learn, and can trace all of it.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "chassis/live.h"
#include "core/equipment.h"

namespace chassis {

using zk::kCapabilityArp;
using zk::kCapabilityPing;
using zk::kCapabilityRouting;
using zk::kProtocolCount;
using zk::PortId;
using zk::Protocol;
using zk::protocolFromName;
using zk::protocolName;
using zk::ProtocolInterface;

class EmulatedPort : public zk::Port {
public:
    explicit EmulatedPort(PortId id);

    // Host interface state: which protocols run, which count statistics,
    // and whether the port answers learned and statistics requests of a
    // protocol that is not running.
    std::array<int, zk::kProtocolCount> running{};
    std::set<Protocol> statistics;
    int alwaysAnswers = 1;
    bool tracing = false;  // zkchassis::trace: PortTrace.txt in the capture directory
    struct ReceivedCommand {
        int code;
        std::string name;
    };
    std::vector<ReceivedCommand> commands;  // every start/stop command received, in order
    // Stream generation requests the port received, in order.
    struct StreamRequest {
        std::string protocol;
        uint64_t component;
        int action;
    };
    std::vector<StreamRequest> streams;

    bool isRunning(Protocol p) const { return running[size_t(p)] != 0; }
    bool countsStatistics(Protocol p) const { return statistics.count(p) != 0; }
    // Appends "<time> C/D/P <what>" to the trace file when the port is traced.
    void trace(std::string_view what) const;

    const std::string& written(std::string_view protocol) const;  // "" when nothing was sent

    // The interface the port is bound to (-netns, -interface); an empty
    // interface: not bound. bind() makes the binding follow them.
    std::string netns;
    std::string interfaceName;
    bool bound() const { return live_ != nullptr; }
    // Binds the port as netns and interfaceName say ("" or why not; the
    // binding is then as it was).
    std::string bind();

    // The equipment interface.
    bool send(Protocol protocol, const hal::EConfigRoot& config) override;
    bool sendServices() override;
    void command(const zk::CommandCode& code) override;
    void enableStatistics(Protocol protocol, bool on) override;
    std::optional<std::string> refusesToAnswer(Protocol protocol, bool statistics) const override;
    void request(const std::string& kind, const std::string& key, std::weak_ptr<void> requester,
                 zk::ReplyCallback done) override;
    void generateStreams(Protocol protocol, uint64_t component, int action) override;

private:
    // Keeps `text` as the written configuration of `protocol` and copies it
    // to the capture directory; false when the port refuses every send.
    bool store(std::string_view protocol, std::string text, const std::function<std::string()>& pretty);

    std::map<std::string, std::string, std::less<>> written_;
    std::unique_ptr<LiveBinding> live_;
    std::array<int, zk::kProtocolCount> servicesWritten_{};  // service switches of the last services sent
    std::string boundNetns_, boundInterface_;
};

}  // namespace chassis
