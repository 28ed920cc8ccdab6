// Two connected in-memory streams on one reactor, for speakers talking to
// each other in unit tests: no sockets, no root, and in virtual time when
// the reactor runs on a VirtualClock.
//
// Bytes sent at time t reach the other end at t + latency, in order, cut
// into pieces of at most maxChunk bytes (0: as sent), so a receiver's
// framing is exercised across arbitrary splits. Bytes wait in the sender's
// queue until delivered: a receiver that pauses reading makes the sender's
// queue grow and its high-water handler fire, as a peer that stops reading
// would. close() delivers the end of the stream after the queued bytes;
// abort() or destroying an end resets the other end (ECONNRESET).
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "engine/reactor.h"
#include "engine/stream.h"

namespace engine {

struct WireOptions {
    Duration latency{0};
    size_t maxChunk = 0;
    // Called as each end is destroyed, for a test that keeps a list of the
    // ends its speakers own.
    std::function<void(const Stream*)> onDestroyed = {};
};

std::pair<std::unique_ptr<Stream>, std::unique_ptr<Stream>> makeWire(Reactor& reactor, WireOptions options = {});

}  // namespace engine
