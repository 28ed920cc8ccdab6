#include "engine/bgp/rib.h"

#include <algorithm>
#include <cstring>

namespace engine::bgp {

uint8_t familyCode(AfiSafi f) {
    uint8_t base = f.afi == 1 ? 0 : f.afi == 2 ? 4 : 0xff;
    if (base == 0xff) return 0;
    switch (f.safi) {
    case 1:
        return uint8_t(base + 1);
    case 2:
        return uint8_t(base + 2);
    case 4:
        return uint8_t(base + 3);
    case 128:
        return uint8_t(base + 4);
    default:
        return 0;
    }
}

RibFilter RibFilter::of(const hal::EBGP::ConfigNeighbor& n) {
    RibFilter f;
    f.enabled = n.routeFilter.enabled;
    f.family = n.routeFilter.family;
    f.usePrefixFilters = n.routeFilter.usePrefixFilters;
    f.maxRoutes = n.routeFilter.maxRoutes;
    n.prefixFilters.ForEach([&](const hal::EBGP::ConfigPrefixFilter& p) {
        if (p.enabled) f.prefixFilters.push_back(p);
    });
    return f;
}

namespace {

// Whether the first `bits` bits of a and b agree.
bool samePrefix(const std::array<uint8_t, 16>& a, const std::array<uint8_t, 16>& b, unsigned bits) {
    size_t whole = bits / 8;
    if (std::memcmp(a.data(), b.data(), whole) != 0) return false;
    if (bits % 8 == 0) return true;
    uint8_t mask = uint8_t(0xff << (8 - bits % 8));
    return (a[whole] & mask) == (b[whole] & mask);
}

}  // namespace

bool RibFilter::accepts(uint8_t fam, const Prefix& p) const {
    if (!enabled) return true;
    if (family != 0 && family != fam) return false;
    if (!usePrefixFilters) return true;
    return std::any_of(prefixFilters.begin(), prefixFilters.end(), [&](const hal::EBGP::ConfigPrefixFilter& f) {
        if (f.family != fam || f.network.IsV6() != p.v6) return false;
        unsigned width = p.v6 ? 128 : 32;
        unsigned len = std::min<unsigned>(f.prefixLength, width);
        if (f.exactMatch ? p.length != len : p.length < len) return false;
        return samePrefix(f.network.GetBytes(), p.bytes, len);
    });
}

// ---- attribute sets --------------------------------------------------------

struct AdjRibIn::AttrSet {
    uint32_t refs = 0;
    std::string key;                // the attributes as encoded, and the next hop
    hal::EBGP::LearnedRoute route;  // the shared part of every route using it
};

// ---- IPv4 unicast table ------------------------------------------------------
//
// Linear probing over 64-bit slots: the address (32 bits) and the length
// (6 bits) in the top 38 bits; below them the stale mark and the attribute
// set number plus one (0: an empty slot). Deletion shifts later entries
// back, so there are no tombstones and a lookup stops at the first empty
// slot. The table works on the low 26 bits as one value (Entry below).
class AdjRibIn::V4Table {
public:
    static constexpr unsigned kValueBits = 26;
    static constexpr uint64_t kValueMask = (uint64_t(1) << kValueBits) - 1;

    V4Table() { slots_.assign(1024, 0); }

    static uint64_t keyOf(const Prefix& p) {
        uint32_t a = uint32_t(p.bytes[0]) << 24 | uint32_t(p.bytes[1]) << 16 | uint32_t(p.bytes[2]) << 8 | p.bytes[3];
        return uint64_t(a) << 6 | p.length;
    }
    size_t size() const { return size_; }
    size_t bytes() const { return slots_.capacity() * sizeof(uint64_t); }

    // The value stored under key, 0 when there is none.
    uint32_t find(uint64_t key) const {
        for (size_t i = home(key);; i = (i + 1) & mask()) {
            uint64_t s = slots_[i];
            if (s == 0) return 0;
            if (s >> kValueBits == key) return uint32_t(s & kValueMask);
        }
    }
    // Stores key -> value (not 0); returns the value it replaced, or 0.
    uint32_t put(uint64_t key, uint32_t value) {
        if ((size_ + 1) * 4 > slots_.size() * 3) grow();
        for (size_t i = home(key);; i = (i + 1) & mask()) {
            uint64_t s = slots_[i];
            if (s == 0) {
                slots_[i] = key << kValueBits | value;
                ++size_;
                return 0;
            }
            if (s >> kValueBits == key) {
                slots_[i] = key << kValueBits | value;
                return uint32_t(s & kValueMask);
            }
        }
    }
    // Removes key; returns its value, or 0.
    uint32_t erase(uint64_t key) {
        size_t i = home(key);
        for (;; i = (i + 1) & mask()) {
            uint64_t s = slots_[i];
            if (s == 0) return 0;
            if (s >> kValueBits == key) break;
        }
        uint32_t value = uint32_t(slots_[i] & kValueMask);
        // Shift back every later entry of the cluster whose home does not
        // lie cyclically in (i, j].
        size_t j = i;
        for (;;) {
            j = (j + 1) & mask();
            uint64_t s = slots_[j];
            if (s == 0) break;
            size_t h = home(s >> kValueBits);
            bool between = i <= j ? (i < h && h <= j) : (i < h || h <= j);
            if (!between) {
                slots_[i] = s;
                i = j;
            }
        }
        slots_[i] = 0;
        --size_;
        return value;
    }
    template <class F>
    void forEach(F&& f) const {
        for (uint64_t s : slots_)
            if (s) f(s >> kValueBits, uint32_t(s & kValueMask));
    }
    // Ors `bits` into every value.
    void markAll(uint32_t bits) {
        for (uint64_t& s : slots_)
            if (s) s |= bits;
    }
    void clear() {
        slots_.assign(1024, 0);
        slots_.shrink_to_fit();
        size_ = 0;
    }

private:
    size_t mask() const { return slots_.size() - 1; }
    size_t home(uint64_t key) const {
        uint64_t h = key * 0x9E3779B97F4A7C15ull;
        h ^= h >> 29;
        return size_t(h) & mask();
    }
    void grow() {
        std::vector<uint64_t> old;
        old.swap(slots_);
        slots_.assign(old.size() * 2, 0);
        size_ = 0;
        for (uint64_t s : old) {
            if (!s) continue;
            for (size_t i = home(s >> kValueBits);; i = (i + 1) & mask()) {
                if (slots_[i] == 0) {
                    slots_[i] = s;
                    ++size_;
                    break;
                }
            }
        }
    }
    std::vector<uint64_t> slots_;
    size_t size_ = 0;
};

// What a table keeps for a route: the attribute set number plus one in the
// low bits, the stale mark above them. Never 0.
namespace {
constexpr uint32_t kStale = uint32_t(1) << 25;
constexpr uint32_t kIdPart = kStale - 1;
constexpr uint32_t kMaxSets = kIdPart - 1;
uint32_t entryOf(uint32_t id) { return id + 1; }
uint32_t idOf(uint32_t entry) { return (entry & kIdPart) - 1; }
}  // namespace

size_t AdjRibIn::OtherHash::operator()(const OtherKey& k) const {
    uint64_t h = 0xcbf29ce484222325ull ^ k.family ^ (uint64_t(k.length) << 8) ^ (k.rd * 0x9E3779B97F4A7C15ull);
    for (uint8_t b : k.bytes) h = (h ^ b) * 0x100000001b3ull;
    return size_t(h);
}

AdjRibIn::AdjRibIn(RibFilter filter) : filter_(std::move(filter)), v4_(std::make_unique<V4Table>()) {}
AdjRibIn::~AdjRibIn() = default;

size_t AdjRibIn::size() const { return v4_->size() + other_.size(); }

void AdjRibIn::clear() {
    stale_ = 0;
    v4_->clear();
    other_.clear();
    sets_.clear();
    free_.clear();
    interned_.clear();
    limitHit_ = false;
}

uint32_t AdjRibIn::intern(const PathAttributes& a, const hal::EIPAddress& nextHop) {
    auto set = std::make_unique<AttrSet>();
    PathAttributes plain = a;
    plain.mpReach.reset();
    plain.mpUnreach.reset();
    Bytes key;
    encodeAttributes(key, plain, true);
    key.insert(key.end(), nextHop.GetBytes().begin(), nextHop.GetBytes().end());
    key.push_back(nextHop.IsV6());
    set->key.assign(key.begin(), key.end());
    if (auto it = interned_.find(set->key); it != interned_.end()) return it->second;

    hal::EBGP::LearnedRoute& r = set->route;
    r.nextHop = nextHop;
    r.origin = a.origin.value_or(0);
    if (a.asPath) {
        for (uint32_t as : flatten(*a.asPath)) r.asPath.push_back(as > 0xffff ? kAsTrans : uint16_t(as));
    }
    r.localPreference = a.localPref.value_or(0);
    r.med = a.med.value_or(0);
    r.communities = a.communities;
    // Route targets: sub-type 0x02 of the transitive AS, address and
    // four-octet AS types (RFC 4360 4, RFC 5668).
    for (const auto& c : a.extendedCommunities) {
        if (c[0] > 0x02 || c[1] != 0x02) continue;
        hal::EBGP::Administrator t{c[0], {}};
        std::copy(c.begin() + 2, c.end(), t.value.begin());
        r.routeTargets.push_back(hal::EBGP::administratorText(t));
    }

    uint32_t id;
    if (!free_.empty()) {
        id = free_.back();
        free_.pop_back();
        sets_[id] = std::move(set);
    } else {
        id = uint32_t(sets_.size());
        sets_.push_back(std::move(set));
    }
    interned_.emplace(sets_[id]->key, id);
    return id;
}

void AdjRibIn::release(uint32_t id) {
    AttrSet& s = *sets_[id];
    if (s.refs > 0) --s.refs;
    if (s.refs == 0) {
        interned_.erase(s.key);
        sets_[id].reset();
        free_.push_back(id);
    }
}

void AdjRibIn::announce(uint8_t family, const Prefix& p, uint32_t id, Applied& out) {
    if (!filter_.accepts(family, p)) {
        ++out.filtered;
        return;
    }
    const bool limited = filter_.enabled && filter_.maxRoutes != 0;
    uint32_t old = 0;
    if (family == 1 && !p.v6) {
        uint64_t key = V4Table::keyOf(p);
        if (limited && size() >= filter_.maxRoutes && v4_->find(key) == 0) {
            ++out.overLimit;
            limitHit_ = true;
            return;
        }
        old = v4_->put(key, entryOf(id));
    } else {
        OtherKey k{family, p.length, p.bytes, p.rd};
        auto it = other_.find(k);
        if (it == other_.end()) {
            if (limited && size() >= filter_.maxRoutes) {
                ++out.overLimit;
                limitHit_ = true;
                return;
            }
            other_.emplace(k, OtherValue{entryOf(id), p.labelField});
        } else {
            old = it->second.entry;
            it->second = OtherValue{entryOf(id), p.labelField};
        }
    }
    ++sets_[id]->refs;
    if (old != 0) {
        if (old & kStale) {
            --stale_;
            ++out.refreshed;
        }
        release(idOf(old));
    }
    ++out.announced;
}

void AdjRibIn::withdraw(uint8_t family, const Prefix& p, Applied& out) {
    uint32_t old = 0;
    if (family == 1 && !p.v6) {
        old = v4_->erase(V4Table::keyOf(p));
    } else if (auto it = other_.find(OtherKey{family, p.length, p.bytes, p.rd}); it != other_.end()) {
        old = it->second.entry;
        other_.erase(it);
    }
    if (old == 0) return;
    if (old & kStale) --stale_;
    release(idOf(old));
    ++out.withdrawn;
    if (filter_.maxRoutes == 0 || size() < filter_.maxRoutes) limitHit_ = false;
}

size_t AdjRibIn::markStale() {
    v4_->markAll(kStale);
    for (auto& [k, v] : other_) v.entry |= kStale;
    stale_ = size();
    return stale_;
}

size_t AdjRibIn::sweepStale() { return sweep(std::nullopt); }
size_t AdjRibIn::sweepStale(uint8_t family) { return sweep(family); }

size_t AdjRibIn::sweep(std::optional<uint8_t> family) {
    size_t removed = 0;
    if (!family || *family == 1) {  // the IPv4 unicast table
        std::vector<uint64_t> keys;
        v4_->forEach([&](uint64_t key, uint32_t entry) {
            if (entry & kStale) keys.push_back(key);
        });
        for (uint64_t key : keys) release(idOf(v4_->erase(key)));
        removed += keys.size();
    }
    for (auto it = other_.begin(); it != other_.end();) {
        if (it->second.entry & kStale && (!family || it->first.family == *family)) {
            release(idOf(it->second.entry));
            it = other_.erase(it);
            ++removed;
        } else {
            ++it;
        }
    }
    stale_ -= removed;
    if (filter_.maxRoutes == 0 || size() < filter_.maxRoutes) limitHit_ = false;
    return removed;
}

AdjRibIn::Applied AdjRibIn::apply(const Update& u) {
    Applied out;
    const PathAttributes& a = u.attributes;
    for (const Prefix& p : u.withdrawn) withdraw(1, p, out);
    if (a.mpUnreach) {
        uint8_t fam = familyCode(a.mpUnreach->family);
        for (const Prefix& p : a.mpUnreach->withdrawn) withdraw(fam, p, out);
    }
    if (u.action == ErrorAction::TreatAsWithdraw || u.action == ErrorAction::SessionReset) {
        for (const Prefix& p : u.nlri) withdraw(1, p, out);
        if (a.mpReach) {
            uint8_t fam = familyCode(a.mpReach->family);
            for (const Prefix& p : a.mpReach->nlri) withdraw(fam, p, out);
        }
        return out;
    }
    auto store = [&](uint8_t fam, const std::vector<Prefix>& nlri, const hal::EIPAddress& nh) {
        if (nlri.empty() || fam == 0) return;
        if (sets_.size() - free_.size() >= kMaxSets) {  // no number left for another set
            out.overLimit += uint32_t(nlri.size());
            return;
        }
        uint32_t id = intern(a, nh);
        for (const Prefix& p : nlri) announce(fam, p, id, out);
        if (sets_[id]->refs == 0) release(id);
    };
    store(1, u.nlri, hal::EIPAddress::FromV4(a.nextHop.value_or(0)));
    if (a.mpReach) {
        // A VPN next hop starts with a distinguisher of zero (RFC 4364 4.3.2).
        const size_t skip = a.mpReach->family.safi == 128 ? 8 : 0;
        const Bytes& nh = a.mpReach->nextHop;
        hal::EIPAddress addr;
        if (nh.size() >= skip + 16) {
            std::array<uint8_t, 16> b{};
            std::copy_n(nh.begin() + long(skip), 16, b.begin());
            addr = hal::EIPAddress::FromV6(b);
        } else if (nh.size() == skip + 4) {
            const uint8_t* q = nh.data() + skip;
            addr = hal::EIPAddress::FromV4(uint32_t(q[0]) << 24 | uint32_t(q[1]) << 16 | uint32_t(q[2]) << 8 | q[3]);
        }
        store(familyCode(a.mpReach->family), a.mpReach->nlri, addr);
    }
    return out;
}

size_t AdjRibIn::memoryBytes() const {
    size_t n = v4_->bytes() + sizeof(*this);
    // A node of the map holds the key, the value and a next pointer, with
    // the hash cached; plus the bucket array.
    n += other_.size() * (sizeof(OtherKey) + sizeof(uint32_t) + 2 * sizeof(void*)) +
         other_.bucket_count() * sizeof(void*);
    n += sets_.capacity() * sizeof(void*) + free_.capacity() * sizeof(uint32_t);
    n += interned_.size() * (sizeof(std::string_view) + 8 + 2 * sizeof(void*)) +
         interned_.bucket_count() * sizeof(void*);
    for (const auto& s : sets_) {
        if (!s) continue;
        n += sizeof(AttrSet) + s->key.capacity() + s->route.asPath.capacity() * 2 +
             s->route.communities.capacity() * 4 + s->route.routeTargets.capacity() * sizeof(std::string);
        for (const std::string& t : s->route.routeTargets)
            if (t.capacity() > 15) n += t.capacity() + 1;  // past the string's own short buffer
    }
    return n;
}

std::vector<hal::EBGP::LearnedRoute> AdjRibIn::snapshot() const {
    struct Entry {
        uint8_t family;
        uint8_t length;
        std::array<uint8_t, 16> bytes;
        uint32_t id;
        uint32_t labelField;
        uint64_t rd;
    };
    std::vector<Entry> entries;
    entries.reserve(size());
    v4_->forEach([&](uint64_t key, uint32_t entry) {
        Entry e{1, uint8_t(key & 63), {}, idOf(entry), 0, 0};
        store32(e.bytes.data(), uint32_t(key >> 6));
        entries.push_back(e);
    });
    for (const auto& [k, v] : other_)
        entries.push_back({k.family, k.length, k.bytes, idOf(v.entry), v.labelField, k.rd});
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        if (a.family != b.family) return a.family < b.family;
        if (a.bytes != b.bytes) return a.bytes < b.bytes;
        if (a.length != b.length) return a.length < b.length;
        return a.rd < b.rd;
    });
    std::vector<hal::EBGP::LearnedRoute> out;
    out.reserve(entries.size());
    for (const Entry& e : entries) {
        hal::EBGP::LearnedRoute r = sets_[e.id]->route;
        r.family = e.family;
        r.prefixLength = e.length;
        r.label = e.labelField >> 4;
        if (e.family == 4 || e.family == 8)
            r.routeDistinguisher = hal::EBGP::administratorText(hal::EBGP::distinguisherOf(e.rd));
        bool v6 = e.family >= 5;
        r.network = v6 ? hal::EIPAddress::FromV6(e.bytes)
                       : hal::EIPAddress::FromV4(uint32_t(e.bytes[0]) << 24 | uint32_t(e.bytes[1]) << 16 |
                                                 uint32_t(e.bytes[2]) << 8 | e.bytes[3]);
        out.push_back(std::move(r));
    }
    return out;
}

}  // namespace engine::bgp
