puts "zkmainprotocol [package require zkmainprotocol] zkchassis [package require zkchassis]"
