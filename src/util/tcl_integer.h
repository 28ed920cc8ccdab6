// Reading an integer from a Tcl value exactly: Tcl_GetWideIntFromObj takes
// texts of up to 64 bits of magnitude and wraps those past the signed 64-bit
// range (18446744073709551615 reads as -1), and Tcl_GetIntFromObj wraps
// anything up to 32 bits of magnitude. Every integer the module takes from a
// script goes through readInteger, so a value is either taken as written or
// refused.
#pragma once

#include <tcl.h>

#include <cctype>
#include <cstring>

namespace zk {

enum class IntegerRead { Ok, NotInteger, OutOfRange };

// True when `text` is written as an integer (decimal, or 0x/0o/0b with their
// digits), whatever its size, with optional blanks and sign around it.
inline bool looksInteger(const char* text) {
    const char* s = text;
    while (std::isspace(static_cast<unsigned char>(*s))) ++s;
    if (*s == '+' || *s == '-') ++s;
    const char* digits = "0123456789";
    if (s[0] == '0' && s[1] && std::strchr("xXoObB", s[1])) {
        digits = std::strchr("xX", s[1]) ? "0123456789abcdefABCDEF" : std::strchr("oO", s[1]) ? "01234567" : "01";
        s += 2;
    }
    const char* first = s;
    while (*s && std::strchr(digits, *s)) ++s;
    if (s == first) return false;
    while (std::isspace(static_cast<unsigned char>(*s))) ++s;
    return *s == '\0';
}

// The value of `obj` when it is an integer within [lo, hi].
inline IntegerRead readInteger(Tcl_Obj* obj, Tcl_WideInt lo, Tcl_WideInt hi, Tcl_WideInt& out) {
    if (Tcl_GetWideIntFromObj(nullptr, obj, &out) != TCL_OK) {
        // Beyond 64 bits Tcl refuses the text; it is still an integer, only too large.
        return looksInteger(Tcl_GetString(obj)) ? IntegerRead::OutOfRange : IntegerRead::NotInteger;
    }
    if (out != 0) {
        // A wrapped value has lost its sign: compare with the sign written.
        const char* s = Tcl_GetString(obj);
        while (std::isspace(static_cast<unsigned char>(*s))) ++s;
        if ((*s == '-') != (out < 0)) return IntegerRead::OutOfRange;
    }
    return out < lo || out > hi ? IntegerRead::OutOfRange : IntegerRead::Ok;
}

}  // namespace zk
