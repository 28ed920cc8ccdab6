// Field tables and option declarations: one table gives a record its JSON,
// equality and defaults; one option line gives a class its check and both
// conversions.
#include <gtest/gtest.h>

#include "binding/staged.h"
#include "hal/basic.h"
#include "hal/json.h"
#include "hal/registry.h"

namespace {

struct EInner {
    uint16_t port = 179;
    static constexpr auto fields() { return hal::fields(hal::field("Port", &EInner::port)); }
};

struct ESample : hal::ERecord {
    bool enabled = true;
    uint8_t priority = 1;
    int32_t offset = -5;
    double rate = 0.5;
    std::string name = "a\"b";
    hal::EIPAddress peer = hal::EIPAddress::FromV4(0x0A000001);
    std::optional<int> interfaceId;
    std::vector<int> list{1, 2};
    EInner inner;
    hal::UIntBits<24> metric = (1u << 24) + 5;
    bool verbose = false;
    bool isVerbose() const { return verbose; }

    static constexpr auto fields() {
        using R = ESample;
        return std::tuple_cat(
            hal::ERecord::fields(),
            hal::fields(hal::field("Enabled", &R::enabled, "on or off"), hal::field("Priority", &R::priority),
                        hal::field("Offset", &R::offset), hal::field("Rate", &R::rate), hal::field("Name", &R::name),
                        hal::field("Peer", &R::peer), hal::field("InterfaceId", &R::interfaceId),
                        hal::field("List", &R::list), hal::field("Inner", &R::inner), hal::field("Metric", &R::metric),
                        hal::onlyIf(&R::isVerbose, hal::field("Verbose", &R::verbose)),
                        hal::computed<R>("Twice", [](const R& r) { return r.priority * 2; })));
    }
};

hal::RegisterRecord<ESample> registerSample("ESample");

TEST(FieldTable, OneTableGivesTheJsonForm) {
    ESample r;
    EXPECT_EQ(hal::jsonText(r), R"({"ID":0,"Enabled":true,"Priority":1,"Offset":-5,"Rate":0.5,"Name":"a\"b",)"
                                R"("Peer":"10.0.0.1","InterfaceId":null,"List":[1,2],"Inner":{"Port":179},)"
                                R"("Metric":5,"Twice":2})");
    r.verbose = true;  // a conditional field appears when its record says so
    r.interfaceId = 3;
    hal::Json j = hal::Json::parse(hal::jsonText(r));
    EXPECT_EQ(j["Verbose"], true);
    EXPECT_EQ(j["InterfaceId"], 3);
}

TEST(FieldTable, IndentedTextIsWhatTheDocumentLibraryPrints) {
    ESample r;
    r.list.clear();
    hal::Json j = hal::Json::parse(hal::jsonText(r));
    EXPECT_EQ(hal::jsonText(r, 2), j.dump(2));
    EXPECT_EQ(hal::jsonText(r), j.dump());
}

TEST(FieldTable, EqualityComparesEveryStoredField) {
    ESample a, b;
    EXPECT_TRUE(a == b);
    const std::vector<void (*)(ESample&)> changes = {
        [](ESample& r) { r.enabled = false; }, [](ESample& r) { r.name = "x"; },
        [](ESample& r) { r.peer = hal::EIPAddress::FromV4(1); }, [](ESample& r) { r.inner.port = 1; },
        [](ESample& r) { r.list.push_back(3); }, [](ESample& r) { r.interfaceId = 0; },
        [](ESample& r) { r.id = hal::EComponentId::New(); }};
    for (auto change : changes) {
        ESample c;
        change(c);
        EXPECT_FALSE(a == c);
    }
}

TEST(FieldTable, TheDefaultsRowsComeFromTheSameTable) {
    for (const auto& info : hal::records()) {
        if (std::string(info.name) != "ESample") continue;
        EXPECT_EQ(info.defaults()["Priority"], 1);
        EXPECT_EQ(info.docs()["Enabled"], "on or off");
        return;
    }
    FAIL() << "ESample is not registered";
}

TEST(JsonWriter, AnyTextAScriptPassesIsWritten) {
    const std::pair<std::string, std::string> cases[] = {
        {std::string("a\xC0\x80" "b"), R"("a\u0000b")"},           // Tcl's NUL
        {"\x01\t\n", R"("\u0001\t\n")"},                          // control characters
        {"caf\xC3\xA9", "\"caf\xC3\xA9\""},                        // UTF-8 as it is
        {"\xED\xA0\x80x", "\"\xEF\xBF\xBDx\""},                    // a lone surrogate half
        {"\xED\xA0\xBD\xED\xB8\x80", "\"\xF0\x9F\x98\x80\""},          // U+1F600 as Tcl keeps it
        {"\xFF\xFE", "\"\xEF\xBF\xBD\xEF\xBF\xBD\""},              // no UTF-8 at all
    };
    for (const auto& [text, json] : cases) {
        std::string out;
        hal::JsonWriter(out).string(text);
        EXPECT_EQ(out, json);
        EXPECT_TRUE(hal::Json::accept(out));
    }
}

// ---- options ---------------------------------------------------------------

struct TSample : zk::binding::Staged<TSample, ESample> {
    TSample() { setDefault(); }
    int enable;
    int priority;
    std::string peer;
    std::string name;
    int rest = 0;
    int intoRecordRest(ESample& r) { return r.offset = rest, zk::kOk; }
};

zk::binding::Describe<TSample> describeSample("TFieldSample", [](auto& c) {
    using T = TSample;
    using R = ESample;
    c.constructor();
    c.option("enable", &T::enable).check(zk::boolean).maps(&R::enabled);
    c.option("priority", &T::priority).check(zk::range(0, 255), "priority first").maps(&R::priority);
    c.option("peer", &T::peer).check(zk::ipv4, "bad peer").maps(&R::peer);
    c.option("name", &T::name)
        .checkWith([](const T& t, zk::Checks& k) {
            if (t.name == "stop") k.fail("stopped"), k.stop();
        })
        .check(zk::maxLength(4), "name too long")
        .maps(&R::name);
    c.checkOrder({"priority"});
});

TEST(Options, ChecksRunInTheirOrderAndTheLastMessageStands) {
    struct Case {
        int enable, priority;
        const char* peer;
        const char* name;
        bool ok;
        const char* message;
    } cases[] = {
        {1, 1, "1.2.3.4", "ab", true, "untouched"},
        {2, 1, "1.2.3.4", "ab", false, "TFieldSample::Validate()   Invalid enable."},  // the default message
        {2, 300, "1.2.3.4", "ab", false, "TFieldSample::Validate()   Invalid enable."},  // priority runs first
        {1, 300, "x", "ab", false, "bad peer"},
        {1, 1, "x", "toolong", false, "name too long"},
        {2, 1, "1.2.3.4", "stop", false, "stopped"},  // ends validation: the length check never runs
    };
    for (const auto& c : cases) {
        TSample t;
        t.enable = c.enable, t.priority = c.priority, t.peer = c.peer, t.name = c.name;
        zk::setLastError("untouched");
        EXPECT_EQ(t.Validate(), c.ok) << c.message;
        EXPECT_EQ(zk::lastError(), c.message);
    }
}

TEST(Options, MappingsGoBothWaysAndTheRestFollows) {
    TSample t;
    EXPECT_EQ(t.enable, 1);  // the defaults come from the record
    EXPECT_EQ(t.peer, "10.0.0.1");
    t.enable = 0, t.priority = 300 - 45, t.peer = "192.0.2.1", t.name = "nm", t.rest = 9;
    ESample r;
    ASSERT_EQ(t.ToRecord(r), zk::kOk);
    EXPECT_EQ(std::tuple(r.enabled, int(r.priority), r.peer.ToString(), r.name, r.offset),
              std::tuple(false, 255, std::string("192.0.2.1"), std::string("nm"), 9));
    r.priority = 7;
    TSample back;
    back.FromRecord(r);
    EXPECT_EQ(std::tuple(back.enable, back.priority, back.peer, back.name), std::tuple(0, 7, t.peer, t.name));
    t.priority = -1;
    EXPECT_EQ(t.ToRecord(r), zk::kFail);
    EXPECT_EQ(int(r.priority), 7);  // a refused conversion leaves the record alone
}

}  // namespace
