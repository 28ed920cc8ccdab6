# RSVP-TE on port 1/1/1 of the default lab: an ingress neighbor pair that
# signals two tunnels along a strict explicit route of three hops, from a
# sender range that asks for facility-backup fast reroute around one node;
# the configuration is written and shown, then the labels the port learned
# on the pair are walked.
#
# Run with the package on the Tcl path, e.g. TCLLIBPATH=build tclsh examples/rsvp.tcl
package require zkmainprotocol
package require zkchassis

proc check {what code} {
    if {$code != 0} { error "$what failed ($code): $::zkErrorInfo" }
}

# Parents are built on staging objects: the server copies the pair, the
# pair its destination ranges, a range its hops and senders, at every add.
TCLRsvpEroItem hop
TCLRsvpRroItem recorded
TCLRsvpCustomTlv tlv
TCLRsvpPlrNodeIdPair plr
TCLRsvpSenderRange senders [plr cget -this] [tlv cget -this]
TCLRsvpDestinationRange tunnels [hop cget -this] [recorded cget -this] [senders cget -this] [tlv cget -this]
TCLRsvpNeighborPair pair [tunnels cget -this] [tlv cget -this]
TCLRsvpServer rsvp [pair cget -this]

check "select 1/1/1" [rsvp select 1 1 1]

# A strict route through three routers, in order.
foreach ip {10.1.0.2 10.2.0.2 10.3.0.2} {
    hop configure -type $rsvpEroIpV4 -ipAddress $ip -prefixLength 32 -enableLooseFlag 0
    check "addEro $ip" [tunnels addEro]
}

# Senders ask for facility backup; the PLR 10.1.0.2 avoids node 10.2.0.2.
plr configure -plrId 10.1.0.2 -avoidNodeId 10.2.0.2
check "addPlr" [senders addPlr]
senders configure -senderIpStart 10.0.0.1 -senderCount 1 -lspIdStart 100 -tokenBucketRate 125000 \
    -tokenBucketSize 1500 -peakDataRate 125000 -enableFastReroute 1 -enableOneToOneBackup 0 \
    -enableFacilityBackup 1 -fastRerouteHopLimit 4 -fastRerouteBandwidth 125000
check "addSender" [tunnels addSender]

tunnels configure -tunnelIpStart 20.0.0.1 -tunnelCount 2 -behavior $rsvpIngress -eroMode $rsvpPrependStrict \
    -reservationStyle $rsvpSE -enableLocalProtectionDesired 1 -enableNodeProtectionDesired 1 -sessionName core-lsp
check "addDestinationRange" [pair addDestinationRange core]

pair configure -ipAddress 10.0.0.1 -dutAddress 10.1.0.2 -enableHello 1 -enableRefreshReduction 1
check "addNeighborPair" [rsvp addNeighborPair west]
check "write" [rsvp write]
puts "what port 1/1/1 received:\n[zkchassis::written -pretty 1 1 1 rsvp]"

# The device under test answers the two tunnels with labels; the pair,
# loaded from the server, asks and walks them.
zkchassis::learn rsvpLabels 1 1 1 10.0.0.1 10.1.0.2 {{"20.0.0.1 tunnel 1 lsp 100" 3001} {"20.0.0.2 tunnel 2 lsp 100" 3002}}
check "getNeighborPair" [rsvp getNeighborPair west]
check "requestRxLabels" [pair requestRxLabels]
while {[pair getLabels] != 0} { after 10 }
puts "learned [pair cget -numRxLabels] labels:"
for {set rc [pair getFirstLabel]} {$rc == 0} {set rc [pair getNextLabel]} {
    puts "  [pair cget -lsp_tunnel] -> [pair cget -rxLabel]"
}

foreach o {rsvp pair tunnels senders plr tlv recorded hop} { $o -delete }
