// Time for the engine: a steady clock read in nanoseconds since an arbitrary
// epoch, behind an interface so that state machines can run in virtual time.
//
// The real clock reads CLOCK_MONOTONIC, the clock the reactor's timerfd is
// armed on. The virtual clock stands still until a test advances it; while
// it advances it fires the due timers of every reactor attached to it, in
// deadline order, stopping at each deadline so that a timer sees now() equal
// to its own deadline and may arm further timers inside the same advance.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <vector>

namespace engine {

using Duration = std::chrono::nanoseconds;
using Time = std::chrono::nanoseconds;  // since the clock's epoch

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace): 10ms, 3s in the engine's code

// What a virtual clock drives: a reactor.
class TimerSource {
public:
    virtual ~TimerSource() = default;
    // The earliest armed deadline, if any.
    virtual std::optional<Time> nextDeadline() const = 0;
    // Runs timers due at or before `now`, then whatever they posted.
    virtual void fireDue(Time now) = 0;
    // Runs posted work and ready descriptors without waiting; returns how
    // many callbacks ran.
    virtual size_t runReady() = 0;
};

class Clock {
public:
    virtual ~Clock() = default;
    virtual Time now() const = 0;
    virtual bool isVirtual() const { return false; }
    virtual void attach(TimerSource*) {}
    virtual void detach(TimerSource*) {}
};

// CLOCK_MONOTONIC.
class SteadyClock final : public Clock {
public:
    Time now() const override;
};

// The process-wide real clock.
Clock& steadyClock();

class VirtualClock final : public Clock {
public:
    explicit VirtualClock(Time start = Time{0}) : now_(start) {}
    Time now() const override { return now_; }
    bool isVirtual() const override { return true; }
    void attach(TimerSource* s) override;
    void detach(TimerSource* s) override;

    // Moves time forward by d, firing every timer that falls due on the way.
    void advance(Duration d);
    // Advances to the next deadline of an attached reactor (no further than
    // `limit` ahead); returns false when no timer is armed within it.
    bool advanceToNext(Duration limit = std::chrono::hours(24));
    // Runs posted work and ready descriptors without moving time.
    void settle();

private:
    Time now_;
    std::vector<TimerSource*> sources_;
};

}  // namespace engine
