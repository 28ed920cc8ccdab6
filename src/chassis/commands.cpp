// The zkchassis commands: the host side of the emulated chassis.
#include <tcl.h>

#include <sys/stat.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "binding/module.h"
#include "chassis/lab.h"
#include "chassis/learn.h"

namespace chassis {
namespace {

struct LearnKind {
    const char* usage;
    LearnHandler handler;
};
std::map<std::string, LearnKind>& learnKinds() {
    static auto* k = new std::map<std::string, LearnKind>;
    return *k;
}

int fail(Tcl_Interp* interp, const std::string& msg) {
    Tcl_SetObjResult(interp, Tcl_NewStringObj(msg.c_str(), -1));
    return TCL_ERROR;
}

bool getInt(Tcl_Interp* interp, Tcl_Obj* o, const char* what, int& out) {
    if (Tcl_GetIntFromObj(nullptr, o, &out) == TCL_OK) return true;
    fail(interp, std::string("expected integer for ") + what + " but got \"" + Tcl_GetString(o) + "\"");
    return false;
}

// A switch is 0 or 1 (or a boolean word); other numbers are refused rather
// than read as "true".
bool getFlag(Tcl_Interp* interp, Tcl_Obj* o, const char* what, int& out) {
    int v;
    bool number = Tcl_GetIntFromObj(nullptr, o, &v) == TCL_OK;
    if (number ? v == 0 || v == 1 : Tcl_GetBooleanFromObj(nullptr, o, &v) == TCL_OK) {
        out = v;
        return true;
    }
    fail(interp, std::string("expected 0 or 1 for ") + what + " but got \"" + Tcl_GetString(o) + "\"");
    return false;
}

bool getList(Tcl_Interp* interp, Tcl_Obj* o, const char* what, int& n, Tcl_Obj**& items) {
    if (Tcl_ListObjGetElements(nullptr, o, &n, &items) == TCL_OK) return true;
    fail(interp, std::string("expected a list for ") + what + " but got \"" + Tcl_GetString(o) + "\"");
    return false;
}

// Port triple from three words; the port must exist unless `mayBeNew`.
bool getPortId(Tcl_Interp* interp, Tcl_Obj* const objv[], PortId& id) {
    return getInt(interp, objv[0], "chassis", id.chassis) && getInt(interp, objv[1], "card", id.card) &&
           getInt(interp, objv[2], "port", id.port);
}

Port* getPort(Tcl_Interp* interp, Tcl_Obj* const objv[]) {
    PortId id;
    if (!getPortId(interp, objv, id)) return nullptr;
    Port* p = Lab::instance().find(id);
    if (!p) fail(interp, "no port " + id.text() + " in the chassis");
    return p;
}

const char* const kPortOptions[] = {"-name",  "-type",    "-available",  "-capabilities", "-licensed", "-ospfFeatures",
                                    "-refreshReduction", "-bgpFamilies", "-mtu", "-gridLimit", "-writeFails", "-interfaces", "-streams",
                                    nullptr};

const std::pair<const char*, int> kCapabilities[] = {
    {"arp", kCapabilityArp}, {"ping", kCapabilityPing}, {"routing", kCapabilityRouting}};

int badOption(Tcl_Interp* interp, const char* opt) {
    std::string s = std::string("bad option \"") + opt + "\": must be";
    for (int i = 0; kPortOptions[i]; ++i) s += std::string(i ? ", " : " ") + kPortOptions[i];
    return fail(interp, s);
}

int setPortOption(Tcl_Interp* interp, Port& p, const std::string& opt, Tcl_Obj* v) {
    int n;
    Tcl_Obj** items;
    if (opt == "-name") {
        p.name = Tcl_GetString(v);
    } else if (opt == "-type") {
        p.type = Tcl_GetString(v);
    } else if (opt == "-available") {
        if (!getFlag(interp, v, "-available", p.available)) return TCL_ERROR;
    } else if (opt == "-ospfFeatures") {
        if (!getFlag(interp, v, "-ospfFeatures", p.ospfFeatures)) return TCL_ERROR;
    } else if (opt == "-refreshReduction") {
        if (!getFlag(interp, v, "-refreshReduction", p.refreshReduction)) return TCL_ERROR;
    } else if (opt == "-bgpFamilies") {
        if (!getFlag(interp, v, "-bgpFamilies", p.bgpFamilies)) return TCL_ERROR;
    } else if (opt == "-writeFails") {
        if (!getFlag(interp, v, "-writeFails", p.writeFails)) return TCL_ERROR;
    } else if (opt == "-gridLimit") {
        int g;
        if (!getInt(interp, v, "-gridLimit", g)) return TCL_ERROR;
        if (g < 0) return fail(interp, "-gridLimit must be 0 (no limit) or more");
        p.gridLimit = g;
    } else if (opt == "-mtu") {
        int lo, hi;
        if (!getList(interp, v, "-mtu", n, items)) return TCL_ERROR;
        if (n != 2) return fail(interp, "-mtu takes {min max}");
        if (!getInt(interp, items[0], "-mtu min", lo) || !getInt(interp, items[1], "-mtu max", hi)) return TCL_ERROR;
        if (lo < 0 || hi < lo) return fail(interp, "-mtu needs 0 <= min <= max");
        p.mtuMin = lo;
        p.mtuMax = hi;
    } else if (opt == "-capabilities") {
        if (!getList(interp, v, "-capabilities", n, items)) return TCL_ERROR;
        std::set<int> caps;
        for (int i = 0; i < n; ++i) {
            const char* w = Tcl_GetString(items[i]);
            bool known = false;
            for (auto [name, code] : kCapabilities)
                if (std::strcmp(w, name) == 0) caps.insert(code), known = true;
            if (!known) return fail(interp, std::string("unknown capability \"") + w + "\": must be arp, ping or routing");
        }
        p.capabilities = caps;
    } else if (opt == "-licensed") {
        if (!getList(interp, v, "-licensed", n, items)) return TCL_ERROR;
        std::set<Protocol> lic;
        for (int i = 0; i < n; ++i) {
            auto proto = protocolFromName(Tcl_GetString(items[i]));
            if (!proto) {
                std::string s = std::string("unknown protocol \"") + Tcl_GetString(items[i]) + "\": must be";
                for (int k = 0; k < kProtocolCount; ++k) s += std::string(" ") + protocolName(Protocol(k));
                return fail(interp, s);
            }
            lic.insert(*proto);
        }
        p.licensed = lic;
    } else if (opt == "-interfaces") {
        if (!getList(interp, v, "-interfaces", n, items)) return TCL_ERROR;
        std::vector<ProtocolInterface> ifs;
        for (int i = 0; i < n; ++i) {
            int m;
            Tcl_Obj** pair;
            if (!getList(interp, items[i], "-interfaces", m, pair)) return TCL_ERROR;
            if (m != 2) return fail(interp, "-interfaces takes {{description localId} ...}");
            ProtocolInterface pi;
            pi.description = Tcl_GetString(pair[0]);
            if (!getInt(interp, pair[1], "an interface's localId", pi.localId)) return TCL_ERROR;
            ifs.push_back(pi);
        }
        p.interfaces = ifs;
    } else if (opt == "-streams") {
        return fail(interp, "-streams is read-only");
    } else {
        return badOption(interp, opt.c_str());
    }
    return TCL_OK;
}

Tcl_Obj* getPortOption(const Port& p, const std::string& opt) {
    auto list = [] { return Tcl_NewListObj(0, nullptr); };
    auto add = [](Tcl_Obj* l, Tcl_Obj* e) { Tcl_ListObjAppendElement(nullptr, l, e); };
    if (opt == "-name") return Tcl_NewStringObj(p.name.c_str(), -1);
    if (opt == "-type") return Tcl_NewStringObj(p.type.c_str(), -1);
    if (opt == "-available") return Tcl_NewIntObj(p.available);
    if (opt == "-ospfFeatures") return Tcl_NewIntObj(p.ospfFeatures);
    if (opt == "-refreshReduction") return Tcl_NewIntObj(p.refreshReduction);
    if (opt == "-bgpFamilies") return Tcl_NewIntObj(p.bgpFamilies);
    if (opt == "-writeFails") return Tcl_NewIntObj(p.writeFails);
    if (opt == "-gridLimit") return Tcl_NewIntObj(p.gridLimit);
    if (opt == "-mtu") {
        Tcl_Obj* l = list();
        add(l, Tcl_NewIntObj(p.mtuMin));
        add(l, Tcl_NewIntObj(p.mtuMax));
        return l;
    }
    if (opt == "-capabilities") {
        Tcl_Obj* l = list();
        for (auto [name, code] : kCapabilities)
            if (p.hasCapability(code)) add(l, Tcl_NewStringObj(name, -1));
        return l;
    }
    if (opt == "-licensed") {
        Tcl_Obj* l = list();
        for (int k = 0; k < kProtocolCount; ++k)
            if (p.isLicensed(Protocol(k))) add(l, Tcl_NewStringObj(protocolName(Protocol(k)), -1));
        return l;
    }
    if (opt == "-interfaces") {
        Tcl_Obj* l = list();
        for (const auto& i : p.interfaces) {
            Tcl_Obj* pair = list();
            add(pair, Tcl_NewStringObj(i.description.c_str(), -1));
            add(pair, Tcl_NewIntObj(i.localId));
            add(l, pair);
        }
        return l;
    }
    if (opt == "-streams") {
        Tcl_Obj* l = list();
        for (const auto& s : p.streams) {
            Tcl_Obj* e = list();
            add(e, Tcl_NewStringObj(s.protocol.c_str(), -1));
            add(e, Tcl_NewWideIntObj(Tcl_WideInt(s.component)));
            add(e, Tcl_NewIntObj(s.action));
            add(l, e);
        }
        return l;
    }
    return nullptr;
}

int configurePort(Tcl_Interp* interp, Port& p, int objc, Tcl_Obj* const objv[]) {
    if (objc % 2) return fail(interp, std::string("value for \"") + Tcl_GetString(objv[objc - 1]) + "\" missing");
    // Apply to a copy so that a bad value leaves the port as it was.
    Port trial(p.id);
    auto copyInto = [](Port& to, const Port& from) {
        to.name = from.name; to.type = from.type; to.available = from.available;
        to.capabilities = from.capabilities; to.licensed = from.licensed; to.ospfFeatures = from.ospfFeatures;
        to.refreshReduction = from.refreshReduction;
        to.bgpFamilies = from.bgpFamilies; to.mtuMin = from.mtuMin; to.mtuMax = from.mtuMax;
        to.gridLimit = from.gridLimit; to.writeFails = from.writeFails; to.interfaces = from.interfaces;
    };
    copyInto(trial, p);
    for (int i = 0; i < objc; i += 2)
        if (setPortOption(interp, trial, Tcl_GetString(objv[i]), objv[i + 1]) != TCL_OK) return TCL_ERROR;
    copyInto(p, trial);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

int portCmd(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    static const char* const subs[] = {"add", "configure", "cget", "remove", "list", nullptr};
    int sub;
    if (objc < 2) return fail(interp, "wrong # args: should be \"zkchassis::port add|configure|cget|remove|list ...\"");
    if (Tcl_GetIndexFromObj(interp, objv[1], subs, "subcommand", 0, &sub) != TCL_OK) return TCL_ERROR;
    Lab& lab = Lab::instance();
    if (sub == 4) {
        if (objc != 2) return fail(interp, "wrong # args: should be \"zkchassis::port list\"");
        Tcl_Obj* l = Tcl_NewListObj(0, nullptr);
        for (const PortId& id : lab.list()) {
            Tcl_Obj* t[3] = {Tcl_NewIntObj(id.chassis), Tcl_NewIntObj(id.card), Tcl_NewIntObj(id.port)};
            Tcl_ListObjAppendElement(nullptr, l, Tcl_NewListObj(3, t));
        }
        Tcl_SetObjResult(interp, l);
        return TCL_OK;
    }
    static const char* const usage[] = {"add C D P ?-option value ...?", "configure C D P ?-option value ...?",
                                        "cget C D P -option", "remove C D P"};
    if (objc < 5 || (sub == 2 && objc != 6) || (sub == 3 && objc != 5))
        return fail(interp, std::string("wrong # args: should be \"zkchassis::port ") + usage[sub] + "\"");
    if (sub == 0) {
        PortId id;
        if (!getPortId(interp, objv + 2, id)) return TCL_ERROR;
        if (lab.find(id)) return fail(interp, "port " + id.text() + " is already in the chassis");
        Port trial(id);
        for (int i = 5; i + 1 < objc; i += 2)
            if (setPortOption(interp, trial, Tcl_GetString(objv[i]), objv[i + 1]) != TCL_OK) return TCL_ERROR;
        if ((objc - 5) % 2) return fail(interp, std::string("value for \"") + Tcl_GetString(objv[objc - 1]) + "\" missing");
        Port& p = lab.add(id);
        return configurePort(interp, p, objc - 5, objv + 5);
    }
    Port* p = getPort(interp, objv + 2);
    if (!p) return TCL_ERROR;
    if (sub == 1) {
        if (objc == 5) {  // every option with its value
            Tcl_Obj* l = Tcl_NewListObj(0, nullptr);
            for (int i = 0; kPortOptions[i]; ++i) {
                Tcl_ListObjAppendElement(nullptr, l, Tcl_NewStringObj(kPortOptions[i], -1));
                Tcl_ListObjAppendElement(nullptr, l, getPortOption(*p, kPortOptions[i]));
            }
            Tcl_SetObjResult(interp, l);
            return TCL_OK;
        }
        return configurePort(interp, *p, objc - 5, objv + 5);
    }
    if (sub == 2) {
        Tcl_Obj* v = getPortOption(*p, Tcl_GetString(objv[5]));
        if (!v) return badOption(interp, Tcl_GetString(objv[5]));
        Tcl_SetObjResult(interp, v);
        return TCL_OK;
    }
    lab.remove(p->id);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

int resetCmd(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    bool empty = false;
    if (objc == 2 && std::strcmp(Tcl_GetString(objv[1]), "-empty") == 0) empty = true;
    else if (objc != 1) return fail(interp, "wrong # args: should be \"zkchassis::reset ?-empty?\"");
    Lab::instance().reset(empty);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

int configText(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    bool written = cd != nullptr;
    const char* name = written ? "written" : "staged";
    if (objc != 5) return fail(interp, std::string("wrong # args: should be \"zkchassis::") + name + " C D P protocol\"");
    Port* p = getPort(interp, objv + 1);
    if (!p) return TCL_ERROR;
    std::string proto = Tcl_GetString(objv[4]);
    if (proto != "services" && !protocolFromName(proto)) {
        std::string s = "unknown protocol \"" + proto + "\": must be services";
        for (int k = 0; k < kProtocolCount; ++k) s += std::string(" ") + protocolName(Protocol(k));
        return fail(interp, s);
    }
    std::string text = written ? p->written(proto) : p->staged(proto);
    Tcl_SetObjResult(interp, Tcl_NewStringObj(text.c_str(), int(text.size())));
    return TCL_OK;
}

int captureDirCmd(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    Lab& lab = Lab::instance();
    if (objc > 2) return fail(interp, "wrong # args: should be \"zkchassis::captureDir ?dir?\"");
    if (objc == 2) {
        std::string dir = Tcl_GetString(objv[1]);
        if (!dir.empty()) {
            Tcl_Obj* path = Tcl_NewStringObj(dir.c_str(), -1);
            Tcl_IncrRefCount(path);
            Tcl_StatBuf* st = Tcl_AllocStatBuf();
            bool isDir = Tcl_FSStat(path, st) == 0 && S_ISDIR(Tcl_GetModeFromStat(st));
            Tcl_Free(reinterpret_cast<char*>(st));
            Tcl_DecrRefCount(path);
            if (!isDir) return fail(interp, "capture directory \"" + dir + "\" does not exist");
        }
        lab.captureDir = dir;
    }
    Tcl_SetObjResult(interp, Tcl_NewStringObj(lab.captureDir.c_str(), -1));
    return TCL_OK;
}

int learnCmd(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    auto& kinds = learnKinds();
    auto listKinds = [&] {
        std::string s;
        for (const auto& [k, v] : kinds) s += (s.empty() ? "" : ", ") + k;
        return s;
    };
    if (objc < 2) return fail(interp, "wrong # args: should be \"zkchassis::learn kind C D P ...\"");
    auto it = kinds.find(Tcl_GetString(objv[1]));
    if (it == kinds.end())
        return fail(interp, std::string("unknown kind \"") + Tcl_GetString(objv[1]) + "\": must be " + listKinds());
    if (objc < 5)
        return fail(interp, "wrong # args: should be \"zkchassis::learn " + it->first + " C D P " + it->second.usage + "\"");
    Port* p = getPort(interp, objv + 2);
    if (!p) return TCL_ERROR;
    return it->second.handler(interp, *p, objc - 5, objv + 5);
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
    if (objc == 2 && std::strcmp(Tcl_GetString(objv[1]), "-replyDelay") == 0) {
        Tcl_SetObjResult(interp, Tcl_NewIntObj(q.replyDelayMs));
        return TCL_OK;
    }
    if (objc != 3 || std::strcmp(Tcl_GetString(objv[1]), "-replyDelay") != 0)
        return fail(interp, "wrong # args: should be \"zkchassis::configure ?-replyDelay ms?\"");
    int ms;
    if (!getInt(interp, objv[2], "-replyDelay", ms)) return TCL_ERROR;
    if (ms < 0) return fail(interp, "-replyDelay must be 0 or more milliseconds");
    q.replyDelayMs = ms;
    Tcl_ResetResult(interp);
    return TCL_OK;
}

int logCmd(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    Lab& lab = Lab::instance();
    bool clear = objc == 2 && std::strcmp(Tcl_GetString(objv[1]), "-clear") == 0;
    if (objc > 2 || (objc == 2 && !clear)) return fail(interp, "wrong # args: should be \"zkchassis::log ?-clear?\"");
    Tcl_Obj* l = Tcl_NewListObj(0, nullptr);
    for (const auto& line : lab.logLines()) Tcl_ListObjAppendElement(nullptr, l, Tcl_NewStringObj(line.c_str(), -1));
    Tcl_SetObjResult(interp, l);
    if (clear) lab.clearLog();
    return TCL_OK;
}

void timerFired(ClientData) { Lab::instance().replies().poll(); }

}  // namespace

void registerLearnKind(const char* kind, const char* usage, LearnHandler handler) {
    learnKinds()[kind] = LearnKind{usage, handler};
}

void installEventLoop() {
    Lab::instance().replies().armTimer = [](int64_t ms) {
        Tcl_CreateTimerHandler(int(ms), timerFired, nullptr);
    };
}

}  // namespace chassis

extern "C" int Zkchassis_Init(Tcl_Interp* interp) {
    using namespace chassis;
    if (!interp) return TCL_ERROR;
    if (!Tcl_InitStubs(interp, "8.1", 0)) return TCL_ERROR;
    Tcl_PkgProvide(interp, "zkchassis", "1.0");
    Tcl_StaticPackage(nullptr, "Zktclprotocol", Zktclprotocol_Init, nullptr);
    installEventLoop();
    Tcl_Eval(interp, "namespace eval ::zkchassis {}");
    Tcl_CreateObjCommand(interp, "zkchassis::reset", resetCmd, nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "zkchassis::port", portCmd, nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "zkchassis::written", configText, reinterpret_cast<ClientData>(1), nullptr);
    Tcl_CreateObjCommand(interp, "zkchassis::staged", configText, nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "zkchassis::captureDir", captureDirCmd, nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "zkchassis::learn", learnCmd, nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "zkchassis::configure", configureCmd, nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "zkchassis::log", logCmd, nullptr, nullptr);
    return TCL_OK;
}
