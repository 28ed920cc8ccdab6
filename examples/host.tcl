# The host interface on port 1/1/1 of the default lab: a BGP-4 peer is
# written and started, the port answers learned routes only while BGP-4
# runs, its statistics are switched off and on, and the port trace records
# the session in PortTrace.txt.
#
# Run with the package on the Tcl path, e.g. TCLLIBPATH=build tclsh examples/host.tcl
package require zkmainprotocol
package require zkchassis

proc check {what code {want 0}} {
    if {$code != $want} { error "$what gave $code, not $want: $::zkErrorInfo" }
    puts [format "%-46s %s" $what [expr {$code == 0 ? "ok" : "refused: $::zkErrorInfo"}]]
}

TCLAPIVersion hostVersion
puts "host interface [hostVersion cget -apiVersion], package [hostVersion cget -packageVersion]"

# Trace the port into a capture directory of our own.
set traceDir [file join [pwd] host-example-[pid]]
file mkdir $traceDir
zkchassis::captureDir $traceDir
zkchassis::trace 1 1 1 on

# A port that answers only for the protocols started on it.
zkchassis::port configure 1 1 1 -alwaysAnswers 0
zkchassis::learn bgpRoutes 1 1 1 10.1.0.1 {{-networkAddress 40.0.0.0 -prefixLength 8}}
zkchassis::learn bgpStats 1 1 1 10.1.0.1 [list $bgpUpdateReceived 42]

TCLBgp4LearnedRoute hostLearned
TCLBgp4Neighbor hostPeer NULL NULL NULL NULL NULL NULL [hostLearned cget -this]
TCLBgp4Server hostBgp [hostPeer cget -this]
TCLProtocolServer hostServices

check "select 1/1/1" [hostBgp select 1 1 1]
hostPeer configure -dutIpAddress 10.1.0.1 -localIpAddress 10.1.0.2
check "addNeighbor" [hostBgp addNeighbor dut]
check "write" [hostBgp write]
check "getNeighbor" [hostBgp getNeighbor dut]
check "requestLearnedRoutes before the start" [hostPeer requestLearnedRoutes] 1

check "sendCommand startBgp4" [hostServices sendCommand 1 1 1 $startBgp4]
check "requestLearnedRoutes" [hostPeer requestLearnedRoutes]
check "getLearnedRouteList" [hostPeer getLearnedRouteList]
check "getFirstLearnedRoute" [hostPeer getFirstLearnedRoute]
puts "learned: [hostLearned cget -networkAddress]/[hostLearned cget -prefixLength]"

check "enableStatistics bgp4 off" [hostServices enableStatistics 1 1 1 bgp4 0]
check "requestStatistics" [hostPeer requestStatistics] 1
check "enableStatistics bgp4 on" [hostServices enableStatistics 1 1 1 bgp4 1]
check "requestStatistics" [hostPeer requestStatistics]
check "getStatistic bgpUpdateReceived" [hostPeer getStatistic $bgpUpdateReceived]
puts "updates received: [hostPeer cget -statisticValue]"

check "sendCommand stopBgp4" [hostServices sendCommand 1 1 1 $stopBgp4]
check "sendCommand 12345" [hostServices sendCommand 1 1 1 12345] 1
puts "running on 1/1/1: {[zkchassis::port cget 1 1 1 -running]}"
puts "commands received: [zkchassis::port cget 1 1 1 -commands]"

zkchassis::trace 1 1 1 off
set f [open [file join $traceDir PortTrace.txt]]
puts "PortTrace.txt:"
foreach line [split [string trimright [read $f] \n] \n] { puts "  [string range $line 0 99]" }
close $f
zkchassis::captureDir ""
file delete -force $traceDir
foreach obj {hostServices hostBgp hostPeer hostLearned hostVersion} { $obj -delete }
