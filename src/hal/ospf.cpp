#include "hal/ospf.h"

#include "hal/registry.h"

namespace hal {

void to_json(Json& j, const ETrafficEngineeringData& te) {
    j = Json{{"MaxBandwidth", te.GetMaxBandwidth()},
             {"MaxReservableBandwidth", te.GetMaxReservableBandwidth()},
             {"Metric", te.GetMetric()},
             {"AdministrativeGroup", te.GetAdministrativeGroup()},
             {"UnreservedBandwidth", te.GetUnreservedBandwidths()}};
}

void to_json(Json& j, const EOSPFNetworkRange& r) {
    j = Json{{"ID", r.GetID()},
             {"NumberOfRows", r.GetNumberOfRows()},
             {"NumberOfCols", r.GetNumberOfCols()},
             {"EntryPointRow", r.GetEntryPointRow()},
             {"EntryPointColumn", r.GetEntryPointColumn()},
             {"FirstRouterID", r.GetFirstRouterID()},
             {"RouterIDIncrement", r.GetRouterIDIncrement()},
             {"FirstSubnetIPAddress", r.GetFirstSubnetIPAddress()},
             {"SubnetIncrement", r.GetSubnetIncrement()},
             {"IncrementAddressFromMask", r.GetIncrementAddressFromMask()},
             {"LinkType", r.GetLinkType()},
             {"BitField", r.GetBitField()},
             {"RouterLSAAdvertiseLoopback", r.GetRouterLSAAdvertiseLoopback()},
             {"TEEnabled", r.IsTEEnabled()},
             {"TEConfig", r.GetTEConfig()},
             {"NoOfRouters", r.CalcNoOfRouters()},
             {"NoOfSubnets", r.CalcNoOfSubnets()},
             {"NoOfGeneratedLSAs", r.CalcNoOfGeneratedLSAs()}};
}

void to_json(Json& j, const ELSInterface& i) {
    j = Json{{"ID", i.GetID()},
             {"Enabled", i.IsEnabled()},
             {"ConnectedToDUT", i.IsConnectedToDUT()},
             {"IPAddress", i.GetIPAddress()},
             {"InterfaceMask", i.GetInterfaceMask()},
             {"Metric", i.GetMetric()},
             {"TEEnabled", i.IsTEEnabled()},
             {"TrafficEngineering", i.GetTrafficEngineering()},
             {"LinkType", i.GetLinkType()},
             {"NeighborRouterID", i.GetNeighborRouterID()},
             {"InterfaceId", i.GetInterfaceId()},
             {"InterfaceDescription", i.GetInterfaceDescription()}};
}

void to_json(Json& j, const EOSPFInterface& i) {
    to_json(j, static_cast<const ELSInterface&>(i));
    j["AreaID"] = i.GetAreaID();
    j["Priority"] = i.GetPriority();
    j["Options"] = i.GetOptions();
    j["HelloInterval"] = i.GetHelloInterval();
    j["DeadInterval"] = i.GetDeadInterval();
    j["NetworkType"] = i.GetNetworkType();
    j["MTU"] = i.GetMTU();
    j["ValidateReceivedMTUSize"] = i.GetValidateReceivedMTUSize();
    j["AdvertiseNetworkRange"] = i.GetAdvertiseNetworkRange();
    j["AuthenticationMethod"] = i.GetAuthenticationMethod();
    j["MD5AuthenticationKeyId"] = i.GetMD5AuthenticationKeyId();
    j["AuthenticationPassword"] = i.GetAuthenticationPassword();
    j["MD5AuthenticationKey"] = i.GetMD5AuthenticationKey();
    j["NeighborIPAddress"] = i.GetNeighborIPAddress();
    j["NetworkRangeList"] = i.GetNetworkRangeList();
}

void to_json(Json& j, const EOSPFRouteRange& r) {
    j = Json{{"ID", r.GetID()},
             {"Enabled", r.IsEnabled()},
             {"Origin", r.GetOrigin()},
             {"Metric", r.GetMetric()},
             {"NumberOfRoutes", r.GetNumberOfRoutes()},
             {"MaskWidth", r.GetMaskWidth()},
             {"NetworkAddress", r.GetNetworkAddress()}};
}

void to_json(Json& j, const EOSPFRouterLink& l) {
    j = Json{{"Type", l.type}, {"LinkID", l.linkId}, {"LinkData", l.linkData}, {"Metric", l.metric}};
}

void to_json(Json& j, const EOSPFUserLSA& l) {
    j = Json{{"ID", l.GetID()},
             {"Type", l.GetType()},
             {"LinkStateID", l.GetLinkStateID()},
             {"AdvertisingRouter", l.GetAdvertisingRouter()},
             {"Options", l.GetOptions()},
             {"SequenceNumber", l.GetSequenceNumber()},
             {"Age", l.GetAge()}};
    switch (l.GetType()) {
    case EOSPFUserLSA::kRouter:
        j["RouterBits"] = l.GetRouterBits();
        j["RouterLinks"] = l.GetRouterLinks();
        break;
    case EOSPFUserLSA::kNetwork:
        j["NetworkMask"] = l.GetNetworkMask();
        j["AttachedRouters"] = l.GetAttachedRouters();
        break;
    case EOSPFUserLSA::kSummaryIp:
    case EOSPFUserLSA::kSummaryAs:
        j["NetworkMask"] = l.GetNetworkMask();
        j["Metric"] = l.GetMetric();
        break;
    case EOSPFUserLSA::kExternal:
        j["NetworkMask"] = l.GetNetworkMask();
        j["Metric"] = l.GetMetric();
        j["ExternalMetricType"] = l.GetExternalMetricType();
        j["ForwardingAddress"] = l.GetForwardingAddress();
        j["ExternalRouteTag"] = l.GetExternalRouteTag();
        break;
    default:  // opaque
        j["TlvType"] = l.GetTlvType();
        if (l.GetTlvType() == 0) {
            j["RouterAddress"] = l.GetRouterAddress();
        } else {
            j["TlvLinkType"] = l.GetTlvLinkType();
            j["TlvLinkID"] = l.GetTlvLinkID();
            j["LocalIPAddress"] = l.GetLocalIPAddress();
            j["RemoteIPAddress"] = l.GetRemoteIPAddress();
            j["TrafficEngineering"] = l.GetTrafficEngineering();
        }
        break;
    }
}

void to_json(Json& j, const EOSPFUserLSAGroup& g) {
    j = Json{{"ID", g.GetID()},
             {"Enabled", g.IsEnabled()},
             {"AreaID", g.GetAreaID()},
             {"Description", g.GetDescription()},
             {"UserLSAList", g.GetUserLSAList()}};
}

void to_json(Json& j, const EOSPFRouter& r) {
    j = Json{{"ID", r.GetID()},
             {"RouterID", r.GetRouterID()},
             {"Enabled", r.IsEnabled()},
             {"GenerateRouterLSA", r.GenerateRouterLSA()},
             {"DiscardLearnedLSAs", r.GetDiscardLearnedLSAs()},
             {"GracefulRestart", r.GetGracefulRestart()},
             {"RebuildAdjForLSDBChange", r.GetRebuildAdjForLSDBChange()},
             {"InterfaceList", r.GetInterfaceList()},
             {"RouteRangeList", r.GetRouteRangeList()},
             {"UserLSAGroupList", r.GetUserLSAGroupList()}};
}

void to_json(Json& j, const EOSPFServer& s) { j = Json{{"ID", s.GetID()}, {"RouterList", s.GetRouterList()}}; }

namespace {
RegisterRecord<ETrafficEngineeringData> registerTe("ETrafficEngineeringData");
RegisterRecord<EOSPFNetworkRange> registerNetworkRange("EOSPFNetworkRange");
RegisterRecord<ELSInterface> registerLsInterface("ELSInterface");
RegisterRecord<EOSPFInterface> registerInterface("EOSPFInterface");
RegisterRecord<EOSPFRouteRange> registerRouteRange("EOSPFRouteRange");
RegisterRecord<EOSPFUserLSA> registerUserLsa("EOSPFUserLSA");
RegisterRecord<EOSPFUserLSAGroup> registerUserLsaGroup("EOSPFUserLSAGroup");
RegisterRecord<EOSPFRouter> registerRouter("EOSPFRouter");
RegisterRecord<EOSPFServer> registerServer("EOSPFServer");
}  // namespace

}  // namespace hal
