// The BGP-4 speaker of one live port: a session per enabled neighbor of the
// port's configuration, run on the engine's reactor against the device
// under test.
//
// Each session is a state machine (fsm.h) driven here: its timers become
// reactor timers, its Connect action a non-blocking connect from the
// neighbor's local address in the port's namespace, and a listener on port
// 179 of every local address takes the connections the device opens. When
// both sides connect at once, the connection that RFC 4271 6.8 keeps wins
// (the one opened by the side with the higher BGP identifier); the other
// ends with a Cease (connection collision resolution).
//
// An internal neighbor also runs a session with each enabled further peer
// of its internal table. A listener whose address is not there yet is
// tried again every second.
//
// Once a session is up every route range of the neighbor (unicast,
// labelled, VPN) is announced, packed by the range encoder and written
// while the socket takes it: the encoder is refilled when the stream's
// queue falls to its low-water mark, so a range of a million prefixes never
// sits in memory as a whole. An End-of-RIB per family follows. Flapping
// ranges are withdrawn and announced again on their times; a route refresh
// is answered with everything once more. UPDATEs received go into the
// neighbor's Adj-RIB-In; its snapshot and the counters answer
// learnedRoutes() and statistics() (after stop() too, until the next
// start()). A device that can restart gracefully and drops the connection
// without a NOTIFICATION keeps its routes, stale, for its restart time and
// then until its End-of-RIB or our stale time.
//
// configure() while running restarts the session of a neighbor whose
// session settings changed (addresses, AS, identifier, hold and keepalive
// times, TTL, MD5 key, families, graceful restart, the connection block);
// anything else changes routes only.
//
// Statistics, by selector number (the bgp* statistics selectors): addresses
// as dotted text, everything else in decimal. Notification counters by
// subcode (invalid OPEN, UPDATE error and header error kinds) count those
// sent and received together; bgpLastErrorSent/Received are code * 256 +
// subcode of the last NOTIFICATION (0: none); bgpActiveOn is 1 while the
// neighbor's session is started; rates are prefixes over the last whole
// second.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/ip.h"
#include "engine/reactor.h"
#include "engine/stream.h"
#include "engine/tcp.h"
#include "hal/bgp.h"

namespace engine::bgp {

struct Place {
    std::string netns;  // "": the process's own namespace
    std::string ifname;
};

// How a speaker reaches the network. The default is TCP in the place's
// namespace; tests hand in-memory wires through their own.
class Transport {
public:
    virtual ~Transport() = default;
    // A connection to remote:port from options.local. A stream that is open
    // at once counts as connected at the next turn; a connecting one
    // reports through onConnected; null when it could not even start (the
    // reason in lastError()).
    virtual std::unique_ptr<Stream> connect(const IpAddress& remote, uint16_t port, const TcpOptions& options) = 0;
    using Accept = std::function<void(const IpAddress& peer, std::unique_ptr<Stream> stream)>;
    // Takes connections to local:port until the handle is dropped; each
    // peer with a key must sign its segments with it (TCP MD5). Null when
    // it cannot listen (the reason in lastError()).
    virtual std::shared_ptr<void> listen(const IpAddress& local, uint16_t port,
                                         const std::vector<std::pair<IpAddress, std::string>>& md5Keys,
                                         Accept accept) = 0;
    const std::string& lastError() const { return lastError_; }

protected:
    std::string lastError_;
};

// TCP sockets made inside `netns` ("": the process's own); an IPv6
// link-local address is scoped to the interface `ifname`.
std::unique_ptr<Transport> tcpTransport(Reactor& reactor, std::string netns, std::string ifname = "");

// The statistics selectors (the numbers of the bgp* statistics constants).
namespace selector {
inline constexpr int kOurIp = 0, kPeerIp = 1, kOurAs = 2, kPeerAs = 3, kOurId = 4, kPeerId = 5, kPeerHoldTimer = 6,
                     kHoldTimer = 7, kMessageSent = 8, kMessageReceived = 9, kUpdateSent = 10, kUpdateReceived = 11,
                     kRoutesAdvertised = 12, kRoutesWithdrawn = 13, kRoutesAdvertisedReceived = 14,
                     kRoutesWithdrawnReceived = 15, kRoutesPerSecondSent = 16, kRoutesPerSecondReceived = 17,
                     kOpenSent = 18, kOpenReceived = 19, kKeepAliveSent = 20, kKeepAliveReceived = 21,
                     kNotificationSent = 22, kNotificationReceived = 23, kCeaseSent = 24, kCeaseReceived = 25,
                     kFsmErrorSent = 26, kFsmErrorReceived = 27, kHoldTimeExpiredSent = 28,
                     kHoldTimeExpiredReceived = 29, kInvalidOpenSent = 30, kInvalidOpenReceived = 31,
                     kLastErrorReceived = 32, kLastErrorSent = 33, kOpenUnsupportedVersion = 34, kOpenBadPeerAs = 35,
                     kOpenBadBgpId = 36, kOpenUnsupportedParameter = 37, kOpenAuthenticationFailure = 38,
                     kOpenUnacceptableHoldTime = 39, kOpenUnspecified = 40, kUpdateErrorSent = 41,
                     kUpdateErrorReceived = 42, kUpdateAttributeList = 43, kUpdateUnknownWellKnown = 44,
                     kUpdateMissingWellKnown = 45, kUpdateAttributeFlags = 46, kUpdateAttributeLength = 47,
                     kUpdateInvalidOrigin = 48, kUpdateAsRoutingLoop = 49, kUpdateInvalidNextHop = 50,
                     kUpdateOptionalAttribute = 51, kUpdateInvalidNetworkField = 52, kUpdateMalformedAsPath = 53,
                     kUpdateUnspecified = 54, kHeaderErrorSent = 55, kHeaderErrorReceived = 56,
                     kHeaderNotSynchronized = 57, kHeaderBadLength = 58, kHeaderBadType = 59, kHeaderUnspecified = 60,
                     kUnspecifiedErrorSent = 61, kUnspecifiedErrorReceived = 62, kActiveOn = 63, kStarts = 64,
                     kState = 65, kConnectsReceived = 66, kConnectsAccepted = 67, kGracefulRestartsAttempted = 68,
                     kGracefulRestartsFailed = 69, kRoutesBeforeStaleTimerExpired = 70;
inline constexpr int kCount = 71;
}  // namespace selector

class Speaker {
public:
    // Constructed, used and destroyed on the engine thread.
    Speaker(engine::Reactor& reactor, Place place);
    // The same with a transport of the caller's (tests: in-memory wires).
    Speaker(engine::Reactor& reactor, Place place, std::unique_ptr<Transport> transport);
    // Closes everything without notifications.
    ~Speaker();
    Speaker(const Speaker&) = delete;
    Speaker& operator=(const Speaker&) = delete;

    // The whole BGP configuration of the port (a copy). While running, the
    // difference is applied: sessions whose neighbor settings did not change
    // stay up; added route ranges are announced, removed ones withdrawn,
    // changed ones re-announced; added neighbors start, removed neighbors
    // end with a Cease. While stopped it only stores.
    void configure(const hal::EBGPServer& config);
    // Every enabled neighbor's session starts.
    void start();
    // Cease (administrative shutdown) to every established peer, flushed,
    // sockets closed; then done().
    void stop(std::function<void()> done);
    bool running() const;

    // Immutable snapshot of the Adj-RIB-In of the neighbor whose DUT
    // address is `dut`; null when no such neighbor.
    std::shared_ptr<const std::vector<hal::EBGP::LearnedRoute>> learnedRoutes(const hal::EIPAddress& dut) const;
    // The statistics of that neighbor: value text by selector number;
    // empty when no such neighbor.
    std::map<int, std::string> statistics(const hal::EIPAddress& dut) const;

    // Link flapping of a neighbor takes the port's link down and up
    // through this (set by the glue).
    std::function<void(bool up)> setLink;

    // What went wrong last outside a session (a listener that could not
    // bind, a connect that could not start); empty when nothing did.
    std::string lastError() const;

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace engine::bgp
