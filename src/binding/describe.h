// Class descriptions: every script-visible class is described once, and the
// binding derives from that description its type record, the flat commands
// (new_, delete_, <Class>_<method>, <Class>_<option>_get/_set), their usage
// strings, the class command and the instance command.
//
//   static Describe<TCLRipRouteRange> d("TCLRipRouteRange", [](auto& c) {
//       c.constructor();
//       c.option("enableRouteRange", &TCLRipRouteRange::enableRouteRange);
//       c.method("setDefault", &TCLRipRouteRange::setDefault);
//   });
#pragma once

#include <tcl.h>

#include <functional>
#include <algorithm>
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
#include "binding/types.h"
#include "core/checks.h"
#include "core/errors.h"
#include "core/object.h"
#include "core/parse.h"

namespace zk::binding {

struct ArgName {
    ArgName(const char* n) : name(n) {}  // NOLINT(google-explicit-constructor): names read as plain strings
    ArgName(const char* n, bool o) : name(n), optional(o) {}
    const char* name;
    bool optional = false;
};
// An argument that may be left out; it then takes its type's zero value.
inline ArgName optional(const char* name) { return {name, true}; }

struct ClassRecord;

struct AttrRecord {
    std::string name;
    const ClassRecord* cls = nullptr;
    const char* kind = "";  // "int", "text" ... for the reference
    size_t maxLength = 0;   // text options, in characters: 0 is no limit
    const void* access = nullptr;  // the member pointer or accessor functions (kept by the class)
    Tcl_Obj* (*get)(const AttrRecord&, Object*) = nullptr;
    void (*result)(const AttrRecord&, Tcl_Interp*, Object*) = nullptr;  // the value as the interpreter result
    bool (*set)(const AttrRecord&, Tcl_Interp*, Object*, Tcl_Obj*, ConvertError&) = nullptr;  // null: read-only
    // How a value a port learned (`zkchassis::learn`) is read into the
    // option, read-only ones too; false refuses it. Null: never learned.
    bool (*learn)(const AttrRecord&, Object&, Tcl_Obj*) = nullptr;
    const void* learnData = nullptr;  // kept by the class

    // Usage texts of the flat commands, built when a call needs one.
    std::string getUsage() const;
    std::string setUsage() const;
};

struct MethodRecord {
    std::string name;
    const ClassRecord* cls = nullptr;
    std::vector<ArgName> args;
    int required = 0;
    const char* resultKind = "";
    const void* fn = nullptr;  // the function (kept by the class)
    // Converts objv (the arguments after self), calls, and sets the result.
    int (*call)(const MethodRecord&, Tcl_Interp*, Object*, int, Tcl_Obj* const[]) = nullptr;

    std::string usage() const;  // built when a call needs it
};

// One check of Validate: it writes its message to the last-error text when
// the object's options fail it. A plain function and the data it reads (the
// predicate, member and message, kept by the class record): one small
// function per kind of check, where a std::function would cost a family of
// them per option and make every class description slow to compile.
struct CheckRecord {
    const AttrRecord* attr;
    void (*fn)(const void* data, const Object&, Checks&);
    const void* data;
    void run(const Object& o, Checks& c) const { fn(data, o, c); }
};

// How an option maps onto the class's record, each way (the record is the
// class's Record type, passed untyped), in the same form.
struct MappingRecord {
    void (*intoFn)(const void* data, const Object&, void* record);
    void (*backFn)(const void* data, Object&, const void* record);
    const void* data;
    void into(const Object& o, void* record) const { intoFn(data, o, record); }
    void back(Object& o, const void* record) const { backFn(data, o, record); }
};

struct ClassRecord {
    std::string name;
    TypeInfo* type = nullptr;
    const ClassRecord* base = nullptr;
    std::vector<ArgName> ctorArgs;
    int ctorRequired = 0;
    Object* (*construct)(const ClassRecord&, Tcl_Interp*, int, Tcl_Obj* const[]) = nullptr;
    std::vector<std::unique_ptr<MethodRecord>> methods;
    std::vector<std::unique_ptr<AttrRecord>> attributes;
    // The class's own methods and options by name, sorted; of two entries
    // of one name the first declared comes first.
    std::vector<std::pair<std::string_view, const MethodRecord*>> methodIndex;
    std::vector<std::pair<std::string_view, const AttrRecord*>> attrIndex;
    std::vector<CheckRecord> checks;      // in the order Validate runs them
    std::vector<MappingRecord> mappings;  // in the order the options were declared

    // Keeps x for as long as the class record lives (the process). What
    // needs no destructor is placed in blocks shared by every class, which
    // spares the load a heap allocation for each option and method.
    template <class X>
    const X* keep(X x) {
        if constexpr (std::is_trivially_destructible_v<X>) {
            return new (keepBlock(sizeof(X), alignof(X))) X(std::move(x));
        } else {
            auto* p = new X(std::move(x));
            own(p, [](void* q) { delete static_cast<X*>(q); });
            return p;
        }
    }
    void own(void* p, void (*destroy)(void*)) { owned.push_back({p, destroy}); }
    std::vector<std::unique_ptr<void, void (*)(void*)>> owned;
    static void* keepBlock(size_t size, size_t align);

    std::string newUsage() const;  // usage texts, built when a call needs one
    std::string deleteUsage() const;

    // The class's own entries first, then those of its bases.
    const MethodRecord* findMethod(std::string_view n) const;
    const AttrRecord* findAttr(std::string_view n) const;
};

// Every described class, in registration order (built once per process).
const std::vector<std::unique_ptr<ClassRecord>>& classes();

// Shared pieces of the generated commands.
std::string usageOf(const std::string& command, const std::vector<ArgName>& args, bool withSelf);
void setArgError(Tcl_Interp* interp, const ConvertError& e, int position, const char* name);
void reportResult(Tcl_Interp* interp, int code);  // integer result; copies the last error on failure
template <class T>
inline const TypeInfo* typeSlot = nullptr;
template <class T>
const TypeInfo* typeOf() {
    return typeSlot<T>;
}

namespace detail {

template <class A>
bool convertArg(Tcl_Interp* interp, Tcl_Obj* const objv[], int objc, int i, const std::vector<ArgName>& names,
                Bare<A>& out) {
    if (i >= objc) {
        out = Bare<A>{};
        return true;
    }
    ConvertError e;
    if (Convert<Bare<A>>::from(interp, objv[i], out, e)) return true;
    setArgError(interp, e, i, names[size_t(i)].name);
    return false;
}

template <class... A, size_t... I>
bool convertAll([[maybe_unused]] Tcl_Interp* interp, [[maybe_unused]] Tcl_Obj* const objv[],
                [[maybe_unused]] int objc, [[maybe_unused]] const std::vector<ArgName>& names,
                [[maybe_unused]] std::tuple<Bare<A>...>& t, std::index_sequence<I...>) {
    return (convertArg<A>(interp, objv, objc, int(I), names, std::get<I>(t)) && ...);
}

template <class R>
void setResult(Tcl_Interp* interp, R&& r) {
    using V = Bare<R>;
    if constexpr (std::is_same_v<V, int>) {
        reportResult(interp, r);
    } else {
        setValueResult<V>(interp, r);
    }
}

// Calls f(args...) with the converted arguments and sets the result.
template <class R, class... A, class F>
int invoke(Tcl_Interp* interp, const MethodRecord& m, int objc, Tcl_Obj* const objv[], F&& f) {
    std::tuple<Bare<A>...> args;
    if (!convertAll<A...>(interp, objv, objc, m.args, args, std::index_sequence_for<A...>{})) return TCL_ERROR;
    if constexpr (std::is_void_v<R>) {
        std::apply(f, args);
        Tcl_ResetResult(interp);
    } else {
        setResult(interp, std::apply(f, args));
    }
    return TCL_OK;
}

template <class T, class M>
struct Field {
    M T::*ptr;
};

template <class T, class B, class M>
const M& fieldOf(const AttrRecord& a, Object* o) {
    return static_cast<T*>(o)->*(static_cast<const Field<B, M>*>(a.access)->ptr);
}

template <class T, class B, class M>
Tcl_Obj* getField(const AttrRecord& a, Object* o) {
    return Convert<M>::to(fieldOf<T, B, M>(a, o));
}

template <class T, class B, class M>
void fieldResult(const AttrRecord& a, Tcl_Interp* interp, Object* o) {
    setValueResult(interp, fieldOf<T, B, M>(a, o));
}

template <class T, class B, class M>
bool setField(const AttrRecord& a, Tcl_Interp* interp, Object* o, Tcl_Obj* v, ConvertError& e) {
    M value;
    if (!Convert<M>::from(interp, v, value, e)) return false;
    if constexpr (std::is_same_v<M, std::string>) {
        // The limit counts characters, as `string length` does, not bytes.
        if (a.maxLength && value.size() > a.maxLength && size_t(Tcl_GetCharLength(v)) > a.maxLength) {
            e.text = "value is longer than " + std::to_string(a.maxLength) + " characters";
            return false;
        }
    }
    const auto* f = static_cast<const Field<B, M>*>(a.access);
    static_cast<T*>(o)->*(f->ptr) = std::move(value);
    return true;
}

template <class T, class M>
struct Accessors {
    M (*get)(const T&);
    void (*set)(T&, M);
};

template <class T, class M>
M accessorOf(const AttrRecord& a, Object* o) {
    return static_cast<const Accessors<T, M>*>(a.access)->get(*static_cast<T*>(o));
}

template <class T, class M>
Tcl_Obj* getAccessor(const AttrRecord& a, Object* o) {
    return Convert<M>::to(accessorOf<T, M>(a, o));
}

template <class T, class M>
void accessorResult(const AttrRecord& a, Tcl_Interp* interp, Object* o) {
    setValueResult(interp, accessorOf<T, M>(a, o));
}

template <class T, class M>
bool setAccessor(const AttrRecord& a, Tcl_Interp* interp, Object* o, Tcl_Obj* v, ConvertError& e) {
    M value;
    if (!Convert<M>::from(interp, v, value, e)) return false;
    static_cast<const Accessors<T, M>*>(a.access)->set(*static_cast<T*>(o), std::move(value));
    return true;
}


// Moving an option's value into its record field and back: a switch into a
// bool, an integer into a field as wide as the equipment keeps it, address
// text into an address.
template <class F, class O>
void intoField(F& f, const O& o) {
    if constexpr (std::is_same_v<F, O>) f = o;
    else if constexpr (std::is_same_v<F, bool>) f = o != 0;
    else if constexpr (std::is_same_v<F, hal::EIPAddress> && std::is_same_v<O, std::string>) f = anyAddress(o);
    else if constexpr (requires { static_cast<F>(o); }) f = static_cast<F>(o);
    else static_assert(sizeof(F) == 0, "no direct mapping between these types: use mapsVia");
}

template <class O, class F>
void backFromField(O& o, const F& f) {
    if constexpr (std::is_same_v<F, O>) o = f;
    else if constexpr (std::is_same_v<F, hal::EIPAddress> && std::is_same_v<O, std::string>) o = f.ToString();
    else if constexpr (requires { static_cast<O>(f); }) o = static_cast<O>(f);
    else static_assert(sizeof(F) == 0, "no direct mapping between these types: use mapsVia");
}

// r.*p1.*p2 ... : a field of the record or of a record nested in it.
template <class... P>
struct Path;
template <class P>
struct Path<P> {
    explicit Path(P p) : head(p) {}
    template <class R>
    auto& at(R& r) const {
        return r.*head;
    }
    P head;
};
template <class P, class... Ps>
struct Path<P, Ps...> {
    explicit Path(P p, Ps... ps) : head(p), tail(ps...) {}
    template <class R>
    auto& at(R& r) const {
        return tail.at(r.*head);
    }
    P head;
    Path<Ps...> tail;
};

}  // namespace detail

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
