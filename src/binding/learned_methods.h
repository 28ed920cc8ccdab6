// Describes the four methods of a learned list in one line:
//
//   describeLearned<&T::labels_, &T::numberOfLearnedLabels>(c, {
//       .kind = kLdpLabelsKind, .notLoaded = "The router has not been loaded from the server.",
//       .key = [](const T& t) { return t.routerId; },
//       .request = "requestLearnedLabels", .list = "getLearnedLabelList",
//       .first = "getFirstLearnedLabel", .next = "getNextLearnedLabel",
//       .noneYet = "No learned labels have arrived yet.", .noMore = "No more learned labels."});
//
// `labels_` is the class's LearnedWalk (core/learned.h). The request checks
// the port, that the object was loaded from its parent, and that the port
// answers requests of the kind now (mayRequestLearned), then asks for what
// the port learned under the key; the list takes the answer and counts it
// into the count option; first and next walk it into the staging object.
// Every message is "<Class>::<method>()   <text>".
#pragma once

#include <string>

#include "binding/describe.h"
#include "core/learned.h"

namespace zk {

template <class T, class Item>
struct LearnedMethods {
    const char* kind;
    const char* notLoaded = nullptr;  // null: the object is always loaded
    std::string (*key)(const T&);
    bool (*loaded)(const T&) = nullptr;  // with notLoaded
    const char* request;
    const char* list;
    const char* first;
    const char* next;
    const char* noneYet;
    const char* noMore;
    bool (*keep)(const T&, const Item&) = nullptr;  // which answered items the list keeps
    size_t (*limit)(const T&) = nullptr;              // how many at most (0: all)
    // The answer belongs to the key asked about: while the object holds
    // another key, the list is not in and the walk has no more.
    bool sameKey = false;
    // The answer belongs to the record loaded when it was asked: loading
    // another record forgets it and sets the count to 0.
    bool ownRecord = false;
};

namespace detail {

template <auto Walk, auto Count>
struct Learned;

template <class T, class W, W T::*Walk, class C, int C::*Count>
struct Learned<Walk, Count> {
    using Item = typename W::ItemType;
    static inline LearnedMethods<T, Item> m{};
    static inline std::string cls;

    static std::string where(const char* method) { return cls + "::" + method + "()"; }

    static int request(T& t) {
        bool loaded = !m.notLoaded || !m.loaded || m.loaded(t);
        if (int r = mayRequestLearned(where(m.request).c_str(), loaded, m.notLoaded ? m.notLoaded : "", m.kind))
            return r;
        (t.*Walk).send(*currentPort(), m.kind, m.key(t), t.token());
        return kOk;
    }
    static bool askedNow(const T& t) { return !m.sameKey || (t.*Walk).asked(m.key(t)); }

    static int list(T& t) {
        std::function<bool(const Item&)> keep;
        if (m.keep) keep = [&t](const Item& i) { return m.keep(t, i); };
        if (!askedNow(t) || !(t.*Walk).take(keep, m.limit ? m.limit(t) : 0)) {
            setLastError(where(m.list) + "   " + m.noneYet);
            return kFail;
        }
        t.*Count = int((t.*Walk).size());
        return kOk;
    }
    static void drop(Object& o) {
        T& t = static_cast<T&>(o);
        (t.*Walk).forget();
        t.*Count = 0;
    }
    static int first(T& t) {
        (t.*Walk).rewind();
        return next(t);
    }
    static int next(T& t) {
        if (askedNow(t) && (t.*Walk).next()) return kOk;
        setLastError(where(m.next) + "   " + m.noMore);
        return kFail;
    }
};

}  // namespace detail

template <auto Walk, auto Count, class T, class L = detail::Learned<Walk, Count>>
void describeLearned(binding::ClassDesc<T>& c, const LearnedMethods<T, typename L::Item>& methods) {
    L::m = methods;
    L::cls = c.record().name;
    c.method(methods.request, &L::request);
    c.method(methods.list, &L::list);
    c.method(methods.first, &L::first);
    c.method(methods.next, &L::next);
    if (methods.ownRecord) c.onAnotherRecord(&L::drop);
}

}  // namespace zk
