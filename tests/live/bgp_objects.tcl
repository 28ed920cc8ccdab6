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
