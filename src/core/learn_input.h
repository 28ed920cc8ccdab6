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

#include "chassis/learn.h"
#include "chassis/port.h"
#include "core/learned_reply.h"
#include "hal/basic.h"

namespace zk::learn {

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
// why it is refused), and filing the answer under (kind, key).
int failed(Tcl_Interp* interp, const std::string& text);
std::optional<std::string> readKey(Tcl_Interp* interp, Tcl_Obj* value, const char* name, const Key& key);
int file(Tcl_Interp* interp, chassis::Port& port, const char* kind, const std::string& key,
         std::shared_ptr<chassis::LearnedData> data);

// `zkchassis::learn <kind> C D P ?key? list`, answering requests of
// `protocol` (chassis/learn.h): the usage names the key
// (unless `key` is null) and then the list; each element is read into an
// item ("<what> 2 of <list>: ..." when one is refused), and the answer, a
// LearnedItems<Item>, is filed under the key's canonical text ("" without
// a key).
template <class Item>
void registerItems(const char* kind, chassis::Protocol protocol, const char* usage, const Key* key, const char* what,
                   ItemReader<Item> read) {
    std::string words = usage;
    std::string listName = key ? words.substr(words.find(' ') + 1) : words;
    std::string keyName = key ? words.substr(0, words.find(' ')) : "";
    chassis::registerLearnKind(
        kind, protocol, usage, [=](Tcl_Interp* interp, chassis::Port& port, Tcl_Obj* const objv[]) {
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
            return file(interp, port, kind, *canonical, data);
        });
}

}  // namespace zk::learn
