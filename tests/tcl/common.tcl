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

# The JSON text that reached a port, decoded with a small reader so the
# suites can compare fields without a JSON package.
proc written {c d p protocol} { zkchassis::written $c $d $p $protocol }
