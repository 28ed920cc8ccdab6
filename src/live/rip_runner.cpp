// RIP and RIPng on a bound port: the engine's speaker on a UDP link of the
// port's interface, and the answers to the learned-route requests of the
// routers (ripRoutes by the router's address, ripngRoutes by its router id).
#include <linux/rtnetlink.h>

#include <memory>

#include "core/learned.h"
#include "engine/netlink.h"
#include "engine/rip/speaker.h"
#include "hal/rip.h"
#include "live/runner.h"

namespace live {
namespace {

constexpr const char* kRipRoutesKind = "ripRoutes";
constexpr const char* kRipngRoutesKind = "ripngRoutes";

template <class Config>
class RipRunner : public Runner {
    static constexpr bool kV6 = std::is_same_v<Config, hal::ERIPngServer>;

public:
    RipRunner(engine::Reactor& reactor, const Place& place)
        : reactor_(reactor), place_(place), speaker_(reactor, kV6) {}

    void configure(const hal::EConfigRoot& config) override {
        config_ = static_cast<const Config&>(config);
        speaker_.configure(config_);
    }

    void start() override {
        if (speaker_.running()) return;
        try {
            engine::Netlink nl(place_.netns);
            if (auto link = nl.link(place_.ifname)) {
                if constexpr (kV6) {
                    for (const engine::IfAddress& a : nl.addresses(link->index, AF_INET6))
                        if (a.scope == RT_SCOPE_LINK) speaker_.setLinkLocal(a.address);
                }
                link_ = std::make_unique<engine::rip::UdpLink>(reactor_, place_.netns, place_.ifname, link->index, kV6,
                                                               link->mtu ? link->mtu : 1500);
            }
        } catch (const std::exception&) {
            // No socket (the interface went away): the routers run without a link.
            link_.reset();
        }
        speaker_.setLink(link_.get());
        speaker_.start();
    }

    void stop(std::function<void()> done) override {
        speaker_.stop([this, done = std::move(done)] {
            speaker_.setLink(nullptr);
            // The socket goes after the current callback: the stop may run inside one of its own.
            reactor_.post([link = std::shared_ptr<engine::rip::Link>(std::move(link_))] {});
            done();
        });
    }

    bool running() const override { return speaker_.running(); }

    // RIP speaks from each router's address on its subnet, to the whole link.
    std::vector<Endpoint> endpoints() const override {
        std::vector<Endpoint> out;
        for (const auto& [address, length] : speaker_.addresses()) {
            Endpoint e;
            e.local = hal::EIPAddress::FromV4(uint32_t(address.bytes[0]) << 24 | uint32_t(address.bytes[1]) << 16 |
                                              uint32_t(address.bytes[2]) << 8 | address.bytes[3]);
            e.localPrefix = length;
            out.push_back(e);
        }
        return out;
    }

    bool answer(const std::string& kind, const std::string& key,
                std::shared_ptr<const zk::LearnedData>& out) const override {
        if (kind != (kV6 ? kRipngRoutesKind : kRipRoutesKind)) return false;
        out.reset();
        if (!speaker_.running()) return true;
        auto learned = speaker_.learnedRoutes(key);
        if (!learned) return true;
        auto items = std::make_shared<zk::LearnedItems<hal::ERIPLearnedRoute>>();
        items->items = std::move(*learned);
        out = std::move(items);
        return true;
    }

private:
    engine::Reactor& reactor_;
    Place place_;
    engine::rip::Speaker speaker_;
    std::unique_ptr<engine::rip::UdpLink> link_;
    Config config_;
};

}  // namespace

std::shared_ptr<const hal::EConfigRoot> copyRipConfig(const hal::EConfigRoot& config) {
    return std::make_shared<hal::ERIPServer>(static_cast<const hal::ERIPServer&>(config));
}
std::shared_ptr<const hal::EConfigRoot> copyRipngConfig(const hal::EConfigRoot& config) {
    return std::make_shared<hal::ERIPngServer>(static_cast<const hal::ERIPngServer&>(config));
}

std::unique_ptr<Runner> makeRipRunner(engine::Reactor& reactor, const Place& place) {
    return std::make_unique<RipRunner<hal::ERIPServer>>(reactor, place);
}
std::unique_ptr<Runner> makeRipngRunner(engine::Reactor& reactor, const Place& place) {
    return std::make_unique<RipRunner<hal::ERIPngServer>>(reactor, place);
}

}  // namespace live
