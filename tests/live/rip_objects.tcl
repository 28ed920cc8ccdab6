# The script objects of one port's RIP and RIPng routers, as the live tests
# build them: the RIP route range `ripRange`, router `ripRouter` (with the
# learned route `ripLearned`), server `rip`; the RIPng route range
# `ngRange`, interface `ngInterface`, router `ngRouter` (with `ngLearned`),
# server `ripng`; and the port services `services`. Needs zkmainprotocol.
TCLProtocolServer services
TCLRipRouteRange ripRange
TCLRipLearnedRoute ripLearned
TCLRipInterfaceRouter ripRouter [ripRange cget -this] [ripLearned cget -this]
TCLRipServer rip [ripRouter cget -this]
TCLRipngRouteRange ngRange
TCLRipngInterface ngInterface
TCLRipngLearnedRoute ngLearned
TCLRipngRouter ngRouter [ngRange cget -this] [ngInterface cget -this] [ngLearned cget -this]
TCLRipngServer ripng [ngRouter cget -this]

proc check {what code} {
    if {$code != 0} { error "$what failed ($code): $::zkErrorInfo" }
}

# Binds port 1/1/1 to `ifname` in `netns` with the RIP and RIPng services on.
proc bindRipPort {netns ifname} {
    zkchassis::reset
    zkchassis::port configure 1 1 1 -netns $netns -interface $ifname
    services configure -enableRipService 1 -enableRipngService 1
    check "services set" [services set 1 1 1]
    check "services write" [services write 1 1 1]
    check "rip select" [rip select 1 1 1]
    check "ripng select" [ripng select 1 1 1]
}

# What a router learned: {prefix/length metric nextHop} each, after the
# answer came in (router: ripRouter or ngRouter).
proc ripLearnedRoutes {router} {
    check "requestLearnedRoutes" [$router requestLearnedRoutes]
    lab::until 3000 {[$router getLearnedRouteList] == 0}
    set object [expr {$router eq "ripRouter" ? "ripLearned" : "ngLearned"}]
    set width [expr {$router eq "ripRouter" ? "-networkMaskWidth" : "-maskWidth"}]
    set out {}
    for {set r [$router getFirstLearnedRoute]} {$r == 0} {set r [$router getNextLearnedRoute]} {
        lappend out [list [$object cget -networkIpAddress]/[$object cget $width] [$object cget -metric] \
                         [$object cget -nextHop]]
    }
    return $out
}
