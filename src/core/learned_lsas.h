// The learned LSAs of an OSPF interface (either version): a request to the
// port, the list taken from its answer, and a walk through that list that
// loads each LSA into a staging object. Messages name the interface class.
#pragma once

#include <memory>
#include <string>

#include "core/errors.h"
#include "core/host.h"
#include "core/learned_reply.h"
#include "core/port.h"

namespace zk {

// Lsa: the record of one learned LSA; the port answers with LearnedItems<Lsa>.
template <class Lsa>
class LearnedLsas {
public:
    explicit LearnedLsas(const char* interfaceClass) : cls_(interfaceClass) {}

    // 0 sent; 100 no port or the interface was not loaded from a router;
    // 1 the port cannot take the request.
    int request(bool loaded, const char* kind, const std::string& key, std::weak_ptr<void> owner) {
        Port* port = currentPort();
        if (!port) return fail(kNoPort, "requestLearnedLsa()   You have not selected the port.");
        if (!loaded) return fail(kNoPort, "requestLearnedLsa()   The interface has not been loaded from a router.");
        if (!port->available || port->writeFails)
            return fail(kFail, formatText("requestLearnedLsa()   The request could not be sent to port %s.",
                                          portName(*port)));
        if (int r = portAnswers((std::string(cls_) + "::requestLearnedLsa()").c_str(), *port, kind)) return r;
        list_.reply().send(*port, kind, key, std::move(owner));
        return kOk;
    }

    // 0 with the answer taken and `count` its size; 1 none arrived yet.
    int takeList(int& count) {
        if (!list_.take()) return fail(kFail, "getLearnedLsaList()   No learned LSAs have arrived yet.");
        count = int(list_.size());
        return kOk;
    }

    template <class Staging>
    int first(Staging* staging) {
        list_.rewind();
        return next(staging);
    }
    template <class Staging>
    int next(Staging* staging) {
        if (!list_.next(staging)) return fail(kFail, "getNextLearnedLsa()   No more learned LSAs.");
        return kOk;
    }

    // The interface was loaded from a record: one of another interface
    // makes the learned LSAs not its own.
    void loaded(bool sameInterface, int& count) {
        if (sameInterface) return;
        forget();
        count = 0;
    }

    // Drops the list taken; forget() also voids an answer still due.
    void drop() { list_.drop(); }
    void forget() { list_.forget(); }

private:
    int fail(int code, const std::string& text) const {
        setLastError(std::string(cls_) + "::" + text);
        return code;
    }

    const char* cls_;
    LearnedList<Lsa> list_;
};

}  // namespace zk
