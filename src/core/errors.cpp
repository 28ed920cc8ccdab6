#include "core/errors.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace zk {
namespace {
std::string& text() {
    static std::string* t = new std::string;  // lives for the process
    return *t;
}

std::string vformat(const char* format, va_list ap) {
    va_list copy;
    va_copy(copy, ap);
    int n = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (n < 0) return format;
    std::vector<char> buf(size_t(n) + 1);
    std::vsnprintf(buf.data(), buf.size(), format, ap);
    return std::string(buf.data(), size_t(n));
}
}  // namespace

const std::string& lastError() { return text(); }
void setLastError(std::string t) { text() = std::move(t); }

void setLastErrorf(const char* format, ...) {
    va_list ap;
    va_start(ap, format);
    text() = vformat(format, ap);
    va_end(ap);
}

std::string formatText(const char* format, ...) {
    va_list ap;
    va_start(ap, format);
    std::string s = vformat(format, ap);
    va_end(ap);
    return s;
}

}  // namespace zk
