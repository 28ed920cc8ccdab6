// What the multicast classes share: address arithmetic for ranges of
// groups, sources and hosts, the walk over learned information, and the
// reader of `zkchassis::learn` lists for it.
#pragma once

#include <tcl.h>

#include <memory>
#include <string>
#include <vector>

#include "chassis/lab.h"
#include "chassis/learn.h"
#include "chassis/replies.h"
#include "core/checks.h"
#include "core/learned_reply.h"
#include "core/object.h"
#include "hal/basic.h"

namespace zk::mcast {

// Group addresses: 224.0.0.0/4 and ff00::/8.
bool multicastAddress(const std::string& text, bool v6);
// An address of the family that is not a group address.
bool unicastAddress(const std::string& text, bool v6);
// fe80::/10.
bool linkLocalAddress(const std::string& text);
// Where a range of addresses must stay.
enum class Space { Groups, Unicast, LinkLocal };
// Whether `count` addresses from `first`, `step` apart, stay in the space
// `first` is in. Counts or steps out of their own ranges, and text that is
// no address of the space, pass: they have their own checks.
bool rangeFits(const std::string& first, long long count, long long step, bool v6, Space space);
// "224.0.0.0/4" or "ff00::/8".
inline const char* groupSpace(bool v6) { return v6 ? "ff00::/8" : "224.0.0.0/4"; }
// The check of a group address option of class `cls`: "Invalid <option>."
// for text that is no address, a sentence naming the multicast space for
// an address outside it.
void checkGroupAddress(Checks& k, const std::string& cls, const char* option, const std::string& text, bool v6);

// Learned items of one kind, as a port files them.
template <class Item>
struct LearnedList : chassis::LearnedData {
    std::vector<Item> items;
};

// A request for learned items, its answer and the walk over it with a
// read-only staging object.
template <class Item, class Staging>
class LearnedWalk {
public:
    explicit LearnedWalk(Staging* staging) : staging_(staging) {}

    void send(const chassis::Port& port, const char* kind, const std::string& key, std::weak_ptr<void> owner) {
        forget();
        reply_.send(port, kind, key, std::move(owner));
    }
    // True once the answer is in; the walk then starts over.
    bool fetch() {
        if (!reply_.arrived()) return false;
        data_ = reply_.data() ? reply_.data() : std::make_shared<const LearnedList<Item>>();
        cursor_ = 0;
        return true;
    }
    int count() const { return data_ ? int(data_->items.size()) : 0; }
    bool first() {
        cursor_ = 0;
        return next();
    }
    bool next() {
        Staging* s = staging_.get();
        if (!s || !data_ || cursor_ >= data_->items.size()) return false;
        s->FromRecord(data_->items[cursor_++]);
        return true;
    }
    void forget() {
        reply_.forget();
        data_.reset();
        cursor_ = 0;
    }

private:
    Ref<Staging> staging_;
    LearnedReply<LearnedList<Item>> reply_;
    std::shared_ptr<const LearnedList<Item>> data_;
    size_t cursor_ = 0;
};

// ---- zkchassis::learn <kind> C D P ?key? itemList ----

// Readers of one value of a learned item; false when the value is refused.
bool learnedNumber(Tcl_Obj* value, long long lo, long long hi, long long& out);
bool learnedAddress(Tcl_Obj* value, bool v6, hal::EIPAddress& out);

// One -option of a learned item and how its value is read into the item.
template <class Item>
struct LearnedOption {
    const char* name;
    bool (*read)(Tcl_Obj* value, Item& item);
};

// Reads a list of items, each a list of -option value pairs, into `out`;
// "" or why it is refused ("<what> 2 of <listName>: ...").
template <class Item>
std::string readLearnedItems(Tcl_Obj* list, const std::vector<LearnedOption<Item>>& options, const char* what,
                             const char* listName, std::vector<Item>& out) {
    int count;
    Tcl_Obj** items;
    if (Tcl_ListObjGetElements(nullptr, list, &count, &items) != TCL_OK)
        return std::string(listName) + " is not a list";
    out.assign(size_t(count), Item{});
    for (int i = 0; i < count; ++i) {
        std::string where = std::string(what) + " " + std::to_string(i + 1) + " of " + listName + ": ";
        int n;
        Tcl_Obj** pairs;
        if (Tcl_ListObjGetElements(nullptr, items[i], &n, &pairs) != TCL_OK || n % 2)
            return where + "expected a list of -option value pairs";
        for (int k = 0; k < n; k += 2) {
            std::string option = Tcl_GetString(pairs[k]);
            const LearnedOption<Item>* known = nullptr;
            for (const auto& o : options)
                if (option == o.name) known = &o;
            if (!known) return where + "unknown option \"" + option + "\"";
            if (!known->read(pairs[k + 1], out[size_t(i)]))
                return where + "bad value for " + option + ": \"" + Tcl_GetString(pairs[k + 1]) + "\"";
        }
    }
    return "";
}

// Files the items under (kind, key) of the port; the command's result.
template <class Item>
int fileLearned(Tcl_Interp* interp, chassis::Port& port, const char* kind, const std::string& key,
                std::vector<Item> items) {
    auto data = std::make_shared<LearnedList<Item>>();
    data->items = std::move(items);
    chassis::Lab::instance().replies().learn(port.id.key(), kind, key, data);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

int learnFailure(Tcl_Interp* interp, const std::string& text);

}  // namespace zk::mcast
