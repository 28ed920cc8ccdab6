#include "core/protocol_interface.h"

#include "core/port.h"

namespace zk {

std::optional<int> interfaceIdOf(const std::string& description) {
    const Port* port = usablePort();
    const ProtocolInterface* i = port ? port->findInterface(description) : nullptr;
    if (!i) return std::nullopt;
    return i->localId;
}

int localInterfaceId(const std::string& description) {
    const Port* port = currentPort();
    const ProtocolInterface* i = port ? port->findInterface(description) : nullptr;
    return i ? i->localId : 0;
}

std::string interfaceDescriptionOf(std::optional<int> localId) {
    const Port* port = usablePort();
    if (!port || !localId) return "";
    for (const auto& i : port->interfaces)
        if (i.localId == *localId) return i.description;
    return "";
}

int childListsReady() { return usablePort() ? kOk : kNoPort; }

}  // namespace zk
