// What a test loads into a port with `zkchassis::learn <kind> C D P ?key? list`:
// the key the protocol's requests name (an interface address, a router ID,
// a bridge MAC ...) and a list of items, each a list of -option value
// pairs. A protocol lists its item options in a table; reading, the
// messages and filing the list under (kind, key) are the same for all.
//
//   const learn::Option<Label> kLabelOptions[] = {
//       {"-label", learn::number<&Label::label, 0, 1048575>},
//       {"-peerAddress", learn::ipv4<&Label::peer>},
//   };
//   learn::registerItems<Label>(kLdpLabelsKind, "routerId labelList", &learn::kIpv4Key, "label",
//                               learn::withOptions<Label>(kLabelOptions));
#pragma once

#include <tcl.h>

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "chassis/learn.h"
#include "chassis/port.h"
#include "core/learned_reply.h"
#include "hal/basic.h"

namespace zk {

namespace learn {

// One -option of an item and how its value is read; false refuses it.
template <class Item>
struct Option {
    std::string_view name;
    bool (*read)(Tcl_Obj* value, Item& item);
};

namespace detail {
template <class M>
struct MemberOf;
template <class C, class F>
struct MemberOf<F C::*> {
    using Class = C;
    using Field = F;
};
bool wide(Tcl_Obj* value, long long lo, long long hi, long long& out);
std::optional<hal::EIPAddress> address(Tcl_Obj* value, int family);  // 4, 6, or 0 for either
std::optional<hal::EBlob> mac(Tcl_Obj* value);
}  // namespace detail

template <auto Field>
using ItemOf = typename detail::MemberOf<decltype(Field)>::Class;

// Readers of one value into a field of the item.
template <auto Field, long long Lo, long long Hi>
bool number(Tcl_Obj* value, ItemOf<Field>& item) {
    long long v;
    if (!detail::wide(value, Lo, Hi, v)) return false;
    item.*Field = static_cast<typename detail::MemberOf<decltype(Field)>::Field>(v);
    return true;
}
template <auto Field, int Family>
bool address(Tcl_Obj* value, ItemOf<Field>& item) {
    auto a = detail::address(value, Family);
    if (a) item.*Field = *a;
    return a.has_value();
}
template <auto Field>
constexpr auto ipv4 = address<Field, 4>;
template <auto Field>
constexpr auto ipv6 = address<Field, 6>;
template <auto Field>
constexpr auto anyIp = address<Field, 0>;
template <auto Field>
bool mac(Tcl_Obj* value, ItemOf<Field>& item) {
    auto m = detail::mac(value);
    if (m) item.*Field = *m;
    return m.has_value();
}
template <auto Field>
bool text(Tcl_Obj* value, ItemOf<Field>& item) {
    item.*Field = Tcl_GetString(value);
    return true;
}
// Parse(text) gives an optional of the field's value.
template <auto Field, auto Parse>
bool parsed(Tcl_Obj* value, ItemOf<Field>& item) {
    auto v = Parse(Tcl_GetString(value));
    if (v) item.*Field = *v;
    return v.has_value();
}

// Which options an item's pairs named, for defaults that depend on them.
class Given {
public:
    bool has(std::string_view option) const;
    void add(std::string_view option) { names_.push_back(option); }

private:
    std::vector<std::string_view> names_;
};

namespace detail {
// The -option value pairs of an item, or why they are none.
std::string pairsOf(Tcl_Obj* element, int& n, Tcl_Obj**& pairs);
std::string unknownOption(std::string_view option, const std::vector<std::string_view>& names);
std::string badValue(std::string_view option, Tcl_Obj* value);
}  // namespace detail

// How an item is read from its element of the list, given the key's
// canonical text: "" or why it is refused.
template <class Item>
using ItemReader = std::function<std::string(Tcl_Obj* element, const std::string& key, Item& item)>;

// The reader of an option table: the item starts as `start`, and `finish`
// settles what depends on the options given. Refusals read
// `unknown option "-x": must be -a, -b or -c` and `bad value for -a: "v"`.
template <class Item>
ItemReader<Item> withOptions(std::span<const Option<Item>> options, Item start = {},
                             void (*finish)(Item&, const Given&) = nullptr) {
    return [options, start, finish](Tcl_Obj* element, const std::string&, Item& item) -> std::string {
        int n;
        Tcl_Obj** pairs;
        if (std::string why = detail::pairsOf(element, n, pairs); !why.empty()) return why;
        item = start;
        Given given;
        for (int k = 0; k < n; k += 2) {
            std::string_view name = Tcl_GetString(pairs[k]);
            const Option<Item>* option = nullptr;
            for (const Option<Item>& o : options)
                if (o.name == name) option = &o;
            if (!option) {
                std::vector<std::string_view> names;
                for (const Option<Item>& o : options) names.push_back(o.name);
                return detail::unknownOption(name, names);
            }
            if (!option->read(pairs[k + 1], item)) return detail::badValue(name, pairs[k + 1]);
            given.add(option->name);
        }
        if (finish) finish(item, given);
        return "";
    };
}

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

// `zkchassis::learn <kind> C D P ?key? list`: the usage names the key
// (unless `key` is null) and then the list; each element is read into an
// item ("<what> 2 of <list>: ..." when one is refused), and the answer, a
// LearnedItems<Item>, is filed under the key's canonical text ("" without
// a key).
template <class Item>
void registerItems(const char* kind, const char* usage, const Key* key, const char* what, ItemReader<Item> read) {
    std::string words = usage;
    std::string listName = key ? words.substr(words.find(' ') + 1) : words;
    std::string keyName = key ? words.substr(0, words.find(' ')) : "";
    chassis::registerLearnKind(kind, usage, [=](Tcl_Interp* interp, chassis::Port& port, Tcl_Obj* const objv[]) {
        std::optional<std::string> canonical = key ? readKey(interp, objv[0], keyName.c_str(), *key) : "";
        if (!canonical) return TCL_ERROR;
        int count;
        Tcl_Obj** elements;
        if (Tcl_ListObjGetElements(interp, objv[key ? 1 : 0], &count, &elements) != TCL_OK) return TCL_ERROR;
        auto data = std::make_shared<LearnedItems<Item>>();
        data->items.resize(size_t(count));
        for (int i = 0; i < count; ++i)
            if (std::string why = read(elements[i], *canonical, data->items[size_t(i)]); !why.empty())
                return failed(interp, std::string(what) + " " + std::to_string(i + 1) + " of " + listName + ": " + why);
        return file(interp, port, kind, *canonical, data);
    });
}

}  // namespace learn
}  // namespace zk
