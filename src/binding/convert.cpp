#include "binding/convert.h"

#include <climits>
#include <cstring>

#include "util/tcl_integer.h"

namespace zk::binding {

bool booleanWord(const char* s, int& out) {
    static const struct {
        const char* word;
        int value;
    } words[] = {{"true", 1},  {"TCL_OK", 1},    {"enable", 1},  {"on", 1},
                 {"false", 0}, {"TCL_ERROR", 0}, {"disable", 0}, {"off", 0}};
    for (const auto& w : words)
        if (std::strcmp(s, w.word) == 0) {
            out = w.value;
            return true;
        }
    return false;
}

namespace {
bool toWide(Tcl_Obj* obj, Tcl_WideInt lo, Tcl_WideInt hi, Tcl_WideInt& out, ConvertError& err) {
    switch (readInteger(obj, lo, hi, out)) {
    case IntegerRead::Ok:
        return true;
    case IntegerRead::OutOfRange:
        err.text = std::string("integer value too large to represent: \"") + Tcl_GetString(obj) + "\"";
        return false;
    case IntegerRead::NotInteger:
        break;
    }
    int word;
    if (booleanWord(Tcl_GetString(obj), word)) {
        out = word;
        return true;
    }
    err.text = std::string("expected integer but got \"") + Tcl_GetString(obj) + "\"";
    return false;
}
}  // namespace

bool toInt(Tcl_Obj* obj, int& out, ConvertError& err) {
    Tcl_WideInt w;
    if (!toWide(obj, INT_MIN, INT_MAX, w, err)) return false;
    out = int(w);
    return true;
}

bool toUnsigned(Tcl_Obj* obj, unsigned& out, ConvertError& err) {
    Tcl_WideInt w;
    // The signed range too, as Tcl takes 32-bit values: -1 is 4294967295.
    if (!toWide(obj, INT_MIN, UINT_MAX, w, err)) return false;
    out = unsigned(w);
    return true;
}

bool toLong(Tcl_Obj* obj, long& out, ConvertError& err) {
    Tcl_WideInt w;
    if (!toWide(obj, LONG_MIN, LONG_MAX, w, err)) return false;
    out = long(w);
    return true;
}

bool toDouble(Tcl_Obj* obj, double& out, ConvertError& err) {
    if (Tcl_GetDoubleFromObj(nullptr, obj, &out) == TCL_OK) return true;
    err.text = std::string("expected floating-point number but got \"") + Tcl_GetString(obj) + "\"";
    return false;
}

}  // namespace zk::binding
