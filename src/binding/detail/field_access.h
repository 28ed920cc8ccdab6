// Reaching an option's value through its record: a member (of the class or
// a base), or a pair of accessor functions, read as a Tcl value and set from
// one; and moving a value between an option and its field of the class's
// configuration record, nested records included.
#pragma once

#include <tcl.h>

#include <string>
#include <type_traits>
#include <utility>

#include "binding/convert.h"
#include "binding/detail/records.h"
#include "core/parse.h"
#include "hal/basic.h"

namespace zk::binding::detail {

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

}  // namespace zk::binding::detail
