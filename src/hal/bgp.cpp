#include "hal/bgp.h"

#include "hal/registry.h"

#include <arpa/inet.h>

#include <charconv>
#include <cstring>

namespace hal {
namespace {
RegisterRecord<EBGPGlobalConfig> registerBgpGlobalConfig("EBGPGlobalConfig");
RegisterRecord<EBGP::ConfigAsPathSegment> registerBgpSegment("EBGP::ConfigAsPathSegment");
RegisterRecord<EBGP::ConfigExtendedCommunity> registerBgpExtendedCommunity("EBGP::ConfigExtendedCommunity");
RegisterRecord<EBGP::ConfigRouteRange> registerBgpRouteRange("EBGP::ConfigRouteRange");
RegisterRecord<EBGP::ConfigMplsRouteRange> registerBgpMplsRouteRange("EBGP::ConfigMplsRouteRange");
RegisterRecord<EBGP::ConfigRouteTarget> registerBgpRouteTarget("EBGP::ConfigRouteTarget");
RegisterRecord<EBGP::ConfigVpnRouteRange> registerBgpVpnRouteRange("EBGP::ConfigVpnRouteRange");
RegisterRecord<EBGP::ConfigL3Site> registerBgpL3Site("EBGP::ConfigL3Site");
RegisterRecord<EBGP::ConfigPrefixFilter> registerBgpPrefixFilter("EBGP::ConfigPrefixFilter");
RegisterRecord<EBGP::ConfigRouteFilter> registerBgpRouteFilter("EBGP::ConfigRouteFilter");
RegisterRecord<EBGP::ConfigInternalNeighborItem> registerBgpInternalItem("EBGP::ConfigInternalNeighborItem");
RegisterRecord<EBGP::ConfigInternalTable> registerBgpInternalTable("EBGP::ConfigInternalTable");
RegisterRecord<EBGP::ConfigNeighbor> registerBgpNeighbor("EBGP::ConfigNeighbor");
RegisterRecord<EBGPServer> registerBgpServer("EBGPServer");
}  // namespace

namespace EBGP {

namespace {

uint64_t bigEndian(const uint8_t* p, size_t n) {
    uint64_t v = 0;
    for (size_t i = 0; i < n; ++i) v = v << 8 | p[i];
    return v;
}

void putBigEndian(uint8_t* p, uint64_t v, size_t n) {
    for (size_t i = 0; i < n; ++i) p[i] = uint8_t(v >> (8 * (n - 1 - i)));
}

// A decimal number of at most `max`, the whole text.
std::optional<uint64_t> number(std::string_view text, uint64_t max) {
    uint64_t v = 0;
    if (text.empty() || text.size() > 20) return std::nullopt;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (ec != std::errc() || end != text.data() + text.size() || v > max) return std::nullopt;
    return v;
}

}  // namespace

std::string administratorText(const Administrator& a) {
    const uint8_t* v = a.value.data();
    switch (a.type) {
    case 0:
        return std::to_string(bigEndian(v, 2)) + ":" + std::to_string(bigEndian(v + 2, 4));
    case 1:
        return EIPAddress::FromV4(uint32_t(bigEndian(v, 4))).ToString() + ":" + std::to_string(bigEndian(v + 4, 2));
    case 2:
        return std::to_string(bigEndian(v, 4)) + ":" + std::to_string(bigEndian(v + 4, 2));
    default: {
        static const char digits[] = "0123456789abcdef";
        std::string out = std::to_string(a.type) + ":";
        for (uint8_t b : a.value) {
            out += digits[b >> 4];
            out += digits[b & 15];
        }
        return out;
    }
    }
}

std::optional<Administrator> parseAdministrator(std::string_view text) {
    size_t colon = text.rfind(':');
    if (colon == std::string_view::npos) return std::nullopt;
    std::string_view global = text.substr(0, colon), local = text.substr(colon + 1);
    Administrator a;
    if (global.find('.') != std::string_view::npos) {
        in_addr addr{};
        auto n = number(local, 0xffff);
        if (!n || global.size() > 15 || inet_pton(AF_INET, std::string(global).c_str(), &addr) != 1)
            return std::nullopt;
        a.type = 1;
        std::memcpy(a.value.data(), &addr, 4);  // network order already
        putBigEndian(a.value.data() + 4, *n, 2);
        return a;
    }
    auto as = number(global, 0xffffffff);
    if (!as) return std::nullopt;
    if (*as <= 0xffff) {
        auto n = number(local, 0xffffffff);
        if (!n) return std::nullopt;
        putBigEndian(a.value.data(), *as, 2);
        putBigEndian(a.value.data() + 2, *n, 4);
        return a;
    }
    auto n = number(local, 0xffff);
    if (!n) return std::nullopt;
    a.type = 2;
    putBigEndian(a.value.data(), *as, 4);
    putBigEndian(a.value.data() + 4, *n, 2);
    return a;
}

Administrator distinguisherOf(uint64_t wire) {
    Administrator a;
    a.type = wire >> 48 > 0xff ? 0xff : uint8_t(wire >> 48);  // a 2-byte type past 255 shows as 255
    putBigEndian(a.value.data(), wire, 6);
    return a;
}

uint64_t distinguisherWire(const Administrator& a) { return uint64_t(a.type) << 48 | bigEndian(a.value.data(), 6); }

}  // namespace EBGP

}  // namespace hal
