#include "multicast/common.h"

#include "core/parse.h"
#include "core/span.h"

namespace zk::mcast {

namespace {

// The address as one number, for either family.
bool addressValue(const std::string& text, bool v6, Wide& out) {
    if (!v6) {
        auto a = parseIPv4(text);
        if (!a) return false;
        out = *a;
        return true;
    }
    auto a = parseIPv6(text);
    if (!a) return false;
    out = 0;
    for (uint8_t b : *a) out = (out << 8) | b;
    return true;
}

bool isGroup(Wide value, bool v6) { return v6 ? (value >> 120) == 0xff : (value >> 28) == 0xE; }
bool isLinkLocal(Wide value) { return (value >> 118) == 0x3fa; }  // fe80::/10

}  // namespace

bool multicastAddress(const std::string& text, bool v6) {
    Wide v;
    return addressValue(text, v6, v) && isGroup(v, v6);
}

bool unicastAddress(const std::string& text, bool v6) {
    Wide v;
    return addressValue(text, v6, v) && !isGroup(v, v6);
}

bool linkLocalAddress(const std::string& text) {
    Wide v;
    return addressValue(text, true, v) && isLinkLocal(v);
}

bool rangeFits(const std::string& first, long long count, long long step, bool v6, Space space) {
    Wide v;
    if (count < 1 || step < 0 || !addressValue(first, v6, v)) return true;
    const Wide top = v6 ? ~Wide(0) : Wide(0xFFFFFFFF);
    if (!stepsFit(v, count, Wide(uint64_t(step)), top)) return false;
    const Wide last = v + Wide(uint64_t(count - 1)) * Wide(uint64_t(step));
    switch (space) {
    case Space::Groups:
        return !isGroup(v, v6) || isGroup(last, v6);
    case Space::LinkLocal:
        return !isLinkLocal(v) || isLinkLocal(last);
    case Space::Unicast: {
        // Below the multicast block a range must not reach into it; above
        // it (IPv4 class E) it cannot.
        const Wide groupStart = v6 ? Wide(0xff) << 120 : Wide(0xE0000000);
        return isGroup(v, v6) || v >= groupStart || last < groupStart;
    }
    }
    return true;
}

void checkGroupAddress(Checks& k, const std::string& cls, const char* option, const std::string& text, bool v6) {
    Wide v;
    if (!addressValue(text, v6, v)) k.fail(cls + "::Validate()   Invalid " + option + ".");
    else if (!isGroup(v, v6))
        k.fail(cls + "::Validate()   " + option + " " + text + " is not a multicast address (" + groupSpace(v6) + ").");
}

}  // namespace zk::mcast
