#include "chassis/replies.h"

#include <algorithm>
#include <chrono>

namespace chassis {

int64_t ReplyQueue::now() const {
    if (clock_) return clock_();
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void ReplyQueue::learn(const std::string& portKey, const std::string& kind, const std::string& key,
                       std::shared_ptr<const LearnedData> data) {
    learned_[{portKey, kind, key}] = std::move(data);
}

std::shared_ptr<const LearnedData> ReplyQueue::learned(const std::string& portKey, const std::string& kind,
                                                       const std::string& key) const {
    auto it = learned_.find({portKey, kind, key});
    return it == learned_.end() ? nullptr : it->second;
}

void ReplyQueue::forgetPort(const std::string& portKey) {
    std::erase_if(learned_, [&](const auto& entry) { return std::get<0>(entry.first) == portKey; });
}

void ReplyQueue::request(const std::string& portKey, const std::string& kind, const std::string& key,
                         std::weak_ptr<void> requester, Callback done) {
    int64_t delay = std::max(0, replyDelayMs);
    queue_.push_back(Pending{now() + delay, std::move(requester), std::move(done), learned(portKey, kind, key)});
    if (armTimer) armTimer(delay);
}

void ReplyQueue::arrive(std::weak_ptr<void> requester, Callback done, std::shared_ptr<const LearnedData> data) {
    std::lock_guard lock(arrivalsMutex_);
    arrivals_.push_back(Pending{0, std::move(requester), std::move(done), std::move(data)});
}

int ReplyQueue::poll() {
    int delivered = 0;
    int64_t t = now();
    {
        std::lock_guard lock(arrivalsMutex_);
        for (Pending& p : arrivals_) {
            p.due = t;
            queue_.push_back(std::move(p));
        }
        arrivals_.clear();
    }
    // A callback may queue another request; take the due ones out first.
    std::vector<Pending> due;
    auto split = std::stable_partition(queue_.begin(), queue_.end(), [t](const Pending& p) { return p.due > t; });
    std::move(split, queue_.end(), std::back_inserter(due));
    queue_.erase(split, queue_.end());
    for (auto& p : due) {
        if (p.requester.expired()) continue;
        p.done(p.data);
        ++delivered;
    }
    return delivered;
}

int64_t ReplyQueue::nextDueIn() const {
    if (queue_.empty()) return -1;
    int64_t first = queue_.front().due;
    for (const auto& p : queue_) first = std::min(first, p.due);
    return std::max<int64_t>(0, first - now());
}

void ReplyQueue::clear() {
    learned_.clear();
    queue_.clear();
    std::lock_guard lock(arrivalsMutex_);
    arrivals_.clear();
}

}  // namespace chassis
