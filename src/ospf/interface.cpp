#include "ospf/interface.h"

#include <tcl.h>

#include "binding/describe.h"
#include "chassis/lab.h"
#include "chassis/learn.h"
#include "core/checks.h"
#include "core/parse.h"
#include "core/port.h"

namespace zk {

namespace {
constexpr const char* kLearnKind = "ospfLsas";

// Learned LSAs are filed under the interface address in its dotted form.
std::string learnKey(const std::string& ipText) {
    auto a = ipv4Address(ipText);
    return a ? a->ToString() : ipText;
}
}  // namespace

TCLOspfInterface::TCLOspfInterface(TCLOspfUserLsa* pOspfUserLsa, TCLOspfNetworkRange* pOspfNetworkRange)
    : userLsa_(pOspfUserLsa), networkRange_(pOspfNetworkRange) {
    setDefault();
}

void TCLOspfInterface::setDefault() {
    Copy(hal::EOSPFInterface{});
    numberOfLearnedLsas = 0;
    learned_.reset();
    learnedCursor_ = 0;
}

bool TCLOspfInterface::Validate() {
    Checks c;
    c.range(enable, 0, 1, "TCLOspfInterface::Validate()    Invalid enable.");
    c.range(connectToDut, 0, 1, "TCLOspfInterface::Validate()    Invalid connectToDut.");
    c.range(enableTrafficEngineering, 0, 1, "TCLOspfInterface::Validate()    Invalid enableTrafficEngineering.");
    c.notNegative(metric, "TCLOspfInterface::Validate()   Invalid metric");
    c.notNegative(linkMetric, "TCLOspfInterface::Validate()   Invalid linkMetric");
    c.that(parseAdminGroup(adminGroup).has_value(), "TCLOspfInterface::Validate()   Invalid adminGroup");
    c.range(options, 0, 255, "TCLOspfInterface::Validate()   Invalid options");
    c.notNegative(helloInterval, "TCLOspfInterface::Validate()   Invalid helloInterval");
    c.notNegative(deadInterval, "TCLOspfInterface::Validate()   Invalid deadInterval");
    c.ipv4(ipMask, "TCLOspfInterface::Validate()   Invalid ipMask");
    c.ipv4(ipAddress, "TCLOspfInterface::Validate()  Invalid ipAddress");
    c.notNegative(areaId, "TCLOspfInterface::Validate()   Invalid areaId");
    c.range(networkType, 1, 3, "TCLOspfInterface::Validate()    Invalid networkType.");
    if (networkType == 3) c.ipv4(neighborIp, "TCLOspfInterface::Validate()   Invalid neighborIp");
    c.range(linkType, 1, 4, "TCLOspfInterface::Validate()    Invalid linkType.");
    c.ipv4(neighborRouterId, "TCLOspfInterface::Validate()   Invalid neighborRouterId");
    if (Port* port = currentPort()) {
        if (mtuSize < port->mtuMin || mtuSize > port->mtuMax)
            c.fail(formatText("TCLOspfInterface::Validate()   Invalid mtuSize it should be between %d and %d on port %s",
                              port->mtuMin, port->mtuMax, portName(*port)));
    } else {
        c.fail("TCLOspfInterface::Validate()   You have not selected the port.");
    }
    c.range(enableValidateMtu, 0, 1, "TCLOspfInterface::Validate()    Invalid enableValidateMtu.");
    c.range(enableAdvertiseNetworkRange, 0, 1, "TCLOspfInterface::Validate()    Invalid enableAdvertiseNetworkRange.");
    switch (authenticationMethod) {
    case 0:
        break;
    case 1:
        if (password.size() > 8) {  // ends validation at once
            c.fail("TCLOspfInterface::Validate()   The Max size of password is 8 characters.");
            return false;
        }
        break;
    case 2:
        c.range(md5KeyId, 0, 255, "TCLOspfInterface::Validate()   Invalid md5KeyId");
        if (md5Key.size() > 16) {  // ends validation at once
            c.fail("TCLOspfInterface::Validate()   The Max size of md5Key is 16 characters.");
            return false;
        }
        break;
    default:
        c.fail("TCLOspfInterface::Validate()    Invalid authenticationMethod.");
        break;
    }
    return c.ok();
}

int TCLOspfInterface::ToRecord(hal::EOSPFInterface& r) {
    if (!Validate()) return kFail;
    r = work_;
    r.SetEnabled(enable != 0);
    r.SetConnectedToDUT(connectToDut != 0);
    r.SetIPAddress(validAddress(ipAddress));
    r.SetInterfaceMask(validAddress(ipMask));
    r.SetAreaID(uint32_t(areaId));
    r.SetPriority(priority);
    r.SetOptions(options);
    r.SetHelloInterval(helloInterval);
    r.SetDeadInterval(uint32_t(deadInterval));
    r.SetNetworkType(networkType);
    r.SetMetric(metric);
    r.SetTEEnabled(enableTrafficEngineering != 0);
    hal::ETrafficEngineeringData te = r.GetTrafficEngineering();
    fillBandwidths(te);
    te.SetMetric(uint32_t(linkMetric));
    te.SetAdministrativeGroup(adminGroupBlob(adminGroup));
    r.SetTrafficEngineering(te);
    r.SetLinkType(linkType);
    r.SetNeighborRouterID(validAddress(neighborRouterId));
    r.SetMTU(mtuSize);
    r.SetValidateReceivedMTUSize(enableValidateMtu != 0);
    // The port's interface of that description, 0 when the port has none.
    const Port* port = currentPort();
    const chassis::ProtocolInterface* onPort = port ? port->findInterface(protocolInterfaceDescription) : nullptr;
    r.SetInterfaceId(onPort ? onPort->localId : 0);
    r.SetInterfaceDescription(protocolInterfaceDescription);

    r.SetAdvertiseNetworkRange(enableAdvertiseNetworkRange != 0);
    if (connectToDut == 0) {
        // A range that does not convert leaves the interface's ranges as they were.
        hal::EOSPFNetworkRange range;
        if (TCLOspfNetworkRange* staging = networkRange_.get(); staging && staging->ToRecord(range) == kOk) {
            r.GetNetworkRangeList().Clear();
            r.AddNetworkRange(range);
        }
    } else {
        r.GetNetworkRangeList().Clear();  // an interface towards the device under test has no grid behind it
    }

    setPortFeatures(r);
    return kOk;
}

// Authentication and the point-to-multipoint neighbour need the port's OSPF
// features; elsewhere the HAL keeps its defaults and a differing option is
// reported. These are warnings: the conversion goes on.
void TCLOspfInterface::setPortFeatures(hal::EOSPFInterface& r) const {
    const hal::EOSPFInterface defaults;
    Port* port = currentPort();
    if (port && port->ospfFeatures) {
        r.SetAuthenticationMethod(authenticationMethod);
        r.SetMD5AuthenticationKeyId(md5KeyId);
        r.SetAuthenticationPassword(password);
        r.SetMD5AuthenticationKey(md5Key);
        r.SetNeighborIPAddress(ipv4Address(neighborIp).value_or(defaults.GetNeighborIPAddress()));
        return;
    }
    if (!port) {
        setLastError("TCLOspfInterface::SetOspfInterface(): Please select the port to configure port specific features");
    } else {  // VerifyDefaultSettings
        const struct {
            bool differs;
            const char* message;
        } checks[] = {
            {authenticationMethod != defaults.GetAuthenticationMethod(),
             "TCLOspfInterface::SetOspfInterface():  authenticationMethod is not supported on port %s."},
            {md5KeyId != defaults.GetMD5AuthenticationKeyId(),
             "TCLOspfInterface::SetOspfInterface():  md5KeyId is not supported on port %s."},
            {password != defaults.GetAuthenticationPassword(),
             "TCLOspfInterface::SetOspfInterface():  password is not supported on port %s."},
            {md5Key != defaults.GetMD5AuthenticationKey(),
             "TCLOspfInterface::SetOspfInterface():  md5Key is not supported on port %s."},
            {neighborIp != defaults.GetNeighborIPAddress().ToString(),
             "TCLOspfInterface::SetOspfInterface():  neighborIp is not supported on port %s."},
        };
        for (const auto& check : checks)
            if (check.differs) setLastError(formatText(check.message, portName(*port)));
    }
    r.SetAuthenticationMethod(defaults.GetAuthenticationMethod());
    r.SetMD5AuthenticationKeyId(defaults.GetMD5AuthenticationKeyId());
    r.SetAuthenticationPassword(defaults.GetAuthenticationPassword());
    r.SetMD5AuthenticationKey(defaults.GetMD5AuthenticationKey());
    r.SetNeighborIPAddress(defaults.GetNeighborIPAddress());
}

void TCLOspfInterface::Copy(const hal::EOSPFInterface& r) {
    enable = r.IsEnabled();
    connectToDut = r.IsConnectedToDUT();
    ipAddress = r.GetIPAddress().ToString();
    ipMask = r.GetInterfaceMask().ToString();
    areaId = int(r.GetAreaID());
    priority = r.GetPriority();
    options = r.GetOptions();
    helloInterval = r.GetHelloInterval();
    deadInterval = int(r.GetDeadInterval());
    networkType = r.GetNetworkType();
    metric = r.GetMetric();
    enableTrafficEngineering = r.IsTEEnabled();
    const hal::ETrafficEngineeringData& te = r.GetTrafficEngineering();
    loadBandwidths(te);
    linkMetric = int(te.GetMetric());
    adminGroup = adminGroupText(te.GetAdministrativeGroup());
    linkType = r.GetLinkType();
    neighborRouterId = r.GetNeighborRouterID().ToString();
    mtuSize = r.GetMTU();
    enableValidateMtu = r.GetValidateReceivedMTUSize();
    enableAdvertiseNetworkRange = r.GetAdvertiseNetworkRange();
    authenticationMethod = r.GetAuthenticationMethod();
    md5KeyId = r.GetMD5AuthenticationKeyId();
    password = r.GetAuthenticationPassword();
    md5Key = r.GetMD5AuthenticationKey();
    neighborIp = r.GetNeighborIPAddress().ToString();
    protocolInterfaceDescription = r.GetInterfaceDescription();
}

void TCLOspfInterface::FromRecord(const hal::EOSPFInterface& r) {
    if (!(r.GetID() == work_.GetID())) {  // another interface: the learned LSAs were not its own
        ++requestNumber_;                    // and an answer still due is not for it either
        answered_ = false;
        reply_.reset();
        learned_.reset();
        learnedCursor_ = 0;
        numberOfLearnedLsas = 0;
    }
    work_ = r;
    Copy(r);
    if (TCLOspfNetworkRange* staging = networkRange_.get(); staging && r.GetNetworkRangeList().Size() > 0)
        staging->FromRecord(*work_.GetNetworkRangeList().At(0));
}

// ---- learned LSAs ----

int TCLOspfInterface::requestLearnedLsa() {
    Port* port = currentPort();
    if (!port) {
        setLastError("TCLOspfInterface::requestLearnedLsa()   You have not selected the port.");
        return kNoPort;
    }
    if (!work_.GetID().IsValid()) {
        setLastError("TCLOspfInterface::requestLearnedLsa()   The interface has not been loaded from a router.");
        return kNoPort;
    }
    if (!port->available || port->writeFails) {
        setLastErrorf("TCLOspfInterface::requestLearnedLsa()   The request could not be sent to port %s.",
                      portName(*port));
        return kFail;
    }
    uint64_t number = ++requestNumber_;
    answered_ = false;
    reply_.reset();
    chassis::Lab::instance().replies().request(
        port->id.key(), kLearnKind, learnKey(ipAddress), token(),
        [this, number](std::shared_ptr<const chassis::LearnedData> data) {
            if (number != requestNumber_) return;  // the answer to an older request
            answered_ = true;
            reply_ = std::dynamic_pointer_cast<const LearnedLsaList>(data);
        });
    return kOk;
}

int TCLOspfInterface::getLearnedLsaList() {
    chassis::Lab::instance().replies().poll();
    if (!answered_) {
        setLastError("TCLOspfInterface::getLearnedLsaList()   No learned LSAs have arrived yet.");
        return kFail;
    }
    // A port that learned nothing for this interface answers with an empty list.
    learned_ = reply_ ? reply_ : std::make_shared<const LearnedLsaList>();
    numberOfLearnedLsas = int(learned_->lsas.size());
    learnedCursor_ = 0;
    return kOk;
}

int TCLOspfInterface::getFirstLearnedLsa() {
    learnedCursor_ = 0;
    return getNextLearnedLsa();
}

int TCLOspfInterface::getNextLearnedLsa() {
    TCLOspfUserLsa* staging = userLsa_.get();
    if (!learned_ || !staging || learnedCursor_ >= learned_->lsas.size()) {
        setLastError("TCLOspfInterface::getNextLearnedLsa()   No more learned LSAs.");
        return kFail;
    }
    staging->FromRecord(learned_->lsas[learnedCursor_++]);  // GetLearnedLsa
    return kOk;
}

// zkchassis::learn ospfLsas C D P interfaceIp lsaList: each element of
// lsaList is a list of -option value pairs of TCLOspfUserLsa.
static int learnOspfLsas(Tcl_Interp* interp, Port& port, int objc, Tcl_Obj* const objv[]) {
    auto fail = [interp](const std::string& text) {
        Tcl_SetObjResult(interp, Tcl_NewStringObj(text.c_str(), -1));
        return TCL_ERROR;
    };
    if (objc != 2) return fail("wrong # args: should be \"zkchassis::learn ospfLsas C D P interfaceIp lsaList\"");
    std::string ip = Tcl_GetString(objv[0]);
    if (!ipv4Address(ip)) return fail("invalid interfaceIp \"" + ip + "\": expected an IPv4 address");
    int count;
    Tcl_Obj** elements;
    if (Tcl_ListObjGetElements(interp, objv[1], &count, &elements) != TCL_OK) return TCL_ERROR;

    const binding::ClassRecord* cls = binding::typeOf<TCLOspfUserLsa>()->cls;
    auto data = std::make_shared<LearnedLsaList>();
    const std::string savedError = lastError();  // the chassis never touches the module's last error
    for (int i = 0; i < count; ++i) {
        std::string where = "LSA " + std::to_string(i + 1) + " of lsaList";
        int n;
        Tcl_Obj** pairs;
        if (Tcl_ListObjGetElements(nullptr, elements[i], &n, &pairs) != TCL_OK || n % 2)
            return fail(where + ": expected a list of -option value pairs");
        TCLOspfUserLsa lsa;
        for (int k = 0; k < n; k += 2) {
            std::string option = Tcl_GetString(pairs[k]);
            const binding::AttrRecord* attr =
                option.size() > 1 && option[0] == '-' ? cls->findAttr(option.substr(1)) : nullptr;
            if (!attr || !attr->set) return fail(where + ": unknown option \"" + option + "\"");
            binding::ConvertError err;
            if (!attr->set(*attr, interp, &lsa, pairs[k + 1], err))
                return fail(where + ": bad value for " + option + ": " + err.text);
        }
        hal::EOSPFUserLSA record;
        if (lsa.ToRecord(record) != kOk) {
            std::string why = lastError();
            setLastError(savedError);
            return fail(where + ": " + why);
        }
        data->lsas.push_back(record);
    }
    chassis::Lab::instance().replies().learn(port.id.key(), kLearnKind, learnKey(ip), data);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

namespace {
struct RegisterLearnedLsas {
    RegisterLearnedLsas() { chassis::registerLearnKind(kLearnKind, "interfaceIp lsaList", learnOspfLsas); }
} registerLearnedLsas;
}  // namespace

static binding::Describe<TCLOspfInterface> describeInterface(210, "TCLOspfInterface", [](auto& c) {
    using T = TCLOspfInterface;
    c.template constructor<TCLOspfUserLsa*, TCLOspfNetworkRange*>("pOspfUserLsa", "pOspfNetworkRange");
    c.option("enable", &T::enable);
    c.option("connectToDut", &T::connectToDut);
    c.option("ipAddress", &T::ipAddress);
    c.option("ipMask", &T::ipMask);
    c.option("areaId", &T::areaId);
    c.option("priority", &T::priority);
    c.option("options", &T::options);
    c.option("helloInterval", &T::helloInterval);
    c.option("deadInterval", &T::deadInterval);
    c.option("networkType", &T::networkType);
    c.option("metric", &T::metric);
    c.option("enableTrafficEngineering", &T::enableTrafficEngineering);
    describeMaxBandwidths(c);
    c.option("linkMetric", &T::linkMetric);
    c.option("adminGroup", &T::adminGroup);
    describeUnreservedBandwidths(c);
    c.option("linkType", &T::linkType);
    c.option("neighborRouterId", &T::neighborRouterId);
    c.option("mtuSize", &T::mtuSize);
    c.option("enableValidateMtu", &T::enableValidateMtu);
    c.option("enableAdvertiseNetworkRange", &T::enableAdvertiseNetworkRange);
    c.option("authenticationMethod", &T::authenticationMethod);
    c.option("md5KeyId", &T::md5KeyId);
    c.option("password", &T::password);
    c.option("md5Key", &T::md5Key);
    c.option("neighborIp", &T::neighborIp);
    c.option("protocolInterfaceDescription", &T::protocolInterfaceDescription);
    c.option("numberOfLearnedLsas", &T::numberOfLearnedLsas);
    c.method("setDefault", &T::setDefault);
    c.method("requestLearnedLsa", &T::requestLearnedLsa);
    c.method("getLearnedLsaList", &T::getLearnedLsaList);
    c.method("getFirstLearnedLsa", &T::getFirstLearnedLsa);
    c.method("getNextLearnedLsa", &T::getNextLearnedLsa);
});

}  // namespace zk
