// MAC addresses as scripts write them. Three text forms are read:
//
//   00:11:22:33:44:55   six groups of two hex digits split by ':'
//   00-11-22-33-44-55   the same split by '-'
//   0011.2233.4455      three groups of four hex digits split by '.'
//
// Either case; one separator throughout; nothing before or after.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "hal/basic.h"

namespace zk {

inline constexpr uint64_t kLastMac = (uint64_t(1) << 48) - 1;

// The 48-bit value, most significant byte first.
std::optional<uint64_t> parseMac(std::string_view text);
// "00:11:22:33:44:55", lower case.
std::string formatMac(uint64_t mac);
inline bool validMac(const std::string& text) { return parseMac(text).has_value(); }

// A MAC address as the records keep it: six bytes, most significant first.
// Text that is no MAC address gives zeros (its option's check refuses it).
hal::EBlob macBlob(const std::string& text);
std::string macText(const hal::EBlob& b);

}  // namespace zk
