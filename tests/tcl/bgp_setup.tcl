# Helpers shared by the BGP-4 suites: one object tree and JSON look-ups.
source [file join [file dirname [info script]] common.tcl]

# A fresh lab (answers without delay) and a fresh tree under fixed names:
#   srv -> nbr -> rr, site, mpls, pf, rf, tbl, lr;  rr -> asp, ext;
#   site -> vrr, rt;  tbl -> peer.
set ::bgpObjects {srv nbr rr asp ext site vrr rt mpls pf rf tbl peer lr}
proc bgpTree {} {
    fresh
    zkchassis::configure -replyDelay 0
    foreach obj $::bgpObjects { if {[info commands ::$obj] ne ""} { $obj -delete } }
    TCLBgp4AsPathItem asp
    TCLBgp4ExtendedCommunity ext
    TCLBgp4RouteRange rr [asp cget -this] [ext cget -this]
    TCLBgp4VpnRouteRange vrr
    TCLBgp4RouteTarget rt
    TCLBgp4L3Site site [vrr cget -this] [rt cget -this]
    TCLBgp4MplsRouteRange mpls
    TCLBgp4PrefixFilter pf
    TCLBgp4RouteFilter rf
    TCLBgp4InternalNeighborItem peer
    TCLBgp4InternalTable tbl [peer cget -this]
    TCLBgp4LearnedRoute lr
    TCLBgp4Neighbor nbr {*}[lmap o {rr site mpls pf rf tbl lr} { $o cget -this }]
    TCLBgp4Server srv [nbr cget -this]
}
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
