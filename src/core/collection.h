// The named-collection pattern every parent uses for its children.
//
// A parent is built with a staging object of each child class. The script
// configures the staging object; the parent converts it into a HAL record
// stored in a HAL container (a RecordList) and remembers the record's
// identity under a name. add/get/set/del/getFirst/getNext/clearAll copy
// between the staging object and the stored records.
//
// The names live in an ItemList. A child that is itself a parent brings the
// names of its own children along (ItemEntry::children), so getting a
// stored router back restores its route-range names too.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/errors.h"
#include "util/indexed_list.h"
#include "core/object.h"
#include "hal/basic.h"
#include "hal/identities.h"

namespace zk {

struct ItemEntry;
using ItemList = IndexedList<std::string, ItemEntry>;

struct ItemEntry {
    hal::EComponentId id;
    std::vector<ItemList> children;  // names of the child's own lists, in its order
};

class CollectionBase {
public:
    virtual ~CollectionBase() = default;
    virtual ItemList snapshot() = 0;          // copy of the names in use
    virtual void restore(const ItemList&) = 0;  // names loaded with a stored parent
    virtual void clearQuiet() = 0;            // empties names and records, no checks
    virtual void resetCursor() = 0;
};

// Snapshot, restore and empty every child list of a staging parent.
std::vector<ItemList> snapshotChildren(Object& parent);
void restoreChildren(Object& parent, const std::vector<ItemList>& names);
void clearChildren(Object& parent);
// The names of a stored copy follow the fresh identities of its children.
void renameIds(std::vector<ItemList>& names, const hal::Renamed& renamed);

// Child must provide:
//   int  ToRecord(Rec&)          0 when the options converted, else 1
//   void FromRecord(const Rec&)  loads the options (and child records)
template <class Child, class Rec>
class Collection : public CollectionBase {
public:
    struct Hooks {
        // 0 when the parent may act now, else the result code to return.
        std::function<int()> ready = [] { return kOk; };
        // Where the records live and which names are in use.
        std::function<hal::RecordList<Rec>*()> records;
        std::function<ItemList*()> names;
        // Code for a missing staging object or an empty name.
        int refused = kNoPort;
    };

    Collection(Child* staging, Hooks hooks) : staging_(staging), hooks_(std::move(hooks)) {}

    int add(const std::string& name) {
        Child* child;
        ItemList* list;
        hal::RecordList<Rec>* recs;
        if (int r = prepare(child, list, recs)) return r;
        if (name.empty()) return hooks_.refused;
        if (list->contains(name)) return kFail;
        Rec rec;
        if (child->ToRecord(rec) != 0) return kFail;
        // A stored copy of its own: its children take fresh identities.
        hal::Renamed renamed;
        hal::renewIds(rec, renamed);
        hal::EComponentId id = recs->Add(std::move(rec));
        std::vector<ItemList> children = snapshotChildren(*child);
        renameIds(children, renamed);
        list->add(name, ItemEntry{id, std::move(children)});
        clearChildren(*child);
        return kOk;
    }

    int get(const std::string& name) {
        Child* child;
        ItemList* list;
        hal::RecordList<Rec>* recs;
        if (int r = prepare(child, list, recs)) return r;
        ItemEntry* e = list->find(name);
        return e ? load(*child, *e, *recs) : kFail;
    }

    int set(const std::string& name) {
        Child* child;
        ItemList* list;
        hal::RecordList<Rec>* recs;
        if (int r = prepare(child, list, recs)) return r;
        ItemEntry* e = name.empty() ? lastReturned(*list) : list->find(name);
        if (!e) return kFail;
        Rec rec;
        if (child->ToRecord(rec) != 0) return kFail;
        if (!recs->Replace(e->id, std::move(rec))) return kFail;
        e->children = snapshotChildren(*child);
        return kOk;
    }

    int del(const std::string& name) {
        Child* child;
        ItemList* list;
        hal::RecordList<Rec>* recs;
        if (int r = prepare(child, list, recs)) return r;
        std::string key = name;
        if (key.empty()) {
            auto [k, e] = list->at(cursor_ ? cursor_ - 1 : 0);
            if (!k) return kFail;
            key = *k;
        }
        ItemEntry* e = list->find(key);
        if (!e) return kFail;
        recs->Remove(e->id);
        list->erase(key);
        return kOk;
    }

    int getFirst() {
        cursor_ = 0;
        return getNext();
    }

    int getNext() {
        Child* child;
        ItemList* list;
        hal::RecordList<Rec>* recs;
        if (int r = prepare(child, list, recs)) return r;
        auto [k, e] = list->at(cursor_);
        if (!k) return kFail;
        if (int r = load(*child, *e, *recs)) return r;
        ++cursor_;
        return kOk;
    }

    int clearAll() {
        if (int r = hooks_.ready()) return r;
        clearQuiet();
        return kOk;
    }

    // CollectionBase
    ItemList snapshot() override {
        ItemList* list = hooks_.names();
        return list ? *list : ItemList{};
    }
    void restore(const ItemList& names) override {
        if (ItemList* list = hooks_.names()) *list = names;
        cursor_ = 0;
    }
    void clearQuiet() override {
        ItemList* list = hooks_.names();
        hal::RecordList<Rec>* recs = hooks_.records();
        if (list && recs) list->forEach([&](const std::string&, ItemEntry& e) { recs->Remove(e.id); });
        if (list) list->clear();
        cursor_ = 0;
    }
    void resetCursor() override { cursor_ = 0; }

    size_t cursor() const { return cursor_; }
    Child* staging() const { return staging_.get(); }

private:
    int prepare(Child*& child, ItemList*& list, hal::RecordList<Rec>*& recs) {
        child = staging_.get();
        list = nullptr;
        recs = nullptr;
        if (!child) return hooks_.refused ? hooks_.refused : kNoPort;
        if (int r = hooks_.ready()) return r;
        list = hooks_.names();
        recs = hooks_.records();
        return list && recs ? kOk : kNoPort;
    }

    ItemEntry* lastReturned(ItemList& list) { return list.at(cursor_ ? cursor_ - 1 : 0).second; }

    int load(Child& child, ItemEntry& e, hal::RecordList<Rec>& recs) {
        const Rec* rec = recs.Find(e.id);
        if (!rec) return kFail;
        child.FromRecord(*rec);
        restoreChildren(child, e.children);
        return kOk;
    }

    Ref<Child> staging_;
    Hooks hooks_;
    size_t cursor_ = 0;
};

// The record type a RecordList member pointer reaches.
template <auto List>
struct ListOf;
template <class Parent, class Rec, hal::RecordList<Rec> Parent::*List>
struct ListOf<List> {
    using Record = Rec;
};

// A parent's own child list: its records live in the parent's work record
// (Parent::work()), its names in the list itself. Declared in the parent as
//
//   ChildList<TCLRipRouteRange, &hal::ERIPRouter::routeRanges> routeRanges;
//
// and built in the parent's constructor with routeRanges(this, pRipRouteRange).
// `ready` says whether the list may act now; a missing staging object is
// `refused`.
template <class Child, auto List>
class ChildList : public Collection<Child, typename ListOf<List>::Record> {
    using Base = Collection<Child, typename ListOf<List>::Record>;

public:
    template <class Parent>
    ChildList(Parent* parent, Child* staging, std::function<int()> ready = [] { return int(kOk); },
              int refused = kFail)
        : Base(staging, {.ready = std::move(ready),
                         .records = [parent] { return &(parent->work().*List); },
                         .names = [this] { return &names_; },
                         .refused = refused}) {
        parent->adoptList(this);
    }

private:
    ItemList names_;
};

}  // namespace zk
