#include "core/te_options.h"

#include <cmath>

#include "core/errors.h"
#include "core/parse.h"

namespace zk {

bool adminGroupForm(const std::string& text) { return parseAdminGroup(text).has_value(); }

bool bandwidth(double v) { return std::isfinite(v) && v >= 0; }

const std::array<TeBandwidths::Field, 10> TeBandwidths::kFields = {{
    {"maxBandwidth", &TeBandwidths::maxBandwidth},
    {"maxReservableBandwidth", &TeBandwidths::maxReservableBandwidth},
    {"unreservedBandwidthPriority0", &TeBandwidths::unreservedBandwidthPriority0},
    {"unreservedBandwidthPriority1", &TeBandwidths::unreservedBandwidthPriority1},
    {"unreservedBandwidthPriority2", &TeBandwidths::unreservedBandwidthPriority2},
    {"unreservedBandwidthPriority3", &TeBandwidths::unreservedBandwidthPriority3},
    {"unreservedBandwidthPriority4", &TeBandwidths::unreservedBandwidthPriority4},
    {"unreservedBandwidthPriority5", &TeBandwidths::unreservedBandwidthPriority5},
    {"unreservedBandwidthPriority6", &TeBandwidths::unreservedBandwidthPriority6},
    {"unreservedBandwidthPriority7", &TeBandwidths::unreservedBandwidthPriority7},
}};

hal::EIPAddress validAddress(const std::string& text) { return ipv4Address(text).value_or(hal::EIPAddress{}); }

hal::EBlob adminGroupBlob(const std::string& text) {
    auto group = parseAdminGroup(text).value_or(std::array<uint8_t, 4>{});
    return hal::EBlob({group.begin(), group.end()});
}

void TeBandwidths::loadBandwidths(const hal::ETrafficEngineeringData& te) {
    maxBandwidth = te.maxBandwidth;
    maxReservableBandwidth = te.maxReservableBandwidth;
    for (size_t p = 0; p < 8; ++p) this->*kFields[p + 2].member = te.unreserved[p];
}

void TeBandwidths::fillBandwidths(hal::ETrafficEngineeringData& te) const {
    for (size_t p = 0; p < 8; ++p) te.unreserved[p] = this->*kFields[p + 2].member;
    te.maxBandwidth = maxBandwidth;
    te.maxReservableBandwidth = maxReservableBandwidth;
}

std::string adminGroupText(const hal::EBlob& group) {
    std::string text;
    for (uint8_t b : group.bytes) text += (text.empty() ? "" : " ") + formatText("%02x", b);
    return text;
}

}  // namespace zk
