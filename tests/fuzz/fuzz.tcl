# A seeded random-command fuzzer of the module.
#
#   zktclsh fuzz.tcl ?-seed N? ?-seconds S? ?-calls N? ?-trace FILE? ?-verbose 1? ?-deadHandles 1?
#
# Draws commands from what the packages registered (class commands, the
# instance commands of the objects it makes, the flat new_/delete_/method/
# _get/_set commands, the library commands, zkchassis::*) and arguments from a
# pool of good and hostile values, and runs multi-step chains: build an object
# tree, configure options with hostile values, select a port, add the children,
# write, read what the port holds; then walk, delete, remove the port or reset
# the lab and write again.
#
# Every call runs under catch. The run fails (exit 1) when an invariant breaks:
#   - no command raises an "internal error" (error code ... INTERNAL), and every
#     error code belongs to the module (ZKPROTOCOL, ZKCHASSIS) or to Tcl;
#   - a protocol method raises only for a binding problem (ARGS, TYPE, VALUE,
#     UNKNOWN): its failures are result codes;
#   - write returns an integer;
#   - zkchassis::staged and ::written give "" or valid JSON in valid UTF-8,
#     and never raise for a port that exists.
# A crash or a sanitizer report ends the process on its own. The same seed
# makes the same calls, so `-calls N` with the call count a failure names
# repeats the run up to it; `-trace FILE` writes every call as it is made.

set opts [dict merge {-seed 1 -seconds 10 -calls 0 -trace "" -verbose 0 -deadHandles 0} $argv]
set seed [dict get $opts -seed]
set maxCalls [dict get $opts -calls]
expr {srand($seed)}

set before [concat [info commands ::*] [info procs ::*]]
package require zkmainprotocol
package require zkchassis
set moduleCommands [lsort [concat \
    [lmap c [info commands ::*] { if {$c in $before || [info procs $c] ne ""} continue; string range $c 2 end }] \
    [lmap c [info commands ::zkchassis::*] { string range $c 2 end }]]]
# Commands that end the process or run a shell by design.
set moduleCommands [lmap c $moduleCommands { if {$c in {abort system zkLoadPackage}} continue; set c }]

# ---------------------------------------------------------------- randomness

proc pick {list} { lindex $list [expr {int(rand() * [llength $list])}] }
proc chance {p} { expr {rand() < $p} }
proc upto {n} { expr {int(rand() * $n)} }

# ---------------------------------------------------------------- invariants

set calls 0
set hits [dict create]
set recent {}
set failures 0
set traceChan ""
if {[dict get $opts -trace] ne ""} {
    # every line reaches the file before the next call, crash or not
    set traceChan [open [dict get $opts -trace] w]
    fconfigure $traceChan -buffering line
}
set jsonTexts 0
# With -deadHandles 1, a call that succeeds with the handle of an object
# deleted before (even when a new object took its address) is a failure.
set checkDead [dict get $opts -deadHandles]
set deadSet {}
set reissued {}

# A word as Tcl source text, with every character outside printable ASCII
# written as an escape, so that a call can be pasted into a script.
proc shown {word {limit 80}} {
    set n [string length $word]
    if {$n > $limit} {
        set c [string index $word 0]
        if {$word eq [string repeat $c $n]} { return "\[string repeat [shown $c] $n\]" }
        return "[shown [string range $word 0 $limit-1]]...($n chars)"
    }
    if {![regexp {[^ -~]} $word]} { return [list $word] }
    set out ""
    foreach ch [split $word ""] {
        scan $ch %c code
        if {$code > 0xFFFF} {
            # as the two surrogate halves the interpreter keeps
            append out [format {\u%04X\u%04X} [expr {0xD800 + (($code - 0x10000) >> 10)}] [expr {0xDC00 + ($code & 0x3FF)}]]
        } elseif {$code < 0x20 || $code > 0x7E} {
            append out [format {\u%04X} $code]
        } elseif {$ch in {\" \\ $ [ ]}} {
            append out \\$ch
        } else {
            append out $ch
        }
    }
    return "\"$out\""
}
proc shownCall {words} { join [lmap w $words { shown $w }] " " }

proc fail {what words result} {
    incr ::failures
    puts "FUZZ FAILURE at call $::calls (seed $::seed): $what"
    puts "  call:   [shownCall $words]"
    puts "  result: [shown $result 300]"
    puts "  the calls before it:"
    foreach c $::recent { puts "    $c" }
    if {$::failures >= 5} { finish }
}

# Runs one call. `kind` says what the caller knows about it:
#   any     - only the general error-code invariant
#   method  - a protocol method: raises only for binding problems
#   write   - a method as above that must also return an integer
#   json    - zkchassis::staged/written of a port that exists
# Returns {code result}.
proc call {key kind words} {
    incr ::calls
    dict incr ::hits $key
    set line [shownCall $words]
    if {$::traceChan ne ""} { puts $::traceChan "catch {$line}" }
    lappend ::recent $line
    if {[llength $::recent] > 25} { set ::recent [lrange $::recent end-24 end] }
    set code [catch {{*}$words} result options]
    if {$code == 1} {
        set ec [dict get $options -errorcode]
        if {[lindex $ec 1] eq "INTERNAL" || [string match "internal error*" $result]} {
            fail "internal error" $words $result
        } elseif {[lindex $ec 0] ni {ZKPROTOCOL ZKCHASSIS TCL}} {
            fail "error code {$ec} of no family" $words $result
        } elseif {$kind in {method write} && [lindex $ec 0] eq "ZKPROTOCOL" && [lindex $ec 1] ni {ARGS TYPE VALUE UNKNOWN}} {
            fail "method raised {$ec}" $words $result
        } elseif {$kind eq "json"} {
            fail "staged/written raised {$ec}" $words $result
        }
    } elseif {$code == 0} {
        if {$kind eq "json"} { incr ::jsonTexts }
        if {$::checkDead} {
            foreach w [lrange $words 1 end] {
                if {![dict exists $::deadSet $w]} continue
                fail "the handle of a deleted object was taken[expr {[dict exists $::reissued $w] ?
                      " (a new object has the same handle text)" : ""}]" $words $result
            }
        }
        if {$kind eq "write" && ![string is entier -strict $result]} {
            fail "write gave no integer" $words $result
        } elseif {$kind eq "json" && [set why [jsonChecked $result]] ne ""} {
            fail "invalid JSON: $why" $words $result
        }
    }
    list $code $result
}

# jsonProblem, remembering texts found valid: a port keeps its
# configuration, so the same text (a megabyte at times) is read back many
# times, and what was written is what is staged.
set validJson {}
proc jsonChecked {text} {
    if {[dict exists $::validJson $text]} { return "" }
    set why [jsonProblem $text]
    if {$why eq ""} {
        if {[dict size $::validJson] >= 64} { set ::validJson {} }
        dict set ::validJson $text 1
    }
    return $why
}

# Why `text` is not "" or one JSON value in valid UTF-8; "" when it is.
proc jsonProblem {text} {
    if {$text eq ""} { return "" }
    # The interpreter keeps the bytes it was given; valid UTF-8 without NUL
    # is exactly the text that converts back to the same number of bytes.
    if {[string bytelength $text] != [string length [encoding convertto utf-8 $text]]} { return "not UTF-8" }
    if {[regexp {[\uD800-\uDFFF]} $text] &&
        [regexp {[\uD800-\uDBFF](?![\uDC00-\uDFFF])|(?:^|[^\uD800-\uDBFF])[\uDC00-\uDFFF]} $text]} { return "a lone surrogate" }
    # Strings become S: escapes first, then what is left between quotes may
    # hold anything but a backslash, a quote or a control character.
    regsub -all {\\(?:["\\/bfnrt]|u[0-9a-fA-F]{4})} $text _ text
    regsub -all {"[^"\\\u0000-\u001f]*"} $text {""} text
    if {[regexp {[SV]} $text]} { return "a stray letter" }
    regsub -all {""} $text S text
    # Numbers and literals become V, then arrays and objects of S and V,
    # innermost first, until one value is left. (The patterns are those the
    # regexp engine runs fast.)
    foreach n [regexp -all -inline {[-0-9][-+.0-9eE]*} $text] {
        if {![string is double -strict $n] || [string match *. $n] || [string match {*.[eE]*} $n] ||
            [string match {0[0-9]*} $n] || [string match {-0[0-9]*} $n]} { return "a bad number: [shown $n]" }
    }
    regsub -all {[-0-9][-+.0-9eE]*} [string map {true V false V null V} $text] V text
    regsub -all {[ \t\n\r]+} $text {} text
    while {[regsub -all {\[(?:[SV](?:,[SV])*)?\]} $text V text] + [regsub -all {\{(?:S:[SV](?:,S:[SV])*)?\}} $text V text]} {}
    if {$text ni {S V}} { return "not one value: [shown $text]" }
    return ""
}

# ---------------------------------------------------------------- the value pool

set big [string repeat x 1048576]
set pool(int) {0 1 -1 2 3 4 5 7 15 16 100 255 256 1500 65535 65536 2147483647 2147483648 -2147483648
    -2147483649 4294967295 4294967296 9223372036854775807 9223372036854775808 -9223372036854775808
    18446744073709551615 18446744073709551616 99999999999999999999999999 0x10 0b101 0o17 010 " 1" "1 "
    1.0 0.5 -0.0 1e400 -1e400 1e3 NaN Inf -Inf true false yes no on off enable disable TCL_OK TCL_ERROR
    "" x 1x}
lappend pool(int) {*}[lsort -unique [lmap n [array names zkConstants] { set ::$n }]]
set pool(double) {0.0 1 -1 0.5 1e308 1e-308 4.9e-324 1.7976931348623157e308 1e400 -1e400 NaN Inf -Inf
    125000000.0 "" 1,5 0x1p3 2147483648 18446744073709551615}
set pool(text) [list "" a "a b" "a\u0000b" "\u0000" "\uD83D\uDE00" "\uD800" "\uDC00" "x\uD800y" "\uD800\uD800" \
    "\uDBFF\uDFFF" "\uFFFF" "\uFFFE" [string repeat \u00e9 32] [string repeat \u00e9 40] [string repeat a 63] \
    [string repeat a 64] [string repeat a 255] [string repeat a 256] $big "\"" "\\" "\\u0000" "\"\\\}\{\]\[" \
    "\x01\x1f\x7f" "\n\r\t\b\f" "\u00c0\u0080" "\u2028\u2029" "{" "\}" "\[" "%s%n%d" "NULL" "_p_" "-this"]
# text that only a careful conversion turns into valid JSON
set pool(encoding) [lmap t $pool(text) { if {[regexp {^[ -~]*$} $t] && ![string match *\\* $t]} continue; set t }]
set pool(addr) {0.0.0.0 1.2.3.4 10.0.0.1 255.255.255.255 255.255.255.0 224.0.0.5 224.0.0.9 239.255.255.255
    127.0.0.1 256.1.1.1 1.2.3 1.2.3.4.5 1.2.3.-1 01.2.3.4 0x1.2.3.4 " 1.2.3.4" 1.2.3.4/24 "" :: ::1 ff02::9
    ff02::5 fe80::1 2001:db8::1 ::ffff:1.2.3.4 1:2:3:4:5:6:7:8 1:2:3:4:5:6:7:8:9 ::: 1::2::3 gggg:: fe80::1%eth0
    00:11:22:33:44:55 00-11-22-33-44-55 001122334455 ff:ff:ff:ff:ff:ff 00:11:22:33:44 00:11:22:33:44:55:66}
set pool(bytes) {{00 00 00 00} {ff ff ff ff} {00} {} {0 0 0 0} {00 00 00 00 00} {zz 00 00 00} 00000000 {-1 0 0 0}
    {100 00 00 00} 0x00000000 "00 \u0000 00 00"}
set pool(name) [list a b c west "" " " "a b" "\u0000" "\uD800" "\uD83D\uDE00" [string repeat n 300] NULL]
set pool(port) {1 1 1 1 2 2 3 4 4 5 0 -1 2147483648 4294967295 18446744073709551615}
set pool(handle) {NULL "" nonsense _ _p_ _0000000000000000_p_TCLProtocolServer _ffffffffffffffff_p_TCLRipServer
    _0100000000000000_p_TCLOspfRouter _deadbeef00000000_p_void _0000000000000000_p_ _C0A9592BB2550000_p_TCLRipServer}
set allPools {int double text addr bytes name port handle}

# Handles and instance commands made during the run: {ref class}; dead handles.
set objs {}
set dead {}
set blocks {}

proc anyValue {} {
    set p [pick $::allPools]
    if {$p eq "handle"} { return [handleValue ""] }
    pick $::pool($p)
}

# A handle for an argument of class `cls`: mostly a live object of that
# class, else a live one of another class, a dead or forged one, or an
# instance command name.
proc handleValue {cls} {
    set r [upto 10]
    if {$r < 6} {
        set same [lmap o $::objs { if {$cls ne "" && [lindex $o 1] ne $cls} continue; lindex $o 0 }]
        if {[llength $same]} { return [pick $same] }
    }
    if {$r < 8 && [llength $::objs]} { return [lindex [pick $::objs] 0] }
    if {$r < 9 && [llength $::dead]} {
        set h [pick $::dead]
        # the dead handle, or a copy of its text that no cached lookup shares
        return [expr {[chance 0.5] ? $h : [join [split $h {}] {}]}]
    }
    if {[llength $::objs] && [chance 0.5]} {
        # a live handle relabelled with another class
        set h [lindex [pick $::objs] 0]
        if {[regexp {^(_[0-9a-f]{16}_p_)} $h -> head]} { return $head[pick $::classes] }
    }
    pick $::pool(handle)
}

proc rememberObject {ref cls} {
    if {[dict exists $::deadSet $ref]} { dict set ::reissued $ref 1 }
    lappend ::objs [list $ref $cls]
    if {[llength $::objs] > 150} {
        # let go of the oldest; the lab reset or a replacement frees most of them anyway
        lassign [lindex $::objs 0] old oldCls
        set ::objs [lrange $::objs 1 end]
        if {![regexp {^_[0-9a-f]{16}_p_} $old]} { call delete any [list rename $old {}] } else {
            call delete_$oldCls any [list delete_$oldCls $old]
        }
        markDead $old
    }
}
proc markDead {ref} {
    set ::objs [lmap o $::objs { if {[lindex $o 0] eq $ref} continue; set o }]
    if {[regexp {^_[0-9a-f]{16}_p_} $ref]} { noteDead $ref }
}
proc noteDead {ref} {
    lappend ::dead $ref
    dict set ::deadSet $ref 1
    if {[llength $::dead] > 50} {
        dict unset ::deadSet [lindex $::dead 0]
        set ::dead [lrange $::dead 1 end]
    }
}

# An item as `zkchassis::learn` takes it: -option value pairs with the
# option names of a random class, mostly one that shows learned items.
proc learnedPairs {} {
    set classes [array names ::options [expr {[chance 0.7] ? "*Learned*" : "*"}]]
    set names [dict keys $::options([pick $classes])]
    set pairs {}
    for {set i [upto 4]} {$i > 0} {incr i -1} {
        lappend pairs [if {[chance 0.9] && [llength $names]} { string cat - [pick $names] } else anyValue] [anyValue]
    }
    return $pairs
}

# ---------------------------------------------------------------- discovery

# The argument names in a "Wrong # args. cmd a ?b?" usage: {name optional} each.
# A flat method gives its usage when called bare, new_ when given too much.
proc usageArgs {cmd} {
    catch {{*}$cmd {*}[lrepeat [expr {[string match new_* $cmd] ? 12 : 0}] x]} message
    if {![string match "Wrong # args.*" $message]} { error "no usage from $cmd: $message" }
    lmap w [lrange $message 4 end] {
        if {[regexp {^\?(.*)\?$} $w -> n]} { list $n 1 } else { list $w 0 }
    }
}

# The class of a staging argument: pRipRouteRange is TCLRipRouteRange,
# pL3Site the one class TCL<protocol>L3Site (of the owner's protocol when
# several protocols have one: pLearnedRoute of TCLBgp4Neighbor is
# TCLBgp4LearnedRoute), pRipRouter the one class TCLRip...Router,
# pBgpRouteRange the shortest class TCLBgp...Route...Range.
proc stagingClass {arg {owner ""}} {
    set rest [string range $arg 1 end]
    set protocol ""
    regexp {^TCL([A-Z][a-z0-9]*)} $owner -> protocol
    foreach pattern [list "^TCL$rest\$" "^TCL\[A-Z\]\[a-z0-9\]*$rest\$" \
                         "^TCL[join [regexp -all -inline {[A-Z][a-z0-9]*} $arg] {[A-Za-z0-9]*}]\$"] {
        set found [lsearch -all -inline -regexp $::classes $pattern]
        if {[llength $found] == 1} { return [lindex $found 0] }
        if {$protocol ne "" && [llength $found] > 1} {
            set mine [lsearch -all -inline -regexp $found "^TCL${protocol}\[A-Z\]"]
            if {[llength $mine] == 1} { return [lindex $mine 0] }
        }
    }
    # Several: the one that adds least to the argument's words.
    set byLength [lsort -command {apply {{a b} { expr {[string length $a] - [string length $b]} }}} $found]
    if {[llength $byLength] > 1 && [string length [lindex $byLength 0]] < [string length [lindex $byLength 1]]} {
        return [lindex $byLength 0]
    }
    error "no one class for the staging argument $arg: $found"
}

set classes [lmap c [info commands ::new_*] { string range $c 6 end }]
set classes [lsort $classes]
foreach cls $classes {
    set ctor($cls) [lmap a [usageArgs new_$cls] { lindex $a 0 }]
    set children($cls) [lmap a $ctor($cls) { stagingClass $a $cls }]
    set methods($cls) {}
    set getters {}
    foreach f [lsort [info commands ::${cls}_*]] {
        set f [string range $f 2 end]
        set rest [string range $f [string length ${cls}_] end]
        if {[regexp {^(.*)_get$} $rest -> opt]} { lappend getters $opt; continue }
        if {[regexp {_set$} $rest]} continue
        dict set methods($cls) $rest [lrange [usageArgs $f] 1 end]
    }
    # option kinds from the defaults of an object built with NULL children
    set probe [new_$cls {*}[lrepeat [llength $ctor($cls)] NULL]]
    set options($cls) {}
    foreach opt $getters {
        set v [${cls}_${opt}_get $probe]
        set kind [expr {
            [regexp {^_[0-9a-f]{16}_p_|^NULL$} $v] ? "handle" :
            [string is entier -strict $v] ? "int" :
            [string is double -strict $v] ? "double" :
            [regexp {^[0-9a-f]{2}( [0-9a-f]{2})*$} $v] ? "bytes" :
            [regexp {^[0-9.]+$|:} $v] ? "addr" : "text"}]
        dict set options($cls) $opt [list $kind [expr {[info commands ::${cls}_${opt}_set] ne ""}]]
    }
    delete_$cls $probe
    # a server: selects a port and writes; the JSON of its protocol
    if {[dict exists $methods($cls) select] && [dict exists $methods($cls) write]} {
        set p [string tolower [regsub {^TCL(.*)Server$} $cls {\1}]]
        if {$p eq "protocol"} { set p services }
        if {[catch {zkchassis::staged 1 1 1 $p}]} { error "no protocol name for $cls" }
        set protocolOf($cls) $p
    }
}
set servers [lsort [array names protocolOf]]
# the names an error message offers: "...: must be a, b or c"
proc offered {args} {
    catch $args message
    set words [string range $message [string first "must be " $message]+8 end]
    lmap w [split [string map {, " "} $words] " "] { if {$w in {"" or}} continue; set w }
}
set protocols [offered zkchassis::staged 1 1 1 ?]
set learnKinds [offered zkchassis::learn ?]

set tmp [file join [expr {[info exists env(TMPDIR)] ? $env(TMPDIR) : "/tmp"}] zkfuzz-[pid]]
file mkdir $tmp
close [open $tmp/file w]
# A FIFO where the port trace and the first captures go: writing there must
# neither block nor fail the send.
catch {exec mkfifo $tmp/PortTrace.txt $tmp/000001-1.1.1-rip.json}
set pool(dir) [list "" $tmp $tmp/ $tmp/file /proc /no/such/dir "$tmp\u0000x" /]

# ---------------------------------------------------------------- arguments

proc argValue {name cls} {
    if {[chance 0.1]} { return [anyValue] }
    switch -glob -- $name {
        self { return [handleValue $cls] }
        chasID - cardID - portID { return [pick $::pool(port)] }
        *LocalId - routeRangeId - interfaceId - routerId { return [pick $::pool(name)] }
        p[A-Z]* { if {![catch {stagingClass $name} c]} { return [handleValue $c] } }
    }
    anyValue
}

proc optionValue {kind} {
    if {[chance 0.15]} { return [anyValue] }
    switch -- $kind {
        handle { handleValue "" }
        default { pick $::pool($kind) }
    }
}

# The words of a call of method `m` of `ref` (a handle or an instance
# command of class `cls`), with `args` or random arguments.
proc methodWords {ref cls m args} {
    set sig [dict get $::methods($cls) $m]
    if {![llength $args]} {
        set n [llength $sig]
        set optional [llength [lsearch -all -index 1 $sig 1]]
        set take [expr {[chance 0.9] ? $n - [upto [expr {$optional + 1}]] : [upto [expr {$n + 3}]]}]
        for {set i 0} {$i < $take} {incr i} {
            lappend args [argValue [expr {$i < $n ? [lindex $sig $i 0] : "extra"}] $cls]
        }
    }
    if {[isHandle $ref] || [chance 0.3]} { return [list ${cls}_$m $ref {*}$args] }
    list $ref $m {*}$args
}
proc isHandle {ref} { regexp {^_[0-9a-f]{16}_p_} $ref }

proc callMethod {ref cls m args} {
    set kind [expr {$m eq "write" ? "write" : "method"}]
    set words [methodWords $ref $cls $m {*}$args]
    call [expr {[lindex $words 1] eq $m ? "$cls.$m" : [lindex $words 0]}] $kind $words
}

proc configureOption {ref cls opt value} {
    if {[isHandle $ref] || [chance 0.3]} {
        return [call ${cls}_${opt}_set any [list ${cls}_${opt}_set $ref $value]]
    }
    call $cls.configure any [list $ref configure -$opt $value]
}

# ---------------------------------------------------------------- objects

set nameCount 0
# Makes an object of `cls` with fresh children (or hostile ones); returns the
# nodes {ref cls parentRef} made, the object last.
proc build {cls} {
    set nodes {}
    set args {}
    foreach c $::children($cls) {
        if {[chance 0.05]} {
            lappend args [handleValue [expr {[chance 0.5] ? $c : ""}]]
            continue
        }
        set sub [build $c]
        lappend nodes {*}$sub
        lappend args [lindex $sub end 0]
    }
    if {[chance 0.5]} {
        set name [expr {[chance 0.8] ? "o[incr ::nameCount]" : "o[upto 10]"}]
        lassign [call $cls any [list $cls $name {*}$args]] code ref
    } else {
        lassign [call new_$cls any [list new_$cls {*}$args]] code ref
    }
    if {$code != 0} { return $nodes }
    rememberObject $ref $cls
    set nodes [lmap n $nodes { if {[lindex $n 2] eq ""} { lset n 2 $ref }; set n }]
    lappend nodes [list $ref $cls ""]
}

proc randomPort {} {
    if {[chance 0.85]} { return [list 1 [expr {1 + [upto 4]}] [expr {1 + [upto 4]}]] }
    list [pick $::pool(port)] [pick $::pool(port)] [pick $::pool(port)]
}
proc portExists {c d p} { expr {[list $c $d $p] in [zkchassis::port list]} }

proc checkPort {c d p protocol} {
    if {![portExists $c $d $p]} { return 0 }
    set ok 1
    foreach which {staged written} {
        lassign [call zkchassis::$which json [list zkchassis::$which $c $d $p $protocol]] code text
        if {$code != 0 || $text eq ""} { set ok 0 }
    }
    return $ok
}

# ---------------------------------------------------------------- chains

set chains {started 0 completed 0 hostile 0 afterChanges 0}

proc chain {} {
    dict incr ::chains started
    if {[chance 0.1]} { call zkchassis::reset any zkchassis::reset }
    set server [pick $::servers]
    set protocol $::protocolOf($server)
    set nodes [build $server]
    if {[lindex $nodes end 1] ne $server} return
    set srv [lindex $nodes end 0]
    lassign [randomPort] c d p
    if {![portExists $c $d $p]} { call zkchassis::port any [list zkchassis::port add $c $d $p] }

    # hostile values in options, mostly text
    set hostile 0
    set textOptions {}
    foreach n $nodes {
        lassign $n ref cls
        dict for {o v} $::options($cls) { if {$v eq "text 1"} { lappend textOptions [list $ref $cls $o] } }
    }
    for {set i [upto 3]} {$i >= 0} {incr i -1} {
        lassign [pick $nodes] ref cls
        set opts [dict keys [dict filter $::options($cls) script {o v} { lindex $v 1 }]]
        if {[llength $textOptions] && [chance 0.7]} {
            lassign [pick $textOptions] ref cls opt
            set value [pick $::pool([expr {[chance 0.6] ? "encoding" : "text"}])]
            if {$opt eq "protocolInterfaceDescription" && [chance 0.5]} {
                # a description the port knows, so the record names the interface
                call zkchassis::port any [list zkchassis::port configure $c $d $p -interfaces [list [list $value 1]]]
            }
        } else {
            if {![llength $opts]} continue
            set opt [pick $opts]
            set value [optionValue [lindex [dict get $::options($cls) $opt] 0]]
        }
        if {[lindex [configureOption $ref $cls $opt $value] 0] == 0 && ![regexp {^[ -~]{0,255}$} $value]} { set hostile 1 }
    }

    set staged [stageAndWrite $server $srv $protocol $nodes $c $d $p]
    if {$staged} {
        dict incr ::chains completed
        if {$hostile} { dict incr ::chains hostile }
    }

    # change things under the written configuration, and write again
    for {set i [upto 4]} {$i > 0} {incr i -1} {
        lassign [pick $nodes] ref cls
        switch [upto 9] {
            0 { call zkchassis::port any [list zkchassis::port remove $c $d $p] }
            1 { call zkchassis::reset any [list zkchassis::reset {*}[expr {[chance 0.2] ? "-empty" : ""}]] }
            2 { lassign [randomPort] c d p; callMethod $srv $server select $c $d $p }
            3 { walk $ref $cls }
            4 { deleteNode $ref $cls }
            5 { callMethod $ref $cls [pick [dict keys $::methods($cls)]] }
            6 { call zkchassis::port any [list zkchassis::port configure $c $d $p {*}[portOption]] }
            default {
                set m [pick [dict keys $::methods($cls)]]
                if {[regexp {^(del|clearAll|set|get)} $m]} { callMethod $ref $cls $m }
            }
        }
        if {[stageAndWrite $server $srv $protocol $nodes $c $d $p]} { dict incr ::chains afterChanges }
    }
}

# Selects the port, adds every node to its parent deepest first, stages and
# writes; reads what the port holds. 1 when something was written.
proc stageAndWrite {server srv protocol nodes c d p} {
    callMethod $srv $server select $c $d $p
    set added 0
    foreach n [lrange $nodes 0 end-1] {
        lassign $n ref cls parent
        set pcls [lindex [lsearch -inline -index 0 $nodes $parent] 1]
        if {$pcls eq ""} continue
        foreach m [dict keys $::methods($pcls)] {
            if {![string match add* $m]} continue
            if {[lindex [callMethod $parent $pcls $m [pick $::pool(name)]] 1] == 0} { incr added }
        }
    }
    foreach m [dict keys $::methods($server)] {
        if {![string match add* $m]} continue
        if {[lindex [callMethod $srv $server $m [pick $::pool(name)]] 1] == 0} { incr added }
    }
    set here [expr {[llength [dict get $::methods($server) write]] ? [list $c $d $p] : {}}]
    if {[dict exists $::methods($server) set]} {
        callMethod $srv $server set {*}[lrange $here 0 [llength [dict get $::methods($server) set]]-1]
    }
    lassign [callMethod $srv $server write {*}$here] code result
    expr {[checkPort $c $d $p $protocol] && $code == 0 && $result == 0 && $added > 0}
}

# Walks a list of an object to its end, deleting on the way now and then.
proc walk {ref cls} {
    set firsts [lmap m [dict keys $::methods($cls)] { if {![string match getFirst* $m]} continue; set m }]
    if {![llength $firsts]} return
    set first [pick $firsts]
    set next getNext[string range $first 8 end]
    set del del[string range $first 8 end]
    lassign [callMethod $ref $cls $first] code r
    for {set i 0} {$i < 20 && $code == 0 && $r == 0} {incr i} {
        if {[dict exists $::methods($cls) $del] && [chance 0.3]} { callMethod $ref $cls $del }
        lassign [callMethod $ref $cls $next] code r
    }
}

proc deleteNode {ref cls} {
    switch [expr {[isHandle $ref] ? 3 : [upto 4]}] {
        0 { call $cls.-delete any [list $ref -delete] }
        1 { call $cls.-disown any [list $ref -disown]; return }
        2 { call rename any [list rename $ref {}] }
        default { call delete_$cls any [list delete_$cls $ref] }
    }
    markDead $ref
}

proc portOption {} {
    switch [upto 12] {
        0 { list -name [pick $::pool(text)] }
        1 { list -type [pick $::pool(text)] }
        2 { list -available [pick {0 1 0.5 1e400 yes maybe}] }
        3 { list -capabilities [pick {{} arp {arp ping routing} {arp fax} "\u0000"}] }
        4 { list -licensed [pick [list {} ospf rip [lrange $::protocols 1 end] {rip smtp}]] }
        5 { list -ospfFeatures [pick {0 1}] }
        6 { list -mtu [pick {{64 9216} {1500 1500} {9000 64} 5 {-1 2} {0 4294967295} {a b}}] }
        7 { list -gridLimit [pick $::pool(int)] }
        8 { list -writeFails [pick {0 1 0 0}] }
        9 { list -interfaces [list [list [pick $::pool(text)] [pick $::pool(int)]]] }
        10 { list -streams x }
        default { list -refreshReduction [pick {0 1 2}] }
    }
}

# ---------------------------------------------------------------- single calls

proc singleCall {} {
    switch [upto 12] {
        0 - 1 - 2 {
            # a method of an object of the run
            if {![llength $::objs]} { build [pick $::classes]; return }
            lassign [pick $::objs] ref cls
            set ms [dict keys $::methods($cls)]
            if {[chance 0.2]} {
                set opt [pick [concat [dict keys $::options($cls)] this thisown nonsense]]
                switch [upto 5] {
                    0 { call $cls.cget any [list $ref cget -$opt] }
                    1 { call $cls.configure any [list $ref configure] }
                    2 { call $cls.x any [list $ref [pick {-acquire -disown -delete cget configure config nonsense ""}]] }
                    default {
                        set kind [expr {[dict exists $::options($cls) $opt] ? [lindex [dict get $::options($cls) $opt] 0] : "text"}]
                        configureOption $ref $cls $opt [optionValue $kind]
                    }
                }
            } elseif {[llength $ms]} {
                callMethod $ref $cls [pick $ms]
            }
        }
        3 - 4 - 5 - 6 {
            # any command of the module, with arguments by name where known
            set cmd [nextCommand]
            if {[regexp {^(new|delete)_(.*)$} $cmd -> what cls] && $cls in $::classes} {
                set words [list $cmd {*}[lmap c [expr {$what eq "new" ? $::children($cls) : [list $cls]}] { handleValue $c }]]
                lassign [call $cmd any $words] code r
                if {$code == 0 && $what eq "new"} { rememberObject $r $cls }
                if {$code == 0 && $what eq "delete"} { markDead [lindex $words 1] }
                return
            }
            if {$cmd in $::classes} { build $cmd; return }
            if {[string match zkchassis::* $cmd]} { chassisCall; return }
            if {[regexp {^(TCL[A-Za-z]+)_([A-Za-z]+)$} $cmd -> cls m] && [dict exists $::methods($cls) $m]} {
                callMethod [handleValue $cls] $cls $m
                return
            }
            set words [list $cmd]
            for {set i [upto 4]} {$i > 0} {incr i -1} { lappend words [anyValue] }
            # class names have no underscore; option names may (-lsp_tunnel)
            if {[regexp {^([^_]+)_(.*)_([gs]et)$} $cmd -> cls opt how] && [info exists ::options($cls)]
                && [dict exists $::options($cls) $opt]} {
                set words [list $cmd [handleValue $cls]]
                if {$how eq "set"} { lappend words [optionValue [lindex [dict get $::options($cls) $opt] 0]] }
            }
            if {$cmd in {malloc calloc realloc free}} { set words [libraryWords $cmd] }
            lassign [call $cmd any $words] code r
            if {$code == 0 && [string match *_p_void $r]} { lappend ::blocks $r }
        }
        7 { chassisCall }
        8 { build [pick $::classes] }
        9 {
            if {![llength $::objs]} return
            lassign [pick $::objs] ref cls
            deleteNode $ref $cls
        }
        10 {
            if {![llength $::objs]} return
            lassign [pick $::objs] ref cls
            walk $ref $cls
        }
        default { childInterp }
    }
}

# The module's commands in a shuffled order, over and over, so that a short
# run reaches each of them.
set queue {}
proc nextCommand {} {
    if {![llength $::queue]} {
        set ::queue [lmap c $::moduleCommands { list [expr {rand()}] $c }]
        set ::queue [lmap e [lsort -index 0 -real $::queue] { lindex $e 1 }]
    }
    set ::queue [lassign $::queue cmd]
    return $cmd
}

proc libraryWords {cmd} {
    set size [pick {0 1 16 4096 -1 x 9223372036854775807 18446744073709551615}]
    set block [expr {[llength $::blocks] && [chance 0.7] ? [pick $::blocks] : [pick $::pool(handle)]}]
    switch $cmd {
        malloc { list malloc $size }
        calloc { list calloc [pick {0 1 2 65536 9223372036854775807}] $size }
        realloc { list realloc $block $size }
        free { list free $block }
    }
}

proc chassisCall {} {
    lassign [randomPort] c d p
    switch [upto 13] {
        0 { call zkchassis::port any [list zkchassis::port add $c $d $p {*}[portOption]] }
        1 { call zkchassis::port any [list zkchassis::port configure $c $d $p {*}[portOption] {*}[portOption]] }
        2 { call zkchassis::port any [list zkchassis::port cget $c $d $p [lindex [portOption] 0]] }
        3 { call zkchassis::port any [list zkchassis::port remove $c $d $p] }
        4 { call zkchassis::port any [list zkchassis::port [pick {list l c co x ""}] {*}[lrange [list $c $d $p] 0 [upto 3]]] }
        5 - 6 {
            set which [pick {staged written}]
            set protocol [expr {[chance 0.9] ? [pick $::protocols] : [pick $::pool(text)]}]
            set kind [expr {[portExists $c $d $p] && $protocol in $::protocols ? "json" : "any"}]
            call zkchassis::$which $kind [list zkchassis::$which $c $d $p $protocol]
        }
        7 { call zkchassis::captureDir any [list zkchassis::captureDir {*}[expr {[chance 0.8] ? [list [pick $::pool(dir)]] : ""}]] }
        8 { call zkchassis::log any [list zkchassis::log {*}[pick {{} -clear -clear x}]] }
        9 {
            set kind [expr {[chance 0.9] ? [pick $::learnKinds] : [pick $::pool(text)]}]
            set words [list zkchassis::learn $kind $c $d $p]
            for {set i [upto 5]} {$i > 0} {incr i -1} {
                # now and then a list of items of -option value pairs, named like any class's options
                set items {}
                for {set k [upto 4]} {$k > 0} {incr k -1} { lappend items [learnedPairs] }
                lappend words [if {[chance 0.6]} anyValue else { set items }]
            }
            call zkchassis::learn any $words
        }
        10 { call zkchassis::configure any [list zkchassis::configure -replyDelay [pick {0 0 1 -1 2147483647 2147483648 x}]]
             call update any update }
        11 { call zkchassis::trace any [list zkchassis::trace $c $d $p {*}[pick {{} on on off 1 0 true maybe 2 {on off}}]] }
        default {
            call zkchassis::reset any [list zkchassis::reset {*}[pick {{} {} -empty -x}]]
        }
    }
}

# Objects made and dropped in an interpreter of their own.
proc childInterp {} {
    if {![chance 0.05]} return
    interp create fuzzChild
    fuzzChild eval [list set auto_path $::auto_path]
    set code [catch {
        fuzzChild eval {
            package require zkmainprotocol
            package require zkchassis
            TCLRipRouteRange rr; TCLRipInterfaceRouter r [rr cget -this]; TCLRipServer s [r cget -this]
            s select 1 1 1
            r configure -protocolInterfaceDescription "\uD800"
            s addRouter x
            s write
            list [rr cget -this] [r cget -this] [s cget -this]
        }
    } handles]
    call childInterp any [list interp delete fuzzChild]
    if {$code == 0} { foreach h $handles { noteDead $h } }
}

# ---------------------------------------------------------------- the run

proc finish {} {
    set elapsed [expr {max(1, [clock milliseconds] - $::start) / 1000.0}]
    foreach b $::blocks { catch {free $b} }
    catch {zkchassis::captureDir ""}
    file delete -force $::tmp
    if {$::traceChan ne ""} { close $::traceChan }
    set hit [lmap c $::moduleCommands { if {![dict exists $::hits $c] && ![dict exists $::hits ::$c]} continue; set c }]
    set methodsHit 0
    set methodsAll 0
    foreach cls $::classes {
        foreach m [dict keys $::methods($cls)] {
            incr methodsAll
            if {[dict exists $::hits $cls.$m] || [dict exists $::hits ${cls}_$m]} { incr methodsHit }
        }
    }
    puts [format "fuzz seed %s: %d calls in %.1f s (%.0f calls/s)" $::seed $::calls $elapsed [expr {$::calls / $elapsed}]]
    puts "  commands hit: [llength $hit] of [llength $::moduleCommands]; methods hit (flat or instance): $methodsHit of $methodsAll"
    puts "  chains: [dict get $::chains started] started, [dict get $::chains completed] written and read back\
          ([dict get $::chains hostile] with hostile option values), [dict get $::chains afterChanges] rewrites after changes;\
          $::jsonTexts staged/written texts checked"
    if {[dict get $::opts -verbose]} {
        puts "  never hit: [lmap c $::moduleCommands { if {$c in $hit} continue; set c }]"
    }
    if {$::failures} {
        puts "FUZZ FAILED: $::failures invariant failures"
        exit 1
    }
    exit 0
}

puts "fuzz seed $seed: [expr {$maxCalls > 0 ? "$maxCalls calls" : "[dict get $opts -seconds] s"}]"
set start [clock milliseconds]
set limit [expr {$start + int([dict get $opts -seconds] * 1000)}]
while {1} {
    if {[chance 0.2]} { chain } else { singleCall }
    if {$maxCalls > 0 ? $calls >= $maxCalls : [clock milliseconds] >= $limit} break
}
# a final sweep: every port, every protocol
foreach port [zkchassis::port list] {
    foreach protocol $protocols { call zkchassis::staged json [list zkchassis::staged {*}$port $protocol] }
}
finish
