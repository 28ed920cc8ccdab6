# LDP with layer-2 VPNs on two ports of the default lab.
#
#   port 1/1/1: a PE router (1.1.1.1) advertising a block of prefix FECs,
#               with a targeted session to the far PE 2.2.2.2 that carries
#               a Martini VLAN pseudowire range and a VPLS instance
#   port 1/1/2: an ATM port; a PE router (3.3.3.3) with ATM label ranges and
#               one pseudowire of every other L2 VPN type to 2.2.2.2
#
# Then the port is told which labels the router learned, and the script
# walks them. Run with the package on the Tcl path, e.g.
# TCLLIBPATH=build tclsh examples/ldp.tcl
package require zkmainprotocol
package require zkchassis

proc check {what code} {
    if {$code != 0} { error "$what failed ($code): $::zkErrorInfo" }
}

# Parents are built on staging objects: the server copies the router, the
# router its interfaces, peers, ranges and L2 VPN interfaces, at every add.
TCLLdpAtmLabelRange atmRange
TCLLdpInterface intf [atmRange cget -this]
TCLLdpTargetedPeer peer
TCLLdpAdvertiseFecRange fecRange
TCLLdpRequestFecRange requestRange
TCLLdpL2VpnVcRange vcRange
TCLLdpVplsMacRange macRange
TCLLdpL2VpnInterface l2Vpn [vcRange cget -this] [macRange cget -this]
TCLLdpLearnedLabel learned
TCLLdpRouter router {*}[lmap o {intf peer fecRange requestRange l2Vpn learned} { $o cget -this }]
TCLLdpServer ldp [router cget -this]

# --- 1/1/1: FECs, a targeted peer, a VLAN pseudowire range, VPLS ---------
check "select 1/1/1" [ldp select 1 1 1]
check "set" [ldp set]

intf configure -ipAddress 10.1.0.2 -ipMask 255.255.255.0 -discoveryMode $ldpInterfaceExtendedMartini
check "addInterface" [router addInterface core]
peer configure -peerAddress 2.2.2.2
check "addTargetedPeer" [router addTargetedPeer far-pe]
fecRange configure -networkAddress 172.16.0.0 -prefixLength 24 -numberOfNetworks 100 \
    -labelMode $ldpAdvertiseFecRangeIncrement -firstLabel 1000
check "addAdvertiseFecRange" [router addAdvertiseFecRange campus]

# Twenty VLAN pseudowires (RFC 4448, tagged mode): VC IDs 100, 101 ...
# on VLANs 200, 201 ..., each with its own label.
vcRange configure -peerAddress 2.2.2.2 -firstVcId 100 -count 20 -labelMode $ldpL2VpnVcIncrementLabel \
    -firstLabel 5000 -enableControlWord 1 -firstVlanId 200 -vlanIdStep 1
check "addVcRange" [l2Vpn addVcRange vlans]
l2Vpn configure -type $l2VpnInterfaceVLAN -groupId 1 -mtu 1500 -description "customer vlans"
check "addL2VpnInterface" [router addL2VpnInterface martini]

# A VPLS instance (RFC 4762): VPLS ID 900 to the far PE, 500 hosts behind it.
vcRange setDefault
vcRange configure -peerAddress 2.2.2.2 -firstVcId 900 -firstLabel 6000
check "addVcRange" [l2Vpn addVcRange far-pe]
macRange configure -firstMac 0000.5e00.5301 -count 500 -vlanId 10
check "addMacRange" [l2Vpn addMacRange hosts]
l2Vpn configure -type $l2VpnInterfaceEthernetVPLS -groupId 2 -description "vpls blue"
check "addL2VpnInterface" [router addL2VpnInterface vpls-blue]

router configure -routerId 1.1.1.1 -transportAddress 1.1.1.1 -enableGracefulRestart 1
check "addRouter" [ldp addRouter pe1]
check "write" [ldp write]

# --- 1/1/2: an ATM port with a pseudowire of every other type -------------
zkchassis::port configure 1 1 2 -type atm
check "select 1/1/2" [ldp select 1 1 2]
check "set" [ldp set]
router setDefault
atmRange configure -minVpi 0 -maxVpi 15 -minVci 32 -maxVci 1023
check "addAtmLabelRange" [intf addAtmLabelRange vpi0-15]
intf setDefault
intf configure -ipAddress 10.2.0.2 -labelDistribution $ldpInterfaceDownstreamOnDemand -atmVcDirection $atmVcBidirectional
check "addInterface" [router addInterface atm0]
requestRange configure -networkAddress 192.168.0.0 -prefixLength 24 -numberOfNetworks 4 -peerAddress 10.2.0.1
check "addRequestFecRange" [router addRequestFecRange dod]
check "addTargetedPeer" [router addTargetedPeer far-pe]

set vcId 1000
foreach type {FrameRelay ATMAAL5 ATMXCell Ethernet HDLC PPP CEM ATMVCC ATMVPC} {
    vcRange setDefault
    vcRange configure -peerAddress 2.2.2.2 -firstVcId [incr vcId] -firstLabel [expr {$vcId + 7000}] \
        -enableControlWord [expr {$type eq "CEM"}]
    check "addVcRange" [l2Vpn addVcRange pw]
    l2Vpn setDefault
    l2Vpn configure -type [set l2VpnInterface$type] -description "$type pseudowire"
    check "addL2VpnInterface" [router addL2VpnInterface $type]
}
router configure -routerId 3.3.3.3
check "addRouter" [ldp addRouter pe3]
check "write" [ldp write]

foreach port {1 2} {
    puts "1/1/$port ldp: [zkchassis::written 1 1 $port ldp]"
}

# --- labels the router on 1/1/1 learned from the far PE --------------------
zkchassis::learn ldpLabels 1 1 1 1.1.1.1 {
    {-networkAddress 10.9.0.0 -prefixLength 16 -label 3001 -peerAddress 2.2.2.2}
    {-vcId 100 -groupId 1 -pwType 4 -label 7100 -peerAddress 2.2.2.2}
    {-vcId 900 -groupId 2 -pwType 5 -label 7900 -peerAddress 2.2.2.2}
}
check "select 1/1/1" [ldp select 1 1 1]
check "getRouter" [ldp getRouter pe1]
check "requestLearnedLabels" [router requestLearnedLabels]
while {[router getLearnedLabelList] != 0} { after 10 }
puts "pe1 learned [router cget -numberOfLearnedLabels] labels:"
for {set rc [router getFirstLearnedLabel]} {$rc == 0} {set rc [router getNextLearnedLabel]} {
    if {[learned cget -fecType] == 128} {
        puts "  VC [learned cget -vcId] (PW type [learned cget -pwType]) label [learned cget -label] from [learned cget -peerAddress]"
    } else {
        puts "  [learned cget -networkAddress]/[learned cget -prefixLength] label [learned cget -label] from [learned cget -peerAddress]"
    }
}
