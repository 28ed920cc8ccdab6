// What the grids of both OSPF versions share: an emulated grid of routers
// behind an interface, entered at one router, the router IDs counted up
// from a first one. The subnets between the routers are the version's own
// (IPv4 or IPv6) and live in the derived record.
#pragma once

#include <string>

#include "hal/grid_record.h"

namespace hal {

struct EOSPFGrid : EGrid {
    int entryRow = 1, entryCol = 1;
    EIPAddress firstRouterId = EIPAddress::FromV4(0x0A000001);  // 10.0.0.1
    uint32_t routerIdStep = 1;

    int CalcNoOfRouters() const { return saturated(routers()); }
    int CalcNoOfSubnets() const { return saturated(links()); }

    static constexpr auto fields() {
        using R = EOSPFGrid;
        return std::tuple_cat(EGrid::fields(),
                              hal::fields(field("EntryPointRow", &R::entryRow), field("EntryPointColumn", &R::entryCol),
                                          field("FirstRouterID", &R::firstRouterId),
                                          field("RouterIDIncrement", &R::routerIdStep)));
    }

protected:
    std::string Description() const {
        return "Auto generated " + std::to_string(rows) + " by " + std::to_string(cols) + " grid";
    }
};

}  // namespace hal
