// The port table of the emulated chassis, the host log and the settings of
// the emulation. One per process.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "chassis/emulated_port.h"
#include "chassis/replies.h"

namespace chassis {

// The lab is the equipment of the module: the first use installs it.
class Lab : public zk::Equipment {
public:
    static Lab& instance();

    EmulatedPort* find(const PortId& id) override;
    EmulatedPort* find(int c, int d, int p) { return find(PortId{c, d, p}); }
    int deliverReplies() override { return replies_.poll(); }
    EmulatedPort& add(const PortId& id);  // replaces a port of the same triple
    bool remove(const PortId& id);
    std::vector<PortId> list() const;

    // Restores the default lab (or an empty table) and forgets everything
    // written, staged, learned or logged.
    void reset(bool empty);

    // Messages the module sends to the host.
    void log(std::string message) { log_.push_back(std::move(message)); }
    const std::vector<std::string>& logLines() const { return log_; }
    void clearLog() { log_.clear(); }

    std::string captureDir;
    uint64_t captureSequence = 0;

    ReplyQueue& replies() { return replies_; }

private:
    Lab();
    std::map<PortId, std::unique_ptr<EmulatedPort>> ports_;
    std::vector<std::string> log_;
    ReplyQueue replies_;
};

}  // namespace chassis
