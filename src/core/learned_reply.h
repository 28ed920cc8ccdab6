// One outstanding request for learned information and its answer: a newer
// request or forget() makes an answer still due for an older one void.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/equipment.h"
#include "core/host.h"
#include "core/port.h"

namespace zk {

// Whether a request for learned information may go out now, `where` being
// "TCL<Class>::<method>()": 0; 100 with no port, or when the object was
// not loaded from its parent (`notLoaded` says so); 1 when the port
// cannot be asked or does not answer requests of `kind` now (its protocol
// is not running, or its statistics are off: see portAnswers).
inline int mayRequestLearned(const char* where, bool loaded, const char* notLoaded, const char* kind) {
    Port* port = currentPort();
    if (!port) {
        setLastErrorf("%s   You have not selected the port.", where);
        return kNoPort;
    }
    if (!loaded) {
        setLastErrorf("%s   %s", where, notLoaded);
        return kNoPort;
    }
    if (!port->available || port->writeFails) {
        setLastErrorf("%s   The request could not be sent to port %s.", where, portName(*port));
        return kFail;
    }
    return portAnswers(where, *port, kind);
}

template <class Data>
class LearnedReply {
public:
    // The answer is delivered only while `owner` lives.
    void send(Port& port, const char* kind, const std::string& key, std::weak_ptr<void> owner) {
        uint64_t number = ++number_;
        answered_ = false;
        reply_.reset();
        port.request(kind, key, std::move(owner), [this, number](std::shared_ptr<const LearnedData> data) {
            if (number != number_) return;
            answered_ = true;
            reply_ = std::dynamic_pointer_cast<const Data>(data);
        });
    }
    // True once the answer is in; data() is then null when the port learned nothing.
    bool arrived() {
        equipment().deliverReplies();
        return answered_;
    }
    std::shared_ptr<const Data> data() const { return reply_; }
    void forget() {
        ++number_;
        answered_ = false;
        reply_.reset();
    }

private:
    uint64_t number_ = 0;
    bool answered_ = false;
    std::shared_ptr<const Data> reply_;
};

// A port's answer that is a list of records.
template <class Item>
struct LearnedItems : LearnedData {
    std::vector<Item> items;
};

// A learned list: the reply that brings it, and a walk through its items
// into a read-only staging object.
template <class Item>
class LearnedList {
    using Data = LearnedItems<Item>;

public:
    LearnedReply<Data>& reply() { return reply_; }
    // Takes the answer once it is in (false: not yet); a port that learned
    // nothing answers with an empty list.
    bool take() {
        if (!reply_.arrived()) return false;
        data_ = reply_.data() ? reply_.data() : std::make_shared<const Data>();
        cursor_ = 0;
        return true;
    }
    size_t size() const { return data_ ? data_->items.size() : 0; }
    void rewind() { cursor_ = 0; }
    // Fills `staging` with the next item; false after the last or without one.
    template <class Staging>
    bool next(Staging* staging) {
        if (!staging || cursor_ >= size()) return false;
        staging->FromRecord(data_->items[cursor_++]);
        return true;
    }
    // Drops the list taken; forget() also voids an answer still due.
    void drop() {
        data_.reset();
        cursor_ = 0;
    }
    void forget() {
        reply_.forget();
        drop();
    }

private:
    LearnedReply<Data> reply_;
    std::shared_ptr<const Data> data_;
    size_t cursor_ = 0;
};

}  // namespace zk
