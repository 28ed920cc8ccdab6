#include "engine/clock.h"

#include <algorithm>
#include <ctime>

namespace engine {

Time SteadyClock::now() const {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return Time{int64_t(ts.tv_sec) * 1'000'000'000 + ts.tv_nsec};
}

Clock& steadyClock() {
    static SteadyClock clock;
    return clock;
}

void VirtualClock::attach(TimerSource* s) {
    if (std::find(sources_.begin(), sources_.end(), s) == sources_.end()) sources_.push_back(s);
}

void VirtualClock::detach(TimerSource* s) { std::erase(sources_, s); }

void VirtualClock::settle() {
    // One reactor's work may post to another's (two speakers on two
    // reactors), so go round until a pass runs nothing. The bound only stops
    // work that posts itself for ever.
    for (int round = 0; round < 1000; ++round) {
        size_t ran = 0;
        // By index: a reactor may be attached while another runs.
        for (size_t i = 0; i < sources_.size(); ++i) ran += sources_[i]->runReady();  // NOLINT(modernize-loop-convert)
        if (ran == 0) return;
    }
}

void VirtualClock::advance(Duration d) {
    const Time target = now_ + std::max(d, Duration{0});
    for (;;) {
        settle();
        std::optional<Time> next;
        for (TimerSource* s : sources_) {
            auto t = s->nextDeadline();
            if (t && (!next || *t < *next)) next = t;
        }
        if (next && *next <= target) {
            now_ = std::max(now_, *next);
            // Copy: a timer may attach or detach a reactor.
            auto sources = sources_;
            for (TimerSource* s : sources) {
                if (std::find(sources_.begin(), sources_.end(), s) != sources_.end()) s->fireDue(now_);
            }
            continue;
        }
        // Work run at the target may arm timers due at once: go round again.
        if (now_ == target) break;
        now_ = target;
    }
}

bool VirtualClock::advanceToNext(Duration limit) {
    settle();
    std::optional<Time> next;
    for (TimerSource* s : sources_) {
        auto t = s->nextDeadline();
        if (t && (!next || *t < *next)) next = t;
    }
    if (!next || *next > now_ + limit) return false;
    advance(std::max(Duration{0}, *next - now_));
    return true;
}

}  // namespace engine
