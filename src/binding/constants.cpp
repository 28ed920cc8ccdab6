// The symbolic constants: a global variable per constant and a read-only
// element zkConstants(<name>) that keeps its value as a read-only linked
// int does (a write is undone and refused, an unset element comes back).
#include <tcl.h>

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "binding/module.h"
#include "core/protocols.h"

namespace zk::binding {
namespace {

struct Constant {
    const char* name;
    unsigned long long value;
    int kind;  // 1 signed int, 6 unsigned 32-bit
};

// A row without a name marks where the command codes of the protocol
// table stand, each after the other names of its code.
const Constant kTable[] = {
#include "binding/constants_table.inc"
};

const std::vector<Constant>& constants() {
    static const auto* all = [] {
        auto* v = new std::vector<Constant>;
        for (const Constant& c : kTable) {
            if (c.name) {
                v->push_back(c);
                continue;
            }
            for (const CommandCode& code : commandCodes()) {
                for (const Command& alias : commandAliases())
                    if (alias.code == code.code) v->push_back({alias.name, unsigned(alias.code), 1});
                v->push_back({code.name, unsigned(code.code), 1});
            }
        }
        return v;
    }();
    return *all;
}

// A zkConstants element: its name and the int it holds. Every element is
// an int, the unsigned constants' included: theirs read as the signed value
// of the same bits.
struct Element {
    const char* name;
    int value;
};

// The elements, for the process' life, one per row of constants(): a name
// that comes twice has the element of its first row, and the later rows
// none (null).
const std::vector<const Element*>& elements() {
    static const auto* all = [] {
        auto* v = new std::vector<const Element*>;
        std::unordered_set<std::string_view> seen;
        for (const Constant& c : constants())
            v->push_back(seen.insert(c.name).second ? new Element{c.name, int(unsigned(c.value))} : nullptr);
        return v;
    }();
    return *all;
}

// Set and traced through the array and element names, which spares Tcl a
// parse of "zkConstants(<name>)" for each of the hundreds set at every load.
constexpr int kElementTraces = TCL_GLOBAL_ONLY | TCL_TRACE_WRITES | TCL_TRACE_UNSETS;
char* keepElement(ClientData cd, Tcl_Interp* interp, const char*, const char*, int flags);

void setElement(Tcl_Interp* interp, const Element& e) {
    Tcl_SetVar2Ex(interp, "zkConstants", e.name, Tcl_NewIntObj(e.value), TCL_GLOBAL_ONLY);
}

void installElement(Tcl_Interp* interp, const Element& e) {
    setElement(interp, e);
    Tcl_TraceVar2(interp, "zkConstants", e.name, kElementTraces, keepElement, const_cast<Element*>(&e));
}

// A write puts the value back and fails with the message of a read-only
// linked variable; an unset element (alone or with the array) is set again
// with its trace, unless the interpreter is going away.
char* keepElement(ClientData cd, Tcl_Interp* interp, const char*, const char*, int flags) {
    const Element& e = *static_cast<const Element*>(cd);
    if (flags & TCL_TRACE_UNSETS) {
        if ((flags & TCL_TRACE_DESTROYED) && !Tcl_InterpDeleted(interp)) installElement(interp, e);
        return nullptr;
    }
    setElement(interp, e);
    return const_cast<char*>("linked variable is read-only");
}

}  // namespace

size_t constantCount() { return constants().size(); }

void forEachConstant(const std::function<void(const char*, long long, bool)>& visit) {
    for (const Constant& c : constants())
        visit(c.name, c.kind == 6 ? (long long)unsigned(c.value) : (long long)int(c.value), c.kind == 6);
}

void installConstants(Tcl_Interp* interp) {
    const std::vector<Constant>& all = constants();
    const std::vector<const Element*>& element = elements();
    for (size_t i = 0; i < all.size(); ++i) {
        const Constant& c = all[i];
        Tcl_Obj* value = c.kind == 6 ? Tcl_NewStringObj(std::to_string(unsigned(c.value)).c_str(), -1)
                                     : Tcl_NewIntObj(int(c.value));
        Tcl_SetVar2Ex(interp, c.name, nullptr, value, TCL_GLOBAL_ONLY);
        if (element[i]) installElement(interp, *element[i]);
    }
}

}  // namespace zk::binding
