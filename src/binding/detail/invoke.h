// Calling through a method or constructor record: each argument converted
// from its word (a word left out takes its type's zero value), the
// function called, its result set as the interpreter's.
#pragma once

#include <tcl.h>

#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "binding/convert.h"
#include "binding/detail/records.h"

namespace zk::binding::detail {

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

}  // namespace zk::binding::detail
