#include "live/live_ports.h"

#include <array>
#include <chrono>
#include <future>
#include <map>
#include <set>

#include "chassis/lab.h"
#include "chassis/live.h"
#include "engine/engine.h"
#include "engine/netlink.h"
#include "engine/netns.h"
#include "live/runner.h"

namespace live {

std::shared_ptr<const hal::EConfigRoot> copyBgpConfig(const hal::EConfigRoot& config);
std::unique_ptr<Runner> makeBgpRunner(engine::Reactor& reactor, const Place& place);
std::shared_ptr<const hal::EConfigRoot> copyRipConfig(const hal::EConfigRoot& config);
std::unique_ptr<Runner> makeRipRunner(engine::Reactor& reactor, const Place& place);
std::shared_ptr<const hal::EConfigRoot> copyRipngConfig(const hal::EConfigRoot& config);
std::unique_ptr<Runner> makeRipngRunner(engine::Reactor& reactor, const Place& place);

namespace {

// The protocols a bound port runs; the others it records only.
const RunnerKind kRunners[] = {
    {zk::Protocol::Bgp4, copyBgpConfig, makeBgpRunner},
    {zk::Protocol::Rip, copyRipConfig, makeRipRunner},
    {zk::Protocol::Ripng, copyRipngConfig, makeRipngRunner},
};

engine::IpAddress toEngine(const hal::EIPAddress& a) { return engine::IpAddress::fromBytes(a.IsV6(), a.GetBytes()); }

bool isUnspecified(const engine::IpAddress& a) {
    for (size_t i = 0; i < a.size(); ++i)
        if (a.bytes[i]) return false;
    return true;
}

// Whether `a` lies in the subnet of `net`/`length`.
bool inSubnet(const engine::IpAddress& a, const engine::IpAddress& net, int length) {
    if (a.family != net.family) return false;
    for (int bit = 0; bit < length; ++bit) {
        int byte = bit / 8, mask = 0x80 >> (bit % 8);
        if ((a.bytes[size_t(byte)] & mask) != (net.bytes[size_t(byte)] & mask)) return false;
    }
    return true;
}

// A bound port on the engine's thread: its protocols' runners, and what it
// added to its interface (given back when nothing runs any more).
class PortRuntime {
public:
    PortRuntime(engine::Reactor& reactor, Place place) : reactor_(reactor), place_(std::move(place)) {}

    void configure(zk::Protocol p, std::shared_ptr<const hal::EConfigRoot> config) {
        Runner& r = runner(p);
        r.configure(*config);
        if (r.running()) claimAddresses();
    }

    void start(zk::Protocol p) {
        Runner& r = runner(p);
        if (r.running()) return;
        claimAddresses();
        r.start();
    }

    void stop(zk::Protocol p, std::function<void()> done) {
        auto it = runners_.find(p);
        if (it == runners_.end() || !it->second->running()) return done();
        it->second->stop([this, done = std::move(done)] {
            releaseAddressesWhenIdle();
            done();
        });
    }

    // Stops every protocol, then gives back the interface's addresses.
    void stopAll(std::function<void()> done) {
        auto left = std::make_shared<size_t>(1);
        auto one = [this, left, done = std::move(done)] {
            if (--*left) return;
            releaseAddresses();
            done();
        };
        for (auto& [p, r] : runners_)
            if (r->running()) {
                ++*left;
                r->stop(one);
            }
        one();
    }

    std::shared_ptr<const zk::LearnedData> answer(const std::string& kind, const std::string& key, bool& known) const {
        std::shared_ptr<const zk::LearnedData> out;
        known = false;
        for (const auto& [p, r] : runners_)
            if (r->answer(kind, key, out)) {
                known = true;
                break;
            }
        return out;
    }

private:
    Runner& runner(zk::Protocol p) {
        auto& slot = runners_[p];
        if (!slot) {
            slot = findRunnerKind(p)->make(reactor_, place_);
            slot->setLink = [this](bool up) { setLink(up); };
        }
        return *slot;
    }

    // The local addresses of every running protocol's sessions that the
    // interface lacks are added as host addresses, with an on-link route to
    // a device under test that no address of the interface reaches.
    void claimAddresses() {
        try {
            engine::Netlink nl(place_.netns);
            auto link = nl.link(place_.ifname);
            if (!link) return;
            auto have = nl.addresses(link->index);
            for (const auto& [p, r] : runners_)
                for (const Endpoint& e : r->endpoints()) {
                    engine::IpAddress local = toEngine(e.local), dut = toEngine(e.dut);
                    bool present = false, reached = false;
                    for (const engine::IfAddress& a : have) {
                        present = present || a.address == local;
                        reached = reached || (a.address != local && inSubnet(dut, a.address, a.prefixLength));
                    }
                    int hostLength = e.localPrefix ? e.localPrefix : local.isV6() ? 128 : 32;
                    if (!present && !isUnspecified(local)) {
                        nl.addAddress(link->index, local, hostLength);
                        added_.insert({local, hostLength});
                        have.push_back({local, hostLength, link->index, 0, 0});
                    }
                    if (!reached && !isUnspecified(dut) && dut.family == local.family && !routes_.count(dut)) {
                        nl.addHostRoute(link->index, dut);
                        routes_.insert(dut);
                    }
                }
            ifindex_ = link->index;
        } catch (const std::exception&) {
            // The interface went away or refused: the sessions will say so.
        }
    }

    void releaseAddressesWhenIdle() {
        for (const auto& [p, r] : runners_)
            if (r->running()) return;
        releaseAddresses();
    }

    void releaseAddresses() {
        if (added_.empty() && routes_.empty()) return;
        try {
            engine::Netlink nl(place_.netns);
            for (const engine::IpAddress& dut : routes_) try {
                    nl.removeHostRoute(ifindex_, dut);
                } catch (const std::exception&) {
                }
            for (const auto& [a, length] : added_) try {
                    nl.removeAddress(ifindex_, a, length);
                } catch (const std::exception&) {
                }
        } catch (const std::exception&) {
        }
        added_.clear();
        routes_.clear();
    }

    void setLink(bool up) {
        try {
            engine::Netlink nl(place_.netns);
            if (auto link = nl.link(place_.ifname)) nl.setLinkUp(link->index, up);
        } catch (const std::exception&) {
        }
    }

    engine::Reactor& reactor_;
    Place place_;
    std::map<zk::Protocol, std::unique_ptr<Runner>> runners_;
    std::set<std::pair<engine::IpAddress, int>> added_;
    std::set<engine::IpAddress> routes_;
    int ifindex_ = 0;
};

constexpr auto kStopWait = std::chrono::seconds(5);

// The Tcl thread's side of a bound port: everything it is given crosses to
// the engine as a copy, in a posted function.
class PortBinding : public chassis::LiveBinding {
public:
    PortBinding(const std::string& netns, const std::string& ifname) : engine_(engine::Engine::instance()) {
        engine_.start();
        runtime_ = std::make_shared<PortRuntime>(engine_.reactor(), Place{netns, ifname});
        hook_ = engine_.addShutdownHook([rt = runtime_](std::function<void()> done) { rt->stopAll(std::move(done)); });
    }

    ~PortBinding() override {
        engine_.removeShutdownHook(hook_);
        if (!engine_.running()) return;
        auto stopped = std::make_shared<std::promise<void>>();
        auto future = stopped->get_future();
        engine_.post([rt = runtime_, stopped] { rt->stopAll([rt, stopped] { stopped->set_value(); }); });
        future.wait_for(kStopWait);
        // The runtime dies on the engine thread, where its sockets live.
        engine_.post([rt = std::move(runtime_)]() mutable { rt.reset(); });
    }

    void configure(zk::Protocol protocol, const hal::EConfigRoot& config) override {
        const RunnerKind* kind = findRunnerKind(protocol);
        if (!kind) return;
        engine_.post([rt = runtime_, protocol, copy = kind->copy(config)] { rt->configure(protocol, copy); });
    }

    bool command(const zk::CommandCode& code) override {
        if (!findRunnerKind(code.protocol)) return false;
        zk::Protocol p = code.protocol;
        if (code.action == zk::CommandCode::Start) engine_.post([rt = runtime_, p] { rt->start(p); });
        if (code.action == zk::CommandCode::Stop) {
            // The stop returns once the peers were told, as a real port's does.
            auto stopped = std::make_shared<std::promise<void>>();
            auto future = stopped->get_future();
            engine_.post([rt = runtime_, p, stopped] { rt->stop(p, [stopped] { stopped->set_value(); }); });
            future.wait_for(kStopWait);
        }
        return true;
    }

    bool request(const std::string& kind, const std::string& key,
                 std::function<void(std::shared_ptr<const zk::LearnedData>)> answer) override {
        engine_.post([rt = runtime_, kind, key, answer = std::move(answer)] {
            bool known;
            auto data = rt->answer(kind, key, known);
            answer(std::move(data));
        });
        return true;
    }

private:
    engine::Engine& engine_;
    std::shared_ptr<PortRuntime> runtime_;
    int hook_ = 0;
};

// "" when `ifname` exists in `netns`, else why not.
std::string checkPlace(const std::string& netns, const std::string& ifname) {
    if (!netns.empty() && !engine::validNetnsName(netns)) return "\"" + netns + "\" is no network namespace name";
    if (!netns.empty() && !engine::netnsExists(netns)) return "network namespace \"" + netns + "\" does not exist";
    std::string where = netns.empty() ? "this process's network namespace" : "network namespace \"" + netns + "\"";
    try {
        engine::Netlink nl(netns);
        if (!nl.link(ifname)) return "no interface \"" + ifname + "\" in " + where;
    } catch (const std::exception& e) {
        return std::string("the interfaces of ") + where + " cannot be read: " + e.what();
    }
    return "";
}

}  // namespace

const RunnerKind* findRunnerKind(zk::Protocol protocol) {
    for (const RunnerKind& k : kRunners)
        if (k.protocol == protocol) return &k;
    return nullptr;
}

void installLivePorts() {
    chassis::installLive({checkPlace, [](const zk::PortId&, const std::string& netns, const std::string& ifname) {
                              return std::unique_ptr<chassis::LiveBinding>(new PortBinding(netns, ifname));
                          }});
}

void shutdownLivePorts() {
    engine::Engine& e = engine::Engine::instance();
    if (e.running()) e.shutdown();
}

}  // namespace live
