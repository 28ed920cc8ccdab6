# Helpers shared by the LDP suites: one object tree, a probe for the
# module's last message and JSON look-ups.
source [file join [file dirname [info script]] common.tcl]

# The tree under fixed names (buildTree, common.tcl).
set ::ldpTreeObjects {
    atm TCLLdpAtmLabelRange {}
    ifc TCLLdpInterface {atm}
    tp TCLLdpTargetedPeer {}
    afr TCLLdpAdvertiseFecRange {}
    rfr TCLLdpRequestFecRange {}
    vc TCLLdpL2VpnVcRange {}
    mac TCLLdpVplsMacRange {}
    l2 TCLLdpL2VpnInterface {vc mac}
    ll TCLLdpLearnedLabel {}
    rtr TCLLdpRouter {ifc tp afr rfr l2 ll}
    srv TCLLdpServer {rtr}
}
proc ldpTree {} { buildTree $::ldpTreeObjects }
proc ldpPort {} { ldpTree; srv select 1 1 1 }
proc freshTree {} { ldpTree }

# The module keeps its last message across successful calls; a lookup of a
# missing name fails without a message of its own, so it reveals that text.
proc lastError {} {
    set ::zkErrorInfo ""
    rtr getInterface "no such interface"
    return $::zkErrorInfo
}
set ::planted "TCLLdpTargetedPeer::Validate()   Invalid enable."
proc plantMessage {} {
    tp configure -enable 7
    rtr addTargetedPeer planted
    tp configure -enable 1
}

# What port 1/1/p holds for LDP now, decoded; router i of it without IDs.
proc ldpConfig {{p 1}} { json [zkchassis::staged 1 1 $p ldp] }
proc noIds {value} {
    if {[llength $value] % 2 || [llength $value] < 2} { return $value }
    set out {}
    dict for {k v} $value {
        if {$k eq "ID"} continue
        if {[string match *List $k] || $k in {ATMLabelRanges VCRanges MACRanges}} { set v [lmap x $v { noIds $x }] }
        dict set out $k $v
    }
    return $out
}
proc routerJson {{i 0} {p 1}} { noIds [lindex [dict get [ldpConfig $p] RouterList] $i] }
