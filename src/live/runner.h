// What runs one protocol of a bound port on the engine's thread: a plug-in
// per protocol, made by the table in live_ports.cpp. Everything here is
// called on the engine thread only.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/equipment.h"
#include "engine/reactor.h"
#include "hal/basic.h"

namespace live {

// Where a port's sessions run.
struct Place {
    std::string netns;  // "": the process's own namespace
    std::string ifname;
};

// An address the protocol speaks from, and the device under test it speaks
// to: the port makes sure the interface has the first and reaches the second.
struct Endpoint {
    hal::EIPAddress local;
    hal::EIPAddress dut;  // the any-address: the whole link (no route to add)
    int localPrefix = 0;  // the local address's prefix length; 0: a host address
};

class Runner {
public:
    virtual ~Runner() = default;
    // The protocol's whole configuration as the port was sent it (a copy);
    // while running, the difference is applied.
    virtual void configure(const hal::EConfigRoot& config) = 0;
    virtual void start() = 0;
    // Ends every session cleanly, then calls done.
    virtual void stop(std::function<void()> done) = 0;
    virtual bool running() const = 0;
    // The addresses the configuration speaks from and to.
    virtual std::vector<Endpoint> endpoints() const = 0;
    // The answer to a learned-information request of `kind` for `key`
    // (null: nothing learned); false when the runner has no such kind.
    virtual bool answer(const std::string& kind, const std::string& key,
                        std::shared_ptr<const zk::LearnedData>& out) const = 0;
    // Takes the port's link down or up (link flapping); set by the port.
    std::function<void(bool up)> setLink;
};

struct RunnerKind {
    zk::Protocol protocol;
    // A copy of the protocol's record, made on the Tcl thread.
    std::shared_ptr<const hal::EConfigRoot> (*copy)(const hal::EConfigRoot& config);
    std::unique_ptr<Runner> (*make)(engine::Reactor& reactor, const Place& place);
};

// The protocols a bound port runs on the wire.
const RunnerKind* findRunnerKind(zk::Protocol protocol);

}  // namespace live
