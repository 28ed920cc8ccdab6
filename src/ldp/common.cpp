#include "ldp/common.h"

#include "core/checks.h"
#include "core/parse.h"

namespace zk::ldp {

bool validLabel(long long label) { return label >= hal::kFirstLdpLabel && label <= hal::kLastLdpLabel; }

// In increment mode each item takes the next label; a fixed label is shared.
bool labelsFit(int labelMode, long long first, long long count) {
    return labelMode == 0 || count < 1 || !validLabel(first) || first + count - 1 <= hal::kLastLdpLabel;
}

bool ipv4Mask(const std::string& text) {
    auto mask = parseIPv4(text);
    return mask && contiguousMask(*mask);
}

}  // namespace zk::ldp
