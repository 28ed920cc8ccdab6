// A port bound to a network interface runs what it is sent. The emulated
// chassis keeps recording every send as ever; the live side (installed by
// the package entry point) runs it on the wire. This is the chassis' whole
// view of it.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "core/equipment.h"

namespace chassis {

class LiveBinding {
public:
    // Ends what runs at once and gives back what the binding added to the
    // interface (addresses, routes).
    virtual ~LiveBinding() = default;
    // A protocol's configuration as it was sent (the binding keeps a copy).
    virtual void configure(zk::Protocol protocol, const hal::EConfigRoot& config) = 0;
    // Starts or stops a protocol; false when the binding cannot run it.
    virtual bool command(const zk::CommandCode& code) = 0;
    // Asks for learned information or statistics; the answer (null: nothing
    // learned) comes through `answer`, from any thread. False when the
    // binding does not answer this kind.
    virtual bool request(const std::string& kind, const std::string& key,
                         std::function<void(std::shared_ptr<const zk::LearnedData>)> answer) = 0;
};

struct LiveFactory {
    // Why a port cannot be bound to `ifname` in `netns` ("" when it can).
    std::function<std::string(const std::string& netns, const std::string& ifname)> check;
    std::function<std::unique_ptr<LiveBinding>(const zk::PortId& port, const std::string& netns,
                                               const std::string& ifname)>
        bind;
};

// Without a factory no port can be bound ("live ports are not available").
void installLive(LiveFactory factory);
const LiveFactory* liveFactory();

}  // namespace chassis
