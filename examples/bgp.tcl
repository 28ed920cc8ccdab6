# BGP-4 on two ports of the default lab.
#
#   port 1/1/1: an internal peer in AS 65000 advertising an IPv4 block with
#               communities and an AS_SET segment, and one L3 VPN site
#   port 1/1/2: an external peer in AS 65100 advertising an IPv6 block
#               with a prepended AS path and an extended community
#
# Run with the package on the Tcl path, e.g. TCLLIBPATH=build tclsh examples/bgp.tcl
package require zkmainprotocol
package require zkchassis

proc check {what code} {
    if {$code != 0} { error "$what failed ($code): $::zkErrorInfo" }
}

# Parents are built on staging objects: the server copies the neighbor,
# the neighbor its route ranges and sites, at every add.
TCLBgp4AsPathItem segment
TCLBgp4ExtendedCommunity extCommunity
TCLBgp4RouteRange range [segment cget -this] [extCommunity cget -this]
TCLBgp4VpnRouteRange vpnRange
TCLBgp4RouteTarget target
TCLBgp4L3Site site [vpnRange cget -this] [target cget -this]
TCLBgp4MplsRouteRange mplsRange
TCLBgp4PrefixFilter prefixFilter
TCLBgp4RouteFilter routeFilter
TCLBgp4InternalNeighborItem internalPeer
TCLBgp4InternalTable internalTable [internalPeer cget -this]
TCLBgp4LearnedRoute learned
TCLBgp4Neighbor peer {*}[lmap o {range site mplsRange prefixFilter routeFilter internalTable learned} { $o cget -this }]
TCLBgp4Server bgp [peer cget -this]

# --- 1/1/1: IBGP ----------------------------------------------------------
check "select 1/1/1" [bgp select 1 1 1]
bgp configure -internalLocalAsNum 65000 -internalRetryDelay 30
check "set" [bgp set]

segment configure -segmentType $bgpSegmentAsSet -asList {64601 64602}
check "addAsPathItem" [range addAsPathItem aggregated]
range configure -networkAddress 172.16.0.0 -fromPrefix 24 -thruPrefix 24 -numberOfRoutes 100 \
    -origin $bgpOriginIGP -localPref 200 -communities "$bgpCommunityNoExport 65000:100"
check "addRouteRange" [peer addRouteRange campus]

vpnRange configure -networkAddress 192.168.10.0 -numberOfRoutes 10 -labelMode $bgp4VpnIncrementLabel -startLabel 3000 \
    -distinguisherType $bgp4DistinguisherTypeAS -distinguisherAsNum 65000 -distinguisherAssignedNum 1
check "addVpnRouteRange" [site addVpnRouteRange red-lan]
target configure -targetType $bgp4TargetTypeAS -targetAsNum 65000 -targetAssignedNum 1
check "addImportTarget" [site addImportTarget red]
check "addExportTarget" [site addExportTarget red]
site configure -description "customer red"
check "addL3Site" [peer addL3Site red]

peer configure -type $bgp4NeighborInternal -localIpAddress 10.1.0.2 -dutIpAddress 10.1.0.1 -localAsNum 65000 \
    -bgpId 10.1.0.2 -enableIpV4MplsVpn 1
check "addNeighbor" [bgp addNeighbor ibgp]
check "write" [bgp write]

# --- 1/1/2: EBGP over IPv6 ------------------------------------------------
check "select 1/1/2" [bgp select 1 1 2]
check "set" [bgp set]
range setDefault
segment configure -segmentType $bgpSegmentAsSequence -asList {65100 65100}
check "addAsPathItem" [range addAsPathItem prepended]
extCommunity configure -type 0 -subType 2 -value {fd 4c 00 00 00 07}
check "addExtendedCommunity" [range addExtendedCommunity target]
range configure -networkAddress 2001:db8:100:: -fromPrefix 48 -thruPrefix 48 -numberOfRoutes 20 \
    -asPathMode $bgpRouteAsPathPrependAs -enableMed 1 -med 50
check "addRouteRange" [peer addRouteRange v6-block]

peer setDefault
peer configure -type $bgp4NeighborExternal -addressType $addressTypeIpV6 -localIpAddress 2001:db8::2 \
    -dutIpAddress 2001:db8::1 -localAsNum 65100 -bgpId 10.2.0.2 -ttl 1 \
    -enableIpV4Unicast 0 -enableIpV6Unicast 1 -enableGracefulRestart 1
check "addNeighbor" [bgp addNeighbor ebgp]
check "write" [bgp write]

foreach port {1 2} {
    puts "1/1/$port bgp4: [zkchassis::written 1 1 $port bgp4]"
}
