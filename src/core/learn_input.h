// What a test loads into a port with `zkchassis::learn <kind> C D P ?key? list`:
// the key the protocol's requests name (an interface address, a router ID,
// a bridge MAC ...) and a list of items, each a list of -option value
// pairs. Reading the key and the list, the messages and filing the answer
// under (kind, key) are the same for every kind; how an item is read is
// the kind's own (binding/learned.h reads one by the learned options of
// its read-only class):
//
//   learn::registerItems<hal::ELdpLearnedLabel>(kLdpLabelsKind, Protocol::Ldp, "routerId labelList",
//                                               &learn::kIpv4Key, "label",
//                                               binding::learnedItems<TCLLdpLearnedLabel>());
#pragma once

#include <tcl.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/equipment.h"
#include "core/learned.h"
#include "hal/basic.h"

namespace zk::learn {

// What a handler read: the answer and the key it is filed under.
struct Filed {
    std::string key;
    std::shared_ptr<const LearnedData> data;
};

// Reads the arguments after C D P, as many as the kind's usage has words
// (the command checks the count), into `out`. Returns TCL_OK or TCL_ERROR
// with a message in the interpreter result; the command then gives the
// error the code {ZKCHASSIS LEARN <kind>}.
using Handler = std::function<int(Tcl_Interp* interp, Tcl_Obj* const objv[], Filed& out)>;

// A kind: the protocol whose requests it answers (only while the protocol
// runs, unless the port always answers), whether those are statistics
// queries (answered only while the port counts them), its arguments after
// C D P as words of a usage, and how they are read.
struct Kind {
    Protocol protocol;
    bool statistics;
    std::string usage;
    Handler handler;
};

void registerKind(const char* kind, Protocol protocol, const char* usage, Handler handler, bool statistics = false);
const Kind* findKind(std::string_view kind);  // null: none registered
// Every kind, by name.
void forEachKind(const std::function<void(const std::string&, const Kind&)>& visit);

// Which options an item's pairs named, for defaults that depend on them.
class Given {
public:
    bool has(std::string_view option) const;
    void add(std::string option) { names_.push_back(std::move(option)); }

private:
    std::vector<std::string> names_;
};

// How an item is read from its element of the list, given the key's
// canonical text: "" or why it is refused.
template <class Item>
using ItemReader = std::function<std::string(Tcl_Obj* element, const std::string& key, Item& item)>;

// The key an answer is filed under, as the protocol's requests name it:
// the text a test gives, made canonical; nullopt refuses it ("invalid
// routerId \"1.1.1\": expected an IPv4 address").
struct Key {
    const char* expected;
    std::optional<std::string> (*canonical)(Tcl_Obj* value);
};
extern const Key kIpv4Key;
extern const Key kIpv6Key;
extern const Key kAnyIpKey;
extern const Key kMacKey;

// The pieces of a handler: an error result, the key's canonical text (or
// why it is refused), and the answer filed under the key.
int failed(Tcl_Interp* interp, const std::string& text);
std::optional<std::string> readKey(Tcl_Interp* interp, Tcl_Obj* value, const char* name, const Key& key);
int file(Tcl_Interp* interp, Filed& out, const std::string& key, std::shared_ptr<const LearnedData> data);

// `zkchassis::learn <kind> C D P ?key? list`, answering requests of
// `protocol`: the usage names the key
// (unless `key` is null) and then the list; each element is read into an
// item ("<what> 2 of <list>: ..." when one is refused), and the answer, a
// LearnedItems<Item>, is filed under the key's canonical text ("" without
// a key).
template <class Item>
void registerItems(const char* kind, Protocol protocol, const char* usage, const Key* key, const char* what,
                   ItemReader<Item> read) {
    std::string words = usage;
    std::string listName = key ? words.substr(words.find(' ') + 1) : words;
    std::string keyName = key ? words.substr(0, words.find(' ')) : "";
    registerKind(
        kind, protocol, usage, [=](Tcl_Interp* interp, Tcl_Obj* const objv[], Filed& out) {
            std::optional<std::string> canonical = key ? readKey(interp, objv[0], keyName.c_str(), *key) : "";
            if (!canonical) return TCL_ERROR;
            int count;
            Tcl_Obj** elements;
            if (Tcl_ListObjGetElements(interp, objv[key ? 1 : 0], &count, &elements) != TCL_OK) return TCL_ERROR;
            auto data = std::make_shared<LearnedItems<Item>>();
            data->items.resize(size_t(count));
            for (int i = 0; i < count; ++i)
                if (std::string why = read(elements[i], *canonical, data->items[size_t(i)]); !why.empty())
                    return failed(interp,
                                  std::string(what) + " " + std::to_string(i + 1) + " of " + listName + ": " + why);
            return file(interp, out, *canonical, data);
        });
}

}  // namespace zk::learn
