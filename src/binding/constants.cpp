// The symbolic constants: a global variable per constant and a read-only
// linked element zkConstants(<name>) backed by process-wide cells.
#include <tcl.h>

#include <map>
#include <string>
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

std::map<std::string, int>& cells() {
    static auto* c = new std::map<std::string, int>;  // linked variables point here for the process' life
    return *c;
}

}  // namespace

size_t constantCount() { return constants().size(); }

void forEachConstant(const std::function<void(const char*, long long, bool)>& visit) {
    for (const Constant& c : constants())
        visit(c.name, c.kind == 6 ? (long long)unsigned(c.value) : (long long)int(c.value), c.kind == 6);
}

void installConstants(Tcl_Interp* interp) {
    std::map<std::string, bool> linked;
    for (const Constant& c : constants()) {
        Tcl_Obj* value = c.kind == 6 ? Tcl_NewStringObj(std::to_string(unsigned(c.value)).c_str(), -1)
                                     : Tcl_NewIntObj(int(c.value));
        Tcl_SetVar2Ex(interp, c.name, nullptr, value, TCL_GLOBAL_ONLY);
        // Every cell is a read-only linked int, the unsigned ones included:
        // their array elements read as the signed value of the same bits.
        auto [it, fresh] = cells().try_emplace(c.name, int(unsigned(c.value)));
        if (linked[c.name]) continue;
        linked[c.name] = true;
        std::string element = std::string("zkConstants(") + c.name + ")";
        Tcl_LinkVar(interp, element.c_str(), reinterpret_cast<char*>(&it->second), TCL_LINK_INT | TCL_LINK_READ_ONLY);
    }
}

}  // namespace zk::binding
