# lab.tcl -- fixtures of the live tests: network namespaces, veth pairs, and
# FRR or BIRD 2 running as the device under test (DUT) in them.
#
# A test file sources this file (it needs no package of the project) and
# skips its live tests with the reason lab::available gives:
#
#     source [file join [file dirname [info script]] lab.tcl]
#     set why [lab::available]
#     testConstraint live [expr {$why eq ""}]
#     if {$why ne ""} { puts "live tests skipped: $why" } else { lab::sweep }
#     test bgp-1 {...} -constraints live -setup {
#         set a [lab::ns create]; set b [lab::ns create]
#         lassign [lab::veth $a $b -addr1 10.0.0.1/24 -addr2 10.0.0.2/24] ifA ifB
#         set frr [lab::frr start $a -config $text]
#     } -body {
#         lab::until 10000 {[dict get [lab::frr json $frr "show bgp neighbors 10.0.0.2 json"] \
#                                10.0.0.2 bgpState] eq "Established"}
#     } -cleanup { lab::cleanup } -result 1
#     cleanupTests
#
# The commands (each is described in full where it is defined):
#
#     lab::available                       "" or why live tests cannot run here
#     lab::sweep                           remove what killed runs left
#     lab::ns create | exec NS CMD.. | list | pids NS
#     lab::veth NS1 NS2 ?-addr1 CIDRS -addr2 CIDRS -addr1v6 .. -addr2v6 .. -mtu N?
#     lab::frr start NS ?-daemons {zebra bgpd} -config TEXT -args {-n}
#                       -daemonargs {DAEMON ARGS ..} -timeout MS?   -> handle
#     lab::frr vtysh H CMD.. | json H CMD | pids H | dir H | log H DAEMON
#     lab::frr restart H DAEMON ?-signal TERM|KILL? | stop H
#     lab::bird start NS -config TEXT ?-timeout MS?                   -> handle
#     lab::bird cmd H CMD | protocols H | state H NAME | count H ?TABLE?
#     lab::bird route H PREFIX | configure H TEXT | pid H | dir H | log H | stop H
#     lab::until TIMEOUT_MS COND ?INTERVAL_MS?                       -> 1 or 0
#     lab::cleanup                                                   -> PIDs that would not die
#
# Everything a lab makes is remembered and taken down by lab::cleanup, which
# is idempotent. It also runs from a wrapper of `exit` that this file
# installs, so a test file that dies on an error, or forgets its cleanup,
# still leaves nothing behind: tclsh (and zktclsh, which uses Tcl_Main) end
# by evaluating `exit`, including after an uncaught error in the script.
# Only a process killed by a signal skips it; lab::sweep then removes what
# such a dead run left (its namespaces, the processes in them and its run
# directories), found by the dead run's PID in their names.
#
# No zombies, no killing by name. Every daemon is started in the foreground
# (-f, no daemonising) as a child of this process through a Tcl command
# pipeline, `open |[list ip netns exec NS DAEMON ... >>& LOG] w`; `ip netns
# exec` execs the daemon, so the pipeline's PID is the daemon's PID. The
# child stays unreaped (and so its PID cannot be reused by another process)
# until lab::cleanup has seen it exit, after TERM and, past a grace time,
# KILL; then closing the pipeline channel waits for it, which reaps it at
# once. Processes the daemons forked, and anything else still running in
# the lab's namespaces (`ip netns pids`), are killed by PID as well; those
# are not our children, so PID 1 reaps them.
#
# Names are unique per process and call: namespaces zklab-PID-N, veth ends
# zkPIDvNa / zkPIDvNb (15 characters at most), run directories made by
# `mktemp -d /tmp/zklab-PID-...`. Two test processes at once do not meet.

package require Tcl 8.6
package require json

namespace eval ::lab {
    namespace export available ns veth frr bird until cleanup sweep
    # Sourcing the file again (two test files in one interpreter) keeps
    # what the lab already made, so that one cleanup still finds it.
    if {![info exists ::lab::pid]} {
        variable pid [pid]
        variable counter 0        ;# names of namespaces and veth pairs
        variable handles 0        ;# names of DUT handles
        variable namespaces {}    ;# namespaces this lab made, in order
        variable rundirs {}       ;# run directories this lab made
        variable order {}         ;# DUT handles in start order
        variable duts             ;# handle -> dict (kind ns dir procs)
        array set duts {}
        variable available        ;# cached answer of lab::available
        variable cleaning 0
        variable untilError ""    ;# last error raised by an until condition
        # State files FRR writes into its fixed state directory whatever the
        # other paths say; removed by cleanup only when they appeared in this run.
        variable frrStateDir /var/run/frr
        variable frrStateFiles {ospfd-gr.json ospf6d-gr.json ospf6d-at-seq-no.dat}
        variable frrStatePresent {}  ;# those that existed before our first FRR
        variable frrStarted 0
        variable frrBin /usr/lib/frr
        variable graceMs 3000     ;# TERM -> KILL
        variable startMs 5000     ;# default wait for sockets of a daemon
        variable cmdSeconds 10    ;# vtysh / birdc never wait longer than this
    }
}

# ---------------------------------------------------------------- helpers

# Runs a command, stderr folded into the result; an error names the command.
proc ::lab::run {args} {
    if {[catch {exec {*}$args 2>@1} out]} {
        return -code error -errorcode {LAB EXEC} "[join $args] failed: $out"
    }
    return $out
}

# Runs a command inside namespace NS.
proc ::lab::nsexec {ns args} {
    return [run ip netns exec $ns {*}$args]
}

# Process state letter of PID from /proc ("" when it is gone).
proc ::lab::pstate {pid} {
    if {[catch {open /proc/$pid/stat r} f]} { return "" }
    set text [read $f]
    close $f
    # The command name is in parentheses and may hold spaces.
    return [lindex [string range $text [expr {[string last ")" $text] + 2}] end] 0]
}

# True while PID runs (a zombie has ended: it only waits to be reaped).
proc ::lab::alive {pid} {
    set s [pstate $pid]
    return [expr {$s ne "" && $s ni {Z X x}}]
}

# Every process whose parent is in PIDS, and theirs, from /proc.
proc ::lab::descendants {pids} {
    set parent [dict create]
    foreach dir [glob -nocomplain -directory /proc {[0-9]*}] {
        if {[catch {open $dir/stat r} f]} { continue }
        set text [read $f]
        close $f
        set rest [string range $text [expr {[string last ")" $text] + 2}] end]
        dict set parent [file tail $dir] [lindex $rest 1]
    }
    set found {}
    set frontier $pids
    while {[llength $frontier]} {
        set next {}
        dict for {p pp} $parent {
            if {$pp in $frontier && $p ni $found && $p ni $pids} {
                lappend found $p
                lappend next $p
            }
        }
        set frontier $next
    }
    return $found
}

# Sends TERM to PIDS, waits up to graceMs for them to end, then KILLs the
# rest and waits again. Returns the PIDs still running (normally none).
proc ::lab::terminate {pids} {
    variable graceMs
    foreach sig {TERM KILL} wait [list $graceMs 2000] {
        set live [lmap p $pids { expr {[alive $p] ? $p : [continue]} }]
        if {![llength $live]} { return {} }
        catch {exec kill -$sig {*}$live 2>@1}
        set end [expr {[clock milliseconds] + $wait}]
        while {[clock milliseconds] < $end} {
            set live [lmap p $live { expr {[alive $p] ? $p : [continue]} }]
            if {![llength $live]} { return {} }
            after 20
        }
    }
    return [lmap p $pids { expr {[alive $p] ? $p : [continue]} }]
}

# A fresh private directory (mkdtemp) whose name carries our PID.
proc ::lab::mkrundir {kind} {
    variable pid
    variable rundirs
    set dir [run mktemp -d /tmp/zklab-$pid-$kind.XXXXXX]
    lappend rundirs $dir
    return $dir
}

# Removes a run directory and forgets it.
proc ::lab::rmrundir {dir} {
    variable rundirs
    file delete -force $dir
    set rundirs [lsearch -all -inline -not -exact $rundirs $dir]
}

proc ::lab::writefile {path text} {
    set f [open $path w]
    puts -nonewline $f $text
    close $f
}

proc ::lab::readfile {path} {
    if {[catch {open $path r} f]} { return "" }
    set text [read $f]
    close $f
    return $text
}

# The last lines of a log, for error messages.
proc ::lab::tail {path {n 15}} {
    return [join [lrange [split [string trimright [readfile $path]] \n] end-[expr {$n - 1}] end] \n]
}

# Parses OPTIONS (a -name value list) against DEFAULTS (a dict of -name
# value); an unknown option is an error that lists the known ones.
proc ::lab::options {defaults options} {
    if {[llength $options] % 2} {
        return -code error "options must be -name value pairs: $options"
    }
    foreach {k v} $options {
        if {![dict exists $defaults $k]} {
            return -code error "unknown option \"$k\": must be [join [dict keys $defaults] {, }]"
        }
        dict set defaults $k $v
    }
    return $defaults
}

# ---------------------------------------------------------------- checks

# "" when this machine can run live tests, else the reason in one line.
proc ::lab::available {} {
    variable available
    if {[info exists available]} { return $available }
    set available [Probe]
}

proc ::lab::Probe {} {
    variable frrBin
    variable pid
    if {$::tcl_platform(os) ne "Linux"} { return "not Linux" }
    if {[catch {exec id -u} uid] || $uid != 0} { return "not root (network namespaces need root)" }
    foreach {prog pkg} {ip iproute2 kill procps mktemp coreutils timeout coreutils
                        vtysh frr bird bird2 birdc bird2} {
        if {[auto_execok $prog] eq ""} { return "$prog not found (Debian package $pkg; run scripts/bootstrap)" }
    }
    foreach d {zebra bgpd} {
        if {![file executable $frrBin/$d]} { return "$frrBin/$d not found (Debian package frr)" }
    }
    if {[catch {exec id -u frr}]} { return "no user frr (Debian package frr)" }
    set probe zklab-$pid-probe
    if {[catch {exec ip netns add $probe 2>@1} err]} {
        return "ip netns add fails: [lindex [split $err \n] 0]"
    }
    catch {exec ip netns del $probe 2>@1}
    return ""
}

# ---------------------------------------------------------------- until

# Evaluates the condition COND (an expression, as for `if`) in the caller
# every INTERVAL ms until it is true or TIMEOUT_MS have passed; 1 when it
# became true, else 0. It never blocks longer than that (plus one
# evaluation). An error of the condition counts as false (what it asks for
# may not exist yet); the last one is kept in ::lab::untilError so that a
# failing test can show it.
proc ::lab::until {timeout cond {interval 50}} {
    variable untilError ""
    set end [expr {[clock milliseconds] + $timeout}]
    while 1 {
        if {[catch {uplevel 1 [list expr $cond]} ok]} {
            set untilError $ok
            set ok 0
        }
        if {[string is true -strict $ok]} { return 1 }
        if {[clock milliseconds] >= $end} { return 0 }
        after $interval
    }
}

# ---------------------------------------------------------------- namespaces

# lab::ns create             -> a new namespace, lo up, DAD off, low ports open
# lab::ns exec NS cmd ...    -> runs a command inside NS, returns its output
# lab::ns list               -> the namespaces this lab made and still has
# lab::ns pids NS            -> the PIDs of the processes inside NS
proc ::lab::ns {sub args} {
    variable namespaces
    switch -- $sub {
        create {
            if {[llength $args]} { return -code error "wrong # args: should be \"lab::ns create\"" }
            variable counter
            variable pid
            set name zklab-$pid-[incr counter]
            run ip netns add $name
            lappend namespaces $name
            # default.accept_dad too: an interface made later takes its
            # value from default, and the kernel uses the larger of all and
            # the interface's own.
            nsexec $name sysctl -q -w net.ipv6.conf.all.accept_dad=0 \
                net.ipv6.conf.default.accept_dad=0 net.ipv4.ip_unprivileged_port_start=0
            run ip -n $name link set lo up
            return $name
        }
        exec {
            if {[llength $args] < 2} { return -code error "wrong # args: should be \"lab::ns exec NS cmd ?arg ...?\"" }
            return [nsexec {*}$args]
        }
        list { return $namespaces }
        pids {
            if {[llength $args] != 1} { return -code error "wrong # args: should be \"lab::ns pids NS\"" }
            if {[catch {exec ip netns pids [lindex $args 0] 2>@1} out]} { return {} }
            return [regexp -all -inline {\d+} $out]
        }
        default { return -code error "unknown subcommand \"$sub\": must be create, exec, list or pids" }
    }
}

# lab::veth NS1 NS2 ?-addr1 CIDRS? ?-addr2 CIDRS? ?-addr1v6 CIDRS? ?-addr2v6 CIDRS? ?-mtu N?
# A veth pair with one end made straight in NS1 and the other in NS2 (so
# nothing is left in our own namespace if the test dies), both up, with
# the given addresses (each option takes one CIDR or a list; IPv6 ones are
# added with nodad). Returns the two interface names.
proc ::lab::veth {ns1 ns2 args} {
    variable counter
    variable pid
    set o [options {-addr1 {} -addr2 {} -addr1v6 {} -addr2v6 {} -mtu {}} $args]
    set n [incr counter]
    set a zk${pid}v${n}a
    set b zk${pid}v${n}b
    run ip link add $a netns $ns1 type veth peer name $b netns $ns2
    foreach ns [list $ns1 $ns2] if [list $a $b] side {1 2} {
        if {[dict get $o -mtu] ne ""} { run ip -n $ns link set $if mtu [dict get $o -mtu] }
        foreach cidr [concat [dict get $o -addr$side] [dict get $o -addr${side}v6]] {
            if {[string match *:* $cidr]} {
                run ip -n $ns addr add $cidr dev $if nodad
            } else {
                run ip -n $ns addr add $cidr dev $if
            }
        }
        run ip -n $ns link set $if up
    }
    return [list $a $b]
}

# ---------------------------------------------------------------- daemons

# Starts CMD inside NS as our child in the foreground, stdout and stderr
# appended to LOG; returns {pid channel}.
proc ::lab::spawn {ns log cmd} {
    set chan [open |[list ip netns exec $ns {*}$cmd >>& $log] w]
    return [list [lindex [pid $chan] 0] $chan]
}

# Waits until every path in PATHS exists as a socket, while the process PID
# runs; an error with the log's tail when the process ends or time is up.
proc ::lab::waitSockets {what pid paths log timeout} {
    set end [expr {[clock milliseconds] + $timeout}]
    while 1 {
        set missing [lmap p $paths { expr {[file exists $p] && [file type $p] eq "socket" ? [continue] : $p} }]
        if {![llength $missing]} { return }
        if {![alive $pid]} {
            set why "$what (pid $pid) ended before making [join $missing {, }]"
            return -code error -errorcode {LAB DIED} "$why:\n[tail $log]"
        }
        if {[clock milliseconds] >= $end} {
            set why "$what (pid $pid): no [join $missing {, }] after $timeout ms"
            return -code error -errorcode {LAB TIMEOUT} "$why:\n[tail $log]"
        }
        after 10
    }
}

proc ::lab::newHandle {kind ns dir} {
    variable handles
    variable duts
    variable order
    set h $kind[incr handles]
    set duts($h) [dict create kind $kind ns $ns dir $dir procs {}]
    lappend order $h
    return $h
}

proc ::lab::handle {h kind} {
    variable duts
    if {![info exists duts($h)] || [dict get $duts($h) kind] ne $kind} {
        return -code error -errorcode {LAB HANDLE} "no running $kind instance \"$h\""
    }
    return $duts($h)
}

# Stops the daemons of handle H: TERM, wait, KILL; processes they forked
# too. Reaps our children, removes FRR's /var/tmp/frr/<daemon>.<pid> of
# exactly these PIDs and the run directory. Returns the PIDs still running.
proc ::lab::stopHandle {h} {
    variable duts
    variable order
    if {![info exists duts($h)]} { return {} }
    set d $duts($h)
    set pids {}
    foreach p [dict get $d procs] { lappend pids [dict get $p pid] }
    # Find the daemons' children before they are orphaned.
    set all [concat [lreverse $pids] [descendants $pids]]
    set left [terminate $all]
    foreach p [dict get $d procs] {
        # The child has ended: close waits for it and so reaps it now.
        catch {close [dict get $p chan]}
        if {[dict get $d kind] eq "frr"} {
            file delete -force /var/tmp/frr/[dict get $p name].[dict get $p pid]
        }
    }
    rmrundir [dict get $d dir]
    unset duts($h)
    set i [lsearch -exact $order $h]
    if {$i >= 0} { set order [lreplace $order $i $i] }
    return $left
}

# ---------------------------------------------------------------- FRR

# lab::frr start NS ?-daemons {zebra bgpd}? ?-config TEXT? ?-args LIST?
#                   ?-daemonargs {DAEMON LIST ...}? ?-timeout MS?  -> handle
#     Every daemon reads the same configuration (each ignores the lines of
#     the others, logging them). -args go to every daemon but zebra (bgpd's
#     -n: no kernel install); -daemonargs to one daemon each.
# lab::frr vtysh H CMD ?CMD ...?  -> vtysh's output (CMDs in one session)
# lab::frr json H CMD             -> the JSON answer of CMD as a Tcl dict
# lab::frr pids H                 -> dict daemon -> PID
# lab::frr dir H                  -> the run directory (sockets, logs, config)
# lab::frr log H DAEMON           -> the daemon's log text
# lab::frr restart H DAEMON ?-signal TERM|KILL? ?-timeout MS?
#                                 -> ends one daemon (KILL: as if it crashed)
#                                    and starts it again; its new PID
# lab::frr stop H                 -> stops the instance and removes its files
proc ::lab::frr {sub args} {
    switch -- $sub {
        start { return [FrrStart {*}$args] }
        vtysh {
            if {[llength $args] < 2} { return -code error "wrong # args: should be \"lab::frr vtysh H CMD ?CMD ...?\"" }
            set cmds [lassign $args h]
            set d [handle $h frr]
            variable cmdSeconds
            set argv {}
            foreach c $cmds { lappend argv -c $c }
            return [nsexec [dict get $d ns] timeout $cmdSeconds vtysh --vty_socket [dict get $d dir] {*}$argv]
        }
        json {
            if {[llength $args] != 2} { return -code error "wrong # args: should be \"lab::frr json H CMD\"" }
            set text [frr vtysh {*}$args]
            if {[catch {json::json2dict $text} value]} {
                return -code error -errorcode {LAB JSON} "no JSON from \"[lindex $args 1]\": [string range $text 0 300]"
            }
            return $value
        }
        pids {
            set d [handle [lindex $args 0] frr]
            set out {}
            foreach p [dict get $d procs] { dict set out [dict get $p name] [dict get $p pid] }
            return $out
        }
        dir { return [dict get [handle [lindex $args 0] frr] dir] }
        log {
            lassign $args h daemon
            return [readfile [dict get [handle $h frr] dir]/$daemon.log]
        }
        restart {
            if {[llength $args] < 2} {
                return -code error "wrong # args: should be \"lab::frr restart H DAEMON ?-signal SIG? ?-timeout MS?\""
            }
            return [FrrRestart {*}$args]
        }
        stop {
            handle [lindex $args 0] frr
            return [stopHandle [lindex $args 0]]
        }
        default {
            return -code error \
                "unknown subcommand \"$sub\": must be start, vtysh, json, pids, dir, log, restart or stop"
        }
    }
}

proc ::lab::FrrStart {ns args} {
    variable frrBin
    variable startMs
    variable frrStarted
    variable frrStatePresent
    variable frrStateDir
    variable frrStateFiles
    set o [options [list -daemons {zebra bgpd} -config "" -args {} -daemonargs {} -timeout $startMs] $args]
    if {$ns ni [ns list]} { return -code error "namespace \"$ns\" was not made by lab::ns create" }
    if {!$frrStarted} {
        # Which state files existed before this run started any FRR daemon.
        set frrStarted 1
        set frrStatePresent [lmap f $frrStateFiles { expr {[file exists $frrStateDir/$f] ? $f : [continue]} }]
    }
    # zebra first: the others connect to its zserv.api.
    set daemons [dict get $o -daemons]
    if {"zebra" in $daemons} {
        set daemons [linsert [lsearch -all -inline -not -exact $daemons zebra] 0 zebra]
    }
    set dir [mkrundir frr]
    set h [newHandle frr $ns $dir]
    # The daemons drop to user frr: the directory must be theirs and
    # reachable (mktemp made it 0700).
    file attributes $dir -permissions 0755
    writefile $dir/frr.conf [dict get $o -config]
    foreach f [list $dir $dir/frr.conf] { file attributes $f -owner frr -group frr }
    foreach daemon $daemons {
        set extra [expr {$daemon eq "zebra" ? {} : [dict get $o -args]}]
        if {[dict exists $o -daemonargs $daemon]} { lappend extra {*}[dict get $o -daemonargs $daemon] }
        set cmd [list $frrBin/$daemon -f $dir/frr.conf -i $dir/$daemon.pid --vty_socket $dir \
                     --log file:$dir/$daemon.log -u frr -g frr -z $dir/zserv.api -P 0 {*}$extra]
        if {[catch {FrrSpawn $h $daemon $cmd [dict get $o -timeout]} msg opts]} {
            stopHandle $h
            return -code error -errorcode [dict get $opts -errorcode] $msg
        }
    }
    return $h
}

# Starts one FRR daemon of handle H with CMD and waits for its sockets.
proc ::lab::FrrSpawn {h daemon cmd timeout} {
    variable duts
    set ns [dict get $duts($h) ns]
    set dir [dict get $duts($h) dir]
    lassign [spawn $ns $dir/$daemon.out $cmd] pid chan
    dict lappend duts($h) procs [dict create name $daemon pid $pid chan $chan cmd $cmd]
    set sockets [list $dir/$daemon.vty]
    if {$daemon eq "zebra"} { lappend sockets $dir/zserv.api }
    if {[catch {waitSockets $daemon $pid $sockets $dir/$daemon.out $timeout} err opts]} {
        # The log file may hold the reason; the output file the rest.
        return -code error -errorcode [dict get $opts -errorcode] "$err\n[tail $dir/$daemon.log]"
    }
    return $pid
}

# Ends DAEMON of handle H with SIGNAL (TERM: a clean stop; KILL: a crash),
# reaps it, removes what it left, and starts it again as before; the new PID.
proc ::lab::FrrRestart {h daemon args} {
    variable duts
    variable startMs
    set o [options [list -signal TERM -timeout $startMs] $args]
    set d [handle $h frr]
    set i [lsearch -exact [lmap p [dict get $d procs] { dict get $p name }] $daemon]
    if {$i < 0} { return -code error "$h runs no $daemon" }
    set p [lindex [dict get $d procs] $i]
    set pid [dict get $p pid]
    catch {exec kill -[dict get $o -signal] $pid 2>@1}
    if {![until $startMs {![alive $pid]} 10] && [llength [terminate [list $pid]]]} {
        return -code error "$daemon (pid $pid) does not end"
    }
    catch {close [dict get $p chan]}
    file delete -force /var/tmp/frr/$daemon.$pid [dict get $d dir]/$daemon.vty
    if {$daemon eq "zebra"} { file delete -force [dict get $d dir]/zserv.api }
    dict set duts($h) procs [lreplace [dict get $d procs] $i $i]
    return [FrrSpawn $h $daemon [dict get $p cmd] [dict get $o -timeout]]
}

# ---------------------------------------------------------------- BIRD

# lab::bird start NS -config TEXT ?-timeout MS?  -> handle
#     The configuration is checked first (bird -p); an error shows why.
# lab::bird cmd H CMD          -> birdc's answer, without its greeting line
# lab::bird protocols H        -> dict name -> {proto table state since info}
# lab::bird state H NAME       -> BGP state of protocol NAME (Established,
#                                 Active, Connect, ...) or its state column
# lab::bird count H ?TABLE?    -> number of routes in TABLE (default: all tables)
# lab::bird route H PREFIX     -> paths of `show route for PREFIX all`, each a
#                                 dict (prefix type proto since primary
#                                 preference via dev attrs); the prefix is
#                                 that of the best match, which may cover PREFIX
# lab::bird configure H TEXT   -> checks TEXT, makes it the configuration
#                                 and has BIRD take it (birdc configure)
# lab::bird pid H / dir H / log H / stop H
proc ::lab::bird {sub args} {
    switch -- $sub {
        start { return [BirdStart {*}$args] }
        cmd {
            if {[llength $args] != 2} { return -code error "wrong # args: should be \"lab::bird cmd H CMD\"" }
            lassign $args h cmd
            set d [handle $h bird]
            variable cmdSeconds
            set out [nsexec [dict get $d ns] timeout $cmdSeconds birdc -s [dict get $d dir]/bird.ctl {*}$cmd]
            return [regsub {^BIRD [^\n]* ready\.\n?} $out ""]
        }
        protocols { return [parseProtocols [bird cmd [lindex $args 0] "show protocols"]] }
        state {
            lassign $args h name
            set all [bird protocols $h]
            if {![dict exists $all $name]} { return -code error "no protocol \"$name\" in $h" }
            set p [dict get $all $name]
            set info [lindex [dict get $p info] 0]
            return [expr {$info ne "" ? $info : [dict get $p state]}]
        }
        count {
            lassign $args h table
            return [parseCount [bird cmd $h "show route count"] $table]
        }
        route {
            lassign $args h prefix
            return [parseRoutes [bird cmd $h "show route for $prefix all"]]
        }
        configure {
            if {[llength $args] != 2} { return -code error "wrong # args: should be \"lab::bird configure H TEXT\"" }
            lassign $args h text
            set dir [dict get [handle $h bird] dir]
            writefile $dir/next.conf $text
            if {[catch {exec bird -p -c $dir/next.conf 2>@1} err]} {
                return -code error -errorcode {LAB CONFIG} "bird rejects the configuration: $err"
            }
            file rename -force $dir/next.conf $dir/bird.conf
            set out [bird cmd $h configure]
            if {![string match *Reconfigured* $out]} {
                return -code error -errorcode {LAB CONFIG} "bird did not take the configuration: $out"
            }
            return $out
        }
        pid { return [dict get [lindex [dict get [handle [lindex $args 0] bird] procs] 0] pid] }
        dir { return [dict get [handle [lindex $args 0] bird] dir] }
        log { return [readfile [dict get [handle [lindex $args 0] bird] dir]/bird.out] }
        stop {
            handle [lindex $args 0] bird
            return [stopHandle [lindex $args 0]]
        }
        default {
            return -code error \
                "unknown subcommand \"$sub\": must be start, cmd, protocols, state, count, route, configure,\
                 pid, dir, log or stop"
        }
    }
}

proc ::lab::BirdStart {ns args} {
    variable startMs
    set o [options [list -config "" -timeout $startMs] $args]
    if {$ns ni [ns list]} { return -code error "namespace \"$ns\" was not made by lab::ns create" }
    set dir [mkrundir bird]
    writefile $dir/bird.conf [dict get $o -config]
    if {[catch {exec bird -p -c $dir/bird.conf 2>@1} err]} {
        rmrundir $dir
        return -code error -errorcode {LAB CONFIG} "bird rejects the configuration: $err"
    }
    set h [newHandle bird $ns $dir]
    set cmd [list bird -f -c $dir/bird.conf -s $dir/bird.ctl -P $dir/bird.pid]
    lassign [spawn $ns $dir/bird.out $cmd] pid chan
    variable duts
    dict lappend duts($h) procs [dict create name bird pid $pid chan $chan]
    if {[catch {waitSockets bird $pid [list $dir/bird.ctl] $dir/bird.out [dict get $o -timeout]} err opts]} {
        stopHandle $h
        return -code error -errorcode [dict get $opts -errorcode] $err
    }
    return $h
}

# `show protocols` -> dict name -> dict proto table state since info.
# The since column is a time, or a date and a time.
proc ::lab::parseProtocols {text} {
    set out [dict create]
    foreach line [split $text \n] {
        if {[regexp {^Name\s+Proto} $line] || [string trim $line] eq ""} { continue }
        if {![regexp {^(\S+)\s+(\S+)\s+(\S+)\s+(\S+)\s+(\d{4}-\d\d-\d\d\s+\S+|\S+)\s*(.*?)\s*$} \
                  $line -> name proto table state since info]} { continue }
        dict set out $name [dict create proto $proto table $table state $state since $since info $info]
    }
    return $out
}

# `show route count` -> routes in TABLE, or in all tables when TABLE is "".
proc ::lab::parseCount {text {table ""}} {
    foreach line [split $text \n] {
        if {$table eq ""} {
            if {[regexp {^Total: (\d+) of \d+ routes} $line -> n]} { return $n }
        } elseif {[regexp {^(\d+) of \d+ routes for \d+ networks in table (\S+)} $line -> n t] && $t eq $table} {
            return $n
        }
    }
    if {$table eq ""} {
        # One table only: no Total line.
        set sum 0
        foreach {-> n} [regexp -all -inline -line {^(\d+) of \d+ routes} $text] { incr sum $n }
        return $sum
    }
    return -code error "no table \"$table\" in: $text"
}

# `show route ... all` -> list of paths, each a dict prefix type proto since
# primary preference via dev attrs (attrs: dict of the "Key: value" lines).
proc ::lab::parseRoutes {text} {
    set paths {}
    set cur {}
    set prefix ""
    foreach line [split $text \n] {
        if {[string trim $line] eq "" || [string match "Table *:" $line] || [string match "Network not found*" $line]} {
            continue
        }
        # net type [proto since] ?*? ?OSPF type? (preference/metrics)
        set head {^(\S+)?\s+(\S+)\s+\[(\S+)\s+([^\]]*)\]\s*(\*?)\s*(?:[A-Z]\w*\s+)?\((\d+)(?:/[^)]*)?\)}
        if {[regexp $head $line -> p type proto since star pref]} {
            if {[dict size $cur]} { lappend paths $cur }
            if {$p ne ""} { set prefix $p }
            set cur [dict create prefix $prefix type $type proto $proto since $since \
                         primary [expr {$star eq "*"}] preference $pref via "" dev "" attrs {}]
        } elseif {[dict size $cur] && [regexp {^\s+via (\S+) on (\S+)} $line -> via dev]} {
            dict set cur via $via
            dict set cur dev $dev
        } elseif {[dict size $cur] && [regexp {^\s+dev (\S+)} $line -> dev]} {
            dict set cur dev $dev
        } elseif {[dict size $cur] && [regexp {^\s+([^:\s][^:]*):\s?(.*)$} $line -> key value]} {
            dict set cur attrs $key [string trim $value]
        }
    }
    if {[dict size $cur]} { lappend paths $cur }
    return $paths
}

# ---------------------------------------------------------------- cleanup

# Takes down everything this lab made: daemons (by PID: TERM, wait, KILL),
# what they forked and anything else inside our namespaces, FRR's
# /var/tmp/frr/<daemon>.<pid> of our PIDs and the FRR state files this run
# created, the run directories, the namespaces. Idempotent; returns the
# PIDs that would not die (normally none).
proc ::lab::cleanup {} {
    variable cleaning
    variable order
    variable namespaces
    variable rundirs
    variable frrStarted
    variable frrStatePresent
    variable frrStateDir
    variable frrStateFiles
    if {$cleaning} { return {} }
    set cleaning 1
    set left {}
    try {
        foreach h [lreverse $order] {
            if {[catch {stopHandle $h} l]} { puts stderr "lab::cleanup: $h: $l" } else { lappend left {*}$l }
        }
        # Whatever still runs inside our namespaces (started by a test by
        # hand, or forked by a daemon and reparented).
        set inside {}
        foreach ns $namespaces { lappend inside {*}[ns pids $ns] }
        lappend left {*}[terminate $inside]
        if {$frrStarted} {
            foreach f $frrStateFiles {
                if {$f ni $frrStatePresent} { file delete -force $frrStateDir/$f }
            }
            set frrStarted 0
        }
        foreach dir $rundirs { file delete -force $dir }
        set rundirs {}
        foreach ns [lreverse $namespaces] {
            if {[catch {exec ip netns del $ns 2>@1} err] && $ns in [NetnsList]} {
                puts stderr "lab::cleanup: ip netns del $ns: $err"
            }
        }
        set namespaces {}
    } finally {
        set cleaning 0
    }
    return $left
}

# Names of all namespaces on the machine.
proc ::lab::NetnsList {} {
    if {[catch {exec ip netns list 2>@1} out]} { return {} }
    return [lmap line [split $out \n] { lindex $line 0 }]
}

# Removes what lab runs that were killed before their cleanup left: the
# namespaces zklab-PID-* and run directories /tmp/zklab-PID-* of PIDs no
# longer running, with the processes inside those namespaces. Returns the
# namespaces it removed. Touches nothing of a run that is still alive.
proc ::lab::sweep {} {
    variable pid
    set removed {}
    foreach ns [NetnsList] {
        if {![regexp {^zklab-(\d+)-} $ns -> owner] || $owner == $pid || [alive $owner]} { continue }
        terminate [ns pids $ns]
        if {![catch {exec ip netns del $ns 2>@1}]} { lappend removed $ns }
    }
    foreach dir [glob -nocomplain -types d /tmp/zklab-*] {
        if {[regexp {^zklab-(\d+)-} [file tail $dir] -> owner] && $owner != $pid && ![alive $owner]} {
            file delete -force $dir
        }
    }
    return $removed
}

# Cleanup on exit, also after an uncaught error (Tcl_Main ends by `exit`).
if {[info commands ::lab::RealExit] eq ""} {
    rename ::exit ::lab::RealExit
    proc ::exit {{code 0}} {
        catch {::lab::cleanup}
        ::lab::RealExit $code
    }
}
