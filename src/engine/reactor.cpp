#include "engine/reactor.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace engine {

namespace {

constexpr uint64_t kWakeTag = uint64_t(1) << 63;
constexpr uint64_t kTimerTag = uint64_t(1) << 62;

[[noreturn]] void throwErrno(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

uint32_t toEpoll(uint32_t events) {
    uint32_t e = 0;
    if (events & kReadable) e |= EPOLLIN | EPOLLRDHUP;
    if (events & kWritable) e |= EPOLLOUT;
    return e;
}

uint32_t fromEpoll(uint32_t e) {
    uint32_t events = 0;
    if (e & (EPOLLIN | EPOLLPRI | EPOLLRDHUP)) events |= kReadable;
    if (e & EPOLLOUT) events |= kWritable;
    if (e & EPOLLHUP) events |= kHangup;
    if (e & EPOLLERR) events |= kError;
    return events;
}

TimerId makeId(uint32_t generation, uint32_t index) { return (uint64_t(generation) << 32) | index; }

}  // namespace

Reactor::Reactor(Clock& clock) : clock_(clock) {
    epoll_.reset(epoll_create1(EPOLL_CLOEXEC));
    if (!epoll_) throwErrno("epoll_create1");
    wake_.reset(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    if (!wake_) throwErrno("eventfd");
    timerfd_.reset(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC));
    if (!timerfd_) throwErrno("timerfd_create");
    epoll_event ev{};
    ev.events = EPOLLIN;
    ev.data.u64 = kWakeTag;
    if (epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, wake_.get(), &ev) < 0) throwErrno("epoll_ctl eventfd");
    ev.data.u64 = kTimerTag;
    if (epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, timerfd_.get(), &ev) < 0) throwErrno("epoll_ctl timerfd");
    clock_.attach(this);
}

Reactor::~Reactor() { clock_.detach(this); }

// ---------------------------------------------------------------- timers

Reactor::Slot* Reactor::slotOf(TimerId id) {
    const uint32_t index = uint32_t(id);
    if (index >= slots_.size()) return nullptr;
    Slot& s = slots_[index];
    return s.inUse && s.generation == uint32_t(id >> 32) ? &s : nullptr;
}

const Reactor::Slot* Reactor::slotOf(TimerId id) const { return const_cast<Reactor*>(this)->slotOf(id); }

void Reactor::freeSlot(uint32_t index) {
    Slot& s = slots_[index];
    s.inUse = false;
    s.cb = nullptr;
    if (++s.generation == 0) s.generation = 1;
    freeSlots_.push_back(index);
}

bool Reactor::before(uint32_t a, uint32_t b) const {
    const Slot& x = slots_[a];
    const Slot& y = slots_[b];
    return x.deadline != y.deadline ? x.deadline < y.deadline : x.seq < y.seq;
}

void Reactor::place(size_t pos, uint32_t slot) {
    heap_[pos] = slot;
    slots_[slot].heapIndex = uint32_t(pos);
}

void Reactor::siftUp(size_t pos) {
    const uint32_t slot = heap_[pos];
    while (pos > 0) {
        const size_t parent = (pos - 1) / 2;
        if (!before(slot, heap_[parent])) break;
        place(pos, heap_[parent]);
        pos = parent;
    }
    place(pos, slot);
}

void Reactor::siftDown(size_t pos) {
    const uint32_t slot = heap_[pos];
    const size_t n = heap_.size();
    for (;;) {
        size_t child = 2 * pos + 1;
        if (child >= n) break;
        if (child + 1 < n && before(heap_[child + 1], heap_[child])) ++child;
        if (!before(heap_[child], slot)) break;
        place(pos, heap_[child]);
        pos = child;
    }
    place(pos, slot);
}

void Reactor::heapPush(uint32_t slot) {
    heap_.push_back(slot);
    siftUp(heap_.size() - 1);
}

void Reactor::heapRemove(uint32_t slot) {
    const size_t pos = slots_[slot].heapIndex;
    if (pos == kNotInHeap) return;
    slots_[slot].heapIndex = kNotInHeap;
    const uint32_t last = heap_.back();
    heap_.pop_back();
    if (pos == heap_.size()) return;
    place(pos, last);
    heapFix(last);
}

void Reactor::heapFix(uint32_t slot) {
    const size_t pos = slots_[slot].heapIndex;
    if (pos > 0 && before(slot, heap_[(pos - 1) / 2])) siftUp(pos);
    else siftDown(pos);
}

TimerId Reactor::arm(Duration delay, Duration period, std::function<void()> cb) {
    uint32_t index;
    if (!freeSlots_.empty()) {
        index = freeSlots_.back();
        freeSlots_.pop_back();
    } else {
        index = uint32_t(slots_.size());
        slots_.emplace_back();
    }
    Slot& s = slots_[index];
    s.inUse = true;
    s.deadline = now() + std::max(delay, Duration{0});
    s.seq = ++seq_;
    s.period = period;
    s.cb = std::move(cb);
    heapPush(index);
    return makeId(s.generation, index);
}

TimerId Reactor::after(Duration delay, std::function<void()> cb) { return arm(delay, Duration{0}, std::move(cb)); }

TimerId Reactor::every(Duration period, std::function<void()> cb, std::optional<Duration> firstDelay) {
    if (period <= Duration{0}) throw std::invalid_argument("a periodic timer needs a period above zero");
    return arm(firstDelay.value_or(period), period, std::move(cb));
}

bool Reactor::cancel(TimerId id) {
    if (!slotOf(id)) return false;
    heapRemove(uint32_t(id));
    freeSlot(uint32_t(id));
    return true;
}

bool Reactor::rearm(TimerId id, Duration delay) {
    Slot* s = slotOf(id);
    if (!s) return false;
    s->deadline = now() + std::max(delay, Duration{0});
    s->seq = ++seq_;
    heapFix(uint32_t(id));
    return true;
}

bool Reactor::armed(TimerId id) const { return slotOf(id) != nullptr; }

std::optional<Duration> Reactor::remaining(TimerId id) const {
    const Slot* s = slotOf(id);
    if (!s) return std::nullopt;
    return std::max(Duration{0}, s->deadline - now());
}

std::optional<Time> Reactor::nextDeadline() const {
    if (heap_.empty()) return std::nullopt;
    return slots_[heap_[0]].deadline;
}

void Reactor::fireDue(Time now) { fireTimers(now); }

size_t Reactor::fireTimers(Time now) {
    size_t fired = 0;
    // Timers armed from inside a callback wait for the next call, so that a
    // callback re-arming itself with no delay cannot hold the loop.
    const uint64_t lastSeq = seq_;
    while (!heap_.empty()) {
        const uint32_t index = heap_[0];
        Slot& s = slots_[index];
        if (s.deadline > now || s.seq > lastSeq) break;
        ++fired;
        const TimerId id = makeId(s.generation, index);
        std::function<void()> cb = std::move(s.cb);
        if (s.period > Duration{0}) {
            Time next = s.deadline + s.period;
            if (next <= now) next = now + s.period;  // a late real clock skips the missed turns
            s.deadline = next;
            s.seq = ++seq_;
            siftDown(0);
            cb();
            if (Slot* again = slotOf(id); again && !again->cb) again->cb = std::move(cb);
        } else {
            heapRemove(index);
            freeSlot(index);
            cb();
        }
    }
    return fired;
}

void Reactor::armTimerfd() {
    if (clock_.isVirtual()) return;
    const std::optional<Time> next = nextDeadline();
    if (next == timerfdArmedAt_) return;
    itimerspec at{};
    if (next) {
        const int64_t ns = std::max<int64_t>(next->count(), 1);  // zero would disarm
        at.it_value.tv_sec = ns / 1'000'000'000;
        at.it_value.tv_nsec = ns % 1'000'000'000;
    }
    if (timerfd_settime(timerfd_.get(), TFD_TIMER_ABSTIME, &at, nullptr) < 0) throwErrno("timerfd_settime");
    timerfdArmedAt_ = next;
}

// ---------------------------------------------------------------- descriptors

void Reactor::watch(int fd, uint32_t events, std::function<void(uint32_t)> cb) {
    if (fd < 0) throw std::invalid_argument("watch: bad descriptor");
    epoll_event ev{};
    ev.events = toEpoll(events);
    const uint32_t generation = ++watchGeneration_;
    ev.data.u64 = (uint64_t(generation) << 32) | uint32_t(fd);
    // A descriptor closed while watched left its entry behind, and its
    // number may come back: the kernel's view decides between add and modify.
    const bool known = watches_.count(fd) != 0;
    int rc = epoll_ctl(epoll_.get(), known ? EPOLL_CTL_MOD : EPOLL_CTL_ADD, fd, &ev);
    if (rc < 0 && errno == (known ? ENOENT : EEXIST))
        rc = epoll_ctl(epoll_.get(), known ? EPOLL_CTL_ADD : EPOLL_CTL_MOD, fd, &ev);
    if (rc < 0) throwErrno("epoll_ctl watch");
    watches_[fd] = Watch{generation, std::move(cb)};
}

void Reactor::modify(int fd, uint32_t events) {
    auto it = watches_.find(fd);
    if (it == watches_.end()) throw std::logic_error("modify: descriptor not watched");
    epoll_event ev{};
    ev.events = toEpoll(events);
    ev.data.u64 = (uint64_t(it->second.generation) << 32) | uint32_t(fd);
    if (epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, fd, &ev) < 0) throwErrno("epoll_ctl modify");
}

void Reactor::unwatch(int fd) {
    auto it = watches_.find(fd);
    if (it == watches_.end()) return;
    epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, fd, nullptr);  // fails harmlessly if the descriptor is already closed
    watches_.erase(it);
}

// ---------------------------------------------------------------- posted work

void Reactor::post(std::function<void()> fn) {
    bool wasEmpty;
    {
        std::lock_guard lock(postMutex_);
        wasEmpty = posted_.empty();
        posted_.push_back(std::move(fn));
    }
    // The loop reads the eventfd before it takes the queue, so one wake-up
    // per non-empty queue is enough.
    if (wasEmpty) {
        const uint64_t one = 1;
        [[maybe_unused]] auto n = ::write(wake_.get(), &one, sizeof one);
    }
}

size_t Reactor::runPosted() {
    std::vector<std::function<void()>> work;
    {
        std::lock_guard lock(postMutex_);
        work.swap(posted_);
    }
    for (auto& fn : work) fn();
    return work.size();
}

// ---------------------------------------------------------------- running

size_t Reactor::poll(Duration timeout) {
    armTimerfd();
    int ms = -1;
    if (timeout >= Duration{0}) ms = int((timeout.count() + 999'999) / 1'000'000);
    {
        std::lock_guard lock(postMutex_);
        if (!posted_.empty() || stop_) ms = 0;
    }
    epoll_event events[64];
    int n = epoll_wait(epoll_.get(), events, 64, ms);
    if (n < 0) {
        if (errno != EINTR) throwErrno("epoll_wait");
        n = 0;
    }
    size_t ran = 0;
    for (int i = 0; i < n; ++i) {
        const uint64_t tag = events[i].data.u64;
        if (tag == kWakeTag) {
            uint64_t count;
            [[maybe_unused]] auto r = ::read(wake_.get(), &count, sizeof count);
            continue;
        }
        if (tag == kTimerTag) {
            uint64_t count;
            [[maybe_unused]] auto r = ::read(timerfd_.get(), &count, sizeof count);
            timerfdArmedAt_.reset();
            continue;
        }
        auto it = watches_.find(int(uint32_t(tag)));
        // Unwatched, or the number was reused by a newer watch, earlier in this batch.
        if (it == watches_.end() || it->second.generation != uint32_t(tag >> 32)) continue;
        // The callback may unwatch itself: keep it alive while it runs.
        auto cb = it->second.cb;
        cb(fromEpoll(events[i].events));
        ++ran;
    }
    if (!clock_.isVirtual()) {
        ran += fireTimers(clock_.now());
    }
    ran += runPosted();
    return ran;
}

void Reactor::run() {
    while (!stopped()) poll(Duration{-1});
}

bool Reactor::runUntil(const std::function<bool()>& done, Duration limit) {
    const Time end = steadyClock().now() + limit;
    while (!done()) {
        const Duration left = end - steadyClock().now();
        if (left <= Duration{0}) return done();
        poll(std::min<Duration>(left, std::chrono::milliseconds(10)));
    }
    return true;
}

void Reactor::stop() {
    {
        std::lock_guard lock(postMutex_);
        stop_ = true;
    }
    const uint64_t one = 1;
    [[maybe_unused]] auto n = ::write(wake_.get(), &one, sizeof one);
}

bool Reactor::stopped() const {
    std::lock_guard lock(postMutex_);
    return stop_;
}

size_t Reactor::dropPosted() {
    std::vector<std::function<void()>> work;
    {
        std::lock_guard lock(postMutex_);
        work.swap(posted_);
    }
    return work.size();
}

void Reactor::restart() {
    std::lock_guard lock(postMutex_);
    stop_ = false;
}

// ---------------------------------------------------------------- Timer

void Timer::start(Duration delay, std::function<void()> cb) {
    cancel();
    cb_ = std::move(cb);
    period_ = Duration{0};
    id_ = reactor_->after(delay, cb_);
}

void Timer::startPeriodic(Duration period, std::function<void()> cb) {
    cancel();
    cb_ = std::move(cb);
    period_ = period;
    id_ = reactor_->every(period, cb_);
}

bool Timer::restart(Duration delay) {
    if (!cb_) return false;
    if (id_ && reactor_->rearm(id_, delay)) return true;
    id_ = period_ > Duration{0} ? reactor_->every(period_, cb_, delay) : reactor_->after(delay, cb_);
    return true;
}

void Timer::cancel() {
    if (id_) reactor_->cancel(id_);
    id_ = 0;
}

}  // namespace engine
