# Helpers shared by the RIP and RIPng suites.
source [file join [file dirname [info script]] common.tcl]

# A fresh lab, port 1/1/1 selected unless told otherwise, and fresh objects
# under fixed names: srv -> rtr -> rr (RIP), or srv -> rtr -> rr, ifc (RIPng).
proc tree {protocol {select 1}} {
    fresh
    foreach obj {srv rtr rr ifc} { catch {$obj -delete} }
    if {$protocol eq "rip"} {
        TCLRipRouteRange rr
        TCLRipInterfaceRouter rtr [rr cget -this]
        TCLRipServer srv [rtr cget -this]
    } else {
        TCLRipngRouteRange rr
        TCLRipngInterface ifc
        TCLRipngRouter rtr [rr cget -this] [ifc cget -this]
        TCLRipngServer srv [rtr cget -this]
    }
    if {$select} { srv select 1 1 1 }
}

# Runs a command and returns {code message-left-behind}; an object's options
# as a dict without the dashes.
proc err {args} { set ::zkErrorInfo ""; list [uplevel 1 $args] $::zkErrorInfo }
proc options {obj} { concat {*}[lmap {opt value} [$obj configure] { list [string range $opt 1 end] $value }] }

# The routers port 1/1/p holds now (staged) or last received (written); one
# of them without the record ids.
proc routers {protocol {p 1} {which staged}} { dict get [json [zkchassis::$which 1 1 $p $protocol]] Routers }
proc router {protocol {i 0}} {
    set r [dict remove [lindex [routers $protocol] $i] ID]
    foreach key {RouteRanges Interfaces} { if {[dict exists $r $key]} { dict set r $key [lmap x [dict get $r $key] { dict remove $x ID }] } }
    return $r
}

# Validation rows {obj opt goods bads message}; ::adders maps obj to the call
# that validates it. Each bad value must be refused with the message, then
# each good one accepted, the first under the same name. Returns the misses.
proc edge {tree obj opt goods bads message} {
    set add [dict get $::adders $obj]
    set out {}
    {*}$tree
    foreach v $bads {
        $obj configure -$opt $v
        if {[set r [err {*}$add]] ne [list 1 $message]} { lappend out "refused {$v}: $r" }
    }
    foreach v $goods {
        $obj configure -$opt $v
        if {[set r [{*}$add]] != 0} { lappend out "accepted {$v}: $r" }
        {*}$tree
    }
    return $out
}

# The rows are in the order the checks run: with two values of one object
# refused, the later check's message must stand. Returns the misses.
proc lastWins {tree rows} {
    set out {}
    for {set i 0} {$i < [llength $rows]} {incr i} {
        foreach b [lrange $rows $i+1 end] {
            lassign [lindex $rows $i] obj opt1 - bads1
            lassign $b obj2 opt2 - bads2 message
            if {$obj ne $obj2} continue
            {*}$tree
            $obj configure -$opt1 [lindex $bads1 0] -$opt2 [lindex $bads2 0]
            if {[set r [err {*}[dict get $::adders $obj]]] ne [list 1 $message]} { lappend out "$opt1+$opt2: $r" }
        }
    }
    return $out
}
