#include "ldp/common.h"

#include "core/parse.h"

namespace zk::ldp {

bool portHasFeature(const char* function, bool (*has)(const Port&), std::initializer_list<PortDependent> options) {
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

bool validLabel(long long label) { return label >= hal::kFirstLdpLabel && label <= hal::kLastLdpLabel; }

// In increment mode each item takes the next label; a fixed label is shared.
bool labelsFit(int labelMode, long long first, long long count) {
    return labelMode == 0 || count < 1 || !validLabel(first) || first + count - 1 <= hal::kLastLdpLabel;
}

bool ipv4Mask(const std::string& text) {
    auto mask = parseIPv4(text);
    if (!mask) return false;
    uint32_t inverted = ~*mask;
    return (inverted & (inverted + 1)) == 0;
}

}  // namespace zk::ldp
