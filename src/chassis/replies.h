// Learned information: what a port has learned (set up by the host with
// zkchassis::learn) and the replies to the protocol module's requests for
// it. A reply becomes due replyDelay milliseconds after the request and is
// delivered by the event loop or at the next poll, whichever comes first.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/equipment.h"

namespace chassis {

using zk::LearnedData;

class ReplyQueue {
public:
    using Callback = zk::ReplyCallback;
    using Clock = std::function<int64_t()>;  // milliseconds

    // Stores what port `portKey` answers for (kind, key).
    void learn(const std::string& portKey, const std::string& kind, const std::string& key,
               std::shared_ptr<const LearnedData> data);
    std::shared_ptr<const LearnedData> learned(const std::string& portKey, const std::string& kind,
                                               const std::string& key) const;
    // Forgets everything port `portKey` learned (the port was removed).
    void forgetPort(const std::string& portKey);

    // Queues a reply: the data learned now for (kind, key), or null when
    // nothing was learned. The callback runs only while `requester` lives.
    void request(const std::string& portKey, const std::string& kind, const std::string& key,
                 std::weak_ptr<void> requester, Callback done);

    // An answer that came from elsewhere (a live port's engine), from any
    // thread: it is due at once and delivered by the next poll.
    void arrive(std::weak_ptr<void> requester, Callback done, std::shared_ptr<const LearnedData> data);

    // Delivers every reply that is due; returns how many were delivered.
    int poll();
    // Milliseconds until the next reply is due, or -1 when none waits.
    int64_t nextDueIn() const;
    size_t pending() const { return queue_.size(); }

    void clear();
    int replyDelayMs = 0;
    void setClock(Clock c) { clock_ = std::move(c); }
    // Called after each request with the delay, so the event loop can wake.
    std::function<void(int64_t)> armTimer;

private:
    struct Pending {
        int64_t due;
        std::weak_ptr<void> requester;
        Callback done;
        std::shared_ptr<const LearnedData> data;
    };
    int64_t now() const;
    std::map<std::tuple<std::string, std::string, std::string>, std::shared_ptr<const LearnedData>> learned_;
    std::vector<Pending> queue_;
    Clock clock_;
    std::mutex arrivalsMutex_;
    std::vector<Pending> arrivals_;
};

}  // namespace chassis
