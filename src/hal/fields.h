// Field tables: a configuration record lists its fields once, and its JSON
// form, its equality, its defaults row in docs/ and its reference come from
// that one list.
//
//   struct ESampleRange : ERecord {
//       bool enabled = true;
//       uint32_t metric = 1;
//       static constexpr auto fields() {
//           using R = ESampleRange;
//           return std::tuple_cat(ERecord::fields(),
//                                 hal::fields(field("Enabled", &R::enabled), field("Metric", &R::metric, "hops")));
//       }
//   };
//
// (tests/unit/fields_example_test.cpp compiles this example). A record that
// extends another joins the tables with std::tuple_cat, as this one joins
// ERecord's ID; a field may also be computed (in the JSON form only).
#pragma once

#include <array>
#include <concepts>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "hal/json_writer.h"

namespace hal {

template <class B, class M>
struct Field {
    const char* name;
    M B::*member;
    const char* doc;
    const M& of(const B& r) const { return r.*member; }
    static constexpr bool stored = true;
};

template <class R, class F>
struct Computed {
    const char* name;
    F fn;
    const char* doc;
    auto of(const R& r) const { return fn(r); }
    static constexpr bool stored = false;
};

// A field the JSON form carries only while the record says so (an LSA's
// body fields, by its type).
template <class R, class F>
struct Conditional : F {
    bool (R::*when)() const;
    template <class Rec>
    bool shown(const Rec& r) const {
        return (r.*when)();
    }
};

template <class R, class F>
constexpr Conditional<R, F> onlyIf(bool (R::*when)() const, F f) {
    return {f, when};
}

template <class B, class M>
constexpr Field<B, M> field(const char* name, M B::*member, const char* doc = "") {
    return {name, member, doc};
}

// A value the JSON form carries that the record derives (a description).
template <class R, class F>
constexpr Computed<R, F> computed(const char* name, F fn, const char* doc = "") {
    return {name, fn, doc};
}

template <class... F>
constexpr auto fields(F... f) {
    return std::make_tuple(f...);
}

template <class R>
concept Record = requires { R::fields(); };

// Calls f(field) for each entry of R's table, in order.
template <Record R, class F>
void forEachField(F&& f) {
    static constexpr auto table = R::fields();
    std::apply([&](const auto&... e) { (f(e), ...); }, table);
}

// ---- JSON --------------------------------------------------------------

template <class T>
void writeValue(JsonWriter& w, const T& v);

template <Record R>
void writeRecord(JsonWriter& w, const R& r) {
    w.beginObject();
    forEachField<R>([&](const auto& f) {
        if constexpr (requires { f.shown(r); })
            if (!f.shown(r)) return;
        w.key(f.name);
        writeValue(w, f.of(r));
    });
    w.endObject();
}

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};

template <class T>
concept Sequence = requires(const T& t) {
    t.begin();
    t.end();
} && !std::is_convertible_v<T, std::string_view>;

// Types of their own (addresses, blobs, lists of records) provide
// writeJson(JsonWriter&, const T&) beside them.
template <class T>
void writeValue(JsonWriter& w, const T& v) {
    if constexpr (Record<T>) {
        writeRecord(w, v);
    } else if constexpr (std::is_same_v<T, bool>) {
        w.boolean(v);
    } else if constexpr (std::is_integral_v<T> && std::is_signed_v<T>) {
        w.integer(v);
    } else if constexpr (std::is_integral_v<T>) {
        w.unsignedInteger(v);
    } else if constexpr (std::is_floating_point_v<T>) {
        w.number(v);
    } else if constexpr (std::is_convertible_v<T, std::string_view>) {
        w.string(v);
    } else if constexpr (IsOptional<T>::value) {
        if (v) writeValue(w, *v);
        else w.null();
    } else if constexpr (Sequence<T>) {
        w.beginArray();
        for (const auto& e : v) writeValue(w, e);
        w.endArray();
    } else {
        writeJson(w, v);
    }
}

// The JSON text of a value, compact or indented.
template <class T>
std::string jsonText(const T& v, int indent = -1) {
    std::string out;
    JsonWriter w(out, indent);
    writeValue(w, v);
    return out;
}

// ---- equality ------------------------------------------------------------

// Two records are equal when every stored field is (computed ones follow).
template <Record R>
bool operator==(const R& a, const R& b) {
    bool same = true;
    forEachField<R>([&](const auto& f) {
        if constexpr (std::decay_t<decltype(f)>::stored) same = same && f.of(a) == f.of(b);
    });
    return same;
}

}  // namespace hal
