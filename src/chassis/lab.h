// The port table of the emulated chassis, the host log and the settings of
// the emulation. One per process.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "chassis/port.h"
#include "chassis/replies.h"

namespace chassis {

class Lab {
public:
    static Lab& instance();

    Port* find(const PortId& id);
    Port* find(int c, int d, int p) { return find(PortId{c, d, p}); }
    Port& add(const PortId& id);  // replaces a port of the same triple
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

    // Called when the lab is reset, so that the protocol module can forget
    // its current port.
    void onReset(void (*hook)()) { resetHooks_.push_back(hook); }

private:
    Lab();
    std::map<PortId, std::unique_ptr<Port>> ports_;
    std::vector<std::string> log_;
    ReplyQueue replies_;
    std::vector<void (*)()> resetHooks_;
};

}  // namespace chassis
