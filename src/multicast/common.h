// What the multicast classes share: address arithmetic for ranges of
// groups, sources and hosts.
#pragma once

#include <tcl.h>

#include <memory>
#include <string>
#include <vector>

#include "core/equipment.h"
#include "core/checks.h"
#include "core/learn_input.h"
#include "core/learned.h"
#include "core/object.h"
#include "hal/basic.h"

namespace zk::mcast {

// Group addresses: 224.0.0.0/4 and ff00::/8.
bool multicastAddress(const std::string& text, bool v6);
// An address of the family that is not a group address.
bool unicastAddress(const std::string& text, bool v6);
// fe80::/10.
bool linkLocalAddress(const std::string& text);
// Where a range of addresses must stay.
enum class Space { Groups, Unicast, LinkLocal };
// Whether `count` addresses from `first`, `step` apart, stay in the space
// `first` is in. Counts or steps out of their own ranges, and text that is
// no address of the space, pass: they have their own checks.
bool rangeFits(const std::string& first, long long count, long long step, bool v6, Space space);
// "224.0.0.0/4" or "ff00::/8".
inline const char* groupSpace(bool v6) { return v6 ? "ff00::/8" : "224.0.0.0/4"; }
// The check of a group address option of class `cls`: "Invalid <option>."
// for text that is no address, a sentence naming the multicast space for
// an address outside it.
void checkGroupAddress(Checks& k, const std::string& cls, const char* option, const std::string& text, bool v6);

}  // namespace zk::mcast
