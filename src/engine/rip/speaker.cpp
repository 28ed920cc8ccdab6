#include "engine/rip/speaker.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <set>
#include <system_error>

namespace engine::rip {

// ---- the link of a bound port ------------------------------------------------

UdpLink::UdpLink(Reactor& reactor, const std::string& netns, const std::string& ifname, int ifindex, bool v6,
                 size_t mtu)
    : ifindex_(ifindex), mtu_(mtu) {
    IpAddress any;
    any.family = v6 ? AF_INET6 : AF_INET;
    Fd fd = udpSocket(netns, any, v6 ? kRipngPort : kRipPort);
    bindToDevice(fd.get(), ifname);
    const int family = any.family;
    joinGroup(fd.get(), *IpAddress::parse(v6 ? "ff02::9" : "224.0.0.9"), ifindex);
    setMulticastInterface(fd.get(), family, ifindex);
    setMulticastLoop(fd.get(), family, false);
    if (v6) {
        // RFC 2080 2.1: responses go out with a hop limit of 255.
        setMulticastTtl(fd.get(), family, 255);
        int hops = 255;
        if (::setsockopt(fd.get(), IPPROTO_IPV6, IPV6_UNICAST_HOPS, &hops, sizeof hops) < 0)
            throw std::system_error(errno, std::generic_category(), "set IPV6_UNICAST_HOPS");
    } else {
        int on = 1;
        if (::setsockopt(fd.get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on) < 0)
            throw std::system_error(errno, std::generic_category(), "set SO_BROADCAST");
    }
    socket_ = std::make_unique<DatagramSocket>(reactor, std::move(fd));
    socket_->onReceive = [this](const Datagram& d) {
        if (!onReceive) return;
        if (d.ifindex && d.ifindex != ifindex_) return;
        onReceive(Received{d.from.address(), d.from.port(), d.to, d.ttl, d.bytes});
    };
}

bool UdpLink::send(std::span<const uint8_t> bytes, const IpAddress& from, const IpAddress& to, uint16_t port) {
    const bool v6 = to.isV6();
    const bool unspecified = std::all_of(from.bytes.begin(), from.bytes.begin() + std::ptrdiff_t(from.size()),
                                         [](uint8_t b) { return b == 0; });
    return socket_->sendTo(bytes, SockAddr::of(to, port, v6 ? uint32_t(ifindex_) : 0), ifindex_,
                           unspecified ? nullptr : &from);
}

// ---- helpers ---------------------------------------------------------------------

namespace {

bool isZero(const IpAddress& a) {
    for (size_t i = 0; i < a.size(); ++i)
        if (a.bytes[i]) return false;
    return true;
}

IpAddress masked(IpAddress a, int length) {
    for (size_t i = 0; i < a.size(); ++i) {
        int keep = std::clamp(length - int(i) * 8, 0, 8);
        a.bytes[i] &= uint8_t(0xFF00 >> keep);
    }
    return a;
}

bool inSubnet(const IpAddress& a, const IpAddress& net, int length) {
    return a.family == net.family && masked(a, length) == masked(net, length);
}

uint32_t v4Of(const IpAddress& a) {
    return uint32_t(a.bytes[0]) << 24 | uint32_t(a.bytes[1]) << 16 | uint32_t(a.bytes[2]) << 8 | a.bytes[3];
}

uint32_t maskOf(int length) { return length <= 0 ? 0 : length >= 32 ? 0xFFFFFFFFu : ~(0xFFFFFFFFu >> length); }

bool isLinkLocal(const IpAddress& a) { return a.isV6() && a.bytes[0] == 0xFE && (a.bytes[1] & 0xC0) == 0x80; }

// Adds n * 2^(bits - length) to a prefix; false when it runs past the space.
bool advance(IpAddress& a, int length, uint64_t n) {
    const int bits = int(a.size()) * 8;
    if (length <= 0) return n == 0;
    int bit = length - 1;  // the lowest bit of the prefix
    // Add n at `bit`, carrying upwards, byte by byte.
    unsigned __int128 carry = n;
    int byte = bit / 8;
    int shift = 7 - bit % 8;
    carry <<= shift;
    for (int i = byte; i >= 0 && carry; --i) {
        unsigned __int128 sum = a.bytes[size_t(i)] + (carry & 0xFF);
        a.bytes[size_t(i)] = uint8_t(sum);
        carry = (carry >> 8) + (sum >> 8);
    }
    (void)bits;
    return carry == 0;
}

// A v1 entry (or a v2 one without a mask) has the length of its address's
// class; within the class network of the router's own address, the router's
// subnet length (RFC 1058 3.2); 32 when the address has bits past either.
int lengthOfV1(uint32_t address, uint32_t own = 0, int ownLength = 0) {
    if (address == 0) return 0;
    int natural = address >> 31 == 0 ? 8 : address >> 30 == 2 ? 16 : 24;
    if (ownLength > natural && (address & maskOf(natural)) == (own & maskOf(natural)))
        return address & ~maskOf(ownLength) ? 32 : ownLength;
    return address & ~maskOf(natural) ? 32 : natural;
}

constexpr size_t kMaxRoutesPerRouter = 1'000'000;

IpAddress ripGroup() { return *IpAddress::parse("224.0.0.9"); }
IpAddress ripngGroup() { return *IpAddress::parse("ff02::9"); }

}  // namespace

bool Speaker::RouterConfig::operator==(const RouterConfig& o) const {
    return key == o.key && address == o.address && prefixLength == o.prefixLength && mode == o.mode &&
           version == o.version && destination == o.destination && acceptV1 == o.acceptV1 && acceptV2 == o.acceptV2 &&
           store == o.store && generalRequest == o.generalRequest && password == o.password &&
           updateInterval == o.updateInterval && updateOffset == o.updateOffset && learnedCost == o.learnedCost;
}

// ---- configuration -------------------------------------------------------------

std::vector<Speaker::RouterConfig> Speaker::routersOf(const hal::ERIPServer& config) {
    std::vector<RouterConfig> out;
    config.routers.ForEach([&](const hal::ERIPRouter& r) {
        if (!r.enabled) return;
        RouterConfig c;
        c.address = IpAddress::fromBytes(false, r.ipAddress.address.GetBytes());
        c.key = c.address.toString();
        c.prefixLength = std::clamp(r.ipAddress.prefix, 0, 32);
        switch (r.responseMode) {
        case 0:
            c.mode = RouterConfig::NoSplitHorizon;
            break;
        case 2:
            c.mode = RouterConfig::PoisonReverse;
            break;
        case 4:
            c.mode = RouterConfig::Silent;
            break;
        default:
            c.mode = RouterConfig::SplitHorizon;
            break;  // 1, and 3: on one link the space saver is split horizon
        }
        c.version = r.sendType == 1 ? 1 : 2;
        if (r.sendType == 0) {
            c.destination = ripGroup();
        } else {
            uint32_t net = v4Of(c.address);
            c.destination = IpAddress::v4(c.prefixLength >= 31 ? 0xFFFFFFFFu : (net | ~maskOf(c.prefixLength)));
        }
        c.acceptV1 = r.receiveType == 1 || r.receiveType == 3;
        c.acceptV2 = r.receiveType == 2 || r.receiveType == 3;
        c.store = r.receiveType != 0;
        c.generalRequest = r.generalRequest;
        if (r.authorization) c.password = r.authorizationPassword.substr(0, kPasswordSize);
        c.updateInterval = r.updateInterval;
        c.updateOffset = r.updateIntervalOffset;
        r.routeRanges.ForEach([&](const hal::ERIPRouteRange& g) {
            if (!g.enabled || g.networkNumber.IsV6() || g.nextHop.IsV6()) return;
            int length = std::clamp(g.mask, 0, 32);
            IpAddress p = masked(IpAddress::fromBytes(false, g.networkNumber.GetBytes()), length);
            IpAddress nh = IpAddress::fromBytes(false, g.nextHop.GetBytes());
            uint32_t metric = std::clamp<uint32_t>(g.metric, 1, kInfinity);
            for (int i = 0; i < g.numberOfRoutes && c.routes.size() < kMaxRoutesPerRouter; ++i) {
                c.routes.push_back({p, length, metric, g.routeTag, nh});
                if (!advance(p, length, 1)) break;
            }
        });
        out.push_back(std::move(c));
    });
    return out;
}

std::vector<Speaker::RouterConfig> Speaker::routersOf(const hal::ERIPngServer& config) {
    std::vector<RouterConfig> out;
    config.routers.ForEach([&](const hal::ERIPngRouter& r) {
        if (!r.enabled) return;
        RouterConfig c;
        c.key = std::to_string(r.routerId);
        c.address.family = AF_INET6;
        c.prefixLength = 64;
        c.destination = ripngGroup();
        c.mode = RouterConfig::SplitHorizon;
        const hal::ERIPngInterface* itf = nullptr;
        r.interfaces.ForEach([&](const hal::ERIPngInterface& i) {
            if (i.enabled && !itf) itf = &i;
        });
        uint32_t interfaceMetric = itf ? itf->interfaceMetric : 1;
        if (itf)
            c.mode = itf->responseMode == 1   ? RouterConfig::NoSplitHorizon
                     : itf->responseMode == 2 ? RouterConfig::PoisonReverse
                                              : RouterConfig::SplitHorizon;
        c.learnedCost = r.interfaceMetric ? std::clamp<uint32_t>(interfaceMetric, 1, kInfinity) : 1;
        c.store = r.receiveType != 0;
        c.updateInterval = r.updateInterval;
        c.updateOffset = r.updateIntervalOffset;
        r.routeRanges.ForEach([&](const hal::ERIPngRouteRange& g) {
            if (!g.enabled || !g.networkNumber.IsV6()) return;
            int length = std::clamp(g.mask, 0, 128);
            IpAddress p = masked(IpAddress::fromBytes(true, g.networkNumber.GetBytes()), length);
            IpAddress nh =
                g.nextHop.IsV6() ? IpAddress::fromBytes(true, g.nextHop.GetBytes()) : IpAddress{AF_INET6, {}};
            uint32_t metric = std::clamp<uint32_t>(g.metric, 1, kInfinity);
            uint64_t step = std::max<uint32_t>(g.step, 1);
            for (int i = 0; i < g.numberOfRoutes && c.routes.size() < kMaxRoutesPerRouter; ++i) {
                bool loopback = length == 128 && p == *IpAddress::parse("::1");
                bool multicast = p.bytes[0] == 0xFF;
                if (!(loopback && g.excludeLoopback) && !(multicast && g.excludeMulticast))
                    c.routes.push_back({p, length, metric, g.routeTag, nh});
                if (!advance(p, length, step)) break;
            }
        });
        out.push_back(std::move(c));
    });
    return out;
}

// ---- one router ----------------------------------------------------------------

struct Speaker::Router {
    Router(Reactor& reactor, RouterConfig c) : config(std::move(c)), updateTimer(reactor), sweepTimer(reactor) {
        refreshOwn();
    }

    struct Learned {
        Route route;  // metric: as in the table (received plus the cost)
        uint32_t received = 0;
        IpAddress source;
        Time updated{};
        bool garbage = false;
        Time garbageSince{};
    };
    using Key = std::pair<IpAddress, int>;

    RouterConfig config;
    Counters counters;
    std::map<Key, Learned> learned;
    std::set<Key> own;  // the prefixes of the ranges: never learned from others

    void refreshOwn() {
        own.clear();
        for (const Route& r : config.routes) own.insert({r.prefix, r.length});
    }
    Timer updateTimer, sweepTimer;

    Duration timeout() const { return std::chrono::seconds(config.updateInterval ? 6 * config.updateInterval : 180); }
    Duration collect() const { return std::chrono::seconds(config.updateInterval ? 4 * config.updateInterval : 120); }

    // The routes that go out on the link: the ranges, and the learned
    // routes as the response mode says (toRouter: the asker is a router on
    // this link, so split horizon holds).
    std::vector<Route> advertised(bool toRouter) const {
        std::vector<Route> out = config.routes;
        if (toRouter && config.mode == RouterConfig::SplitHorizon) return out;
        for (const auto& [key, l] : learned) {
            if (own.count(key)) continue;
            Route r = l.route;
            r.nextHop = IpAddress{r.prefix.family, {}};
            if (toRouter && config.mode == RouterConfig::PoisonReverse) r.metric = kInfinity;
            out.push_back(r);
        }
        return out;
    }

    // The metric of a prefix in the table, for a request of specific entries.
    uint32_t metricOf(const IpAddress& prefix, int length) const {
        for (const Route& r : config.routes)
            if (r.prefix == prefix && r.length == length) return r.metric;
        auto it = learned.find({prefix, length});
        return it == learned.end() ? kInfinity : it->second.route.metric;
    }

    // RFC 2453 3.9.2: a route from a neighbour enters, replaces a worse
    // one, refreshes or poisons its own.
    void learn(Route route, uint32_t received, const IpAddress& source, Time now, size_t limit) {
        if (!config.store) return;
        route.metric = std::min(received + config.learnedCost, kInfinity);
        Key key{route.prefix, route.length};
        if (own.count(key)) return;
        auto it = learned.find(key);
        if (it == learned.end()) {
            if (route.metric >= kInfinity) return;
            if (learned.size() >= limit) {
                ++counters.tableFull;
                return;
            }
            learned[key] = Learned{route, received, source, now};
            return;
        }
        Learned& l = it->second;
        if (l.source == source) {
            l.updated = now;
            if (route.metric >= kInfinity) {
                if (!l.garbage) {
                    l.garbage = true;
                    l.garbageSince = now;
                    l.route.metric = kInfinity;
                }
                return;
            }
            l.route = route;
            l.received = received;
            l.garbage = false;
        } else if (route.metric < l.route.metric) {
            l = Learned{route, received, source, now};
        }
    }

    void sweep(Time now) {
        for (auto it = learned.begin(); it != learned.end();) {
            Learned& l = it->second;
            if (!l.garbage && now - l.updated >= timeout()) {
                l.garbage = true;
                l.garbageSince = now;
                l.route.metric = kInfinity;
            }
            if (l.garbage && now - l.garbageSince >= collect()) {
                it = learned.erase(it);
            } else {
                ++it;
            }
        }
    }
};

// ---- the speaker -------------------------------------------------------------------

Speaker::Speaker(Reactor& reactor, bool v6) : reactor_(reactor), v6_(v6), paceTimer_(reactor) {
    linkLocal_.family = v6 ? AF_INET6 : AF_INET;
}

Speaker::~Speaker() {
    if (link_) link_->onReceive = nullptr;
}

void Speaker::setLink(Link* link) {
    if (link_) link_->onReceive = nullptr;
    link_ = link;
    if (link_) link_->onReceive = [this](const Link::Received& d) { receive(d); };
}

void Speaker::configure(const hal::ERIPServer& config) { apply(routersOf(config)); }

void Speaker::configure(const hal::ERIPngServer& config) {
    paceRoutes_ = config.numberOfRoutes;
    paceMs_ = config.timePeriod;
    apply(routersOf(config));
}

std::vector<std::pair<IpAddress, int>> Speaker::addresses() const {
    std::vector<std::pair<IpAddress, int>> out;
    if (v6_) return out;
    for (const auto& r : routers_) out.emplace_back(r->config.address, r->config.prefixLength);
    return out;
}

std::optional<std::vector<hal::ERIPLearnedRoute>> Speaker::learnedRoutes(const std::string& key) const {
    for (const auto& r : routers_) {
        if (r->config.key != key) continue;
        std::vector<hal::ERIPLearnedRoute> out;
        auto hal = [](const IpAddress& a) {
            return a.isV6() ? hal::EIPAddress::FromV6(a.bytes) : hal::EIPAddress::FromV4(v4Of(a));
        };
        for (const auto& [k, l] : r->learned) {
            if (l.garbage) continue;
            out.push_back({hal(l.route.prefix), uint8_t(l.route.length), hal(l.route.nextHop), l.received, l.route.tag,
                           hal(l.source)});
        }
        return out;
    }
    return std::nullopt;
}

std::optional<Counters> Speaker::counters(const std::string& key) const {
    for (const auto& r : routers_)
        if (r->config.key == key) return r->counters;
    return std::nullopt;
}

// ---- sending -------------------------------------------------------------------------

const IpAddress& Speaker::sourceOf(const Router& r) const { return v6_ ? linkLocal_ : r.config.address; }

void Speaker::queue(Router& r, Bytes bytes, const IpAddress& to, uint16_t port, size_t entries) {
    pending_.push_back({std::move(bytes), sourceOf(r), to, port, entries, &r.counters});
    drain();
}

void Speaker::drain() {
    // Pacing (RIPng): a period starts with its first packet; past the
    // server's number of routes the rest waits for the next period.
    const bool paced = v6_ && paceRoutes_ && paceMs_ && !flushing_;
    while (!pending_.empty()) {
        Pending& p = pending_.front();
        if (paced) {
            if (sentInPeriod_ && sentInPeriod_ + p.entries > paceRoutes_) return;  // the period's timer drains
            if (!paceTimer_.armed())
                paceTimer_.start(std::chrono::milliseconds(paceMs_), [this] {
                    sentInPeriod_ = 0;
                    drain();
                });
        }
        sentInPeriod_ += p.entries;
        if (link_ && link_->send(p.bytes, p.from, p.to, p.port) && p.counters) ++p.counters->packetsSent;
        pending_.pop_front();
    }
    if (afterDrain_) {
        auto done = std::move(afterDrain_);
        afterDrain_ = nullptr;
        done();
    }
}

void Speaker::sendRoutes(Router& r, const std::vector<Route>& routes, const IpAddress& to, uint16_t port,
                         uint8_t version, bool poison) {
    if (!v6_) {
        const size_t per = ripEntriesPerPacket(r.config.password.has_value());
        for (size_t at = 0; at < routes.size(); at += per) {
            RipPacket p{Command::Response, version, version == 2 ? r.config.password : std::nullopt, {}};
            size_t end = std::min(routes.size(), at + per);
            p.entries.reserve(end - at);
            for (size_t i = at; i < end; ++i) {
                const Route& x = routes[i];
                RipEntry e{kAfInet, 0, v4Of(x.prefix), 0, 0, poison ? kInfinity : x.metric};
                if (version == 2) {
                    e.tag = x.tag;
                    e.mask = maskOf(x.length);
                    e.nextHop = isZero(x.nextHop) ? 0 : v4Of(x.nextHop);
                }
                p.entries.push_back(e);
            }
            queue(r, encodeRip(p), to, port, p.entries.size());
            ++r.counters.updatesSent;
        }
        return;
    }
    size_t per = ripngEntriesPerPacket(link_ ? link_->mtu() : 1500);
    if (paceRoutes_ && paceMs_) per = std::max<size_t>(std::min<size_t>(per, paceRoutes_), 2);
    RipngPacket p;
    IpAddress hop{AF_INET6, {}};
    auto flush = [&] {
        if (p.entries.empty()) return;
        size_t n = p.entries.size();
        queue(r, encodeRipng(p), to, port, n);
        ++r.counters.updatesSent;
        p.entries.clear();
        hop = IpAddress{AF_INET6, {}};
    };
    for (const Route& x : routes) {
        const bool newHop = x.nextHop != hop;
        if (p.entries.size() + (newHop ? 2 : 1) > per) flush();
        if (x.nextHop != hop) {
            p.entries.push_back({x.nextHop.bytes, 0, 0, kRipngNextHop});
            hop = x.nextHop;
        }
        p.entries.push_back({x.prefix.bytes, x.tag, uint8_t(x.length), uint8_t(poison ? kInfinity : x.metric)});
    }
    flush();
}

void Speaker::sendUpdate(Router& r, bool poison) {
    if (r.config.mode == RouterConfig::Silent) return;
    sendRoutes(r, r.advertised(true), r.config.destination, v6_ ? kRipngPort : kRipPort, r.config.version, poison);
}

void Speaker::sendRequest(Router& r) {
    ++r.counters.requestsSent;
    if (v6_) {
        RipngPacket p{Command::Request, {{{}, 0, 0, uint8_t(kInfinity)}}};
        queue(r, encodeRipng(p), r.config.destination, kRipngPort, 1);
        return;
    }
    RipPacket p{Command::Request,
                r.config.version,
                r.config.version == 2 ? r.config.password : std::nullopt,
                {{0, 0, 0, 0, 0, kInfinity}}};
    queue(r, encodeRip(p), r.config.destination, kRipPort, 1);
}

Duration Speaker::nextUpdate(const Router& r) {
    const int64_t base = int64_t(r.config.updateInterval) * 1000;
    const int64_t jitter = int64_t(r.config.updateOffset) * 1000;
    int64_t ms = base;
    if (jitter) ms += std::uniform_int_distribution<int64_t>(-jitter, jitter)(random_);
    return std::chrono::milliseconds(std::max<int64_t>(ms, 1000));
}

void Speaker::startRouter(Router& r) {
    r.learned.clear();
    if (r.config.generalRequest || v6_) sendRequest(r);
    sendUpdate(r, false);
    if (r.config.updateInterval && r.config.mode != RouterConfig::Silent) {
        Router* rp = &r;
        std::function<void()> tick = [this, rp] {
            sendUpdate(*rp, false);
            rp->updateTimer.restart(nextUpdate(*rp));
        };
        r.updateTimer.start(nextUpdate(r), tick);
    }
    Router* rp = &r;
    r.sweepTimer.startPeriodic(std::chrono::seconds(1), [this, rp] { rp->sweep(reactor_.now()); });
}

void Speaker::stopRouter(Router& r) {
    sendUpdate(r, true);
    r.updateTimer.cancel();
    r.sweepTimer.cancel();
}

// ---- running -------------------------------------------------------------------------

void Speaker::apply(std::vector<RouterConfig> configs) {
    if (!running_) {
        routers_.clear();
        for (auto& c : configs) routers_.push_back(std::make_unique<Router>(reactor_, std::move(c)));
        return;
    }
    std::vector<std::unique_ptr<Router>> next;
    for (auto& c : configs) {
        auto old = std::find_if(routers_.begin(), routers_.end(),
                                [&](const auto& r) { return r && r->config.key == c.key && r->config == c; });
        if (old == routers_.end()) {
            next.push_back(std::make_unique<Router>(reactor_, std::move(c)));
            continue;
        }
        // The same router: poison the routes that went away, announce the new and changed ones.
        Router& r = **old;
        std::map<Router::Key, const Route*> fresh;
        for (const Route& x : c.routes) fresh[{x.prefix, x.length}] = &x;
        std::vector<Route> gone, changed;
        std::set<Router::Key> had;
        for (const Route& x : r.config.routes) {
            had.insert({x.prefix, x.length});
            auto it = fresh.find({x.prefix, x.length});
            if (it == fresh.end()) {
                gone.push_back(x);
            } else if (it->second->metric != x.metric || it->second->tag != x.tag || it->second->nextHop != x.nextHop) {
                changed.push_back(*it->second);
            }
        }
        for (const Route& x : c.routes)
            if (!had.count({x.prefix, x.length})) changed.push_back(x);
        r.config.routes = std::move(c.routes);
        r.refreshOwn();
        if (r.config.mode != RouterConfig::Silent) {
            const uint16_t port = v6_ ? kRipngPort : kRipPort;
            if (!gone.empty()) sendRoutes(r, gone, r.config.destination, port, r.config.version, true);
            if (!changed.empty()) sendRoutes(r, changed, r.config.destination, port, r.config.version, false);
        }
        next.push_back(std::move(*old));
    }
    // Routers that went away (or changed how they speak) poison their routes.
    for (auto& r : routers_)
        if (r) stopRouter(*r);
    for (auto& r : next)
        if (!r->updateTimer.armed() && !r->sweepTimer.armed()) startRouter(*r);
    // Packets of routers that went still wait in the queue: keep their counters out of it.
    for (auto& p : pending_)
        for (auto& r : routers_)
            if (r && p.counters == &r->counters) p.counters = nullptr;
    routers_ = std::move(next);
}

void Speaker::start() {
    if (running_) return;
    running_ = true;
    flushing_ = false;
    for (auto& r : routers_) startRouter(*r);
}

void Speaker::stop(std::function<void()> done) {
    if (!running_) {
        if (done) done();
        return;
    }
    running_ = false;
    flushing_ = true;  // what waits, and the poison, go out at once
    paceTimer_.cancel();
    sentInPeriod_ = 0;
    for (auto& r : routers_) stopRouter(*r);
    afterDrain_ = std::move(done);
    drain();
}

// ---- receiving -----------------------------------------------------------------------

void Speaker::receive(const Link::Received& d) {
    if (!running_) return;
    if (v6_ ? d.from == linkLocal_
            : std::any_of(routers_.begin(), routers_.end(), [&](const auto& r) { return r->config.address == d.from; }))
        return;  // our own, looped back
    // A RIP datagram belongs to the routers on the sender's subnet (all of them when none is).
    std::vector<Router*> to;
    for (auto& r : routers_)
        if (v6_ || inSubnet(d.from, r->config.address, r->config.prefixLength)) to.push_back(r.get());
    if (to.empty())
        for (auto& r : routers_) to.push_back(r.get());
    for (Router* r : to) {
        ++r->counters.packetsReceived;
        if (v6_) {
            receiveRipng(*r, d);
        } else {
            receiveRip(*r, d);
        }
    }
}

void Speaker::answer(Router& r, const Link::Received& d, std::vector<Route> asked, uint8_t version) {
    const bool whole = asked.empty();
    if (whole) {
        // A whole-table request from a router of the link gets the regular update.
        sendRoutes(r, r.advertised(d.fromPort == (v6_ ? kRipngPort : kRipPort)), d.from, d.fromPort, version, false);
        return;
    }
    for (Route& x : asked) x.metric = r.metricOf(x.prefix, x.length);
    sendRoutes(r, asked, d.from, d.fromPort, version, false);
}

void Speaker::receiveRip(Router& r, const Link::Received& d) {
    auto p = decodeRip(d.bytes);
    if (!p) {
        ++r.counters.badPackets;
        return;
    }
    // Simple-password authentication: nothing passes without the password,
    // and an authenticated packet does not pass a router without one.
    if (r.config.password ? p->password != r.config.password : p->password.has_value()) {
        ++r.counters.authFailures;
        return;
    }
    if (p->command == Command::Request) {
        ++r.counters.requestsReceived;
        if (isWholeTableRequest(*p)) return answer(r, d, {}, p->version);
        std::vector<Route> asked;
        for (const RipEntry& e : p->entries) {
            if (e.family != kAfInet) continue;
            int length = p->version == 2 && e.mask ? std::countl_one(e.mask) : lengthOfV1(e.address);
            asked.push_back({IpAddress::v4(e.address), length, kInfinity, e.tag, IpAddress::v4(0)});
        }
        if (!asked.empty()) answer(r, d, std::move(asked), p->version);
        return;
    }
    if (d.fromPort != kRipPort) {
        ++r.counters.badPackets;  // RFC 2453 3.9.2: responses come from port 520
        return;
    }
    ++r.counters.updatesReceived;
    if (p->version == 1 ? !r.config.acceptV1 : !r.config.acceptV2) return;
    const Time now = reactor_.now();
    for (const RipEntry& e : p->entries) {
        if (ripEntryProblem(e)) {
            ++r.counters.badEntries;
            continue;
        }
        int length = p->version == 2 && (e.mask || e.address == 0)
                         ? std::countl_one(e.mask)
                         : lengthOfV1(e.address, v4Of(r.config.address), r.config.prefixLength);
        IpAddress hop = d.from;
        if (p->version == 2 && e.nextHop) {
            IpAddress named = IpAddress::v4(e.nextHop);
            if (inSubnet(named, r.config.address, r.config.prefixLength)) hop = named;
        }
        r.learn({masked(IpAddress::v4(e.address), length), length, 0, p->version == 2 ? e.tag : uint16_t(0), hop},
                e.metric, d.from, now, learnedLimit_);
    }
}

void Speaker::receiveRipng(Router& r, const Link::Received& d) {
    auto p = decodeRipng(d.bytes);
    if (!p) {
        ++r.counters.badPackets;
        return;
    }
    if (p->command == Command::Request) {
        ++r.counters.requestsReceived;
        if (isWholeTableRequest(*p)) return answer(r, d, {}, 1);
        std::vector<Route> asked;
        for (const RipngEntry& e : p->entries)
            if (e.metric != kRipngNextHop && e.length <= 128)
                asked.push_back({IpAddress{AF_INET6, e.prefix}, e.length, kInfinity, e.tag, IpAddress{AF_INET6, {}}});
        if (!asked.empty()) answer(r, d, std::move(asked), 1);
        return;
    }
    // RFC 2080 2.4.2: from port 521, a link-local source, hop limit 255.
    if (d.fromPort != kRipngPort || !isLinkLocal(d.from) || (d.hopLimit >= 0 && d.hopLimit != 255)) {
        ++r.counters.badPackets;
        return;
    }
    ++r.counters.updatesReceived;
    const Time now = reactor_.now();
    IpAddress hop = d.from;
    for (const RipngEntry& e : p->entries) {
        if (e.metric == kRipngNextHop) {
            IpAddress named{AF_INET6, e.prefix};
            hop = isZero(named) || ripngNextHopProblem(e) ? d.from : named;
            continue;
        }
        if (ripngEntryProblem(e)) {
            ++r.counters.badEntries;
            continue;
        }
        r.learn({masked(IpAddress{AF_INET6, e.prefix}, e.length), e.length, 0, e.tag, hop}, e.metric, d.from, now,
                learnedLimit_);
    }
}

}  // namespace engine::rip
