// The C-library commands. free and realloc take only blocks that malloc,
// calloc or realloc handed out; every other value is a Tcl error.
#include <tcl.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "binding/convert.h"
#include "binding/module.h"
#include "binding/types.h"

namespace zk::binding {
namespace {

struct LibCommand {
    const char* name;
    const char* args;  // usage after the name
    int argc;
    Tcl_ObjCmdProc* proc;
};

int usage(Tcl_Interp* interp, const LibCommand& c) {
    std::string s = std::string("Wrong # args. ") + c.name + " " + c.args;
    Tcl_SetObjResult(interp, Tcl_NewStringObj(s.c_str(), -1));
    return TCL_ERROR;
}

int argError(Tcl_Interp* interp, const ConvertError& e, int position) {
    std::string s = e.text + " argument " + std::to_string(position);
    Tcl_SetObjResult(interp, Tcl_NewStringObj(s.c_str(), -1));
    return TCL_ERROR;
}

bool getSize(Tcl_Interp* interp, Tcl_Obj* o, int position, size_t& out) {
    Tcl_WideInt w;
    if (Tcl_GetWideIntFromObj(nullptr, o, &w) != TCL_OK || w < 0) {
        argError(interp, ConvertError{std::string("expected non-negative integer but got \"") + Tcl_GetString(o) + "\""},
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
    Tcl_SetObjResult(interp, Tcl_NewStringObj("Type error. Expected a block from malloc, calloc or realloc", -1));
    return false;
}

Tcl_Obj* blockObj(void* p) {
    if (!p) return Tcl_NewStringObj("NULL", 4);
    trackBlock(p);
    return Tcl_NewStringObj(encodeHandle(p, *voidType()).c_str(), -1);
}


const LibCommand& cmd(ClientData cd) { return *static_cast<const LibCommand*>(cd); }

int atofProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc != 2) return usage(interp, cmd(cd));
    Tcl_SetObjResult(interp, Tcl_NewDoubleObj(std::atof(Tcl_GetString(objv[1]))));
    return TCL_OK;
}
int atoiProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc != 2) return usage(interp, cmd(cd));
    Tcl_SetObjResult(interp, Tcl_NewIntObj(int(std::strtol(Tcl_GetString(objv[1]), nullptr, 10))));
    return TCL_OK;
}
int atolProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc != 2) return usage(interp, cmd(cd));
    Tcl_SetObjResult(interp, Tcl_NewWideIntObj(std::strtol(Tcl_GetString(objv[1]), nullptr, 10)));
    return TCL_OK;
}
int randProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const[]) {
    if (objc != 1) return usage(interp, cmd(cd));
    Tcl_SetObjResult(interp, Tcl_NewIntObj(std::rand()));
    return TCL_OK;
}
int srandProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc != 2) return usage(interp, cmd(cd));
    unsigned seed;
    ConvertError e;
    if (!toUnsigned(objv[1], seed, e)) return argError(interp, e, 1);
    std::srand(seed);
    Tcl_ResetResult(interp);
    return TCL_OK;
}
int callocProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc != 3) return usage(interp, cmd(cd));
    size_t n, size;
    if (!getSize(interp, objv[1], 1, n) || !getSize(interp, objv[2], 2, size)) return TCL_ERROR;
    Tcl_SetObjResult(interp, blockObj(std::calloc(n, size)));
    return TCL_OK;
}
int mallocProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc != 2) return usage(interp, cmd(cd));
    size_t size;
    if (!getSize(interp, objv[1], 1, size)) return TCL_ERROR;
    Tcl_SetObjResult(interp, blockObj(std::malloc(size)));
    return TCL_OK;
}
int reallocProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc != 3) return usage(interp, cmd(cd));
    void* p;
    size_t size;
    if (!getBlock(interp, objv[1], p) || !getSize(interp, objv[2], 2, size)) return TCL_ERROR;
    untrackBlock(p);
    void* q = std::realloc(p, size);
    if (!q && size != 0) trackBlock(p);  // a failed realloc leaves the old block in place
    Tcl_SetObjResult(interp, blockObj(q));
    return TCL_OK;
}
int freeProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc != 2) return usage(interp, cmd(cd));
    void* p;
    if (!getBlock(interp, objv[1], p)) return TCL_ERROR;
    untrackBlock(p);
    std::free(p);
    Tcl_ResetResult(interp);
    return TCL_OK;
}
int abortProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const[]) {
    if (objc != 1) return usage(interp, cmd(cd));
    std::abort();
}
int systemProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc != 2) return usage(interp, cmd(cd));
    Tcl_SetObjResult(interp, Tcl_NewIntObj(std::system(Tcl_GetString(objv[1]))));
    return TCL_OK;
}
int getenvProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc != 2) return usage(interp, cmd(cd));
    const char* v = std::getenv(Tcl_GetString(objv[1]));
    Tcl_SetObjResult(interp, Tcl_NewStringObj(v ? v : "", -1));
    return TCL_OK;
}
int absProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc != 2) return usage(interp, cmd(cd));
    int v;
    ConvertError e;
    if (!toInt(objv[1], v, e)) return argError(interp, e, 1);
    Tcl_SetObjResult(interp, Tcl_NewIntObj(v == INT_MIN ? v : std::abs(v)));  // abs(INT_MIN) is undefined in C
    return TCL_OK;
}
int labsProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc != 2) return usage(interp, cmd(cd));
    long v;
    ConvertError e;
    if (!toLong(objv[1], v, e)) return argError(interp, e, 1);
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

}  // namespace

void createLibraryCommands(Tcl_Interp* interp) {
    for (const LibCommand& c : kCommands)
        Tcl_CreateObjCommand(interp, c.name, c.proc, const_cast<LibCommand*>(&c), nullptr);
}

}  // namespace zk::binding
