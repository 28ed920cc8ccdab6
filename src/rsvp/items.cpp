#include "rsvp/items.h"

#include "core/parse.h"

namespace zk {

hal::EIPAddress rsvpIPv4(const std::string& text) { return hal::EIPAddress::FromV4(parseIPv4(text).value_or(0)); }

namespace {
std::string rsvpDotted(const hal::EIPAddress& a) { return a.ToString(); }
}  // namespace

int TCLRsvpEroItem::GetEroItem(const hal::ERSVPConfigEROItem* item) {
    if (!item) return kFail;
    FromRecord(*item);
    return kOk;
}

int TCLRsvpRroItem::GetRroItem(const hal::ERSVPConfigRROItem* item) {
    if (!item) return kFail;
    FromRecord(*item);
    return kOk;
}

int TCLRsvpCustomTlv::Get(const hal::ERSVP::ConfigCustomTLV* tlv) {
    if (!tlv) return 0;
    FromRecord(*tlv);
    return 1;
}

int TCLRsvpPlrNodeIdPair::Get(const hal::ERSVPConfigPLRNodeIDPair* pair) {
    if (!pair) return 0;
    FromRecord(*pair);
    return 1;
}

static binding::Describe<TCLRsvpEroItem> describeRsvpEroItem("TCLRsvpEroItem", [](auto& c) {
    using T = TCLRsvpEroItem;
    using R = hal::ERSVPConfigEROItem;
    c.constructor();
    c.option("type", &T::type).check(boolean, "TCLRsvpEroItem::Validate()    Invalid type.").maps(&R::type);
    c.option("ipAddress", &T::ipAddress)
        .check(ipv4, "TCLRsvpEroItem::Validate()    Invalid ipAddress")
        .mapsVia(rsvpIPv4, rsvpDotted, &R::ipAddress);
    // Only the sign is checked: 65536 is sent as AS 0.
    c.option("asNumber", &T::asNumber).check(atLeast(0), "TCLRsvpEroItem::Validate()   Invalid asNumber").maps(&R::as);
    c.option("prefixLength", &T::prefixLength)
        .check(range(0, 32), "TCLRsvpEroItem::Validate()   Invalid prefixLength")
        .maps(&R::prefixLength);
    c.option("enableLooseFlag", &T::enableLooseFlag)
        .check(boolean, "TCLRsvpEroItem::Validate()    Invalid enableLooseFlag.")
        .maps(&R::loose);
    c.checkOrder({"enableLooseFlag", "type", "ipAddress", "prefixLength", "asNumber"});
    c.method("setDefault", &T::setDefault);
});

// The RRO item reports its type, address, label and C-Type with the ERO
// item's texts; only its flags have texts of their own.
static binding::Describe<TCLRsvpRroItem> describeRsvpRroItem("TCLRsvpRroItem", [](auto& c) {
    using T = TCLRsvpRroItem;
    using R = hal::ERSVPConfigRROItem;
    c.constructor();
    c.option("type", &T::type).check(boolean, "TCLRsvpEroItem::Validate()    Invalid type.").maps(&R::type);
    c.option("ipAddress", &T::ipAddress)
        .check(ipv4, "TCLRsvpEroItem::Validate()    Invalid ipAddress")
        .mapsVia(rsvpIPv4, rsvpDotted, &R::ipAddress);
    c.option("label", &T::label).check(atLeast(0), "TCLRsvpEroItem::Validate()   Invalid label").maps(&R::label);
    c.option("cType", &T::cType).check(atLeast(0), "TCLRsvpEroItem::Validate()   Invalid cType").maps(&R::cType);
    c.option("enableProtectionAvailable", &T::enableProtectionAvailable)
        .check(boolean, "TCLRsvpRroItem::Validate()    Invalid enableProtectionAvailable.")
        .maps(&R::localProtectionAvailable);
    c.option("enableProtectionInUse", &T::enableProtectionInUse)
        .check(boolean, "TCLRsvpRroItem::Validate()    Invalid enableProtectionInUse.")
        .maps(&R::localProtectionInUse);
    c.option("enableGlobalLabel", &T::enableGlobalLabel)
        .check(boolean, "TCLRsvpRroItem::Validate()    Invalid enableGlobalLabel.")
        .maps(&R::globalLabel);
    // Not checked: any non-zero value enables.
    c.option("enableBandwidthProtection", &T::enableBandwidthProtection).maps(&R::bandwidthProtection);
    c.option("enableNodeProtection", &T::enableNodeProtection).maps(&R::nodeProtection);
    c.checkOrder({"type", "enableProtectionAvailable", "enableProtectionInUse", "enableGlobalLabel", "ipAddress",
                  "label", "cType"});
    c.method("setDefault", &T::setDefault);
});

namespace {

hal::EBlob rsvpTlvBytes(const std::string& text) { return hal::EBlob(parseBytes(text).value_or(std::vector<uint8_t>{})); }
std::string rsvpTlvText(const hal::EBlob& b) { return b.ToHex(); }

// The class and C-Type tests have never refused anything (a value would
// have to be negative and above 15 at once); every integer is taken and
// cut to a byte.
bool rsvpNeverRefused(int v) { return !(v < 0 && v > 15); }

}  // namespace

static binding::Describe<TCLRsvpCustomTlv> describeRsvpCustomTlv("TCLRsvpCustomTlv", [](auto& c) {
    using T = TCLRsvpCustomTlv;
    using R = hal::ERSVP::ConfigCustomTLV;
    c.constructor();
    c.option("tlvClass", &T::tlvClass)
        .check(rsvpNeverRefused, "TCLRsvpCustomTlv::Validate()   Invalid tlvClass")
        .maps(&R::tlvClass);
    c.option("cType", &T::cType).check(rsvpNeverRefused, "TCLRsvpCustomTlv::Validate()   Invalid cType").maps(&R::cType);
    c.option("data", &T::data)
        .check(bytes, "TCLRsvpCustomTlv::Validate()    Invalid data")
        .mapsVia(rsvpTlvBytes, rsvpTlvText, &R::data);
    c.checkOrder({"data", "cType", "tlvClass"});
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLRsvpPlrNodeIdPair> describeRsvpPlrNodeIdPair("TCLRsvpPlrNodeIdPair", [](auto& c) {
    using T = TCLRsvpPlrNodeIdPair;
    using R = hal::ERSVPConfigPLRNodeIDPair;
    c.constructor();
    c.option("plrId", &T::plrId)
        .check(ipv4, "TCLRsvpPlrNodeIdPair::Validate()    Invalid plrId.")
        .mapsVia(rsvpIPv4, rsvpDotted, &R::plrId);
    c.option("avoidNodeId", &T::avoidNodeId)
        .check(ipv4, "TCLRsvpPlrNodeIdPair::Validate()    Invalid avoidNodeId.")
        .mapsVia(rsvpIPv4, rsvpDotted, &R::avoidNodeId);
    c.method("setDefault", &T::setDefault);
});

}  // namespace zk
