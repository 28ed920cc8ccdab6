// Class descriptions: every script-visible class is described once, and the
// binding derives from that description its type record, the flat commands
// (new_, delete_, <Class>_<method>, <Class>_<option>_get/_set), their usage
// strings, the class command and the instance command.
//
// This header is what a class description uses: Describe, ClassDesc,
// OptionRef and optional(). The records they build, and the templates that
// convert, reach fields and call, are in binding/detail/.
//
//   static Describe<TCLRipRouteRange> d("TCLRipRouteRange", [](auto& c) {
//       c.constructor();
//       c.option("enableRouteRange", &TCLRipRouteRange::enableRouteRange);
//       c.method("setDefault", &TCLRipRouteRange::setDefault);
//   });
#pragma once

#include <tcl.h>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <memory>
#include <new>
#include <source_location>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "binding/convert.h"
#include "binding/detail/field_access.h"
#include "binding/detail/invoke.h"
#include "binding/detail/records.h"
#include "binding/types.h"
#include "core/checks.h"
#include "core/errors.h"
#include "core/object.h"
#include "core/parse.h"

namespace zk::binding {

// An argument that may be left out; it then takes its type's zero value.
inline ArgName optional(const char* name) { return {name, true}; }

// What an option declares beyond its name and member: its checks and the
// record field it maps onto.
//
//   c.option("routeTag", &T::routeTag).check(atLeast(0)).maps(&R::routeTag);
//
// A check is a predicate of the option's value or of the whole object; its
// message defaults to "<Class>::Validate()   Invalid <option>.". Checks run
// in declaration order unless the class gives its own (checkOrder).
template <class T, class B, class M>
class OptionRef {
public:
    OptionRef(ClassRecord& cls, AttrRecord& attr, M B::*member) : cls_(cls), attr_(attr), member_(member) {}

    template <class P>
    OptionRef& check(P good, const char* message = nullptr) {
        cls_.checks.push_back({&attr_, &runCheck<P>, cls_.keep(CheckData<P>{good, member_, &attr_, message})});
        return *this;
    }
    template <class P>
    OptionRef& check(P good, std::string message) {
        return check(good, message.empty() ? nullptr : cls_.keep(std::move(message))->c_str());
    }

    // A check that needs more than a predicate: a message built at run
    // time, or one that ends validation at once (Checks::stop). `run` is
    // called as run(const T&, Checks&).
    template <class F>
    OptionRef& checkWith(F run) {
        cls_.checks.push_back({&attr_, &runCheckWith<F>, cls_.keep(std::move(run))});
        return *this;
    }

    // Maps the option onto a field of T::Record (a path reaches into nested
    // records): the value goes in as it is, narrowed to the field's width.
    template <class... P>
    OptionRef& maps(P... path) {
        return mapsVia([](const M& v) { return v; }, [](const auto& f) { return f; }, path...);
    }

    // The same with a conversion each way: into(option value) gives the
    // field value, back(field value) the option value.
    template <class Into, class Back, class... P>
    OptionRef& mapsVia(Into into, Back back, P... path) {
        using D = MapData<Into, Back, P...>;
        cls_.mappings.push_back({&D::into, &D::back, cls_.keep(D{into, back, member_, detail::Path<P...>(path...)})});
        return *this;
    }

    // The option is what a port learns (`zkchassis::learn ... -option
    // value`): an integer option takes the integers `good` accepts
    // (`range(0, 65535)`), a text option the texts (`ipv4`); without a
    // predicate any text.
    template <class P>
    OptionRef& learned(P good) {
        attr_.learn = &learnValue<P>;
        attr_.learnData = cls_.keep(LearnData<P>{good, member_});
        return *this;
    }
    OptionRef& learned() {
        return learned([](const std::string&) { return true; });
    }

    // Text options refused by the binding beyond this many characters.
    OptionRef& maxChars(size_t n) {
        attr_.maxLength = n;
        return *this;
    }

private:
    template <class P>
    struct CheckData {
        P good;
        M B::*member;
        const AttrRecord* attr;
        const char* message;  // null: the default message, built when the check fails
    };
    template <class P>
    static void runCheck(const void* data, const Object& o, Checks& c) {
        const auto& d = *static_cast<const CheckData<P>*>(data);
        const T& t = static_cast<const T&>(o);
        bool good;
        if constexpr (std::is_invocable_r_v<bool, P, const T&>) good = d.good(t);
        else good = d.good(t.*d.member);
        if (good) return;
        if (d.message) c.fail(d.message);
        else c.fail(d.attr->cls->name + "::Validate()   Invalid " + d.attr->name + ".");
    }
    template <class P>
    struct LearnData {
        P good;
        M B::*member;
    };
    template <class P>
    static bool learnValue(const AttrRecord& a, Object& o, Tcl_Obj* value) {
        const auto& d = *static_cast<const LearnData<P>*>(a.learnData);
        if constexpr (std::is_integral_v<M>) {
            Tcl_WideInt w;
            if (Tcl_GetWideIntFromObj(nullptr, value, &w) != TCL_OK || !d.good(w)) return false;
            static_cast<T&>(o).*d.member = M(w);
        } else {
            std::string text = Tcl_GetString(value);
            if (!d.good(text)) return false;
            static_cast<T&>(o).*d.member = std::move(text);
        }
        return true;
    }
    template <class F>
    static void runCheckWith(const void* data, const Object& o, Checks& c) {
        (*static_cast<const F*>(data))(static_cast<const T&>(o), c);
    }

    template <class Into, class Back, class... P>
    struct MapData {
        using R = typename T::Record;
        Into intoValue;
        Back backValue;
        M B::*member;
        detail::Path<P...> path;

        template <class Rec>
        auto& field(Rec& r) const {
            return path.at(r);
        }
        static void into(const void* data, const Object& o, void* record) {
            const auto& d = *static_cast<const MapData*>(data);
            detail::intoField(d.field(*static_cast<R*>(record)), d.intoValue(static_cast<const T&>(o).*d.member));
        }
        static void back(const void* data, Object& o, const void* record) {
            const auto& d = *static_cast<const MapData*>(data);
            detail::backFromField(static_cast<T&>(o).*d.member, d.backValue(d.field(*static_cast<const R*>(record))));
        }
    };

    ClassRecord& cls_;
    AttrRecord& attr_;
    M B::*member_;
};

template <class T>
class ClassDesc {
public:
    explicit ClassDesc(ClassRecord& r) : r_(r) {}

    // Constructor arguments, by type and name: c.constructor<TCLRipRouteRange*>("pRipRouteRange").
    template <class... A, class... N>
    void constructor(N... names) {
        static_assert(sizeof...(A) == sizeof...(N), "one name per constructor argument");
        r_.ctorArgs = {ArgName(names)...};
        r_.ctorRequired = countRequired(r_.ctorArgs);
        r_.construct = [](const ClassRecord& cls, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) -> Object* {
            std::tuple<Bare<A>...> args;
            if (!detail::convertAll<A...>(interp, objv, objc, cls.ctorArgs, args, std::index_sequence_for<A...>{}))
                return nullptr;
            return std::apply([](auto&&... a) -> Object* { return new T(a...); }, args);
        };
    }

    template <class B, class M>
    OptionRef<T, B, M> option(const char* name, M B::*field) {
        OptionRef<T, B, M> o = readOnly(name, field);
        r_.attributes.back()->set = &detail::setField<T, B, M>;
        return o;
    }

    template <class B, class M>
    OptionRef<T, B, M> readOnly(const char* name, M B::*field) {
        static_assert(std::is_base_of_v<B, T>);
        AttrRecord& a = attr(name, Convert<M>::kind);
        a.access = r_.keep(detail::Field<B, M>{field});
        a.get = &detail::getField<T, B, M>;
        a.result = &detail::fieldResult<T, B, M>;
        return {r_, a, field};
    }

    // Validate runs the checks of these options first, in this order; the
    // checks of options not named follow in declaration order.
    void checkOrder(std::initializer_list<std::string_view> names) {
        auto rank = [&](const CheckRecord& c) {
            size_t i = 0;
            for (std::string_view n : names) {
                if (c.attr->name == n) return i;
                ++i;
            }
            return i;
        };
        std::stable_sort(r_.checks.begin(), r_.checks.end(),
                         [&](const CheckRecord& a, const CheckRecord& b) { return rank(a) < rank(b); });
    }

    // An option computed by functions rather than held in a field.
    template <class M>
    AttrRecord& option(const char* name, M (*get)(const T&), void (*set)(T&, M)) {
        AttrRecord& a = attr(name, Convert<M>::kind);
        a.access = r_.keep(detail::Accessors<T, M>{get, set});
        a.get = &detail::getAccessor<T, M>;
        a.result = &detail::accessorResult<T, M>;
        if (set) a.set = &detail::setAccessor<T, M>;
        return a;
    }

    // A member function of the class or of one of its bases.
    template <class B, class R, class... A, class... N>
    void method(const char* name, R (B::*fn)(A...), N... names) {
        static_assert(std::is_base_of_v<B, T>);
        static_assert(sizeof...(A) == sizeof...(N), "one name per method argument");
        using Fn = R (B::*)(A...);
        MethodRecord& m = addMethod(name, {ArgName(names)...}, resultKind<R>());
        m.fn = r_.keep(fn);
        m.call = [](const MethodRecord& m, Tcl_Interp* interp, Object* self, int objc, Tcl_Obj* const objv[]) {
            Fn f = *static_cast<const Fn*>(m.fn);
            T* t = static_cast<T*>(self);
            return detail::invoke<R, A...>(interp, m, objc, objv,
                                           [t, f](auto&&... a) -> R { return (t->*f)(a...); });
        };
    }

    // A method written as a function of the object (or of one of its
    // bases), for methods the class shares with others (the collection
    // methods, for example).
    template <class B, class R, class... A, class... N>
    void method(const char* name, R (*fn)(B&, A...), N... names) {
        static_assert(std::is_base_of_v<B, T>);
        static_assert(sizeof...(A) == sizeof...(N), "one name per method argument");
        using Fn = R (*)(B&, A...);
        MethodRecord& m = addMethod(name, {ArgName(names)...}, resultKind<R>());
        m.fn = r_.keep(fn);
        m.call = [](const MethodRecord& m, Tcl_Interp* interp, Object* self, int objc, Tcl_Obj* const objv[]) {
            Fn f = *static_cast<const Fn*>(m.fn);
            T* t = static_cast<T*>(self);
            return detail::invoke<R, A...>(interp, m, objc, objv, [t, f](auto&&... a) -> R { return f(*t, a...); });
        };
    }

    template <class B>
    void base() {
        static_assert(std::is_base_of_v<B, T>);
        r_.type->base = typeOf<B>();
        r_.base = typeOf<B>() ? typeOf<B>()->cls : nullptr;
    }

    const ClassRecord& record() const { return r_; }
    void onAnotherRecord(void (*drop)(Object&)) { r_.onAnotherRecord.push_back(drop); }

private:
    static int countRequired(const std::vector<ArgName>& args) {
        int n = 0;
        for (const auto& a : args) n += a.optional ? 0 : 1;
        return n;
    }
    template <class R>
    static const char* resultKind() {
        if constexpr (std::is_void_v<R>) return "";
        else return Convert<Bare<R>>::kind;
    }

    AttrRecord& attr(const char* name, const char* kind) {
        auto a = std::make_unique<AttrRecord>();
        a->name = name;
        a->cls = &r_;
        a->kind = kind;
        r_.attributes.push_back(std::move(a));
        return *r_.attributes.back();
    }

    MethodRecord& addMethod(const char* name, std::vector<ArgName> args, const char* kind) {
        auto m = std::make_unique<MethodRecord>();
        m->name = name;
        m->cls = &r_;
        m->args = std::move(args);
        m->required = countRequired(m->args);
        m->resultKind = kind;
        r_.methods.push_back(std::move(m));
        return *r_.methods.back();
    }

    ClassRecord& r_;
};

// Registration of a description. Classes enter the command table in the
// order of their source files, and within a file in the order written, so
// no class needs a number of its own.
void addRegistration(std::source_location where, const char* name, void (*build)(ClassRecord&),
                     const TypeInfo** slot);

template <class T>
struct Describe {
    using Fn = void (*)(ClassDesc<T>&);
    Describe(const char* name, Fn fn, std::source_location where = std::source_location::current()) {
        describeFn() = fn;
        addRegistration(where, name, &build, &typeSlot<T>);
    }
    static Fn& describeFn() {
        static Fn f = nullptr;
        return f;
    }
    static void build(ClassRecord& r) {
        ClassDesc<T> c(r);
        describeFn()(c);
    }
};

}  // namespace zk::binding
