// What the network ranges of both OSPF versions share beyond their record:
// the port decides how large a grid it emulates.
#pragma once

#include "core/errors.h"
#include "core/grid_size.h"
#include "hal/ospf_grid_record.h"

namespace zk {

// The grid behind an interface (`ranges` of its record): an interface not
// connected to the device under test takes the staging network range; a
// range that does not convert leaves the list as it was. An interface
// towards the device under test has no grid behind it.
template <class Staging, class List>
void attachGrid(List& ranges, int connectToDut, Staging* staging) {
    if (connectToDut != 0) {
        ranges.Clear();
        return;
    }
    typename Staging::Record range;
    if (staging && staging->ToRecord(range) == kOk) {
        ranges.Clear();
        ranges.Add(range);
    }
}

// The staging network range of an interface loaded from a record shows the
// grid behind it, if there is one.
template <class Staging, class List>
void loadAttachedGrid(Staging* staging, const List& ranges) {
    if (staging && ranges.Size() > 0) staging->FromRecord(*ranges.At(0));
}

// The options of a network range that its record keeps in another form:
// the grid as the port lowered it, the first subnet with its mask, the
// B and E bits, and the counts the record computes.
template <class T, class R>
void loadGridCounts(T& t, const R& r) {
    t.numSubnets = r.CalcNoOfSubnets();
    t.numRouters = r.CalcNoOfRouters();
    t.numGeneratedLsas = r.CalcNoOfGeneratedLSAs();
}
template <class T, class R>
void loadGrid(T& t, const R& r) {
    t.numRows = r.rows;
    t.numColumns = r.cols;
    t.firstSubnetIpAddress = r.firstSubnet.address.ToString();
    t.maskWidth = r.firstSubnet.prefix;
    t.enableBBit = (r.bits & 1) != 0;
    t.enableEBit = (r.bits & 2) != 0;
    loadGridCounts(t, r);
}

}  // namespace zk
