// A network of in-memory wires for speakers in virtual time: every speaker
// gets a transport of the lab; a connect to an address someone listens on
// makes a wire between the two, anything else is refused. A scripted peer
// built from the codec stands in for a device that misbehaves.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/bgp/message.h"
#include "engine/bgp/speaker.h"
#include "engine/bgp/update.h"
#include "engine/wire.h"

namespace speakertest {

using namespace engine;
using namespace engine::bgp;

inline hal::EIPAddress ip(const char* text) {
    const IpAddress a = *IpAddress::parse(text);
    if (a.isV6()) return hal::EIPAddress::FromV6(a.bytes);
    return hal::EIPAddress::FromV4(uint32_t(a.bytes[0]) << 24 | uint32_t(a.bytes[1]) << 16 | uint32_t(a.bytes[2]) << 8 |
                                   a.bytes[3]);
}

class Lab {
public:
    explicit Lab(WireOptions options = {}) : reactor(clock), options_(std::move(options)) {
        // A stream a speaker let go leaves the list with it.
        options_.onDestroyed = [this](const Stream* s) { std::erase(streams, s); };
    }

    VirtualClock clock;
    Reactor reactor;
    int connects = 0;
    int refused = 0;
    // Every stream a speaker opened or was handed, our side of it.
    std::vector<Stream*> streams;

    class Net final : public Transport {
    public:
        explicit Net(Lab& lab) : lab_(lab) {}
        // The other side hears of the connection at the next turn: a
        // listener there takes it, else it is reset (refused).
        std::unique_ptr<Stream> connect(const IpAddress& remote, uint16_t, const TcpOptions& o) override {
            ++lab_.connects;
            auto [mine, theirs] = makeWire(lab_.reactor, lab_.options_);
            lab_.streams.push_back(mine.get());
            auto held = std::make_shared<std::unique_ptr<Stream>>(std::move(theirs));
            Lab& lab = lab_;
            const IpAddress from = o.local.value_or(IpAddress{});
            lab_.reactor.after(Duration{0}, [&lab, remote, from, held] {
                auto it = lab.listeners_.find(remote);
                if (it == lab.listeners_.end() || it->second->expired()) {
                    ++lab.refused;
                    held->reset();
                    return;
                }
                it->second->accept(from, std::move(*held));
            });
            return std::move(mine);
        }
        std::shared_ptr<void> listen(const IpAddress& local, uint16_t,
                                     const std::vector<std::pair<IpAddress, std::string>>&, Accept accept) override {
            auto l = std::make_shared<Listening>();
            l->accept = [this, accept](const IpAddress& peer, std::unique_ptr<Stream> s) {
                lab_.streams.push_back(s.get());
                accept(peer, std::move(s));
            };
            lab_.listeners_[local] = std::make_shared<Handle>(l);
            return l;
        }

    private:
        Lab& lab_;
    };

    std::unique_ptr<Transport> net() { return std::make_unique<Net>(*this); }

    // A listener of the test's own at `at` (a scripted device).
    std::shared_ptr<void> listen(const IpAddress& at, Transport::Accept accept) {
        auto l = std::make_shared<Listening>();
        l->accept = std::move(accept);
        listeners_[at] = std::make_shared<Handle>(l);
        return l;
    }

    // Virtual time moves on in steps of `step`.
    void run(Duration d, Duration step = 100ms) {
        for (Duration t{0}; t < d; t += step) clock.advance(step);
    }

private:
    struct Listening {
        Transport::Accept accept;
    };
    struct Handle {
        explicit Handle(const std::shared_ptr<Listening>& l) : l(l) {}
        std::weak_ptr<Listening> l;
        bool expired() const { return l.expired(); }
        void accept(const IpAddress& peer, std::unique_ptr<Stream> s) {
            if (auto p = l.lock()) p->accept(peer, std::move(s));
        }
    };
    WireOptions options_;
    std::map<IpAddress, std::shared_ptr<Handle>> listeners_;
};

// A device scripted by the test: it answers the OPEN exchange as told and
// records every message the speaker sends it.
class Scripted {
public:
    Scripted(Lab& lab, const char* address, uint32_t as, uint32_t id, uint16_t hold = 9)
        : lab_(lab), keepaliveTimer_(lab.reactor) {
        open = makeOpen(as, hold, id);
        open.caps.multiprotocol = {kIpv4Unicast, kIpv6Unicast};
        open.caps.routeRefresh = true;
        handle_ = lab.listen(*IpAddress::parse(address),
                             [this](const IpAddress&, std::unique_ptr<Stream> s) { adopt(std::move(s)); });
    }

    Open open;
    bool answer = true;      // sends OPEN and KEEPALIVE when connected to
    bool keepalives = true;  // and a KEEPALIVE every 3 s after
    bool reads = true;       // false: never reads what it is sent
    std::vector<Bytes> got;
    std::unique_ptr<Stream> stream;
    bool closed = false;
    int connections = 0;

    void adopt(std::unique_ptr<Stream> s) {
        stream = std::move(s);
        ++connections;
        closed = false;
        buffer_.clear();
        stream->onData = [this](Stream::Bytes b) {
            buffer_.insert(buffer_.end(), b.begin(), b.end());
            for (;;) {
                Frame f = nextFrame(buffer_, kMaxExtendedMessage);
                if (f.error || f.length == 0) break;
                got.emplace_back(buffer_.begin(), buffer_.begin() + long(f.length));
                buffer_.erase(buffer_.begin(), buffer_.begin() + long(f.length));
            }
        };
        stream->onClosed = [this](std::error_code) { closed = true; };
        if (!reads) stream->pauseReading(true);
        if (answer) {
            send(encodeOpen(open));
            send(encodeKeepalive());
            keepaliveTimer_.startPeriodic(3s, [this] {
                if (keepalives && stream && stream->open()) send(encodeKeepalive());
            });
        }
    }
    void send(const Bytes& b) {
        if (stream) stream->send(b);
    }
    size_t count(MessageType t) const {
        size_t n = 0;
        for (const Bytes& m : got) n += m[18] == uint8_t(t);
        return n;
    }
    std::optional<Notification> notification() const {
        for (auto it = got.rbegin(); it != got.rend(); ++it)
            if ((*it)[18] == uint8_t(MessageType::Notification)) return decodeNotification(*it);
        return std::nullopt;
    }
    // Prefixes of the UPDATEs received (announced, withdrawn).
    std::pair<size_t, size_t> prefixes(bool as4 = true) const {
        size_t a = 0, w = 0;
        for (const Bytes& m : got) {
            if (m[18] != uint8_t(MessageType::Update)) continue;
            auto u = decodeUpdate(m, {.as4 = as4, .internal = false});
            if (!u) continue;
            a += u->nlri.size() + (u->attributes.mpReach ? u->attributes.mpReach->nlri.size() : 0);
            w += u->withdrawn.size() + (u->attributes.mpUnreach ? u->attributes.mpUnreach->withdrawn.size() : 0);
        }
        return {a, w};
    }

private:
    Lab& lab_;
    engine::Timer keepaliveTimer_;
    std::shared_ptr<void> handle_;
    Bytes buffer_;
};

// Configuration records.
inline hal::EBGP::ConfigNeighbor neighbor(const char* local, const char* dut, uint32_t as, bool internal) {
    hal::EBGP::ConfigNeighbor n;
    n.type = internal ? 0 : 1;
    n.localAddress = ip(local);
    n.dutAddress = ip(dut);
    n.localAs = as;
    n.holdTime = 9;
    n.keepAlive = 3;
    if (n.localAddress.IsV6()) {
        n.ipV4Unicast = false;
        n.ipV6Unicast = true;
    }
    return n;
}

inline hal::EBGP::ConfigRouteRange range(const char* first, uint32_t count, uint8_t length = 24) {
    hal::EBGP::ConfigRouteRange r;
    r.firstNetwork = ip(first);
    r.fromPrefix = r.thruPrefix = length;
    r.numberOfRoutes = count;
    return r;
}

inline hal::EBGPServer server(std::initializer_list<hal::EBGP::ConfigNeighbor> ns, uint32_t retryDelay = 1) {
    hal::EBGPServer s;
    for (auto* b : {&s.internal, &s.external}) {
        b->retryDelay = retryDelay;
        b->connectRetries = 0;
    }
    for (const auto& n : ns) s.neighbors.Add(n);
    return s;
}

inline uint64_t num(const std::map<int, std::string>& stats, int selector) {
    auto it = stats.find(selector);
    return it == stats.end() ? ~uint64_t(0) : std::stoull(it->second);
}

}  // namespace speakertest
