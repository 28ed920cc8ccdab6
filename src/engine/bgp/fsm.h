// The BGP finite state machine of RFC 4271 section 8 as a plain object:
// events go in (start, stop, the transport connected or failed, bytes
// received, a timer expired), actions come out (connect, send these bytes,
// close, start or stop a timer, the session is up, an UPDATE arrived). It
// owns no socket and no clock, so it runs in virtual time in tests; the
// engine drives it from its reactor.
//
// What it decides on its own: the OPEN it sends and the checks of the
// peer's (version, AS, hold time, identifier), KEEPALIVEs, the hold timer,
// NOTIFICATIONs for every error with the RFC's code and subcode, the RFC
// 6608 subcodes for a message in the wrong state, and restarts: after a
// session ends (other than by stop) it starts again after the retry delay,
// unless the peering is established-once and has been up, or the connect
// attempts allowed ran out.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>
#include <vector>

#include "engine/bgp/message.h"
#include "engine/bgp/update.h"

namespace engine::bgp {

enum class State : uint8_t { Idle = 1, Connect = 2, Active = 3, OpenSent = 4, OpenConfirm = 5, Established = 6 };

enum class Timer : uint8_t { ConnectRetry, Hold, Keepalive, IdleHold };

// Counters of one session, read from another thread. Notifications are
// counted by code (0 to 7, 7 for anything above) and subcode (0 to 15).
struct Counters {
    std::array<std::atomic<uint64_t>, 6> sent{};      // by message type; [0]: every message
    std::array<std::atomic<uint64_t>, 6> received{};  // the same, received
    std::array<std::array<std::atomic<uint64_t>, 16>, 8> notificationsSent{};
    std::array<std::array<std::atomic<uint64_t>, 16>, 8> notificationsReceived{};
    std::atomic<uint32_t> lastErrorSent{0};  // code << 8 | subcode of the last NOTIFICATION
    std::atomic<uint32_t> lastErrorReceived{0};
    std::atomic<uint8_t> state{uint8_t(State::Idle)};
    std::atomic<uint64_t> starts{0};  // sessions started (by start or by a restart)
    std::atomic<uint64_t> establishedTransitions{0};
    std::atomic<uint64_t> connectsAccepted{0};  // transport connections that reached OpenSent
    std::atomic<uint64_t> routesAdvertised{0};  // prefixes sent (the sender counts them)
    std::atomic<uint64_t> routesWithdrawn{0};
    std::atomic<uint64_t> routesAdvertisedReceived{0};
    std::atomic<uint64_t> routesWithdrawnReceived{0};
    std::atomic<uint64_t> updatesTreatedAsWithdraw{0};
    std::atomic<uint64_t> attributesDiscarded{0};

    uint64_t notificationsSentOf(uint8_t code) const;
    uint64_t notificationsReceivedOf(uint8_t code) const;
};

struct FsmConfig {
    Open open;                        // what we send: AS, hold time, identifier, capabilities
    uint32_t peerAs = 0;              // the AS the peer must have; 0: any
    bool internal = false;            // LOCAL_PREF is read from internal peers only
    bool activeConnect = true;        // false: only wait for the peer to connect
    uint32_t connectRetryTime = 120;  // seconds; also the delay before a restart
    uint32_t connectRetries = 0;      // connect attempts after the first before giving up; 0: no end
    bool establishOnce = false;       // no restart once the session has been up
    uint16_t keepaliveTime = 0;       // seconds; 0 or above a third of the hold time: a third of it
    uint32_t openHoldTime = 240;      // the hold timer while waiting for the OPEN (RFC 4271 8: 4 minutes)
};

struct Action {
    enum class Kind : uint8_t {
        Connect,      // open the transport connection
        Send,         // send `bytes`
        Close,        // close the transport connection
        StartTimer,   // (re)start `timer` for `seconds`
        StopTimer,    // stop `timer`
        Established,  // the session is up; session() says what was agreed
        Received,     // an UPDATE (`update`) or a ROUTE-REFRESH (`refresh`) for the speaker
        Down,         // the session ended; `notification` is what was sent or received, if any
    };
    Kind kind = Kind::Send;
    Bytes bytes;
    Timer timer = Timer::ConnectRetry;
    uint32_t seconds = 0;
    std::optional<Update> update;
    std::optional<RouteRefresh> refresh;
    std::optional<Notification> notification;
};

// Connection collision (RFC 4271 6.8): when a connection the peer opened
// and one we opened both reach an OPEN, the one opened by the side with
// the higher BGP identifier stays; true: keep the one we opened.
inline bool keepOurConnection(uint32_t ourId, uint32_t peerId) { return ourId > peerId; }

class Fsm {
public:
    Fsm(FsmConfig config, Counters& counters);

    State state() const { return state_; }
    const Session& session() const { return session_; }
    const std::optional<Open>& peerOpen() const { return peerOpen_; }

    // Each returns the actions to carry out, in order.
    std::vector<Action> start();
    std::vector<Action> stop(uint8_t ceaseSubcode = err::kAdminShutdown);
    std::vector<Action> connected();         // our connect succeeded, or the peer's was accepted
    std::vector<Action> connectionFailed();  // refused, reset or closed by the peer
    std::vector<Action> timerExpired(Timer t);
    std::vector<Action> received(ByteView bytes);  // from the stream, in any pieces
    // The speaker sent UPDATEs (it writes them itself, straight from the
    // encoder): they are counted and the keepalive timer starts again.
    std::vector<Action> updateSent(uint64_t messages = 1);

private:
    void to(State s);
    void send(Bytes msg, MessageType type);
    void sendNotification(const Notification& n);
    void startTimer(Timer t, uint32_t seconds);
    void stopTimer(Timer t);
    void connect();
    bool exhausted() const;  // every connect attempt allowed was made
    void fail(const std::optional<Notification>& sent, const std::optional<Notification>& received);
    void onMessage(ByteView msg, MessageType type);
    void onOpen(ByteView msg);
    uint32_t keepaliveSeconds() const;
    Action& emit(Action::Kind kind);
    std::vector<Action> take();

    FsmConfig cfg_;
    Counters& counters_;
    State state_ = State::Idle;
    Session session_;
    std::optional<Open> peerOpen_;
    Bytes buffer_;
    std::vector<Action> out_;
    uint32_t attempts_ = 0;  // connects made since the last Established
    bool running_ = false;   // started and not stopped
    bool beenUp_ = false;
};

}  // namespace engine::bgp
