// An unnamed, ordered list of a parent's records, walked with a position
// counter: EROs and RROs (hops in order), sender ranges, PLR node pairs and
// the custom TLVs of each message. The script fills the parent's staging
// object of the child class and calls
//
//   add<Kind>        append the staging object's values (0; 1 refused)
//   getFirst<Kind>   counter to 0, then as getNext<Kind>
//   getNext<Kind>    load the entry at the counter into the staging object
//                    and advance (0; 1 past the end)
//   del<Kind>        remove the entry last returned (at counter - 1, the
//                    first while the counter is 0); the counter steps back
//                    so that the walk goes on with the entry after it
//   <clear name>     empty the list
//
// The entries live in the parent's work record. A child class takes part
// through two functions beside it, found by argument lookup:
//   bool intoEntry(Child&, Rec&)        true when the options converted
//   bool fromEntry(Child&, const Rec&)  true when the entry was loaded
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "binding/describe.h"
#include "core/collection.h"

namespace zk {

template <auto List>
struct EntriesOf;
template <class Parent, class Rec, std::vector<Rec> Parent::*List>
struct EntriesOf<List> {
    using Record = Rec;
};

template <class Child, auto List>
class WalkList : public CollectionBase {
public:
    using Rec = typename EntriesOf<List>::Record;

    // `ready` says whether the list may act now; when it may not, every
    // method gives 1.
    template <class Parent>
    WalkList(Parent* parent, Child* staging, std::function<bool()> ready = [] { return true; })
        : staging_(staging), entries_([parent] { return &(parent->work().*List); }), ready_(std::move(ready)) {
        parent->adoptList(this);
    }

    int add() {
        Child* child = staging_.get();
        if (!child || !ready_()) return kFail;
        Rec entry;
        if (!intoEntry(*child, entry)) return kFail;
        entries_()->push_back(std::move(entry));
        clearChildren(*child);  // a sender range starts its next entry with empty lists
        return kOk;
    }

    int getFirst() {
        counter_ = 0;
        return getNext();
    }

    int getNext() {
        Child* child = staging_.get();
        if (!child || !ready_()) return kFail;
        std::vector<Rec>& list = *entries_();
        if (counter_ >= list.size()) return kFail;
        if (!fromEntry(*child, list[counter_])) return kFail;
        restoreChildren(*child, {});
        ++counter_;
        return kOk;
    }

    int del() {
        if (!ready_()) return kFail;
        std::vector<Rec>& list = *entries_();
        size_t position = counter_ ? counter_ - 1 : 0;
        if (position >= list.size()) return kFail;
        list.erase(list.begin() + std::ptrdiff_t(position));
        if (counter_) --counter_;
        return kOk;
    }

    int clear() {
        if (!ready_()) return kFail;
        clearQuiet();
        return kOk;
    }

    // CollectionBase: the entries travel with the parent's record, so there
    // are no names to keep.
    ItemList snapshot() override { return {}; }
    void restore(const ItemList&) override { counter_ = 0; }
    void clearQuiet() override {
        entries_()->clear();
        counter_ = 0;
    }
    void resetCursor() override { counter_ = 0; }

private:
    Ref<Child> staging_;
    std::function<std::vector<Rec>*()> entries_;
    std::function<bool()> ready_;
    size_t counter_ = 0;
};

template <auto Member>
struct WalkMethods;

template <class T, class W, W T::*Member>
struct WalkMethods<Member> {
    static int add(T& t) { return (t.*Member).add(); }
    static int getFirst(T& t) { return (t.*Member).getFirst(); }
    static int getNext(T& t) { return (t.*Member).getNext(); }
    static int del(T& t) { return (t.*Member).del(); }
    static int clear(T& t) { return (t.*Member).clear(); }
};

// add<Kind>, getFirst<Kind>, getNext<Kind>, del<Kind> and the clear method.
template <auto Member, class T>
void describeWalk(binding::ClassDesc<T>& c, const std::string& kind, const char* clearName) {
    using M = WalkMethods<Member>;
    c.method(("add" + kind).c_str(), &M::add);
    c.method(("getFirst" + kind).c_str(), &M::getFirst);
    c.method(("getNext" + kind).c_str(), &M::getNext);
    c.method(("del" + kind).c_str(), &M::del);
    c.method(clearName, &M::clear);
}

}  // namespace zk
