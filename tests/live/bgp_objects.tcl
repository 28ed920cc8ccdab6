# The script objects of one BGP-4 port with one neighbor, as the live tests
# and the live benchmark build them: every staging object a neighbor takes,
# the neighbor `peer`, the server `bgp`, the learned route `learned` and the
# port services `services`. Needs the zkmainprotocol package.
TCLProtocolServer services
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

proc check {what code} {
    if {$code != 0} { error "$what failed ($code): $::zkErrorInfo" }
}

# Binds port 1/1/1 to `ifname` in `netns` with the BGP-4 service on.
proc bindBgpPort {netns ifname} {
    zkchassis::reset
    zkchassis::port configure 1 1 1 -netns $netns -interface $ifname
    services configure -enableBgp4Service 1
    check "services set" [services set 1 1 1]
    check "services write" [services write 1 1 1]
    check "select" [bgp select 1 1 1]
    check "set" [bgp set]
}

# Adds to `peer` the L3 site `name`: one VPN route range for each option
# list of `ranges` (on top of the defaults), and `targets` as its export
# route targets, each "AS:number" or "a.b.c.d:number".
proc addVpnSite {name ranges targets} {
    set i 0
    foreach options $ranges {
        vpnRange setDefault
        vpnRange configure {*}$options
        check "addVpnRouteRange" [site addVpnRouteRange $name-[incr i]]
    }
    foreach t $targets {
        set number [lindex [split $t :] end]
        set global [string range $t 0 end-[expr {[string length $number] + 1}]]
        target setDefault
        if {[string first . $global] >= 0} {
            target configure -targetType 1 -targetIpAddress $global -targetAssignedNum $number
        } else {
            target configure -targetType 0 -targetAsNum $global -targetAssignedNum $number
        }
        check "addExportTarget" [site addExportTarget $name-$t]
    }
    check "addL3Site" [peer addL3Site $name]
}

# Adds to `peer` the MPLS route range `name` with `options` on top of the defaults.
proc addMplsRange {name options} {
    mplsRange setDefault
    mplsRange configure {*}$options
    check "addMplsRouteRange" [peer addMplsRouteRange $name]
}
