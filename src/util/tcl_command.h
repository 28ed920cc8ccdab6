// Pieces every Tcl command procedure of the module shares: an error with an
// error code a script can `trap`, and the guard that keeps C++ exceptions
// from crossing into the interpreter.
#pragma once

#include <tcl.h>

#include <exception>
#include <initializer_list>
#include <string>
#include <string_view>

namespace zk {

// Replaces the error code of the error in `interp` with the list
// {family words...}: the family names the package ("ZKCHASSIS"), the first
// word the kind of error.
inline void setErrorCode(Tcl_Interp* interp, std::string_view family, std::initializer_list<std::string_view> words) {
    Tcl_Obj* code = Tcl_NewListObj(0, nullptr);
    Tcl_ListObjAppendElement(nullptr, code, Tcl_NewStringObj(family.data(), int(family.size())));
    for (std::string_view w : words) Tcl_ListObjAppendElement(nullptr, code, Tcl_NewStringObj(w.data(), int(w.size())));
    Tcl_SetObjErrorCode(interp, code);
}

// Sets `message` as the result and {family words...} as the error code;
// returns TCL_ERROR.
inline int tclError(Tcl_Interp* interp, std::string_view message, std::string_view family,
                    std::initializer_list<std::string_view> words) {
    Tcl_SetObjResult(interp, Tcl_NewStringObj(message.data(), int(message.size())));
    setErrorCode(interp, family, words);
    return TCL_ERROR;
}

// Runs the body of a command. Whatever it throws becomes the Tcl error
// "internal error: <what>" with the error code {<family> INTERNAL}.
template <class Body>
int guardCommand(Tcl_Interp* interp, const char* family, Body&& body) noexcept {
    std::string message;
    try {
        return body();
    } catch (const std::exception& e) {
        message = std::string("internal error: ") + e.what();
    } catch (...) {
        message = "internal error";
    }
    return tclError(interp, message, family, {"INTERNAL"});
}

// A command procedure that runs `Proc` under guardCommand, for registering
// with Tcl_CreateObjCommand.
template <Tcl_ObjCmdProc* Proc, const char* Family>
int guarded(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) noexcept {
    return guardCommand(interp, Family, [&] { return Proc(cd, interp, objc, objv); });
}

}  // namespace zk
