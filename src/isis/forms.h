// Text forms of IS-IS values and the rule for options that need the port's
// IS-IS features, shared by the IS-IS classes.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/errors.h"
#include "core/port.h"
#include "core/port_feature.h"
#include "hal/basic.h"

namespace zk::isis {

inline constexpr int kMaxWideMetric = 16777215;  // a wide metric is 24 bits
inline constexpr size_t kMaxPassword = 254;      // the authentication TLV's value less its type byte

// NSAP-style byte text: byte text whose groups may also be split by dots,
// so "0000.0000.0001", "00 00 00 00 00 01" and "000000000001" are one ID.
std::optional<std::vector<uint8_t>> parseIsoBytes(std::string_view text);
// The dotted form: groups of two bytes, a leading odd byte alone ("49.0001").
std::string formatIsoBytes(const std::vector<uint8_t>& bytes);

// A system ID is six bytes.
bool systemId(const std::string& text);
hal::EBlob systemIdBlob(const std::string& text);  // six zero bytes for anything else
std::string systemIdText(const hal::EBlob& id);

// Area addresses: a Tcl list of one to three areas, each 1 to 13 bytes.
bool areaAddresses(const std::string& list);
std::vector<hal::EBlob> areaBlobs(const std::string& list);
std::string areaText(const std::vector<hal::EBlob>& areas);

// An LSP ID: system ID, pseudonode and fragment, "0000.0000.0001.00-00".
std::optional<hal::EBlob> parseLspId(std::string_view text);
std::string lspIdText(const hal::EBlob& id);

// An option that needs the port's IS-IS features (traffic engineering,
// graceful restart): `restore` puts the default into the record and tells
// whether the record held another value.
template <class R>
struct PortFeature {
    const char* option;
    bool (*restore)(R& r, const R& defaults);
};
template <auto Member, class R>
bool restoreDefault(R& r, const R& defaults) {
    bool differs = !(r.*Member == defaults.*Member);
    r.*Member = defaults.*Member;
    return differs;
}

// Where the port has the features the options stay as converted. Elsewhere
// each keeps the record's default and one that differed is reported; with
// no port at all, the please-select message. Never a failure.
template <class R, size_t N>
void applyPortFeatures(R& r, const char* where, const PortFeature<R> (&features)[N]) {
    auto has = [](const Port& p) { return p.isisFeatures != 0; };
    if (Port* port = currentPort(); port && has(*port)) return;
    const R defaults;
    std::array<PortDependent, N> options;
    for (size_t i = 0; i < N; ++i) options[i] = {features[i].option, features[i].restore(r, defaults)};
    portHasFeature(where, has, options);
}

}  // namespace zk::isis
