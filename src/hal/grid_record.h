// The size of an emulated grid of routers, as link-state protocols build
// it behind an interface: rows x columns routers, each joined to its right
// and lower neighbour by one link.
#pragma once

#include <climits>
#include <tuple>

#include "hal/basic.h"

namespace hal {

struct EGrid : ERecord {
    // Limit key of the port: a positive key caps the count, 0 or -1 none.
    void SetNumberOfRows(int n, int key) { rows = capped(n, key); }
    void SetNumberOfCols(int n, int key) { cols = capped(n, key); }

    int rows = 2, cols = 2;

    static constexpr auto fields() {
        using R = EGrid;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("NumberOfRows", &R::rows), field("NumberOfCols", &R::cols)));
    }

protected:
    long long routers() const { return (long long)rows * cols; }
    long long links() const {
        if (rows <= 0 || cols <= 0) return 0;
        return (long long)rows * (cols - 1) + (long long)cols * (rows - 1);
    }
    // Counts beyond the range of an int are reported as its largest value.
    static int saturated(long long v) { return v > INT32_MAX ? INT32_MAX : v < INT32_MIN ? INT32_MIN : int(v); }

private:
    static int capped(int n, int key) { return key > 0 && n > key ? key : n; }
};

}  // namespace hal
