// BGP-4 on a bound port: the engine's speaker, and the answers to the
// learned-route and statistics requests of the port's neighbors.
#include <map>

#include "core/learned.h"
#include "core/parse.h"
#include "engine/bgp/speaker.h"
#include "hal/bgp.h"
#include "live/runner.h"

namespace live {
namespace {

// The kinds the BGP-4 classes ask for (the same names zkchassis::learn
// loads an unbound port with), keyed by the neighbor's DUT address text.
constexpr const char* kRoutesKind = "bgpRoutes";
constexpr const char* kStatsKind = "bgpStats";

std::optional<hal::EIPAddress> addressOf(const std::string& text) {
    auto a = zk::ipv4Address(text);
    return a ? a : zk::ipv6Address(text);
}

class BgpRunner : public Runner {
public:
    BgpRunner(engine::Reactor& reactor, const Place& place)
        : speaker_(reactor, engine::bgp::Place{place.netns, place.ifname}) {
        speaker_.setLink = [this](bool up) {
            if (setLink) setLink(up);
        };
    }

    void configure(const hal::EConfigRoot& config) override {
        config_ = static_cast<const hal::EBGPServer&>(config);
        speaker_.configure(config_);
    }
    void start() override { speaker_.start(); }
    void stop(std::function<void()> done) override { speaker_.stop(std::move(done)); }
    bool running() const override { return speaker_.running(); }

    std::vector<Endpoint> endpoints() const override {
        std::vector<Endpoint> out;
        config_.neighbors.ForEach([&](const hal::EBGP::ConfigNeighbor& n) {
            if (n.enabled) out.push_back({n.localAddress, n.dutAddress});
        });
        return out;
    }

    bool answer(const std::string& kind, const std::string& key,
                std::shared_ptr<const zk::LearnedData>& out) const override {
        bool routes = kind == kRoutesKind;
        if (!routes && kind != kStatsKind) return false;
        out.reset();
        auto dut = addressOf(key);
        if (!dut) return true;
        if (routes) {
            auto learned = speaker_.learnedRoutes(*dut);
            if (!learned) return true;
            auto items = std::make_shared<zk::LearnedItems<hal::EBGP::LearnedRoute>>();
            items->items = *learned;
            out = std::move(items);
            return true;
        }
        auto values = speaker_.statistics(*dut);
        if (values.empty()) return true;
        auto stats = std::make_shared<zk::LearnedStatistics>();
        stats->values = std::move(values);
        out = std::move(stats);
        return true;
    }

private:
    engine::bgp::Speaker speaker_;
    hal::EBGPServer config_;
};

}  // namespace

std::shared_ptr<const hal::EConfigRoot> copyBgpConfig(const hal::EConfigRoot& config) {
    return std::make_shared<hal::EBGPServer>(static_cast<const hal::EBGPServer&>(config));
}

std::unique_ptr<Runner> makeBgpRunner(engine::Reactor& reactor, const Place& place) {
    return std::make_unique<BgpRunner>(reactor, place);
}

}  // namespace live
