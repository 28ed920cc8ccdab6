// The C-library commands. free and realloc take only blocks that malloc,
// calloc or realloc handed out; every other value is a Tcl error.
#include <tcl.h>

#include <climits>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <string>
#include <string_view>

#include "binding/convert.h"
#include "binding/module.h"
#include "binding/types.h"
#include "util/tcl_integer.h"

namespace zk::binding {
namespace {

struct LibCommand;
// Called with exactly the command's number of arguments, objv[1] the first.
using LibProc = int (*)(const LibCommand& c, Tcl_Interp* interp, Tcl_Obj* const objv[]);

struct LibCommand {
    const char* name;
    const char* args;  // usage after the name: the argument names, each followed by a blank
    int argc;
    LibProc proc;
};

// The name of argument `position` (from 1) in the usage text.
std::string argName(const LibCommand& c, int position) {
    std::istringstream names(c.args);
    std::string name;
    while (position-- > 0) names >> name;
    return name;
}

int argError(const LibCommand& c, Tcl_Interp* interp, const ConvertError& e, int position) {
    return bindingError(interp, e.text + " argument " + std::to_string(position), {"VALUE", argName(c, position)});
}

bool getSize(const LibCommand& c, Tcl_Interp* interp, Tcl_Obj* o, int position, size_t& out) {
    Tcl_WideInt w;
    if (zk::readInteger(o, 0, std::numeric_limits<Tcl_WideInt>::max(), w) != zk::IntegerRead::Ok) {
        argError(c, interp,
                 ConvertError{std::string("expected non-negative integer but got \"") + Tcl_GetString(o) + "\""},
                 position);
        return false;
    }
    out = size_t(w);
    return true;
}

// A block handle: "NULL" or a handle of a block from the malloc family.
bool getBlock(Tcl_Interp* interp, Tcl_Obj* o, void*& out) {
    std::string_view t = Tcl_GetString(o);
    out = nullptr;
    if (t == "NULL") return true;
    uintptr_t address;
    std::string_view mangled;
    if (parseHandleText(t, address, mangled) && mangled == voidType()->mangled &&
        isTrackedBlock(reinterpret_cast<void*>(address))) {
        out = reinterpret_cast<void*>(address);
        return true;
    }
    bindingError(interp, "Type error. Expected a block from malloc, calloc or realloc", {"TYPE"});
    return false;
}

Tcl_Obj* blockObj(void* p) {
    if (!p) return Tcl_NewStringObj("NULL", 4);
    trackBlock(p);
    return Tcl_NewStringObj(encodeHandle(p, *voidType()).c_str(), -1);
}

int atofProc(const LibCommand&, Tcl_Interp* interp, Tcl_Obj* const objv[]) {
    Tcl_SetObjResult(interp, Tcl_NewDoubleObj(std::atof(Tcl_GetString(objv[1]))));
    return TCL_OK;
}
int atoiProc(const LibCommand&, Tcl_Interp* interp, Tcl_Obj* const objv[]) {
    Tcl_SetObjResult(interp, Tcl_NewIntObj(int(std::strtol(Tcl_GetString(objv[1]), nullptr, 10))));
    return TCL_OK;
}
int atolProc(const LibCommand&, Tcl_Interp* interp, Tcl_Obj* const objv[]) {
    Tcl_SetObjResult(interp, Tcl_NewWideIntObj(std::strtol(Tcl_GetString(objv[1]), nullptr, 10)));
    return TCL_OK;
}
int randProc(const LibCommand&, Tcl_Interp* interp, Tcl_Obj* const[]) {
    Tcl_SetObjResult(interp, Tcl_NewIntObj(std::rand()));
    return TCL_OK;
}
int srandProc(const LibCommand& c, Tcl_Interp* interp, Tcl_Obj* const objv[]) {
    unsigned seed;
    ConvertError e;
    if (!toUnsigned(objv[1], seed, e)) return argError(c, interp, e, 1);
    std::srand(seed);
    Tcl_ResetResult(interp);
    return TCL_OK;
}
int callocProc(const LibCommand& c, Tcl_Interp* interp, Tcl_Obj* const objv[]) {
    size_t n, size;
    if (!getSize(c, interp, objv[1], 1, n) || !getSize(c, interp, objv[2], 2, size)) return TCL_ERROR;
    Tcl_SetObjResult(interp, blockObj(std::calloc(n, size)));
    return TCL_OK;
}
int mallocProc(const LibCommand& c, Tcl_Interp* interp, Tcl_Obj* const objv[]) {
    size_t size;
    if (!getSize(c, interp, objv[1], 1, size)) return TCL_ERROR;
    Tcl_SetObjResult(interp, blockObj(std::malloc(size)));
    return TCL_OK;
}
int reallocProc(const LibCommand& c, Tcl_Interp* interp, Tcl_Obj* const objv[]) {
    void* p;
    size_t size;
    if (!getBlock(interp, objv[1], p) || !getSize(c, interp, objv[2], 2, size)) return TCL_ERROR;
    untrackBlock(p);
    void* q = std::realloc(p, size);
    if (!q && size != 0) trackBlock(p);  // a failed realloc leaves the old block in place
    Tcl_SetObjResult(interp, blockObj(q));
    return TCL_OK;
}
int freeProc(const LibCommand&, Tcl_Interp* interp, Tcl_Obj* const objv[]) {
    void* p;
    if (!getBlock(interp, objv[1], p)) return TCL_ERROR;
    untrackBlock(p);
    std::free(p);
    Tcl_ResetResult(interp);
    return TCL_OK;
}
int abortProc(const LibCommand&, Tcl_Interp*, Tcl_Obj* const[]) { std::abort(); }
int systemProc(const LibCommand&, Tcl_Interp* interp, Tcl_Obj* const objv[]) {
    Tcl_SetObjResult(interp, Tcl_NewIntObj(std::system(Tcl_GetString(objv[1]))));
    return TCL_OK;
}
int getenvProc(const LibCommand&, Tcl_Interp* interp, Tcl_Obj* const objv[]) {
    const char* v = std::getenv(Tcl_GetString(objv[1]));
    Tcl_SetObjResult(interp, Tcl_NewStringObj(v ? v : "", -1));
    return TCL_OK;
}
int absProc(const LibCommand& c, Tcl_Interp* interp, Tcl_Obj* const objv[]) {
    int v;
    ConvertError e;
    if (!toInt(objv[1], v, e)) return argError(c, interp, e, 1);
    Tcl_SetObjResult(interp, Tcl_NewIntObj(v == INT_MIN ? v : std::abs(v)));  // abs(INT_MIN) is undefined in C
    return TCL_OK;
}
int labsProc(const LibCommand& c, Tcl_Interp* interp, Tcl_Obj* const objv[]) {
    long v;
    ConvertError e;
    if (!toLong(objv[1], v, e)) return argError(c, interp, e, 1);
    Tcl_SetObjResult(interp, Tcl_NewWideIntObj(v == LONG_MIN ? v : std::labs(v)));
    return TCL_OK;
}

const LibCommand kCommands[] = {
    {"atof", "str ", 1, atofProc},          {"atoi", "str ", 1, atoiProc},
    {"atol", "str ", 1, atolProc},          {"rand", "", 0, randProc},
    {"srand", "seed ", 1, srandProc},       {"calloc", "nmemb size ", 2, callocProc},
    {"malloc", "size ", 1, mallocProc},     {"realloc", "ptr size ", 2, reallocProc},
    {"free", "ptr ", 1, freeProc},          {"abort", "", 0, abortProc},
    {"system", "command ", 1, systemProc},  {"getenv", "name ", 1, getenvProc},
    {"abs", "j ", 1, absProc},              {"labs", "j ", 1, labsProc},
};

// The one procedure of every library command: the count of arguments, then the command's own.
int libraryCommand(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    const LibCommand& c = *static_cast<const LibCommand*>(cd);
    if (objc != c.argc + 1)
        return bindingError(interp, std::string("Wrong # args. ") + c.name + " " + c.args, {"ARGS"});
    return c.proc(c, interp, objv);
}

}  // namespace

void createLibraryCommands(Tcl_Interp* interp) {
    for (const LibCommand& c : kCommands)
        Tcl_CreateObjCommand(interp, c.name, guarded<libraryCommand, kErrorFamily>, const_cast<LibCommand*>(&c),
                             nullptr);
}

}  // namespace zk::binding
