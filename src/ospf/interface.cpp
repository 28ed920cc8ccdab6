#include "ospf/interface.h"

#include <tcl.h>

#include "binding/describe.h"
#include "binding/learned_methods.h"
#include "core/ospf_grid_ranges.h"
#include "core/parse.h"
#include "core/port.h"
#include "core/port_feature.h"
#include "core/protocol_interface.h"

namespace zk {

// The interface address as learned LSAs are filed under it: dotted.
static std::string learnedLsaKey(const std::string& ipText) {
    auto a = ipv4Address(ipText);
    return a ? a->ToString() : ipText;
}

TCLOspfInterface::TCLOspfInterface(TCLOspfUserLsa* pOspfUserLsa, TCLOspfNetworkRange* pOspfNetworkRange)
    : learnedLsas(pOspfUserLsa), networkRange_(pOspfNetworkRange) {
    setDefault();
}

void TCLOspfInterface::setDefault() {
    Staged::setDefault();
    numberOfLearnedLsas = 0;
    learnedLsas.drop();
}

int TCLOspfInterface::intoRecordRest(hal::EOSPFInterface& r) {
    fillBandwidths(r.te);
    r.interfaceId = localInterfaceId(protocolInterfaceDescription);
    attachGrid(r.ranges, connectToDut, networkRange_.get());
    setPortFeatures(r);
    return kOk;
}

// Authentication and the point-to-multipoint neighbour need the port's OSPF
// features; elsewhere the HAL keeps its defaults and a differing option is
// reported. These are warnings: the conversion goes on.
void TCLOspfInterface::setPortFeatures(hal::EOSPFInterface& r) const {
    const hal::EOSPFInterface defaults;  // VerifyDefaultSettings
    if (portHasFeature("TCLOspfInterface::SetOspfInterface()", [](const Port& p) { return p.ospfFeatures != 0; },
                       {{"authenticationMethod", authenticationMethod != defaults.authMethod},
                        {"md5KeyId", md5KeyId != defaults.md5KeyId},
                        {"password", password != defaults.password},
                        {"md5Key", md5Key != defaults.md5Key},
                        {"neighborIp", neighborIp != defaults.neighborIp.ToString()}}))
        return;  // the options went in as they are
    r.authMethod = defaults.authMethod;
    r.md5KeyId = defaults.md5KeyId;
    r.password = defaults.password;
    r.md5Key = defaults.md5Key;
    r.neighborIp = defaults.neighborIp;
}

void TCLOspfInterface::FromRecord(const hal::EOSPFInterface& r) {
    Staged::FromRecord(r);
    loadAttachedGrid(networkRange_.get(), work().ranges);
}

// Checks in the order the equipment has always run them; the
// authentication check ends validation at once on an overlong key.
static void checkAuthentication(const TCLOspfInterface& t, Checks& c) {
    switch (t.authenticationMethod) {
    case 0:
        break;
    case 1:
        if (t.password.size() > 8) {
            c.fail("TCLOspfInterface::Validate()   The Max size of password is 8 characters.");
            c.stop();
        }
        break;
    case 2:
        c.range(t.md5KeyId, 0, 255, "TCLOspfInterface::Validate()   Invalid md5KeyId");
        if (t.md5Key.size() > 16) {
            c.fail("TCLOspfInterface::Validate()   The Max size of md5Key is 16 characters.");
            c.stop();
        }
        break;
    default:
        c.fail("TCLOspfInterface::Validate()    Invalid authenticationMethod.");
        break;
    }
}

static void checkMtu(const TCLOspfInterface& t, Checks& c) {
    if (Port* port = currentPort()) {
        if (t.mtuSize < port->mtuMin || t.mtuSize > port->mtuMax)
            c.fail(formatText("TCLOspfInterface::Validate()   Invalid mtuSize it should be between %d and %d on port %s",
                              port->mtuMin, port->mtuMax, portName(*port)));
    } else {
        c.fail("TCLOspfInterface::Validate()   You have not selected the port.");
    }
}

static binding::Describe<TCLOspfInterface> describeOspfInterface("TCLOspfInterface", [](auto& c) {
    using T = TCLOspfInterface;
    using R = hal::EOSPFInterface;
    using TE = hal::ETrafficEngineeringData;
    auto address = [](const hal::EIPAddress& a) { return a.ToString(); };
    c.template constructor<TCLOspfUserLsa*, TCLOspfNetworkRange*>("pOspfUserLsa", "pOspfNetworkRange");
    c.option("enable", &T::enable).check(boolean, "TCLOspfInterface::Validate()    Invalid enable.").maps(&R::enabled);
    c.option("connectToDut", &T::connectToDut)
        .check(boolean, "TCLOspfInterface::Validate()    Invalid connectToDut.")
        .maps(&R::connectedToDut);
    c.option("ipAddress", &T::ipAddress).check(ipv4, "TCLOspfInterface::Validate()  Invalid ipAddress").maps(&R::address);
    c.option("ipMask", &T::ipMask).check(ipv4, "TCLOspfInterface::Validate()   Invalid ipMask").maps(&R::mask);
    c.option("areaId", &T::areaId).check(atLeast(0), "TCLOspfInterface::Validate()   Invalid areaId").maps(&R::area);
    c.option("priority", &T::priority).maps(&R::priority);
    c.option("options", &T::options).check(range(0, 255), "TCLOspfInterface::Validate()   Invalid options").maps(&R::options);
    c.option("helloInterval", &T::helloInterval)
        .check(atLeast(0), "TCLOspfInterface::Validate()   Invalid helloInterval")
        .maps(&R::hello);
    c.option("deadInterval", &T::deadInterval)
        .check(atLeast(0), "TCLOspfInterface::Validate()   Invalid deadInterval")
        .maps(&R::dead);
    c.option("networkType", &T::networkType)
        .check(range(1, 3), "TCLOspfInterface::Validate()    Invalid networkType.")
        .maps(&R::networkType);
    c.option("metric", &T::metric).check(atLeast(0), "TCLOspfInterface::Validate()   Invalid metric").maps(&R::metric);
    c.option("enableTrafficEngineering", &T::enableTrafficEngineering)
        .check(boolean, "TCLOspfInterface::Validate()    Invalid enableTrafficEngineering.")
        .maps(&R::teEnabled);
    describeMaxBandwidths(c);
    c.option("linkMetric", &T::linkMetric)
        .check(atLeast(0), "TCLOspfInterface::Validate()   Invalid linkMetric")
        .maps(&R::te, &TE::metric);
    c.option("adminGroup", &T::adminGroup)
        .check([](const std::string& s) { return parseAdminGroup(s).has_value(); },
               "TCLOspfInterface::Validate()   Invalid adminGroup")
        .mapsVia(adminGroupBlob, adminGroupText, &R::te, &TE::adminGroup);
    describeUnreservedBandwidths(c);
    c.option("linkType", &T::linkType).check(range(1, 4), "TCLOspfInterface::Validate()    Invalid linkType.").maps(&R::linkType);
    c.option("neighborRouterId", &T::neighborRouterId)
        .check(ipv4, "TCLOspfInterface::Validate()   Invalid neighborRouterId")
        .maps(&R::neighborRouterId);
    c.option("mtuSize", &T::mtuSize).checkWith(checkMtu).maps(&R::mtu);
    c.option("enableValidateMtu", &T::enableValidateMtu)
        .check(boolean, "TCLOspfInterface::Validate()    Invalid enableValidateMtu.")
        .maps(&R::validateMtu);
    c.option("enableAdvertiseNetworkRange", &T::enableAdvertiseNetworkRange)
        .check(boolean, "TCLOspfInterface::Validate()    Invalid enableAdvertiseNetworkRange.")
        .maps(&R::advertiseRange);
    // Authentication and the neighbour go in as they are where the port has
    // the OSPF features (see setPortFeatures).
    c.option("authenticationMethod", &T::authenticationMethod).checkWith(checkAuthentication).maps(&R::authMethod);
    c.option("md5KeyId", &T::md5KeyId).maps(&R::md5KeyId);
    c.option("password", &T::password).maps(&R::password);
    c.option("md5Key", &T::md5Key).maps(&R::md5Key);
    c.option("neighborIp", &T::neighborIp)
        .check([](const T& t) { return t.networkType != 3 || ipv4(t.neighborIp); },
               "TCLOspfInterface::Validate()   Invalid neighborIp")
        .mapsVia(validAddress, address, &R::neighborIp);
    c.option("protocolInterfaceDescription", &T::protocolInterfaceDescription).maps(&R::interfaceDescription);
    c.option("numberOfLearnedLsas", &T::numberOfLearnedLsas);
    c.checkOrder({"enable", "connectToDut", "enableTrafficEngineering", "metric", "linkMetric", "adminGroup", "options",
                  "helloInterval", "deadInterval", "ipMask", "ipAddress", "areaId", "networkType", "neighborIp",
                  "linkType", "neighborRouterId", "mtuSize", "enableValidateMtu", "enableAdvertiseNetworkRange",
                  "authenticationMethod"});
    c.method("setDefault", &T::setDefault);
    describeLearned<&T::learnedLsas, &T::numberOfLearnedLsas>(
        c, {.kind = kOspfLsasKind,
            .notLoaded = "The interface has not been loaded from a router.",
            .key = [](const T& t) { return learnedLsaKey(t.ipAddress); },
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
