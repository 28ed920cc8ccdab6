# OSPFv3 example: one emulated router on port 1/1/1 with two interfaces,
# one towards the device under test and one with a grid of routers behind
# it, two route ranges and one user LSA of each of the seven OSPFv3 types.
# The configuration is written, the JSON the port received is shown, and
# the LSAs the port learned on the first interface are walked.
package require zkmainprotocol
package require zkchassis

# The object tree: every parent is given the staging objects of its children.
TCLOspfV3LsaPrefix          v3Prefix
TCLOspfV3RouterLsaInterface v3RouterLsaIfc
TCLOspfV3RouterLsa          v3RouterLsa [v3RouterLsaIfc cget -this]
TCLOspfV3NetworkLsa         v3NetworkLsa
TCLOspfV3InterAreaPrefixLsa v3InterAreaPrefixLsa
TCLOspfV3InterAreaRouterLsa v3InterAreaRouterLsa
TCLOspfV3AsExternalLsa      v3ExternalLsa
TCLOspfV3LinkLsa            v3LinkLsa [v3Prefix cget -this]
TCLOspfV3IntraAreaPrefixLsa v3IntraLsa [v3Prefix cget -this]
TCLOspfV3UserLsaGroup       v3Group [v3RouterLsa cget -this] [v3NetworkLsa cget -this] \
    [v3InterAreaPrefixLsa cget -this] [v3InterAreaRouterLsa cget -this] [v3ExternalLsa cget -this] \
    [v3LinkLsa cget -this] [v3IntraLsa cget -this]
TCLOspfV3LearnedLsa         v3Learned
TCLOspfV3NetworkRange       v3Grid
TCLOspfV3Interface          v3Interface [v3Learned cget -this] [v3Grid cget -this]
TCLOspfV3RouteRange         v3Routes
TCLOspfV3Router             v3Router [v3Interface cget -this] [v3Routes cget -this] [v3Group cget -this]
TCLOspfV3Server             v3Server [v3Router cget -this]

proc v3Check {what code} {
    if {$code != 0} { error "$what failed ($code): $::zkErrorInfo" }
}

v3Check select [v3Server select 1 1 1]

# Two interfaces: towards the device under test, and to a 3 by 3 grid.
v3Interface configure -ipAddress 2001:db8:1::2 -prefixLength 64 -interfaceId 1 -areaId 0 \
    -networkType $ospfV3InterfaceBroadcast -connectToDut 1 \
    -options [expr {$ospfV3InterfaceOptionV6Bit | $ospfV3InterfaceOptionEBit | $ospfV3InterfaceOptionRBit}]
v3Check addInterface [v3Router addInterface toDut]
v3Grid configure -numRows 3 -numColumns 3 -entryPointRow 1 -entryPointColumn 1 \
    -firstRouterId 30.0.0.1 -firstSubnetIpAddress 2001:db8:100:: -maskWidth 64
v3Interface configure -ipAddress 2001:db8:2::2 -interfaceId 2 -connectToDut 0 \
    -networkType $ospfV3InterfacePointToPoint
v3Check addInterface [v3Router addInterface toGrid]

# Route ranges: inter-area prefixes and external type 2 routes.
v3Routes configure -networkIpAddress 2001:db8:1000:: -prefix 48 -numberOfNetworks 10 \
    -routeOrigin $ospfV3RouteOriginAnotherArea -metric 10
v3Check addRouteRange [v3Router addRouteRange interArea]
v3Routes configure -networkIpAddress 2001:db8:2000:: -prefix 64 -numberOfNetworks 100 \
    -routeOrigin $ospfV3RouteOriginExternalType2 -metric 20
v3Check addRouteRange [v3Router addRouteRange externals]

# One user LSA of each type, all advertised by router 20.1.1.2.
set adv {-advertisingRouterId 20.1.1.2}
v3RouterLsaIfc configure -type $ospfV3LsaRouterInterfaceTransit -metric 10 -interfaceId 1 \
    -neighborInterfaceId 5 -neighborRouterId 9.9.9.9
v3Check addInterface [v3RouterLsa addInterface transit]
v3RouterLsa configure {*}$adv -linkStateId 0.0.0.0 -routerBits 2
v3Check addRouterLsa [v3Group addRouterLsa router]
v3NetworkLsa configure {*}$adv -linkStateId 0.0.0.1 -attachedRouters {20.1.1.2 9.9.9.9}
v3Check addNetworkLsa [v3Group addNetworkLsa network]
v3InterAreaPrefixLsa configure {*}$adv -linkStateId 0.0.0.2 -metric 30 \
    -prefixAddress 2001:db8:3000:: -prefixLength 56
v3Check addInterAreaPrefixLsa [v3Group addInterAreaPrefixLsa interAreaPrefix]
v3InterAreaRouterLsa configure {*}$adv -linkStateId 0.0.0.3 -metric 40 -destinationRouterId 7.7.7.7
v3Check addInterAreaRouterLsa [v3Group addInterAreaRouterLsa interAreaRouter]
v3ExternalLsa configure {*}$adv -linkStateId 0.0.0.4 -metric 50 -prefixAddress 2001:db8:4000:: \
    -prefixLength 48 -forwardingAddress 2001:db8:1::9 -externalRouteTag 77
v3Check addAsExternalLsa [v3Group addAsExternalLsa external]
v3Prefix configure -prefixAddress 2001:db8:1:: -prefixLength 64 -prefixOptions $ospfV3PrefixOptionLABit
v3Check addPrefix [v3LinkLsa addPrefix onLink]
v3LinkLsa configure {*}$adv -linkStateId 0.0.0.1 -linkLocalAddress fe80::2
v3Check addLinkLsa [v3Group addLinkLsa link]
v3Prefix configure -prefixAddress 2001:db8:5000:: -prefixLength 64 -prefixOptions 0 -metric 5
v3Check addPrefix [v3IntraLsa addPrefix stub]
v3IntraLsa configure {*}$adv -linkStateId 0.0.0.5 -referencedLsType 0x2001 -referencedLinkStateId 0.0.0.0 \
    -referencedAdvertisingRouterId 20.1.1.2
v3Check addIntraAreaPrefixLsa [v3Group addIntraAreaPrefixLsa intraArea]
v3Group configure -description "one of each type" -areaId 0
v3Check addUserLsaGroup [v3Router addUserLsaGroup everyType]

v3Router configure -routerId 20.1.1.2 -enableAsBoundaryRouter 1
v3Check addRouter [v3Server addRouter west]
v3Check write [v3Server write]
puts "port 1/1/1 received:\n[zkchassis::written -pretty 1 1 1 ospfv3]"

# What the port learned on the interface towards the device under test.
zkchassis::learn ospfv3Lsas 1 1 1 2001:db8:1::2 {
    {-lsaType 0 -linkStateId 0.0.0.0 -advertisingRouterId 9.9.9.9}
    {-lsaType 1 -linkStateId 0.0.0.5 -advertisingRouterId 9.9.9.9}
    {-lsaType 6 -linkStateId 0.0.0.1 -advertisingRouterId 9.9.9.9 -prefixes {2001:db8:9::/64 2001:db8:1::/64}}
}
v3Check getRouter [v3Server getRouter west]
v3Check getInterface [v3Router getInterface toDut]
v3Check requestLearnedLsa [v3Interface requestLearnedLsa]
while {[v3Interface getLearnedLsaList] != 0} { after 10 }
puts "learned on toDut: [v3Interface cget -numberOfLearnedLsas] LSAs"
for {set rc [v3Interface getFirstLearnedLsa]} {$rc == 0} {set rc [v3Interface getNextLearnedLsa]} {
    puts [format "  type %d  id %-8s from %-8s prefixes {%s}" [v3Learned cget -lsaType] \
        [v3Learned cget -linkStateId] [v3Learned cget -advertisingRouterId] [v3Learned cget -prefixes]]
}
