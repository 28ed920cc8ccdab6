#include "stp/interface.h"

#include "stp/forms.h"

namespace zk {

static binding::Describe<TCLStpInterface> describeStpInterface("TCLStpInterface", [](auto& c) {
    using T = TCLStpInterface;
    using R = hal::EStpInterface;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("portNumber", &T::portNumber).check(range(1, stp::kLastPortNumber)).maps(&R::portNumber);
    c.option("portPriority", &T::portPriority)
        .check(range(0, 240))
        .check([](const T& t) { return stp::inSteps(t.portPriority, 240, stp::kPortPriorityStep); },
               "TCLStpInterface::Validate()   portPriority must be a multiple of 16.")
        .maps(&R::portPriority);
    c.option("pathCost", &T::pathCost).check(range(1, stp::kMaxPathCost)).maps(&R::pathCost);
    c.option("linkType", &T::linkType).check(range(0, 1)).maps(&R::linkType);
    c.option("enableEdgePort", &T::enableEdgePort).check(boolean).maps(&R::edgePort);
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLStpLan> describeStpLan("TCLStpLan", [](auto& c) {
    using T = TCLStpLan;
    using R = hal::EStpLan;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("portNumber", &T::portNumber).check(range(1, stp::kLastPortNumber)).maps(&R::portNumber);
    c.option("firstMac", &T::firstMac).check(stp::individualMac).mapsVia(macBlob, macText, &R::firstMac);
    c.option("count", &T::count)
        .check(atLeast(1))
        .check(
            [](const T& t) {
                if (!stp::individualMac(t.firstMac) || t.count < 1) return true;  // refused by their own checks
                return (*parseMac(t.firstMac) & stp::kMacLowBits) + uint64_t(t.count - 1) <= stp::kMacLowBits;
            },
            "TCLStpLan::Validate()   count runs from firstMac into group MAC addresses.")
        .maps(&R::count);
    c.option("vlanId", &T::vlanId).check(range(0, 4094)).maps(&R::vlanId);
    c.method("setDefault", &T::setDefault);
});

}  // namespace zk
