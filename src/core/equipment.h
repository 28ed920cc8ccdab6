// The equipment interface: everything the module asks of the equipment
// behind a port. The module holds a port by its triple and looks it up at
// every use; the equipment (the emulated chassis by default) owns the port
// objects and answers for them:
//
//   what the port is      its facts: availability, licences, capabilities
//                         and features, MTU and limits, protocol interfaces
//   what it is sent       a protocol's configuration, the port services,
//                         start/stop commands, statistics switches, streams
//   what it learned       learned-information and statistics requests,
//                         answered later through deliverReplies()
//
// A port's staged configuration (its holders) is the module's own: it is
// kept in the port object as a value of core's types, so that any equipment
// carries it the same way.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/protocols.h"
#include "hal/json_fwd.h"
#include "hal/basic.h"

namespace zk {

// Port capability codes.
enum Capability : int { kCapabilityArp = 2, kCapabilityPing = 3, kCapabilityRouting = 5 };

struct PortId {
    int chassis = 0, card = 0, port = 0;
    std::string key() const;   // "C.D.P"
    std::string text() const;  // "C/D/P"
    auto operator<=>(const PortId&) const = default;  // NOLINT(modernize-use-nullptr): tidy misreads the default
};

// One protocol's staged configuration on a port: the service switches of
// the port services and, once a protocol configures something, its record.
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
    const hal::EConfigRoot* config() const { return config_.get(); }

private:
    std::unique_ptr<hal::EConfigRoot> config_;
};

struct ProtocolInterface {
    std::string description;
    int localId = 0;
};

// What a port learned, as the equipment answers a request; each protocol
// derives its own payload.
class LearnedData {
public:
    virtual ~LearnedData() = default;
};
using ReplyCallback = std::function<void(std::shared_ptr<const LearnedData>)>;

class Port {
public:
    virtual ~Port() = default;
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    const PortId id;
    const uint64_t generation;  // new for every port object; lets servers drop lists of a port that is gone

    // ---- What the equipment says the port is.
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
    int writeFails = 0;  // the port refuses every send
    std::vector<ProtocolInterface> interfaces;

    bool hasCapability(int code) const { return capabilities.count(code) != 0; }
    bool isLicensed(Protocol p) const { return licensed.count(p) != 0; }
    const ProtocolInterface* findInterface(std::string_view description) const;
    // The grid size a network range may have on this port (0: no limit).
    int limitGrid(int requested) const;

    // ---- The module's staged configuration of the port.
    int arpResponse = 0;   // the ARP holder
    int pingResponse = 0;  // the ICMP holder
    Holder& holder(Protocol p) { return holders_[size_t(p)]; }
    const Holder& holder(Protocol p) const { return holders_[size_t(p)]; }
    hal::Json servicesJson() const;
    // What a protocol ("services", "bgp4" ...) has staged now, as JSON text
    // ("" when nothing).
    std::string staged(std::string_view protocol, int indent = -1) const;

    // ---- What the module asks of the equipment behind the port.
    // Sends a protocol's configuration; false when the port refuses it.
    virtual bool send(Protocol protocol, const hal::EConfigRoot& config) = 0;
    virtual bool sendServices() = 0;
    // A start, stop or transmit command (the caller checked the licence).
    virtual void command(const CommandCode& code) = 0;
    virtual void enableStatistics(Protocol protocol, bool on) = 0;
    // Why the port does not answer a request of learned-information `kind`
    // (of `protocol`; `statistics` for statistics queries) now: nullopt
    // when it does, else a sentence ending in a full stop.
    virtual std::optional<std::string> refusesToAnswer(Protocol protocol, bool statistics) const = 0;
    // Asks for what the port learned of (kind, key); the answer (null when
    // it learned nothing) comes through Equipment::deliverReplies, and only
    // while `requester` lives.
    virtual void request(const std::string& kind, const std::string& key, std::weak_ptr<void> requester,
                         ReplyCallback done) = 0;
    // A stream-generation request for a protocol's configuration.
    virtual void generateStreams(Protocol protocol, uint64_t component, int action) = 0;

protected:
    explicit Port(PortId id);

private:
    std::array<Holder, kProtocolCount> holders_;
};

class Equipment {
public:
    virtual ~Equipment() = default;
    virtual Port* find(const PortId& id) = 0;
    // Delivers every learned-information reply that is due; how many.
    virtual int deliverReplies() = 0;
};

// The equipment the module talks to. Installing one replaces the last;
// without one there are no ports.
void installEquipment(Equipment* equipment);
Equipment& equipment();

// The text of a staged or sent configuration.
std::string configText(const hal::EConfigRoot& config, int indent);

}  // namespace zk
