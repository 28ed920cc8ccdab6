// A staging object: a script sets its options, and a parent converts it
// into its record (ToRecord) and back (FromRecord) at every add, get, set.
// Validate and both conversions are generated from the class description
// (the options' checks and mappings); what does not follow the pattern is
// written beside them in the class, in these hooks:
//
//   int  intoRecordRest(R&)        after the mapped options (0, or a result code)
//   void fromRecordRest(const R&)  after the mapped options are loaded
//
// The object keeps the record it was last loaded from (its work record):
// its child lists live there, and fields no option maps stay as loaded.
#pragma once

#include "binding/describe.h"
#include "core/collection.h"

namespace zk::binding {

template <class T>
const ClassRecord& classOf() {
    static const ClassRecord* cls = (classes(), typeOf<T>()->cls);
    return *cls;
}

// Runs the checks of T's description in their order.
bool runChecks(const ClassRecord& cls, const Object& o);

// The generated pieces, for classes that are not staging objects (a server
// whose options map onto its port configuration, Record being that type).
template <class T>
bool validate(const T& t) {
    return runChecks(classOf<T>(), t);
}
template <class T>
void storeOptions(const T& t, typename T::Record& r) {
    for (const MappingRecord& m : classOf<T>().mappings) m.into(t, &r);
}
template <class T>
void loadOptions(T& t, const typename T::Record& r) {
    for (const MappingRecord& m : classOf<T>().mappings) m.back(t, &r);
}

template <class T, class R>
class Staged : public Object {
public:
    using Record = R;

    bool Validate() const { return validate(self()); }

    int ToRecord(R& r) {
        if (!Validate()) return kFail;
        r = work_;
        storeOptions(self(), r);
        return self().intoRecordRest(r);
    }

    void FromRecord(const R& r) {
        if constexpr (requires { r.id; })
            if (!(r.id == work_.id))
                for (auto drop : classOf<T>().onAnotherRecord) drop(self());
        work_ = r;
        loadOptions(r);
    }

    // The options of a default record; child lists stay as they are.
    void setDefault() {
        loadOptions(R{});
        for (CollectionBase* c : childCollections()) c->resetCursor();
    }

    R& work() { return work_; }
    const R& work() const { return work_; }

    // The hooks' defaults: nothing irregular.
    int intoRecordRest(R&) { return kOk; }
    void fromRecordRest(const R&) {}

protected:
    void loadOptions(const R& r) {
        binding::loadOptions(self(), r);
        self().fromRecordRest(r);
    }

private:
    T& self() { return static_cast<T&>(*this); }
    const T& self() const { return static_cast<const T&>(*this); }
    R work_;
};

}  // namespace zk::binding
