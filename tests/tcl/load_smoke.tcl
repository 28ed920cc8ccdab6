# Loads both packages the way a user's script does, in the order given
# (either must come first), and says which versions came.
set order [expr {$argc ? $argv : {zkmainprotocol zkchassis}}]
foreach p $order { package require $p }
puts "zkmainprotocol [package present zkmainprotocol] zkchassis [package present zkchassis]"
