// The binding frame with small described classes of its own: a base class,
// a derived class and a parent bound to a staging object. Covers what
// TCLProtocolServer cannot show: read-only options, base classes, class
// pointer arguments, optional arguments and non-int results.
//
// The objects of the module reach Tcl through its stubs table, which
// Zktclprotocol_Init sets up; this file calls Tcl directly.
#undef USE_TCL_STUBS
#include <tcl.h>

#include <gtest/gtest.h>

#include <string>

#include "binding/describe.h"
#include "binding/module.h"
#include "core/errors.h"
#include "core/object.h"

namespace {

struct TSampleBase : zk::Object {
    int baseValue = 1;
    int ro = 5;
    int baseMethod() { return 7; }
};

struct TSampleDerived : TSampleBase {
    int own = 0;
    unsigned wide = 0;
    bool flag = false;
    double ratio = 0.5;
    std::string text;
    int fail() {
        zk::setLastError("TSampleDerived::fail()  failed ");
        return 1;
    }
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

zk::binding::Describe<TSampleBase> describeBase(9001, "TSampleBase", [](auto& c) {
    using T = TSampleBase;
    c.constructor();
    c.option("baseValue", &T::baseValue);
    c.readOnly("ro", &T::ro);
    c.method("baseMethod", &T::baseMethod);
});

zk::binding::Describe<TSampleDerived> describeDerived(9002, "TSampleDerived", [](auto& c) {
    using T = TSampleDerived;
    c.template base<TSampleBase>();
    c.constructor();
    c.option("own", &T::own);
    c.option("wide", &T::wide);
    c.option("flag", &T::flag);
    c.option("ratio", &T::ratio);
    c.option("text", &T::text);
    c.method("fail", &T::fail);
    c.method("take", &T::take, "pBase");
    c.method("add", &T::add, "a", zk::binding::optional("b"));
    c.method("greet", &T::greet, "who");
    c.method("biggest", &T::biggest);
});

zk::binding::Describe<TSampleParent> describeParent(9003, "TSampleParent", [](auto& c) {
    c.template constructor<TSampleDerived*>("pDerived");
    c.method("staged", &TSampleParent::staged);
});

class Frame : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        interp_ = Tcl_CreateInterp();
        ASSERT_EQ(Zktclprotocol_Init(interp_), TCL_OK);
    }
    static void TearDownTestSuite() {
        Tcl_DeleteInterp(interp_);
        interp_ = nullptr;
    }
    void SetUp() override { eval("foreach c [info commands s_*] { rename $c {} }; set ::zkErrorInfo {}"); }

    // The result of a script; failures come back as "ERROR: <message>".
    static std::string eval(const std::string& script) {
        int code = Tcl_Eval(interp_, script.c_str());
        std::string result = Tcl_GetStringResult(interp_);
        return code == TCL_OK ? result : "ERROR: " + result;
    }

    static Tcl_Interp* interp_;
};
Tcl_Interp* Frame::interp_ = nullptr;

TEST_F(Frame, CommandsOfADescribedClass) {
    EXPECT_EQ(eval("lsort [info commands TSampleBase*]"),
              "TSampleBase TSampleBase_baseMethod TSampleBase_baseValue_get TSampleBase_baseValue_set TSampleBase_ro_get");
    EXPECT_EQ(eval("llength [info commands new_TSample*]"), "3");
    EXPECT_EQ(eval("llength [info commands delete_TSample*]"), "3");
}

TEST_F(Frame, ReadOnlyOption) {
    eval("TSampleBase s_b");
    EXPECT_EQ(eval("s_b cget -ro"), "5");
    EXPECT_EQ(eval("TSampleBase_ro_get s_b"), "5");
    EXPECT_EQ(eval("s_b configure -baseValue 3 -ro 9 -baseValue 4"), "ERROR: Option -ro of TSampleBase is read-only.");
    EXPECT_EQ(eval("list [s_b cget -baseValue] [s_b cget -ro]"), "3 5");
    // configure without options lists read-only options too.
    EXPECT_EQ(eval("s_b configure"), "-baseValue 3 -ro 5");
    // The list of the unknown-option message of configure leaves them out.
    EXPECT_EQ(eval("s_b configure -nosuch 1"),
              "ERROR: Invalid configure option for TSampleBase. Must be :{ -baseValue }");
}

TEST_F(Frame, BaseClassMethodsAndOptionsReachedFromTheDerived) {
    eval("TSampleDerived s_d");
    EXPECT_EQ(eval("s_d baseMethod"), "7");
    EXPECT_EQ(eval("s_d configure -baseValue 11 -own 2; list [s_d cget -baseValue] [s_d cget -own] [s_d cget -ro]"),
              "11 2 5");
    // A derived handle is good wherever the base is expected ...
    EXPECT_EQ(eval("TSampleBase_baseMethod [s_d cget -this]"), "7");
    EXPECT_EQ(eval("TSampleBase_baseValue_get [s_d cget -this]"), "11");
    // ... but a base handle is not a derived one.
    eval("TSampleBase s_b");
    EXPECT_EQ(eval("TSampleDerived_own_get [s_b cget -this]"), "ERROR: Type error. Expected TSampleDerived *");
    EXPECT_EQ(eval("s_d nosuch"),
              "ERROR: Invalid Method for TSampleDerived. Must be : { cget configure -acquire -disown -delete "
              "methods : fail take add greet biggest baseMethod }");
}

TEST_F(Frame, ClassPointerArguments) {
    eval("TSampleDerived s_d; TSampleBase s_b; s_b configure -baseValue 21; TSampleParent s_p [s_d cget -this]");
    EXPECT_EQ(eval("s_d take [s_b cget -this]"), "21");
    EXPECT_EQ(eval("s_d take [s_d cget -this]"), "1");
    EXPECT_EQ(eval("s_d take s_b"), "21");
    EXPECT_EQ(eval("s_d take NULL"), "-1");
    EXPECT_EQ(eval("s_d take [s_p cget -this]"), "ERROR: Type error. Expected TSampleBase *");
    EXPECT_EQ(eval("s_d take s_p"), "ERROR: Type error. Expected TSampleBase *");
    EXPECT_EQ(eval("s_d take junk"), "ERROR: Type error. Expected a pointer");
    EXPECT_EQ(eval("s_d take {}"), "ERROR: Type error. Expected a pointer");
    EXPECT_EQ(eval("set h [s_b cget -this]; s_b -delete; s_d take $h"), "ERROR: Type error. Expected TSampleBase *");
}

TEST_F(Frame, OptionalArguments) {
    eval("TSampleDerived s_d");
    EXPECT_EQ(eval("s_d add 2"), "2");
    EXPECT_EQ(eval("s_d add 2 3"), "5");
    EXPECT_EQ(eval("TSampleDerived_add s_d 4"), "4");
    EXPECT_EQ(eval("s_d add"), "ERROR: Wrong # args. TSampleDerived_add self a b ");
    EXPECT_EQ(eval("s_d add 1 2 3"), "ERROR: Wrong # args. TSampleDerived_add self a b ");
    EXPECT_EQ(eval("s_d add 1 x"), "ERROR: expected integer but got \"x\" argument 3 (b)");
}

TEST_F(Frame, ResultsOfEveryKind) {
    eval("TSampleDerived s_d");
    EXPECT_EQ(eval("s_d greet {big world}"), "hello big world");
    EXPECT_EQ(eval("s_d biggest"), "4294967295");
    EXPECT_EQ(eval("set ::zkErrorInfo {}; list [s_d greet x] $::zkErrorInfo"), "{hello x} {}");
    EXPECT_EQ(eval("list [s_d fail] $::zkErrorInfo"), "1 {TSampleDerived::fail()  failed }");
}

TEST_F(Frame, OptionsOfEveryKind) {
    eval("TSampleDerived s_d");
    EXPECT_EQ(eval("s_d configure -wide 4294967295; s_d cget -wide"), "4294967295");
    EXPECT_EQ(eval("s_d configure -wide -1; s_d cget -wide"), "4294967295");  // wraps as in C
    EXPECT_EQ(eval("s_d configure -wide 4294967296"), "ERROR: integer value too large to represent: \"4294967296\" argument 2 (wide)");
    EXPECT_EQ(eval("s_d configure -flag on; s_d cget -flag"), "1");
    EXPECT_EQ(eval("s_d configure -flag 5; s_d cget -flag"), "1");
    EXPECT_EQ(eval("s_d configure -flag TCL_ERROR; s_d cget -flag"), "0");
    EXPECT_EQ(eval("s_d configure -ratio 2.25; s_d cget -ratio"), "2.25");
    EXPECT_EQ(eval("s_d configure -ratio 3; s_d cget -ratio"), "3.0");
    EXPECT_EQ(eval("catch {s_d configure -ratio abc}; s_d cget -ratio"), "3.0");
    EXPECT_EQ(eval("s_d configure -text {a b}; s_d cget -text"), "a b");
}

TEST_F(Frame, ConstructorArguments) {
    eval("TSampleDerived s_d; s_d configure -own 9");
    EXPECT_EQ(eval("TSampleParent s_p [s_d cget -this]"), "s_p");
    EXPECT_EQ(eval("s_p staged"), "9");
    EXPECT_EQ(eval("TSampleParent s_q -args s_d; s_q staged"), "9");
    EXPECT_EQ(eval("TSampleParent s_n NULL; s_n staged"), "-1");
    EXPECT_EQ(eval("TSampleParent s_x"), "ERROR: Wrong # args. new_TSampleParent pDerived ");
    EXPECT_EQ(eval("info commands s_x"), "");
    EXPECT_EQ(eval("TSampleBase s_b; TSampleParent s_y [s_b cget -this]"), "ERROR: Type error. Expected TSampleDerived *");
    EXPECT_EQ(eval("info commands s_y"), "");
    EXPECT_EQ(eval("set h [new_TSampleParent [s_d cget -this]]; TSampleParent_staged $h"), "9");
    EXPECT_EQ(eval("delete_TSampleParent $h"), "");
}

TEST_F(Frame, AStagingObjectDeletedByTheScriptReadsAsMissing) {
    eval("TSampleDerived s_d; s_d configure -own 4; TSampleParent s_p s_d");
    EXPECT_EQ(eval("s_p staged"), "4");
    eval("s_d -delete");
    EXPECT_EQ(eval("s_p staged"), "-1");
}

}  // namespace
