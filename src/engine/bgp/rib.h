// Adj-RIB-In: what a neighbor learned from its peer, kept small. Each
// distinct set of path attributes is stored once (interned, counted by the
// routes that use it, freed with the last); an IPv4 unicast route is one
// 8-byte slot of an open-addressing table (address, length, a stale mark
// and the number of its attribute set packed together), other families sit
// in a hash map, labelled and VPN routes with their label field and
// distinguisher beside the prefix (the route targets belong to the
// attribute set, so they cost a VPN route nothing of its own).
//
// The neighbor's route filter applies on input when it is enabled: only
// its family (0: every family); with usePrefixFilters, only routes that an
// enabled prefix filter of their family covers (its own length alone with
// exactMatch, else it or any longer prefix inside it); at most maxRoutes
// routes (0: no limit), routes past the limit are dropped and the RIB says
// so until it falls below the limit again.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "engine/bgp/update.h"
#include "hal/bgp.h"

namespace engine::bgp {

// The family numbers of the learned-route records and prefix filters:
// 1 IPv4 unicast, 2 multicast, 3 labelled, 4 VPN, 5 to 8 the same for IPv6;
// 0 for any other.
uint8_t familyCode(AfiSafi f);
inline constexpr uint8_t kFamilyCodes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8};

struct RibFilter {
    bool enabled = false;
    uint8_t family = 0;
    bool usePrefixFilters = false;
    uint32_t maxRoutes = 0;
    std::vector<hal::EBGP::ConfigPrefixFilter> prefixFilters;  // the enabled ones
    static RibFilter of(const hal::EBGP::ConfigNeighbor& n);
    bool accepts(uint8_t family, const Prefix& p) const;
};

class AdjRibIn {
public:
    explicit AdjRibIn(RibFilter filter = {});
    ~AdjRibIn();
    AdjRibIn(const AdjRibIn&) = delete;
    AdjRibIn& operator=(const AdjRibIn&) = delete;

    struct Applied {
        uint32_t announced = 0;  // stored, new or replaced
        uint32_t withdrawn = 0;  // removed (withdrawals of routes not held do not count)
        uint32_t filtered = 0;   // refused by the route filter
        uint32_t overLimit = 0;  // refused by maxRoutes
        uint32_t refreshed = 0;  // announced again while stale
    };
    // An UPDATE the decoder accepted; treat-as-withdraw withdraws its routes.
    Applied apply(const Update& u);
    void clear();

    // Graceful restart (RFC 4724): when the peer restarts, every route is
    // kept but marked stale; an announcement makes it fresh again; at the
    // peer's End-of-RIB of a family, or for every family when the stale
    // timer runs out, the routes still stale go. Both return how many
    // routes they touched.
    size_t markStale();
    size_t sweepStale();
    size_t sweepStale(uint8_t family);  // one family (familyCode numbers)
    size_t staleCount() const { return stale_; }

    size_t size() const;
    size_t attributeSets() const { return interned_.size(); }
    bool maxRoutesReached() const { return limitHit_; }
    // Heap bytes held by the tables and attribute sets.
    size_t memoryBytes() const;
    // Every route, ordered by family, address, length and distinguisher.
    std::vector<hal::EBGP::LearnedRoute> snapshot() const;

private:
    struct AttrSet;
    class V4Table;
    struct OtherKey {
        uint8_t family = 0;
        uint8_t length = 0;
        std::array<uint8_t, 16> bytes{};
        uint64_t rd = 0;
        bool operator==(const OtherKey&) const = default;
    };
    struct OtherValue {
        uint32_t entry = 0;
        uint32_t labelField = 0;
    };
    struct OtherHash {
        size_t operator()(const OtherKey& k) const;
    };

    size_t sweep(std::optional<uint8_t> family);
    uint32_t intern(const PathAttributes& a, const hal::EIPAddress& nextHop);
    void release(uint32_t id);
    void announce(uint8_t family, const Prefix& p, uint32_t id, Applied& out);
    void withdraw(uint8_t family, const Prefix& p, Applied& out);

    RibFilter filter_;
    std::unique_ptr<V4Table> v4_;
    std::unordered_map<OtherKey, OtherValue, OtherHash> other_;
    std::vector<std::unique_ptr<AttrSet>> sets_;  // by number; null when free
    std::vector<uint32_t> free_;
    std::unordered_map<std::string_view, uint32_t> interned_;
    bool limitHit_ = false;
    size_t stale_ = 0;
};

}  // namespace engine::bgp
