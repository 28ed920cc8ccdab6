# OSPF example: one emulated router on each of two ports. The first router
# has an interface with a grid of routers behind it and a route range; the
# second advertises an external route as a user LSA. Both configurations
# are written and the JSON each port received is shown.
package require zkmainprotocol
package require zkchassis

# The object tree: every parent is given the staging objects of its children.
TCLOspfUserLsa      ospfLsa
TCLOspfNetworkRange ospfGrid
TCLOspfInterface    ospfInterface [ospfLsa cget -this] [ospfGrid cget -this]
TCLOspfRouteRange   ospfRoutes
TCLOspfUserLsaGroup ospfGroup [ospfLsa cget -this]
TCLOspfRouter       ospfRouter [ospfInterface cget -this] [ospfRoutes cget -this] [ospfGroup cget -this]
TCLOspfServer       ospfServer [ospfRouter cget -this]

proc ospfCheck {what code} {
    if {$code != 0} { error "$what failed ($code): $::zkErrorInfo" }
}

# Port 1/1/1: a router with a 3 by 3 grid behind its interface.
ospfCheck select [ospfServer select 1 1 1]
ospfInterface configure -ipAddress 20.1.1.2 -ipMask 255.255.255.0 -areaId 0 \
    -networkType $ospfBroadcast -connectToDut 0 -enableAdvertiseNetworkRange 1
ospfGrid configure -numRows 3 -numColumns 3 -entryPointRow 1 -entryPointColumn 1 \
    -firstRouterId 30.0.0.1 -firstSubnetIpAddress 31.0.0.0 -maskWidth 24
ospfCheck addInterface [ospfRouter addInterface toGrid]
ospfRoutes configure -networkIpAddress 40.0.0.0 -prefix 24 -numberOfNetworks 10 \
    -routeOrigin $ospfRouteOriginExternal -metric 20
ospfCheck addRouteRange [ospfRouter addRouteRange externals]
ospfRouter configure -routerId 20.1.1.2
ospfCheck addRouter [ospfServer addRouter west]
ospfCheck write [ospfServer write]
puts "port 1/1/1 received:\n[zkchassis::written -pretty 1 1 1 ospf]"

# Port 1/1/2: a router towards the device under test that advertises one
# AS-external LSA of its own.
ospfCheck select [ospfServer select 1 1 2]
ospfInterface setDefault
ospfInterface configure -ipAddress 20.1.2.2 -ipMask 255.255.255.0 -connectToDut 1
ospfCheck addInterface [ospfRouter addInterface toDut]
ospfLsa configure -lsaType $ospfLsaExternal -linkStateId 50.0.0.0 -advertisingRouterId 20.1.2.2 \
    -networkMask 255.255.0.0 -metric 100 -externalMetricType $ospfExteralMetricType2
ospfCheck addUserLsa [ospfGroup addUserLsa external1]
ospfGroup configure -description "static externals" -areaId 0
ospfCheck addUserLsaGroup [ospfRouter addUserLsaGroup statics]
ospfRouter configure -routerId 20.1.2.2
ospfCheck addRouter [ospfServer addRouter east]
ospfCheck write [ospfServer write]
puts "port 1/1/2 received:\n[zkchassis::written -pretty 1 1 2 ospf]"

# The objects go in the reverse order of their making.
foreach obj {ospfServer ospfRouter ospfGroup ospfRoutes ospfInterface ospfGrid ospfLsa} { $obj -delete }
rename ospfCheck {}
