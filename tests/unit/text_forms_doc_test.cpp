// The tables of docs/text-forms.md are the cases: each row's text must be
// read as the page says, so the page cannot drift from the readers.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "core/parse.h"

namespace {

struct Row {
    std::string table, text, expected;
};

// The result a reader gives for a text: "invalid", "no bytes" or `value`.
using Reader = std::function<std::string(const std::string&)>;

std::string quoted(const std::string& s) { return "`" + s + "`"; }

std::string bytesResult(const std::optional<std::vector<uint8_t>>& b) {
    if (!b) return "invalid";
    if (b->empty()) return "no bytes";
    return quoted(hal::EBlob(*b).ToHex());
}

const std::map<std::string, Reader>& readers() {
    static const std::map<std::string, Reader> r = {
        {"IPv4 text", [](const std::string& t) {
             auto v = zk::parseIPv4(t);
             return v ? quoted(zk::formatIPv4(*v)) : "invalid";
         }},
        {"IPv6 text", [](const std::string& t) {
             auto a = zk::ipv6Address(t);
             return a ? quoted(a->ToString()) : "invalid";
         }},
        {"Byte text", [](const std::string& t) { return bytesResult(zk::parseBytes(t)); }},
        {"Group text", [](const std::string& t) {
             auto g = zk::parseAdminGroup(t);
             return g ? bytesResult(std::vector<uint8_t>(g->begin(), g->end())) : "invalid";
         }},
    };
    return r;
}

// Cells of a table line "| a | b |", trimmed.
std::vector<std::string> cells(const std::string& line) {
    std::vector<std::string> out;
    size_t i = 1;
    while (i < line.size()) {
        size_t j = line.find(" |", i);
        if (j == std::string::npos) break;
        std::string c = line.substr(i, j - i);
        if (!c.empty() && c[0] == ' ') c.erase(0, 1);  // one blank each side belongs to the table
        out.push_back(c);
        i = j + 2;
    }
    return out;
}

std::vector<Row> rows() {
    const char* src = std::getenv("ZK_SOURCE_DIR");
    std::string root = src ? src : std::string(__FILE__).substr(0, std::string(__FILE__).rfind("/tests/"));
    std::ifstream in(root + "/docs/text-forms.md");
    std::vector<Row> out;
    std::string line, table;
    while (std::getline(in, line)) {
        if (line.rfind("|", 0) != 0) {
            table.clear();
            continue;
        }
        auto c = cells(line);
        if (c.size() != 2) continue;
        if (readers().count(c[0])) {
            table = c[0];
        } else if (!table.empty() && c[0] != "---") {
            std::string text = c[0] == "(empty)" ? "" : c[0].substr(1, c[0].size() - 2);
            out.push_back({table, text, c[1]});
        }
    }
    return out;
}

TEST(TextFormsDoc, EveryTableHasRows) {
    std::map<std::string, int> perTable;
    for (const Row& r : rows()) ++perTable[r.table];
    for (const auto& [name, reader] : readers()) EXPECT_GE(perTable[name], 5) << "table \"" << name << "\"";
}

TEST(TextFormsDoc, RowsMatchTheReaders) {
    for (const Row& r : rows())
        EXPECT_EQ(readers().at(r.table)(r.text), r.expected) << r.table << " row `" << r.text << "`";
}

// The row reader itself: the backticks go, inner blanks stay.
TEST(TextFormsDoc, CellsKeepInnerBlanks) {
    auto c = cells("| ` 01  02 ` | `0102` |");
    ASSERT_EQ(c.size(), 2u);
    EXPECT_EQ(c[0], "` 01  02 `");
    EXPECT_EQ(c[1], "`0102`");
}

}  // namespace
