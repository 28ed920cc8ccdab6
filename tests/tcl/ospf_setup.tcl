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

# A call's result code and, when it failed, its message.
proc outcome {args} {
    set ::zkErrorInfo ""
    set code [uplevel 1 $args]
    list $code [expr {$code == 0 ? "" : $::zkErrorInfo}]
}

proc jsonHas {json key value} { expr {[string first "\"$key\":$value" $json] >= 0} }
proc optionValues {obj options} { concat {*}[lmap opt $options {list $opt [$obj cget -$opt]}] }

# Configures $obj with an option/value list, stores it, resets it and loads it
# back: {setDefault gave the fresh values, the load's result, values kept}.
proc roundTrip {obj values store load} {
    set fresh [optionValues $obj [dict keys $values]]
    foreach {opt value} $values { $obj configure -$opt $value }
    uplevel 1 $store
    $obj setDefault
    set r [list [expr {[optionValues $obj [dict keys $values]] eq $fresh}] [uplevel 1 $load]]
    lappend r [expr {[optionValues $obj [dict keys $values]] eq [list {*}$values]}]
}

# Runs checks on $obj, each in a fresh tree after `prepare`; `add` gives {code
# message}. Rows, in check order: option, values refused, values taken, message,
# options needed. With the first refused value of every row up to one, that
# row's message stands. `more`: further {options message} cases ("": taken).
proc checkTable {obj prepare add rows {more {}}} {
    set cases {}
    set upTo {}
    foreach row $rows {
        lassign $row opt refused taken message extra
        foreach v $refused { lappend cases [list {*}$extra -$opt $v] $message }
        foreach v $taken { lappend cases [list {*}$extra -$opt $v] "" }
        if {[llength $refused]} { lappend cases [lappend upTo {*}$extra -$opt [lindex $refused 0]] $message }
    }
    set bad {}
    foreach {options expected} [concat $cases $more] {
        ospfTree
        uplevel #0 $prepare
        $obj configure {*}$options
        set got [uplevel #0 $add]
        if {$got ne [list [expr {$expected ne ""}] $expected]} { lappend bad $options $got }
    }
    return $bad
}
