# Helpers shared by the OSPF suites: one complete object tree, a probe for
# the module's last message after calls that succeed, and JSON look-ups.
source [file join [file dirname [info script]] common.tcl]

# A fresh lab and a fresh tree of OSPF objects under fixed command names:
#   srv (server) -> rtr (staging router) -> ifc, rr, grp; ifc -> ulsa, nr.
# Parents are deleted before the staging objects they point to.
proc ospfTree {} {
    fresh
    foreach obj {srv rtr ifc grp rr nr ulsa} {
        if {[info commands ::$obj] ne ""} { $obj -delete }
    }
    TCLOspfNetworkRange nr
    TCLOspfUserLsa ulsa
    TCLOspfInterface ifc [ulsa cget -this] [nr cget -this]
    TCLOspfRouteRange rr
    TCLOspfUserLsaGroup grp
    TCLOspfRouter rtr [ifc cget -this] [rr cget -this] [grp cget -this]
    TCLOspfServer srv [rtr cget -this]
}

# The module keeps its last message across successful calls, and only a
# failing call copies it into ::zkErrorInfo. A lookup of a name that is not
# there fails without a message of its own, so it reveals the text left by
# the calls before it.
proc lastError {} {
    set ::zkErrorInfo ""
    if {[rtr getRouteRange "no such route range"] == 0} { error "probe lookup succeeded" }
    return $::zkErrorInfo
}

# Leaves a known message behind, so a later probe can tell "nothing was
# reported" from an old text.
set ::planted "TCLOspfRouteRange::Validate()    Invalid enable."
proc plantMessage {} {
    set keep [rr cget -enable]
    rr configure -enable 7
    rtr addRouteRange "planted"
    rr configure -enable $keep
}

# True when the JSON text holds "key":value exactly (value as JSON text,
# so strings carry their quotes).
proc jsonHas {json key value} {
    expr {[string first "\"$key\":$value" $json] >= 0}
}

# How many times "key" occurs as a JSON key.
proc jsonCount {json key} {
    regexp -all -- "\"$key\":" $json
}

# Every option of an object with its value, in the order given.
proc optionValues {obj options} {
    set out {}
    foreach opt $options { lappend out $opt [$obj cget -$opt] }
    return $out
}

# Configures an object from an option/value list written without dashes.
proc configureAll {obj values} {
    foreach {opt value} $values { $obj configure -$opt $value }
}
