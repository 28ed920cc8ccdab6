#include "binding/option_list.h"

#include <vector>

namespace zk::binding {
namespace {

// Walks the pairs; `accepts` says which options may be named, `set` sets
// one and gives "" or why its value is refused.
template <class Accepts, class Set>
std::string fromPairs(const ClassRecord& cls, Tcl_Obj* pairs, Accepts accepts, Set set) {
    int n;
    Tcl_Obj** items;
    if (Tcl_ListObjGetElements(nullptr, pairs, &n, &items) != TCL_OK || n % 2)
        return "expected a list of -option value pairs";
    for (int k = 0; k < n; k += 2) {
        std::string option = Tcl_GetString(items[k]);
        const AttrRecord* attr = option.size() > 1 && option[0] == '-' ? cls.findAttr(option.substr(1)) : nullptr;
        if (!attr || !accepts(*attr)) {
            std::string text = "unknown option \"" + option + "\": must be ";
            std::vector<std::string> names;
            for (const auto& a : cls.attributes)
                if (accepts(*a)) names.push_back("-" + a->name);
            for (size_t i = 0; i < names.size(); ++i)
                text += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
            return text;
        }
        if (std::string why = set(*attr, items[k + 1]); !why.empty()) return "bad value for " + option + ": " + why;
    }
    return "";
}

}  // namespace

bool configureFromList(const ClassRecord& cls, Object& obj, Tcl_Obj* pairs, std::string& error) {
    error = fromPairs(
        cls, pairs, [](const AttrRecord& a) { return a.set != nullptr; },
        [&](const AttrRecord& a, Tcl_Obj* value) {
            ConvertError err;
            return a.set(a, nullptr, &obj, value, err) ? std::string() : err.text;
        });
    return error.empty();
}

std::string learnOptions(const ClassRecord& cls, Object& obj, Tcl_Obj* pairs, learn::Given& given) {
    return fromPairs(
        cls, pairs, [](const AttrRecord& a) { return a.learn != nullptr; },
        [&](const AttrRecord& a, Tcl_Obj* value) {
            if (!a.learn(a, obj, value)) return "\"" + std::string(Tcl_GetString(value)) + "\"";
            given.add(a.name);
            return std::string();
        });
}

}  // namespace zk::binding
