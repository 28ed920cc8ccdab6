#include "engine/bgp/speaker.h"

#include <algorithm>
#include <array>
#include <deque>
#include <optional>
#include <set>
#include <stdexcept>
#include <system_error>
#include <tuple>

#include "engine/bgp/builder.h"
#include "engine/bgp/fsm.h"
#include "engine/bgp/rib.h"
#include "engine/netlink.h"

namespace engine::bgp {

namespace {

// Output pacing: the encoder is asked for more while the stream's queue is
// under kPumpHigh, and again when it has drained to kPumpLow.
constexpr size_t kPumpHigh = 256 << 10;
constexpr size_t kPumpLow = 64 << 10;
constexpr size_t kChunk = 128 << 10;  // above the largest message (65535)
// A peer that stops reading: past this the session ends.
constexpr size_t kQueueLimit = 8 << 20;
// How long stop() waits for the last bytes (the Cease) to be written.
constexpr Duration kFlushGrace = 2s;

IpAddress ipOf(const hal::EIPAddress& a) { return IpAddress::fromBytes(a.IsV6(), a.GetBytes()); }

uint32_t v4Of(const IpAddress& a) {
    const auto& b = a.bytes;
    if (a.isV6()) return uint32_t(b[12]) << 24 | uint32_t(b[13]) << 16 | uint32_t(b[14]) << 8 | b[15];
    return uint32_t(b[0]) << 24 | uint32_t(b[1]) << 16 | uint32_t(b[2]) << 8 | b[3];
}

std::string dotted(uint32_t v) { return IpAddress::v4(v).toString(); }

// What a session is made of; a change of any of these restarts the session.
struct Settings {
    bool internal = true;
    IpAddress local, dut;
    uint32_t localAs = 0;
    uint32_t bgpId = 0;
    uint16_t holdTime = 90, keepAlive = 30;
    uint8_t ttl = 64;
    std::string md5Key;
    bool gracefulRestart = false;
    uint16_t restartTime = 0;
    uint32_t staleTime = 0;
    std::vector<AfiSafi> families;
    bool activeConnect = true;
    uint32_t retries = 0, retryDelay = 120;
    bool establishOnce = false;
    bool operator==(const Settings&) const = default;
};

Settings settingsOf(const hal::EBGP::ConfigNeighbor& n, const hal::EBGPServer& server) {
    Settings s;
    s.internal = n.type == 0;
    s.local = ipOf(n.localAddress);
    s.dut = ipOf(n.dutAddress);
    s.localAs = n.localAs;
    const uint32_t id = n.bgpId.IsV6() ? v4Of(ipOf(n.bgpId)) : n.bgpId.GetV4();
    s.bgpId = id ? id : v4Of(s.local);
    s.holdTime = n.holdTime;
    s.keepAlive = n.keepAlive;
    s.ttl = n.ttl;
    s.md5Key = n.md5Key;
    s.gracefulRestart = n.gracefulRestart;
    s.restartTime = uint16_t(uint32_t(n.restartTime));
    s.staleTime = n.staleTime;
    const std::pair<bool, AfiSafi> families[] = {
        {n.ipV4Unicast, kIpv4Unicast}, {n.ipV4Multicast, {1, 2}}, {n.ipV4Mpls, {1, 4}}, {n.ipV4MplsVpn, {1, 128}},
        {n.ipV6Unicast, kIpv6Unicast}, {n.ipV6Multicast, {2, 2}}, {n.ipV6Mpls, {2, 4}}, {n.ipV6MplsVpn, {2, 128}}};
    for (const auto& [on, f] : families)
        if (on) s.families.push_back(f);
    if (s.internal && n.internalTable.enabled) {
        s.activeConnect = n.internalTable.activeConnect;
        s.retries = n.internalTable.retries;
        s.retryDelay = n.internalTable.retryDelay;
        s.establishOnce = n.internalTable.establishOnceOnly;
    } else {
        const hal::EBGPGlobalConfig& b = s.internal ? server.internal : server.external;
        s.activeConnect = b.activeConnect;
        s.retries = b.connectRetries;
        s.retryDelay = b.retryDelay;
        s.establishOnce = b.establishOnceOnly;
    }
    return s;
}

FsmConfig fsmConfigOf(const Settings& s) {
    FsmConfig c;
    c.open = makeOpen(s.localAs, s.holdTime, s.bgpId);
    c.open.caps.multiprotocol = s.families;
    c.open.caps.routeRefresh = true;
    c.open.caps.extendedMessage = true;  // in use only when the peer offers it too
    if (s.gracefulRestart) {
        GracefulRestart gr;
        gr.time = uint16_t(s.restartTime & 0xfff);
        for (const AfiSafi& f : s.families) gr.families.push_back({f, false});
        c.open.caps.gracefulRestart = gr;
    }
    c.peerAs = s.internal ? s.localAs : 0;
    c.internal = s.internal;
    c.activeConnect = s.activeConnect;
    c.connectRetryTime = std::max<uint32_t>(1, s.retryDelay);
    c.connectRetries = s.retries;
    c.establishOnce = s.establishOnce;
    c.keepaliveTime = s.keepAlive;
    return c;
}

using SessionKey = std::pair<IpAddress, IpAddress>;  // local and DUT address

// The sessions a configuration asks for: each enabled neighbor, and an
// internal neighbor once more towards each enabled further peer of its
// internal table (the emulated router in a full internal mesh). The first
// of two with the same addresses wins.
std::map<SessionKey, hal::EBGP::ConfigNeighbor> sessionsOf(const hal::EBGPServer& config) {
    std::map<SessionKey, hal::EBGP::ConfigNeighbor> out;
    config.neighbors.ForEach([&](const hal::EBGP::ConfigNeighbor& n) {
        if (!n.enabled) return;
        out.emplace(SessionKey{ipOf(n.localAddress), ipOf(n.dutAddress)}, n);
        if (n.type != 0) return;
        n.internalTable.peers.ForEach([&](const hal::EBGP::ConfigInternalNeighborItem& p) {
            if (!p.enabled) return;
            hal::EBGP::ConfigNeighbor more = n;
            more.dutAddress = p.dutAddress;
            out.emplace(SessionKey{ipOf(more.localAddress), ipOf(more.dutAddress)}, more);
        });
    });
    return out;
}

bool sameRange(const hal::EBGP::ConfigRouteRange& a, const hal::EBGP::ConfigRouteRange& b) {
    hal::EBGP::ConfigRouteRange c = a;
    c.id = b.id;
    return c == b;
}

bool samePrefixes(const hal::EBGP::ConfigRouteRange& a, const hal::EBGP::ConfigRouteRange& b) {
    return a.firstNetwork == b.firstNetwork && a.fromPrefix == b.fromPrefix && a.thruPrefix == b.thruPrefix &&
           a.numberOfRoutes == b.numberOfRoutes && a.routeStep == b.routeStep;
}

// Prefixes announced and withdrawn by whole UPDATEs laid one after the
// other (what the encoder wrote).
struct PrefixCount {
    uint64_t announced = 0, withdrawn = 0;
};

uint64_t countField(ByteView field) {
    uint64_t n = 0;
    for (size_t at = 0; at < field.size(); ++n) at += 1 + (size_t(field[at]) + 7) / 8;
    return n;
}

PrefixCount countPrefixes(ByteView msgs) {
    PrefixCount c;
    for (size_t at = 0; at + kHeaderSize <= msgs.size();) {
        const size_t len = size_t(msgs[at + 16]) << 8 | msgs[at + 17];
        if (len < kHeaderSize + 4 || at + len > msgs.size()) break;
        Reader r(msgs.subspan(at + kHeaderSize, len - kHeaderSize));
        c.withdrawn += countField(r.bytes(r.u16()));
        Reader attrs(r.bytes(r.u16()));
        c.announced += countField(r.rest());
        while (!attrs.empty() && !attrs.failed()) {
            const uint8_t flags = attrs.u8(), type = attrs.u8();
            const size_t alen = flags & attr::kExtendedLength ? attrs.u16() : attrs.u8();
            Reader v(attrs.bytes(alen));
            if (type == attr::kMpReach) {
                v.u16();
                v.u8();
                v.bytes(v.u8());
                v.u8();
                c.announced += countField(v.rest());
            } else if (type == attr::kMpUnreach) {
                v.u16();
                v.u8();
                c.withdrawn += countField(v.rest());
            }
        }
        at += len;
    }
    return c;
}

}  // namespace

// ---------------------------------------------------------------- transport

namespace {

// Whether `a` is an IPv6 link-local address (fe80::/10), which means
// nothing without the interface it is on.
bool isLinkLocal(const IpAddress& a) { return a.isV6() && a.bytes[0] == 0xfe && (a.bytes[1] & 0xc0) == 0x80; }

class TcpTransport final : public Transport {
public:
    TcpTransport(Reactor& r, std::string netns, std::string ifname)
        : reactor_(r), netns_(std::move(netns)), ifname_(std::move(ifname)) {}

    std::unique_ptr<Stream> connect(const IpAddress& remote, uint16_t port, const TcpOptions& options) override {
        try {
            TcpOptions scoped = options;
            if (!scoped.scopeId && (isLinkLocal(remote) || (options.local && isLinkLocal(*options.local))))
                scoped.scopeId = scope();
            return TcpConnection::connect(reactor_, tcpConnect(netns_, remote, port, scoped));
        } catch (const std::exception& e) {
            lastError_ = e.what();
            return nullptr;
        }
    }

    std::shared_ptr<void> listen(const IpAddress& local, uint16_t port,
                                 const std::vector<std::pair<IpAddress, std::string>>& md5Keys,
                                 Accept accept) override {
        try {
            Fd fd = tcpListen(netns_, local, port, 64, isLinkLocal(local) ? scope() : 0);
            for (const auto& [peer, key] : md5Keys) setMd5Key(fd.get(), peer, key);
            Reactor& r = reactor_;
            return std::make_shared<TcpListener>(r, std::move(fd), [&r, accept](Fd c, const SockAddr& peer) {
                accept(peer.address(), TcpConnection::adopt(r, std::move(c)));
            });
        } catch (const std::exception& e) {
            lastError_ = e.what();
            return nullptr;
        }
    }

private:
    // The index of the port's interface, looked up once it is needed.
    uint32_t scope() {
        if (!scope_ && !ifname_.empty())
            if (auto link = Netlink(netns_).link(ifname_)) scope_ = uint32_t(link->index);
        if (!scope_) throw std::runtime_error("a link-local address needs the port's interface");
        return scope_;
    }

    Reactor& reactor_;
    std::string netns_;
    std::string ifname_;
    uint32_t scope_ = 0;
};

}  // namespace

std::unique_ptr<Transport> tcpTransport(Reactor& reactor, std::string netns, std::string ifname) {
    return std::make_unique<TcpTransport>(reactor, std::move(netns), std::move(ifname));
}

// ---------------------------------------------------------------- the speaker's state

namespace {

// One transport connection with the state machine that runs on it. A
// neighbor has one, and a second while a collision is being resolved.
struct Conn {
    explicit Conn(Reactor& r) : timers{engine::Timer(r), engine::Timer(r), engine::Timer(r), engine::Timer(r)} {}
    std::unique_ptr<Fsm> fsm;
    std::unique_ptr<Stream> stream;
    engine::Timer timers[4];  // by bgp::Timer
    bool outgoing = true;     // the stream is one we opened
    bool suppressConnect = false;
    bool losing = false;  // closed by collision resolution
    Bytes early;          // bytes that came before the connection was reported up
    std::shared_ptr<bool> token = std::make_shared<bool>(true);
};

struct Job {
    std::unique_ptr<UpdateEncoder> enc;
    Bytes raw;  // a message of its own (End-of-RIB)
};

struct Flap {
    explicit Flap(Reactor& r) : timer(r) {}
    engine::Timer timer;
    bool down = false;
};

struct Neighbor {
    explicit Neighbor(Reactor& r) : restartTimer(r), staleTimer(r), linkTimer(r) {}
    hal::EBGP::ConfigNeighbor config;
    Settings settings;
    FsmConfig fsmConfig;
    std::unique_ptr<Counters> counters = std::make_unique<Counters>();
    std::unique_ptr<Conn> conn, other;
    bool started = false;
    bool up = false;
    bool beenUp = false;
    Session session;
    std::optional<Open> peerOpen;
    std::unique_ptr<AdjRibIn> rib;
    bool restarting = false;  // the peer restarts: its routes are held stale (RFC 4724)
    std::deque<Job> jobs;
    std::map<uint64_t, std::unique_ptr<Flap>> flaps;  // by range id
    engine::Timer restartTimer, staleTimer, linkTimer;
    bool linkDown = false;
    // Counters the state machine does not keep.
    uint64_t connectsReceived = 0, connectsAccepted = 0;
    uint64_t grAttempted = 0, grFailed = 0, routesBeforeStale = 0;
    uint64_t lastSent = 0, lastReceived = 0, rateSent = 0, rateReceived = 0;
    // The learned-route snapshot, made again after a change.
    mutable std::shared_ptr<const std::vector<hal::EBGP::LearnedRoute>> snapshot;
    bool dirty = true;
};

}  // namespace

struct Speaker::Impl {
    Impl(Speaker& owner, Reactor& r, Place p, std::unique_ptr<Transport> t)
        : self(owner), reactor(r), place(std::move(p)), transport(std::move(t)), tick(r), flushTimer(r) {
        buffer.resize(kChunk);
    }
    ~Impl();

    Speaker& self;
    Reactor& reactor;
    Place place;
    std::unique_ptr<Transport> transport;
    hal::EBGPServer config;
    bool running = false;
    std::map<SessionKey, std::unique_ptr<Neighbor>> neighbors;
    std::map<IpAddress, std::shared_ptr<void>> listeners;
    std::map<IpAddress, std::vector<std::pair<IpAddress, std::string>>> listenerKeys;
    struct Retired {
        std::unique_ptr<Stream> stream;
        Time since;
    };
    std::vector<Retired> retired;  // closing streams, flushing their last bytes
    std::vector<std::unique_ptr<Conn>> deadConns;
    std::vector<std::unique_ptr<Neighbor>> deadNeighbors;
    bool sweepPosted = false;
    engine::Timer tick, flushTimer;
    Time flushDeadline{};
    std::function<void()> flushDone;  // stop()'s report, once the Ceases are written
    std::string lastError;
    Bytes buffer;
    std::shared_ptr<bool> life = std::make_shared<bool>(true);

    // Runs f at the next turn unless the speaker is gone by then.
    void later(std::function<void()> f) {
        std::weak_ptr<bool> w = life;
        reactor.after(Duration{0}, [w, f = std::move(f)] {
            if (!w.expired()) f();
        });
    }

    void startNeighbor(Neighbor& n);
    void endNeighbor(std::unique_ptr<Neighbor> n, uint8_t cease);
    std::unique_ptr<Neighbor> makeNeighbor(const hal::EBGP::ConfigNeighbor& c);
    std::unique_ptr<Conn> makeConn(Neighbor& n);
    void updateListeners();
    void onAccept(const IpAddress& local, const IpAddress& peer, std::unique_ptr<Stream> stream);
    void run(Neighbor& n, Conn& c, std::vector<Action> actions);
    void openConnection(Neighbor& n, Conn& c);
    void connected(Neighbor& n, Conn& c);
    void attach(Neighbor& n, Conn& c);
    void retireStream(Conn& c, bool abort);
    void retireConn(std::unique_ptr<Conn>& slot, bool abort);
    void sweep();
    void resolveCollision(Neighbor& n);
    void onEstablished(Neighbor& n, Conn& c);
    void onDown(Neighbor& n, Conn& c, const std::optional<Notification>& why);
    void onReceived(Neighbor& n, Conn& c, Action& a);
    void sessionEnded(Neighbor& n, bool keepStale);
    void dropStale(Neighbor& n);
    void sweepStale(Neighbor& n, uint8_t family);
    std::unique_ptr<UpdateEncoder> encoder(Neighbor& n, UpdateEncoder::Kind kind);
    void queueRange(Neighbor& n, const hal::EBGP::ConfigRouteRange& r, size_t position, UpdateEncoder::Kind kind);
    void queueAll(Neighbor& n, std::optional<AfiSafi> only, bool endOfRib);
    void queueNeighbor(Neighbor& n, const hal::EBGP::ConfigNeighbor& c, UpdateEncoder::Kind kind,
                       const std::vector<AfiSafi>& families);
    void startFlap(Neighbor& n, const hal::EBGP::ConfigRouteRange& r);
    void flap(Neighbor& n, uint64_t rangeId);
    void startLinkFlap(Neighbor& n);
    void updateRoutes(Neighbor& n, const hal::EBGP::ConfigNeighbor& next);
    void pump(Neighbor& n);
    void onTick();
    void flushCheck();
    const Neighbor* find(const hal::EIPAddress& dut) const;
};

// ---------------------------------------------------------------- life of neighbors

std::unique_ptr<Neighbor> Speaker::Impl::makeNeighbor(const hal::EBGP::ConfigNeighbor& c) {
    auto n = std::make_unique<Neighbor>(reactor);
    n->config = c;
    n->settings = settingsOf(c, config);
    n->fsmConfig = fsmConfigOf(n->settings);
    n->rib = std::make_unique<AdjRibIn>(RibFilter::of(c));
    return n;
}

std::unique_ptr<Conn> Speaker::Impl::makeConn(Neighbor& n) {
    auto c = std::make_unique<Conn>(reactor);
    c->fsm = std::make_unique<Fsm>(n.fsmConfig, *n.counters);
    return c;
}

void Speaker::Impl::startNeighbor(Neighbor& n) {
    n.started = true;
    n.conn = makeConn(n);
    Conn& c = *n.conn;
    run(n, c, c.fsm->start());
    startLinkFlap(n);
}

// A neighbor that goes: a Cease to its peer, its streams flushed.
void Speaker::Impl::endNeighbor(std::unique_ptr<Neighbor> n, uint8_t cease) {
    for (std::unique_ptr<Conn>* slot : {&n->other, &n->conn}) {
        if (!*slot) continue;
        Conn& c = **slot;
        c.losing = true;  // no session bookkeeping on the way out
        run(*n, c, c.fsm->stop(cease));
        retireConn(*slot, false);
    }
    n->started = false;
    n->up = false;
    n->jobs.clear();
    n->flaps.clear();
    n->linkTimer.cancel();
    if (n->linkDown && self.setLink) self.setLink(true);
    n->linkDown = false;
    deadNeighbors.push_back(std::move(n));
    if (!sweepPosted) {
        sweepPosted = true;
        later([this] { sweep(); });
    }
}

Speaker::Impl::~Impl() {
    tick.cancel();
    flushTimer.cancel();
    for (auto& [key, n] : neighbors)
        for (std::unique_ptr<Conn>* slot : {&n->other, &n->conn})
            if (*slot && (*slot)->stream) (*slot)->stream->abort();
    for (Retired& r : retired) r.stream->abort();
}

// ---------------------------------------------------------------- listeners

void Speaker::Impl::updateListeners() {
    std::map<IpAddress, std::vector<std::pair<IpAddress, std::string>>> want;
    for (auto& [key, n] : neighbors) {
        auto& keys = want[n->settings.local];
        if (!n->settings.md5Key.empty()) keys.emplace_back(n->settings.dut, n->settings.md5Key);
    }
    if (!running) want.clear();
    for (auto it = listeners.begin(); it != listeners.end();) {
        auto w = want.find(it->first);
        if (w == want.end() || (w->second != listenerKeys[it->first] && it->second)) {
            listenerKeys.erase(it->first);
            it = listeners.erase(it);
        } else {
            ++it;
        }
    }
    for (auto& [local, keys] : want) {
        if (listeners.count(local) && listeners[local]) continue;
        const IpAddress at = local;
        std::shared_ptr<void> l = transport->listen(
            at, kBgpPort, keys,
            [this, at](const IpAddress& peer, std::unique_ptr<Stream> s) { onAccept(at, peer, std::move(s)); });
        if (!l) lastError = transport->lastError();
        listeners[local] = std::move(l);
        listenerKeys[local] = keys;
    }
}

void Speaker::Impl::onAccept(const IpAddress& local, const IpAddress& peer, std::unique_ptr<Stream> stream) {
    auto it = neighbors.find({local, peer});
    if (it == neighbors.end() || !it->second->started || !it->second->conn) {
        stream->abort();
        return;
    }
    Neighbor& n = *it->second;
    ++n.connectsReceived;
    Conn& p = *n.conn;
    const State st = p.fsm->state();
    // An established session keeps its connection (RFC 4271 6.8); a
    // peering that may come up only once stays down.
    if (st == State::Established || (st == State::Idle && n.settings.establishOnce && n.beenUp)) {
        stream->abort();
        return;
    }
    ++n.connectsAccepted;
    // Without a connection of its own the session takes this one; else the
    // two run side by side until one reaches OpenConfirm, and collision
    // resolution keeps one of them.
    Conn* target = &p;
    if (st != State::Idle && st != State::Active) {
        if (n.other) retireConn(n.other, true);
        n.other = makeConn(n);
        target = n.other.get();
    } else if (p.stream) {
        retireStream(p, true);
    }
    Conn& c = *target;
    c.stream = std::move(stream);
    c.outgoing = false;
    // The neighbor's TTL on what we send back, as on our own connects.
    if (auto* tcp = dynamic_cast<TcpConnection*>(c.stream.get()); tcp && n.settings.ttl) {
        try {
            setTtl(tcp->fd(), n.settings.ttl);
        } catch (const std::system_error& e) {
            lastError = e.what();
        }
    }
    attach(n, c);
    if (c.fsm->state() == State::Idle) {
        c.suppressConnect = true;
        run(n, c, c.fsm->start());
        c.suppressConnect = false;
        // A second connection is not a start of the session.
        if (&c == n.other.get()) n.counters->starts.fetch_sub(1, std::memory_order_relaxed);
    }
    connected(n, c);
}

// ---------------------------------------------------------------- connections

void Speaker::Impl::connected(Neighbor& n, Conn& c) {
    const std::weak_ptr<bool> alive = c.token;
    run(n, c, c.fsm->connected());
    if (alive.expired() || c.early.empty()) return;
    Bytes early = std::move(c.early);
    c.early.clear();
    run(n, c, c.fsm->received(early));
}

void Speaker::Impl::attach(Neighbor& n, Conn& c) {
    Stream& s = *c.stream;
    s.setWaterMarks(kPumpHigh, kPumpLow);
    s.setQueueLimit(kQueueLimit);
    const std::weak_ptr<bool> w = c.token;
    Stream* const sp = &s;
    Conn* const cp = &c;
    Neighbor* const np = &n;
    auto current = [w, cp, sp] { return !w.expired() && cp->stream.get() == sp; };
    s.onData = [this, current, np, cp](Stream::Bytes b) {
        if (!current()) return;
        const State st = cp->fsm->state();
        if (st == State::Connect || st == State::Active) {
            // The peer was quicker than the report of our connect.
            cp->early.insert(cp->early.end(), b.begin(), b.end());
            return;
        }
        run(*np, *cp, cp->fsm->received(b));
    };
    s.onClosed = [this, current, np, cp](std::error_code) {
        if (!current()) return;
        retireStream(*cp, true);
        run(*np, *cp, cp->fsm->connectionFailed());
    };
    s.onConnected = [this, current, np, cp](std::error_code ec) {
        if (!current()) return;
        if (ec) {
            retireStream(*cp, true);
            run(*np, *cp, cp->fsm->connectionFailed());
        } else {
            connected(*np, *cp);
        }
    };
    s.onLowWater = [this, current, np] {
        if (current()) pump(*np);
    };
}

void Speaker::Impl::openConnection(Neighbor& n, Conn& c) {
    if (c.stream) retireStream(c, true);
    TcpOptions o;
    o.local = n.settings.local;
    o.ttl = n.settings.ttl;
    o.md5Key = n.settings.md5Key;
    c.outgoing = true;
    c.stream = transport->connect(n.settings.dut, kBgpPort, o);
    const std::weak_ptr<bool> w = c.token;
    Conn* const cp = &c;
    Neighbor* const np = &n;
    if (!c.stream) {
        lastError = transport->lastError();
        later([this, w, np, cp] {
            if (!w.expired() && !cp->stream) run(*np, *cp, cp->fsm->connectionFailed());
        });
        return;
    }
    attach(n, c);
    if (c.stream->open()) {
        Stream* const sp = c.stream.get();
        later([this, w, np, cp, sp] {
            if (!w.expired() && cp->stream.get() == sp && sp->open()) connected(*np, *cp);
        });
    }
}

// The stream leaves the connection: closed after its queued bytes (or at
// once), destroyed at a later turn, never inside one of its own handlers.
void Speaker::Impl::retireStream(Conn& c, bool abort) {
    if (!c.stream) return;
    c.early.clear();
    if (abort) c.stream->abort();
    else c.stream->close();
    retired.push_back({std::move(c.stream), reactor.now()});
    if (!sweepPosted) {
        sweepPosted = true;
        later([this] { sweep(); });
    }
}

void Speaker::Impl::retireConn(std::unique_ptr<Conn>& slot, bool abort) {
    if (!slot) return;
    retireStream(*slot, abort);
    for (engine::Timer& t : slot->timers) t.cancel();
    slot->token.reset();
    deadConns.push_back(std::move(slot));
    if (!sweepPosted) {
        sweepPosted = true;
        later([this] { sweep(); });
    }
}

void Speaker::Impl::sweep() {
    sweepPosted = false;
    deadConns.clear();
    deadNeighbors.clear();
    const Time now = reactor.now();
    std::erase_if(retired, [&](Retired& r) {
        if (r.stream->closed()) return true;
        if (now - r.since > kFlushGrace) {
            r.stream->abort();
            return true;
        }
        return false;
    });
}

// ---------------------------------------------------------------- the state machine's actions

void Speaker::Impl::run(Neighbor& n, Conn& c, std::vector<Action> actions) {
    const std::weak_ptr<bool> alive = c.token;
    for (Action& a : actions) {
        if (alive.expired()) return;
        switch (a.kind) {
        case Action::Kind::Connect:
            if (!c.suppressConnect) openConnection(n, c);
            break;
        case Action::Kind::Send:
            if (c.stream && !c.stream->send(a.bytes)) {
                // The peer stopped reading long ago: the session ends.
                Conn* const cp = &c;
                Neighbor* const np = &n;
                retireStream(c, true);
                later([this, alive, np, cp] {
                    if (!alive.expired()) run(*np, *cp, cp->fsm->connectionFailed());
                });
            }
            break;
        case Action::Kind::Close:
            retireStream(c, false);
            break;
        case Action::Kind::StartTimer: {
            const Timer t = a.timer;
            Conn* const cp = &c;
            Neighbor* const np = &n;
            c.timers[size_t(t)].start(std::chrono::seconds(a.seconds),
                                      [this, np, cp, t] { run(*np, *cp, cp->fsm->timerExpired(t)); });
            break;
        }
        case Action::Kind::StopTimer:
            c.timers[size_t(a.timer)].cancel();
            break;
        case Action::Kind::Established:
            onEstablished(n, c);
            break;
        case Action::Kind::Received:
            onReceived(n, c, a);
            break;
        case Action::Kind::Down:
            onDown(n, c, a.notification);
            break;
        }
    }
    if (!alive.expired() && n.other && c.fsm->state() == State::OpenConfirm) resolveCollision(n);
}

// RFC 4271 6.8: the connection opened by the side with the higher BGP
// identifier stays; an established one always does.
void Speaker::Impl::resolveCollision(Neighbor& n) {
    Conn* a = n.conn.get();
    Conn* b = n.other.get();
    Conn* confirm = a->fsm->state() == State::OpenConfirm ? a : b;
    if (!confirm->fsm->peerOpen()) return;
    const uint32_t peerId = confirm->fsm->peerOpen()->bgpId;
    auto engaged = [](const Conn* c) {
        const State st = c->fsm->state();
        return st == State::OpenSent || st == State::OpenConfirm || st == State::Established;
    };
    const State sa = a->fsm->state(), sb = b->fsm->state();
    // a stays when b never got anywhere or a is already up; when both are
    // open and came from different sides, the rule decides; of two from
    // the peer, the newer (b) stays.
    const bool keepA = engaged(a) && (!engaged(b) || sa == State::Established ||
                                      (sb != State::Established && a->outgoing != b->outgoing &&
                                       a->outgoing == keepOurConnection(n.settings.bgpId, peerId)));
    Conn* loser = keepA ? b : a;
    loser->losing = true;
    run(n, *loser, loser->fsm->stop(err::kCollision));
    if (loser == a) {
        retireConn(n.conn, false);
        n.conn = std::move(n.other);
    } else {
        retireConn(n.other, false);
    }
    n.counters->state.store(uint8_t(n.conn->fsm->state()), std::memory_order_relaxed);
}

void Speaker::Impl::onEstablished(Neighbor& n, Conn& c) {
    if (&c != n.conn.get()) {
        // The second connection came up first: it is the session now.
        std::unique_ptr<Conn> first = std::move(n.conn);
        n.conn = std::move(n.other);
        first->losing = true;
        run(n, *first, first->fsm->stop(err::kCollision));
        retireConn(first, false);
    }
    n.up = true;
    n.beenUp = true;
    n.session = c.fsm->session();
    n.peerOpen = c.fsm->peerOpen();
    if (n.restarting) {
        // The peer is back after a restart: its old routes stay until it
        // has sent everything again, or the stale time is over; those of a
        // family whose forwarding state it did not keep (no F bit, or no
        // longer in its capability) go at once.
        n.restartTimer.cancel();
        Neighbor* const np = &n;
        n.staleTimer.start(std::chrono::seconds(n.settings.staleTime), [this, np] { dropStale(*np); });
        const auto& gr = n.peerOpen->caps.gracefulRestart;
        for (uint8_t code : kFamilyCodes)
            if (!gr || !std::any_of(gr->families.begin(), gr->families.end(), [code](const auto& f) {
                    return f.forwarding && familyCode(f.family) == code;
                }))
                sweepStale(n, code);
    }
    queueAll(n, std::nullopt, true);
    n.config.routeRanges.ForEach([&](const hal::EBGP::ConfigRouteRange& r) { startFlap(n, r); });
    pump(n);
}

void Speaker::Impl::onDown(Neighbor& n, Conn& c, const std::optional<Notification>& why) {
    if (c.losing) return;
    if (&c == n.other.get()) {
        retireConn(n.other, false);
        return;
    }
    const bool wasUp = n.up;
    if (n.other) {
        // The first connection ended while the peer's second one goes on.
        retireConn(n.conn, false);
        n.conn = std::move(n.other);
        n.counters->state.store(uint8_t(n.conn->fsm->state()), std::memory_order_relaxed);
    }
    if (!wasUp) return;
    // RFC 4724: a peer that can restart gracefully and went away without a
    // NOTIFICATION keeps its routes, as stale, while it comes back.
    const bool keep = running && !why && n.peerOpen && n.peerOpen->caps.gracefulRestart.has_value();
    sessionEnded(n, keep);
}

void Speaker::Impl::sessionEnded(Neighbor& n, bool keepStale) {
    n.up = false;
    n.jobs.clear();
    n.flaps.clear();
    n.dirty = true;
    if (!keepStale) {
        n.restarting = false;
        n.staleTimer.cancel();
        n.restartTimer.cancel();
        n.rib = std::make_unique<AdjRibIn>(RibFilter::of(n.config));
        return;
    }
    n.restarting = true;
    n.rib->markStale();
    ++n.grAttempted;
    // Only the families of the peer's capability are kept.
    const auto& families = n.peerOpen->caps.gracefulRestart->families;
    for (uint8_t code : kFamilyCodes)
        if (std::none_of(families.begin(), families.end(), [code](const auto& f) { return familyCode(f.family) == code; }))
            n.rib->sweepStale(code);
    Neighbor* const np = &n;
    n.staleTimer.cancel();
    n.restartTimer.start(std::chrono::seconds(n.peerOpen->caps.gracefulRestart->time), [this, np] {
        ++np->grFailed;
        dropStale(*np);
    });
}

void Speaker::Impl::sweepStale(Neighbor& n, uint8_t family) {
    if (n.rib->sweepStale(family)) n.dirty = true;
    if (!n.rib->staleCount()) dropStale(n);
}

void Speaker::Impl::dropStale(Neighbor& n) {
    n.restartTimer.cancel();
    n.staleTimer.cancel();
    if (!n.restarting) return;
    n.restarting = false;
    n.rib->sweepStale();
    n.dirty = true;
}

void Speaker::Impl::onReceived(Neighbor& n, Conn& c, Action& a) {
    if (&c != n.conn.get() || !n.up) return;
    if (a.refresh) {
        // Route refresh: everything advertised in that family once more.
        if (n.session.has(a.refresh->family)) {
            queueAll(n, a.refresh->family, false);
            pump(n);
        }
        return;
    }
    if (!a.update) return;
    const Update& u = *a.update;
    const AdjRibIn::Applied applied = n.rib->apply(u);
    if (applied.announced || applied.withdrawn) n.dirty = true;
    if (n.restarting) {
        // What the peer sends again is fresh; its End-of-RIB of a family
        // ends the wait for the rest of that family.
        n.routesBeforeStale += applied.refreshed;
        if (u.endOfRib) sweepStale(n, familyCode(*u.endOfRib));
    }
}

// ---------------------------------------------------------------- announcing

std::unique_ptr<UpdateEncoder> Speaker::Impl::encoder(Neighbor& n, UpdateEncoder::Kind kind) {
    EncodeSession s;
    s.localAs = n.settings.localAs;
    s.internal = n.settings.internal;
    s.as4 = n.session.as4;
    s.maxMessage = n.session.maxMessage();
    s.localAddress = n.config.localAddress;
    return std::make_unique<UpdateEncoder>(s, kind);
}

void Speaker::Impl::queueRange(Neighbor& n, const hal::EBGP::ConfigRouteRange& r, size_t position,
                               UpdateEncoder::Kind kind) {
    if (!n.up || !r.enabled) return;
    const AfiSafi f = r.firstNetwork.IsV6() ? kIpv6Unicast : kIpv4Unicast;
    if (!n.session.has(f)) return;
    auto enc = encoder(n, kind);
    if (!enc->add(r, rangeAs(n.config, n.settings.localAs, position), f.safi)) return;
    n.jobs.push_back({std::move(enc), {}});
}

void Speaker::Impl::queueAll(Neighbor& n, std::optional<AfiSafi> only, bool endOfRib) {
    // Every range of the neighbor but those a flap holds down (left in
    // place, disabled, so that each keeps its position for the AS step).
    hal::EBGP::ConfigNeighbor now = n.config;
    for (size_t i = 0; i < now.routeRanges.Size(); ++i) {
        hal::EBGP::ConfigRouteRange& r = *now.routeRanges.At(i);
        auto fl = n.flaps.find(r.id.GetValue());
        if (fl != n.flaps.end() && fl->second->down) r.enabled = false;
    }
    queueNeighbor(n, now, UpdateEncoder::Kind::Announce, only ? std::vector<AfiSafi>{*only} : n.session.families);
    if (endOfRib)
        for (const AfiSafi& f : n.session.families) n.jobs.push_back({nullptr, encodeEndOfRib(f)});
}

void Speaker::Impl::queueNeighbor(Neighbor& n, const hal::EBGP::ConfigNeighbor& c, UpdateEncoder::Kind kind,
                                  const std::vector<AfiSafi>& families) {
    std::vector<AfiSafi> carried;
    for (const AfiSafi& f : families)
        if (n.session.has(f)) carried.push_back(f);
    auto enc = encoder(n, kind);
    addNeighborRanges(*enc, c, n.settings.localAs, carried);
    n.jobs.push_back({std::move(enc), {}});
}

void Speaker::Impl::pump(Neighbor& n) {
    if (!n.up || !n.conn || !n.conn->stream) return;
    Conn& c = *n.conn;
    const std::weak_ptr<bool> alive = c.token;
    Counters& k = *n.counters;
    while (!n.jobs.empty() && !alive.expired() && c.stream && c.stream->open() && c.stream->queued() < kPumpHigh) {
        Job& j = n.jobs.front();
        size_t w = 0;
        if (!j.enc) {
            w = j.raw.size();
            std::copy(j.raw.begin(), j.raw.end(), buffer.begin());
            n.jobs.pop_front();
        } else {
            w = j.enc->fill(buffer.data(), buffer.size());
            if (w == 0) {
                n.jobs.pop_front();
                continue;
            }
        }
        const ByteView out(buffer.data(), w);
        size_t messages = 0;
        for (size_t at = 0; at + kHeaderSize <= w; ++messages) at += size_t(out[at + 16]) << 8 | out[at + 17];
        const PrefixCount pc = countPrefixes(out);
        if (!c.stream->send(out)) {
            Conn* const cp = &c;
            Neighbor* const np = &n;
            retireStream(c, true);
            later([this, alive, np, cp] {
                if (!alive.expired()) run(*np, *cp, cp->fsm->connectionFailed());
            });
            return;
        }
        k.routesAdvertised.fetch_add(pc.announced, std::memory_order_relaxed);
        k.routesWithdrawn.fetch_add(pc.withdrawn, std::memory_order_relaxed);
        run(n, c, c.fsm->updateSent(messages));
    }
}

// ---------------------------------------------------------------- flapping

void Speaker::Impl::startFlap(Neighbor& n, const hal::EBGP::ConfigRouteRange& r) {
    if (!n.up || !r.enabled || !r.flapping) return;
    auto& f = n.flaps[r.id.GetValue()];
    if (!f) f = std::make_unique<Flap>(reactor);
    f->down = false;
    Neighbor* const np = &n;
    const uint64_t id = r.id.GetValue();
    f->timer.start(std::chrono::seconds(std::max<uint32_t>(1, r.flapUpTime)), [this, np, id] { flap(*np, id); });
}

void Speaker::Impl::flap(Neighbor& n, uint64_t rangeId) {
    auto it = n.flaps.find(rangeId);
    if (it == n.flaps.end()) return;
    Flap& f = *it->second;
    for (size_t i = 0; i < n.config.routeRanges.Size(); ++i) {
        const hal::EBGP::ConfigRouteRange& r = *n.config.routeRanges.At(i);
        if (r.id.GetValue() != rangeId) continue;
        f.down = !f.down;
        queueRange(n, r, i, f.down ? UpdateEncoder::Kind::Withdraw : UpdateEncoder::Kind::Announce);
        Neighbor* const np = &n;
        const uint32_t next = f.down ? r.flapDownTime : r.flapUpTime;
        f.timer.start(std::chrono::seconds(std::max<uint32_t>(1, next)), [this, np, rangeId] { flap(*np, rangeId); });
        pump(n);
        return;
    }
}

void Speaker::Impl::startLinkFlap(Neighbor& n) {
    if (!n.config.linkFlap) return;
    Neighbor* const np = &n;
    n.linkTimer.start(std::chrono::seconds(std::max<uint32_t>(1, n.config.linkUpTime)), [this, np] {
        np->linkDown = !np->linkDown;
        if (self.setLink) self.setLink(!np->linkDown);
        const uint32_t next = np->linkDown ? np->config.linkDownTime : np->config.linkUpTime;
        np->linkTimer.restart(std::chrono::seconds(std::max<uint32_t>(1, next)));
    });
}

// ---------------------------------------------------------------- configure

// The difference between the route ranges announced and the new ones.
void Speaker::Impl::updateRoutes(Neighbor& n, const hal::EBGP::ConfigNeighbor& next) {
    using Kind = UpdateEncoder::Kind;
    const hal::EBGP::ConfigNeighbor old = n.config;
    n.config = next;
    if (!n.up) return;
    if (!(old.mplsRouteRanges == next.mplsRouteRanges) || !(old.l3Sites == next.l3Sites)) {
        // Labelled and VPN routes: the old ones withdrawn, the new announced.
        auto labelledOnly = [](hal::EBGP::ConfigNeighbor c) {
            c.routeRanges.Clear();
            return c;
        };
        queueNeighbor(n, labelledOnly(old), Kind::Withdraw, n.session.families);
        queueNeighbor(n, labelledOnly(next), Kind::Announce, n.session.families);
    }
    std::vector<bool> matched(next.routeRanges.Size(), false);
    auto indexOf = [&](uint64_t id) -> std::optional<size_t> {
        for (size_t i = 0; i < next.routeRanges.Size(); ++i)
            if (next.routeRanges.At(i)->id.GetValue() == id) return i;
        return std::nullopt;
    };
    for (size_t i = 0; i < old.routeRanges.Size(); ++i) {
        const hal::EBGP::ConfigRouteRange& was = *old.routeRanges.At(i);
        std::optional<size_t> j = indexOf(was.id.GetValue());
        if (!j || matched[*j]) {
            j.reset();
            for (size_t k = 0; k < next.routeRanges.Size() && !j; ++k)
                if (!matched[k] && sameRange(*next.routeRanges.At(k), was)) j = k;
        }
        auto fl = n.flaps.find(was.id.GetValue());
        const bool wasDown = fl != n.flaps.end() && fl->second->down;
        if (!j) {
            if (!wasDown) queueRange(n, was, i, Kind::Withdraw);
            n.flaps.erase(was.id.GetValue());
            continue;
        }
        matched[*j] = true;
        const hal::EBGP::ConfigRouteRange& now = *next.routeRanges.At(*j);
        if (sameRange(now, was) && *j == i) {
            if (now.id != was.id && fl != n.flaps.end()) {
                n.flaps[now.id.GetValue()] = std::move(fl->second);
                n.flaps.erase(fl);
            }
            continue;
        }
        // Changed: its prefixes that stay are announced again with the new
        // attributes (an implicit replacement), the others withdrawn first.
        n.flaps.erase(was.id.GetValue());
        if (!wasDown && (!samePrefixes(now, was) || !now.enabled)) queueRange(n, was, i, Kind::Withdraw);
        queueRange(n, now, *j, Kind::Announce);
        startFlap(n, now);
    }
    for (size_t k = 0; k < next.routeRanges.Size(); ++k) {
        if (matched[k]) continue;
        queueRange(n, *next.routeRanges.At(k), k, Kind::Announce);
        startFlap(n, *next.routeRanges.At(k));
    }
    pump(n);
}

// ---------------------------------------------------------------- statistics

void Speaker::Impl::onTick() {
    // A listener that could not be made (its address not there yet) is
    // tried again every second.
    if (running && std::any_of(listeners.begin(), listeners.end(), [](const auto& l) { return !l.second; }))
        updateListeners();
    for (auto& [key, n] : neighbors) {
        const uint64_t s = n->counters->routesAdvertised.load(std::memory_order_relaxed);
        const uint64_t r = n->counters->routesAdvertisedReceived.load(std::memory_order_relaxed);
        n->rateSent = s - n->lastSent;
        n->rateReceived = r - n->lastReceived;
        n->lastSent = s;
        n->lastReceived = r;
    }
    sweep();
}

const Neighbor* Speaker::Impl::find(const hal::EIPAddress& dut) const {
    const IpAddress d = ipOf(dut);
    for (const auto& [key, n] : neighbors)
        if (key.second == d) return n.get();
    return nullptr;
}

// ---------------------------------------------------------------- Speaker

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes the place by value
Speaker::Speaker(engine::Reactor& reactor, Place place)
    : Speaker(reactor, place, tcpTransport(reactor, place.netns, place.ifname)) {}

Speaker::Speaker(engine::Reactor& reactor, Place place, std::unique_ptr<Transport> transport)
    : impl_(std::make_unique<Impl>(*this, reactor, std::move(place), std::move(transport))) {}

Speaker::~Speaker() = default;

bool Speaker::running() const { return impl_->running; }

std::string Speaker::lastError() const { return impl_->lastError; }

void Speaker::configure(const hal::EBGPServer& config) {
    Impl& m = *impl_;
    m.config = config;
    if (!m.running) return;
    const auto want = sessionsOf(config);
    for (auto it = m.neighbors.begin(); it != m.neighbors.end();) {
        auto w = want.find(it->first);
        if (w == want.end()) {
            m.endNeighbor(std::move(it->second), err::kPeerDeconfigured);
            it = m.neighbors.erase(it);
        } else if (!(settingsOf(w->second, config) == it->second->settings)) {
            m.endNeighbor(std::move(it->second), err::kOtherConfigChange);
            it = m.neighbors.erase(it);
        } else {
            m.updateRoutes(*it->second, w->second);
            ++it;
        }
    }
    std::vector<Neighbor*> added;
    for (const auto& [key, n] : want) {
        if (m.neighbors.count(key)) continue;
        auto made = m.makeNeighbor(n);
        added.push_back(made.get());
        m.neighbors.emplace(key, std::move(made));
    }
    m.updateListeners();
    for (Neighbor* n : added) m.startNeighbor(*n);
}

void Speaker::start() {
    Impl& m = *impl_;
    if (m.running) return;
    m.running = true;
    m.neighbors.clear();
    for (const auto& [key, n] : sessionsOf(m.config)) m.neighbors.emplace(key, m.makeNeighbor(n));
    m.updateListeners();
    for (auto& [key, n] : m.neighbors) m.startNeighbor(*n);
    m.tick.startPeriodic(1s, [&m] { m.onTick(); });
}

void Speaker::stop(std::function<void()> done) {
    Impl& m = *impl_;
    if (!m.running) {
        if (done) m.later(std::move(done));
        return;
    }
    m.running = false;
    m.updateListeners();
    for (auto& [key, n] : m.neighbors) {
        for (std::unique_ptr<Conn>* slot : {&n->other, &n->conn}) {
            if (!*slot) continue;
            Conn& c = **slot;
            m.run(*n, c, c.fsm->stop(err::kAdminShutdown));
            m.retireConn(*slot, false);
        }
        n->started = false;
        n->up = false;
        n->jobs.clear();
        n->flaps.clear();
        n->restarting = false;
        n->restartTimer.cancel();
        n->staleTimer.cancel();
        n->linkTimer.cancel();
        if (n->linkDown && setLink) setLink(true);
        n->linkDown = false;
    }
    // The Ceases are on their way: wait until every stream has written its
    // last bytes (or the grace is over), then report.
    m.flushDeadline = m.reactor.now() + kFlushGrace;
    // A stop of a speaker started again before its last stop was over
    // reports both.
    m.flushDone = [earlier = std::move(m.flushDone), done = std::move(done)] {
        if (earlier) earlier();
        if (done) done();
    };
    m.flushTimer.start(Duration{0}, [&m] { m.flushCheck(); });
}

void Speaker::Impl::flushCheck() {
    const bool flushed =
        std::all_of(retired.begin(), retired.end(), [](const Retired& r) { return r.stream->closed(); });
    if (!flushed && reactor.now() < flushDeadline) {
        flushTimer.start(10ms, [this] { flushCheck(); });
        return;
    }
    for (Retired& r : retired)
        if (!r.stream->closed()) r.stream->abort();  // the grace is over
    sweep();
    if (!running) tick.cancel();  // unless started again meanwhile
    auto finish = std::move(flushDone);
    flushDone = nullptr;
    if (finish) finish();
}

std::shared_ptr<const std::vector<hal::EBGP::LearnedRoute>> Speaker::learnedRoutes(const hal::EIPAddress& dut) const {
    const Neighbor* n = impl_->find(dut);
    if (!n) return nullptr;
    if (n->snapshot && !n->dirty) return n->snapshot;
    auto routes = n->rib->snapshot();
    n->snapshot = std::make_shared<const std::vector<hal::EBGP::LearnedRoute>>(std::move(routes));
    const_cast<Neighbor*>(n)->dirty = false;
    return n->snapshot;
}

std::map<int, std::string> Speaker::statistics(const hal::EIPAddress& dut) const {
    const Neighbor* n = impl_->find(dut);
    if (!n) return {};
    const Counters& k = *n->counters;
    auto ld = [](const std::atomic<uint64_t>& a) { return std::to_string(a.load(std::memory_order_relaxed)); };
    auto both = [&](uint8_t code, uint8_t sub) {
        return std::to_string(k.notificationsSent[code][sub].load(std::memory_order_relaxed) +
                              k.notificationsReceived[code][sub].load(std::memory_order_relaxed));
    };
    const Settings& s = n->settings;
    const std::optional<Open>& peer = n->peerOpen;
    std::map<int, std::string> m;
    m[selector::kOurIp] = s.local.toString();
    m[selector::kPeerIp] = s.dut.toString();
    m[selector::kOurAs] = std::to_string(s.localAs);
    m[selector::kPeerAs] = std::to_string(peer ? peer->asNumber() : 0);
    m[selector::kOurId] = dotted(s.bgpId);
    m[selector::kPeerId] = dotted(peer ? peer->bgpId : 0);
    m[selector::kPeerHoldTimer] = std::to_string(peer ? peer->holdTime : 0);
    m[selector::kHoldTimer] = std::to_string(n->up ? n->session.holdTime : s.holdTime);
    m[selector::kMessageSent] = ld(k.sent[0]);
    m[selector::kMessageReceived] = ld(k.received[0]);
    m[selector::kUpdateSent] = ld(k.sent[size_t(MessageType::Update)]);
    m[selector::kUpdateReceived] = ld(k.received[size_t(MessageType::Update)]);
    m[selector::kRoutesAdvertised] = ld(k.routesAdvertised);
    m[selector::kRoutesWithdrawn] = ld(k.routesWithdrawn);
    m[selector::kRoutesAdvertisedReceived] = ld(k.routesAdvertisedReceived);
    m[selector::kRoutesWithdrawnReceived] = ld(k.routesWithdrawnReceived);
    m[selector::kRoutesPerSecondSent] = std::to_string(n->rateSent);
    m[selector::kRoutesPerSecondReceived] = std::to_string(n->rateReceived);
    m[selector::kOpenSent] = ld(k.sent[size_t(MessageType::Open)]);
    m[selector::kOpenReceived] = ld(k.received[size_t(MessageType::Open)]);
    m[selector::kKeepAliveSent] = ld(k.sent[size_t(MessageType::Keepalive)]);
    m[selector::kKeepAliveReceived] = ld(k.received[size_t(MessageType::Keepalive)]);
    m[selector::kNotificationSent] = ld(k.sent[size_t(MessageType::Notification)]);
    m[selector::kNotificationReceived] = ld(k.received[size_t(MessageType::Notification)]);
    const std::pair<int, uint8_t> byCode[] = {{selector::kCeaseSent, err::kCease},
                                              {selector::kFsmErrorSent, err::kFsm},
                                              {selector::kHoldTimeExpiredSent, err::kHoldTimer},
                                              {selector::kInvalidOpenSent, err::kOpen},
                                              {selector::kUpdateErrorSent, err::kUpdate},
                                              {selector::kHeaderErrorSent, err::kHeader}};
    for (const auto& [sel, code] : byCode) {
        m[sel] = std::to_string(k.notificationsSentOf(code));
        m[sel + 1] = std::to_string(k.notificationsReceivedOf(code));
    }
    m[selector::kLastErrorReceived] = std::to_string(k.lastErrorReceived.load(std::memory_order_relaxed));
    m[selector::kLastErrorSent] = std::to_string(k.lastErrorSent.load(std::memory_order_relaxed));
    const std::pair<int, uint8_t> openSub[] = {{selector::kOpenUnsupportedVersion, err::kUnsupportedVersion},
                                               {selector::kOpenBadPeerAs, err::kBadPeerAs},
                                               {selector::kOpenBadBgpId, err::kBadBgpId},
                                               {selector::kOpenUnsupportedParameter, err::kUnsupportedOptParam},
                                               {selector::kOpenAuthenticationFailure, 5},
                                               {selector::kOpenUnacceptableHoldTime, err::kUnacceptableHoldTime},
                                               {selector::kOpenUnspecified, 0}};
    for (const auto& [sel, sub] : openSub) m[sel] = both(err::kOpen, sub);
    for (int sub = 1; sub <= 11; ++sub) m[selector::kUpdateAttributeList + sub - 1] = both(err::kUpdate, uint8_t(sub));
    m[selector::kUpdateUnspecified] = both(err::kUpdate, 0);
    m[selector::kHeaderNotSynchronized] = both(err::kHeader, err::kNotSynchronized);
    m[selector::kHeaderBadLength] = both(err::kHeader, err::kBadLength);
    m[selector::kHeaderBadType] = both(err::kHeader, err::kBadType);
    m[selector::kHeaderUnspecified] = both(err::kHeader, 0);
    // Code 0 and codes past those named above (route refresh errors and beyond).
    m[selector::kUnspecifiedErrorSent] = std::to_string(k.notificationsSentOf(0) + k.notificationsSentOf(7));
    m[selector::kUnspecifiedErrorReceived] =
        std::to_string(k.notificationsReceivedOf(0) + k.notificationsReceivedOf(7));
    m[selector::kActiveOn] = n->started ? "1" : "0";
    m[selector::kStarts] = ld(k.starts);
    m[selector::kState] = std::to_string(unsigned(k.state.load(std::memory_order_relaxed)));
    m[selector::kConnectsReceived] = std::to_string(n->connectsReceived);
    m[selector::kConnectsAccepted] = std::to_string(n->connectsAccepted);
    m[selector::kGracefulRestartsAttempted] = std::to_string(n->grAttempted);
    m[selector::kGracefulRestartsFailed] = std::to_string(n->grFailed);
    m[selector::kRoutesBeforeStaleTimerExpired] = std::to_string(n->routesBeforeStale);
    return m;
}

}  // namespace engine::bgp
