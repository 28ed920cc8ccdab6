#include "engine/wire.h"

#include <algorithm>
#include <cerrno>
#include <deque>
#include <vector>

namespace engine {

namespace {

class WireEnd;

struct WireShared {
    WireEnd* ends[2] = {nullptr, nullptr};
};

class WireEnd final : public Stream {
public:
    WireEnd(Reactor& reactor, std::shared_ptr<WireShared> shared, int side, WireOptions options)
        : reactor_(reactor), shared_(std::move(shared)), side_(side), options_(options), timer_(reactor) {
        shared_->ends[side_] = this;
    }

    ~WireEnd() override {
        if (options_.onDestroyed) options_.onDestroyed(this);
        shared_->ends[side_] = nullptr;
        if (!eofSent_) resetPeer();
    }

    bool send(Bytes bytes) override {
        if (state_ != State::kOpen || !fits(bytes.size())) return false;
        if (bytes.empty()) return true;
        segments_.push_back(Segment{reactor_.now() + options_.latency, {bytes.begin(), bytes.end()}});
        schedule();
        addQueued(bytes.size());
        return true;
    }

    void close() override {
        if (state_ != State::kOpen) return;
        state_ = State::kClosing;
        schedule();
    }

    void abort() override {
        if (state_ == State::kClosed) return;
        finish();
        resetPeer();
    }

    void pauseReading(bool paused) override {
        paused_ = paused;
        // The other end's bytes were held for us.
        if (!paused_)
            if (WireEnd* p = peer()) p->schedule();
    }

private:
    struct Segment {
        Time due;
        std::vector<uint8_t> bytes;
        size_t offset = 0;
    };

    WireEnd* peer() const { return shared_->ends[1 - side_]; }

    void finish() {
        timer_.cancel();
        state_ = State::kClosed;
        segments_.clear();
        queued_ = 0;
        eofSent_ = true;
    }

    // Tells the other end the stream is gone, at the next turn.
    void resetPeer() {
        eofSent_ = true;
        auto shared = shared_;
        const int other = 1 - side_;
        reactor_.after(Duration{0}, [shared, other] {
            if (WireEnd* p = shared->ends[other]) p->peerGone({ECONNRESET, std::generic_category()});
        });
    }

    void peerGone(std::error_code ec) {
        if (state_ == State::kClosed) return;
        const bool notify = state_ != State::kClosing;
        finish();
        if (notify && onClosed) onClosed(ec);
    }

    void schedule() {
        if (segments_.empty()) {
            if (state_ == State::kClosing) timer_.start(Duration{0}, [this] { deliver(); });
            return;
        }
        const Duration wait = std::max(Duration{0}, segments_.front().due - reactor_.now());
        timer_.start(wait, [this] { deliver(); });
    }

    void deliver() {
        const Alive self = alive();
        const Time now = reactor_.now();
        while (!segments_.empty() && segments_.front().due <= now) {
            WireEnd* p = peer();
            if (!p) return;
            if (p->paused_ || p->state_ != State::kOpen) return;  // resumed or reset later
            Segment& s = segments_.front();
            size_t n = s.bytes.size() - s.offset;
            if (options_.maxChunk) n = std::min(n, options_.maxChunk);
            // Copied out: the receiver may send, close or destroy either end.
            std::vector<uint8_t> piece(s.bytes.begin() + std::ptrdiff_t(s.offset),
                                       s.bytes.begin() + std::ptrdiff_t(s.offset + n));
            s.offset += n;
            if (s.offset == s.bytes.size()) segments_.pop_front();
            const Alive other = p->alive();
            if (p->onData) p->onData(piece);
            if (!still(self)) return;
            if (!removeQueued(n)) return;
            if (!still(other)) return;  // the receiver is gone; its reset reaches us at the next turn
        }
        if (!segments_.empty()) return schedule();
        if (state_ == State::kClosing && !eofSent_) {
            eofSent_ = true;
            finish();
            if (WireEnd* p = peer()) {
                const State pstate = p->state_;
                if (pstate == State::kClosed) return;
                p->finish();
                // The peer may have closed too: then it expects no handler.
                if (pstate == State::kOpen && p->onClosed) p->onClosed({});
            }
        }
    }

    Reactor& reactor_;
    std::shared_ptr<WireShared> shared_;
    int side_;
    WireOptions options_;
    Timer timer_;
    std::deque<Segment> segments_;
    bool paused_ = false;
    bool eofSent_ = false;
};

}  // namespace

std::pair<std::unique_ptr<Stream>, std::unique_ptr<Stream>> makeWire(Reactor& reactor, WireOptions options) {
    auto shared = std::make_shared<WireShared>();
    auto a = std::make_unique<WireEnd>(reactor, shared, 0, options);
    auto b = std::make_unique<WireEnd>(reactor, shared, 1, options);
    return {std::move(a), std::move(b)};
}

}  // namespace engine
