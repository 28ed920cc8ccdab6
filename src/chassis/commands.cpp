// The zkchassis commands: the host side of the emulated chassis.
#include "chassis/commands.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <map>
#include <string>

#include "chassis/lab.h"
#include "chassis/port_options.h"
#include "core/learn_input.h"
#include "hal/json.h"

namespace chassis {
namespace {

// The arguments after C D P: the words of the usage (counted when needed:
// kinds register themselves before Tcl can split a list).
int wordsOf(const std::string& usage) {
    int n = 0;
    const char** parts = nullptr;
    if (Tcl_SplitList(nullptr, usage.c_str(), &n, &parts) == TCL_OK) Tcl_Free(reinterpret_cast<char*>(parts));
    return n;
}

// "wrong # args: should be ..." from the first `words` words and `usage`.
int wrongArgs(Tcl_Interp* interp, int words, Tcl_Obj* const objv[], const char* usage) {
    Tcl_WrongNumArgs(interp, words, objv, usage);
    zk::setErrorCode(interp, kErrorFamily, {"ARGS"});
    return TCL_ERROR;
}

bool isWord(Tcl_Obj* o, const char* word) { return std::strcmp(Tcl_GetString(o), word) == 0; }

// A port triple from three words.
bool readPortId(Tcl_Interp* interp, Tcl_Obj* const objv[], PortId& id) {
    return readInt(interp, objv[0], "chassis", id.chassis) && readInt(interp, objv[1], "card", id.card) &&
           readInt(interp, objv[2], "port", id.port);
}

// The triple as a list, for error codes.
std::string idWords(const PortId& id) {
    return std::to_string(id.chassis) + " " + std::to_string(id.card) + " " + std::to_string(id.port);
}

Port* findPort(Tcl_Interp* interp, Tcl_Obj* const objv[]) {
    PortId id;
    if (!readPortId(interp, objv, id)) return nullptr;
    Port* p = Lab::instance().find(id);
    if (!p) chassisError(interp, "no port " + id.text() + " in the chassis", {"PORT", "MISSING", idWords(id)});
    return p;
}

// zkchassis::port subcommands; each gets the words after its name.
int portAdd(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    PortId id;
    if (!readPortId(interp, objv, id)) return TCL_ERROR;
    Lab& lab = Lab::instance();
    if (lab.find(id))
        return chassisError(interp, "port " + id.text() + " is already in the chassis",
                            {"PORT", "EXISTS", idWords(id)});
    Port trial(id);
    if (configurePort(interp, trial, objc - 3, objv + 3) != TCL_OK) return TCL_ERROR;
    Port& port = lab.add(id);
    copyPortOptions(port, trial);
    return applyBinding(interp, port);
}

int portConfigure(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    Port* p = findPort(interp, objv);
    if (!p) return TCL_ERROR;
    if (objc == 3) {
        Tcl_SetObjResult(interp, portOptionList(*p));
        return TCL_OK;
    }
    if (configurePort(interp, *p, objc - 3, objv + 3) != TCL_OK) return TCL_ERROR;
    return applyBinding(interp, *p);
}

int portCget(Tcl_Interp* interp, int, Tcl_Obj* const objv[]) {
    Port* p = findPort(interp, objv);
    if (!p) return TCL_ERROR;
    const PortOption* o = findPortOption(interp, objv[3]);
    if (!o) return TCL_ERROR;
    Tcl_SetObjResult(interp, o->get(*p));
    return TCL_OK;
}

int portRemove(Tcl_Interp* interp, int, Tcl_Obj* const objv[]) {
    Port* p = findPort(interp, objv);
    if (!p) return TCL_ERROR;
    Lab::instance().remove(p->id);
    return TCL_OK;
}

int portList(Tcl_Interp* interp, int, Tcl_Obj* const[]) {
    Tcl_Obj* l = Tcl_NewListObj(0, nullptr);
    for (const PortId& id : Lab::instance().list()) {
        Tcl_Obj* t[3] = {Tcl_NewIntObj(id.chassis), Tcl_NewIntObj(id.card), Tcl_NewIntObj(id.port)};
        Tcl_ListObjAppendElement(nullptr, l, Tcl_NewListObj(3, t));
    }
    Tcl_SetObjResult(interp, l);
    return TCL_OK;
}

struct PortSubcommand {
    const char* name;  // first, for Tcl_GetIndexFromObjStruct
    const char* usage;
    int minWords, maxWords;  // after the name; -1: no limit
    int (*run)(Tcl_Interp*, int objc, Tcl_Obj* const objv[]);
};
const PortSubcommand kPortSubcommands[] = {
    {"add", "C D P ?-option value ...?", 3, -1, portAdd},
    {"configure", "C D P ?-option value ...?", 3, -1, portConfigure},
    {"cget", "C D P -option", 4, 4, portCget},
    {"remove", "C D P", 3, 3, portRemove},
    {"list", nullptr, 0, 0, portList},
    {nullptr, nullptr, 0, 0, nullptr},
};

int portCmd(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc < 2) {
        std::string names;
        for (const PortSubcommand* s = kPortSubcommands; s->name; ++s)
            names += (names.empty() ? "" : "|") + std::string(s->name);
        return wrongArgs(interp, 1, objv, (names + " ...").c_str());
    }
    int index;
    if (Tcl_GetIndexFromObjStruct(interp, objv[1], kPortSubcommands, sizeof(PortSubcommand), "subcommand", 0, &index) !=
        TCL_OK) {
        zk::setErrorCode(interp, kErrorFamily, {"UNKNOWN", "subcommand", Tcl_GetString(objv[1])});
        return TCL_ERROR;
    }
    const PortSubcommand& sub = kPortSubcommands[index];
    int words = objc - 2;
    if (words < sub.minWords || (sub.maxWords >= 0 && words > sub.maxWords))
        return wrongArgs(interp, 2, objv, sub.usage);
    Tcl_ResetResult(interp);
    return sub.run(interp, words, objv + 2);
}

int resetCmd(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    bool empty = objc == 2 && isWord(objv[1], "-empty");
    if (objc != 1 && !empty) return wrongArgs(interp, 1, objv, "?-empty?");
    Lab::instance().reset(empty);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

// zkchassis::written (client data not null) and zkchassis::staged, with
// -pretty indented by two blanks for a person to read.
int configText(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    bool written = cd != nullptr;
    bool pretty = objc == 6 && std::strcmp(Tcl_GetString(objv[1]), "-pretty") == 0;
    if (objc != 5 && !pretty) return wrongArgs(interp, 1, objv, "?-pretty? C D P protocol");
    Tcl_Obj* const* args = objv + (pretty ? 2 : 1);
    Port* p = findPort(interp, args);
    if (!p) return TCL_ERROR;
    std::string protocol = Tcl_GetString(args[3]);
    if (protocol != "services" && !protocolFromName(protocol)) return unknownProtocol(interp, protocol.c_str(), true);
    if (written && !pretty) {
        const std::string& text = p->written(protocol);
        Tcl_SetObjResult(interp, Tcl_NewStringObj(text.c_str(), int(text.size())));
        return TCL_OK;
    }
    std::string text = written ? p->written(protocol) : p->staged(protocol, pretty ? 2 : -1);
    if (written && !text.empty()) text = hal::Json::parse(text).dump(2);
    Tcl_SetObjResult(interp, Tcl_NewStringObj(text.c_str(), int(text.size())));
    return TCL_OK;
}

// Why `dir` cannot take captures ("" when it can): it must be a directory
// in which a file can be made.
std::string unusableDirectory(Tcl_Obj* dir) {
    Tcl_StatBuf* st = Tcl_AllocStatBuf();
    bool exists = Tcl_FSStat(dir, st) == 0;
    bool isDir = exists && S_ISDIR(Tcl_GetModeFromStat(st));
    Tcl_Free(reinterpret_cast<char*>(st));
    if (!exists) return "does not exist";
    if (!isDir) return "is not a directory";
    std::string probe = std::string(Tcl_GetString(dir)) + "/.zkcapture-XXXXXX";
    int fd = mkstemp(probe.data());
    if (fd < 0) return "cannot be written";
    close(fd);
    unlink(probe.c_str());
    return "";
}

// The directory is kept as an absolute path, so a later `cd` does not move it.
int captureDirCmd(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    Lab& lab = Lab::instance();
    if (objc > 2) return wrongArgs(interp, 1, objv, "?dir?");
    if (objc == 2 && Tcl_GetCharLength(objv[1]) == 0) {
        // Tracing writes to the capture directory: without one no port traces.
        lab.captureDir.clear();
        for (const PortId& id : lab.list()) lab.find(id)->tracing = false;
    } else if (objc == 2) {
        std::string dir = Tcl_GetString(objv[1]);
        Tcl_Obj* path = Tcl_FSGetNormalizedPath(nullptr, objv[1]);
        std::string why = path ? unusableDirectory(path) : "does not exist";
        if (!why.empty()) return chassisError(interp, "capture directory \"" + dir + "\" " + why, {"VALUE", "dir"});
        lab.captureDir = Tcl_GetString(path);
    }
    Tcl_SetObjResult(interp, Tcl_NewStringObj(lab.captureDir.c_str(), -1));
    return TCL_OK;
}

int learnCmd(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc < 2) return wrongArgs(interp, 1, objv, "kind C D P ...");
    const char* kind = Tcl_GetString(objv[1]);
    const zk::learn::Kind* k = zk::learn::findKind(kind);
    if (!k) {
        std::string names;
        zk::learn::forEachKind([&](const std::string& name, const zk::learn::Kind&) {
            names += (names.empty() ? "" : ", ") + name;
        });
        return chassisError(interp, std::string("unknown kind \"") + kind + "\": must be " + names,
                            {"UNKNOWN", "kind", kind});
    }
    if (objc != 5 + wordsOf(k->usage)) return wrongArgs(interp, 2, objv, ("C D P " + k->usage).c_str());
    Port* p = findPort(interp, objv + 2);
    if (!p) return TCL_ERROR;
    zk::learn::Filed filed;
    if (k->handler(interp, objv + 5, filed) == TCL_OK) {
        Lab::instance().replies().learn(p->id.key(), kind, filed.key, std::move(filed.data));
        return TCL_OK;
    }
    zk::setErrorCode(interp, kErrorFamily, {"LEARN", kind});
    return TCL_ERROR;
}

int configureCmd(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    ReplyQueue& q = Lab::instance().replies();
    if (objc == 1) {
        Tcl_Obj* l = Tcl_NewListObj(0, nullptr);
        Tcl_ListObjAppendElement(nullptr, l, Tcl_NewStringObj("-replyDelay", -1));
        Tcl_ListObjAppendElement(nullptr, l, Tcl_NewIntObj(q.replyDelayMs));
        Tcl_SetObjResult(interp, l);
        return TCL_OK;
    }
    if (objc > 3) return wrongArgs(interp, 1, objv, "?-replyDelay ms?");
    if (!isWord(objv[1], "-replyDelay"))
        return chassisError(interp, std::string("bad option \"") + Tcl_GetString(objv[1]) + "\": must be -replyDelay",
                            {"UNKNOWN", "option", Tcl_GetString(objv[1])});
    if (objc == 2) {
        Tcl_SetObjResult(interp, Tcl_NewIntObj(q.replyDelayMs));
        return TCL_OK;
    }
    int ms;
    if (!readInt(interp, objv[2], "-replyDelay", ms)) return TCL_ERROR;
    if (ms < 0) return chassisError(interp, "-replyDelay must be 0 or more milliseconds", {"VALUE", "-replyDelay"});
    q.replyDelayMs = ms;
    Tcl_ResetResult(interp);
    return TCL_OK;
}

int logCmd(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    Lab& lab = Lab::instance();
    bool clear = objc == 2 && isWord(objv[1], "-clear");
    if (objc != 1 && !clear) return wrongArgs(interp, 1, objv, "?-clear?");
    Tcl_Obj* l = Tcl_NewListObj(0, nullptr);
    for (const auto& line : lab.logLines()) Tcl_ListObjAppendElement(nullptr, l, Tcl_NewStringObj(line.c_str(), -1));
    Tcl_SetObjResult(interp, l);
    if (clear) lab.clearLog();
    return TCL_OK;
}

// zkchassis::trace C D P ?on|off?: the port's trace switch. Tracing writes
// to the capture directory, so switching it on needs one.
int traceCmd(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    if (objc != 4 && objc != 5) return wrongArgs(interp, 1, objv, "C D P ?on|off?");
    Port* p = findPort(interp, objv + 1);
    if (!p) return TCL_ERROR;
    if (objc == 5) {
        int on;
        double number;
        bool word = Tcl_GetDoubleFromObj(nullptr, objv[4], &number) != TCL_OK;
        if (word ? Tcl_GetBooleanFromObj(nullptr, objv[4], &on) != TCL_OK : number != 0 && number != 1)
            return chassisError(interp, std::string("expected on or off but got \"") + Tcl_GetString(objv[4]) + "\"",
                                {"VALUE", "trace"});
        if (on && Lab::instance().captureDir.empty())
            return chassisError(interp, "tracing needs a capture directory: set one with zkchassis::captureDir",
                                {"VALUE", "trace"});
        p->tracing = word ? on != 0 : number == 1;
    }
    Tcl_SetObjResult(interp, Tcl_NewStringObj(p->tracing ? "on" : "off", -1));
    return TCL_OK;
}

void timerFired(ClientData) { Lab::instance().replies().poll(); }

template <Tcl_ObjCmdProc* Proc>
constexpr Tcl_ObjCmdProc* guardedProc = zk::guarded<Proc, kErrorFamily>;

const struct {
    const char* name;
    Tcl_ObjCmdProc* proc;
    ClientData data;
} kCommands[] = {
    {"zkchassis::reset", guardedProc<resetCmd>, nullptr},
    {"zkchassis::port", guardedProc<portCmd>, nullptr},
    {"zkchassis::written", guardedProc<configText>, reinterpret_cast<ClientData>(1)},
    {"zkchassis::staged", guardedProc<configText>, nullptr},
    {"zkchassis::captureDir", guardedProc<captureDirCmd>, nullptr},
    {"zkchassis::learn", guardedProc<learnCmd>, nullptr},
    {"zkchassis::configure", guardedProc<configureCmd>, nullptr},
    {"zkchassis::log", guardedProc<logCmd>, nullptr},
    {"zkchassis::trace", guardedProc<traceCmd>, nullptr},
};

}  // namespace

void installEventLoop() {
    Lab::instance().replies().armTimer = [](int64_t ms) { Tcl_CreateTimerHandler(int(ms), timerFired, nullptr); };
}

void createCommands(Tcl_Interp* interp) {
    for (const auto& c : kCommands) Tcl_CreateObjCommand(interp, c.name, c.proc, c.data, nullptr);
}

}  // namespace chassis
