#include "binding/types.h"

#include <cstring>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "binding/convert.h"
#include "binding/instance.h"

namespace zk::binding {
namespace {

struct TypeTable {
    std::unordered_map<std::string, std::unique_ptr<TypeInfo>> byMangled;
};
TypeTable& types() {
    static TypeTable* t = new TypeTable;  // the registry lives for the process
    return *t;
}

struct Slot {
    Object* obj = nullptr;
    const TypeInfo* type = nullptr;
    InstanceRecord* inst = nullptr;
    uint32_t gen = 0;
};

struct Live {
    std::vector<Slot> slots;
    std::vector<uint32_t> freeSlots;
    std::unordered_map<uintptr_t, uint32_t> byAddress;
};
Live& live() {
    static Live* l = new Live;
    return *l;
}

// The handle's internal representation caches the slot, its generation and
// the declared type, so a handle in a variable decodes without parsing.
const Tcl_ObjType handleType = {"zkHandle", nullptr, [](Tcl_Obj* src, Tcl_Obj* dup) {
                                    dup->internalRep = src->internalRep;
                                    dup->typePtr = src->typePtr;
                                }, nullptr, nullptr};

void cacheRep(Tcl_Obj* obj, uint32_t slot, uint32_t gen, const TypeInfo* declared) {
    if (obj->typePtr && obj->typePtr->freeIntRepProc) obj->typePtr->freeIntRepProc(obj);
    obj->internalRep.twoPtrValue.ptr1 =
        reinterpret_cast<void*>(static_cast<uintptr_t>(slot) << 32 | static_cast<uintptr_t>(gen));
    obj->internalRep.twoPtrValue.ptr2 = const_cast<TypeInfo*>(declared);
    obj->typePtr = &handleType;
}

Decode check(const Slot& s, const TypeInfo* declared, const TypeInfo* expected, Object*& out) {
    if (!declared->isA(expected) || !s.type->isA(expected)) return Decode::WrongType;
    out = s.obj;
    return Decode::Ok;
}

// The memory of a deleted object goes back to the allocator only after this
// many later deletions. Until then no new object can be placed at its
// address, so every text of the deleted object's handle names nothing.
constexpr size_t kHeldBlocks = 4096;

void holdBlock(void* block) {
    struct Held {
        std::vector<void*> ring = std::vector<void*>(kHeldBlocks, nullptr);
        size_t next = 0;
    };
    static auto* held = new Held;  // blocks still held at exit stay reachable
    void*& oldest = held->ring[held->next];
    ::operator delete(oldest);
    oldest = block;
    held->next = (held->next + 1) % kHeldBlocks;
}

std::unordered_set<void*>& blocks() {
    static auto* b = new std::unordered_set<void*>;
    return *b;
}

}  // namespace

TypeInfo* registerType(const std::string& name) {
    std::string mangled = "_p_" + name;
    auto& slot = types().byMangled[mangled];
    if (!slot) {
        slot = std::make_unique<TypeInfo>();
        slot->mangled = mangled;
        slot->display = name + " *";
    }
    return slot.get();
}

const TypeInfo* findType(std::string_view mangled) {
    auto it = types().byMangled.find(std::string(mangled));
    return it == types().byMangled.end() ? nullptr : it->second.get();
}

void registerObject(Object* obj, const TypeInfo* type) {
    Live& l = live();
    uint32_t idx;
    if (!l.freeSlots.empty()) {
        idx = l.freeSlots.back();
        l.freeSlots.pop_back();
    } else {
        idx = uint32_t(l.slots.size());
        l.slots.emplace_back();
    }
    Slot& s = l.slots[idx];
    s.obj = obj;
    s.type = type;
    s.inst = nullptr;
    l.byAddress[reinterpret_cast<uintptr_t>(obj)] = idx;
}

static Slot* slotOf(const Object* obj, uint32_t* index = nullptr) {
    Live& l = live();
    auto it = l.byAddress.find(reinterpret_cast<uintptr_t>(obj));
    if (it == l.byAddress.end()) return nullptr;
    if (index) *index = it->second;
    return &l.slots[it->second];
}

bool isLive(const Object* obj) { return obj && slotOf(obj); }

void attachInstance(Object* obj, InstanceRecord* inst) {
    if (Slot* s = slotOf(obj)) s->inst = inst;
}

void detachInstance(Object* obj) {
    if (Slot* s = slotOf(obj)) s->inst = nullptr;
}

void destroyObject(Object* obj) {
    uint32_t idx;
    Slot* s = slotOf(obj, &idx);
    if (!s) return;
    Live& l = live();
    InstanceRecord* inst = s->inst;
    l.byAddress.erase(reinterpret_cast<uintptr_t>(obj));
    *s = Slot{nullptr, nullptr, nullptr, s->gen + 1};
    l.freeSlots.push_back(idx);
    if (inst) dropInstanceCommand(inst);
    // Objects are made by `new` of their class; the destructor runs now, the
    // memory is held back (see holdBlock).
    void* block = dynamic_cast<void*>(obj);
    obj->~Object();
    holdBlock(block);
}

std::string encodeHandle(const void* p, const TypeInfo& type) {
    static const char digits[] = "0123456789abcdef";
    uintptr_t v = reinterpret_cast<uintptr_t>(p);
    std::string s;
    s.reserve(1 + 2 * sizeof v + type.mangled.size());
    s += '_';
    for (size_t i = 0; i < sizeof v; ++i) {
        unsigned byte = unsigned(v >> (8 * i)) & 0xff;  // least significant byte first
        s += digits[byte >> 4];
        s += digits[byte & 15];
    }
    s += type.mangled;
    return s;
}

Tcl_Obj* newHandleObj(const Object* obj, const TypeInfo& type) {
    if (!obj) return Tcl_NewStringObj("NULL", 4);
    std::string text = encodeHandle(obj, type);
    Tcl_Obj* o = Tcl_NewStringObj(text.data(), int(text.size()));
    uint32_t idx;
    if (Slot* s = slotOf(obj, &idx)) cacheRep(o, idx, s->gen, &type);
    return o;
}

bool parseHandleText(std::string_view t, uintptr_t& address, std::string_view& mangled) {
    constexpr size_t digits = 2 * sizeof(uintptr_t);
    if (t.size() < 1 + digits + 4 || t[0] != '_' || t.substr(1 + digits, 3) != "_p_") return false;
    uintptr_t v = 0;
    for (size_t i = 0; i < sizeof(uintptr_t); ++i) {
        unsigned byte = 0;
        for (size_t k = 0; k < 2; ++k) {
            char c = t[1 + 2 * i + k];
            unsigned d;
            if (c >= '0' && c <= '9') d = unsigned(c - '0');
            else if (c >= 'a' && c <= 'f') d = unsigned(c - 'a' + 10);
            else return false;
            byte = byte << 4 | d;
        }
        v |= uintptr_t(byte) << (8 * i);
    }
    address = v;
    mangled = t.substr(1 + digits);
    return true;
}

Decode decodeObject(Tcl_Interp* interp, Tcl_Obj* obj, const TypeInfo* expected, bool allowNull, Object*& out) {
    out = nullptr;
    Live& l = live();
    if (obj->typePtr == &handleType) {
        uintptr_t packed = reinterpret_cast<uintptr_t>(obj->internalRep.twoPtrValue.ptr1);
        uint32_t idx = uint32_t(packed >> 32), gen = uint32_t(packed);
        // A cached handle whose slot moved on names an object that is gone.
        if (idx >= l.slots.size() || l.slots[idx].gen != gen || !l.slots[idx].obj) return Decode::WrongType;
        return check(l.slots[idx], static_cast<const TypeInfo*>(obj->internalRep.twoPtrValue.ptr2), expected, out);
    }
    int len;
    const char* text = Tcl_GetStringFromObj(obj, &len);
    std::string_view t(text, size_t(len));
    if (t == "NULL") return allowNull ? Decode::Ok : Decode::WrongType;
    uintptr_t address;
    std::string_view mangled;
    if (!parseHandleText(t, address, mangled)) {
        // The name of an instance command stands for its object.
        Tcl_CmdInfo info;
        if (interp && t.find('\0') == std::string_view::npos && Tcl_GetCommandInfo(interp, text, &info) &&
            info.objProc == instanceCommandProc) {
            auto* inst = static_cast<InstanceRecord*>(info.objClientData);
            uint32_t idx;
            Slot* s = inst->object ? slotOf(inst->object, &idx) : nullptr;
            if (!s) return Decode::WrongType;
            return check(*s, s->type, expected, out);
        }
        return Decode::NotPointer;
    }
    const TypeInfo* declared = findType(mangled);
    if (!declared) return Decode::WrongType;
    auto it = l.byAddress.find(address);
    if (it == l.byAddress.end()) return Decode::WrongType;
    Slot& s = l.slots[it->second];
    Decode d = check(s, declared, expected, out);
    if (d == Decode::Ok) cacheRep(obj, it->second, s.gen, declared);
    return d;
}

void setDecodeError(Tcl_Interp* interp, Decode d, const TypeInfo* expected) {
    std::string expectedText = d == Decode::NotPointer ? "a pointer" : expected->display;
    bindingError(interp, "Type error. Expected " + expectedText, {"TYPE"});
}

const TypeInfo* voidType() {
    static const TypeInfo* t = [] {
        TypeInfo* v = registerType("void");
        return v;
    }();
    return t;
}

void trackBlock(void* p) {
    if (p) blocks().insert(p);
}
bool untrackBlock(void* p) { return blocks().erase(p) != 0; }
bool isTrackedBlock(void* p) { return blocks().count(p) != 0; }

}  // namespace zk::binding
