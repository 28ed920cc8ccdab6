// The options of a port as `zkchassis::port add`, `configure` and `cget` see
// them. One row per option serves parsing, reading, copying a port's options
// and the texts that list them; an option added here is everywhere at once.
#pragma once

#include <tcl.h>

#include <span>
#include <string>
#include <string_view>

#include "chassis/emulated_port.h"

namespace chassis {

using Port = EmulatedPort;

struct PortOption {
    const char* name;          // "-mtu"; first, for Tcl_GetIndexFromObjStruct
    const char* value;         // what it takes, as docs/chassis.md says it
    const char* defaultValue;  // likewise
    const char* doc;           // what it means, one line
    Tcl_Obj* (*get)(const Port&);
    int (*set)(const PortOption&, Tcl_Interp*, Port&, Tcl_Obj*);  // null: read-only
    void (*copy)(Port& to, const Port& from);                     // null: not carried (read-only state)
};

std::span<const PortOption> portOptions();

// The row of an option word (exact names only), or null with the error in
// `interp` (ZKCHASSIS UNKNOWN option <word>).
const PortOption* findPortOption(Tcl_Interp* interp, Tcl_Obj* word);

// Applies `-option value ...` to `port`: all of them, or none when one is
// refused (the error is then in `interp`).
int configurePort(Tcl_Interp* interp, Port& port, int objc, Tcl_Obj* const objv[]);

// Whether the interface the port names can be bound (a ZKCHASSIS BIND
// error in `interp` when not), and making the binding follow the options.
int checkBinding(Tcl_Interp* interp, const Port& port);
int applyBinding(Tcl_Interp* interp, Port& port);

// Every option with its value, as `configure` without options returns it.
Tcl_Obj* portOptionList(const Port& port);

// Copies the value of every option that has one to set.
void copyPortOptions(Port& to, const Port& from);

// The row of the option table of docs/chassis.md for `option`.
std::string portOptionDocRow(const PortOption& option);

// Readers the commands share; each leaves a ZKCHASSIS error in `interp` when
// it refuses. `what` names the value in the message, `code` in the error
// code (`what` when empty).
bool readInt(Tcl_Interp* interp, Tcl_Obj* o, std::string_view what, int& out, std::string_view code = {});
// "unknown protocol ...": the protocol names, after "services" when that is one of them too.
int unknownProtocol(Tcl_Interp* interp, const char* word, bool orServices);

}  // namespace chassis
