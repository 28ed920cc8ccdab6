# Helpers shared by the spanning tree suites: one object tree, a probe for
# the module's last message and JSON look-ups.
source [file join [file dirname [info script]] common.tcl]

# The tree under fixed names (buildTree, common.tcl).
set ::stpTreeObjects {
    ifc TCLStpInterface {}
    lan TCLStpLan {}
    lb TCLStpLearnedBridge {}
    li TCLStpLearnedInterface {}
    br TCLStpBridge {ifc lan lb li}
    srv TCLStpServer {br}
}
proc stpTree {} { buildTree $::stpTreeObjects }
proc stpPort {} { stpTree; srv select 1 1 1 }
proc freshTree {} { stpTree }

# The module keeps its last message across successful calls; a lookup of a
# missing name fails without a message of its own, so it reveals that text.
proc lastError {} {
    set ::zkErrorInfo ""
    br getInterface "no such interface"
    return $::zkErrorInfo
}

# What port 1/1/p holds for spanning tree now, decoded; bridge i without IDs.
proc stpConfig {{p 1}} { json [zkchassis::staged 1 1 $p stp] }
proc noIds {value} {
    if {[llength $value] % 2 || [llength $value] < 2} { return $value }
    set out {}
    dict for {k v} $value {
        if {$k eq "ID"} continue
        if {[string match *List $k]} { set v [lmap x $v { noIds $x }] }
        dict set out $k $v
    }
    return $out
}
proc bridgeJson {{i 0} {p 1}} { noIds [lindex [dict get [stpConfig $p] BridgeList] $i] }
