// Learned information, as every class that asks a port for it uses it:
// the checks before a request goes out, one outstanding request and its
// answer (a newer request or forget() makes an answer still due for an
// older one void), and a learned list walked into a read-only staging
// object. A class declares its learned-list methods with one line of its
// description (binding/learned_methods.h); only single answers that fill
// the object's own options (statistics, a bridge) use LearnedReply directly.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/equipment.h"
#include "core/host.h"
#include "core/object.h"
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

// Statistics a port answers: value text by selector number.
struct LearnedStatistics : LearnedData {
    std::map<int, std::string> values;
};

// A learned list: the reply that brings it, the list taken from it, and a
// walk through its items into the read-only staging object.
template <class Item, class Staging>
class LearnedWalk {
    using Data = LearnedItems<Item>;

public:
    using ItemType = Item;
    explicit LearnedWalk(Staging* staging) : staging_(staging) {}

    void send(Port& port, const char* kind, const std::string& key, std::weak_ptr<void> owner) {
        reply_.send(port, kind, key, std::move(owner));
        asked_ = key;
    }
    // Whether the request outstanding or answered asked about `key`.
    bool asked(const std::string& key) const { return asked_ && *asked_ == key; }
    // Takes the answer once it is in (false: not yet); a port that learned
    // nothing answers with an empty list. `keep` (may be null) chooses the
    // items kept, up to `limit` of them (0: all).
    bool take(const std::function<bool(const Item&)>& keep = nullptr, size_t limit = 0) {
        if (!reply_.arrived()) return false;
        auto answer = reply_.data() ? reply_.data() : std::make_shared<const Data>();
        if (keep || limit) {
            auto kept = std::make_shared<Data>();
            for (const Item& item : answer->items) {
                if (limit && kept->items.size() >= limit) break;
                if (!keep || keep(item)) kept->items.push_back(item);
            }
            answer = std::move(kept);
        }
        data_ = std::move(answer);
        cursor_ = 0;
        return true;
    }
    size_t size() const { return data_ ? data_->items.size() : 0; }
    void rewind() { cursor_ = 0; }
    // Fills the staging object with the next item; false after the last or without one.
    bool next() {
        Staging* staging = staging_.get();
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
        asked_.reset();
        drop();
    }

private:
    Ref<Staging> staging_;
    std::optional<std::string> asked_;
    LearnedReply<Data> reply_;
    std::shared_ptr<const Data> data_;
    size_t cursor_ = 0;
};

}  // namespace zk
