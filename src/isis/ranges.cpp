#include "isis/ranges.h"

#include "binding/collection_methods.h"
#include "core/grid_size.h"
#include "core/parse.h"
#include "core/port.h"
#include "core/span.h"
#include "isis/forms.h"

namespace zk {

namespace {

bool prefixFits(const TCLIsisRouteRange& t) {
    int longest = ipv6(t.networkIpAddress) ? 128 : 32;
    return t.prefix >= 0 && t.prefix <= longest;
}

uint32_t addressStep(const std::string& text) { return parseIPv4(text).value_or(0); }  // most significant byte first

uint64_t systemIdValue(const std::string& text) {
    uint64_t v = 0;
    for (uint8_t b : isis::systemIdBlob(text).bytes) v = v << 8 | b;
    return v;
}

// The routers of a grid whose size passed its own checks; 0 otherwise.
long long gridRouters(const TCLIsisGrid& t) {
    return t.numRows < 1 || t.numColumns < 1 ? 0 : (long long)t.numRows * t.numColumns;
}

}  // namespace

// Every TE path runs between nodes of the grid as the script sized it
// (a size that fails its own check is not held against the paths).
static bool pathsInside(const TCLIsisGrid& t) {
    bool inside = true;
    if (t.numRows < 1 || t.numColumns < 1) return inside;
    t.work().tePaths.ForEach([&](const hal::EISISGridTePath& p) {
        inside = inside && p.sourceRow <= t.numRows && p.destinationRow <= t.numRows &&
                 p.sourceColumn <= t.numColumns && p.destinationColumn <= t.numColumns;
    });
    return inside;
}

static binding::Describe<TCLIsisRouteRange> describeIsisRouteRange("TCLIsisRouteRange", [](auto& c) {
    using T = TCLIsisRouteRange;
    using R = hal::EISISRouteRange;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("networkIpAddress", &T::networkIpAddress)
        .check([](const std::string& s) { return ipv4(s) || ipv6(s); })
        .maps(&R::firstPrefix);
    c.option("prefix", &T::prefix).check(prefixFits).maps(&R::prefixLength);
    c.option("numberOfNetworks", &T::numberOfNetworks).check(atLeast(1)).maps(&R::count);
    // A range that runs past the end of the address space is taken, and
    // the script is told.
    c.option("networkStep", &T::networkStep)
        .check(atLeast(1))
        .checkWith([](const T& t, Checks& c) {
            if (c.ok() && !networksFit(t.networkIpAddress, t.prefix, t.numberOfNetworks, t.networkStep))
                setLastError("TCLIsisRouteRange::Validate()   numberOfNetworks runs past the address space from networkIpAddress.");
        })
        .maps(&R::step);
    c.option("metric", &T::metric).check(range(0, isis::kMaxWideMetric)).maps(&R::metric);
    c.option("routeOrigin", &T::routeOrigin).check(range(0, 1)).maps(&R::origin);
    c.option("enableUpDownBit", &T::enableUpDownBit).check(boolean).maps(&R::upDown);
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLIsisGridTePath> describeIsisGridTePath("TCLIsisGridTePath", [](auto& c) {
    using T = TCLIsisGridTePath;
    using R = hal::EISISGridTePath;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("sourceRow", &T::sourceRow).check(atLeast(1)).maps(&R::sourceRow);
    c.option("sourceColumn", &T::sourceColumn).check(atLeast(1)).maps(&R::sourceColumn);
    c.option("destinationRow", &T::destinationRow).check(atLeast(1)).maps(&R::destinationRow);
    c.option("destinationColumn", &T::destinationColumn).check(atLeast(1)).maps(&R::destinationColumn);
    c.option("bandwidth", &T::bandwidth).check(bandwidth).maps(&R::bandwidth);
    c.option("adminGroup", &T::adminGroup).check(adminGroupForm).mapsVia(adminGroupBlob, adminGroupText, &R::adminGroup);
    c.method("setDefault", &T::setDefault);
});

// ---- grid ----

TCLIsisGrid::TCLIsisGrid(TCLIsisRouteRange* pIsisRouteRange, TCLIsisGridTePath* pIsisGridTePath)
    : routeRanges(this, pIsisRouteRange), tePaths(this, pIsisGridTePath) {
    setDefault();
}

int TCLIsisGrid::intoRecordRest(hal::EISISGrid& r) {
    r.firstSubnet = hal::EIPMaskedAddress(validAddress(firstSubnetIpAddress), maskWidth);
    fillBandwidths(r.te);
    static const isis::PortFeature<hal::EISISGrid> kFeatures[] = {
        {"enableTe", isis::restoreDefault<&hal::EISISGrid::teEnabled>}};
    isis::applyPortFeatures(r, "TCLIsisGrid::SetIsisGrid()", kFeatures);
    setGridSize(r, numRows, numColumns, "TCLIsisGrid::SetIsisGrid()");
    keepEntryInside(r.entryRow, r.entryCol, r);
    // A TE path between nodes the port does not emulate cannot be set up.
    bool inside = true;
    r.tePaths.ForEach([&](const hal::EISISGridTePath& p) {
        inside = inside && p.sourceRow <= r.rows && p.destinationRow <= r.rows && p.sourceColumn <= r.cols &&
                 p.destinationColumn <= r.cols;
    });
    if (Port* port = currentPort(); port && !inside) {
        setLastErrorf("TCLIsisGrid::SetIsisGrid()   A TE path leaves the grid of %d by %d that port %s emulates.", r.rows,
                      r.cols, portName(*port));
        return kFail;
    }
    loadCounts(r);
    return kOk;
}

void TCLIsisGrid::loadCounts(const hal::EISISGrid& r) {
    numRouters = r.CalcNoOfRouters();
    numLinks = r.CalcNoOfLinks();
}

// Rows and columns read back as the port left them.
void TCLIsisGrid::fromRecordRest(const hal::EISISGrid& r) {
    numRows = r.rows;
    numColumns = r.cols;
    firstSubnetIpAddress = r.firstSubnet.address.ToString();
    maskWidth = r.firstSubnet.prefix;
    loadBandwidths(r.te);
    loadCounts(r);
}

static binding::Describe<TCLIsisGrid> describeIsisGrid("TCLIsisGrid", [](auto& c) {
    using T = TCLIsisGrid;
    using R = hal::EISISGrid;
    using TE = hal::ETrafficEngineeringData;
    c.template constructor<TCLIsisRouteRange*, TCLIsisGridTePath*>("pIsisRouteRange", "pIsisGridTePath");
    c.option("numRows", &T::numRows).check(atLeast(1));
    c.option("numColumns", &T::numColumns)
        .check(atLeast(1))
        .check(pathsInside, "TCLIsisGrid::Validate()   A TE path leaves the grid of numRows by numColumns.")
        // What does not fit is taken, and the script is told.
        .checkWith([](const T& t, Checks& c) {
            if (c.ok() && gridRouters(t) > INT32_MAX)
                setLastError("TCLIsisGrid::Validate()   numRows by numColumns is more than 2147483647 routers.");
        });
    // The entry point is the node the emulated router connects to; it is
    // held against a grid size only when that passed its own check.
    c.option("entryPointRow", &T::entryPointRow)
        .check([](const T& t) { return t.entryPointRow >= 1 && (t.numRows < 1 || t.entryPointRow <= t.numRows); })
        .maps(&R::entryRow);
    c.option("entryPointColumn", &T::entryPointColumn)
        .check([](const T& t) {
            return t.entryPointColumn >= 1 && (t.numColumns < 1 || t.entryPointColumn <= t.numColumns);
        })
        .maps(&R::entryCol);
    c.option("firstSystemId", &T::firstSystemId)
        .check(isis::systemId)
        .mapsVia(isis::systemIdBlob, isis::systemIdText, &R::firstSystemId);
    c.option("systemIdIncrementBy", &T::systemIdIncrementBy)
        .check(isis::systemId)
        .checkWith([](const T& t, Checks& c) {
            if (c.ok() && isis::systemId(t.firstSystemId) && isis::systemId(t.systemIdIncrementBy) &&
                !stepsFit(systemIdValue(t.firstSystemId), gridRouters(t), systemIdValue(t.systemIdIncrementBy),
                          (uint64_t(1) << 48) - 1))
                setLastError("TCLIsisGrid::Validate()   The system IDs of the grid run past ffff.ffff.ffff from firstSystemId.");
        })
        .mapsVia(isis::systemIdBlob, isis::systemIdText, &R::systemIdStep);
    c.option("firstRouterId", &T::firstRouterId).check(ipv4).maps(&R::firstRouterId);
    c.option("routerIdIncrementBy", &T::routerIdIncrementBy)
        .check(ipv4)
        .checkWith([](const T& t, Checks& c) {
            if (c.ok() && ipv4(t.firstRouterId) && ipv4(t.routerIdIncrementBy) &&
                !addressesFit(t.firstRouterId, gridRouters(t), addressStep(t.routerIdIncrementBy)))
                setLastError("TCLIsisGrid::Validate()   The router IDs of the grid run past 255.255.255.255 from firstRouterId.");
        })
        .mapsVia(addressStep, formatIPv4, &R::routerIdStep);
    c.option("firstSubnetIpAddress", &T::firstSubnetIpAddress).check(ipv4);
    c.option("subnetIpIncrementBy", &T::subnetIpIncrementBy).check(ipv4).mapsVia(addressStep, formatIPv4, &R::subnetStep);
    c.option("maskWidth", &T::maskWidth).check(range(0, 32));
    c.option("linkType", &T::linkType).check(range(0, 1)).maps(&R::linkType);
    c.option("metric", &T::metric).check(range(0, isis::kMaxWideMetric)).maps(&R::metric);
    c.option("enableTe", &T::enableTe).check(boolean).maps(&R::teEnabled);
    c.option("linkMetric", &T::linkMetric).check(range(0, isis::kMaxWideMetric)).maps(&R::te, &TE::metric);
    c.option("adminGroup", &T::adminGroup)
        .check(adminGroupForm)
        .mapsVia(adminGroupBlob, adminGroupText, &R::te, &TE::adminGroup);
    describeCheckedBandwidths(c);
    c.readOnly("numRouters", &T::numRouters);
    c.readOnly("numLinks", &T::numLinks);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::routeRanges>(c, "RouteRange", "routeRangeLocalId", "clearAllRouteRanges");
    describeCollection<&T::tePaths>(c, "TePath", "tePathLocalId", "clearAllTePaths");
});

}  // namespace zk
