#include "isis/interface.h"

#include "core/parse.h"
#include "core/port.h"
#include "core/protocol_interface.h"
#include "isis/forms.h"

namespace zk {

int TCLIsisInterface::intoRecordRest(hal::EISISInterface& r) {
    fillBandwidths(r.te);
    r.interfaceId = localInterfaceId(protocolInterfaceDescription);
    static const isis::PortFeature<hal::EISISInterface> kFeatures[] = {
        {"enableTrafficEngineering", isis::restoreDefault<&hal::EISISInterface::teEnabled>}};
    isis::applyPortFeatures(r, "TCLIsisInterface::SetIsisInterface()", kFeatures);
    return kOk;
}

namespace {

// The holding time an IIH carries is hello times multiplier, in 16 bits.
bool holdingTimeFits(const TCLIsisInterface& t) {
    bool timers = t.helloInterval >= 1 && t.helloInterval <= 65535 && t.holdMultiplier >= 2 && t.holdMultiplier <= 100;
    return !timers || (long long)t.helloInterval * t.holdMultiplier <= 65535;
}

}  // namespace

static binding::Describe<TCLIsisInterface> describeIsisInterface("TCLIsisInterface", [](auto& c) {
    using T = TCLIsisInterface;
    using R = hal::EISISInterface;
    using TE = hal::ETrafficEngineeringData;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("connectToDut", &T::connectToDut).check(boolean).maps(&R::connectedToDut);
    c.option("ipAddress", &T::ipAddress).check(ipv4).maps(&R::address);
    c.option("ipMask", &T::ipMask)
        .check(ipv4)
        .check([](const std::string& m) { return !ipv4(m) || contiguousMask(*parseIPv4(m)); },
               "TCLIsisInterface::Validate()   ipMask is not a contiguous mask.")
        .maps(&R::mask);
    c.option("ipV6Address", &T::ipV6Address).check(ipv6).maps(&R::ipv6Address);
    c.option("ipV6PrefixLength", &T::ipV6PrefixLength).check(range(0, 128)).maps(&R::ipv6PrefixLength);
    c.option("networkType", &T::networkType).check(range(1, 2)).maps(&R::networkType);
    c.option("level", &T::level).check(range(1, 3)).maps(&R::level);
    c.option("metric", &T::metric).check(range(0, isis::kMaxWideMetric)).maps(&R::metric);
    c.option("helloInterval", &T::helloInterval).check(range(1, 65535)).maps(&R::helloInterval);
    c.option("holdMultiplier", &T::holdMultiplier)
        .check(range(2, 100))
        .check(holdingTimeFits, "TCLIsisInterface::Validate()   helloInterval times holdMultiplier must not exceed "
                                "65535 seconds.")
        .maps(&R::holdMultiplier);
    c.option("priority", &T::priority).check(range(0, 127)).maps(&R::priority);
    c.option("circuitAuthType", &T::circuitAuthType).check(range(0, 1)).maps(&R::authType);
    c.option("circuitPassword", &T::circuitPassword).check(maxLength(isis::kMaxPassword)).maps(&R::password);
    c.option("enableTrafficEngineering", &T::enableTrafficEngineering).check(boolean).maps(&R::teEnabled);
    c.option("linkMetric", &T::linkMetric).check(range(0, isis::kMaxWideMetric)).maps(&R::te, &TE::metric);
    c.option("adminGroup", &T::adminGroup)
        .check(adminGroupForm)
        .mapsVia(adminGroupBlob, adminGroupText, &R::te, &TE::adminGroup);
    describeCheckedBandwidths(c);
    c.option("protocolInterfaceDescription", &T::protocolInterfaceDescription).maps(&R::interfaceDescription);
    c.method("setDefault", &T::setDefault);
});

}  // namespace zk
