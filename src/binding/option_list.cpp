#include "binding/option_list.h"

namespace zk::binding {

bool configureFromList(Tcl_Interp* interp, const ClassRecord& cls, Object& obj, Tcl_Obj* pairs, std::string& error) {
    int n;
    Tcl_Obj** items;
    if (Tcl_ListObjGetElements(nullptr, pairs, &n, &items) != TCL_OK || n % 2) {
        error = "expected a list of -option value pairs";
        return false;
    }
    for (int k = 0; k < n; k += 2) {
        std::string option = Tcl_GetString(items[k]);
        const AttrRecord* attr = option.size() > 1 && option[0] == '-' ? cls.findAttr(option.substr(1)) : nullptr;
        if (!attr || !attr->set) {
            error = "unknown option \"" + option + "\"";
            return false;
        }
        ConvertError err;
        if (!attr->set(*attr, interp, &obj, items[k + 1], err)) {
            error = "bad value for " + option + ": " + err.text;
            return false;
        }
    }
    return true;
}

}  // namespace zk::binding
