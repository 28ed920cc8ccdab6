// Traffic-engineering link data that link-state protocols advertise
// (OSPF's link TLV, IS-IS's extended IS reachability sub-TLVs).
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "hal/basic.h"

namespace hal {

// Link data of traffic engineering (the link TLV's sub-TLVs); bandwidths
// are in bytes per second as on the wire.
struct ETrafficEngineeringData {
    static constexpr double kGigabit = 125000000.0;  // 1 Gbit/s in bytes per second
    double maxBandwidth = kGigabit;
    double maxReservableBandwidth = kGigabit;
    uint32_t metric = 0;
    EBlob adminGroup{std::vector<uint8_t>(4, 0)};
    std::array<double, 8> unreserved{kGigabit, kGigabit, kGigabit, kGigabit, kGigabit, kGigabit, kGigabit, kGigabit};

    static constexpr auto fields() {
        using R = ETrafficEngineeringData;
        return hal::fields(field("MaxBandwidth", &R::maxBandwidth, "bytes per second"),
                           field("MaxReservableBandwidth", &R::maxReservableBandwidth),
                           field("Metric", &R::metric), field("AdministrativeGroup", &R::adminGroup),
                           field("UnreservedBandwidth", &R::unreserved, "per priority 0 to 7"));
    }
};

}  // namespace hal
