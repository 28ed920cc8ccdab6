// A streaming JSON writer: records write themselves straight into a string,
// with no document tree in between, so a port with a million routes is
// written in one pass. Compact output matches nlohmann's dump(); with an
// indent it matches dump(indent).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hal {

class JsonWriter {
public:
    explicit JsonWriter(std::string& out, int indent = -1) : out_(out), indent_(indent) {}

    void beginObject() { open('{'); }
    void endObject() { close('}'); }
    void beginArray() { open('['); }
    void endArray() { close(']'); }
    void key(std::string_view name);

    void null();
    void boolean(bool v);
    void integer(long long v);
    void unsignedInteger(unsigned long long v);
    void number(double v);
    // Text as UTF-8; bytes that are not UTF-8 become U+FFFD, Tcl's two-byte
    // NUL becomes \u0000, so any string a script passes is written.
    void string(std::string_view text);
    // A value already in JSON form (a number or a quoted text made elsewhere).
    void raw(std::string_view text);

private:
    void open(char c);
    void close(char c);
    void beforeValue();
    void newline();
    void quoted(std::string_view s);

    std::string& out_;
    int indent_;
    std::vector<bool> hasItems_;  // per open container
    bool afterKey_ = false;
};

}  // namespace hal
