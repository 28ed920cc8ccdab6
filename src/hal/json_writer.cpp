#include "hal/json_writer.h"

#include <charconv>
#include <nlohmann/json.hpp>

namespace hal {

void JsonWriter::newline() {
    out_ += '\n';
    out_.append(hasItems_.size() * size_t(indent_), ' ');
}

void JsonWriter::beforeValue() {
    if (afterKey_) {
        afterKey_ = false;
        return;
    }
    if (hasItems_.empty()) return;
    if (hasItems_.back()) out_ += ',';
    hasItems_.back() = true;
    if (indent_ >= 0) newline();
}

void JsonWriter::open(char c) {
    beforeValue();
    out_ += c;
    hasItems_.push_back(false);
}

void JsonWriter::close(char c) {
    bool items = hasItems_.back();
    hasItems_.pop_back();
    if (items && indent_ >= 0) newline();
    out_ += c;
}

void JsonWriter::key(std::string_view name) {
    beforeValue();
    quoted(name);
    out_ += indent_ >= 0 ? ": " : ":";
    afterKey_ = true;
}

void JsonWriter::raw(std::string_view text) {
    beforeValue();
    out_.append(text);
}

void JsonWriter::null() {
    beforeValue();
    out_ += "null";
}

void JsonWriter::boolean(bool v) {
    beforeValue();
    out_ += v ? "true" : "false";
}

void JsonWriter::integer(long long v) {
    beforeValue();
    char buf[24];
    auto r = std::to_chars(buf, buf + sizeof buf, v);
    out_.append(buf, r.ptr);
}

void JsonWriter::unsignedInteger(unsigned long long v) {
    beforeValue();
    char buf[24];
    auto r = std::to_chars(buf, buf + sizeof buf, v);
    out_.append(buf, r.ptr);
}

void JsonWriter::number(double v) {
    beforeValue();
    out_ += nlohmann::json(v).dump();  // the shortest text that reads back the same
}

namespace {

// Length of the UTF-8 sequence at s[i], or 0 when it is not one.
size_t utf8Length(std::string_view s, size_t i) {
    auto byte = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
    unsigned char b = byte(i);
    size_t n = b >= 0xF0 && b <= 0xF4 ? 4 : b >= 0xE0 ? 3 : b >= 0xC2 && b < 0xE0 ? 2 : 0;
    if (n == 0 || i + n > s.size()) return 0;
    for (size_t k = 1; k < n; ++k)
        if ((byte(i + k) & 0xC0) != 0x80) return 0;
    unsigned char c = byte(i + 1);
    if (b == 0xE0 && c < 0xA0) return 0;  // overlong
    if (b == 0xED && c >= 0xA0) return 0;  // a surrogate half
    if (b == 0xF0 && c < 0x90) return 0;  // overlong
    if (b == 0xF4 && c >= 0x90) return 0;  // beyond U+10FFFF
    return n;
}

// The character of a high and a low surrogate half, each as three bytes,
// at s[i]; 0 when there is no such pair.
uint32_t surrogatePair(std::string_view s, size_t i) {
    if (i + 6 > s.size()) return 0;
    auto b = [&](size_t k) { return uint32_t(static_cast<unsigned char>(s[i + k])); };
    if (b(0) != 0xED || (b(1) & 0xF0) != 0xA0 || (b(2) & 0xC0) != 0x80) return 0;
    if (b(3) != 0xED || (b(4) & 0xF0) != 0xB0 || (b(5) & 0xC0) != 0x80) return 0;
    uint32_t high = 0xD000 | (b(1) & 0x3F) << 6 | (b(2) & 0x3F);
    uint32_t low = 0xD000 | (b(4) & 0x3F) << 6 | (b(5) & 0x3F);
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

}  // namespace

void JsonWriter::string(std::string_view s) {
    beforeValue();
    quoted(s);
}

void JsonWriter::quoted(std::string_view s) {
    static const char hex[] = "0123456789abcdef";
    out_ += '"';
    size_t plain = 0;  // most text (every key, every address) needs no escaping
    while (plain < s.size() && static_cast<unsigned char>(s[plain]) >= 0x20 &&
           static_cast<unsigned char>(s[plain]) < 0x80 && s[plain] != '"' && s[plain] != '\\')
        ++plain;
    out_.append(s.substr(0, plain));
    s.remove_prefix(plain);
    for (size_t i = 0; i < s.size(); ++i) {
        auto b = static_cast<unsigned char>(s[i]);
        switch (b) {
        case '"': out_ += "\\\""; continue;
        case '\\': out_ += "\\\\"; continue;
        case '\b': out_ += "\\b"; continue;
        case '\f': out_ += "\\f"; continue;
        case '\n': out_ += "\\n"; continue;
        case '\r': out_ += "\\r"; continue;
        case '\t': out_ += "\\t"; continue;
        default: break;
        }
        if (b < 0x20) {
            out_ += "\\u00";
            out_ += hex[b >> 4];
            out_ += hex[b & 15];
        } else if (b < 0x80) {
            out_ += char(b);
        } else if (b == 0xC0 && i + 1 < s.size() && static_cast<unsigned char>(s[i + 1]) == 0x80) {
            out_ += "\\u0000";  // Tcl keeps NUL as two bytes
            ++i;
        } else if (size_t n = utf8Length(s, i)) {
            out_.append(s.substr(i, n));
            i += n - 1;
        } else if (uint32_t c = surrogatePair(s, i)) {  // Tcl keeps a character beyond U+FFFF as two halves
            char utf8[4] = {char(0xF0 | c >> 18), char(0x80 | (c >> 12 & 0x3F)), char(0x80 | (c >> 6 & 0x3F)),
                            char(0x80 | (c & 0x3F))};
            out_.append(utf8, 4);
            i += 5;
        } else {  // one replacement for a bad byte and the continuation bytes after it
            out_ += "\xEF\xBF\xBD";
            while (i + 1 < s.size() && (static_cast<unsigned char>(s[i + 1]) & 0xC0) == 0x80) ++i;
        }
    }
    out_ += '"';
}

}  // namespace hal
