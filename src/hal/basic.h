// Basic value types of the open HAL: addresses, byte strings, identities,
// and the ordered record list that configuration records keep children in.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "hal/fields.h"
#include "util/indexed_list.h"

namespace hal {

// A byte string; its JSON form is lower-case hex.
struct EBlob {
    std::vector<uint8_t> bytes;
    std::string ToHex() const;
    bool operator==(const EBlob&) const = default;
};

// An IPv4 (4 bytes) or IPv6 (16 bytes) address, most significant byte first.
class EIPAddress {
public:
    EIPAddress() = default;  // IPv4 0.0.0.0
    static EIPAddress FromV4(uint32_t hostOrder);
    static EIPAddress FromV6(const std::array<uint8_t, 16>& bytes);

    bool IsV6() const { return v6_; }
    uint32_t GetV4() const;  // host order value of an IPv4 address
    const std::array<uint8_t, 16>& GetBytes() const { return bytes_; }
    EBlob GetAddressAsBlob() const;
    std::string ToString() const;  // dotted or IPv6 text
    bool operator==(const EIPAddress&) const = default;

private:
    bool v6_ = false;
    std::array<uint8_t, 16> bytes_{};  // IPv4 uses the first four
};

// An address with a prefix length.
struct EIPMaskedAddress {
    EIPAddress address;
    int prefix = 0;
    std::string ToString() const;  // "a.b.c.d/len"
    bool operator==(const EIPMaskedAddress&) const = default;
};

// Identity of a configuration object; unique in the process, never reused.
class EComponentId {
public:
    EComponentId() = default;
    static EComponentId New();
    uint64_t GetValue() const { return value_; }
    bool IsValid() const { return value_ != 0; }
    bool operator==(const EComponentId&) const = default;

private:
    explicit EComponentId(uint64_t v) : value_(v) {}
    uint64_t value_ = 0;
};

// An unsigned field of which the equipment keeps N bits: 2^24 + 5 is 5.
template <int N>
class UIntBits {
public:
    constexpr UIntBits(uint32_t v = 0) : v_(v & kMask) {}  // NOLINT(google-explicit-constructor): a narrow number
    constexpr operator uint32_t() const { return v_; }    // NOLINT(google-explicit-constructor)
    friend void writeJson(JsonWriter& w, UIntBits b) { w.unsignedInteger(b.v_); }

private:
    static constexpr uint32_t kMask = N >= 32 ? ~0u : (1u << N) - 1;
    uint32_t v_;
};

void writeJson(JsonWriter& w, const EBlob& b);
void writeJson(JsonWriter& w, const EIPAddress& a);
void writeJson(JsonWriter& w, const EIPMaskedAddress& a);
void writeJson(JsonWriter& w, const EComponentId& id);

// Children of a configuration record, in order of addition, keyed by the
// identity each receives when it is added (the record's `id`).
template <class Rec>
class RecordList {
public:
    EComponentId Add(Rec r) {
        EComponentId id = EComponentId::New();
        r.id = id;
        items_.add(id.GetValue(), std::move(r));
        return id;
    }
    Rec* Find(EComponentId id) { return items_.find(id.GetValue()); }
    const Rec* Find(EComponentId id) const { return items_.find(id.GetValue()); }
    bool Replace(EComponentId id, Rec r) {
        Rec* old = Find(id);
        if (!old) return false;
        r.id = id;
        *old = std::move(r);
        return true;
    }
    bool Remove(EComponentId id) { return items_.erase(id.GetValue()); }
    void Clear() { items_.clear(); }
    size_t Size() const { return items_.size(); }
    Rec* At(size_t pos) { return items_.at(pos).second; }
    const Rec* At(size_t pos) const { return items_.at(pos).second; }
    template <class F>
    void ForEach(F&& f) const {
        items_.forEach([&](uint64_t, const Rec& r) { f(r); });
    }

    friend bool operator==(const RecordList& a, const RecordList& b) {
        if (a.Size() != b.Size()) return false;
        for (size_t i = 0; i < a.Size(); ++i)
            if (!(*a.At(i) == *b.At(i))) return false;
        return true;
    }
    friend void writeJson(JsonWriter& w, const RecordList& list) {
        w.beginArray();
        list.ForEach([&](const Rec& r) { writeValue(w, r); });
        w.endArray();
    }

private:
    zk::IndexedList<uint64_t, Rec> items_;
};

// Every configuration record carries an identity.
struct ERecord {
    EComponentId id;
    static constexpr auto fields() { return hal::fields(field("ID", &ERecord::id)); }
};

// A protocol's whole configuration on one port (ERIPServer, EOSPFServer ...),
// as the port keeps it and sends it.
class EConfigRoot : public ERecord {
public:
    virtual ~EConfigRoot() = default;
    virtual void WriteJson(JsonWriter& w) const = 0;
};

// The root of a record type R that has a field table.
template <class R>
class ConfigRoot : public EConfigRoot {
public:
    void WriteJson(JsonWriter& w) const override { writeValue(w, static_cast<const R&>(*this)); }
};

}  // namespace hal
