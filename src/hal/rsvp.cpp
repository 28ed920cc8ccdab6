#include "hal/rsvp.h"

#include "hal/registry.h"

namespace hal {

std::vector<int> ERSVP::ConfigLabelTable::GetPositions() const {
    std::vector<int> positions(entries.size());
    for (size_t i = 0; i < entries.size(); ++i) positions[i] = int(i);
    return positions;
}

std::string ERSVP::ConfigLabelTable::ToStringFECDescription(int position) const {
    return position >= 0 && size_t(position) < entries.size() ? entries[size_t(position)].fecDescription : "";
}

std::string ERSVP::ConfigLabelTable::ToStringLabel(int position) const {
    return position >= 0 && size_t(position) < entries.size() ? std::to_string(entries[size_t(position)].label) : "";
}

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
