// The current port: the one port most recently selected by any server.
// It is held by its triple and looked up at every use, so a port that the
// host removed is simply gone, never a dangling pointer.
#pragma once

#include <optional>
#include <string>

#include "core/equipment.h"
#include "core/errors.h"

namespace zk {

// Looks the port up, asks the licence check, and makes it current.
// 0; 100 no such port; 104 the protocol is not licensed on it.
int selectPort(int chasID, int cardID, int portID, Protocol protocol);

Port* currentPort();   // null when none is selected or it is gone
Port* usablePort();    // the current port when it is available, else null
void clearCurrentPort();

Port* findPort(int chasID, int cardID, int portID);

// The name a port has in messages.
inline const char* portName(const Port& p) { return p.name.c_str(); }

}  // namespace zk
