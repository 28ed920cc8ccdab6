// One rule for every range that counts on from a first value: the last of
// its values must not run past the end of the space it lives in (the IPv4
// or IPv6 address space, a label space, 48-bit MAC addresses, 16-bit IDs).
// The ranges that break it are refused; none is cut or wrapped.
//
// Values that fail their own checks (a count below 1, a negative step,
// text that is no address, a prefix length out of range) pass here: their
// own option refuses them with its own message.
#pragma once

#include <optional>
#include <string>

namespace zk {

using Wide = unsigned __int128;

// Whether `count` values from `first`, `step` apart, stay at or below
// `last`. A step of 0 repeats the first value.
bool stepsFit(Wide first, long long count, Wide step, Wide last);

// An IPv4 or IPv6 address as one number, and its family.
struct AddressNumber {
    Wide value;
    bool v6;
};
std::optional<AddressNumber> addressNumber(const std::string& text);

// Whether `count` networks of prefix length `length`, the first holding
// `address` and each `step` networks of that length after the one before,
// stay within the address family of `address`. A network of length 0 is
// the whole space: one of them fits.
bool networksFit(const std::string& address, int length, long long count, long long step = 1);
// How many of those `count` networks there are before the end of the
// family (all `count` when they fit, or when a value fails its own check).
long long networksIn(const std::string& address, int length, long long count, long long step = 1);

// Whether `count` addresses from `address`, `step` apart (a step of 0
// repeats the first address), stay within its address family.
bool addressesFit(const std::string& address, long long count, Wide step = 1);

}  // namespace zk
