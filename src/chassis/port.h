// The emulated equipment: the port table, each port's properties and its
// per-protocol configuration holders.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "hal/basic.h"

namespace chassis {

// Protocols in the order the port services walk them.
enum class Protocol { Igmp, Ospf, Bgp4, Isis, Rsvp, Rip, Ldp, Ripng, Mld, OspfV3, Pimsm, Stp };
constexpr int kProtocolCount = 12;
const char* protocolName(Protocol p);  // "igmp" "ospf" "bgp4" ...
const char* protocolTitle(Protocol p);  // "IGMP" "OSPF" "BGP-4" ..., for messages
std::optional<Protocol> protocolFromName(std::string_view name);

// Port capability codes.
enum Capability : int { kCapabilityArp = 2, kCapabilityPing = 3, kCapabilityRouting = 5 };

struct PortId {
    int chassis = 0, card = 0, port = 0;
    std::string key() const;   // "C.D.P"
    std::string text() const;  // "C/D/P"
    auto operator<=>(const PortId&) const = default;  // NOLINT(modernize-use-nullptr): tidy misreads the default
};

using hal::EConfigRoot;

// One protocol's holder on a port: the service switches of the port
// services and, once a protocol configures something, its configuration.
class Holder {
public:
    int serviceEnabled = 0;
    int createInterface = 1;

    // The configuration of type C, created on first use.
    template <class C>
    C& Config() {
        if (!config_) {
            config_ = std::make_unique<C>();
            config_->id = hal::EComponentId::New();
        }
        return static_cast<C&>(*config_);
    }
    const EConfigRoot* config() const { return config_.get(); }

private:
    std::unique_ptr<EConfigRoot> config_;
};

struct ProtocolInterface {
    std::string description;
    int localId = 0;
};

class Port {
public:
    explicit Port(PortId id);

    const PortId id;
    const uint64_t generation;  // new for every port object; lets servers drop lists of a port that is gone

    std::string name;
    std::string type = "ethernet";
    int available = 1;
    std::set<int> capabilities{kCapabilityArp, kCapabilityPing, kCapabilityRouting};
    std::set<Protocol> licensed;
    int ospfFeatures = 1;
    int refreshReduction = 1;
    int bgpFamilies = 1;  // BGP address families beyond plain IPv4 unicast
    int isisFeatures = 1;  // IS-IS traffic engineering and graceful restart
    int ldpGracefulRestart = 1;
    int mtuMin = 64, mtuMax = 9216;
    int gridLimit = 0;
    int writeFails = 0;
    std::vector<ProtocolInterface> interfaces;

    int arpResponse = 0;   // the ARP holder
    int pingResponse = 0;  // the ICMP holder

    // Host interface state (chassis/port_commands.h): which protocols run,
    // which count statistics, and whether the port answers learned and
    // statistics requests of a protocol that is not running.
    std::array<int, kProtocolCount> running{};
    std::set<Protocol> statistics;
    int alwaysAnswers = 1;
    bool tracing = false;  // zkchassis::trace: PortTrace.txt in the capture directory
    struct ReceivedCommand {
        int code;
        std::string name;
    };
    std::vector<ReceivedCommand> commands;  // every start/stop command received, in order

    bool isRunning(Protocol p) const { return running[size_t(p)] != 0; }
    bool countsStatistics(Protocol p) const { return statistics.count(p) != 0; }
    // Appends "<time> C/D/P <what>" to the trace file when the port is traced.
    void trace(std::string_view what) const;

    bool hasCapability(int code) const { return capabilities.count(code) != 0; }
    bool isLicensed(Protocol p) const { return licensed.count(p) != 0; }
    Holder& holder(Protocol p) { return holders_[size_t(p)]; }
    const Holder& holder(Protocol p) const { return holders_[size_t(p)]; }
    const ProtocolInterface* findInterface(std::string_view description) const;

    // The grid size a network range may have on this port (0: no limit).
    int limitGrid(int requested) const;

    // What a protocol has staged now, as JSON text ("" when nothing).
    std::string staged(std::string_view protocol, int indent = -1) const;
    hal::Json servicesJson() const;

    // Sends a configuration to the port: the port keeps it as the written
    // configuration of that protocol and the capture directory gets a copy.
    // False when the port refuses every send.
    bool send(std::string_view protocol, const hal::Json& config);
    bool send(std::string_view protocol, const EConfigRoot& config);
    const std::string& written(std::string_view protocol) const;  // "" when nothing was sent

    // Stream generation requests the port received, in order.
    struct StreamRequest {
        std::string protocol;
        uint64_t component;
        int action;
    };
    std::vector<StreamRequest> streams;

private:
    static std::string configText(const EConfigRoot& config, int indent);
    bool store(std::string_view protocol, std::string text, const std::function<std::string()>& pretty);

    std::array<Holder, kProtocolCount> holders_;
    std::map<std::string, std::string, std::less<>> written_;
};

}  // namespace chassis
