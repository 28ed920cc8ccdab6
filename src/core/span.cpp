#include "core/span.h"

#include "core/parse.h"

namespace zk {

bool stepsFit(Wide first, long long count, Wide step, Wide last) {
    if (count < 1 || first > last || step == 0) return true;
    return Wide(uint64_t(count - 1)) <= (last - first) / step;
}

std::optional<AddressNumber> addressNumber(const std::string& text) {
    if (auto a = parseIPv4(text)) return AddressNumber{*a, false};
    auto a = parseIPv6(text);
    if (!a) return std::nullopt;
    Wide v = 0;
    for (uint8_t b : *a) v = (v << 8) | b;
    return AddressNumber{v, true};
}

namespace {

Wide familyEnd(bool v6) { return v6 ? ~Wide(0) : Wide(0xFFFFFFFFu); }

}  // namespace

long long networksIn(const std::string& address, int length, long long count, long long step) {
    auto a = addressNumber(address);
    if (!a || count < 1 || step <= 0) return count;
    const int width = a->v6 ? 128 : 32;
    if (length < 0 || length > width) return count;
    if (length == 0) return 1;
    // Networks of this length after the one that holds the address.
    const Wide after = (familyEnd(a->v6) - a->value) >> (width - length);
    const Wide more = after / Wide(uint64_t(step));
    return more < Wide(uint64_t(count - 1)) ? (long long)(more) + 1 : count;
}

bool networksFit(const std::string& address, int length, long long count, long long step) {
    return networksIn(address, length, count, step) == count;
}

bool addressesFit(const std::string& address, long long count, Wide step) {
    auto a = addressNumber(address);
    return !a || stepsFit(a->value, count, step, familyEnd(a->v6));
}

}  // namespace zk
