// The label bindings an emulated LDP router learned from its peers, as the
// port reports them: prefix FECs and pseudowire (PWid) FECs.
#pragma once

#include <string>
#include <vector>

#include "binding/staged.h"
#include "core/learned.h"
#include "hal/ldp.h"

namespace zk {

// `zkchassis::learn ldpLabels C D P routerId labelList` files the labels
// under this kind, per router ID in dotted form.
inline constexpr const char* kLdpLabelsKind = "ldpLabels";

// FEC element types (RFC 5036, RFC 4447).
inline constexpr int kFecPrefix = 2;
inline constexpr int kFecPwId = 128;

// One learned label, read-only to scripts.
class TCLLdpLearnedLabel : public binding::Staged<TCLLdpLearnedLabel, hal::ELdpLearnedLabel> {
public:
    TCLLdpLearnedLabel() { setDefault(); }

    int fecType;
    std::string networkAddress;
    int prefixLength;
    unsigned vcId;
    unsigned groupId;
    int pwType;
    int label;
    std::string peerAddress;
    int state;
};

}  // namespace zk
