// The tunnels of a neighbor pair: destination ranges (a range of tunnel
// endpoints, their explicit and recorded routes, reservation style, session
// attribute and the custom objects of their messages) and, in each, the
// sender ranges that signal them (RFC 3209, fast reroute of RFC 4090).
#pragma once

#include <string>

#include "binding/staged.h"
#include "hal/rsvp.h"
#include "rsvp/items.h"
#include "rsvp/walk_list.h"

namespace zk {

class TCLRsvpSenderRange : public binding::Staged<TCLRsvpSenderRange, hal::ERSVPConfigSenderRange> {
public:
    TCLRsvpSenderRange(TCLRsvpPlrNodeIdPair* pPlrNodeIdPair, TCLRsvpCustomTlv* pCustomTlv);

    std::string senderIpStart;
    int senderCount;
    int lspIdStart;
    int lspIdIncrement;
    int tokenBucketRate;
    int tokenBucketSize;
    int peakDataRate;
    int minimumPolicedUnit;
    int maximumPacketSize;
    int enableFastReroute;
    int enableOneToOneBackup;
    int enableFacilityBackup;
    int fastRerouteSetupPriority;
    int fastRerouteHoldingPriority;
    int fastRerouteHopLimit;
    int fastRerouteBandwidth;
    unsigned includeAny;
    unsigned excludeAny;
    unsigned includeAll;

    WalkList<TCLRsvpPlrNodeIdPair, &hal::ERSVPConfigSenderRange::nodeList> plrs;
    WalkList<TCLRsvpCustomTlv, &hal::ERSVPConfigSenderRange::pathErrTlvs> pathErrTlvs;
};

class TCLRsvpDestinationRange
    : public binding::Staged<TCLRsvpDestinationRange, hal::ERSVPConfigDestinationRange> {
public:
    TCLRsvpDestinationRange(TCLRsvpEroItem* pEroItem, TCLRsvpRroItem* pRroItem, TCLRsvpSenderRange* pSenderRange,
                            TCLRsvpCustomTlv* pCustomTlv);

    int enableDestinationRange;
    std::string tunnelIpStart;
    int tunnelCount;
    int behavior;
    int endPointType;
    int eroMode;
    int reservationStyle;
    int egressStylePolicy;
    int labelValue;
    int refreshInterval;
    int timeoutMultiplier;
    int setupPriority;
    int holdingPriority;
    int enableLocalProtectionDesired;
    int enableLabelRecordingDesired;
    int enableSeStyleDesired;
    int enableBandwidthProtectionDesired;
    int enableNodeProtectionDesired;
    std::string sessionName;

    // In the order a neighbor pair empties them.
    WalkList<TCLRsvpEroItem, &hal::ERSVPConfigDestinationRange::eroItems> eros;
    WalkList<TCLRsvpRroItem, &hal::ERSVPConfigDestinationRange::rroItems> rros;
    WalkList<TCLRsvpSenderRange, &hal::ERSVPConfigDestinationRange::senderRanges> senders;
    WalkList<TCLRsvpCustomTlv, &hal::ERSVPConfigDestinationRange::pathTlvs> pathTlvs;
    WalkList<TCLRsvpCustomTlv, &hal::ERSVPConfigDestinationRange::resvErrTlvs> resvErrTlvs;
    WalkList<TCLRsvpCustomTlv, &hal::ERSVPConfigDestinationRange::resvTearTlvs> resvTearTlvs;
    WalkList<TCLRsvpCustomTlv, &hal::ERSVPConfigDestinationRange::resvTlvs> resvTlvs;
};

inline bool intoEntry(TCLRsvpSenderRange& c, hal::ERSVPConfigSenderRange& r) { return c.ToRecord(r) == kOk; }
inline bool fromEntry(TCLRsvpSenderRange& c, const hal::ERSVPConfigSenderRange& r) {
    c.FromRecord(r);
    return true;
}

}  // namespace zk
