# The demo `make demo` runs: switch the port services of a port on, then run
# every protocol example, and show what reached the ports.
package require zkmainprotocol
package require zkchassis

set here [file dirname [file normalize [info script]]]

puts "== Port services on 1/1/1"
TCLProtocolServer services
services configure -enableArpResponse 1 -enablePingResponse 1 -enableRipService 1 -enableOspfService 1 \
    -enableBgp4Service 1 -enableRsvpService 1 -enableIsisService 1 -enableOspfV3Service 1 -enableLdpService 1 \
    -enableIgmpQueryResponse 1 -enableMldService 1 -enablePimsmService 1 -enableStpService 1
puts "set:   [services set 1 1 1]"
puts "write: [services write 1 1 1]"
puts "what port 1/1/1 received:\n[zkchassis::written -pretty 1 1 1 services]"
services -delete

foreach example {rip.tcl ospf.tcl bgp.tcl rsvp.tcl isis.tcl ospfv3.tcl ldp.tcl stp.tcl multicast.tcl host.tcl} {
    set path [file join $here $example]
    if {[file exists $path]} {
        puts "\n== examples/$example"
        zkchassis::reset
        source $path
    }
}

# A live session on the wire: as root, port 1/1/1 bound to a veth end with
# FRR on the other; otherwise one line says why it is skipped.
puts "\n== examples/live_bgp.tcl"
zkchassis::reset
set live [interp create]  ;# the examples above left objects named like Tcl's own commands
$live eval [list source [file join $here live_bgp.tcl]]
interp delete $live

# A live RIP exchange beside it: FRR's ripd on the other end of the veth pair.
puts "\n== examples/live_rip.tcl"
zkchassis::reset
set live [interp create]
$live eval [list source [file join $here live_rip.tcl]]
interp delete $live
