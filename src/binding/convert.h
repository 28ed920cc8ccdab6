// Conversion between Tcl values and C++ arguments, chosen by C++ type.
//
// Integers accept Tcl integers and, when the value is not a number, the
// boolean words true/TCL_OK/enable/on (1) and false/TCL_ERROR/disable/off (0).
#pragma once

#include <tcl.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

#include "binding/types.h"
#include "util/tcl_command.h"

namespace zk::binding {

// Every error of a binding command has the error code
// {ZKPROTOCOL <kind> <detail>...}; docs/binding.md lists the kinds.
inline constexpr char kErrorFamily[] = "ZKPROTOCOL";

inline int bindingError(Tcl_Interp* interp, std::string_view message, std::initializer_list<std::string_view> code) {
    return tclError(interp, message, kErrorFamily, code);
}

// Why a conversion failed, for the error message.
struct ConvertError {
    std::string text;
};

bool toInt(Tcl_Obj* obj, int& out, ConvertError& err);
bool toUnsigned(Tcl_Obj* obj, unsigned& out, ConvertError& err);
bool toLong(Tcl_Obj* obj, long& out, ConvertError& err);
bool toDouble(Tcl_Obj* obj, double& out, ConvertError& err);
// The boolean word table; false when the text is none of the words.
bool booleanWord(const char* text, int& out);

template <class T>
struct Convert;

template <>
struct Convert<int> {
    static bool from(Tcl_Interp*, Tcl_Obj* o, int& v, ConvertError& e) { return toInt(o, v, e); }
    static Tcl_Obj* to(int v) { return Tcl_NewIntObj(v); }
    static void assign(Tcl_Obj* o, int v) { Tcl_SetIntObj(o, v); }
    static constexpr const char* kind = "int";
};
template <>
struct Convert<unsigned> {
    static bool from(Tcl_Interp*, Tcl_Obj* o, unsigned& v, ConvertError& e) { return toUnsigned(o, v, e); }
    static Tcl_Obj* to(unsigned v) { return Tcl_NewWideIntObj(Tcl_WideInt(v)); }
    static void assign(Tcl_Obj* o, unsigned v) { Tcl_SetWideIntObj(o, Tcl_WideInt(v)); }
    static constexpr const char* kind = "unsigned";
};
template <>
struct Convert<long> {
    static bool from(Tcl_Interp*, Tcl_Obj* o, long& v, ConvertError& e) { return toLong(o, v, e); }
    static Tcl_Obj* to(long v) { return Tcl_NewWideIntObj(Tcl_WideInt(v)); }
    static void assign(Tcl_Obj* o, long v) { Tcl_SetWideIntObj(o, Tcl_WideInt(v)); }
    static constexpr const char* kind = "long";
};
template <>
struct Convert<bool> {
    static bool from(Tcl_Interp*, Tcl_Obj* o, bool& v, ConvertError& e) {
        int i;
        if (!toInt(o, i, e)) return false;
        v = i != 0;
        return true;
    }
    static Tcl_Obj* to(bool v) { return Tcl_NewIntObj(v ? 1 : 0); }
    static void assign(Tcl_Obj* o, bool v) { Tcl_SetIntObj(o, v ? 1 : 0); }
    static constexpr const char* kind = "bool";
};
template <>
struct Convert<double> {
    static bool from(Tcl_Interp*, Tcl_Obj* o, double& v, ConvertError& e) { return toDouble(o, v, e); }
    static Tcl_Obj* to(double v) { return Tcl_NewDoubleObj(v); }
    static void assign(Tcl_Obj* o, double v) { Tcl_SetDoubleObj(o, v); }
    static constexpr const char* kind = "double";
};
template <>
struct Convert<std::string> {
    static bool from(Tcl_Interp*, Tcl_Obj* o, std::string& v, ConvertError&) {
        int len;
        const char* s = Tcl_GetStringFromObj(o, &len);
        v.assign(s, size_t(len));
        return true;
    }
    static Tcl_Obj* to(const std::string& v) { return Tcl_NewStringObj(v.data(), int(v.size())); }
    static void assign(Tcl_Obj* o, const std::string& v) { Tcl_SetStringObj(o, v.data(), int(v.size())); }
    static constexpr const char* kind = "text";
};

// Class pointers: handles of the class or a derived one; "NULL" is null.
const TypeInfo* typeOfClass(const char* className);
template <class T>
const TypeInfo* typeOf();  // defined by ClassDesc<T> registration

template <class T>
struct Convert<T*> {
    static bool from(Tcl_Interp* interp, Tcl_Obj* o, T*& v, ConvertError& e) {
        Object* obj;
        Decode d = decodeObject(interp, o, typeOf<T>(), true, obj);
        if (d != Decode::Ok) {
            e.text = d == Decode::NotPointer ? "Type error. Expected a pointer"
                                             : "Type error. Expected " + typeOf<T>()->display;
            return false;
        }
        v = static_cast<T*>(obj);
        return true;
    }
    static Tcl_Obj* to(T* v) { return newHandleObj(v, *typeOf<T>()); }
    static constexpr const char* kind = "handle";
};

template <class T>
using Bare = std::remove_cvref_t<T>;

// Makes a value the interpreter result. When nothing else holds the result
// object it is overwritten in place, so a loop of getters allocates nothing.
template <class T>
void setValueResult(Tcl_Interp* interp, const T& v) {
    if constexpr (requires(Tcl_Obj* o) { Convert<T>::assign(o, v); }) {
        Tcl_Obj* result = Tcl_GetObjResult(interp);
        if (!Tcl_IsShared(result)) {
            Convert<T>::assign(result, v);
            return;
        }
    }
    Tcl_SetObjResult(interp, Convert<T>::to(v));
}

}  // namespace zk::binding
