# Shared set-up of the suites: load both packages, and helpers.
package require tcltest 2
namespace import -force tcltest::*
package require zkmainprotocol
package require zkchassis

# Each test starts from the default lab with no current port.
proc fresh {} {
    zkchassis::reset
    set ::zkErrorInfo ""
}

# A fresh lab (answers without delay) and a fresh tree of objects from a
# list {name class {staging names} ...}, each built on the staging objects
# it lists, which come before it.
proc buildTree {objects} {
    fresh
    zkchassis::configure -replyDelay 0
    foreach {obj cls staging} $objects {
        if {[info commands ::$obj] ne ""} { $obj -delete }
        $cls $obj {*}[lmap s $staging { $s cget -this }]
    }
}

# The JSON text that reached a port, decoded with a small reader so the
# suites can compare fields without a JSON package.
proc written {c d p protocol} { zkchassis::written $c $d $p $protocol }

# JSON text -> Tcl value: objects become dicts, arrays lists, true/false 1/0.
proc json {text} {
    set out ""
    set sep ""
    foreach t [regexp -all -inline {"(?:[^"\\]|\\.)*"|[][{}]|[^][{}:,\s"]+} $text] {
        if {[string match {"*} $t]} { set t [list [subst -nocommands -novariables [string range $t 1 end-1]]] } else { set t [string map {\[ \{ \] \} true 1 false 0} $t] }
        append out [expr {$t eq "\}" ? "" : $sep}] $t
        set sep [expr {$t eq "\{" ? "" : " "}]
    }
    lindex $out 0
}

# A call's result code and, when it failed, its message.
proc outcome {args} {
    set ::zkErrorInfo ""
    set code [uplevel 1 $args]
    list $code [expr {$code == 0 ? "" : $::zkErrorInfo}]
}

# checkTable for cases of options and the expected {result message}, where
# a value that is taken may be reported: after a success the message is the
# suite's lastError unless it is what plantMessage left ("" then, and in a
# suite without plantMessage). Gives the cases that differ.
proc reportTable {obj prepare add cases} {
    set planting [expr {[info procs ::plantMessage] ne ""}]
    set bad {}
    foreach {options expected} $cases {
        freshTree
        uplevel #0 $prepare
        if {$planting} { plantMessage }
        $obj configure {*}$options
        set ::zkErrorInfo ""
        set code [uplevel #0 $add]
        if {$code != 0} {
            set message $::zkErrorInfo
        } elseif {$planting && [set left [lastError]] ne $::planted} {
            set message $left
        } else {
            set message ""
        }
        if {[list $code $message] ne $expected} { lappend bad $options [list $code $message] }
    }
    return $bad
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

# Runs checks on $obj, each in a fresh tree (freshTree, which the suite
# defines) after `prepare`; `add` gives {code
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
        freshTree
        uplevel #0 $prepare
        $obj configure {*}$options
        set got [uplevel #0 $add]
        if {$got ne [list [expr {$expected ne ""}] $expected]} { lappend bad $options $got }
    }
    return $bad
}
