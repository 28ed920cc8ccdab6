# A live BGP-4 session: port 1/1/1 bound to one end of a veth pair, FRR as
# the device under test in a namespace of its own on the other end. Needs
# root; the namespaces, the veth pair and FRR are made here and removed at
# the end (tests/live/lab.tcl does that work).
#
# Run with the package on the Tcl path, as root:
#   TCLLIBPATH=build tclsh examples/live_bgp.tcl
package require zkmainprotocol
package require zkchassis
source [file join [file dirname [file normalize [info script]]] .. tests live lab.tcl]

proc check {what code} {
    if {$code != 0} { error "$what failed ($code): $::zkErrorInfo" }
}

set why [lab::available]
if {$why ne ""} {
    puts "live BGP session skipped: $why"
    return
}
lab::sweep

try {
    # The lab: two namespaces, a veth pair, FRR's zebra and bgpd in AS 65001.
    set portNs [lab::ns create]
    set dutNs [lab::ns create]
    lassign [lab::veth $portNs $dutNs -addr2 10.96.0.1/24] portIf dutIf
    set frr [lab::frr start $dutNs -daemons {zebra bgpd} -config {
hostname dut
router bgp 65001
 bgp router-id 10.96.0.1
 no bgp ebgp-requires-policy
 no bgp network import-check
 neighbor 10.96.0.2 remote-as 65002
 neighbor 10.96.0.2 timers 3 9
 neighbor 10.96.0.2 timers connect 1
 address-family ipv4 unicast
  network 30.0.0.0/24
 exit-address-family
}]

    # The port: bound to its veth end, BGP-4 service on, one external
    # neighbor in AS 65002 advertising 1,000 /24s.
    zkchassis::reset
    zkchassis::port configure 1 1 1 -netns $portNs -interface $portIf
    TCLProtocolServer services
    services configure -enableBgp4Service 1
    check "services set" [services set 1 1 1]
    check "services write" [services write 1 1 1]

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
    TCLBgp4Neighbor peer {*}[lmap o {range site mplsRange prefixFilter routeFilter internalTable learned} {
        $o cget -this
    }]
    TCLBgp4Server bgp [peer cget -this]
    check "select" [bgp select 1 1 1]
    check "set" [bgp set]
    range configure -networkAddress 20.0.0.0 -fromPrefix 24 -thruPrefix 24 -numberOfRoutes 1000 -med 10 -enableMed 1
    check "addRouteRange" [peer addRouteRange block]
    peer configure -type $bgp4NeighborExternal -localIpAddress 10.96.0.2 -dutIpAddress 10.96.0.1 \
        -localAsNum 65002 -holdTime 9 -keepAlive 3
    check "addNeighbor" [bgp addNeighbor dut]
    check "write" [bgp write]
    check "startBgp4" [services sendCommand 1 1 1 $startBgp4]

    proc frrPeer {} { dict get [lab::frr json $::frr "show bgp neighbors 10.96.0.2 json"] 10.96.0.2 }
    proc frrCount {} {
        set s [lab::frr json $::frr "show bgp ipv4 unicast summary json"]
        expr {[dict exists $s peers 10.96.0.2 pfxRcd] ? [dict get $s peers 10.96.0.2 pfxRcd] : 0}
    }
    lab::until 10000 {[dict get [frrPeer] bgpState] eq "Established" && [frrCount] == 1000}
    puts "FRR's session with the port: [dict get [frrPeer] bgpState]"
    puts "FRR holds [frrCount] prefixes from the port"
    set path [lindex [dict get [lab::frr json $frr "show bgp ipv4 unicast 20.0.231.0/24 json"] paths] 0]
    puts "  20.0.231.0/24: AS path [dict get $path aspath string], MED [dict get $path metric],\
          next hop [dict get [lindex [dict get $path nexthops] 0] ip]"

    check "getNeighbor" [bgp getNeighbor dut]
    proc learnedCount {} {
        check "requestLearnedRoutes" [peer requestLearnedRoutes]
        lab::until 3000 {[peer getLearnedRouteList] == 0}
        peer cget -numberOfLearnedRoutes
    }
    lab::until 5000 {[learnedCount] == 1001}
    puts "the port learned [peer cget -numberOfLearnedRoutes] routes from FRR\
          (FRR also sends the port's own routes back, behind its AS)"
    for {set r [peer getFirstLearnedRoute]} {$r == 0} {set r [peer getNextLearnedRoute]} {
        if {[learned cget -networkAddress] eq "30.0.0.0"} {
            puts "  30.0.0.0/[learned cget -prefixLength]: AS path [learned cget -asPath],\
                  next hop [learned cget -nextHopIpAddress]"
        }
    }

    check "requestStatistics" [peer requestStatistics]
    lab::until 3000 {[peer getStatistic $bgpStateMachineState] == 0}
    foreach {name selector} [list state $bgpStateMachineState "UPDATEs sent" $bgpUpdateSent \
                                 "routes advertised" $bgpRoutesAdvertised "KEEPALIVEs received" $bgpKeepAliveReceived] {
        peer getStatistic $selector
        puts [format "  %-20s %s" $name [peer cget -statisticValue]]
    }
    check "stopBgp4" [services sendCommand 1 1 1 $stopBgp4]
    lab::until 3000 {[dict get [frrPeer] bgpState] ne "Established"}
    puts "after stopBgp4 FRR says: [dict get [frrPeer] lastNotificationReason]"
} finally {
    zkchassis::reset
    lab::cleanup
}
