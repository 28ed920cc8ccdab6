// Ordered list with hash lookup by key and positional access.
//
// Items keep the order in which they were added. Lookup by key is a hash
// lookup; erasing marks a slot dead and a Fenwick tree over the slots keeps
// positional access logarithmic, so adding, finding, erasing and reading the
// n-th item cost the same whether the list holds ten items or a million.
#pragma once

#include <cstddef>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace zk {

template <class Key, class Value, class Hash = std::hash<Key>>
class IndexedList {
public:
    size_t size() const { return live_; }
    bool empty() const { return live_ == 0; }

    bool contains(const Key& k) const { return index_.count(k) != 0; }

    // Adds at the end; false (and nothing changes) when the key is present.
    bool add(const Key& k, Value v) {
        if (contains(k)) return false;
        index_.emplace(k, slots_.size());
        slots_.push_back(Slot{k, std::move(v)});
        fenwickAppend();
        ++live_;
        return true;
    }

    Value* find(const Key& k) {
        auto it = index_.find(k);
        return it == index_.end() ? nullptr : &*slots_[it->second].value;
    }
    const Value* find(const Key& k) const {
        return const_cast<IndexedList*>(this)->find(k);
    }

    bool erase(const Key& k) {
        auto it = index_.find(k);
        if (it == index_.end()) return false;
        size_t s = it->second;
        index_.erase(it);
        slots_[s].value.reset();
        fenwickAdd(s, -1);
        --live_;
        if (live_ * 2 < slots_.size() && slots_.size() > 32) compact();
        return true;
    }

    void clear() {
        slots_.clear();
        tree_.clear();
        index_.clear();
        live_ = 0;
    }

    // The item at position pos (0-based, order of addition), or null.
    std::pair<const Key*, Value*> at(size_t pos) {
        if (pos >= live_) return {nullptr, nullptr};
        size_t s = slotOfRank(pos);
        return {&slots_[s].key, &*slots_[s].value};
    }
    std::pair<const Key*, const Value*> at(size_t pos) const {
        auto r = const_cast<IndexedList*>(this)->at(pos);
        return {r.first, r.second};
    }

    // Visits the live items in order.
    template <class F>
    void forEach(F&& f) const {
        for (const Slot& s : slots_)
            if (s.value) f(s.key, *s.value);
    }
    template <class F>
    void forEach(F&& f) {
        for (Slot& s : slots_)
            if (s.value) f(s.key, *s.value);
    }

private:
    struct Slot {
        Key key;
        std::optional<Value> value;
    };

    // tree_[i-1] holds the number of live slots in (i - lowbit(i), i].
    void fenwickAppend() {
        size_t i = tree_.size() + 1;
        size_t sum = 1;  // the new slot itself
        for (size_t j = i - 1, low = i & (~i + 1); j > i - low; j -= j & (~j + 1))
            sum += tree_[j - 1];
        tree_.push_back(sum);
    }
    void fenwickAdd(size_t slot, long delta) {
        for (size_t i = slot + 1; i <= tree_.size(); i += i & (~i + 1))
            tree_[i - 1] = static_cast<size_t>(static_cast<long>(tree_[i - 1]) + delta);
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
        for (Slot& s : slots_)
            if (s.value) keep.push_back(std::move(s));
        slots_ = std::move(keep);
        index_.clear();
        tree_.clear();
        for (size_t i = 0; i < slots_.size(); ++i) {
            index_.emplace(slots_[i].key, i);
            fenwickAppend();
        }
    }

    std::vector<Slot> slots_;
    std::vector<size_t> tree_;
    std::unordered_map<Key, size_t, Hash> index_;
    size_t live_ = 0;
};

}  // namespace zk
