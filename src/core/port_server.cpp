#include "core/port_server.h"

namespace zk {

int PortServer::select(int c, int d, int p) {
    int r = selectPort(c, d, p, protocol_);
    if (r != kOk) return r;
    for (CollectionBase* col : childCollections()) col->resetCursor();
    return kOk;
}

int PortServer::write() {
    Port* p = usablePort();
    if (!p) return kFail;
    return p->send(protocol_, configOf(*p)) ? kOk : kFail;
}

int PortServer::generateStreams(int c, int d, int p, int action) {
    Port* given = findPort(c, d, p);
    if (!given || !currentPort()) return kFail;
    if (!given->available) return kNoPort;
    if (given->writeFails) return kFail;
    given->generateStreams(protocol_, configOf(*given).id.GetValue(), action);
    return kOk;
}

ItemList* PortServer::names(size_t kind) {
    Port* p = usablePort();
    if (!p || kind >= listKinds_) return nullptr;
    PortLists& lists = perPort_[p->id.key()];
    if (lists.generation != p->generation) {  // a new port object: its old lists are gone
        lists.generation = p->generation;
        lists.lists.assign(listKinds_, ItemList{});
    }
    return &lists.lists[kind];
}

}  // namespace zk
