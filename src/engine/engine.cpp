#include "engine/engine.h"

#include <sys/eventfd.h>

#include <stdexcept>
#include <system_error>

namespace engine {

Engine::Engine(Clock& clock) : reactor_(clock) {}

Engine::~Engine() {
    try {
        shutdown();
    } catch (...) {  // NOLINT(bugprone-empty-catch): nothing to tell at destruction
    }
}

Engine& Engine::instance() {
    static Engine engine;
    return engine;
}

void Engine::start() {
    std::lock_guard lock(lifeMutex_);
    if (running_) return;
    reactor_.restart();
    running_ = true;
    thread_ = std::thread([this] { loop(); });
}

void Engine::loop() {
    threadId_ = std::this_thread::get_id();
    reactor_.run();
    threadId_ = std::thread::id{};
}

void Engine::post(std::function<void()> fn) {
    if (!running_) start();
    reactor_.post(std::move(fn));
}

int Engine::addShutdownHook(ShutdownHook hook) {
    std::lock_guard lock(hooksMutex_);
    const int id = nextHook_++;
    hooks_.emplace(id, std::move(hook));
    return id;
}

void Engine::removeShutdownHook(int id) {
    std::lock_guard lock(hooksMutex_);
    hooks_.erase(id);
}

void Engine::shutdown(Duration grace) {
    std::lock_guard lock(lifeMutex_);
    if (!running_) return;
    if (onEngineThread()) throw std::logic_error("Engine::shutdown from the engine thread");
    std::vector<ShutdownHook> hooks;
    {
        std::lock_guard hooksLock(hooksMutex_);
        for (auto& [id, hook] : hooks_) hooks.push_back(hook);
    }
    // Everything below runs on the loop; the loop stops itself once the last
    // hook is done or when the grace period is over, whichever comes first.
    reactor_.post([this, hooks = std::move(hooks), grace] {
        struct State {
            size_t left;
            bool stopped = false;
            TimerId deadline = 0;
        };
        auto state = std::make_shared<State>(State{hooks.size()});
        auto finish = [this, state] {
            if (state->stopped) return;
            state->stopped = true;
            reactor_.cancel(state->deadline);
            reactor_.stop();
        };
        if (hooks.empty()) return finish();
        state->deadline = reactor_.after(grace, finish);
        for (const auto& hook : hooks) {
            auto called = std::make_shared<bool>(false);
            auto done = [state, called, finish] {
                if (*called) return;
                *called = true;
                if (--state->left == 0) finish();
            };
            try {
                hook(done);
            } catch (...) {
                done();  // a failing hook does not hold the others
            }
        }
    });
    thread_.join();
    reactor_.dropPosted();  // posted while the loop was ending
    running_ = false;
}

ReplyQueue::ReplyQueue() : event_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (!event_) throw std::system_error(errno, std::generic_category(), "eventfd");
}

void ReplyQueue::push(std::function<void()> fn) {
    {
        std::lock_guard lock(mutex_);
        items_.push_back(std::move(fn));
    }
    const uint64_t one = 1;
    [[maybe_unused]] auto n = ::write(event_.get(), &one, sizeof one);
}

size_t ReplyQueue::drain() {
    uint64_t count;
    [[maybe_unused]] auto n = ::read(event_.get(), &count, sizeof count);
    std::vector<std::function<void()>> items;
    {
        std::lock_guard lock(mutex_);
        items.swap(items_);
    }
    for (auto& fn : items) fn();
    return items.size();
}

size_t ReplyQueue::pending() const {
    std::lock_guard lock(mutex_);
    return items_.size();
}

}  // namespace engine
