// The generated commands: one command procedure per kind of command, each
// driven by the record of its class, method or option.
#include <algorithm>
#include <string>
#include <unordered_set>

#include "binding/instance.h"

namespace zk::binding {
namespace {

struct Registration {
    std::string_view file;  // a source_location's file name: static storage
    unsigned line;
    const char* name;
    void (*build)(ClassRecord&);
    const TypeInfo** slot;
};
std::vector<Registration>& registrations() {
    static auto* r = new std::vector<Registration>;
    return *r;
}

int wrongArgs(Tcl_Interp* interp, const std::string& usage) {
    return bindingError(interp, "Wrong # args. " + usage, {"ARGS"});
}
int noWord(Tcl_Interp* interp) { return bindingError(interp, "wrong # args.", {"ARGS"}); }
int noConstructor(Tcl_Interp* interp, const ClassRecord& cls) {
    return bindingError(interp, "No constructor available.", {"NOCONSTRUCTOR", cls.name});
}

// Every command procedure of the binding is registered through this, so no
// C++ exception crosses into the interpreter.
template <Tcl_ObjCmdProc* Proc>
constexpr Tcl_ObjCmdProc* guardedProc = zk::guarded<Proc, kErrorFamily>;

bool decodeSelf(Tcl_Interp* interp, Tcl_Obj* obj, const ClassRecord& cls, Object*& self) {
    Decode d = decodeObject(interp, obj, cls.type, false, self);
    if (d == Decode::Ok) return true;
    setDecodeError(interp, d, cls.type);
    return false;
}

int newProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    auto& cls = *static_cast<const ClassRecord*>(cd);
    if (!cls.construct) return noConstructor(interp, cls);
    int n = objc - 1;
    if (n < cls.ctorRequired || n > int(cls.ctorArgs.size())) return wrongArgs(interp, cls.newUsage());
    Object* obj = cls.construct(cls, interp, n, objv + 1);
    if (!obj) return TCL_ERROR;
    registerObject(obj, cls.type);
    Tcl_SetObjResult(interp, newHandleObj(obj, *cls.type));
    return TCL_OK;
}

int deleteProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    auto& cls = *static_cast<const ClassRecord*>(cd);
    if (objc != 2) return wrongArgs(interp, cls.deleteUsage());
    Object* self;
    if (!decodeSelf(interp, objv[1], cls, self)) return TCL_ERROR;
    destroyObject(self);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

int callMethod(const MethodRecord& m, Tcl_Interp* interp, Object* self, int objc, Tcl_Obj* const objv[]) {
    if (objc < m.required || objc > int(m.args.size())) return wrongArgs(interp, m.usage());
    return m.call(m, interp, self, objc, objv);
}

int methodProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    auto& m = *static_cast<const MethodRecord*>(cd);
    if (objc < 2) return wrongArgs(interp, m.usage());
    Object* self;
    if (!decodeSelf(interp, objv[1], *m.cls, self)) return TCL_ERROR;
    return callMethod(m, interp, self, objc - 2, objv + 2);
}

int getProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    auto& a = *static_cast<const AttrRecord*>(cd);
    if (objc != 2) return wrongArgs(interp, a.getUsage());
    Object* self;
    if (!decodeSelf(interp, objv[1], *a.cls, self)) return TCL_ERROR;
    a.result(a, interp, self);
    return TCL_OK;
}

int setAttr(const AttrRecord& a, Tcl_Interp* interp, Object* self, Tcl_Obj* value) {
    ConvertError e;
    if (a.set(a, interp, self, value, e)) return TCL_OK;
    setArgError(interp, e, 0, a.name.c_str());
    return TCL_ERROR;
}

int setProc(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    auto& a = *static_cast<const AttrRecord*>(cd);
    if (objc != 3) return wrongArgs(interp, a.setUsage());
    Object* self;
    if (!decodeSelf(interp, objv[1], *a.cls, self)) return TCL_ERROR;
    if (setAttr(a, interp, self, objv[2]) != TCL_OK) return TCL_ERROR;
    Tcl_ResetResult(interp);
    return TCL_OK;
}

// Words listed in the unknown-method and unknown-option messages.
void appendMethods(const ClassRecord* cls, std::string& s) {
    for (; cls; cls = cls->base)
        for (const auto& m : cls->methods) s += m->name + " ";
}
void appendOptions(const ClassRecord* cls, std::string& s, bool settableOnly) {
    for (; cls; cls = cls->base)
        for (const auto& a : cls->attributes)
            if (!settableOnly || a->set) s += "-" + a->name + " ";
}

int unknownMethod(Tcl_Interp* interp, const ClassRecord& cls, Tcl_Obj* word) {
    std::string s = "Invalid Method for " + cls.name + ". Must be : { cget configure -acquire -disown -delete methods : ";
    appendMethods(&cls, s);
    s += "}";
    return bindingError(interp, s, {"UNKNOWN", "method", Tcl_GetString(word)});
}

int unknownOption(Tcl_Interp* interp, const ClassRecord& cls, const char* what, bool settableOnly, Tcl_Obj* word) {
    std::string s = std::string("Invalid ") + what + " option for " + cls.name + ". Must be :{ ";
    if (!settableOnly) s += "-this -thisown ";
    appendOptions(&cls, s, settableOnly);
    s += "}";
    return bindingError(interp, s, {"UNKNOWN", "option", Tcl_GetString(word)});
}

// Option and method words are literals in a script's bytecode. The record a
// word named for a class is kept in the word itself, so a loop pays the name
// lookup once; the class is kept alongside, so a word used with another
// class looks up again. Options and methods have their own word types.
const Tcl_ObjType optionWordType = {"zkOptionWord", nullptr, [](Tcl_Obj* src, Tcl_Obj* dup) {
                                        dup->internalRep = src->internalRep;
                                        dup->typePtr = src->typePtr;
                                    }, nullptr, nullptr};
const Tcl_ObjType methodWordType = {"zkMethodWord", nullptr, [](Tcl_Obj* src, Tcl_Obj* dup) {
                                        dup->internalRep = src->internalRep;
                                        dup->typePtr = src->typePtr;
                                    }, nullptr, nullptr};

template <class Rec>
const Rec* cachedWord(Tcl_Obj* word, const Tcl_ObjType& type, const ClassRecord& cls, const Rec* found) {
    if (!found) return nullptr;
    if (word->typePtr && word->typePtr->freeIntRepProc) word->typePtr->freeIntRepProc(word);
    word->internalRep.twoPtrValue.ptr1 = const_cast<ClassRecord*>(&cls);
    word->internalRep.twoPtrValue.ptr2 = const_cast<Rec*>(found);
    word->typePtr = &type;
    return found;
}

// The option named by a "-name" word, or null.
const AttrRecord* optionOf(Tcl_Obj* word, const ClassRecord& cls) {
    if (word->typePtr == &optionWordType && word->internalRep.twoPtrValue.ptr1 == &cls)
        return static_cast<const AttrRecord*>(word->internalRep.twoPtrValue.ptr2);
    std::string_view opt = Tcl_GetString(word);
    if (opt.size() < 2 || opt[0] != '-') return nullptr;
    return cachedWord(word, optionWordType, cls, cls.findAttr(opt.substr(1)));
}

const MethodRecord* methodOf(Tcl_Obj* word, const ClassRecord& cls) {
    if (word->typePtr == &methodWordType && word->internalRep.twoPtrValue.ptr1 == &cls)
        return static_cast<const MethodRecord*>(word->internalRep.twoPtrValue.ptr2);
    return cachedWord(word, methodWordType, cls, cls.findMethod(Tcl_GetString(word)));
}

// The records of instance commands that Tcl has not deleted yet. A record
// whose command Tcl threw away (see commandOf) stays here for good: it cannot
// be told from the record of a hidden command, which still uses it.
std::unordered_set<InstanceRecord*>& records() {
    static auto* r = new std::unordered_set<InstanceRecord*>;
    return *r;
}

void instanceDeleted(ClientData cd) {
    auto* inst = static_cast<InstanceRecord*>(cd);
    records().erase(inst);
    if (inst->object) {
        Object* obj = inst->object;
        inst->object = nullptr;
        detachInstance(obj);
        if (inst->owned) destroyObject(obj);
    }
    delete inst;
}

int instanceDispatch(InstanceRecord* inst, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    const ClassRecord& cls = *inst->cls;
    if (objc < 2) return noWord(interp);
    Object* self = inst->object;
    std::string_view word = Tcl_GetString(objv[1]);
    if (word == "-acquire") {
        inst->owned = true;
        Tcl_ResetResult(interp);
        return TCL_OK;
    }
    if (word == "-disown") {
        inst->owned = false;
        Tcl_ResetResult(interp);
        return TCL_OK;
    }
    if (word == "-delete") {
        Tcl_DeleteCommandFromToken(interp, inst->token);
        Tcl_ResetResult(interp);
        return TCL_OK;
    }
    if (word == "cget") {
        if (objc != 3) return noWord(interp);
        std::string_view opt = Tcl_GetString(objv[2]);
        if (opt == "-this") {
            Tcl_SetObjResult(interp, newHandleObj(self, *cls.type));
            return TCL_OK;
        }
        if (opt == "-thisown") {
            Tcl_SetObjResult(interp, Tcl_NewIntObj(inst->owned ? 1 : 0));
            return TCL_OK;
        }
        const AttrRecord* a = optionOf(objv[2], cls);
        if (!a) return unknownOption(interp, cls, "cget", false, objv[2]);
        a->result(*a, interp, self);
        return TCL_OK;
    }
    if (word == "configure" || word == "config") {
        if (objc == 2) {  // no options: every option with its value
            Tcl_Obj* list = Tcl_NewListObj(0, nullptr);
            for (const ClassRecord* c = &cls; c; c = c->base)
                for (const auto& a : c->attributes) {
                    Tcl_ListObjAppendElement(nullptr, list, Tcl_NewStringObj(("-" + a->name).c_str(), -1));
                    Tcl_ListObjAppendElement(nullptr, list, a->get(*a, self));
                }
            Tcl_SetObjResult(interp, list);
            return TCL_OK;
        }
        for (int i = 2; i < objc; i += 2) {
            const AttrRecord* a = optionOf(objv[i], cls);
            if (!a) return unknownOption(interp, cls, "configure", true, objv[i]);
            if (!a->set)
                return bindingError(interp, "Option -" + a->name + " of " + cls.name + " is read-only.",
                                    {"READONLY", "-" + a->name});
            if (i + 1 >= objc) return bindingError(interp, "value for \"-" + a->name + "\" missing", {"ARGS"});
            if (setAttr(*a, interp, self, objv[i + 1]) != TCL_OK) return TCL_ERROR;
        }
        Tcl_ResetResult(interp);
        return TCL_OK;
    }
    const MethodRecord* m = methodOf(objv[1], cls);
    if (!m) return unknownMethod(interp, cls, objv[1]);
    return callMethod(*m, interp, self, objc - 2, objv + 2);
}

}  // namespace

namespace {

template <class Rec>
using Index = std::vector<std::pair<std::string_view, const Rec*>>;

// Sorted by insertion, which keeps the first declared of a name first and,
// for the few dozen names of a class, costs less than a sort that allocates.
template <class Rec>
void buildIndex(Index<Rec>& index, const std::vector<std::unique_ptr<Rec>>& records) {
    index.reserve(records.size());
    for (const auto& r : records) {
        std::pair<std::string_view, const Rec*> e{r->name, r.get()};
        auto at = std::upper_bound(index.begin(), index.end(), e.first,
                                   [](std::string_view k, const auto& x) { return k < x.first; });
        index.insert(at, e);
    }
}

template <class Rec>
const Rec* lookUp(const Index<Rec>& index, std::string_view n) {
    auto it = std::lower_bound(index.begin(), index.end(), n,
                               [](const auto& e, std::string_view k) { return e.first < k; });
    return it != index.end() && it->first == n ? it->second : nullptr;
}

}  // namespace

const MethodRecord* ClassRecord::findMethod(std::string_view n) const {
    for (const ClassRecord* c = this; c; c = c->base)
        if (const MethodRecord* m = lookUp(c->methodIndex, n)) return m;
    return nullptr;
}

const AttrRecord* ClassRecord::findAttr(std::string_view n) const {
    for (const ClassRecord* c = this; c; c = c->base)
        if (const AttrRecord* a = lookUp(c->attrIndex, n)) return a;
    return nullptr;
}

std::string ClassRecord::newUsage() const { return usageOf("new_" + name, ctorArgs, false); }
std::string ClassRecord::deleteUsage() const { return "delete_" + name + " self "; }
std::string AttrRecord::getUsage() const { return cls->name + "_" + name + "_get self "; }
std::string AttrRecord::setUsage() const { return cls->name + "_" + name + "_set self " + name + " "; }
std::string MethodRecord::usage() const { return usageOf(cls->name + "_" + name, args, true); }

// The blocks keep() places records' small data in: never freed, as the
// class records are not.
void* ClassRecord::keepBlock(size_t size, size_t align) {
    constexpr size_t kBlock = 64 * 1024;
    static char* next = nullptr;
    static size_t left = 0;
    static auto* blocks = new std::vector<std::unique_ptr<char[]>>;
    size_t pad = next ? (align - reinterpret_cast<uintptr_t>(next) % align) % align : 0;
    if (!next || pad + size > left) {
        size_t n = std::max(kBlock, size + align);
        blocks->push_back(std::make_unique<char[]>(n));
        next = blocks->back().get();
        left = n;
        pad = (align - reinterpret_cast<uintptr_t>(next) % align) % align;
    }
    void* p = next + pad;
    next += pad + size;
    left -= pad + size;
    return p;
}

std::string usageOf(const std::string& command, const std::vector<ArgName>& args, bool withSelf) {
    std::string s = command + " ";
    if (withSelf) s += "self ";
    for (const auto& a : args) s += std::string(a.name) + " ";
    return s;
}

void setArgError(Tcl_Interp* interp, const ConvertError& e, int position, const char* name) {
    // Handles keep the exact type-error text; values name the argument.
    if (e.text.rfind("Type error.", 0) == 0) {
        bindingError(interp, e.text, {"TYPE"});
        return;
    }
    // position counts the arguments after self; self is argument 1.
    bindingError(interp, e.text + " argument " + std::to_string(position + 2) + " (" + name + ")", {"VALUE", name});
}

void reportResult(Tcl_Interp* interp, int code) {
    Tcl_Obj* result = Tcl_GetObjResult(interp);
    if (Tcl_IsShared(result)) Tcl_SetObjResult(interp, Tcl_NewIntObj(code));
    else Tcl_SetIntObj(result, code);
    if (code != 0) Tcl_SetVar2(interp, "zkErrorInfo", nullptr, zk::lastError().c_str(), TCL_GLOBAL_ONLY);
}

void addRegistration(std::source_location where, const char* name, void (*build)(ClassRecord&),
                     const TypeInfo** slot) {
    registrations().push_back({where.file_name(), unsigned(where.line()), name, build, slot});
}

const std::vector<std::unique_ptr<ClassRecord>>& classes() {
    static auto* all = [] {
        auto* v = new std::vector<std::unique_ptr<ClassRecord>>;
        auto regs = registrations();
        std::sort(regs.begin(), regs.end(), [](const Registration& a, const Registration& b) {
            return std::tie(a.file, a.line) < std::tie(b.file, b.line);
        });
        v->reserve(regs.size());
        for (const auto& reg : regs) {
            auto cls = std::make_unique<ClassRecord>();
            cls->name = reg.name;
            cls->type = registerType(reg.name);
            cls->type->cls = cls.get();
            *reg.slot = cls->type;
            reg.build(*cls);
            buildIndex(cls->methodIndex, cls->methods);
            buildIndex(cls->attrIndex, cls->attributes);
            v->push_back(std::move(cls));
        }
        return v;
    }();
    return *all;
}

int instanceCommand(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    auto* inst = static_cast<InstanceRecord*>(cd);
    if (!inst->object) return bindingError(interp, "Type error. Expected " + inst->cls->type->display, {"TYPE"});
    return instanceDispatch(inst, interp, objc, objv);
}

namespace {

// The fully qualified name Tcl_CreateObjCommand gives `name`: a name without
// "::" goes to the global namespace, a relative qualified one is resolved
// from the current namespace.
std::string qualifiedName(Tcl_Interp* interp, std::string_view name) {
    if (name.starts_with("::")) return std::string(name);
    if (name.find("::") == std::string_view::npos) return "::" + std::string(name);
    std::string ns = Tcl_GetCurrentNamespace(interp)->fullName;
    return (ns == "::" ? ns : ns + "::") + std::string(name);
}

// Rounds of deleting what holds a name before an instance command gets it.
constexpr int kReplaceRounds = 8;

// Deletes the command that holds `name`, so that the new instance command is
// created on a free name. Tcl_CreateObjCommand would delete it too, but when
// the deletion's traces create a command of that name again, Tcl throws the
// new one away without its delete callback, and an instance command thrown
// away so leaves its record behind with a token of freed memory. Deleted
// here, every command goes through its callback. A command created by the
// traces is then replaced as Tcl replaces it: it goes, its object stays,
// reachable through its handle. False when the name is taken again round
// after round.
bool clearName(Tcl_Interp* interp, const std::string& name) {
    for (int round = 0; round < kReplaceRounds; ++round) {
        Tcl_Command holder = Tcl_FindCommand(interp, name.c_str(), nullptr, TCL_GLOBAL_ONLY);
        if (!holder) return true;
        Tcl_CmdInfo info;
        if (round > 0 && Tcl_GetCommandInfoFromToken(holder, &info) && info.objProc == instanceCommandProc)
            static_cast<InstanceRecord*>(info.objClientData)->owned = false;
        Tcl_DeleteCommandFromToken(interp, holder);
    }
    return !Tcl_FindCommand(interp, name.c_str(), nullptr, TCL_GLOBAL_ONLY);
}

void instanceRenamed(ClientData cd, Tcl_Interp*, const char*, const char* newName, int) {
    if (newName && *newName) static_cast<InstanceRecord*>(cd)->name = newName;
}

// The command of `inst`, or null when it is hidden or was thrown away by Tcl
// (see clearName: other commands that replace one, `proc` or an alias, throw
// away a command created by the delete traces of the one they replace).
Tcl_Command commandOf(const InstanceRecord* inst) {
    Tcl_Command t = Tcl_FindCommand(inst->interp, inst->name.c_str(), nullptr, TCL_GLOBAL_ONLY);
    Tcl_CmdInfo info;
    if (t && Tcl_GetCommandInfoFromToken(t, &info) && info.objProc == instanceCommandProc &&
        info.objClientData == inst)
        return t;
    return nullptr;
}

}  // namespace

int classCommand(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
    auto* cls = static_cast<const ClassRecord*>(cd);
    if (!cls) return bindingError(interp, "swig: internal runtime error. No class object defined.", {"INTERNAL"});
    if (!cls->construct) return noConstructor(interp, *cls);
    if (objc < 2) return noWord(interp);
    int first = 2;
    if (objc > 2 && std::string_view(Tcl_GetString(objv[2])) == "-args") first = 3;
    int n = objc - first;
    if (n < cls->ctorRequired || n > int(cls->ctorArgs.size())) return wrongArgs(interp, cls->newUsage());
    Object* obj = cls->construct(*cls, interp, n, objv + first);
    if (!obj) return TCL_ERROR;
    Tcl_Obj* name = objv[1];
    Tcl_IncrRefCount(name);  // the traces run by clearName may change the caller's words
    std::string qualified = qualifiedName(interp, Tcl_GetString(name));
    Tcl_Command token = nullptr;
    auto* inst = new InstanceRecord{obj, cls, interp, nullptr, qualified, true};
    bool cleared = clearName(interp, qualified);
    if (cleared) token = Tcl_CreateObjCommand(interp, qualified.c_str(), instanceCommandProc, inst, instanceDeleted);
    if (!token) {
        delete inst;
        delete obj;  // never registered: no handle of it exists
        std::string text = Tcl_GetString(name);
        int code = bindingError(interp,
                                "can't create command \"" + text + "\"" +
                                    (cleared ? "" : ": a command of that name is created again whenever it is deleted"),
                                {"NAME", text});
        Tcl_DecrRefCount(name);
        return code;
    }
    inst->token = token;
    records().insert(inst);
    Tcl_TraceCommand(interp, qualified.c_str(), TCL_TRACE_RENAME, instanceRenamed, inst);
    registerObject(obj, cls->type);
    attachInstance(obj, inst);
    Tcl_SetObjResult(interp, name);
    Tcl_DecrRefCount(name);
    return TCL_OK;
}

void dropInstanceCommand(InstanceRecord* inst) {
    inst->object = nullptr;  // instanceDeleted then frees only the record
    // A command not found stays: a hidden one frees the record when it is
    // deleted, one that Tcl threw away never runs again.
    if (Tcl_Command t = commandOf(inst)) Tcl_DeleteCommandFromToken(inst->interp, t);
}

void createClassCommands(Tcl_Interp* interp) {
    // The names are put together in one buffer: thousands of commands are
    // created at every load, and a string per name would be most of the cost.
    std::string name;
    name.reserve(256);
    auto create = [interp, &name](std::initializer_list<std::string_view> parts, Tcl_ObjCmdProc* proc,
                                  ClientData data) {
        name.clear();
        for (std::string_view part : parts) name += part;
        Tcl_CreateObjCommand(interp, name.c_str(), proc, data, nullptr);
    };
    for (const auto& cls : classes()) {
        ClientData c = cls.get();
        create({"new_", cls->name}, guardedProc<newProc>, c);
        create({"delete_", cls->name}, guardedProc<deleteProc>, c);
        for (const auto& m : cls->methods) create({cls->name, "_", m->name}, guardedProc<methodProc>, m.get());
        for (const auto& a : cls->attributes) {
            if (a->set) create({cls->name, "_", a->name, "_set"}, guardedProc<setProc>, a.get());
            create({cls->name, "_", a->name, "_get"}, guardedProc<getProc>, a.get());
        }
        create({cls->name}, classCommandProc, c);
    }
}

}  // namespace zk::binding
