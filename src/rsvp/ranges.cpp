#include "rsvp/ranges.h"

#include <initializer_list>

#include "core/span.h"

namespace zk {

TCLRsvpSenderRange::TCLRsvpSenderRange(TCLRsvpPlrNodeIdPair* pPlrNodeIdPair, TCLRsvpCustomTlv* pCustomTlv)
    : plrs(this, pPlrNodeIdPair), pathErrTlvs(this, pCustomTlv) {
    setDefault();
}

TCLRsvpDestinationRange::TCLRsvpDestinationRange(TCLRsvpEroItem* pEroItem, TCLRsvpRroItem* pRroItem,
                                                 TCLRsvpSenderRange* pSenderRange, TCLRsvpCustomTlv* pCustomTlv)
    : eros(this, pEroItem),
      rros(this, pRroItem),
      senders(this, pSenderRange),
      pathTlvs(this, pCustomTlv),
      resvErrTlvs(this, pCustomTlv),
      resvTearTlvs(this, pCustomTlv),
      resvTlvs(this, pCustomTlv) {
    setDefault();
}

namespace {
std::string rsvpRangeDotted(const hal::EIPAddress& a) { return a.ToString(); }

// An RSVP object counts its bytes in 16 bits, its 4-byte header included.
constexpr size_t kMaxObjectData = 65535 - 4;
bool tlvsFit(std::initializer_list<const hal::ERSVPCustomTLVList*> lists) {
    for (const auto* list : lists)
        for (const auto& tlv : *list)
            if (tlv.data.bytes.size() > kMaxObjectData) return false;
    return true;
}
}  // namespace

static binding::Describe<TCLRsvpSenderRange> describeRsvpSenderRange("TCLRsvpSenderRange", [](auto& c) {
    using T = TCLRsvpSenderRange;
    using R = hal::ERSVPConfigSenderRange;
    c.template constructor<TCLRsvpPlrNodeIdPair*, TCLRsvpCustomTlv*>("pPlrNodeIdPair", "pCustomTlv");
    c.option("senderIpStart", &T::senderIpStart).check(ipv4).mapsVia(rsvpIPv4, rsvpRangeDotted, &R::firstSender);
    c.option("senderCount", &T::senderCount)
        .check(atLeast(1))
        .check([](const T& t) { return !ipv4(t.senderIpStart) || addressesFit(t.senderIpStart, t.senderCount); },
               "TCLRsvpSenderRange::Validate()   senderCount runs past the address space from senderIpStart.")
        .maps(&R::senderCount);
    c.option("lspIdStart", &T::lspIdStart).check(range(0, 65535)).maps(&R::firstLspId);
    // Each sender takes the next LSP ID, a 16-bit number.
    c.option("lspIdIncrement", &T::lspIdIncrement)
        .check(range(0, 65535))
        // Senders past the last LSP ID are taken without one: the script is told.
        .checkWith([](const T& t, Checks& c) {
            if (c.ok() && range(0, 65535)(t.lspIdStart) && range(0, 65535)(t.lspIdIncrement) &&
                !stepsFit(unsigned(t.lspIdStart), t.senderCount, unsigned(t.lspIdIncrement), 65535))
                setLastError("TCLRsvpSenderRange::Validate()   senderCount runs past LSP ID 65535 from lspIdStart.");
        })
        .maps(&R::lspIdIncrement);
    c.option("tokenBucketRate", &T::tokenBucketRate).check(atLeast(0)).maps(&R::tokenBucketRate);
    c.option("tokenBucketSize", &T::tokenBucketSize).check(atLeast(0)).maps(&R::tokenBucketSize);
    c.option("peakDataRate", &T::peakDataRate).check(atLeast(0)).maps(&R::peakDataRate);
    c.option("minimumPolicedUnit", &T::minimumPolicedUnit).check(atLeast(0)).maps(&R::minimumPolicedUnit);
    c.option("maximumPacketSize", &T::maximumPacketSize)
        .check(atLeast(0))
        .check([](const T& t) { return t.maximumPacketSize < 0 || t.minimumPolicedUnit <= t.maximumPacketSize; },
               "TCLRsvpSenderRange::Validate()   Invalid maximumPacketSize: it is smaller than minimumPolicedUnit.")
        .maps(&R::maximumPacketSize);
    c.option("enableFastReroute", &T::enableFastReroute).check(boolean).maps(&R::fastReroute);
    c.option("enableOneToOneBackup", &T::enableOneToOneBackup).check(boolean).maps(&R::oneToOneBackup);
    c.option("enableFacilityBackup", &T::enableFacilityBackup).check(boolean).maps(&R::facilityBackup);
    c.option("fastRerouteSetupPriority", &T::fastRerouteSetupPriority).check(range(0, 7)).maps(&R::frrSetupPriority);
    c.option("fastRerouteHoldingPriority", &T::fastRerouteHoldingPriority)
        .check(range(0, 7))
        .maps(&R::frrHoldingPriority);
    c.option("fastRerouteHopLimit", &T::fastRerouteHopLimit).check(range(0, 255)).maps(&R::frrHopLimit);
    c.option("fastRerouteBandwidth", &T::fastRerouteBandwidth).check(atLeast(0)).maps(&R::frrBandwidth);
    // Affinities are 32-bit masks: every value is one.
    c.option("includeAny", &T::includeAny).maps(&R::includeAny);
    c.option("excludeAny", &T::excludeAny).maps(&R::excludeAny);
    c.option("includeAll", &T::includeAll)
        .check([](const T& t) { return tlvsFit({&t.work().pathErrTlvs}); },
               "TCLRsvpSenderRange::Validate()   A custom TLV holds more than 65531 bytes of data.")
        .maps(&R::includeAll);
    c.method("setDefault", &T::setDefault);
    describeWalk<&T::plrs>(c, "Plr", "clearAllPlr");
    describeWalk<&T::pathErrTlvs>(c, "PathErrTlv", "clearPathErrTlvList");
});

static binding::Describe<TCLRsvpDestinationRange> describeRsvpDestinationRange("TCLRsvpDestinationRange", [](auto& c) {
    using T = TCLRsvpDestinationRange;
    using R = hal::ERSVPConfigDestinationRange;
    c.template constructor<TCLRsvpEroItem*, TCLRsvpRroItem*, TCLRsvpSenderRange*, TCLRsvpCustomTlv*>(
        "pEroItem", "pRroItem", "pSenderRange", "pCustomTlv");
    c.option("enableDestinationRange", &T::enableDestinationRange).check(boolean).maps(&R::enabled);
    c.option("tunnelIpStart", &T::tunnelIpStart)
        .check(ipv4)
        .mapsVia(rsvpIPv4, rsvpRangeDotted, &R::firstTunnelEndPoint);
    c.option("tunnelCount", &T::tunnelCount)
        .check(atLeast(1))
        .check([](const T& t) { return !ipv4(t.tunnelIpStart) || addressesFit(t.tunnelIpStart, t.tunnelCount); },
               "TCLRsvpDestinationRange::Validate()   tunnelCount runs past the address space from tunnelIpStart.")
        .maps(&R::tunnelCount);
    c.option("behavior", &T::behavior).check(range(0, 1)).maps(&R::behavior);
    c.option("endPointType", &T::endPointType).check(range(0, 1)).maps(&R::endPointType);
    c.option("eroMode", &T::eroMode).check(range(0, 2)).maps(&R::eroMode);
    c.option("reservationStyle", &T::reservationStyle).check(range(1, 2)).maps(&R::reservationStyle);
    c.option("egressStylePolicy", &T::egressStylePolicy).check(range(0, 1)).maps(&R::egressStylePolicy);
    c.option("labelValue", &T::labelValue).check(range(0, 3)).maps(&R::labelValue);
    c.option("refreshInterval", &T::refreshInterval).check(atLeast(1)).maps(&R::refreshInterval);
    c.option("timeoutMultiplier", &T::timeoutMultiplier).check(atLeast(1)).maps(&R::timeoutMultiplier);
    c.option("setupPriority", &T::setupPriority).check(range(0, 7)).maps(&R::setupPriority);
    // RFC 3209: a session may not set up at a better priority than it holds
    // (0 is the best); compared only when both are in range.
    c.option("holdingPriority", &T::holdingPriority)
        .check(range(0, 7))
        .check([](const T& t) {
                   return !range(0, 7)(t.setupPriority) || !range(0, 7)(t.holdingPriority) ||
                          t.holdingPriority <= t.setupPriority;
               },
               "TCLRsvpDestinationRange::Validate()   Invalid holdingPriority: it is worse than setupPriority.")
        .maps(&R::holdingPriority);
    c.option("enableLocalProtectionDesired", &T::enableLocalProtectionDesired)
        .check(boolean)
        .maps(&R::localProtectionDesired);
    c.option("enableLabelRecordingDesired", &T::enableLabelRecordingDesired)
        .check(boolean)
        .maps(&R::labelRecordingDesired);
    c.option("enableSeStyleDesired", &T::enableSeStyleDesired).check(boolean).maps(&R::seStyleDesired);
    c.option("enableBandwidthProtectionDesired", &T::enableBandwidthProtectionDesired)
        .check(boolean)
        .maps(&R::bandwidthProtectionDesired);
    c.option("enableNodeProtectionDesired", &T::enableNodeProtectionDesired)
        .check(boolean)
        .maps(&R::nodeProtectionDesired);
    // The session name travels with a one-byte length.
    c.option("sessionName", &T::sessionName)
        .check(maxLength(255))
        .check([](const T& t) {
                   const auto& r = t.work();
                   return tlvsFit({&r.pathTlvs, &r.resvTlvs, &r.resvErrTlvs, &r.resvTearTlvs});
               },
               "TCLRsvpDestinationRange::Validate()   A custom TLV holds more than 65531 bytes of data.")
        .maps(&R::sessionName);
    c.method("setDefault", &T::setDefault);
    describeWalk<&T::eros>(c, "Ero", "clearAllEro");
    describeWalk<&T::rros>(c, "Rro", "clearAllRro");
    describeWalk<&T::senders>(c, "Sender", "clearAllSender");
    describeWalk<&T::pathTlvs>(c, "PathTlv", "clearPathTlvList");
    describeWalk<&T::resvTlvs>(c, "ResvTlv", "clearResvTlvList");
    describeWalk<&T::resvErrTlvs>(c, "ResvErrTlv", "clearResvErrTlvList");
    describeWalk<&T::resvTearTlvs>(c, "ResvTearTlv", "clearResvTearTlvList");
});

}  // namespace zk
