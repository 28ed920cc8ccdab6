// The rows of the defaults table in docs/defaults.md.
#include <gtest/gtest.h>

#include "hal/flatten.h"

namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

TEST(FlattenFields, RowsFollowTheJsonForm) {
    struct Case {
        const char* name;
        hal::Json record;
        Rows rows;
    };
    const Case cases[] = {
        {"scalars in key order", {{"RouterID", "0.0.0.0"}, {"Enabled", true}, {"Metric", 1}},
         {{"RouterID", "\"0.0.0.0\""}, {"Enabled", "true"}, {"Metric", "1"}}},
        {"nested records as dotted keys", {{"Timers", {{"Hello", 10}, {"Dead", {{"Seconds", 40}}}}}},
         {{"Timers.Hello", "10"}, {"Timers.Dead.Seconds", "40"}}},
        {"lists and empty records whole", {{"Routes", hal::Json::array()}, {"Auth", hal::Json::object()},
                                           {"Hops", {1, 2}}},
         {{"Routes", "[]"}, {"Auth", "{}"}, {"Hops", "[1,2]"}}},
        {"text with table characters", {{"Name", "a|b"}}, {{"Name", "\"a|b\""}}},
        {"a record that is one value", hal::Json(5), {{"", "5"}}},
        {"an empty record", hal::Json::object(), {{"", "{}"}}},
    };
    for (const Case& c : cases) EXPECT_EQ(hal::flattenFields(c.record), c.rows) << c.name;
}

// Key order is the order the record's JSON gives, not alphabetical.
TEST(FlattenFields, KeepsTheRecordsOrder) {
    hal::Json r;
    r["Zeta"] = 1;
    r["Alpha"] = {{"Y", 2}, {"B", 3}};
    Rows expected = {{"Zeta", "1"}, {"Alpha.Y", "2"}, {"Alpha.B", "3"}};
    EXPECT_EQ(hal::flattenFields(r), expected);
}

}  // namespace
