// Result codes and the module-wide last-error text.
#pragma once

#include <string>

namespace zk {

enum Result : int {
    kOk = 0,
    kFail = 1,
    kNoPort = 100,
    kInvalid = 101,
    kNotLicensed = 104,
};

// The message of the last failure. Overwritten by each failure, never
// appended to, never cleared by success.
const std::string& lastError();
void setLastError(std::string text);
// printf-style; the texts of this system carry %d and %s.
void setLastErrorf(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string formatText(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace zk
