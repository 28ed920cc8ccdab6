# Runs the tcltest suites of this directory (all of them, or those chosen
# with -file) against the library in the build tree.
package require tcltest 2
namespace import tcltest::*
configure -testdir [file dirname [file normalize [info script]]] {*}$argv
set ::tcltest::singleProcess 1
runAllTests
