// The engine's event loop: epoll for descriptors, a timerfd armed at the
// earliest timer, an eventfd that wakes the loop for work posted from other
// threads. Everything but post() and stop() belongs to the loop's thread.
//
// Timers live in an indexed binary heap: arming, cancelling and re-arming
// cost O(log n), so a hold timer re-armed at every received message leaves
// nothing behind. Timers due at the same instant fire in the order they were
// armed. Callbacks may arm, cancel and re-arm any timer, their own included.
//
// With a VirtualClock the reactor attaches itself to the clock, and the
// clock's advance() fires its timers; run() then serves descriptors and
// posted work only.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

#include "engine/clock.h"
#include "engine/fd.h"

namespace engine {

// Identifies an armed timer; stale ids (fired one-shots, cancelled timers)
// are recognised and ignored. Zero is never an id.
using TimerId = uint64_t;

inline constexpr uint32_t kReadable = 1;
inline constexpr uint32_t kWritable = 2;
// Events handed to a descriptor callback: kReadable / kWritable, plus these.
inline constexpr uint32_t kHangup = 4;
inline constexpr uint32_t kError = 8;

class Reactor final : private TimerSource {
public:
    explicit Reactor(Clock& clock = steadyClock());
    ~Reactor() override;
    Reactor(const Reactor&) = delete;
    Reactor& operator=(const Reactor&) = delete;

    Clock& clock() const { return clock_; }
    Time now() const { return clock_.now(); }

    // --- timers ---
    // Fires once after `delay` (zero or negative: at the next turn).
    TimerId after(Duration delay, std::function<void()> cb);
    // Fires every `period` (> 0), first after `firstDelay`.
    TimerId every(Duration period, std::function<void()> cb, std::optional<Duration> firstDelay = {});
    // False when the timer had already fired (one-shot) or was cancelled.
    bool cancel(TimerId id);
    // Moves an armed timer's next deadline to now + delay; false when stale.
    bool rearm(TimerId id, Duration delay);
    bool armed(TimerId id) const;
    // Time left until the timer fires (zero when due), or nothing when stale.
    std::optional<Duration> remaining(TimerId id) const;
    size_t timerCount() const { return heap_.size(); }

    // --- descriptors ---
    // `events` is a mask of kReadable and kWritable. The callback gets the
    // ready events; kHangup and kError come whatever was asked for.
    void watch(int fd, uint32_t events, std::function<void(uint32_t)> cb);
    void modify(int fd, uint32_t events);
    // Safe from inside any callback, the descriptor's own included.
    void unwatch(int fd);
    bool watching(int fd) const { return watches_.count(fd) != 0; }

    // --- work from anywhere ---
    // Thread-safe. The function runs on the loop's thread at its next turn.
    void post(std::function<void()> fn);

    // --- running ---
    // Serves events until stop(); returns at once if stop() came first.
    void run();
    // One turn: waits at most `timeout` for something to happen (zero: not
    // at all), then serves what is ready. Returns the number of callbacks run.
    size_t poll(Duration timeout = Duration{0});
    // Serves events until done() holds or `limit` has passed on the real
    // clock; returns done(). For tests and set-up code on the real clock.
    bool runUntil(const std::function<bool()>& done, Duration limit);
    // Thread-safe; run() returns after the current turn.
    void stop();
    bool stopped() const;
    // Clears a stop() so that run() may be called again.
    void restart();
    // Destroys posted work that will not run (the loop has ended): a
    // future waiting on it sees a broken promise instead of waiting for ever.
    size_t dropPosted();

private:
    struct Slot {
        Time deadline{};
        uint64_t seq = 0;
        Duration period{};
        std::function<void()> cb;
        uint32_t generation = 1;
        uint32_t heapIndex = kNotInHeap;
        bool inUse = false;
    };
    struct Watch {
        uint32_t generation;
        std::function<void(uint32_t)> cb;
    };
    static constexpr uint32_t kNotInHeap = UINT32_MAX;

    // TimerSource (the virtual clock's view).
    std::optional<Time> nextDeadline() const override;
    void fireDue(Time now) override;
    size_t runReady() override { return poll(Duration{0}); }

    size_t fireTimers(Time now);
    TimerId arm(Duration delay, Duration period, std::function<void()> cb);
    Slot* slotOf(TimerId id);
    const Slot* slotOf(TimerId id) const;
    void freeSlot(uint32_t index);
    bool before(uint32_t a, uint32_t b) const;
    void place(size_t pos, uint32_t slot);
    void siftUp(size_t pos);
    void siftDown(size_t pos);
    void heapPush(uint32_t slot);
    void heapRemove(uint32_t slot);
    void heapFix(uint32_t slot);
    size_t runPosted();
    void armTimerfd();

    Clock& clock_;
    Fd epoll_;
    Fd wake_;     // eventfd
    Fd timerfd_;  // CLOCK_MONOTONIC, armed at the heap's top
    std::optional<Time> timerfdArmedAt_;

    std::vector<Slot> slots_;
    std::vector<uint32_t> freeSlots_;
    std::vector<uint32_t> heap_;  // slot indexes
    uint64_t seq_ = 0;

    std::unordered_map<int, Watch> watches_;
    uint32_t watchGeneration_ = 0;

    mutable std::mutex postMutex_;
    std::vector<std::function<void()>> posted_;
    bool stop_ = false;  // under postMutex_
};

// A timer owned by an object: cancelled when the owner goes, re-armed in
// place (a hold timer or a keepalive timer of a session).
class Timer {
public:
    explicit Timer(Reactor& r) : reactor_(&r) {}
    ~Timer() { cancel(); }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    void start(Duration delay, std::function<void()> cb);
    void startPeriodic(Duration period, std::function<void()> cb);
    // Re-arms with the callback given last; false when nothing was started.
    bool restart(Duration delay);
    void cancel();
    bool armed() const { return id_ != 0 && reactor_->armed(id_); }
    std::optional<Duration> remaining() const { return id_ ? reactor_->remaining(id_) : std::nullopt; }

private:
    Reactor* reactor_;
    TimerId id_ = 0;
    std::function<void()> cb_;
    Duration period_{};
};

}  // namespace engine
