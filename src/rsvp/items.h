// The small value classes RSVP-TE lists are built from: ERO and RRO
// subobjects, user-defined objects (custom TLVs) and fast-reroute PLR node
// pairs. None needs a port; their owners copy them into and out of lists.
#pragma once

#include <string>

#include "binding/staged.h"
#include "hal/rsvp.h"

namespace zk {

// An IPv4 option as the equipment takes it: text that is not an address
// is 0.0.0.0 (only options that are never validated reach it so).
hal::EIPAddress rsvpIPv4(const std::string& text);

class TCLRsvpEroItem : public binding::Staged<TCLRsvpEroItem, hal::ERSVPConfigEROItem> {
public:
    TCLRsvpEroItem() { setDefault(); }

    int type;
    std::string ipAddress;
    int asNumber;
    int prefixLength;
    int enableLooseFlag;

    // For the owning list: 0 converted; 1 refused (nothing written) or no item.
    int SetEroItem(hal::ERSVPConfigEROItem* item) { return item ? ToRecord(*item) : kFail; }
    int GetEroItem(const hal::ERSVPConfigEROItem* item);
};

class TCLRsvpRroItem : public binding::Staged<TCLRsvpRroItem, hal::ERSVPConfigRROItem> {
public:
    TCLRsvpRroItem() { setDefault(); }

    int type;
    std::string ipAddress;
    int label;
    int cType;
    int enableProtectionAvailable;
    int enableProtectionInUse;
    int enableGlobalLabel;
    int enableBandwidthProtection;
    int enableNodeProtection;

    int SetRroItem(hal::ERSVPConfigRROItem* item) { return item ? ToRecord(*item) : kFail; }
    int GetRroItem(const hal::ERSVPConfigRROItem* item);
};

class TCLRsvpCustomTlv : public binding::Staged<TCLRsvpCustomTlv, hal::ERSVP::ConfigCustomTLV> {
public:
    TCLRsvpCustomTlv() { setDefault(); }

    int tlvClass;
    int cType;
    std::string data;

    // Set: 0 converted, 1 refused. Get reports success as 1 and a missing
    // record as 0, the other way round from the items: the Hello TLV walk
    // has always tested it for 1.
    int Set(hal::ERSVP::ConfigCustomTLV* tlv) { return tlv ? ToRecord(*tlv) : kFail; }
    int Get(const hal::ERSVP::ConfigCustomTLV* tlv);
};

class TCLRsvpPlrNodeIdPair : public binding::Staged<TCLRsvpPlrNodeIdPair, hal::ERSVPConfigPLRNodeIDPair> {
public:
    TCLRsvpPlrNodeIdPair() { setDefault(); }

    std::string plrId;
    std::string avoidNodeId;

    // As the custom TLV's: Get gives 1 on success.
    int Set(hal::ERSVPConfigPLRNodeIDPair* pair) { return pair ? ToRecord(*pair) : kFail; }
    int Get(const hal::ERSVPConfigPLRNodeIDPair* pair);
};

// How the walk lists take and give back entries.
inline bool intoEntry(TCLRsvpEroItem& c, hal::ERSVPConfigEROItem& r) { return c.SetEroItem(&r) == kOk; }
inline bool fromEntry(TCLRsvpEroItem& c, const hal::ERSVPConfigEROItem& r) { return c.GetEroItem(&r) == kOk; }
inline bool intoEntry(TCLRsvpRroItem& c, hal::ERSVPConfigRROItem& r) { return c.SetRroItem(&r) == kOk; }
inline bool fromEntry(TCLRsvpRroItem& c, const hal::ERSVPConfigRROItem& r) { return c.GetRroItem(&r) == kOk; }
inline bool intoEntry(TCLRsvpCustomTlv& c, hal::ERSVP::ConfigCustomTLV& r) { return c.Set(&r) == kOk; }
inline bool fromEntry(TCLRsvpCustomTlv& c, const hal::ERSVP::ConfigCustomTLV& r) { return c.Get(&r) == 1; }
inline bool intoEntry(TCLRsvpPlrNodeIdPair& c, hal::ERSVPConfigPLRNodeIDPair& r) { return c.Set(&r) == kOk; }
inline bool fromEntry(TCLRsvpPlrNodeIdPair& c, const hal::ERSVPConfigPLRNodeIDPair& r) { return c.Get(&r) == 1; }

}  // namespace zk
