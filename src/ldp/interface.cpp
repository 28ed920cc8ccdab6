#include "ldp/interface.h"

#include "binding/collection_methods.h"
#include "core/protocol_interface.h"
#include "ldp/common.h"

namespace zk {

namespace {

bool isAtmPort(const Port& p) { return p.type == "atm"; }

// A hold time of 0 asks for the default; any other must outlast the hellos.
template <class T>
bool holdOutlastsHellos(const T& t) {
    return ldp::holdOutlasts(t.holdTime, t.helloInterval);
}

bool notBelow(int min, int max, int limit) {
    return !ldp::inRange(min, 0, limit) || !ldp::inRange(max, 0, limit) || max >= min;
}

}  // namespace

// VPI/VCI ranges and VC direction are labels of ATM links only (RFC 3035):
// elsewhere the interface is sent without them.
int TCLLdpInterface::intoRecordRest(hal::ELdpInterface& r) {
    r.interfaceId = localInterfaceId(protocolInterfaceDescription);
    const hal::ELdpInterface defaults;
    if (!portHasFeature("TCLLdpInterface::SetLdpInterface()", isAtmPort,
                             {{"atmVcDirection", atmVcDirection != defaults.atmDirection},
                              {"atmLabelRanges", r.atmLabelRanges.Size() > 0}})) {
        r.atmDirection = defaults.atmDirection;
        r.atmLabelRanges.Clear();
    }
    return kOk;
}

static binding::Describe<TCLLdpAtmLabelRange> describeLdpAtmLabelRange("TCLLdpAtmLabelRange", [](auto& c) {
    using T = TCLLdpAtmLabelRange;
    using R = hal::ELdpAtmLabelRange;
    c.constructor();
    c.option("minVpi", &T::minVpi).check(range(0, 4095)).maps(&R::minVpi);
    c.option("maxVpi", &T::maxVpi)
        .check(range(0, 4095))
        .check([](const T& t) { return notBelow(t.minVpi, t.maxVpi, 4095); },
               "TCLLdpAtmLabelRange::Validate()   maxVpi is less than minVpi.")
        .maps(&R::maxVpi);
    c.option("minVci", &T::minVci).check(range(32, 65535)).maps(&R::minVci);
    c.option("maxVci", &T::maxVci)
        .check(range(32, 65535))
        .check([](const T& t) { return notBelow(t.minVci, t.maxVci, 65535); },
               "TCLLdpAtmLabelRange::Validate()   maxVci is less than minVci.")
        .maps(&R::maxVci);
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLLdpInterface> describeLdpInterface("TCLLdpInterface", [](auto& c) {
    using T = TCLLdpInterface;
    using R = hal::ELdpInterface;
    c.template constructor<TCLLdpAtmLabelRange*>("pLdpAtmLabelRange");
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("ipAddress", &T::ipAddress).check(ipv4).maps(&R::address);
    c.option("ipMask", &T::ipMask).check(ldp::ipv4Mask).maps(&R::mask);
    c.option("discoveryMode", &T::discoveryMode).check(range(0, 2)).maps(&R::discoveryMode);
    c.option("labelDistribution", &T::labelDistribution).check(range(1, 2)).maps(&R::labelDistribution);
    c.option("controlMode", &T::controlMode).check(range(1, 2)).maps(&R::controlMode);
    c.option("helloInterval", &T::helloInterval).check(range(1, 65535)).maps(&R::helloInterval);
    c.option("holdTime", &T::holdTime)
        .check(range(0, 65535))
        .check(holdOutlastsHellos<T>, "TCLLdpInterface::Validate()   holdTime must be 0 or more than helloInterval.")
        .maps(&R::holdTime);
    c.option("atmVcDirection", &T::atmVcDirection).check(boolean).maps(&R::atmDirection);
    c.option("protocolInterfaceDescription", &T::protocolInterfaceDescription)
        .check(maxLength(63))
        .maps(&R::interfaceDescription);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::atmLabelRanges>(c, "AtmLabelRange", "atmLabelRangeId", "clearAllAtmLabelRanges");
});

static binding::Describe<TCLLdpTargetedPeer> describeLdpTargetedPeer("TCLLdpTargetedPeer", [](auto& c) {
    using T = TCLLdpTargetedPeer;
    using R = hal::ELdpTargetedPeer;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("peerAddress", &T::peerAddress).check(ipv4).maps(&R::address);
    c.option("helloInterval", &T::helloInterval).check(range(1, 65535)).maps(&R::helloInterval);
    c.option("holdTime", &T::holdTime)
        .check(range(0, 65535))
        .check(holdOutlastsHellos<T>,
               "TCLLdpTargetedPeer::Validate()   holdTime must be 0 or more than helloInterval.")
        .maps(&R::holdTime);
    c.method("setDefault", &T::setDefault);
});

}  // namespace zk
