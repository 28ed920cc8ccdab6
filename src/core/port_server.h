// What every port-level protocol server shares: select, write, stream
// generation, and per-port named lists that survive selecting another port.
//
// A protocol's server derives from Server<Root>, Root being the record of
// the protocol's whole configuration on a port (hal::ERIPServer ...), and
// declares its lists as ServerList members:
//
//   class TCLRipServer : public Server<hal::ERIPServer> {
//       ServerList<TCLRipInterfaceRouter, &hal::ERIPServer::routers> routers;
//   };
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

    // 0 when a usable current port is selected, else 100.
    int ready() const { return usablePort() ? kOk : kNoPort; }
    // The server's list number `kind` for the current port: the working list.
    ItemList* names(size_t kind);
    // A number for one more per-port list.
    size_t newListKind() { return listKinds_++; }

protected:
    explicit PortServer(Protocol protocol) : protocol_(protocol) {}

    // The protocol's configuration on a port (the holder creates it on first use).
    virtual hal::EConfigRoot& configOf(Port& port) = 0;

    Protocol protocol() const { return protocol_; }

private:
    struct PortLists {
        uint64_t generation = 0;
        std::vector<ItemList> lists;
    };
    Protocol protocol_;
    size_t listKinds_ = 0;
    std::map<std::string, PortLists> perPort_;
};

template <class Root>
class Server : public PortServer {
public:
    using Record = Root;  // what the server's own options map onto

    // The configuration of the current port, or null without a usable one.
    Root* config() {
        Port* p = usablePort();
        return p ? &configAt(*p) : nullptr;
    }
    Root& configAt(Port& port) { return static_cast<Root&>(configOf(port)); }

protected:
    explicit Server(Protocol protocol) : PortServer(protocol) {}
    hal::EConfigRoot& configOf(Port& port) override { return port.holder(protocol()).template Config<Root>(); }
};

// A server's named list of one kind of child per port: the records live in
// the current port's configuration, the names in the server's per-port lists.
template <class Child, auto List>
class ServerList : public Collection<Child, typename ListOf<List>::Record> {
    using Base = Collection<Child, typename ListOf<List>::Record>;

public:
    template <class S>
    ServerList(S* server, Child* staging)
        : Base(staging, {.ready = [server] { return server->ready(); },
                         .records =
                             [server] {
                                 auto* c = server->config();
                                 return c ? &(c->*List) : nullptr;
                             },
                         .names = [server, kind = server->newListKind()] { return server->names(kind); }}) {
        server->adoptList(this);
    }
};

// A server with no options of its own and one per-port list of routers
// (OSPF, OSPFv3, IS-IS, LDP): set and get only ask for the port.
template <class Root, class Router, auto Routers, Protocol P>
class RouterServer : public Server<Root> {
public:
    explicit RouterServer(Router* staging) : Server<Root>(P), routers(this, staging) {}

    ServerList<Router, Routers> routers;

    void setDefault() { routers.resetCursor(); }
    int set() { return this->ready(); }
    int get() { return currentPort() ? kOk : kNoPort; }
};

}  // namespace zk
