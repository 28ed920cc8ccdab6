#include "chassis/lab.h"

#include <optional>

#include "core/port.h"

namespace chassis {

Lab& Lab::instance() {
    static Lab* lab = [] {
        auto* l = new Lab;  // lives for the process: ports outlive every interpreter
        zk::installEquipment(l);
        return l;
    }();
    return *lab;
}

Lab::Lab() { reset(false); }

namespace {
std::optional<LiveFactory>& live() {
    static std::optional<LiveFactory> factory;
    return factory;
}
}  // namespace

void installLive(LiveFactory factory) { live() = std::move(factory); }
const LiveFactory* liveFactory() { return live() ? &*live() : nullptr; }

EmulatedPort* Lab::find(const PortId& id) {
    auto it = ports_.find(id);
    return it == ports_.end() ? nullptr : it->second.get();
}

EmulatedPort& Lab::add(const PortId& id) {
    auto& slot = ports_[id];
    slot = std::make_unique<EmulatedPort>(id);
    return *slot;
}

// A removed port is gone for good: what it learned is forgotten, and it is
// no longer current (a port added again under its triple is a new port,
// current only once a server selects it).
bool Lab::remove(const PortId& id) {
    auto it = ports_.find(id);
    if (it == ports_.end()) return false;
    if (zk::currentPort() == it->second.get()) zk::clearCurrentPort();
    replies_.forgetPort(id.key());
    ports_.erase(it);
    return true;
}

std::vector<PortId> Lab::list() const {
    std::vector<PortId> ids;
    for (const auto& [id, port] : ports_) ids.push_back(id);
    return ids;
}

void Lab::reset(bool empty) {
    ports_.clear();
    if (!empty)
        for (int card = 1; card <= 4; ++card)
            for (int port = 1; port <= 4; ++port) add(PortId{1, card, port});
    log_.clear();
    captureDir.clear();
    captureSequence = 0;
    replies_.clear();
    replies_.replyDelayMs = 0;
    zk::clearCurrentPort();
}

}  // namespace chassis
