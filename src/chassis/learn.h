// Kinds of learned information the host can load into a port with
// `zkchassis::learn <kind> C D P ...`. Each protocol registers its own.
#pragma once

#include <tcl.h>

#include <functional>
#include <string>
#include <string_view>

#include "chassis/port.h"

namespace chassis {

// Reads the arguments after C D P, as many as the kind's usage has words
// (the command checks the count), and stores what the port learned.
// Returns TCL_OK or TCL_ERROR with a message in the interpreter result; the
// command then gives the error the code {ZKCHASSIS LEARN <kind>}.
using LearnHandler = std::function<int(Tcl_Interp* interp, Port& port, Tcl_Obj* const objv[])>;

// A kind: the protocol whose requests it answers (only while the protocol
// runs, unless the port always answers), whether those are statistics
// queries (answered only while the port counts them), its arguments after
// C D P as words of a usage, and how they are read.
struct LearnKind {
    Protocol protocol;
    bool statistics;
    std::string usage;
    LearnHandler handler;
};

void registerLearnKind(const char* kind, Protocol protocol, const char* usage, LearnHandler handler,
                       bool statistics = false);
const LearnKind* findLearnKind(std::string_view kind);  // null: none registered

// Lets the event loop deliver due replies (called by both package entries).
void installEventLoop();

}  // namespace chassis
