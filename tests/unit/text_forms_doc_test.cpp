// The tables of docs/text-forms.md are the cases of the text readers, so the
// page cannot drift from them; and the rows of the defaults table.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>

#include "core/mac_address.h"
#include "core/parse.h"
#include "hal/flatten.h"

namespace {

std::string quoted(const std::string& s) { return "`" + s + "`"; }
std::string bytesResult(const std::optional<std::vector<uint8_t>>& b) {
    return !b ? "invalid" : b->empty() ? "no bytes" : quoted(hal::EBlob(*b).ToHex());
}

// What a reader gives for a text: "invalid", "no bytes" or `value`.
const std::map<std::string, std::function<std::string(const std::string&)>> readers = {
    {"IPv4 text", [](const std::string& t) { auto v = zk::parseIPv4(t); return v ? quoted(zk::formatIPv4(*v)) : "invalid"; }},
    {"IPv6 text", [](const std::string& t) { auto a = zk::ipv6Address(t); return a ? quoted(a->ToString()) : "invalid"; }},
    {"Byte text", [](const std::string& t) { return bytesResult(zk::parseBytes(t)); }},
    {"Group text", [](const std::string& t) { auto g = zk::parseAdminGroup(t); return g ? bytesResult(std::vector<uint8_t>(g->begin(), g->end())) : "invalid"; }},
    {"MAC text", [](const std::string& t) { auto m = zk::parseMac(t); return m ? quoted(zk::formatMac(*m)) : "invalid"; }},
};

// Cells of a table line "| a | b |": one blank each side belongs to the table.
std::vector<std::string> cells(const std::string& line) {
    std::vector<std::string> out;
    for (size_t i = 1, j; (j = line.find(" |", i)) != std::string::npos; i = j + 2)
        out.push_back(line.substr(i + (line[i] == ' '), j - i - (line[i] == ' ')));
    return out;
}

TEST(TextFormsDoc, RowsMatchTheReaders) {
    EXPECT_EQ(cells("| ` 01  02 ` | `0102` |"), (std::vector<std::string>{"` 01  02 `", "`0102`"}));
    const char* src = std::getenv("ZK_SOURCE_DIR");
    std::ifstream in((src ? std::string(src) : std::string(__FILE__).substr(0, std::string(__FILE__).rfind("/tests/"))) + "/docs/text-forms.md");
    std::map<std::string, int> perTable;
    std::string line, table;
    while (std::getline(in, line)) {
        auto c = cells(line);
        if (line.rfind("|", 0) != 0) table.clear();
        if (c.size() != 2 || c[0] == "---") continue;
        if (readers.count(c[0])) table = c[0];
        else if (!table.empty()) {
            ++perTable[table];
            std::string text = c[0] == "(empty)" ? "" : c[0].substr(1, c[0].size() - 2);
            EXPECT_EQ(readers.at(table)(text), c[1]) << table << " row `" << text << "`";
        }
    }
    for (const auto& [name, reader] : readers) EXPECT_GE(perTable[name], 5) << "table \"" << name << "\"";
}

TEST(FlattenFields, RowsFollowTheRecordsJson) {
    const std::pair<hal::Json, std::vector<std::pair<std::string, std::string>>> cases[] = {
        {{{"RouterID", "0.0.0.0"}, {"Enabled", true}, {"Metric", 1}}, {{"RouterID", "\"0.0.0.0\""}, {"Enabled", "true"}, {"Metric", "1"}}},
        {{{"Zeta", 1}, {"Alpha", {{"Y", 2}, {"Dead", {{"S", 40}}}}}}, {{"Zeta", "1"}, {"Alpha.Y", "2"}, {"Alpha.Dead.S", "40"}}},
        {{{"Routes", hal::Json::array()}, {"Auth", hal::Json::object()}, {"Hops", {1, 2}}}, {{"Routes", "[]"}, {"Auth", "{}"}, {"Hops", "[1,2]"}}},
        {{{"Name", "a|b"}}, {{"Name", "\"a|b\""}}},
        {hal::Json(5), {{"", "5"}}},
        {hal::Json::object(), {{"", "{}"}}},
    };
    for (const auto& [record, rows] : cases) EXPECT_EQ(hal::flattenFields(record), rows) << record.dump();
}

}  // namespace
