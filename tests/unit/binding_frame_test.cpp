// The binding frame with classes of its own (base, derived, a parent taking a
// class pointer) for what TCLProtocolServer cannot show; and handle texts.
// The module reaches Tcl through the stubs its Init sets up; we call Tcl directly.
#undef USE_TCL_STUBS
#include <tcl.h>

#include <gtest/gtest.h>

#include <stdexcept>

#include "binding/describe.h"
#include "binding/learned.h"
#include "binding/module.h"
#include "binding/types.h"
#include "core/errors.h"
#include "core/object.h"

namespace {

struct TSampleBase : zk::Object {
    int baseValue = 1, ro = 5;
    int baseMethod() { return 7; }
};
struct TSampleDerived : TSampleBase {
    int own = 0; unsigned wide = 0; bool flag = false; double ratio = 0.5; std::string text;
    int fail() { zk::setLastError("TSampleDerived::fail()  failed "); return 1; }
    int take(TSampleBase* b) { return b ? b->baseValue : -1; }
    int add(int a, int b) { return a + b; }
    std::string greet(std::string who) { return "hello " + who; }
    unsigned biggest() { return 4294967295u; }
};
struct TSampleParent : zk::Object {
    explicit TSampleParent(TSampleDerived* d) : staging(d) {}
    zk::Ref<TSampleDerived> staging;
    int staged() { return staging ? staging.get()->own : -1; }
};

zk::binding::Describe<TSampleBase> describeBase("TSampleBase", [](auto& c) {
    c.constructor();
    c.option("baseValue", &TSampleBase::baseValue);
    c.readOnly("ro", &TSampleBase::ro);
    c.method("baseMethod", &TSampleBase::baseMethod);
});
zk::binding::Describe<TSampleDerived> describeDerived("TSampleDerived", [](auto& c) {
    using T = TSampleDerived;
    c.template base<TSampleBase>();
    c.constructor();
    c.option("own", &T::own);
    c.option("wide", &T::wide); c.option("flag", &T::flag); c.option("ratio", &T::ratio); c.option("text", &T::text);
    c.method("fail", &T::fail); c.method("take", &T::take, "pBase");
    c.method("add", &T::add, "a", zk::binding::optional("b"));
    c.method("greet", &T::greet, "who"); c.method("biggest", &T::biggest);
});
zk::binding::Describe<TSampleParent> describeParent("TSampleParent", [](auto& c) {
    c.template constructor<TSampleDerived*>("pDerived");
    c.method("staged", &TSampleParent::staged);
});

// Its method throws a standard exception (how != 0) or something else.
struct TThrowing : zk::Object {
    int boom(int how) {
        if (how) throw std::runtime_error("boom " + std::to_string(how));
        throw how;
    }
};
zk::binding::Describe<TThrowing> describeThrowing("TThrowing", [](auto& c) {
    c.constructor();
    c.method("boom", &TThrowing::boom, "how");
});

// A read-only class whose options a port learns, but one.
struct ELearnedSample {
    int level = 1;
    std::string peer = "none";
    uint32_t count = 0;
    int fixed = 4;
};
struct TLearnedSample : zk::binding::Staged<TLearnedSample, ELearnedSample> {
    TLearnedSample() { setDefault(); }
    int level, fixed;
    std::string peer;
    unsigned count;
};
zk::binding::Describe<TLearnedSample> describeLearned("TLearnedSample", [](auto& c) {
    using T = TLearnedSample;
    using R = ELearnedSample;
    c.constructor();
    c.readOnly("level", &T::level).maps(&R::level).learned(zk::range(1, 2));
    c.readOnly("peer", &T::peer).maps(&R::peer).learned(zk::ipv4);
    c.readOnly("count", &T::count).maps(&R::count).learned(zk::range(0, UINT32_MAX));
    c.readOnly("fixed", &T::fixed).maps(&R::fixed);
});

// Each row's script runs in turn; a failure reads "ERROR: <message>".
struct Row { const char *script, *expected; };

class Frame : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_EQ(Zktclprotocol_Init(interp_ = Tcl_CreateInterp()), TCL_OK); }
    static void TearDownTestSuite() { Tcl_DeleteInterp(interp_); }
    void SetUp() override { run({{"foreach c [info commands s_*] { rename $c {} }; unset -nocomplain f; set ::zkErrorInfo {}", ""}}); }
    static void run(std::initializer_list<Row> rows) {
        for (const Row& r : rows) {
            int code = Tcl_Eval(interp_, r.script);
            std::string got = Tcl_GetStringResult(interp_);
            EXPECT_EQ(code == TCL_OK ? got : "ERROR: " + got, r.expected) << r.script;
        }
    }
    static inline Tcl_Interp* interp_ = nullptr;
};

TEST_F(Frame, CommandsAndReadOnlyOptions) {
    run({{"lsort [info commands TSampleBase*]", "TSampleBase TSampleBase_baseMethod TSampleBase_baseValue_get TSampleBase_baseValue_set TSampleBase_ro_get"},
         {"llength [info commands *_TSample*]", "6"},
         {"TSampleBase s_b; list [s_b cget -ro] [TSampleBase_ro_get s_b]", "5 5"},
         {"s_b configure -baseValue 3 -ro 9 -baseValue 4", "ERROR: Option -ro of TSampleBase is read-only."},
         {"s_b configure", "-baseValue 3 -ro 5"},
         {"s_b configure -nosuch 1", "ERROR: Invalid configure option for TSampleBase. Must be :{ -baseValue }"}});
}

TEST_F(Frame, BaseClassesAndClassPointers) {
    run({{"TSampleDerived s_d; s_d configure -baseValue 11 -own 2; list [s_d baseMethod] [s_d cget -ro] [s_d cget -baseValue]", "7 5 11"},
         {"list [TSampleBase_baseMethod [s_d cget -this]] [TSampleBase_baseValue_get s_d]", "7 11"},
         {"TSampleBase s_b; TSampleDerived_own_get [s_b cget -this]", "ERROR: Type error. Expected TSampleDerived *"},
         {"s_d nosuch", "ERROR: Invalid Method for TSampleDerived. Must be : { cget configure -acquire -disown -delete "
                        "methods : fail take add greet biggest baseMethod }"},
         {"s_b configure -baseValue 21; TSampleParent s_p s_d; list [s_d take [s_b cget -this]] [s_d take s_d] [s_d take NULL]", "21 11 -1"},
         {"s_d take [s_p cget -this]", "ERROR: Type error. Expected TSampleBase *"},
         {"s_d take s_p", "ERROR: Type error. Expected TSampleBase *"},
         {"s_d take {}", "ERROR: Type error. Expected a pointer"},
         {"set h [s_b cget -this]; s_b -delete; s_d take $h", "ERROR: Type error. Expected TSampleBase *"}});
}

TEST_F(Frame, ArgumentsAndResults) {
    run({{"TSampleDerived s_d; list [s_d add 2] [s_d add 2 3] [TSampleDerived_add s_d 4]", "2 5 4"},
         {"s_d add", "ERROR: Wrong # args. TSampleDerived_add self a b "},
         {"s_d add 1 2 3", "ERROR: Wrong # args. TSampleDerived_add self a b "},
         {"s_d add 1 x", "ERROR: expected integer but got \"x\" argument 3 (b)"},
         {"list [s_d greet {big world}] [s_d biggest] $::zkErrorInfo", "{hello big world} 4294967295 {}"},
         {"list [s_d fail] $::zkErrorInfo", "1 {TSampleDerived::fail()  failed }"}});
}

TEST_F(Frame, OptionsOfEveryKind) {
    run({{"TSampleDerived s_d; s_d configure -wide -2; set a [s_d cget -wide]; s_d configure -wide 4294967295; lappend a [s_d cget -wide]",
          "4294967294 4294967295"},  // negative values wrap as in C
         {"s_d configure -wide 4294967296", "ERROR: integer value too large to represent: \"4294967296\" argument 2 (wide)"},
         {"foreach v {on 0 5 TCL_ERROR} { s_d configure -flag $v; lappend f [s_d cget -flag] }; set f", "1 0 1 0"},
         {"s_d configure -ratio 2.25; set r [s_d cget -ratio]; s_d configure -ratio 3; catch {s_d configure -ratio abc}; lappend r [s_d cget -ratio]", "2.25 3.0"},
         {"s_d configure -text {a b}; s_d cget -text", "a b"}});
}

TEST_F(Frame, ConstructorArgumentsAndStagingObjects) {
    run({{"TSampleDerived s_d; s_d configure -own 9; TSampleParent s_p [s_d cget -this]", "s_p"},
         {"TSampleParent s_q -args s_d; TSampleParent s_n NULL; list [s_p staged] [s_q staged] [s_n staged]", "9 9 -1"},
         {"TSampleParent s_x", "ERROR: Wrong # args. new_TSampleParent pDerived "},
         {"TSampleBase s_b; TSampleParent s_y [s_b cget -this]", "ERROR: Type error. Expected TSampleDerived *"},
         {"info commands s_\\[xy\\]", ""},
         {"set h [new_TSampleParent s_d]; list [TSampleParent_staged $h] [delete_TSampleParent $h]", "9 {}"},
         {"s_d -delete; s_p staged", "-1"}});
}

TEST_F(Frame, ExceptionsBecomeTclErrorsWithACode) {
    run({{"TThrowing s_t; catch {s_t boom 3} m o; list $m [dict get $o -errorcode]",
          "{internal error: boom 3} {ZKPROTOCOL INTERNAL}"},
         {"catch {TThrowing_boom s_t 0} m o; list $m [dict get $o -errorcode]",
          "{internal error} {ZKPROTOCOL INTERNAL}"},
         {"catch {s_t boom 0}; s_t cget -thisown", "1"}});
}

// Handles: "_", address least significant byte first, "_p_", type; binding.test has malformed ones.
TEST(Handle, EncodeParseAndRegister) {
    const auto& type = *zk::binding::registerType("TCLSampleThing");
    EXPECT_EQ(&type, zk::binding::registerType("TCLSampleThing"));
    EXPECT_EQ(zk::binding::findType("_p_TCLSampleThing"), &type);
    EXPECT_EQ(zk::binding::encodeHandle(reinterpret_cast<void*>(uintptr_t(0x0123456789abcdefULL)), type), "_efcdab8967452301_p_TCLSampleThing");
    for (uintptr_t v : {uintptr_t(0), uintptr_t(0xff), ~uintptr_t(0)}) {
        std::string text = zk::binding::encodeHandle(reinterpret_cast<void*>(v), type);  // mangled points into it
        uintptr_t back = 12345; std::string_view mangled;
        ASSERT_TRUE(zk::binding::parseHandleText(text, back, mangled));
        EXPECT_EQ(std::pair(back, mangled), std::pair(v, std::string_view("_p_TCLSampleThing")));
    }
}

TEST_F(Frame, LearnedOptionsReadWhatAPortLearned) {
    // Items start at level 2; without -count the count is 99.
    auto read = zk::binding::learnedItems<TLearnedSample>(ELearnedSample{.level = 2}, +[](ELearnedSample& r, const zk::learn::Given& given) {
        if (!given.has("count")) r.count = 99;
    });
    struct Case {
        const char *pairs, *why;
        int level = 0;
        const char* peer = "";
        uint32_t count = 0;
    } cases[] = {
        {"", "", 2, "none", 99},
        {"-level 1 -count 4294967295 -peer 10.0.0.1", "", 1, "10.0.0.1", 4294967295u},
        {"-count 0x10 -count 7", "", 2, "none", 7},  // hexadecimal; the last value stands
        {"-level 3", "bad value for -level: \"3\""},
        {"-level true", "bad value for -level: \"true\""},  // numbers only, no boolean words
        {"-count -1", "bad value for -count: \"-1\""},     // nor 32-bit wrap-around
        {"-peer 1.2.3", "bad value for -peer: \"1.2.3\""},
        {"-fixed 1", "unknown option \"-fixed\": must be -level, -peer or -count"},
        {"level 1", "unknown option \"level\": must be -level, -peer or -count"},
        {"-level", "expected a list of -option value pairs"},
    };
    for (const Case& c : cases) {
        Tcl_Obj* pairs = Tcl_NewStringObj(c.pairs, -1);
        Tcl_IncrRefCount(pairs);
        ELearnedSample item;
        EXPECT_EQ(read(pairs, "", item), c.why) << c.pairs;
        if (!*c.why) {
            EXPECT_EQ(std::tuple(item.level, item.peer, item.count, item.fixed),
                      std::tuple(c.level, std::string(c.peer), c.count, 4));
        }
        Tcl_DecrRefCount(pairs);
    }
}

}  // namespace
