# A million prefixes into FRR: the time from Established until FRR's bgpd
# holds every prefix a bound port sends, beside BIRD 2 sending the same
# million into the same kind of FRR in the same run, as a ratio (goal: at
# most 0.8 of BIRD's time). FRR's bgpd runs with -n (no kernel install).
# Needs root; without it one line says why it is skipped.
#
#   TCLLIBPATH=build tclsh bench/live_bgp.tcl ?-routes N?
package require zkmainprotocol
package require zkchassis
set here [file dirname [file normalize [info script]]]
source [file join $here .. tests live lab.tcl]

set routes 1000000
foreach {option value} $argv {
    if {$option eq "-routes"} { set routes $value }
}
set why [lab::available]
if {$why ne ""} {
    puts "BGP into FRR: skipped: $why"
    return
}
lab::sweep


# FRR in namespace `dut` at 10.95.0.1, the sender at 10.95.0.2 in `sender`.
proc frrConf {} {
    return {
hostname dut
router bgp 65001
 bgp router-id 10.95.0.1
 no bgp ebgp-requires-policy
 no bgp network import-check
 neighbor 10.95.0.2 remote-as 65002
 neighbor 10.95.0.2 timers 3 9
 neighbor 10.95.0.2 timers connect 1
}
}
proc frrState {frr} {
    set n [lab::frr json $frr "show bgp neighbors 10.95.0.2 json"]
    expr {[dict exists $n 10.95.0.2 bgpState] ? [dict get $n 10.95.0.2 bgpState] : ""}
}
proc frrCount {frr} {
    set s [lab::frr json $frr "show bgp ipv4 unicast summary json"]
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
range configure -networkAddress 20.0.0.0 -fromPrefix 24 -thruPrefix 24 -numberOfRoutes $routes
check "addRouteRange" [peer addRouteRange block]
peer configure -type $bgp4NeighborExternal -localIpAddress 10.95.0.2 -dutIpAddress 10.95.0.1 -localAsNum 65002 \
    -holdTime 9 -keepAlive 3
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

# BIRD with the same prefixes as static routes.
lassign [lab] sender senderIf frr
set conf "router id 10.95.0.2;\nprotocol device {}\nprotocol static st {\n  ipv4;\n"
for {set i 0} {$i < $routes} {incr i} {
    append conf "  route [expr {20 + ($i >> 16)}].[expr {($i >> 8) & 255}].[expr {$i & 255}].0/24 blackhole;\n"
}
append conf "}\nprotocol bgp dut {\n  local 10.95.0.2 as 65002;\n  neighbor 10.95.0.1 as 65001;\n"
append conf "  hold time 9; keepalive time 3; connect delay time 1; connect retry time 1;\n"
append conf "  ipv4 { import none; export all; };\n}\n"
set bird [lab::bird start $sender -config $conf -timeout 60000]
set birdMs [timeToHold $frr $routes {[lab::bird state $::bird dut] eq "Established"}]
lab::cleanup

puts [format "BGP into FRR: a bound port's %d prefixes held %.2f times as fast as BIRD's (port/BIRD = %.2f, goal <= 0.8;\
 %.2f s and %.2f s from Established)" $routes [expr {double($birdMs) / $portMs}] [expr {double($portMs) / $birdMs}] \
          [expr {$portMs / 1000.0}] [expr {$birdMs / 1000.0}]]
