// What every port-level protocol server shares: select, write, stream
// generation, and per-port named lists that survive selecting another port.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/collection.h"
#include "core/object.h"
#include "core/port.h"

namespace zk {

class PortServer : public Object {
public:
    // 0; 100 no such port; 104 the protocol is not licensed on it.
    int select(int chasID, int cardID, int portID);
    // 0; 1 no usable current port or the send failed.
    int write();
    // 0; 1 a port is missing or generation failed; 100 the given port is not available.
    int generateStreams(int chasID, int cardID, int portID, int action);

protected:
    PortServer(Protocol protocol, size_t listKinds) : protocol_(protocol), listKinds_(listKinds) {}

    // The protocol's configuration on a port (the holder creates it on first use).
    virtual chassis::EConfigRoot& configOf(Port& port) = 0;

    // 0 when a usable current port is selected, else 100.
    int ready() const { return usablePort() ? kOk : kNoPort; }
    // The configuration of the current port, or null without a usable one.
    template <class C>
    C* config() {
        Port* p = usablePort();
        return p ? &static_cast<C&>(configOf(*p)) : nullptr;
    }
    // The server's list number `kind` for the current port: the working list.
    ItemList* names(size_t kind);

    Protocol protocol() const { return protocol_; }

private:
    struct PortLists {
        uint64_t generation = 0;
        std::vector<ItemList> lists;
    };
    Protocol protocol_;
    size_t listKinds_;
    std::map<std::string, PortLists> perPort_;
};

}  // namespace zk
