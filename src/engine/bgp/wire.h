// Big-endian reading and writing over byte buffers, the way every BGP field
// is carried. A Reader never reads past its end: a short read sets its
// failure flag and yields zeros, so a decoder checks once after a group of
// fields instead of before each one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace engine::bgp {

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;

class Reader {
public:
    explicit Reader(ByteView b) : data_(b.data()), size_(b.size()) {}

    size_t remaining() const { return size_ - pos_; }
    size_t position() const { return pos_; }
    bool failed() const { return failed_; }
    bool empty() const { return pos_ >= size_; }

    uint8_t u8() {
        if (!need(1)) return 0;
        return data_[pos_++];
    }
    uint16_t u16() {
        if (!need(2)) return 0;
        uint16_t v = uint16_t(data_[pos_] << 8 | data_[pos_ + 1]);
        pos_ += 2;
        return v;
    }
    uint32_t u32() {
        if (!need(4)) return 0;
        uint32_t v = uint32_t(data_[pos_]) << 24 | uint32_t(data_[pos_ + 1]) << 16 | uint32_t(data_[pos_ + 2]) << 8 |
                     uint32_t(data_[pos_ + 3]);
        pos_ += 4;
        return v;
    }
    // The next n bytes; an empty view and the failure flag when fewer remain.
    ByteView bytes(size_t n) {
        if (!need(n)) return {};
        ByteView v(data_ + pos_, n);
        pos_ += n;
        return v;
    }
    ByteView rest() { return bytes(remaining()); }

private:
    bool need(size_t n) {
        if (failed_ || n > size_ - pos_) {
            failed_ = true;
            return false;
        }
        return true;
    }
    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 0;
    bool failed_ = false;
};

// Appends to a byte vector; put16At/put32At fill a length written earlier.
class Writer {
public:
    explicit Writer(Bytes& out) : out_(out) {}
    size_t size() const { return out_.size(); }
    void u8(uint8_t v) { out_.push_back(v); }
    void u16(uint16_t v) {
        out_.push_back(uint8_t(v >> 8));
        out_.push_back(uint8_t(v));
    }
    void u32(uint32_t v) {
        u16(uint16_t(v >> 16));
        u16(uint16_t(v));
    }
    void bytes(ByteView b) { out_.insert(out_.end(), b.begin(), b.end()); }
    void put16At(size_t pos, uint16_t v) {
        out_[pos] = uint8_t(v >> 8);
        out_[pos + 1] = uint8_t(v);
    }

private:
    Bytes& out_;
};

inline void store16(uint8_t* p, uint16_t v) {
    p[0] = uint8_t(v >> 8);
    p[1] = uint8_t(v);
}
inline void store32(uint8_t* p, uint32_t v) {
    p[0] = uint8_t(v >> 24);
    p[1] = uint8_t(v >> 16);
    p[2] = uint8_t(v >> 8);
    p[3] = uint8_t(v);
}

}  // namespace engine::bgp
