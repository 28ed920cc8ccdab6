#include "core/grid_size.h"

#include "core/errors.h"
#include "core/port.h"

namespace zk {

void setGridSize(hal::EGrid& r, int numRows, int numColumns, const char* where) {
    Port* port = currentPort();
    if (!port) {
        r.SetNumberOfCols(numColumns, -1);
        r.SetNumberOfRows(numRows, -1);
        return;
    }
    int key = port->gridLimit;
    r.SetNumberOfRows(numRows, key);
    if (r.rows != numRows)
        setLastErrorf("%s   Selected value for numRows is not supported for this configuration on port %s. numRows is "
                      "changed to valid number %d.",
                      where, portName(*port), r.rows);
    r.SetNumberOfCols(numColumns, key);
    if (r.cols != numColumns)
        setLastErrorf("%s   Selected value for numColumns is not supported for this configuration on port %s. "
                      "numColumns is changed to valid number %d.",
                      where, portName(*port), r.cols);
}

void keepEntryInside(int& entryRow, int& entryColumn, const hal::EGrid& r) {
    if (r.rows >= 0 && entryRow > r.rows) entryRow = r.rows;
    if (r.cols >= 0 && entryColumn > r.cols) entryColumn = r.cols;
}

}  // namespace zk
