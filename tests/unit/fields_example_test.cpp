// The example of hal/fields.h, as written there, and what its one table
// gives the record: the JSON form in table order, equality, and the notes.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "hal/basic.h"
#include "hal/registry.h"

namespace hal::fields_example {

// Verbatim from the header comment of hal/fields.h.
struct ESampleRange : ERecord {
    bool enabled = true;
    uint32_t metric = 1;
    static constexpr auto fields() {
        using R = ESampleRange;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled), field("Metric", &R::metric, "hops")));
    }
};

namespace {

TEST(FieldsHeaderExample, TheTableGivesTheJsonForm) {
    struct Case {
        const char* what;
        void (*change)(ESampleRange&);
        const char* json;
    };
    const Case cases[] = {
        {"defaults", [](ESampleRange&) {}, R"({"ID":0,"Enabled":true,"Metric":1})"},
        {"switched off", [](ESampleRange& r) { r.enabled = false; }, R"({"ID":0,"Enabled":false,"Metric":1})"},
        {"widest metric", [](ESampleRange& r) { r.metric = 4294967295u; },
         R"({"ID":0,"Enabled":true,"Metric":4294967295})"},
    };
    for (const Case& c : cases) {
        ESampleRange r;
        c.change(r);
        EXPECT_EQ(jsonText(r), c.json) << c.what;
    }
}

TEST(FieldsHeaderExample, EqualityComparesEveryField) {
    struct Case {
        const char* what;
        void (*change)(ESampleRange&);
        bool equal;
    };
    const Case cases[] = {
        {"unchanged", [](ESampleRange&) {}, true},
        {"enabled", [](ESampleRange& r) { r.enabled = false; }, false},
        {"metric", [](ESampleRange& r) { r.metric = 2; }, false},
        {"identity", [](ESampleRange& r) { r.id = EComponentId::New(); }, false},
    };
    for (const Case& c : cases) {
        ESampleRange a, b;
        c.change(b);
        EXPECT_EQ(a == b, c.equal) << c.what;
    }
}

TEST(FieldsHeaderExample, NotesComeFromTheTable) {
    std::map<std::string, std::string> docs;
    forEachField<ESampleRange>([&](const auto& f) { docs[f.name] = f.doc; });
    EXPECT_EQ(docs, (std::map<std::string, std::string>{{"ID", ""}, {"Enabled", ""}, {"Metric", "hops"}}));
}

}  // namespace
}  // namespace hal::fields_example
