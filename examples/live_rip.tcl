# A live RIP exchange: port 1/1/1 bound to one end of a veth pair, FRR's
# ripd as the device under test in a namespace of its own on the other end.
# Needs root; the namespaces, the veth pair and FRR are made here and
# removed at the end (tests/live/lab.tcl does that work).
#
# Run with the package on the Tcl path, as root:
#   TCLLIBPATH=build tclsh examples/live_rip.tcl
package require zkmainprotocol
package require zkchassis
source [file join [file dirname [file normalize [info script]]] .. tests live lab.tcl]

proc check {what code} {
    if {$code != 0} { error "$what failed ($code): $::zkErrorInfo" }
}

set why [lab::available]
if {$why eq "" && ![file executable /usr/lib/frr/ripd]} { set why "/usr/lib/frr/ripd not found (Debian package frr)" }
if {$why ne ""} {
    puts "live RIP exchange skipped: $why"
    return
}
lab::sweep

try {
    # The lab: two namespaces, a veth pair, FRR's zebra and ripd with two
    # routes of its own and fast timers (updates every 5 s).
    set portNs [lab::ns create]
    set dutNs [lab::ns create]
    lassign [lab::veth $portNs $dutNs -addr2 10.92.0.1/24] portIf dutIf
    set frr [lab::frr start $dutNs -daemons {zebra ripd} -config "
hostname dut
router rip
 network $dutIf
 route 30.0.0.0/24
 route 30.0.1.0/24
 timers basic 5 15 10
"]

    # The port: bound to its veth end, RIP service on, one router at
    # 10.92.0.2/24 advertising 200 /24s with metric 2 and tag 7.
    zkchassis::reset
    zkchassis::port configure 1 1 1 -netns $portNs -interface $portIf
    TCLProtocolServer services
    services configure -enableRipService 1
    check "services set" [services set 1 1 1]
    check "services write" [services write 1 1 1]

    TCLRipRouteRange range
    TCLRipLearnedRoute learned
    TCLRipInterfaceRouter router [range cget -this] [learned cget -this]
    TCLRipServer rip [router cget -this]
    check "select" [rip select 1 1 1]
    range configure -networkIpAddress 20.0.0.0 -networkMaskWidth 24 -numberOfNetworks 200 -metric 2 -routeTag 7
    check "addRouteRange" [router addRouteRange block]
    router configure -ipAddress 10.92.0.2 -ipMask 255.255.255.0 -sendType $ripMulticast \
        -responseMode $ripSplitHorizon -updateInterval 5 -updateIntervalOffset 1
    check "addRouter" [rip addRouter r1]
    check "write" [rip write]
    check "startRip" [services sendCommand 1 1 1 $startRip]

    proc frrRoutes {} { lab::frr json $::frr "show ip route rip json" }
    lab::until 10000 {[llength [dict keys [frrRoutes] 20.0.*]] == 200}
    puts "FRR holds [llength [dict keys [frrRoutes] 20.0.*]] RIP routes from the port"
    set route [lindex [dict get [frrRoutes] 20.0.199.0/24] 0]
    puts "  20.0.199.0/24: metric [dict get $route metric], next hop\
          [dict get [lindex [dict get $route nexthops] 0] ip]"

    check "getRouter" [rip getRouter r1]
    proc learnedRoutes {} {
        check "requestLearnedRoutes" [router requestLearnedRoutes]
        lab::until 3000 {[router getLearnedRouteList] == 0}
        set out {}
        for {set r [router getFirstLearnedRoute]} {$r == 0} {set r [router getNextLearnedRoute]} {
            lappend out "[learned cget -networkIpAddress]/[learned cget -networkMaskWidth]: metric\
                         [learned cget -metric], next hop [learned cget -nextHop]"
        }
        return $out
    }
    lab::until 8000 {[llength [learnedRoutes]] == 2}
    puts "the port learned from FRR:"
    foreach line [learnedRoutes] { puts "  $line" }

    check "stopRip" [services sendCommand 1 1 1 $stopRip]
    lab::until 5000 {[llength [dict keys [frrRoutes] 20.0.*]] == 0}
    puts "after stopRip (every route poisoned with metric 16) FRR holds\
          [llength [dict keys [frrRoutes] 20.0.*]] routes from the port"
} finally {
    zkchassis::reset
    lab::cleanup
}
