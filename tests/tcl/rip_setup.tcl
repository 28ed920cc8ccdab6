# Helpers shared by the RIP and RIPng suites: the object trees under fixed
# names, a reader for the JSON that reached a port, and a probe for the last
# message the module left.
source [file join [file dirname [info script]] common.tcl]

# A fresh lab and fresh objects: srv -> rtr -> rr (RIP).
proc ripTree {} {
    fresh
    foreach obj {srv rtr rr} { if {[info commands ::$obj] ne ""} { $obj -delete } }
    TCLRipRouteRange rr
    TCLRipInterfaceRouter rtr [rr cget -this]
    TCLRipServer srv [rtr cget -this]
}

# A fresh lab and fresh objects: srv -> rtr -> rr, ifc (RIPng).
proc ripngTree {} {
    fresh
    foreach obj {srv rtr rr ifc} { if {[info commands ::$obj] ne ""} { $obj -delete } }
    TCLRipngRouteRange rr
    TCLRipngInterface ifc
    TCLRipngRouter rtr [rr cget -this] [ifc cget -this]
    TCLRipngServer srv [rtr cget -this]
}

# Calls a method that must fail and returns {code message}.
proc failing {args} {
    set ::zkErrorInfo ""
    set code [uplevel 1 $args]
    list $code $::zkErrorInfo
}

# The options of an object as a dict without the dashes.
proc options {obj} {
    set out {}
    foreach {opt value} [$obj configure] { dict set out [string range $opt 1 end] $value }
    return $out
}

# JSON text -> Tcl value: objects become dicts, arrays lists, true/false 1/0.
proc json {text} {
    set tokens [regexp -all -inline {"(?:[^"\\]|\\.)*"|-?[0-9][0-9.eE+-]*|true|false|null|[\{\}\[\]:,]} $text]
    set pos 0
    set value [JsonValue $tokens pos]
    if {$pos != [llength $tokens]} { error "trailing JSON after position $pos" }
    return $value
}
proc JsonValue {tokens posVar} {
    upvar 1 $posVar pos
    set t [lindex $tokens $pos]
    incr pos
    switch -- $t {
        "\{" {
            set d {}
            if {[lindex $tokens $pos] eq "\}"} { incr pos; return $d }
            while 1 {
                set key [JsonValue $tokens pos]
                if {[lindex $tokens $pos] ne ":"} { error "expected : at $pos" }
                incr pos
                dict set d $key [JsonValue $tokens pos]
                set sep [lindex $tokens $pos]
                incr pos
                if {$sep eq "\}"} { return $d }
                if {$sep ne ","} { error "expected , or \} at $pos" }
            }
        }
        "\[" {
            set l {}
            if {[lindex $tokens $pos] eq "\]"} { incr pos; return $l }
            while 1 {
                lappend l [JsonValue $tokens pos]
                set sep [lindex $tokens $pos]
                incr pos
                if {$sep eq "\]"} { return $l }
                if {$sep ne ","} { error "expected , or \] at $pos" }
            }
        }
        true { return 1 }
        false { return 0 }
        null { return null }
        default {
            if {[string index $t 0] eq "\""} { return [subst -nocommands -novariables [string range $t 1 end-1]] }
            return $t
        }
    }
}

# The decoded configuration a port holds now (staged) or last received (written).
proc stagedConfig {c d p protocol} { json [zkchassis::staged $c $d $p $protocol] }
proc writtenConfig {c d p protocol} { json [zkchassis::written $c $d $p $protocol] }

