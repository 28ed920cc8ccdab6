#include "ldp/learned.h"

#include "binding/learned.h"

namespace zk {

static binding::Describe<TCLLdpLearnedLabel> describeLdpLearnedLabel("TCLLdpLearnedLabel", [](auto& c) {
    using T = TCLLdpLearnedLabel;
    using R = hal::ELdpLearnedLabel;
    c.constructor();
    c.readOnly("fecType", &T::fecType).maps(&R::fecType).learned([](long long v) {
        return v == kFecPrefix || v == kFecPwId;
    });
    c.readOnly("networkAddress", &T::networkAddress).maps(&R::network).learned(ipv4);
    c.readOnly("prefixLength", &T::prefixLength).maps(&R::prefixLength).learned(range(0, 32));
    c.readOnly("vcId", &T::vcId).maps(&R::vcId).learned(range(0, UINT32_MAX));
    c.readOnly("groupId", &T::groupId).maps(&R::groupId).learned(range(0, UINT32_MAX));
    c.readOnly("pwType", &T::pwType).maps(&R::pwType).learned(range(0, 65535));
    c.readOnly("label", &T::label).maps(&R::label).learned(range(0, hal::kLastLdpLabel));
    c.readOnly("peerAddress", &T::peerAddress).maps(&R::peer).learned(ipv4);
    c.readOnly("state", &T::state).maps(&R::state).learned(range(0, 2));
    c.method("setDefault", &T::setDefault);
});

// ---- zkchassis::learn ldpLabels C D P routerId labelList ----

namespace {

// Without -fecType a label with a VC ID is a pseudowire's, any other a prefix's.
void settleFecType(hal::ELdpLearnedLabel& l, const learn::Given& given) {
    if (!given.has("fecType")) l.fecType = uint8_t(given.has("vcId") ? kFecPwId : kFecPrefix);
}

struct RegisterLearnedLdpLabels {
    RegisterLearnedLdpLabels() {
        learn::registerItems<hal::ELdpLearnedLabel>(kLdpLabelsKind, Protocol::Ldp, "routerId labelList",
                                                    &learn::kIpv4Key, "label",
                                                    binding::learnedItems<TCLLdpLearnedLabel>({}, settleFecType));
    }
} registerLearnedLdpLabels;

}  // namespace

}  // namespace zk
