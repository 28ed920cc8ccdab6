// Traffic-engineering options that interfaces, grids and LSAs of the
// link-state protocols share, and the text forms of their values.
#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "hal/te_data.h"

namespace zk {

// Bandwidths of traffic engineering (bytes per second): OSPF interfaces
// and network ranges carry them to the HAL as they stand and only read
// them back; OSPF user LSAs and the IS-IS classes let scripts set them.
struct TeBandwidths {
    double maxBandwidth = 0;
    double maxReservableBandwidth = 0;
    double unreservedBandwidthPriority0 = 0, unreservedBandwidthPriority1 = 0, unreservedBandwidthPriority2 = 0,
           unreservedBandwidthPriority3 = 0, unreservedBandwidthPriority4 = 0, unreservedBandwidthPriority5 = 0,
           unreservedBandwidthPriority6 = 0, unreservedBandwidthPriority7 = 0;

    struct Field {
        const char* name;
        double TeBandwidths::*member;
    };
    // maxBandwidth, maxReservableBandwidth, then priorities 0 to 7.
    static const std::array<Field, 10> kFields;

    void loadBandwidths(const hal::ETrafficEngineeringData& te);
    void fillBandwidths(hal::ETrafficEngineeringData& te) const;
};

// `c` is a class description (binding::ClassDesc).
template <class C>
void describeBandwidths(C& c, size_t first, size_t last, bool writable) {
    for (size_t i = first; i <= last; ++i) {
        const auto& f = TeBandwidths::kFields[i];
        if (writable) c.option(f.name, f.member);
        else c.readOnly(f.name, f.member);
    }
}
template <class C>
void describeMaxBandwidths(C& c, bool writable = false) {
    describeBandwidths(c, 0, 1, writable);
}
template <class C>
void describeUnreservedBandwidths(C& c, bool writable = false) {
    describeBandwidths(c, 2, 9, writable);
}

// A bandwidth a script may set: bytes per second, finite and not negative.
bool bandwidth(double bytesPerSecond);
// Every bandwidth option, writable, each checked with `bandwidth` under
// the class's usual message.
template <class C>
void describeCheckedBandwidths(C& c) {
    for (const auto& f : TeBandwidths::kFields) c.option(f.name, f.member).check(bandwidth);
}

// Text forms of options that validation has already accepted.
hal::EIPAddress validAddress(const std::string& ipv4Text);  // 0.0.0.0 for anything else
hal::EBlob adminGroupBlob(const std::string& text);         // four bytes
bool adminGroupForm(const std::string& text);               // four bytes of byte text, or dotted
// The administrative group as scripts read it back: four hex bytes, "00 00 00 0a".
std::string adminGroupText(const hal::EBlob& group);

}  // namespace zk
