// The RIP (RFC 2453, RFC 1058) and RIPng (RFC 2080) routers of one bound
// port, on one link: each enabled router of the port's configuration sends
// its route ranges (and what it learned, as its response mode says) in
// regular updates with jitter, asks for its neighbours' tables at start,
// answers requests, keeps what its neighbours send with timeout and
// garbage collection, and poisons its routes (metric 16) when it stops or
// a range goes away.
//
// The speaker reaches the link through a Link: UdpLink on a real interface
// (UDP 520 from the router's address, or UDP 521 from the interface's
// link-local address), a test link in memory for unit tests.
//
// Timers follow the update interval: a learned route times out after six
// update intervals and is collected four intervals later (30 s: 180 s and
// 120 s, RFC 2453 3.8); an interval of 0 sends no regular updates and keeps
// the RFC's 180 s and 120 s.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "engine/datagram.h"
#include "engine/ip.h"
#include "engine/reactor.h"
#include "engine/rip/packet.h"
#include "hal/rip.h"

namespace engine::rip {

// Datagrams of one family on one link.
class Link {
public:
    virtual ~Link() = default;
    // Sends from `from` (an address of the link) to to:port.
    virtual bool send(std::span<const uint8_t> bytes, const IpAddress& from, const IpAddress& to, uint16_t port) = 0;
    // The link's MTU (RIPng fills its packets up to it).
    virtual size_t mtu() const { return 1500; }
    struct Received {
        IpAddress from;
        uint16_t fromPort = 0;
        IpAddress to;
        int hopLimit = -1;  // -1: unknown
        std::span<const uint8_t> bytes;
    };
    std::function<void(const Received&)> onReceive;
};

// The link of a bound port: a UDP socket on 0.0.0.0:520 or [::]:521 bound
// to the interface, in the group 224.0.0.9 or ff02::9, sending with the
// source address and interface given per datagram.
class UdpLink : public Link {
public:
    // Throws std::system_error when the socket cannot be made.
    UdpLink(Reactor& reactor, const std::string& netns, const std::string& ifname, int ifindex, bool v6,
            size_t mtu = 1500);
    bool send(std::span<const uint8_t> bytes, const IpAddress& from, const IpAddress& to, uint16_t port) override;
    size_t mtu() const override { return mtu_; }

private:
    std::unique_ptr<DatagramSocket> socket_;
    int ifindex_;
    size_t mtu_;
};

struct Counters {
    uint64_t packetsSent = 0, packetsReceived = 0;
    uint64_t updatesSent = 0, updatesReceived = 0;  // response packets
    uint64_t requestsSent = 0, requestsReceived = 0;
    uint64_t badPackets = 0, badEntries = 0, authFailures = 0;
    uint64_t tableFull = 0;  // new routes refused at the learned-route limit
};

// A route of a router's table.
struct Route {
    IpAddress prefix;
    int length = 0;
    uint32_t metric = 1;
    uint16_t tag = 0;
    IpAddress nextHop;  // unspecified: the router itself
};

class Speaker {
public:
    // `v6`: RIPng, else RIP. The link may be set later (the runner makes it at start).
    Speaker(Reactor& reactor, bool v6);
    ~Speaker();
    Speaker(const Speaker&) = delete;
    Speaker& operator=(const Speaker&) = delete;

    void setLink(Link* link);
    // RIPng sends from this address (the interface's link-local one).
    void setLinkLocal(const IpAddress& a) { linkLocal_ = a; }
    // A seed for the jitter (tests).
    void seed(uint32_t s) { random_.seed(s); }
    // How many routes a router keeps from its neighbours at most; a
    // neighbour that sends more has the rest refused (and counted).
    void setLearnedLimit(size_t n) { learnedLimit_ = n; }

    // The whole configuration; while running, routers and routes that went
    // away are poisoned and new ones announced.
    void configure(const hal::ERIPServer& config);
    void configure(const hal::ERIPngServer& config);
    void start();
    // Poisons every router's routes once, then calls done (at once when
    // nothing runs).
    void stop(std::function<void()> done);
    bool running() const { return running_; }

    // Keyed by the router's address text (RIP) or router id in decimal (RIPng).
    std::optional<std::vector<hal::ERIPLearnedRoute>> learnedRoutes(const std::string& key) const;
    std::optional<Counters> counters(const std::string& key) const;
    // The addresses of the enabled RIP routers with their prefix lengths.
    std::vector<std::pair<IpAddress, int>> addresses() const;

    // One router, as the configuration turns into it (public for tests).
    struct RouterConfig {
        std::string key;
        IpAddress address;  // RIP: the router's address; RIPng: unset (the link-local address)
        int prefixLength = 24;
        enum Mode { NoSplitHorizon, SplitHorizon, PoisonReverse, Silent } mode = NoSplitHorizon;
        uint8_t version = 2;    // RIP's send version
        IpAddress destination;  // 224.0.0.9, the subnet's broadcast, or ff02::9
        bool acceptV1 = true, acceptV2 = true, store = true;
        bool generalRequest = true;
        std::optional<std::string> password;
        uint32_t updateInterval = 30, updateOffset = 5;
        uint32_t learnedCost = 1;  // added to a learned route's metric in the table
        std::vector<Route> routes;
        bool operator==(const RouterConfig& o) const;  // everything but the routes
    };
    static std::vector<RouterConfig> routersOf(const hal::ERIPServer& config);
    static std::vector<RouterConfig> routersOf(const hal::ERIPngServer& config);

private:
    struct Router;
    void apply(std::vector<RouterConfig> routers);
    void startRouter(Router& r);
    void stopRouter(Router& r);
    Duration nextUpdate(const Router& r);
    void sendUpdate(Router& r, bool poison);
    void sendRequest(Router& r);
    void sendRoutes(Router& r, const std::vector<Route>& routes, const IpAddress& to, uint16_t port, uint8_t version,
                    bool poison);
    void receive(const Link::Received& d);
    void receiveRip(Router& r, const Link::Received& d);
    void receiveRipng(Router& r, const Link::Received& d);
    // Answers a request: the whole table (asked empty) or the metrics of the entries asked.
    void answer(Router& r, const Link::Received& d, std::vector<Route> asked, uint8_t version);
    const IpAddress& sourceOf(const Router& r) const;
    void queue(Router& r, Bytes bytes, const IpAddress& to, uint16_t port, size_t entries);
    void drain();

    Reactor& reactor_;
    bool v6_;
    Link* link_ = nullptr;
    IpAddress linkLocal_;
    bool running_ = false;
    size_t learnedLimit_ = 100'000;
    uint32_t paceRoutes_ = 0, paceMs_ = 0;
    std::vector<std::unique_ptr<Router>> routers_;
    std::mt19937 random_{std::random_device{}()};

    // Packets wait here when RIPng paces its updates.
    struct Pending {
        Bytes bytes;
        IpAddress from, to;
        uint16_t port;
        size_t entries;
        Counters* counters;  // of the router that sent it; null once the router went
    };
    std::deque<Pending> pending_;
    Timer paceTimer_;
    size_t sentInPeriod_ = 0;
    bool flushing_ = false;
    std::function<void()> afterDrain_;
};

}  // namespace engine::rip
