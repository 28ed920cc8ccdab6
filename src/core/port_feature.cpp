#include "core/port_feature.h"

#include "core/errors.h"

namespace zk {

bool portHasFeature(const char* function, bool (*has)(const Port&), std::span<const PortDependent> options) {
    Port* port = currentPort();
    if (port && has(*port)) return true;
    if (!port) {
        setLastErrorf("%s: Please select the port to configure port specific features", function);
        return false;
    }
    for (const PortDependent& o : options)
        if (o.differs) setLastErrorf("%s:  %s is not supported on port %s.", function, o.option, portName(*port));
    return false;
}

}  // namespace zk
