#include "engine/bgp/fsm.h"

#include <algorithm>

namespace engine::bgp {

namespace {

template <class Array>
uint64_t sumRow(const Array& row) {
    uint64_t n = 0;
    for (const auto& c : row) n += c.load(std::memory_order_relaxed);
    return n;
}

void bump(std::atomic<uint64_t>& c, uint64_t n = 1) { c.fetch_add(n, std::memory_order_relaxed); }

// RFC 6608: the subcodes of a message that the state does not expect.
constexpr uint8_t kUnexpectedInOpenSent = 1, kUnexpectedInOpenConfirm = 2, kUnexpectedInEstablished = 3;

}  // namespace

uint64_t Counters::notificationsSentOf(uint8_t code) const {
    return sumRow(notificationsSent[std::min<uint8_t>(code, 7)]);
}
uint64_t Counters::notificationsReceivedOf(uint8_t code) const {
    return sumRow(notificationsReceived[std::min<uint8_t>(code, 7)]);
}

Fsm::Fsm(FsmConfig config, Counters& counters) : cfg_(std::move(config)), counters_(counters) {}

Action& Fsm::emit(Action::Kind kind) {
    out_.emplace_back();
    out_.back().kind = kind;
    return out_.back();
}

std::vector<Action> Fsm::take() {
    std::vector<Action> v;
    v.swap(out_);
    return v;
}

void Fsm::to(State s) {
    state_ = s;
    counters_.state.store(uint8_t(s), std::memory_order_relaxed);
}

void Fsm::send(Bytes msg, MessageType type) {
    bump(counters_.sent[0]);
    bump(counters_.sent[size_t(type)]);
    emit(Action::Kind::Send).bytes = std::move(msg);
}

void Fsm::sendNotification(const Notification& n) {
    bump(counters_.notificationsSent[std::min<uint8_t>(n.code, 7)][std::min<uint8_t>(n.subcode, 15)]);
    counters_.lastErrorSent.store(uint32_t(n.code) << 8 | n.subcode, std::memory_order_relaxed);
    send(encodeNotification(n), MessageType::Notification);
}

void Fsm::startTimer(Timer t, uint32_t seconds) {
    Action& a = emit(Action::Kind::StartTimer);
    a.timer = t;
    a.seconds = seconds;
}

void Fsm::stopTimer(Timer t) { emit(Action::Kind::StopTimer).timer = t; }

void Fsm::connect() {
    ++attempts_;
    emit(Action::Kind::Connect);
}

bool Fsm::exhausted() const { return cfg_.connectRetries != 0 && attempts_ > cfg_.connectRetries; }

uint32_t Fsm::keepaliveSeconds() const {
    if (session_.holdTime == 0) return 0;
    uint32_t third = std::max<uint32_t>(1, session_.holdTime / 3);
    if (cfg_.keepaliveTime == 0 || cfg_.keepaliveTime > third) return third;
    return cfg_.keepaliveTime;
}

std::vector<Action> Fsm::start() {
    if (state_ != State::Idle) return take();
    running_ = true;
    attempts_ = 0;
    bump(counters_.starts);
    stopTimer(Timer::IdleHold);
    if (cfg_.activeConnect) {
        startTimer(Timer::ConnectRetry, cfg_.connectRetryTime);
        connect();
        to(State::Connect);
    } else {
        to(State::Active);
    }
    return take();
}

// The end of a session other than by stop: the NOTIFICATION we send, or
// the one the peer sent, then a restart after the retry delay if allowed.
void Fsm::fail(const std::optional<Notification>& sent, const std::optional<Notification>& received) {
    if (sent) sendNotification(*sent);
    emit(Action::Kind::Close);
    for (Timer t : {Timer::ConnectRetry, Timer::Hold, Timer::Keepalive}) stopTimer(t);
    emit(Action::Kind::Down).notification = sent ? sent : received;
    to(State::Idle);
    buffer_.clear();
    peerOpen_.reset();
    if (running_ && !(cfg_.establishOnce && beenUp_) && !exhausted()) {
        startTimer(Timer::IdleHold, cfg_.connectRetryTime);
    } else {
        running_ = false;
    }
}

std::vector<Action> Fsm::stop(uint8_t ceaseSubcode) {
    bool connected = state_ == State::OpenSent || state_ == State::OpenConfirm || state_ == State::Established;
    if (state_ != State::Idle) {
        std::optional<Notification> cease;
        if (connected) {
            cease = notification(err::kCease, ceaseSubcode);
            sendNotification(*cease);
        }
        emit(Action::Kind::Close);
        for (Timer t : {Timer::ConnectRetry, Timer::Hold, Timer::Keepalive}) stopTimer(t);
        emit(Action::Kind::Down).notification = cease;
    }
    stopTimer(Timer::IdleHold);
    running_ = false;
    buffer_.clear();
    to(State::Idle);
    return take();
}

std::vector<Action> Fsm::connected() {
    switch (state_) {
    case State::Connect:
    case State::Active:
        stopTimer(Timer::ConnectRetry);
        bump(counters_.connectsAccepted);
        buffer_.clear();
        send(encodeOpen(cfg_.open), MessageType::Open);
        startTimer(Timer::Hold, cfg_.openHoldTime);
        to(State::OpenSent);
        break;
    case State::Idle:
        emit(Action::Kind::Close);
        break;
    default:
        break;  // one connection at a time: the driver refuses a second
    }
    return take();
}

std::vector<Action> Fsm::connectionFailed() {
    switch (state_) {
    case State::Connect:
    case State::Active:
    case State::OpenSent:
        if (exhausted()) {
            fail(std::nullopt, std::nullopt);
            break;
        }
        if (state_ == State::OpenSent) {
            emit(Action::Kind::Close);
            stopTimer(Timer::Hold);
        }
        startTimer(Timer::ConnectRetry, cfg_.connectRetryTime);
        to(State::Active);
        break;
    case State::OpenConfirm:
    case State::Established:
        fail(std::nullopt, std::nullopt);
        break;
    case State::Idle:
        break;
    }
    return take();
}

std::vector<Action> Fsm::timerExpired(Timer t) {
    switch (t) {
    case Timer::ConnectRetry:
        if (state_ == State::Connect || (state_ == State::Active && cfg_.activeConnect)) {
            if (exhausted()) {
                fail(std::nullopt, std::nullopt);
                break;
            }
            if (state_ == State::Connect) emit(Action::Kind::Close);  // drop the attempt
            startTimer(Timer::ConnectRetry, cfg_.connectRetryTime);
            connect();
            to(State::Connect);
        }
        break;
    case Timer::Hold:
        if (state_ == State::OpenSent || state_ == State::OpenConfirm || state_ == State::Established)
            fail(notification(err::kHoldTimer, 0), std::nullopt);
        break;
    case Timer::Keepalive:
        if (state_ == State::OpenConfirm || state_ == State::Established) {
            send(encodeKeepalive(), MessageType::Keepalive);
            if (uint32_t k = keepaliveSeconds()) startTimer(Timer::Keepalive, k);
        }
        break;
    case Timer::IdleHold:
        if (state_ == State::Idle && running_) {
            running_ = false;
            uint32_t attempts = attempts_;
            std::vector<Action> v = start();
            attempts_ = attempts;  // a restart does not reset the count of failed attempts
            return v;
        }
        break;
    }
    return take();
}

std::vector<Action> Fsm::updateSent(uint64_t messages) {
    if (state_ == State::Established && messages > 0) {
        bump(counters_.sent[0], messages);
        bump(counters_.sent[size_t(MessageType::Update)], messages);
        if (uint32_t k = keepaliveSeconds()) startTimer(Timer::Keepalive, k);
    }
    return take();
}

std::vector<Action> Fsm::received(ByteView bytes) {
    if (state_ != State::OpenSent && state_ != State::OpenConfirm && state_ != State::Established) return take();
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
    size_t at = 0;
    while (at < buffer_.size()) {
        // The OPEN exchange is in 4096-byte messages (RFC 8654); larger ones
        // only once both sides offered them.
        size_t max = state_ == State::Established ? session_.maxMessage() : kMaxMessage;
        Frame f = nextFrame(ByteView(buffer_).subspan(at), max);
        if (f.error) {
            fail(f.error, std::nullopt);
            return take();
        }
        if (f.length == 0) break;
        ByteView msg = ByteView(buffer_).subspan(at, f.length);
        MessageType type = MessageType(msg[18]);
        bump(counters_.received[0]);
        bump(counters_.received[size_t(type)]);
        onMessage(msg, type);
        if (state_ == State::Idle) return take();  // the buffer is gone with the session
        at += f.length;
    }
    buffer_.erase(buffer_.begin(), buffer_.begin() + long(at));
    return take();
}

void Fsm::onMessage(ByteView msg, MessageType type) {
    if (type == MessageType::Notification) {
        auto n = decodeNotification(msg);
        if (n) {
            bump(counters_.notificationsReceived[std::min<uint8_t>(n->code, 7)][std::min<uint8_t>(n->subcode, 15)]);
            counters_.lastErrorReceived.store(uint32_t(n->code) << 8 | n->subcode, std::memory_order_relaxed);
        }
        fail(std::nullopt, n);
        return;
    }
    switch (state_) {
    case State::OpenSent:
        if (type == MessageType::Open) onOpen(msg);
        else fail(notification(err::kFsm, kUnexpectedInOpenSent), std::nullopt);
        return;
    case State::OpenConfirm:
        if (type != MessageType::Keepalive) {
            fail(notification(err::kFsm, kUnexpectedInOpenConfirm), std::nullopt);
            return;
        }
        if (session_.holdTime) startTimer(Timer::Hold, session_.holdTime);
        to(State::Established);
        beenUp_ = true;
        attempts_ = 0;
        bump(counters_.establishedTransitions);
        emit(Action::Kind::Established);
        return;
    case State::Established:
        break;
    default:
        return;
    }
    switch (type) {
    case MessageType::Keepalive:
        if (session_.holdTime) startTimer(Timer::Hold, session_.holdTime);
        return;
    case MessageType::Update: {
        auto u = decodeUpdate(msg, {.as4 = session_.as4, .internal = cfg_.internal});
        if (!u) {
            fail(u.error(), std::nullopt);
            return;
        }
        if (session_.holdTime) startTimer(Timer::Hold, session_.holdTime);
        const PathAttributes& a = u->attributes;
        uint64_t reach = u->nlri.size() + (a.mpReach ? a.mpReach->nlri.size() : 0);
        uint64_t unreach = u->withdrawn.size() + (a.mpUnreach ? a.mpUnreach->withdrawn.size() : 0);
        if (u->action == ErrorAction::TreatAsWithdraw) {
            bump(counters_.updatesTreatedAsWithdraw);
            unreach += reach;
            reach = 0;
        }
        for (const AttributeError& e : u->errors)
            if (e.action == ErrorAction::AttributeDiscard) bump(counters_.attributesDiscarded);
        bump(counters_.routesAdvertisedReceived, reach);
        bump(counters_.routesWithdrawnReceived, unreach);
        emit(Action::Kind::Received).update = std::move(u.value());
        return;
    }
    case MessageType::RouteRefresh: {
        auto r = decodeRouteRefresh(msg);
        if (!r) {
            fail(r.error(), std::nullopt);
            return;
        }
        emit(Action::Kind::Received).refresh = r.value();
        return;
    }
    default:
        fail(notification(err::kFsm, kUnexpectedInEstablished), std::nullopt);
        return;
    }
}

void Fsm::onOpen(ByteView msg) {
    auto o = decodeOpen(msg);
    if (!o) {
        fail(o.error(), std::nullopt);
        return;
    }
    if (auto n = checkPeerOpen(o.value(), cfg_.peerAs)) {
        fail(*n, std::nullopt);
        return;
    }
    // RFC 4271 6.2: an internal peer with our own identifier.
    if (cfg_.internal && o->bgpId == cfg_.open.bgpId) {
        fail(notification(err::kOpen, err::kBadBgpId), std::nullopt);
        return;
    }
    session_ = negotiate(cfg_.open, o.value());
    peerOpen_ = std::move(o.value());
    send(encodeKeepalive(), MessageType::Keepalive);
    if (session_.holdTime) {
        startTimer(Timer::Hold, session_.holdTime);
        startTimer(Timer::Keepalive, keepaliveSeconds());
    } else {
        stopTimer(Timer::Hold);
    }
    to(State::OpenConfirm);
}

}  // namespace engine::bgp
