#include "chassis/port_options.h"

#include <climits>
#include <cstring>
#include <initializer_list>
#include <set>
#include <utility>
#include <vector>

#include "chassis/commands.h"
#include "util/tcl_integer.h"

namespace chassis {

bool readInt(Tcl_Interp* interp, Tcl_Obj* o, std::string_view what, int& out, std::string_view code) {
    // One message for a text that is no integer and an integer that does not
    // fit in 32 signed bits: neither is a number these commands take.
    Tcl_WideInt v;
    if (zk::readInteger(o, INT_MIN, INT_MAX, v) == zk::IntegerRead::Ok) {
        out = int(v);
        return true;
    }
    chassisError(interp, "expected integer for " + std::string(what) + " but got \"" + Tcl_GetString(o) + "\"",
                 {"VALUE", code.empty() ? what : code});
    return false;
}

int unknownProtocol(Tcl_Interp* interp, const char* word, bool orServices) {
    std::string message = std::string("unknown protocol \"") + word + "\": must be" + (orServices ? " services" : "");
    for (int k = 0; k < kProtocolCount; ++k) message += std::string(" ") + protocolName(Protocol(k));
    return chassisError(interp, message, {"UNKNOWN", "protocol", word});
}

namespace {

// A switch is the integer 0 or 1, or a boolean word; other numbers (2,
// 0.5, 1e400) are refused rather than read as "true".
bool readFlag(Tcl_Interp* interp, Tcl_Obj* o, std::string_view what, int& out) {
    Tcl_WideInt v;
    zk::IntegerRead read = zk::readInteger(o, 0, 1, v);
    double number;
    int word;
    if (read == zk::IntegerRead::Ok) {
        out = int(v);
        return true;
    }
    if (read == zk::IntegerRead::NotInteger && Tcl_GetDoubleFromObj(nullptr, o, &number) != TCL_OK &&
        Tcl_GetBooleanFromObj(nullptr, o, &word) == TCL_OK) {
        out = word;
        return true;
    }
    chassisError(interp, "expected 0 or 1 for " + std::string(what) + " but got \"" + Tcl_GetString(o) + "\"",
                 {"VALUE", what});
    return false;
}

bool readList(Tcl_Interp* interp, Tcl_Obj* o, std::string_view what, int& n, Tcl_Obj**& items) {
    if (Tcl_ListObjGetElements(nullptr, o, &n, &items) == TCL_OK) return true;
    chassisError(interp, "expected a list for " + std::string(what) + " but got \"" + Tcl_GetString(o) + "\"",
                 {"VALUE", what});
    return false;
}

int badValue(Tcl_Interp* interp, const PortOption& o, const std::string& message) {
    return chassisError(interp, message, {"VALUE", o.name});
}

// A list of the given elements.
Tcl_Obj* tuple(std::initializer_list<Tcl_Obj*> elements) {
    return Tcl_NewListObj(int(elements.size()), elements.begin());
}

// A list of one element per item, made by `element`.
template <class Items, class Element>
Tcl_Obj* listOf(const Items& items, Element element) {
    Tcl_Obj* l = Tcl_NewListObj(0, nullptr);
    for (const auto& item : items) Tcl_ListObjAppendElement(nullptr, l, element(item));
    return l;
}

// Calls `each` for every element of the list `v`, up to the first it refuses.
template <class Each>
int forEachElement(Tcl_Interp* interp, const PortOption& o, Tcl_Obj* v, Each each) {
    int n;
    Tcl_Obj** items;
    if (!readList(interp, v, o.name, n, items)) return TCL_ERROR;
    for (int i = 0; i < n; ++i)
        if (!each(items[i])) return TCL_ERROR;
    return TCL_OK;
}

// Rows made of a member of Port: text, a 0/1 switch, a count (0 or more).
template <auto Member>
Tcl_Obj* getText(const Port& p) {
    return Tcl_NewStringObj((p.*Member).c_str(), -1);
}
template <auto Member>
int setText(const PortOption&, Tcl_Interp*, Port& p, Tcl_Obj* v) {
    p.*Member = Tcl_GetString(v);
    return TCL_OK;
}
template <auto Member>
Tcl_Obj* getInt(const Port& p) {
    return Tcl_NewIntObj(p.*Member);
}
template <auto Member>
int setFlag(const PortOption& o, Tcl_Interp* interp, Port& p, Tcl_Obj* v) {
    return readFlag(interp, v, o.name, p.*Member) ? TCL_OK : TCL_ERROR;
}
template <auto Member>
int setCount(const PortOption& o, Tcl_Interp* interp, Port& p, Tcl_Obj* v) {
    int n;
    if (!readInt(interp, v, o.name, n)) return TCL_ERROR;
    if (n < 0) return badValue(interp, o, std::string(o.name) + " must be 0 (no limit) or more");
    p.*Member = n;
    return TCL_OK;
}
template <auto... Members>
void copy(Port& to, const Port& from) {
    ((to.*Members = from.*Members), ...);
}

const std::pair<const char*, int> kCapabilities[] = {
    {"arp", kCapabilityArp}, {"ping", kCapabilityPing}, {"routing", kCapabilityRouting}};

Tcl_Obj* getCapabilities(const Port& p) {
    std::vector<const char*> names;
    for (auto [name, code] : kCapabilities)
        if (p.hasCapability(code)) names.push_back(name);
    return listOf(names, [](const char* name) { return Tcl_NewStringObj(name, -1); });
}
int setCapabilities(const PortOption& o, Tcl_Interp* interp, Port& p, Tcl_Obj* v) {
    std::set<int> capabilities;
    int code = forEachElement(interp, o, v, [&](Tcl_Obj* e) {
        const char* w = Tcl_GetString(e);
        for (auto [name, capability] : kCapabilities)
            if (std::strcmp(w, name) == 0) return capabilities.insert(capability), true;
        chassisError(interp, std::string("unknown capability \"") + w + "\": must be arp, ping or routing",
                     {"UNKNOWN", "capability", w});
        return false;
    });
    if (code == TCL_OK) p.capabilities = capabilities;
    return code;
}

// A set of protocols held by a port (-licensed, -statistics), as names.
template <auto Member>
Tcl_Obj* getProtocols(const Port& p) {
    std::vector<const char*> names;
    for (int k = 0; k < kProtocolCount; ++k)
        if ((p.*Member).count(Protocol(k))) names.push_back(protocolName(Protocol(k)));
    return listOf(names, [](const char* name) { return Tcl_NewStringObj(name, -1); });
}
template <auto Member>
int setProtocols(const PortOption& o, Tcl_Interp* interp, Port& p, Tcl_Obj* v) {
    std::set<Protocol> protocols;
    int code = forEachElement(interp, o, v, [&](Tcl_Obj* e) {
        auto protocol = protocolFromName(Tcl_GetString(e));
        if (protocol) protocols.insert(*protocol);
        else unknownProtocol(interp, Tcl_GetString(e), false);
        return protocol.has_value();
    });
    if (code == TCL_OK) p.*Member = protocols;
    return code;
}

Tcl_Obj* getRunning(const Port& p) {
    std::vector<const char*> names;
    for (int k = 0; k < kProtocolCount; ++k)
        if (p.isRunning(Protocol(k))) names.push_back(protocolName(Protocol(k)));
    return listOf(names, [](const char* name) { return Tcl_NewStringObj(name, -1); });
}

Tcl_Obj* getCommands(const Port& p) {
    return listOf(p.commands, [](const Port::ReceivedCommand& c) {
        return tuple({Tcl_NewIntObj(c.code), Tcl_NewStringObj(c.name.c_str(), -1)});
    });
}

Tcl_Obj* getMtu(const Port& p) { return tuple({Tcl_NewIntObj(p.mtuMin), Tcl_NewIntObj(p.mtuMax)}); }
int setMtu(const PortOption& o, Tcl_Interp* interp, Port& p, Tcl_Obj* v) {
    int n, lo, hi;
    Tcl_Obj** items;
    if (!readList(interp, v, o.name, n, items)) return TCL_ERROR;
    if (n != 2) return badValue(interp, o, "-mtu takes {min max}");
    if (!readInt(interp, items[0], "-mtu min", lo, o.name) || !readInt(interp, items[1], "-mtu max", hi, o.name))
        return TCL_ERROR;
    if (lo < 0 || hi < lo) return badValue(interp, o, "-mtu needs 0 <= min <= max");
    p.mtuMin = lo;
    p.mtuMax = hi;
    return TCL_OK;
}

Tcl_Obj* getInterfaces(const Port& p) {
    return listOf(p.interfaces, [](const ProtocolInterface& i) {
        return tuple({Tcl_NewStringObj(i.description.c_str(), -1), Tcl_NewIntObj(i.localId)});
    });
}
int setInterfaces(const PortOption& o, Tcl_Interp* interp, Port& p, Tcl_Obj* v) {
    std::vector<ProtocolInterface> interfaces;
    int code = forEachElement(interp, o, v, [&](Tcl_Obj* e) {
        int n;
        Tcl_Obj** pair;
        if (!readList(interp, e, o.name, n, pair)) return false;
        if (n != 2) return badValue(interp, o, "-interfaces takes {{description localId} ...}"), false;
        ProtocolInterface& added = interfaces.emplace_back();
        added.description = Tcl_GetString(pair[0]);
        return readInt(interp, pair[1], "an interface's localId", added.localId, o.name);
    });
    if (code == TCL_OK) p.interfaces = interfaces;
    return code;
}

Tcl_Obj* getStreams(const Port& p) {
    return listOf(p.streams, [](const Port::StreamRequest& s) {
        return tuple({Tcl_NewStringObj(s.protocol.c_str(), -1), Tcl_NewWideIntObj(Tcl_WideInt(s.component)),
                      Tcl_NewIntObj(s.action)});
    });
}

// In the order `configure` lists them; the null row ends the table for Tcl.
const PortOption kOptions[] = {
    {"-name", "text", "`C/D/P`", "the port's name in messages (\"is not supported on port %s.\")", getText<&Port::name>,
     setText<&Port::name>, copy<&Port::name>},
    {"-type", "text", "`ethernet`", "the port type", getText<&Port::type>, setText<&Port::type>, copy<&Port::type>},
    {"-available", "boolean", "`1`", "an unavailable port gives 100 on `set`, adds and iterations, 1 on `write`",
     getInt<&Port::available>, setFlag<&Port::available>, copy<&Port::available>},
    {"-capabilities", "list of `arp`, `ping`, `routing`", "`arp ping routing`", "what the port services may switch",
     getCapabilities, setCapabilities, copy<&Port::capabilities>},
    {"-licensed", "list of protocol names", "all twelve", "the licence check of `select` (104 when refused)",
     getProtocols<&Port::licensed>, setProtocols<&Port::licensed>, copy<&Port::licensed>},
    {"-ospfFeatures", "boolean", "`1`", "graceful restart, authentication and the other port-dependent OSPF options",
     getInt<&Port::ospfFeatures>, setFlag<&Port::ospfFeatures>, copy<&Port::ospfFeatures>},
    {"-refreshReduction", "boolean", "`1`", "RSVP refresh reduction", getInt<&Port::refreshReduction>,
     setFlag<&Port::refreshReduction>, copy<&Port::refreshReduction>},
    {"-bgpFamilies", "boolean", "`1`", "BGP address families beyond IPv4 unicast (multicast, labelled, VPN, IPv6)",
     getInt<&Port::bgpFamilies>, setFlag<&Port::bgpFamilies>, copy<&Port::bgpFamilies>},
    {"-isisFeatures", "boolean", "`1`", "IS-IS traffic engineering and graceful restart", getInt<&Port::isisFeatures>,
     setFlag<&Port::isisFeatures>, copy<&Port::isisFeatures>},
    {"-ldpGracefulRestart", "boolean", "`1`", "LDP graceful restart (reconnect and recovery times)",
     getInt<&Port::ldpGracefulRestart>, setFlag<&Port::ldpGracefulRestart>, copy<&Port::ldpGracefulRestart>},
    {"-mtu", "`{min max}`", "`64 9216`", "the MTU range the port accepts", getMtu, setMtu,
     copy<&Port::mtuMin, &Port::mtuMax>},
    {"-gridLimit", "integer >= 0", "`0`", "largest OSPF and IS-IS grid rows/columns; 0 is no limit", getInt<&Port::gridLimit>,
     setCount<&Port::gridLimit>, copy<&Port::gridLimit>},
    {"-writeFails", "boolean", "`0`", "every send to the port fails, and so does stream generation",
     getInt<&Port::writeFails>, setFlag<&Port::writeFails>, copy<&Port::writeFails>},
    {"-interfaces", "list of `{description localId}`", "empty", "protocol interfaces the port knows", getInterfaces,
     setInterfaces, copy<&Port::interfaces>},
    {"-streams", "read-only", "empty", "stream generation requests received: `{protocol component action}` each",
     getStreams, nullptr, nullptr},
    {"-statistics", "list of protocol names", "all twelve",
     "protocols whose statistics the port counts; a statistics query of another is refused",
     getProtocols<&Port::statistics>, setProtocols<&Port::statistics>, copy<&Port::statistics>},
    {"-alwaysAnswers", "boolean", "`1`",
     "learned-information and statistics requests are answered whether or not the protocol was started",
     getInt<&Port::alwaysAnswers>, setFlag<&Port::alwaysAnswers>, copy<&Port::alwaysAnswers>},
    {"-running", "read-only", "empty", "protocols started and not stopped since (`sendCommand`)", getRunning, nullptr,
     nullptr},
    {"-commands", "read-only", "empty", "start, stop and transmit commands received: `{code name}` each", getCommands,
     nullptr, nullptr},
    {"-netns", "text", "empty", "network namespace of the interface the port is bound to; empty: the process's own",
     getText<&Port::netns>, setText<&Port::netns>, copy<&Port::netns>},
    {"-interface", "text", "empty",
     "the Linux interface the port is bound to: it then runs what it is sent (docs/live.md); empty: not bound",
     getText<&Port::interfaceName>, setText<&Port::interfaceName>, copy<&Port::interfaceName>},
    {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr},
};

}  // namespace

std::span<const PortOption> portOptions() { return {kOptions, std::size(kOptions) - 1}; }

const PortOption* findPortOption(Tcl_Interp* interp, Tcl_Obj* word) {
    int index;
    if (Tcl_GetIndexFromObjStruct(nullptr, word, kOptions, sizeof(PortOption), "option", TCL_EXACT, &index) == TCL_OK)
        return &kOptions[index];
    std::string message = std::string("bad option \"") + Tcl_GetString(word) + "\": must be";
    for (const PortOption& o : portOptions()) message += std::string(&o == kOptions ? " " : ", ") + o.name;
    chassisError(interp, message, {"UNKNOWN", "option", Tcl_GetString(word)});
    return nullptr;
}

int configurePort(Tcl_Interp* interp, Port& port, int objc, Tcl_Obj* const objv[]) {
    if (objc % 2)
        return chassisError(interp, std::string("value for \"") + Tcl_GetString(objv[objc - 1]) + "\" missing",
                            {"ARGS"});
    // Applied to a copy first, so that a refused value leaves the port as it was.
    Port trial(port.id);
    copyPortOptions(trial, port);
    for (int i = 0; i < objc; i += 2) {
        const PortOption* o = findPortOption(interp, objv[i]);
        if (!o) return TCL_ERROR;
        if (!o->set) return chassisError(interp, std::string(o->name) + " is read-only", {"READONLY", o->name});
        if (o->set(*o, interp, trial, objv[i + 1]) != TCL_OK) return TCL_ERROR;
    }
    if (trial.netns != port.netns || trial.interfaceName != port.interfaceName)
        if (int code = checkBinding(interp, trial); code != TCL_OK) return code;
    copyPortOptions(port, trial);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

int checkBinding(Tcl_Interp* interp, const Port& port) {
    if (port.interfaceName.empty()) return TCL_OK;
    const LiveFactory* factory = liveFactory();
    std::string why = factory ? factory->check(port.netns, port.interfaceName) : "live ports are not available";
    if (why.empty()) return TCL_OK;
    return chassisError(interp, "port " + port.id.text() + " cannot be bound: " + why, {"BIND", port.id.text()});
}

int applyBinding(Tcl_Interp* interp, Port& port) {
    std::string why = port.bind();
    if (why.empty()) return TCL_OK;
    return chassisError(interp, "port " + port.id.text() + " cannot be bound: " + why, {"BIND", port.id.text()});
}

Tcl_Obj* portOptionList(const Port& port) {
    Tcl_Obj* l = Tcl_NewListObj(0, nullptr);
    for (const PortOption& o : portOptions()) {
        Tcl_ListObjAppendElement(nullptr, l, Tcl_NewStringObj(o.name, -1));
        Tcl_ListObjAppendElement(nullptr, l, o.get(port));
    }
    return l;
}

void copyPortOptions(Port& to, const Port& from) {
    for (const PortOption& o : portOptions())
        if (o.copy) o.copy(to, from);
}

std::string portOptionDocRow(const PortOption& o) {
    return std::string("| `") + o.name + "` | " + o.value + " | " + o.defaultValue + " | " + o.doc + " |";
}

}  // namespace chassis
