// Text forms shared by every protocol: IPv4 and IPv6 addresses, byte text
// for TLV data, and the administrative-group form.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hal/basic.h"

namespace zk {

// Exactly four decimal parts 0..255 separated by dots; nothing else.
std::optional<uint32_t> parseIPv4(std::string_view text);
std::string formatIPv4(uint32_t hostOrder);

// Any IPv6 text form (compressed, mixed with a dotted tail).
std::optional<std::array<uint8_t, 16>> parseIPv6(std::string_view text);

// Byte text: hexadecimal digits in groups split by blanks, tabs, ':' or
// '-'. A group of one digit is one byte; longer groups are read two digits
// per byte and must have an even length. The empty text is zero bytes.
std::optional<std::vector<uint8_t>> parseBytes(std::string_view text);

// Administrative group: four bytes of byte text, or a dotted IPv4 address.
std::optional<std::array<uint8_t, 4>> parseAdminGroup(std::string_view text);

// HAL forms of the above.
std::optional<hal::EIPAddress> ipv4Address(std::string_view text);
std::optional<hal::EIPAddress> ipv6Address(std::string_view text);
// IPv4 text as IPv4, IPv6 text as IPv6, anything else 0.0.0.0 (what an
// option that validation refused would carry).
hal::EIPAddress anyAddress(std::string_view text);

// A Tcl list of dotted IPv4 addresses (attached router IDs ...); nullopt
// when the text is no list or an element no address. Back: the addresses
// dotted, one blank between them.
std::optional<std::vector<hal::EIPAddress>> ipv4List(const std::string& text);
std::string ipv4ListText(const std::vector<hal::EIPAddress>& addresses);

}  // namespace zk
