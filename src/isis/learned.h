// The LSPs a port learned for an emulated IS-IS router: what
// `zkchassis::learn isisLsps` loads, and the read-only object a script
// walks them with.
#pragma once

#include <string>
#include <vector>

#include "binding/staged.h"
#include "core/learned.h"
#include "hal/isis.h"

namespace zk {

// `zkchassis::learn isisLsps` files its lists under this kind, per router
// system ID in its dotted form ("0000.0000.0001").
inline constexpr const char* kIsisLspsKind = "isisLsps";

class TCLIsisLearnedLsp : public binding::Staged<TCLIsisLearnedLsp, hal::EISISLearnedLSP> {
public:
    TCLIsisLearnedLsp() { setDefault(); }

    std::string lspId;
    unsigned sequenceNumber;
    int remainingLifetime;
    int level;
    std::string tlvs;
};

}  // namespace zk
