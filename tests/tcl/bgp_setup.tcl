# Helpers shared by the BGP-4 suites: one object tree and JSON look-ups.
source [file join [file dirname [info script]] common.tcl]

# The tree under fixed names (buildTree, common.tcl).
set ::bgpTreeSpec {
    asp TCLBgp4AsPathItem {}
    ext TCLBgp4ExtendedCommunity {}
    rr TCLBgp4RouteRange {asp ext}
    vrr TCLBgp4VpnRouteRange {}
    rt TCLBgp4RouteTarget {}
    site TCLBgp4L3Site {vrr rt}
    mpls TCLBgp4MplsRouteRange {}
    pf TCLBgp4PrefixFilter {}
    rf TCLBgp4RouteFilter {}
    peer TCLBgp4InternalNeighborItem {}
    tbl TCLBgp4InternalTable {peer}
    lr TCLBgp4LearnedRoute {}
    nbr TCLBgp4Neighbor {rr site mpls pf rf tbl lr}
    srv TCLBgp4Server {nbr}
}
proc bgpTree {} { buildTree $::bgpTreeSpec }
proc bgpPort {} { bgpTree; srv select 1 1 1 }
proc freshTree {} { bgpTree }

# The module keeps its last message across successful calls; a lookup of a
# missing name fails without a message of its own, so it reveals that text.
proc lastError {} {
    set ::zkErrorInfo ""
    nbr getRouteRange "no such route range"
    return $::zkErrorInfo
}
# Leaves a known message behind, so a probe can tell "nothing reported".
set ::planted "TCLBgp4RouteRange::Validate()   Invalid enable."
proc plantMessage {} {
    rr configure -enable 7
    nbr addRouteRange planted
    rr configure -enable 1
}

# What port 1/1/p holds for BGP now (staged) or last received (written), as
# a dict; one neighbor of it, and one route range of that, without the ids.
proc bgpConfig {{p 1} {which staged}} { json [zkchassis::$which 1 1 $p bgp4] }
proc noIds {record} {
    set out {}
    dict for {k v} $record {
        if {$k eq "ID"} continue
        if {$k in {RouteRanges AsPath ExtendedCommunities L3Sites VPNRouteRanges ImportTargets ExportTargets MPLSRouteRanges PrefixFilters Peers}} {
            set v [lmap x $v { noIds $x }]
        } elseif {$k eq "InternalTable"} {
            set v [noIds $v]
        }
        dict set out $k $v
    }
    return $out
}
proc neighborJson {{i 0} {p 1}} { noIds [lindex [dict get [bgpConfig $p] Neighbors] $i] }
proc rangeJson {{n 0} {r 0}} { lindex [dict get [neighborJson $n] RouteRanges] $r }
