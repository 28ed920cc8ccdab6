// A byte stream as a speaker sees it: a TCP connection on the reactor or one
// end of an in-memory wire. Bytes the kernel (or the other end) does not
// take at once wait in the stream's queue, which the owner watches:
// onHighWater fires once when the queued bytes reach the high mark (1 MiB
// unless set), onLowWater once they are back at or under the low mark
// (256 KiB); past the limit (64 MiB) a send is refused whole, so framing
// stays intact. Received bytes arrive as spans valid during the call.
//
// Any handler may destroy the stream; the stream touches nothing of itself
// afterwards. close() and abort() made by the owner fire no handler.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <system_error>

#include "engine/sockaddr.h"

namespace engine {

class Stream {
public:
    using Bytes = std::span<const uint8_t>;

    virtual ~Stream();

    // A connecting TCP stream reports the outcome of connect() here: no
    // error, or the error after which the stream is closed. Streams handed
    // over open (accepted, wires) never fire it.
    std::function<void(std::error_code)> onConnected;
    std::function<void(Bytes)> onData;
    // The peer closed (no error) or the connection failed; the stream is closed.
    std::function<void(std::error_code)> onClosed;
    std::function<void(size_t queued)> onHighWater;
    std::function<void()> onLowWater;

    // Queues the bytes; false (nothing queued) when the stream is closed or
    // the bytes would take the queue past its limit.
    virtual bool send(Bytes bytes) = 0;
    bool send(const void* data, size_t size) { return send(Bytes(static_cast<const uint8_t*>(data), size)); }
    // Sends what is queued, then closes.
    virtual void close() = 0;
    // Closes now; queued bytes are dropped.
    virtual void abort() = 0;
    // Stops (true) or resumes delivering received bytes: the peer then
    // sees back-pressure in its own queue.
    virtual void pauseReading(bool paused) = 0;

    // The two ends' addresses; empty (length 0) where there are none.
    virtual SockAddr localAddress() const = 0;
    virtual SockAddr peerAddress() const = 0;

    size_t queued() const { return queued_; }
    bool open() const { return state_ == State::kOpen; }
    bool connecting() const { return state_ == State::kConnecting; }
    bool closed() const { return state_ == State::kClosed; }

    void setWaterMarks(size_t high, size_t low) {
        high_ = high;
        low_ = low < high ? low : high;
    }
    void setQueueLimit(size_t bytes) { limit_ = bytes; }
    size_t queueLimit() const { return limit_; }

protected:
    enum class State { kConnecting, kOpen, kClosing, kClosed };

    // Callbacks that may destroy *this: true when the stream is still there.
    using Alive = std::weak_ptr<bool>;
    Alive alive() const { return token_; }
    static bool still(const Alive& a) { return !a.expired(); }

    bool fits(size_t more) const { return queued_ + more <= limit_; }
    // Account queued bytes; these fire the water-mark handlers and return
    // false when a handler destroyed the stream.
    bool addQueued(size_t n);
    bool removeQueued(size_t n);

    State state_ = State::kOpen;
    size_t queued_ = 0;

private:
    std::shared_ptr<bool> token_ = std::make_shared<bool>(true);
    size_t high_ = 1 << 20;
    size_t low_ = 256 << 10;
    size_t limit_ = size_t(64) << 20;
    bool aboveHigh_ = false;
};

}  // namespace engine
