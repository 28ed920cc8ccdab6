// What a port does with the commands of the host interface: the start and
// stop codes of each protocol, and which learned-information kinds belong
// to which protocol, so that a port can refuse to answer for a protocol
// that is not running.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "chassis/port.h"

namespace chassis {

struct CommandCode {
    enum Action { Start, Stop, Transmit };
    int code;
    const char* name;  // the constant's name: "startBgp4"
    Protocol protocol;
    Action action;
};

// Every code a port understands, in the order of the constants.
std::span<const CommandCode> commandCodes();
const CommandCode* findCommandCode(int code);  // null: unknown

// The port takes the command: a start marks the protocol running, a stop
// marks it stopped (a stop of a protocol that does not run changes
// nothing), a transmit changes no state; each is logged and traced.
void receiveCommand(Port& port, const CommandCode& command);

// Why `port` does not answer a request of a learned-information kind
// (`zkchassis::learn <kind>`, chassis/learn.h) now: nullopt when it does,
// else the reason as a sentence ending in a full stop.
std::optional<std::string> refusesToAnswer(const Port& port, std::string_view kind);

}  // namespace chassis
