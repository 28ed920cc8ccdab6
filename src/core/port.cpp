#include "core/port.h"

namespace zk {
namespace {
std::optional<PortId>& current() {
    static std::optional<PortId> id;
    return id;
}
}  // namespace

Port* findPort(int c, int d, int p) { return equipment().find(PortId{c, d, p}); }

int selectPort(int c, int d, int p, Protocol protocol) {
    Port* port = findPort(c, d, p);
    if (!port) return kNoPort;
    if (!port->isLicensed(protocol)) return kNotLicensed;
    current() = port->id;
    return kOk;
}

Port* currentPort() {
    auto& id = current();
    return id ? equipment().find(*id) : nullptr;
}

Port* usablePort() {
    Port* p = currentPort();
    return p && p->available ? p : nullptr;
}

void clearCurrentPort() { current().reset(); }

}  // namespace zk
