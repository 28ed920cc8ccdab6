# Helpers shared by the IS-IS suites: one object tree, a probe for the
# module's last message, and the runners of common.tcl.
source [file join [file dirname [info script]] common.tcl]

# A fresh lab (answers without delay) and a fresh tree under fixed names:
#   srv -> rtr -> ifc, rr, grid, lsp;  grid -> rr, tp.
proc isisTree {} {
    fresh
    zkchassis::configure -replyDelay 0
    foreach obj {srv rtr ifc grid rr tp lsp} { if {[info commands ::$obj] ne ""} { $obj -delete } }
    TCLIsisRouteRange rr
    TCLIsisGridTePath tp
    TCLIsisGrid grid [rr cget -this] [tp cget -this]
    TCLIsisInterface ifc
    TCLIsisLearnedLsp lsp
    TCLIsisRouter rtr [ifc cget -this] [rr cget -this] [grid cget -this] [lsp cget -this]
    TCLIsisServer srv [rtr cget -this]
}
proc isisPort {} { isisTree; srv select 1 1 1 }

# The module keeps its last message across successful calls; a lookup of a
# missing name fails without a message of its own, so it reveals that text.
proc lastError {} {
    set ::zkErrorInfo ""
    rtr getRouteRange "no such route range"
    return $::zkErrorInfo
}
# Leaves a known message behind, so a probe can tell "nothing reported".
set ::planted "TCLIsisRouteRange::Validate()   Invalid enable."
proc plantMessage {} {
    rr configure -enable 7
    rtr addRouteRange "planted"
    rr configure -enable 1
}

# The first router of a port's IS-IS configuration, decoded.
proc isisRouter {{p 1}} { lindex [dict get [json [zkchassis::staged 1 1 $p isis]] RouterList] 0 }

proc freshTree {} { isisTree }
