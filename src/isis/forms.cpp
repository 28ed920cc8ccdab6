#include "isis/forms.h"

#include <tcl.h>

#include <algorithm>

#include "core/parse.h"

namespace zk::isis {

std::optional<std::vector<uint8_t>> parseIsoBytes(std::string_view text) {
    std::string spaced(text);
    std::replace(spaced.begin(), spaced.end(), '.', ' ');
    return parseBytes(spaced);
}

std::string formatIsoBytes(const std::vector<uint8_t>& bytes) {
    std::string text;
    for (size_t i = 0; i < bytes.size(); ++i) {
        bool groupStart = (bytes.size() - i) % 2 == 0 || i == 0;
        if (i > 0 && groupStart) text += '.';
        text += formatText("%02x", bytes[i]);
    }
    return text;
}

bool systemId(const std::string& text) {
    auto bytes = parseIsoBytes(text);
    return bytes && bytes->size() == 6;
}

hal::EBlob systemIdBlob(const std::string& text) {
    auto bytes = parseIsoBytes(text);
    return hal::EBlob(bytes && bytes->size() == 6 ? *bytes : std::vector<uint8_t>(6, 0));
}

std::string systemIdText(const hal::EBlob& id) { return formatIsoBytes(id.bytes); }

namespace {

// The elements of a Tcl list, or nothing when the text is no list.
std::optional<std::vector<std::string>> listElements(const std::string& text) {
    int n;
    const char** items;
    if (Tcl_SplitList(nullptr, text.c_str(), &n, &items) != TCL_OK) return std::nullopt;
    std::vector<std::string> elements(items, items + n);
    Tcl_Free(reinterpret_cast<char*>(items));
    return elements;
}

constexpr size_t kIsisMaxAreas = 3;  // maximumAreaAddresses of ISO 10589
constexpr size_t kIsisMaxAreaBytes = 13;

}  // namespace

bool areaAddresses(const std::string& list) {
    auto areas = listElements(list);
    if (!areas || areas->empty() || areas->size() > kIsisMaxAreas) return false;
    return std::all_of(areas->begin(), areas->end(), [](const std::string& area) {
        auto bytes = parseIsoBytes(area);
        return bytes && !bytes->empty() && bytes->size() <= kIsisMaxAreaBytes;
    });
}

std::vector<hal::EBlob> areaBlobs(const std::string& list) {
    std::vector<hal::EBlob> blobs;
    if (!areaAddresses(list)) return blobs;
    const std::vector<std::string> areas = listElements(list).value_or(std::vector<std::string>{});
    for (const std::string& area : areas) blobs.emplace_back(parseIsoBytes(area).value_or(std::vector<uint8_t>{}));
    return blobs;
}

std::string areaText(const std::vector<hal::EBlob>& areas) {
    std::vector<std::string> texts;
    for (const hal::EBlob& a : areas) texts.push_back(formatIsoBytes(a.bytes));
    std::string list;
    for (const std::string& t : texts) list += (list.empty() ? "" : " ") + t;  // dotted hex needs no quoting
    return list;
}

std::optional<hal::EBlob> parseLspId(std::string_view text) {
    auto bytes = parseIsoBytes(text);
    if (!bytes || bytes->size() != 8) return std::nullopt;
    return hal::EBlob(*bytes);
}

std::string lspIdText(const hal::EBlob& id) {
    const std::vector<uint8_t>& b = id.bytes;
    if (b.size() != 8) return formatIsoBytes(b);
    return formatIsoBytes({b.begin(), b.begin() + 6}) + formatText(".%02x-%02x", b[6], b[7]);
}

}  // namespace zk::isis
