// The engine thread: one reactor on a thread of its own, started on first
// need. Other threads (the Tcl thread) reach it only by messages: a command
// posted to run on the engine thread, with its result coming back either as
// a std::future or through a ReplyQueue that the caller drains when it polls.
//
// shutdown() runs the registered shutdown hooks on the loop (a speaker sends
// its Cease there), keeps serving the loop until every hook has reported
// done or the grace period is over, then stops the loop and joins.
#pragma once

#include <atomic>
#include <exception>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <type_traits>
#include <vector>

#include "engine/fd.h"
#include "engine/reactor.h"

namespace engine {

class ReplyQueue;

class Engine {
public:
    // The hook calls `done` once its clean shutdown is over (at once, or
    // later from the loop, when the last bytes are written).
    using ShutdownHook = std::function<void(std::function<void()> done)>;

    explicit Engine(Clock& clock = steadyClock());
    ~Engine();  // shutdown()
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    // The process-wide engine of the live ports.
    static Engine& instance();

    // Starts the thread if it is not running; post() and call() do it too.
    void start();
    bool running() const { return running_.load(); }
    bool onEngineThread() const { return std::this_thread::get_id() == threadId_.load(); }
    // The loop; use it on the engine thread only (from posted commands).
    Reactor& reactor() { return reactor_; }

    // Runs fn on the engine thread. Thread-safe.
    void post(std::function<void()> fn);

    // Runs fn on the engine thread; its result (or exception) arrives in the
    // future. Do not wait on the future from the engine thread itself.
    template <class F>
    auto call(F fn) -> std::future<std::invoke_result_t<F&>> {
        using R = std::invoke_result_t<F&>;
        auto task = std::make_shared<std::packaged_task<R()>>(std::move(fn));
        auto future = task->get_future();
        post([task] { (*task)(); });
        return future;
    }

    // Runs fn on the engine thread, then `then` on the thread that drains
    // `replies`, with a ready future holding fn's result or exception.
    template <class F, class Then>
    void request(ReplyQueue& replies, F fn, Then then);

    // Hooks run in the order they were added. Returns a number for removeShutdownHook.
    // Thread-safe.
    int addShutdownHook(ShutdownHook hook);
    void removeShutdownHook(int id);

    // Thread-safe, idempotent, not from the engine thread. Work posted but
    // not run by then is dropped (call() futures see a broken promise). The
    // engine can be started again afterwards.
    //
    // With a virtual clock, only the engine thread may advance it (from a
    // posted command); unit tests in virtual time use a Reactor directly.
    void shutdown(Duration grace = std::chrono::seconds(2));

private:
    void loop();

    Reactor reactor_;
    std::thread thread_;
    std::atomic<std::thread::id> threadId_{};
    std::atomic<bool> running_{false};
    std::mutex lifeMutex_;  // start and shutdown
    std::mutex hooksMutex_;
    std::map<int, ShutdownHook> hooks_;
    int nextHook_ = 1;
};

// Results travelling back from the engine thread to a thread that polls
// (the Tcl thread): the engine pushes functions, the owner runs them with
// drain(). fd() becomes readable while something waits, for a file handler.
class ReplyQueue {
public:
    ReplyQueue();
    void push(std::function<void()> fn);  // thread-safe
    size_t drain();                       // runs what was pushed; returns how many
    size_t pending() const;
    int fd() const { return event_.get(); }

private:
    Fd event_;
    mutable std::mutex mutex_;
    std::vector<std::function<void()>> items_;
};

template <class F, class Then>
void Engine::request(ReplyQueue& replies, F fn, Then then) {
    using R = std::invoke_result_t<F&>;
    post([&replies, fn = std::move(fn), then = std::move(then)]() mutable {
        std::packaged_task<R()> task(std::move(fn));
        auto future = task.get_future();
        task();
        replies.push([then = std::move(then), future = std::make_shared<std::future<R>>(std::move(future))]() mutable {
            then(std::move(*future));
        });
    });
}

}  // namespace engine
