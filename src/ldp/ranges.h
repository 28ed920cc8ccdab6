// Blocks of prefix FECs an emulated LDP router advertises labels for, and
// blocks whose labels it asks for (downstream on demand).
#pragma once

#include <string>

#include "binding/staged.h"
#include "hal/ldp.h"

namespace zk {

// The options of a block of prefixes, shared by both kinds of range.
struct LdpFecPrefixOptions {
    int enable;
    std::string networkAddress;
    int prefixLength;
    int numberOfNetworks;
};

class TCLLdpAdvertiseFecRange : public binding::Staged<TCLLdpAdvertiseFecRange, hal::ELdpAdvertiseFecRange>,
                                public LdpFecPrefixOptions {
public:
    TCLLdpAdvertiseFecRange() { setDefault(); }

    int labelMode;
    int firstLabel;
};

class TCLLdpRequestFecRange : public binding::Staged<TCLLdpRequestFecRange, hal::ELdpRequestFecRange>,
                              public LdpFecPrefixOptions {
public:
    TCLLdpRequestFecRange() { setDefault(); }

    std::string peerAddress;
    int hopCount;
};

}  // namespace zk
