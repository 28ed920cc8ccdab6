# Helpers shared by the OSPF suites: one object tree, a probe for the
# module's last message, JSON look-ups and a runner for tables of checks.
source [file join [file dirname [info script]] common.tcl]

# A fresh lab (answers without delay) and a fresh tree under fixed names:
#   srv -> rtr -> ifc, rr, grp;  ifc -> lsa, nr;  grp -> lsa.
proc ospfTree {} {
    fresh
    zkchassis::configure -replyDelay 0
    foreach obj {srv rtr ifc grp rr nr lsa} { if {[info commands ::$obj] ne ""} { $obj -delete } }
    TCLOspfNetworkRange nr
    TCLOspfUserLsa lsa
    TCLOspfInterface ifc [lsa cget -this] [nr cget -this]
    TCLOspfRouteRange rr
    TCLOspfUserLsaGroup grp [lsa cget -this]
    TCLOspfRouter rtr [ifc cget -this] [rr cget -this] [grp cget -this]
    TCLOspfServer srv [rtr cget -this]
}
proc ospfPort {} { ospfTree; srv select 1 1 1 }

# The module keeps its last message across successful calls; a lookup of a
# missing name fails without a message of its own, so it reveals that text.
proc lastError {} {
    set ::zkErrorInfo ""
    rtr getRouteRange "no such route range"
    return $::zkErrorInfo
}
# Leaves a known message behind, so a probe can tell "nothing reported".
set ::planted "TCLOspfRouteRange::Validate()    Invalid enable."
proc plantMessage {} {
    rr configure -enable 7
    rtr addRouteRange "planted"
    rr configure -enable 1
}

# checkTable (common.tcl) builds its fresh trees with this.
proc freshTree {} { ospfTree }
