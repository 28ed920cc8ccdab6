# Multicast group protocols on the default lab.
#
#   port 1/1/1: IGMPv3 hosts joining a source-specific range (include
#               two sources) and an any-source range that excludes one
#               source; the querier's view of the groups is read back
#   port 1/1/2: MLDv2 hosts on link-local addresses
#   port 1/1/3: a PIM-SM router with a (*,G) join towards the RP, an (S,G)
#               join, a source it registers with the RP, and a
#               candidate-RP range; its neighbours and RP set are read back
#
# Run with the package on the Tcl path, e.g.
# TCLLIBPATH=build tclsh examples/multicast.tcl
package require zkmainprotocol
package require zkchassis

proc check {what code} {
    if {$code != 0} { error "$what failed ($code): $::zkErrorInfo" }
}

# --- 1/1/1: IGMPv3 hosts ----------------------------------------------------
TCLIgmpSourceRange igmpSources
TCLIgmpGroupRange igmpGroups [igmpSources cget -this]
TCLIgmpHost igmpHost [igmpGroups cget -this]
TCLIgmpLearnedGroup igmpLearned
TCLIgmpServer igmp [igmpHost cget -this] [igmpLearned cget -this]

check "select 1/1/1" [igmp select 1 1 1]
igmp configure -robustnessVariable 2 -queryInterval 125
check "set" [igmp set]

# Ten SSM channels 232.1.1.1, 232.1.1.2 ... from two sources each (INCLUDE).
igmpSources configure -sourceAddress 192.0.2.1 -numberOfSources 2
check "addSourceRange" [igmpGroups addSourceRange servers]
igmpGroups configure -groupAddress 232.1.1.1 -numberOfGroups 10 -sourceMode $multicastSourceModeInclude
check "addGroupRange" [igmpHost addGroupRange ssm]

# Any source but one for 239.1.0.0, 239.1.1.0 ... (EXCLUDE).
igmpSources configure -sourceAddress 198.51.100.66 -numberOfSources 1
check "addSourceRange" [igmpGroups addSourceRange blocked]
igmpGroups configure -groupAddress 239.1.0.0 -numberOfGroups 4 -groupAddressStep 256 \
    -sourceMode $multicastSourceModeExclude
check "addGroupRange" [igmpHost addGroupRange asm]

igmpHost configure -hostIpAddress 10.1.0.10 -numberOfHosts 50 -version $igmpHostVersion3 \
    -reportMode $igmpReportToAllUnsolicited -unsolicitedReportInterval 1
check "addHost" [igmp addHost receivers]
check "write" [igmp write]
puts "1/1/1 igmp: [zkchassis::written -pretty 1 1 1 igmp]"

# --- 1/1/2: MLDv2 hosts -------------------------------------------------------
TCLMldSourceRange mldSources
TCLMldGroupRange mldGroups [mldSources cget -this]
TCLMldHost mldHost [mldGroups cget -this]
TCLMldLearnedGroup mldLearned
TCLMldServer mld [mldHost cget -this] [mldLearned cget -this]

check "select 1/1/2" [mld select 1 1 2]
mldSources configure -sourceAddress 2001:db8::10 -numberOfSources 3
check "addSourceRange" [mldGroups addSourceRange servers]
mldGroups configure -groupAddress ff3e::8000:1 -numberOfGroups 5 -sourceMode $multicastSourceModeInclude
check "addGroupRange" [mldHost addGroupRange ssm]
mldHost configure -linkLocalAddress fe80::100 -numberOfHosts 20 -version $mldVersion2
check "addHost" [mld addHost receivers]
check "write" [mld write]
puts "1/1/2 mld: [zkchassis::written 1 1 2 mld]"

# --- 1/1/3: a PIM-SM router -------------------------------------------------
TCLPimsmJoinPrune join
TCLPimsmSourceRange register
TCLPimsmInterface pimInterface [join cget -this] [register cget -this]
TCLPimsmCandidateRpRange rpRange
TCLPimsmLearnedNeighbor neighbor
TCLPimsmLearnedRp rp
TCLPimsmRouter router [pimInterface cget -this] [rpRange cget -this] [neighbor cget -this] [rp cget -this]
TCLPimsmServer pim [router cget -this]

check "select 1/1/3" [pim select 1 1 3]
join configure -type $pimsmJoinsPrunesTypeG -rpAddress 10.255.0.1 -groupAddress 239.2.0.1 -numberOfGroups 100
check "addJoinPrune" [pimInterface addJoinPrune star-g]
join configure -type $pimsmJoinsPrunesTypeSG -groupAddress 232.2.0.1 -numberOfGroups 4 \
    -sourceAddress 192.0.2.50 -numberOfSources 4 -mapping $pimsmMappingOneToOne
check "addJoinPrune" [pimInterface addJoinPrune s-g]
register configure -rpAddress 10.255.0.1 -sourceAddress 10.3.0.100 -groupAddress 239.3.0.1 -numberOfGroups 2 \
    -registersPerSecond 10
check "addSourceRange" [pimInterface addSourceRange camera]
pimInterface configure -ipAddress 10.3.0.2 -maskWidth 24 -neighborAddress 10.3.0.1
check "addInterface" [router addInterface uplink]
rpRange configure -groupAddress 239.0.0.0 -maskWidth 8
check "addCandidateRpRange" [router addCandidateRpRange scoped]
router configure -routerId 3.3.3.3 -drPriority 10 -enableCandidateRp 1 -enableBootstrap 1
check "addRouter" [pim addRouter edge]
check "write" [pim write]
puts "1/1/3 pimsm: [zkchassis::written 1 1 3 pimsm]"

# --- what the ports learned ---------------------------------------------------
zkchassis::learn igmpGroups 1 1 1 {
    {-groupAddress 232.1.1.1 -querierAddress 10.1.0.1 -version 3 -sourceMode 0 -sources {192.0.2.1 192.0.2.2} -groupTimer 260}
    {-groupAddress 239.1.0.0 -querierAddress 10.1.0.1 -version 3 -sourceMode 1 -sources 198.51.100.66 -groupTimer 255}
}
check "select 1/1/1" [igmp select 1 1 1]
check "requestLearnedGroups" [igmp requestLearnedGroups]
while {[igmp getLearnedGroupList] != 0} { after 10 }
puts "the querier of 1/1/1 keeps [igmp cget -numberOfLearnedGroups] groups:"
for {set rc [igmp getFirstLearnedGroup]} {$rc == 0} {set rc [igmp getNextLearnedGroup]} {
    set mode [expr {[igmpLearned cget -sourceMode] == $multicastSourceModeInclude ? "include" : "exclude"}]
    puts "  [igmpLearned cget -groupAddress] $mode {[igmpLearned cget -sources]} from querier [igmpLearned cget -querierAddress]"
}

zkchassis::learn pimsmNeighbors 1 1 3 3.3.3.3 {{-neighborAddress 10.3.0.1 -interfaceAddress 10.3.0.2 -drPriority 1 -generationId 12345}}
zkchassis::learn pimsmRpSet 1 1 3 3.3.3.3 {
    {-rpAddress 10.255.0.1 -groupAddress 224.0.0.0 -maskWidth 4 -priority 192}
    {-rpAddress 3.3.3.3 -groupAddress 239.0.0.0 -maskWidth 8 -priority 192}
}
check "select 1/1/3" [pim select 1 1 3]
check "getRouter" [pim getRouter edge]
check "requestLearnedNeighbors" [router requestLearnedNeighbors]
check "requestLearnedRps" [router requestLearnedRps]
while {[router getLearnedNeighborList] != 0 || [router getLearnedRpList] != 0} { after 10 }
for {set rc [router getFirstLearnedNeighbor]} {$rc == 0} {set rc [router getNextLearnedNeighbor]} {
    puts "edge hears neighbour [neighbor cget -neighborAddress] (DR priority [neighbor cget -drPriority])"
}
for {set rc [router getFirstLearnedRp]} {$rc == 0} {set rc [router getNextLearnedRp]} {
    puts "edge learned RP [rp cget -rpAddress] for [rp cget -groupAddress]/[rp cget -maskWidth]"
}

# --- join and leave on demand ------------------------------------------------
# The hosts of 1/1/1 join their groups (transmitIgmpJoin starts IGMP on the
# port) and leave them again; PIM-SM and MLD are started and stopped the
# same way. The port keeps what it was told.
TCLProtocolServer services
check "transmitIgmpJoin" [services sendCommand 1 1 1 $transmitIgmpJoin]
puts "after the join, 1/1/1 runs: [zkchassis::port cget 1 1 1 -running]"
check "transmitIgmpLeave" [services sendCommand 1 1 1 $transmitIgmpLeave]
check "stopIgmp" [services sendCommand 1 1 1 $stopIgmp]
check "startMld" [services sendCommand 1 1 2 $startMld]
check "startPimsm" [services sendCommand 1 1 3 $startPimsm]
puts "1/1/1 was told: [zkchassis::port cget 1 1 1 -commands]; now runs: {[zkchassis::port cget 1 1 1 -running]}"
puts "1/1/2 runs: [zkchassis::port cget 1 1 2 -running]; 1/1/3 runs: [zkchassis::port cget 1 1 3 -running]"
