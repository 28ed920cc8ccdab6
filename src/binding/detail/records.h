// The records the generated commands run from: a class's constructor,
// methods and options with the plain functions that convert, call and set
// the result, its checks and mappings, and the registry of every described
// class. binding/describe.h builds them; binding/commands.cpp runs them.
#pragma once

#include <tcl.h>

#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "binding/convert.h"
#include "binding/types.h"
#include "core/checks.h"
#include "core/object.h"

namespace zk::binding {

struct ArgName {
    ArgName(const char* n) : name(n) {}  // NOLINT(google-explicit-constructor): names read as plain strings
    ArgName(const char* n, bool o) : name(n), optional(o) {}
    const char* name;
    bool optional = false;
};

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
    // What a staging object drops when it is loaded with another record
    // than the one it held (learned lists that belonged to that one).
    std::vector<void (*)(Object&)> onAnotherRecord;

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

}  // namespace zk::binding
