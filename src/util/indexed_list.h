// Ordered list with hash lookup by key and positional access.
//
// Items keep the order in which they were added. Erasing marks a slot dead
// (a bit per slot) and leaves a default Value in it, so Value must be
// default-constructible and move-assignable; once more than half the slots
// are dead they are compacted. A Fenwick tree over the slots keeps
// positional access logarithmic. Lookup by key goes through an
// open-addressing table of slot numbers (linear probing, backward-shift
// deletion) that reads the keys from the slots, so a key is stored once and
// an item costs little more than its slot: lists of a million route ranges
// are common. Adding, finding, erasing and reading the n-th item cost the
// same with ten items or a million.
//
// Slot numbers, Fenwick counts and the table's entries are of type Index,
// so a list holds at most numeric_limits<Index>::max() slots, live items
// and dead ones not yet compacted: some four thousand million with the
// default. add throws std::length_error beyond that.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

namespace zk {

template <class Key, class Value, class Hash = std::hash<Key>, class Index = uint32_t>
class IndexedList {
    static_assert(std::is_unsigned_v<Index>);

public:
    static constexpr size_t kMaxSlots = std::numeric_limits<Index>::max();

    IndexedList() = default;
    IndexedList(const IndexedList&) = default;
    IndexedList& operator=(const IndexedList&) = default;
    // A moved-from list is empty, not merely unspecified.
    IndexedList(IndexedList&& o) noexcept
        : slots_(std::move(o.slots_)),
          tree_(std::move(o.tree_)),
          table_(std::move(o.table_)),
          liveBits_(std::move(o.liveBits_)),
          live_(std::exchange(o.live_, 0)),
          hash_(std::move(o.hash_)) {
        o.clear();
    }
    IndexedList& operator=(IndexedList&& o) noexcept {
        if (this != &o) {
            slots_ = std::move(o.slots_);
            tree_ = std::move(o.tree_);
            table_ = std::move(o.table_);
            liveBits_ = std::move(o.liveBits_);
            live_ = std::exchange(o.live_, 0);
            hash_ = std::move(o.hash_);
            o.clear();
        }
        return *this;
    }

    size_t size() const { return live_; }
    bool empty() const { return live_ == 0; }

    bool contains(const Key& k) const { return probe(k).found; }

    // Adds at the end; false (and nothing changes) when the key is present.
    bool add(const Key& k, Value v) {
        if (slots_.size() == kMaxSlots) {
            if (contains(k)) return false;
            if (live_ == kMaxSlots) throw std::length_error("IndexedList: too many items");
            compact();
        }
        if (live_ + 1 > maxLoad(table_.size())) rebuildIndex(table_.empty() ? kMinTable : table_.size() * 2);
        Probe p = probe(k);
        if (p.found) return false;
        table_[p.pos] = static_cast<Index>(slots_.size());
        slots_.push_back(Slot{k, std::move(v)});
        setLive(slots_.size() - 1);
        fenwickAppend();
        ++live_;
        return true;
    }

    Value* find(const Key& k) {
        Probe p = probe(k);
        return p.found ? &slots_[table_[p.pos]].value : nullptr;
    }
    const Value* find(const Key& k) const {
        return const_cast<IndexedList*>(this)->find(k);
    }

    bool erase(const Key& k) {
        Probe p = probe(k);
        if (!p.found) return false;
        size_t s = table_[p.pos];
        unindex(p.pos);
        slots_[s].value = Value{};  // gives back what the value holds
        liveBits_[s / 64] &= ~(uint64_t{1} << s % 64);
        fenwickRemove(s);
        --live_;
        if (live_ * 2 < slots_.size() && slots_.size() > 32) compact();
        return true;
    }

    // Empties the list and gives its memory back.
    void clear() {
        slots_ = {};
        tree_ = {};
        table_ = {};
        liveBits_ = {};
        live_ = 0;
    }

    // The item at position pos (0-based, order of addition), or null.
    std::pair<const Key*, Value*> at(size_t pos) {
        if (pos >= live_) return {nullptr, nullptr};
        size_t s = slotOfRank(pos);
        return {&slots_[s].key, &slots_[s].value};
    }
    std::pair<const Key*, const Value*> at(size_t pos) const {
        auto r = const_cast<IndexedList*>(this)->at(pos);
        return {r.first, r.second};
    }

    // Visits the live items in order.
    template <class F>
    void forEach(F&& f) const {
        for (size_t s = 0; s < slots_.size(); ++s)
            if (isLive(s)) f(slots_[s].key, slots_[s].value);
    }
    template <class F>
    void forEach(F&& f) {
        for (size_t s = 0; s < slots_.size(); ++s)
            if (isLive(s)) f(slots_[s].key, slots_[s].value);
    }

private:
    struct Slot {
        Key key;
        Value value;
    };

    bool isLive(size_t s) const { return liveBits_[s / 64] >> s % 64 & 1; }
    void setLive(size_t s) {
        if (s / 64 == liveBits_.size()) liveBits_.push_back(0);
        liveBits_[s / 64] |= uint64_t{1} << s % 64;
    }

    // The index: a power-of-two table of slot numbers, kEmpty where free,
    // at most 70% full. An entry sits at its key's home position or after
    // it, with no free entry in between.
    static constexpr Index kEmpty = std::numeric_limits<Index>::max();
    static constexpr size_t kMinTable = 8;
    static size_t maxLoad(size_t tableSize) { return tableSize / 10 * 7 + tableSize % 10 * 7 / 10; }

    struct Probe {
        size_t pos;  // of the key's entry, or of the free entry that ends its run
        bool found;
    };

    size_t home(const Key& k) const {
        // Fibonacci hashing: the top bits of the product depend on every
        // bit of the hash, so identity hashes of sequential ids spread too.
        uint64_t h = static_cast<uint64_t>(hash_(k)) * 0x9E3779B97F4A7C15ull;
        return static_cast<size_t>(h >> (64 - std::countr_zero(table_.size())));
    }

    Probe probe(const Key& k) const {
        if (table_.empty()) return {0, false};
        size_t mask = table_.size() - 1;
        for (size_t i = home(k);; i = (i + 1) & mask) {
            Index s = table_[i];
            if (s == kEmpty) return {i, false};
            if (slots_[s].key == k) return {i, true};
        }
    }

    // Frees entry pos and shifts later entries of its run back, so every
    // entry stays reachable from its home without crossing a free entry.
    void unindex(size_t pos) {
        size_t mask = table_.size() - 1;
        for (size_t j = (pos + 1) & mask; table_[j] != kEmpty; j = (j + 1) & mask) {
            size_t h = home(slots_[table_[j]].key);
            // The entry at j may move to pos unless its home lies in (pos, j].
            bool stays = pos < j ? pos < h && h <= j : pos < h || h <= j;
            if (!stays) {
                table_[pos] = table_[j];
                pos = j;
            }
        }
        table_[pos] = kEmpty;
    }

    void rebuildIndex(size_t tableSize) {
        table_.assign(tableSize, kEmpty);
        size_t mask = tableSize - 1;
        for (size_t s = 0; s < slots_.size(); ++s) {
            if (!isLive(s)) continue;
            size_t i = home(slots_[s].key);
            while (table_[i] != kEmpty) i = (i + 1) & mask;
            table_[i] = static_cast<Index>(s);
        }
    }

    // tree_[i-1] holds the number of live slots in (i - lowbit(i), i].
    void fenwickAppend() {
        size_t i = tree_.size() + 1;
        Index sum = 1;  // the new slot itself
        for (size_t j = i - 1, low = i & (~i + 1); j > i - low; j -= j & (~j + 1))
            sum += tree_[j - 1];
        tree_.push_back(sum);
    }
    void fenwickRemove(size_t slot) {
        for (size_t i = slot + 1; i <= tree_.size(); i += i & (~i + 1)) --tree_[i - 1];
    }
    size_t slotOfRank(size_t rank) const {  // rank is 0-based
        size_t pos = 0, remaining = rank + 1, step = 1;
        while (step * 2 <= tree_.size()) step *= 2;
        for (; step; step /= 2) {
            if (pos + step <= tree_.size() && tree_[pos + step - 1] < remaining) {
                pos += step;
                remaining -= tree_[pos - 1];
            }
        }
        return pos;  // 1-based position pos+1 -> slot index pos
    }

    void compact() {
        std::vector<Slot> keep;
        keep.reserve(live_);
        for (size_t s = 0; s < slots_.size(); ++s)
            if (isLive(s)) keep.push_back(std::move(slots_[s]));
        slots_ = std::move(keep);
        tree_.clear();
        liveBits_.clear();
        for (size_t s = 0; s < slots_.size(); ++s) {
            fenwickAppend();
            setLive(s);
        }
        size_t tableSize = kMinTable;
        while (maxLoad(tableSize) < live_ + 1) tableSize *= 2;
        rebuildIndex(tableSize);
    }

    std::vector<Slot> slots_;
    std::vector<Index> tree_;
    std::vector<Index> table_;
    std::vector<uint64_t> liveBits_;  // bit s set: slot s holds an item
    size_t live_ = 0;
    [[no_unique_address]] Hash hash_;
};

}  // namespace zk
