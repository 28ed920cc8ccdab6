#include "hal/rip.h"

#include "hal/registry.h"

namespace hal {
namespace {

Json interfaceIdJson(std::optional<int> id) { return id ? Json(*id) : Json(nullptr); }

void commonRangeJson(Json& j, const EAnyIpRouteRange& r) {
    j["ID"] = r.GetID();
    j["Enabled"] = r.IsEnabled();
    j["RouteTag"] = r.GetRouteTag();
    j["NetworkNumber"] = r.GetNetworkNumber();
    j["Mask"] = r.GetMask();
    j["NumberOfRoutes"] = r.GetNumberOfRoutes();
    j["NextHop"] = r.GetNextHop();
}

RegisterRecord<ERIPServer> registerRipServer("ERIPServer");
RegisterRecord<ERIPRouter> registerRipRouter("ERIPRouter");
RegisterRecord<ERIPRouteRange> registerRipRouteRange("ERIPRouteRange");
RegisterRecord<ERIPngServer> registerRipngServer("ERIPngServer");
RegisterRecord<ERIPngRouter> registerRipngRouter("ERIPngRouter");
RegisterRecord<ERIPngInterface> registerRipngInterface("ERIPngInterface");
RegisterRecord<ERIPngRouteRange> registerRipngRouteRange("ERIPngRouteRange");

}  // namespace

void to_json(Json& j, const ERIPRouteRange& r) {
    j = Json::object();
    commonRangeJson(j, r);
    j["Metric"] = r.GetMetric();
}

void to_json(Json& j, const ERIPRouter& r) {
    j = Json::object();
    j["ID"] = r.GetID();
    j["Enabled"] = r.IsEnabled();
    j["IPAddress"] = r.GetIPAddress();
    j["ResponseMode"] = r.GetResponseMode();
    j["SendType"] = r.GetSendType();
    j["ReceiveType"] = r.GetReceiveType();
    j["GeneralRequestEnabled"] = r.IsGeneralRequestEnabled();
    j["AuthorizationEnabled"] = r.IsAuthorizationEnabled();
    j["AuthorizationPassword"] = r.GetAuthorizationPassword();
    j["UpdateInterval"] = r.GetUpdateInterval();
    j["UpdateIntervalOffset"] = r.GetUpdateIntervalOffset();
    j["InterfaceId"] = interfaceIdJson(r.GetInterfaceId());
    j["RouteRanges"] = r.GetRouteRanges();
}

void to_json(Json& j, const ERIPServer& s) {
    j = Json::object();
    j["ID"] = s.GetID();
    j["Routers"] = s.GetRouters();
}

Json ERIPServer::ToJson() const { return Json(*this); }

void to_json(Json& j, const ERIPngRouteRange& r) {
    j = Json::object();
    commonRangeJson(j, r);
    j["Metric"] = r.GetMetric();
    j["Step"] = r.GetStep();
    j["ExcludeLoopback"] = r.GetExcludeLoopback();
    j["ExcludeMulticast"] = r.GetExcludeMulticast();
}

void to_json(Json& j, const ERIPngInterface& i) {
    j = Json::object();
    j["ID"] = i.GetID();
    j["Enabled"] = i.IsEnabled();
    j["ResponseMode"] = i.GetResponseMode();
    j["InterfaceMetric"] = i.GetInterfaceMetric();
    j["InterfaceId"] = interfaceIdJson(i.GetInterfaceId());
}

void to_json(Json& j, const ERIPngRouter& r) {
    j = Json::object();
    j["ID"] = r.GetID();
    j["Enabled"] = r.IsEnabled();
    j["RouterId"] = r.GetRouterId();
    j["ReceiveType"] = r.GetReceiveType();
    j["UpdateInterval"] = r.GetUpdateInterval();
    j["UpdateIntervalOffset"] = r.GetUpdateIntervalOffset();
    j["InterfaceMetricEnabled"] = r.IsInterfaceMetricEnabled();
    j["RouteRanges"] = r.GetRouteRanges();
    j["Interfaces"] = r.GetInterfaces();
}

void to_json(Json& j, const ERIPngServer& s) {
    j = Json::object();
    j["ID"] = s.GetID();
    j["NumberOfRoutes"] = s.GetNumberOfRoutes();
    j["TimePeriod"] = s.GetTimePeriod();
    j["Routers"] = s.GetRouters();
}

Json ERIPngServer::ToJson() const { return Json(*this); }

}  // namespace hal
