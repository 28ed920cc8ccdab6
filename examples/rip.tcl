# RIP and RIPng on two ports of the default lab.
#
#   port 1/1/1: RIP router "west" advertising two IPv4 blocks
#   port 1/1/2: RIP router "east" advertising one IPv4 block,
#               RIPng router "core" with one interface and one IPv6 block
#
# Run with the package on the Tcl path, e.g. TCLLIBPATH=build tclsh examples/rip.tcl
package require zkmainprotocol
package require zkchassis

# The equipment's protocol interfaces the routers run on.
zkchassis::port configure 1 1 1 -interfaces {{west-lan 1}}
zkchassis::port configure 1 1 2 -interfaces {{east-lan 1} {core-v6 2}}

proc check {what code} {
    if {$code != 0} { error "$what failed ($code): $::zkErrorInfo" }
}

# --- RIP ------------------------------------------------------------------
# Parents are built on staging objects: the server copies the router, the
# router copies the route range, at every add.
TCLRipRouteRange ripRange
TCLRipInterfaceRouter ripRouter [ripRange cget -this]
TCLRipServer rip [ripRouter cget -this]

check "select 1/1/1" [rip select 1 1 1]
ripRouter configure -ipAddress 10.1.0.1 -ipMask 255.255.255.0 -protocolInterfaceDescription west-lan \
    -sendType $zkConstants(ripMulticast) -receiveType $zkConstants(ripReceiveVersion2) \
    -responseMode $zkConstants(ripPoisonReverse)
ripRange configure -networkIpAddress 172.16.0.0 -networkMaskWidth 24 -numberOfNetworks 10 -metric 2
check "addRouteRange" [ripRouter addRouteRange campus]
ripRange configure -networkIpAddress 192.168.50.0 -numberOfNetworks 1 -routeTag 100
check "addRouteRange" [ripRouter addRouteRange lab]
check "addRouter" [rip addRouter west]
check "write" [rip write]

check "select 1/1/2" [rip select 1 1 2]
ripRouter setDefault
ripRouter configure -ipAddress 10.2.0.1 -ipMask 255.255.0.0 -protocolInterfaceDescription east-lan
ripRange setDefault
ripRange configure -networkIpAddress 172.20.0.0 -networkMaskWidth 16 -numberOfNetworks 4
check "addRouteRange" [ripRouter addRouteRange branch]
check "addRouter" [rip addRouter east]
check "write" [rip write]

# --- RIPng ----------------------------------------------------------------
TCLRipngRouteRange ripngRange
TCLRipngInterface ripngInterface
TCLRipngRouter ripngRouter [ripngRange cget -this] [ripngInterface cget -this]
TCLRipngServer ripng [ripngRouter cget -this]

check "select 1/1/2" [ripng select 1 1 2]
ripng configure -numRoutes 50 -timePeriod 200
check "set" [ripng set]
ripngInterface configure -protocolInterfaceDescription core-v6 -interfaceMetric 1 \
    -responseMode $zkConstants(ripngPoisonReverse)
check "addInterface" [ripngRouter addInterface core-v6]
ripngRange configure -networkIpAddress 2001:db8:100:: -maskWidth 48 -numRoutes 8 -step 1
check "addRouteRange" [ripngRouter addRouteRange site]
ripngRouter configure -routerId 1
check "addRouter" [ripng addRouter core]
check "write" [ripng write]

# --- what the ports received -------------------------------------------------
foreach {port protocol} {1 rip 2 rip 2 ripng} {
    puts "1/1/$port $protocol:"
    puts [zkchassis::written 1 1 $port $protocol]
    puts ""
}

foreach obj {rip ripRouter ripRange ripng ripngRouter ripngInterface ripngRange} { $obj -delete }
