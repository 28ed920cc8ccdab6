#include "ospfv3/interface.h"

#include "binding/describe.h"
#include "binding/learned_methods.h"
#include "core/ospf_grid_ranges.h"
#include "core/parse.h"
#include "core/port.h"
#include "core/protocol_interface.h"

namespace zk {

std::string ospfV3LearnedKey(const std::string& text) {
    auto a = ipv6Address(text);
    return a ? a->ToString() : text;
}

// ---- interface ----

TCLOspfV3Interface::TCLOspfV3Interface(TCLOspfV3LearnedLsa* pOspfV3LearnedLsa,
                                       TCLOspfV3NetworkRange* pOspfV3NetworkRange)
    : learnedLsas(pOspfV3LearnedLsa), networkRange_(pOspfV3NetworkRange) {
    setDefault();
}

void TCLOspfV3Interface::setDefault() {
    Staged::setDefault();
    numberOfLearnedLsas = 0;
    learnedLsas.drop();
}

int TCLOspfV3Interface::intoRecordRest(hal::EOSPFv3Interface& r) {
    r.portInterfaceId = localInterfaceId(protocolInterfaceDescription);
    attachGrid(r.ranges, connectToDut, networkRange_.get());
    return kOk;
}

void TCLOspfV3Interface::FromRecord(const hal::EOSPFv3Interface& r) {
    Staged::FromRecord(r);
    loadAttachedGrid(networkRange_.get(), work().ranges);
}

// The MTU must lie within the port's range, so it needs a port.
static void checkMtu(const TCLOspfV3Interface& t, Checks& c) {
    if (Port* port = currentPort())
        c.that(t.mtuSize >= port->mtuMin && t.mtuSize <= port->mtuMax, "TCLOspfV3Interface::Validate()   Invalid mtuSize.");
    else
        c.fail("TCLOspfV3Interface::Validate()   You have not selected the port.");
}

static binding::Describe<TCLOspfV3Interface> describeOspfV3Interface("TCLOspfV3Interface", [](auto& c) {
    using T = TCLOspfV3Interface;
    using R = hal::EOSPFv3Interface;
    c.template constructor<TCLOspfV3LearnedLsa*, TCLOspfV3NetworkRange*>("pOspfV3LearnedLsa", "pOspfV3NetworkRange");
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("connectToDut", &T::connectToDut).check(boolean).maps(&R::connectedToDut);
    c.option("ipAddress", &T::ipAddress).check(ipv6).maps(&R::address);
    c.option("prefixLength", &T::prefixLength).check(range(0, 128)).maps(&R::prefixLength);
    c.option("interfaceId", &T::interfaceId).check(atLeast(0)).maps(&R::interfaceId);  // 32 bits on the wire
    c.option("instanceId", &T::instanceId).check(range(0, 255)).maps(&R::instanceId);
    c.option("areaId", &T::areaId).check(atLeast(0)).maps(&R::area);
    c.option("networkType", &T::networkType).check(range(1, 2)).maps(&R::networkType);
    c.option("options", &T::options).check(range(0, 63)).maps(&R::options);  // ospfV3InterfaceOption* bits
    c.option("priority", &T::priority).check(range(0, 255)).maps(&R::priority);
    c.option("helloInterval", &T::helloInterval).check(range(1, 65535)).maps(&R::hello);
    // A dead interval no longer than the hello interval ends adjacencies
    // between hellos: taken, and the script is told.
    c.option("deadInterval", &T::deadInterval)
        .check(range(1, 65535))
        .checkWith([](const T& t, Checks& c) {
            if (c.ok() && t.deadInterval <= t.helloInterval)
                setLastError("TCLOspfV3Interface::Validate()   deadInterval must be above helloInterval.");
        })
        .maps(&R::dead);
    c.option("metric", &T::metric).check(range(0, 65535)).maps(&R::metric);
    c.option("mtuSize", &T::mtuSize).checkWith(checkMtu).maps(&R::mtu);
    c.option("protocolInterfaceDescription", &T::protocolInterfaceDescription).maps(&R::interfaceDescription);
    c.readOnly("numberOfLearnedLsas", &T::numberOfLearnedLsas);
    c.method("setDefault", &T::setDefault);
    describeLearned<&T::learnedLsas, &T::numberOfLearnedLsas>(
        c, {.kind = kOspfV3LsasKind,
            .notLoaded = "The interface has not been loaded from a router.",
            .key = [](const T& t) { return ospfV3LearnedKey(t.ipAddress); },
            .loaded = [](const T& t) { return t.work().id.IsValid(); },
            .request = "requestLearnedLsa",
            .list = "getLearnedLsaList",
            .first = "getFirstLearnedLsa",
            .next = "getNextLearnedLsa",
            .noneYet = "No learned LSAs have arrived yet.",
            .noMore = "No more learned LSAs.",
            .ownRecord = true});
});

}  // namespace zk
