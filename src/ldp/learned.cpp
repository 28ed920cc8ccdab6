#include "ldp/learned.h"

#include "core/learn_input.h"

namespace zk {

static binding::Describe<TCLLdpLearnedLabel> describeLdpLearnedLabel("TCLLdpLearnedLabel", [](auto& c) {
    using T = TCLLdpLearnedLabel;
    using R = hal::ELdpLearnedLabel;
    c.constructor();
    c.readOnly("fecType", &T::fecType).maps(&R::fecType);
    c.readOnly("networkAddress", &T::networkAddress).maps(&R::network);
    c.readOnly("prefixLength", &T::prefixLength).maps(&R::prefixLength);
    c.readOnly("vcId", &T::vcId).maps(&R::vcId);
    c.readOnly("groupId", &T::groupId).maps(&R::groupId);
    c.readOnly("pwType", &T::pwType).maps(&R::pwType);
    c.readOnly("label", &T::label).maps(&R::label);
    c.readOnly("peerAddress", &T::peerAddress).maps(&R::peer);
    c.readOnly("state", &T::state).maps(&R::state);
    c.method("setDefault", &T::setDefault);
});

// ---- zkchassis::learn ldpLabels C D P routerId labelList ----

namespace {

using Label = hal::ELdpLearnedLabel;

bool fecType(Tcl_Obj* value, Label& l) {
    return learn::number<&Label::fecType, kFecPrefix, kFecPwId>(value, l) &&
           (l.fecType == kFecPrefix || l.fecType == kFecPwId);
}

const learn::Option<Label> kLabelOptions[] = {
    {"-fecType", fecType},
    {"-networkAddress", learn::ipv4<&Label::network>},
    {"-prefixLength", learn::number<&Label::prefixLength, 0, 32>},
    {"-vcId", learn::number<&Label::vcId, 0, UINT32_MAX>},
    {"-groupId", learn::number<&Label::groupId, 0, UINT32_MAX>},
    {"-pwType", learn::number<&Label::pwType, 0, 65535>},
    {"-label", learn::number<&Label::label, 0, hal::kLastLdpLabel>},
    {"-peerAddress", learn::ipv4<&Label::peer>},
    {"-state", learn::number<&Label::state, 0, 2>},
};

// Without -fecType a label with a VC ID is a pseudowire's, any other a prefix's.
void settleFecType(Label& l, const learn::Given& given) {
    if (!given.has("-fecType")) l.fecType = uint8_t(given.has("-vcId") ? kFecPwId : kFecPrefix);
}

struct RegisterLearnedLdpLabels {
    RegisterLearnedLdpLabels() {
        learn::registerItems<Label>(kLdpLabelsKind, "routerId labelList", &learn::kIpv4Key, "label",
                                    learn::withOptions<Label>(kLabelOptions, {}, settleFecType));
    }
} registerLearnedLdpLabels;

}  // namespace

}  // namespace zk
