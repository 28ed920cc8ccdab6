#include "ldp/l2vpn.h"

#include "binding/collection_methods.h"
#include "core/mac_address.h"
#include "core/span.h"
#include "ldp/common.h"

namespace zk {

namespace {

bool knownType(int type) {
    using namespace hal;
    for (int known : {kL2VpnFrameRelay, kL2VpnAtmAal5, kL2VpnAtmCell, kL2VpnVlan, kL2VpnEthernet, kL2VpnHdlc, kL2VpnPpp,
                      kL2VpnCem, kL2VpnAtmVcc, kL2VpnAtmVpc, kL2VpnEthernetVpls})
        if (type == known) return true;
    return false;
}

// On a VLAN interface each VC of a range takes the next VLAN ID by the
// range's step, up to 4094.
bool vlansFit(const hal::ELdpL2VpnInterface& r) {
    bool fit = true;
    r.vcRanges.ForEach([&](const hal::ELdpL2VpnVcRange& vc) {
        fit = fit && stepsFit(uint64_t(vc.firstVlanId), (long long)vc.count, uint64_t(vc.vlanIdStep), 4094);
    });
    return fit;
}

}  // namespace

// Each VC range is sent with the interface's PW type, which decides its
// type-dependent fields (VLAN IDs, CEM payload).
int TCLLdpL2VpnInterface::intoRecordRest(hal::ELdpL2VpnInterface& r) {
    for (size_t i = 0; i < r.vcRanges.Size(); ++i) r.vcRanges.At(i)->type = r.type;
    return kOk;
}

static binding::Describe<TCLLdpL2VpnVcRange> describeLdpL2VpnVcRange("TCLLdpL2VpnVcRange", [](auto& c) {
    using T = TCLLdpL2VpnVcRange;
    using R = hal::ELdpL2VpnVcRange;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("peerAddress", &T::peerAddress).check(ipv4).maps(&R::peer);
    c.option("firstVcId", &T::firstVcId).check(range(1, UINT32_MAX)).maps(&R::firstVcId);
    c.option("vcIdStep", &T::vcIdStep).check(range(1, UINT32_MAX)).maps(&R::vcIdStep);
    c.option("count", &T::count)
        .check(atLeast(1))
        .check([](const T& t) { return stepsFit(t.firstVcId, t.count, t.vcIdStep, UINT32_MAX); },
               "TCLLdpL2VpnVcRange::Validate()   count runs past the last VC ID from firstVcId.")
        .maps(&R::count);
    c.option("labelMode", &T::labelMode).check(boolean).maps(&R::labelMode);
    c.option("firstLabel", &T::firstLabel)
        .check(ldp::validLabel)
        .check([](const T& t) { return ldp::labelsFit(t.labelMode, t.firstLabel, t.count); },
               "TCLLdpL2VpnVcRange::Validate()   count runs past the label space from firstLabel.")
        .maps(&R::firstLabel);
    c.option("enableControlWord", &T::enableControlWord).check(boolean).maps(&R::controlWord);
    c.option("firstVlanId", &T::firstVlanId).check(range(1, 4094)).maps(&R::firstVlanId);
    c.option("vlanIdStep", &T::vlanIdStep).check(range(0, 4093)).maps(&R::vlanIdStep);
    c.option("cemPayloadBytes", &T::cemPayloadBytes).check(range(1, 65535)).maps(&R::cemPayloadBytes);
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLLdpVplsMacRange> describeLdpVplsMacRange("TCLLdpVplsMacRange", [](auto& c) {
    using T = TCLLdpVplsMacRange;
    using R = hal::ELdpVplsMacRange;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("firstMac", &T::firstMac).check(validMac).mapsVia(macBlob, macText, &R::firstMac);
    c.option("count", &T::count).check(atLeast(1)).maps(&R::count);
    c.option("step", &T::step)
        .check(atLeast(1))
        .check([](const T& t) { return !validMac(t.firstMac) || t.step < 0 || stepsFit(*parseMac(t.firstMac), t.count, uint64_t(t.step), kLastMac); },
               "TCLLdpVplsMacRange::Validate()   count runs past the last MAC address from firstMac.")
        // A range that starts at a group address is taken, and the script is told.
        .checkWith([](const T& t, Checks& c) {
            auto first = parseMac(t.firstMac);
            if (c.ok() && first && (*first >> 40 & 1) != 0)
                setLastError("TCLLdpVplsMacRange::Validate()   firstMac is a group address.");
        })
        .maps(&R::step);
    c.option("vlanId", &T::vlanId).check(range(0, 4094)).maps(&R::vlanId);
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLLdpL2VpnInterface> describeLdpL2VpnInterface("TCLLdpL2VpnInterface", [](auto& c) {
    using T = TCLLdpL2VpnInterface;
    using R = hal::ELdpL2VpnInterface;
    c.template constructor<TCLLdpL2VpnVcRange*, TCLLdpVplsMacRange*>("pLdpL2VpnVcRange", "pLdpVplsMacRange");
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("type", &T::type)
        .check(knownType)
        .check([](const T& t) { return t.type == hal::kL2VpnEthernetVpls || t.work().macRanges.Size() == 0; },
               "TCLLdpL2VpnInterface::Validate()   MAC ranges need type l2VpnInterfaceEthernetVPLS.")
        .check([](const T& t) { return t.type != hal::kL2VpnVlan || vlansFit(t.work()); },
               "TCLLdpL2VpnInterface::Validate()   The VLAN IDs of a VC range run past 4094 from its firstVlanId.")
        .maps(&R::type);
    c.option("groupId", &T::groupId).check(range(0, UINT32_MAX)).maps(&R::groupId);
    c.option("mtu", &T::mtu).check(range(1, 65535)).maps(&R::mtu);
    // The interface description parameter carries at most 253 characters.
    c.option("description", &T::description).check(maxLength(253)).maps(&R::description);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::vcRanges>(c, "VcRange", "vcRangeId", "clearAllVcRanges");
    describeCollection<&T::macRanges>(c, "MacRange", "macRangeId", "clearAllMacRanges");
});

}  // namespace zk
