// UPDATEs from route ranges, packed: a range is a few numbers (first
// network, prefix lengths, count, step), and its prefixes are computed one
// after the other straight into the output buffer, never held as objects.
// The path attributes of a range are encoded once; ranges that announce
// the same attributes share UPDATEs; each UPDATE carries as many prefixes
// as the session's largest message allows.
//
// How the route-range options are read:
//   prefixes   for each length from fromPrefix to thruPrefix, numberOfRoutes
//              networks: firstNetwork cut to the length, then moved on by
//              routeStep units of that length (20.0.0.0/24 step 1: 20.0.0.0,
//              20.0.1.0, ...). A range stops at the end of the address
//              space; a step of 0 gives one prefix per length.
//   IPv4       unicast in the NLRI field; IPv6, and any other SAFI, in
//              MP_REACH_NLRI (the first attribute).
//   AS_PATH    on external sessions asPathMode puts the range's AS in
//              front of the AS path items: 1 a sequence segment of its own,
//              2 a set, 3 a confederation sequence, 4 a confederation set,
//              5 prepended into a leading sequence item (RFC 4271 5.1.2),
//              0 nothing. Internal sessions send the items alone (a
//              speaker does not add its AS towards internal peers).
//   NEXT_HOP   nextHopSetMode 0: nextHop as given, 1: the session's local
//              address. nextHopMode 0: the same for every route; 1: one
//              address more for each route of the range; 2: one address
//              more for each prefix length. An IPv4 next hop of IPv6 routes
//              goes as ::ffff:a.b.c.d; IPv6 routes add the link-local
//              address when the session has one (32 bytes).
//   others     LOCAL_PREF, ORIGINATOR_ID and CLUSTER_LIST on internal
//              sessions only; MED when enabled; AGGREGATOR when its AS is
//              not 0; ATOMIC_AGGREGATE, COMMUNITIES, EXTENDED COMMUNITIES
//              when set.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "engine/bgp/update.h"
#include "hal/bgp.h"

namespace engine::bgp {

using u128 = unsigned __int128;

// What the encoder needs to know of the session it writes for.
struct EncodeSession {
    uint32_t localAs = 0;  // the emulated router's AS on this session
    bool internal = true;
    bool as4 = true;  // 4-octet AS numbers negotiated
    size_t maxMessage = kMaxMessage;
    hal::EIPAddress localAddress;                      // the session's own address
    std::optional<std::array<uint8_t, 16>> linkLocal;  // IPv6 link-local next hop
};

// The AS a range is announced from: the session AS, or with the
// neighbor's increment mode, that plus the range's position times the step.
uint32_t rangeAs(const hal::EBGP::ConfigNeighbor& n, uint32_t sessionAs, size_t position);

// The attributes of a range as values (next hop aside), for tests and for
// the receive side of loop-back runs.
PathAttributes rangeAttributes(const hal::EBGP::ConfigRoutes& r, const EncodeSession& s, uint32_t pathAs);

// Number of prefixes a range gives (after the end of the address space).
uint64_t rangePrefixCount(const hal::EBGP::ConfigRoutes& r);

// The labels of labelled and VPN routes: the start label, and one more for
// each route of the range with increment.
struct RouteLabels {
    uint32_t start = 16;
    bool increment = false;
};

// A route distinguisher (RFC 4364 4.2): type 0 a 2-byte AS and a 4-byte
// number, type 1 an IPv4 address and a 2-byte number; `step` moves the
// global (AS or address) or the local part on for each route, within its
// width.
struct RouteDistinguisher {
    uint8_t type = 0;
    uint32_t global = 0;
    uint32_t local = 0;
    uint32_t step = 0;
    bool stepGlobal = false;
    uint64_t at(uint64_t route) const;
};

class UpdateEncoder {
public:
    enum class Kind { Announce, Withdraw };
    UpdateEncoder(const EncodeSession& s, Kind kind);

    // Adds a range; false when the session cannot carry it (an IPv4 route
    // with only an IPv6 next hop, a disabled range), with the reason in
    // error(). safi: 1 unicast, 2 multicast.
    bool add(const hal::EBGP::ConfigRoutes& r, uint32_t pathAs, uint8_t safi = 1);
    // Labelled unicast (SAFI 4, one label a route, RFC 8277).
    bool addLabelled(const hal::EBGP::ConfigMplsRouteRange& r, uint32_t pathAs);
    // VPN routes of a site (SAFI 128, RFC 4364 and 4659): the site's export
    // targets go out as route-target extended communities after the range's
    // own; the next hop carries a zero distinguisher.
    bool addVpn(const hal::EBGP::ConfigVpnRouteRange& r, const hal::EBGP::ConfigL3Site& site, uint32_t pathAs);

    // Writes whole UPDATEs into out, as many as fit; returns the bytes
    // written, 0 when everything is out or the next message does not fit
    // (it waits, whole, for the next call). Every message is as full as the
    // session's largest message allows, whatever cap is.
    size_t fill(uint8_t* out, size_t cap);
    bool done() const { return group_ >= groups_.size() && pending_.empty(); }
    // Everything still to send, in one buffer.
    Bytes all();

    uint64_t prefixCount() const { return prefixes_; }
    uint64_t messageCount() const { return messages_; }
    const std::string& error() const { return error_; }

private:
    struct Run {
        u128 base = 0;  // the first network, as an integer of the family's width
        u128 step = 0;  // distance between networks
        uint64_t count = 0;
        uint8_t length = 0;
        uint64_t nhOffset = 0;  // added to the group's next hop
        bool nhPerRoute = false;
        uint64_t routeBase = 0;  // the number of its first route in the range
    };
    struct Group {
        bool v6 = false;
        AfiSafi family;
        bool inNlriField = false;  // IPv4 unicast: no MP attribute
        Bytes head;                // attributes before the prefixes (v4 unicast: all of them; else MP_REACH's head)
        Bytes tail;                // attributes after the MP_REACH prefixes
        size_t nhAt = 0;           // offset of the next hop in head
        size_t nhSize = 0;         // 4 or 16 bytes that vary (the link-local part never does)
        u128 nh = 0;
        bool nhVaries = false;
        size_t header = 0;  // label field and distinguisher bytes in front of each prefix
        RouteLabels labels;
        RouteDistinguisher rd;
        std::vector<Run> runs;
    };
    struct Extras {
        uint8_t safi = 1;
        RouteLabels labels;
        RouteDistinguisher rd;
        std::vector<std::array<uint8_t, 8>> communities;  // appended extended communities
    };

    bool addRange(const hal::EBGP::ConfigRoutes& r, uint32_t pathAs, const Extras& x);
    size_t writeOne(uint8_t* out, size_t cap);
    Group& groupFor(Group&& g, bool mergeable);

    EncodeSession s_;
    Kind kind_;
    std::vector<Group> groups_;
    std::map<std::pair<Bytes, Bytes>, size_t> shared_;  // head and tail of a group with a fixed next hop
    Bytes pending_;                                     // a message built that did not fit the caller's room
    size_t group_ = 0, run_ = 0;
    uint64_t index_ = 0;  // next route of the current run
    uint64_t prefixes_ = 0, messages_ = 0;
    std::string error_;
};

// Every enabled route range of a neighbor for the families the session
// carries: the unicast ranges, the labelled ones, then the VPN ranges of
// each enabled site; sessionAs as in rangeAs (the position is the one in
// each list).
void addNeighborRanges(UpdateEncoder& enc, const hal::EBGP::ConfigNeighbor& n, uint32_t sessionAs,
                       const std::vector<AfiSafi>& families);

}  // namespace engine::bgp
