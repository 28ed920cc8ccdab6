// Wrapped pointer types, the registry of live objects and pointer handles.
//
// A handle is "_", the pointer's bytes least significant first as two
// lower-case hex digits each, then the type's mangled name "_p_<Class>".
// A handle is accepted only for a live object whose type is the expected
// one or derives from it; anything else is a type error, never a crash.
#pragma once

#include <tcl.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "core/object.h"

namespace zk::binding {

struct ClassRecord;
struct InstanceRecord;

struct TypeInfo {
    std::string mangled;  // "_p_TCLRipServer"
    std::string display;  // "TCLRipServer *"
    const TypeInfo* base = nullptr;
    const ClassRecord* cls = nullptr;  // null for non-class pointer types
    bool isA(const TypeInfo* t) const {
        for (const TypeInfo* p = this; p; p = p->base)
            if (p == t) return true;
        return false;
    }
};

// Registered once per process; later calls with the same name return it.
TypeInfo* registerType(const std::string& name);
const TypeInfo* findType(std::string_view mangled);

// Live objects.
void registerObject(Object* obj, const TypeInfo* type);
// Removes the object from the registry, deletes its instance command if it
// has one, and deletes it.
void destroyObject(Object* obj);
bool isLive(const Object* obj);
void attachInstance(Object* obj, InstanceRecord* inst);
void detachInstance(Object* obj);

std::string encodeHandle(const void* p, const TypeInfo& type);
Tcl_Obj* newHandleObj(const Object* obj, const TypeInfo& type);

// Structural parse of a handle text: address and the type name after "_p_".
bool parseHandleText(std::string_view text, uintptr_t& address, std::string_view& mangled);

enum class Decode { Ok, NotPointer, WrongType };
// Decodes a handle (or the name of an instance command) to a live object of
// `expected` or a derived type. "NULL" decodes to null when allowNull.
Decode decodeObject(Tcl_Interp* interp, Tcl_Obj* obj, const TypeInfo* expected, bool allowNull, Object*& out);

// The Tcl error of a failed decode.
void setDecodeError(Tcl_Interp* interp, Decode d, const TypeInfo* expected);

// Blocks handed out by the malloc family of the C-library commands.
const TypeInfo* voidType();
void trackBlock(void* p);
bool untrackBlock(void* p);
bool isTrackedBlock(void* p);

}  // namespace zk::binding
