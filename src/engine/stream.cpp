#include "engine/stream.h"

namespace engine {

Stream::~Stream() = default;

bool Stream::addQueued(size_t n) {
    queued_ += n;
    if (!aboveHigh_ && queued_ >= high_) {
        aboveHigh_ = true;
        if (onHighWater) {
            const Alive a = alive();
            onHighWater(queued_);
            return still(a);
        }
    }
    return true;
}

bool Stream::removeQueued(size_t n) {
    queued_ -= n < queued_ ? n : queued_;
    if (aboveHigh_ && queued_ <= low_) {
        aboveHigh_ = false;
        if (onLowWater) {
            const Alive a = alive();
            onLowWater();
            return still(a);
        }
    }
    return true;
}

}  // namespace engine
