# A rapid spanning tree bridge on port 1/1/1 of the default lab.
#
#   bridge 00:00:5e:00:53:01, priority 32768, RSTP
#     port 1: point-to-point uplink towards the device under test
#     port 2: an edge port on a shared segment with 50 hosts on VLAN 10
#
# The bridge is written to the port and started; then the port is told
# what it learned (the device under test won the root election), and the
# script reads the root bridge and walks the roles and states of the
# bridge's ports; last it stops the bridge. Run
# with the package on the Tcl path, e.g.
# TCLLIBPATH=build tclsh examples/stp.tcl
package require zkmainprotocol
package require zkchassis

proc check {what code} {
    if {$code != 0} { error "$what failed ($code): $::zkErrorInfo" }
}

# Parents are built on staging objects: the server copies the bridge, the
# bridge its interfaces and LANs, at every add.
TCLStpInterface intf
TCLStpLan lan
TCLStpLearnedBridge learnedBridge
TCLStpLearnedInterface learnedIntf
TCLStpBridge bridge {*}[lmap o {intf lan learnedBridge learnedIntf} { $o cget -this }]
TCLStpServer stp [bridge cget -this]

check "select 1/1/1" [stp select 1 1 1]
check "set" [stp set]

intf configure -portNumber 1 -pathCost 20000 -linkType $stpInterfacePointToPoint
check "addInterface" [bridge addInterface uplink]
intf configure -portNumber 2 -pathCost 200000 -linkType $stpInterfaceShared -enableEdgePort 1
check "addInterface" [bridge addInterface hosts]
lan configure -portNumber 2 -firstMac 00:00:5e:00:53:10 -count 50 -vlanId 10
check "addLan" [bridge addLan office]

# 802.1D timers: 2 x (forwardDelay - 1) >= maxAge >= 2 x (helloTime + 1).
bridge configure -mode $bridgeRstp -bridgePriority 32768 -bridgeMac 00:00:5e:00:53:01 \
    -helloTime 2 -maxAge 20 -forwardDelay 15 -transmitHoldCount 6
check "addBridge" [stp addBridge edge-bridge]
check "write" [stp write]
puts "1/1/1 stp: [zkchassis::written 1 1 1 stp]"

# --- starting the bridge ----------------------------------------------------
# This port answers requests for learned information of running protocols
# only; the start command is sent next to the port service switches.
zkchassis::port configure 1 1 1 -alwaysAnswers 0
TCLProtocolServer services
check "startStp" [services sendCommand 1 1 1 $startStp]
puts "running on 1/1/1: [zkchassis::port cget 1 1 1 -running]"

# --- what the port learned: the device under test is the root -------------
zkchassis::learn stpBridge 1 1 1 00:00:5e:00:53:01 {
    -rootPriority 4096 -rootMac 00:00:5e:00:53:a0 -rootPathCost 20000
    -designatedPriority 4096 -designatedMac 00:00:5e:00:53:a0 -rootPort 1 -topologyChanges 2
}
zkchassis::learn stpInterfaces 1 1 1 00:00:5e:00:53:01 {
    {-portNumber 1 -role 1 -state 2 -forwardTransitions 1}
    {-portNumber 2 -role 2 -state 2 -designatedPathCost 20000 -forwardTransitions 1}
}
check "getBridge" [stp getBridge edge-bridge]
check "requestLearnedBridge" [bridge requestLearnedBridge]
check "requestLearnedInterfaces" [bridge requestLearnedInterfaces]
while {[bridge getLearnedBridge] != 0} { after 10 }
puts "root bridge [learnedBridge cget -rootPriority]/[learnedBridge cget -rootMac]\
 at cost [learnedBridge cget -rootPathCost] through port [learnedBridge cget -rootPort],\
 [learnedBridge cget -topologyChanges] topology changes"

set roles {disabled root designated alternate backup}
set states {discarding learning forwarding}
while {[bridge getLearnedInterfaceList] != 0} { after 10 }
puts "edge-bridge learned [bridge cget -numberOfLearnedInterfaces] interfaces:"
for {set rc [bridge getFirstLearnedInterface]} {$rc == 0} {set rc [bridge getNextLearnedInterface]} {
    puts "  port [learnedIntf cget -portNumber]: [lindex $roles [learnedIntf cget -role]]\
 [lindex $states [learnedIntf cget -state]]"
}

# --- stopping it: the port no longer answers --------------------------------
check "stopStp" [services sendCommand 1 1 1 $stopStp]
puts "after stopStp: requestLearnedBridge -> [bridge requestLearnedBridge]: $::zkErrorInfo"
