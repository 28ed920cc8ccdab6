// What the grids of both OSPF versions share: an emulated grid of routers
// behind an interface, rows x columns, entered at one router, the router
// IDs counted up from a first one. The subnets between the routers are
// the version's own (IPv4 or IPv6) and live in the derived record.
#pragma once

#include <climits>
#include <cstdint>
#include <string>

#include "hal/basic.h"

namespace hal {

struct EOspfGrid : ERecord {
    // Limit key of the port: a positive key caps the count, 0 or -1 none.
    void SetNumberOfRows(int n, int key) { rows = capped(n, key); }
    void SetNumberOfCols(int n, int key) { cols = capped(n, key); }

    int rows = 2, cols = 2;
    int entryRow = 1, entryCol = 1;
    EIPAddress firstRouterId = EIPAddress::FromV4(0x0A000001);  // 10.0.0.1
    uint32_t routerIdStep = 1;

    // Every router is joined to its right and lower neighbour by one subnet.
    // Counts beyond the range of an int are reported as its largest value.
    int CalcNoOfRouters() const { return saturated(routers()); }
    int CalcNoOfSubnets() const { return saturated(subnets()); }

    static constexpr auto fields() {
        using R = EOspfGrid;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("NumberOfRows", &R::rows), field("NumberOfCols", &R::cols),
                                          field("EntryPointRow", &R::entryRow),
                                          field("EntryPointColumn", &R::entryCol),
                                          field("FirstRouterID", &R::firstRouterId),
                                          field("RouterIDIncrement", &R::routerIdStep)));
    }

protected:
    std::string Description() const {
        return "Auto generated " + std::to_string(rows) + " by " + std::to_string(cols) + " grid";
    }
    long long routers() const { return (long long)rows * cols; }
    long long subnets() const {
        if (rows <= 0 || cols <= 0) return 0;
        return (long long)rows * (cols - 1) + (long long)cols * (rows - 1);
    }
    static int saturated(long long v) { return v > INT32_MAX ? INT32_MAX : v < INT32_MIN ? INT32_MIN : int(v); }

private:
    static int capped(int n, int key) { return key > 0 && n > key ? key : n; }
};

}  // namespace hal
