// Text forms of the BGP-4 options: lists of AS numbers, communities and
// addresses as scripts write them (blank-separated), and the address
// family an address text belongs to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hal/basic.h"

namespace zk::bgp4 {

inline constexpr int kAddressTypeIpV4 = 17;
inline constexpr int kAddressTypeIpV6 = 18;
// Learned-route and filter families: bgp4FamilyIpV4Unicast .. bgp4FamilyIpV6MplsVpn
// carry addresses of their family; a user-defined family any.
inline constexpr int kFamilyIpV6Unicast = 5, kFamilyUserDefined = 9;
inline constexpr int kFamilyIpV4MplsVpn = 4, kFamilyIpV6MplsVpn = 8;

// The words of a blank-separated list.
std::vector<std::string_view> words(std::string_view text);

// AS numbers 0..65535; nullopt when a word is anything else.
std::optional<std::vector<uint16_t>> parseAsList(std::string_view text);
std::string formatAsList(const std::vector<uint16_t>& list);

// Communities: each word a 32-bit value, written unsigned (4294967041) or
// signed (-255), or as AS:value with two 16-bit halves.
std::optional<std::vector<uint32_t>> parseCommunities(std::string_view text);
std::string formatCommunities(const std::vector<uint32_t>& list);

// Dotted IPv4 addresses.
std::optional<std::vector<hal::EIPAddress>> parseIPv4List(std::string_view text);
std::string formatAddressList(const std::vector<hal::EIPAddress>& list);

// Route distinguishers and route targets: "AS:number" or
// "a.b.c.d:number" (hal::EBGP::administratorText), a list of them
// blank-separated; the texts come back in their normal form.
std::optional<std::string> parseAdministratorText(std::string_view text);
std::optional<std::vector<std::string>> parseAdministratorList(std::string_view text);
std::string formatTextList(const std::vector<std::string>& list);

// An address of the given type (addressTypeIpV4 or addressTypeIpV6); of
// any type when the type itself is invalid.
bool isAddressOfType(int type, const std::string& text);
// The widest prefix of the family the text belongs to: 128 for IPv6, else 32.
int maxPrefixOf(const std::string& text);

}  // namespace zk::bgp4
