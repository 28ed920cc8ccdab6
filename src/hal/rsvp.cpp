#include "hal/rsvp.h"

#include "hal/registry.h"

namespace hal {

namespace {
RegisterRecord<ERSVPConfigEROItem> registerRsvpEroItem("ERSVPConfigEROItem");
RegisterRecord<ERSVPConfigRROItem> registerRsvpRroItem("ERSVPConfigRROItem");
RegisterRecord<ERSVP::ConfigCustomTLV> registerRsvpCustomTlv("ERSVP::ConfigCustomTLV");
RegisterRecord<ERSVPConfigPLRNodeIDPair> registerRsvpPlrNodeIdPair("ERSVPConfigPLRNodeIDPair");
RegisterRecord<ERSVPConfigSenderRange> registerRsvpSenderRange("ERSVPConfigSenderRange");
RegisterRecord<ERSVPConfigDestinationRange> registerRsvpDestinationRange("ERSVPConfigDestinationRange");
RegisterRecord<ERSVPConfigNeighborPair> registerRsvpNeighborPair("ERSVPConfigNeighborPair");
RegisterRecord<ERSVPServer> registerRsvpServer("ERSVPServer");
}  // namespace

}  // namespace hal
