# Helpers shared by the RSVP-TE suites: one object tree, a probe for the
# module's last message and JSON look-ups.
source [file join [file dirname [info script]] common.tcl]

# A fresh lab (answers without delay) and a fresh tree under fixed names:
#   srv -> nbr -> dst, tlv;  dst -> ero, rro, snd, tlv;  snd -> plr, tlv.
set ::rsvpTreeSpec {
    ero TCLRsvpEroItem {}
    rro TCLRsvpRroItem {}
    tlv TCLRsvpCustomTlv {}
    plr TCLRsvpPlrNodeIdPair {}
    snd TCLRsvpSenderRange {plr tlv}
    dst TCLRsvpDestinationRange {ero rro snd tlv}
    nbr TCLRsvpNeighborPair {dst tlv}
    srv TCLRsvpServer {nbr}
}
proc rsvpTree {} {
    fresh
    zkchassis::configure -replyDelay 0
    foreach {obj cls staging} $::rsvpTreeSpec {
        if {[info commands ::$obj] ne ""} { $obj -delete }
        $cls $obj {*}[lmap s $staging { $s cget -this }]
    }
}
proc rsvpPort {} { rsvpTree; srv select 1 1 1 }
proc freshTree {} { rsvpTree }

# A lookup of a missing name fails without a message of its own, so it
# reveals the module's last message.
proc lastError {} {
    set ::zkErrorInfo ""
    nbr getDestinationRange "no such range"
    return $::zkErrorInfo
}
set ::planted "TCLRsvpEroItem::Validate()    Invalid type."
proc plantMessage {} {
    ero configure -type 7
    dst addEro
    ero configure -type 0
}

# What port 1/1/p has staged for RSVP-TE, as a dict; one pair of it and
# one destination range of that pair.
proc rsvpConfig {{p 1}} { json [zkchassis::staged 1 1 $p rsvp] }
proc pairJson {{i 0} {p 1}} { lindex [dict get [rsvpConfig $p] NeighborPairList] $i }
proc rangeJson {{i 0} {r 0}} { lindex [dict get [pairJson $i] DestinationRangeList] $r }

# Walks a list of $obj with getFirst<kind>/getNext<kind>, collecting what
# `script` returns for each entry.
proc walk {obj kind script} {
    set out {}
    for {set rc [$obj getFirst$kind]} {$rc == 0} {set rc [$obj getNext$kind]} { lappend out [uplevel 1 $script] }
    return $out
}
