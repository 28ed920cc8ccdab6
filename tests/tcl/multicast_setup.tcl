# Helpers shared by the multicast suites: the IGMP, MLD and PIM-SM object
# trees under fixed names and JSON look-ups.
source [file join [file dirname [info script]] common.tcl]

# IGMP and MLD share their code; the suites run each table for both.
set ::groupTrees {
    Igmp {src TCLIgmpSourceRange {} grp TCLIgmpGroupRange {src} host TCLIgmpHost {grp}
          lg TCLIgmpLearnedGroup {} srv TCLIgmpServer {host lg}}
    Mld  {src TCLMldSourceRange {} grp TCLMldGroupRange {src} host TCLMldHost {grp}
          lg TCLMldLearnedGroup {} srv TCLMldServer {host lg}}
}
set ::pimTree {
    jp TCLPimsmJoinPrune {} sr TCLPimsmSourceRange {} ifc TCLPimsmInterface {jp sr} crp TCLPimsmCandidateRpRange {}
    ln TCLPimsmLearnedNeighbor {} lr TCLPimsmLearnedRp {} rtr TCLPimsmRouter {ifc crp ln lr} pim TCLPimsmServer {rtr}
}
set ::family Igmp
proc groupTree {{family ""}} {
    if {$family ne ""} { set ::family $family }
    buildTree [dict get $::groupTrees $::family]
}
proc pimTree {} { set ::family Pimsm; buildTree $::pimTree }
proc freshTree {} { if {$::family eq "Pimsm"} { pimTree } else { groupTree } }

# What port 1/1/p holds for a protocol now, decoded.
proc staged {protocol {p 1}} { json [zkchassis::staged 1 1 $p $protocol] }
# Host i of the IGMP or MLD configuration, PIM-SM router i.
proc hostJson {{i 0} {p 1}} { lindex [dict get [staged [string tolower $::family] $p] HostList] $i }
proc routerJson {{i 0} {p 1}} { lindex [dict get [staged pimsm $p] RouterList] $i }
