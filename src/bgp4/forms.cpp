#include "bgp4/forms.h"

#include <charconv>

#include "core/parse.h"
#include "hal/bgp.h"

namespace zk::bgp4 {

std::vector<std::string_view> words(std::string_view text) {
    std::vector<std::string_view> out;
    size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && (text[i] == ' ' || text[i] == '\t' || text[i] == '\n')) ++i;
        size_t start = i;
        while (i < text.size() && text[i] != ' ' && text[i] != '\t' && text[i] != '\n') ++i;
        if (i > start) out.push_back(text.substr(start, i - start));
    }
    return out;
}

namespace {

// A decimal number in [lo, hi], the whole word.
std::optional<long long> number(std::string_view w, long long lo, long long hi) {
    long long v;
    auto [end, ec] = std::from_chars(w.data(), w.data() + w.size(), v);
    if (ec != std::errc() || end != w.data() + w.size() || v < lo || v > hi) return std::nullopt;
    return v;
}

template <class T, class Parse>
std::optional<std::vector<T>> parseWords(std::string_view text, Parse parse) {
    std::vector<T> out;
    for (std::string_view w : words(text)) {
        std::optional<T> v = parse(w);
        if (!v) return std::nullopt;
        out.push_back(*v);
    }
    return out;
}

template <class T, class Format>
std::string formatWords(const std::vector<T>& list, Format format) {
    std::string out;
    for (const T& v : list) {
        if (!out.empty()) out += ' ';
        out += format(v);
    }
    return out;
}

}  // namespace

std::optional<std::string> parseAdministratorText(std::string_view text) {
    auto a = hal::EBGP::parseAdministrator(text);
    return a ? std::optional<std::string>(hal::EBGP::administratorText(*a)) : std::nullopt;
}

std::optional<std::vector<std::string>> parseAdministratorList(std::string_view text) {
    return parseWords<std::string>(text, parseAdministratorText);
}

std::string formatTextList(const std::vector<std::string>& list) {
    return formatWords(list, [](const std::string& s) { return s; });
}

std::optional<std::vector<uint16_t>> parseAsList(std::string_view text) {
    return parseWords<uint16_t>(text, [](std::string_view w) -> std::optional<uint16_t> {
        auto v = number(w, 0, 65535);
        return v ? std::optional<uint16_t>(uint16_t(*v)) : std::nullopt;
    });
}

std::string formatAsList(const std::vector<uint16_t>& list) {
    return formatWords(list, [](uint16_t v) { return std::to_string(v); });
}

std::optional<std::vector<uint32_t>> parseCommunities(std::string_view text) {
    return parseWords<uint32_t>(text, [](std::string_view w) -> std::optional<uint32_t> {
        if (size_t colon = w.find(':'); colon != std::string_view::npos) {
            auto as = number(w.substr(0, colon), 0, 65535), value = number(w.substr(colon + 1), 0, 65535);
            if (!as || !value) return std::nullopt;
            return uint32_t(*as << 16 | *value);
        }
        auto v = number(w, INT32_MIN, UINT32_MAX);
        return v ? std::optional<uint32_t>(uint32_t(*v)) : std::nullopt;
    });
}

std::string formatCommunities(const std::vector<uint32_t>& list) {
    return formatWords(list, [](uint32_t v) { return std::to_string(v); });
}

std::optional<std::vector<hal::EIPAddress>> parseIPv4List(std::string_view text) {
    return parseWords<hal::EIPAddress>(text, [](std::string_view w) { return ipv4Address(w); });
}

std::string formatAddressList(const std::vector<hal::EIPAddress>& list) {
    return formatWords(list, [](const hal::EIPAddress& a) { return a.ToString(); });
}

bool isAddressOfType(int type, const std::string& text) {
    if (type == kAddressTypeIpV4) return parseIPv4(text).has_value();
    if (type == kAddressTypeIpV6) return parseIPv6(text).has_value();
    return parseIPv4(text) || parseIPv6(text);  // the type is refused on its own
}

int maxPrefixOf(const std::string& text) { return parseIPv6(text) ? 128 : 32; }

}  // namespace zk::bgp4
