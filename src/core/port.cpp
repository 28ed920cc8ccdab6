#include "core/port.h"

namespace zk {
namespace {
std::optional<chassis::PortId>& current() {
    static std::optional<chassis::PortId> id;
    return id;
}

struct ResetHook {
    ResetHook() {
        chassis::Lab::instance().onReset([] { current().reset(); });
    }
};
}  // namespace

Port* findPort(int c, int d, int p) { return chassis::Lab::instance().find(c, d, p); }

int selectPort(int c, int d, int p, Protocol protocol) {
    static ResetHook hook;
    Port* port = findPort(c, d, p);
    if (!port) return kNoPort;
    if (!port->isLicensed(protocol)) return kNotLicensed;
    current() = port->id;
    return kOk;
}

Port* currentPort() {
    auto& id = current();
    return id ? chassis::Lab::instance().find(*id) : nullptr;
}

Port* usablePort() {
    Port* p = currentPort();
    return p && p->available ? p : nullptr;
}

void clearCurrentPort() { current().reset(); }

}  // namespace zk
