# Helpers shared by the OSPFv3 suites: one object tree under fixed names,
# a probe for the module's last message, and JSON look-ups.
source [file join [file dirname [info script]] common.tcl]

# The staging objects, in the order the constructors take them.
set ::v3Lsas {rl nl iap iar ext ll intra}

# A fresh lab (answers without delay) and a fresh tree:
#   srv -> rtr -> ifc, rr, grp;  ifc -> learned, nr;  grp -> the seven LSAs;
#   rl -> rli;  ll, intra -> pfx.
proc v3Tree {} {
    fresh
    zkchassis::configure -replyDelay 0
    foreach obj {srv rtr ifc grp rr nr learned pfx rli rl nl iap iar ext ll intra} {
        if {[info commands ::$obj] ne ""} { $obj -delete }
    }
    TCLOspfV3LsaPrefix pfx
    TCLOspfV3RouterLsaInterface rli
    TCLOspfV3RouterLsa rl [rli cget -this]
    TCLOspfV3NetworkLsa nl
    TCLOspfV3InterAreaPrefixLsa iap
    TCLOspfV3InterAreaRouterLsa iar
    TCLOspfV3AsExternalLsa ext
    TCLOspfV3LinkLsa ll [pfx cget -this]
    TCLOspfV3IntraAreaPrefixLsa intra [pfx cget -this]
    TCLOspfV3UserLsaGroup grp {*}[lmap o $::v3Lsas { $o cget -this }]
    TCLOspfV3LearnedLsa learned
    TCLOspfV3NetworkRange nr
    TCLOspfV3Interface ifc [learned cget -this] [nr cget -this]
    TCLOspfV3RouteRange rr
    TCLOspfV3Router rtr [ifc cget -this] [rr cget -this] [grp cget -this]
    TCLOspfV3Server srv [rtr cget -this]
}
proc v3Port {} { v3Tree; srv select 1 1 1 }

# The module keeps its last message across successful calls; a lookup of a
# missing name fails without a message of its own, so it reveals that text.
proc lastError {} {
    set ::zkErrorInfo ""
    rtr getRouteRange "no such route range"
    return $::zkErrorInfo
}

# checkTable (common.tcl) builds its fresh trees with this.
proc freshTree {} { v3Tree }

# "TCLOspfV3<cls>::Validate()   Invalid <option>." for each row of a table
# of {option refused taken ?extra?}.
proc invalidRows {cls rows} {
    lmap row $rows {
        lassign $row opt refused taken extra
        list $opt $refused $taken "TCLOspfV3$cls\::Validate()   Invalid $opt." $extra
    }
}

# The staged OSPFv3 configuration of port 1/1/1, decoded; the first router.
proc v3Json {} { json [zkchassis::staged 1 1 1 ospfv3] }
proc firstRouter {} { lindex [dict get [v3Json] RouterList] 0 }

# Malformed IPv6 texts every address option refuses.
set ::badV6 {{} 2001:db8::1::2 1.2.3.4 2001:db8:0:0:0:0:0:0:1 fe80::g {2001:db8::/64} ::ffff:1.2.3}
# Malformed dotted IDs every router or link-state ID option refuses.
set ::badV4 {{} 1.2.3 1.2.3.256 ::1}
