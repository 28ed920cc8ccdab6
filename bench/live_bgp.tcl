# A million prefixes into FRR: the time from Established until FRR's bgpd
# holds every prefix a bound port sends, beside BIRD 2 sending the same
# million into the same kind of FRR in the same run, as a ratio (goal: at
# most 0.8 of BIRD's time). FRR's bgpd runs with -n (no kernel install).
# With -family vpn4 the prefixes are VPN-IPv4 routes (one distinguisher,
# one label, one route target), into FRR's `address-family ipv4 vpn`.
# Needs root; without it one line says why it is skipped.
#
#   TCLLIBPATH=build tclsh bench/live_bgp.tcl ?-routes N? ?-family ipv4|vpn4?
package require zkmainprotocol
package require zkchassis
set here [file dirname [file normalize [info script]]]
source [file join $here .. tests live lab.tcl]

set routes 1000000
set family ipv4
foreach {option value} $argv {
    if {$option eq "-routes"} { set routes $value }
    if {$option eq "-family"} { set family $value }
}
set vpn [expr {$family eq "vpn4"}]
set title [expr {$vpn ? "VPN-IPv4 BGP into FRR" : "BGP into FRR"}]
set why [lab::available]
if {$why ne ""} {
    puts "$title: skipped: $why"
    return
}
lab::sweep


# FRR in namespace `dut` at 10.95.0.1, the sender at 10.95.0.2 in `sender`.
proc frrConf {} {
    set conf {
hostname dut
router bgp 65001
 bgp router-id 10.95.0.1
 no bgp ebgp-requires-policy
 no bgp network import-check
 neighbor 10.95.0.2 remote-as 65002
 neighbor 10.95.0.2 timers 3 9
 neighbor 10.95.0.2 timers connect 1
}
    if {$::vpn} {
        append conf " no bgp default ipv4-unicast\n address-family ipv4 vpn\n  neighbor 10.95.0.2 activate\n exit-address-family\n"
    }
    return $conf
}
proc frrTable {} { expr {$::vpn ? "ipv4 vpn" : "ipv4 unicast"} }
proc frrState {frr} {
    set n [lab::frr json $frr "show bgp neighbors 10.95.0.2 json"]
    expr {[dict exists $n 10.95.0.2 bgpState] ? [dict get $n 10.95.0.2 bgpState] : ""}
}
proc frrCount {frr} {
    set s [lab::frr json $frr "show bgp [frrTable] summary json"]
    expr {[dict exists $s peers 10.95.0.2 pfxRcd] ? [dict get $s peers 10.95.0.2 pfxRcd] : 0}
}
# Milliseconds from Established, as the sender sees it (`established`, a
# condition polled every 5 ms: FRR answers its own queries late while it
# takes UPDATEs in), until FRR holds n.
proc timeToHold {frr n established} {
    if {![lab::until 30000 $established 5]} { error "no session" }
    set t0 [clock milliseconds]
    if {![lab::until 120000 {[frrCount $frr] >= $n} 50]} { error "FRR holds [frrCount $frr] of $n" }
    expr {[clock milliseconds] - $t0}
}
proc lab {} {
    set sender [lab::ns create]
    set dut [lab::ns create]
    lassign [lab::veth $sender $dut -addr1 10.95.0.2/24 -addr2 10.95.0.1/24] senderIf dutIf
    set frr [lab::frr start $dut -daemons {zebra bgpd} -args {-n} -config [frrConf]]
    list $sender $senderIf $frr
}

# The port.
lassign [lab] sender senderIf frr
source [file join $here .. tests live bgp_objects.tcl]
bindBgpPort $sender $senderIf
if {$vpn} {
    addVpnSite site [list [list -networkAddress 20.0.0.0 -fromPrefix 24 -thruPrefix 24 -numberOfRoutes $routes \
                               -startLabel 100 -distinguisherAsNum 65002 -distinguisherAssignedNum 1]] {65002:1}
} else {
    range configure -networkAddress 20.0.0.0 -fromPrefix 24 -thruPrefix 24 -numberOfRoutes $routes
    check "addRouteRange" [peer addRouteRange block]
}
peer configure -type $bgp4NeighborExternal -localIpAddress 10.95.0.2 -dutIpAddress 10.95.0.1 -localAsNum 65002 \
    -holdTime 9 -keepAlive 3 -enableIpV4Unicast [expr {!$vpn}] -enableIpV4MplsVpn $vpn
check "addNeighbor" [bgp addNeighbor dut]
check "write" [bgp write]
check "start" [services sendCommand 1 1 1 $startBgp4]
check "getNeighbor" [bgp getNeighbor dut]
proc portEstablished {} {
    if {[peer requestStatistics] != 0} { return 0 }
    lab::until 1000 {[peer getStatistic $::bgpStateMachineState] == 0} 1
    expr {[peer cget -statisticValue] == 6}
}
set portMs [timeToHold $frr $routes {[portEstablished]}]
check "stop" [services sendCommand 1 1 1 $stopBgp4]
zkchassis::reset
lab::cleanup

# BIRD with the same prefixes as static routes (VPN routes in a vpn4
# table, each with the port's distinguisher, label and route target).
# BIRD 2.0.12 sends the label of a VPN route only with its next hop kept
# (with next hop self it withdraws them): the static routes point at
# 10.95.0.3, a next hop on the link.
lassign [lab] sender senderIf frr
set conf "router id 10.95.0.2;\nprotocol device {}\n[expr {$vpn ? "vpn4 table vpntab;\n" : ""}]"
append conf "protocol static st {\n"
if {$vpn} {
    append conf "  vpn4 { table vpntab; };\n"
    set route {  route 65002:1 $net via 10.95.0.3 mpls 100;\n}
    set channel "vpn4 mpls { table vpntab; next hop keep; import none; export filter { bgp_ext_community.add((rt, 65002, 1)); accept; }; };"
} else {
    append conf "  ipv4;\n"
    set route {  route $net blackhole;\n}
    set channel "ipv4 { import none; export all; };"
}
for {set i 0} {$i < $routes} {incr i} {
    set net [expr {20 + ($i >> 16)}].[expr {($i >> 8) & 255}].[expr {$i & 255}].0/24
    append conf [subst $route]
}
append conf "}\nprotocol bgp dut {\n  local 10.95.0.2 as 65002;\n  neighbor 10.95.0.1 as 65001;\n"
append conf "  hold time 9; keepalive time 3; connect delay time 1; connect retry time 1;\n"
append conf "  $channel\n}\n"
set bird [lab::bird start $sender -config $conf -timeout 60000]
set birdMs [timeToHold $frr $routes {[lab::bird state $::bird dut] eq "Established"}]
lab::cleanup

puts [format "$title: a bound port's %d prefixes held %.2f times as fast as BIRD's (port/BIRD = %.2f, goal <= 0.8;\
 %.2f s and %.2f s from Established)" $routes [expr {double($birdMs) / $portMs}] [expr {double($portMs) / $birdMs}] \
          [expr {$portMs / 1000.0}] [expr {$birdMs / 1000.0}]]
