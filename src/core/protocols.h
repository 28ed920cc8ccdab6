// The one protocol table: every protocol the module configures, listed once
// with its script name (also its licence word), its title in messages, the
// port-service switches of TCLProtocolServer that belong to it, and the
// host-interface command codes that start and stop it. Everything that
// walks protocols derives from this table.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace zk {

// In the order the port services walk them.
enum class Protocol { Igmp, Ospf, Bgp4, Isis, Rsvp, Rip, Ldp, Ripng, Mld, OspfV3, Pimsm, Stp };
inline constexpr int kProtocolCount = 12;

struct Command {
    int code = 0;
    const char* name = nullptr;  // the constant's name: "startBgp4"; null: none
};

struct ProtocolRow {
    Protocol protocol;
    const char* name;            // "bgp4": script name, licence word, JSON key
    const char* title;           // "BGP-4", for messages
    const char* serviceOption;   // TCLProtocolServer's switch of the protocol's service
    bool serviceFlag;            // the service switch keeps 0/1 (any non-zero value is 1)
    const char* createOption;    // TCLProtocolServer's interface-creation switch, or null
    int createRank;              // where that switch stands among the others
    Command start, stop;
    Command transmit;            // a command that sends without changing state, if any
};

std::span<const ProtocolRow> protocolTable();
const ProtocolRow& protocolRow(Protocol p);
inline const char* protocolName(Protocol p) { return protocolRow(p).name; }
inline const char* protocolTitle(Protocol p) { return protocolRow(p).title; }
std::optional<Protocol> protocolFromName(std::string_view name);

// A command code of the host interface, as the port takes it.
struct CommandCode {
    enum Action { Start, Stop, Transmit };
    int code;
    const char* name;
    Protocol protocol;
    Action action;
};
// Every code a port understands, by code; several names may share one
// (transmitIgmpJoin is startIgmp: starting the IGMP hosts sends their joins).
std::span<const CommandCode> commandCodes();
const CommandCode* findCommandCode(int code);  // null: unknown
// Other names of a code, as constants only ({name, code}).
std::span<const Command> commandAliases();

}  // namespace zk
