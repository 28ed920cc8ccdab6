// What the engine thread publishes for other threads to read: an immutable
// value replaced as a whole (a learned table, a session's state). A reader
// keeps the version it got for as long as it likes; publishing never waits
// for readers and never changes what they hold.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

namespace engine {

template <class T>
class Published {
public:
    // Thread-safe; returns the new version number (1 for the first).
    uint64_t publish(std::shared_ptr<const T> value) {
        std::lock_guard lock(mutex_);
        value_ = std::move(value);
        return ++version_;
    }
    uint64_t publish(T value) { return publish(std::make_shared<const T>(std::move(value))); }

    // Thread-safe; null before the first publish.
    std::shared_ptr<const T> get() const {
        std::lock_guard lock(mutex_);
        return value_;
    }
    // The value with its version, read together.
    std::pair<std::shared_ptr<const T>, uint64_t> getVersioned() const {
        std::lock_guard lock(mutex_);
        return {value_, version_};
    }
    uint64_t version() const {
        std::lock_guard lock(mutex_);
        return version_;
    }

private:
    mutable std::mutex mutex_;
    std::shared_ptr<const T> value_;
    uint64_t version_ = 0;
};

}  // namespace engine
