// Pointer handles: "_", the address least significant byte first in
// lower-case hex, then "_p_<Class>".
#include <gtest/gtest.h>

#include <string>

#include "binding/types.h"

namespace {

using zk::binding::encodeHandle;
using zk::binding::parseHandleText;

const zk::binding::TypeInfo& sampleType() { return *zk::binding::registerType("TCLSampleThing"); }

TEST(Handle, EncodesLeastSignificantByteFirst) {
    const void* p = reinterpret_cast<const void*>(uintptr_t(0x0123456789abcdefULL));
    EXPECT_EQ(encodeHandle(p, sampleType()), "_efcdab8967452301_p_TCLSampleThing");
    EXPECT_EQ(encodeHandle(nullptr, sampleType()), "_0000000000000000_p_TCLSampleThing");
}

TEST(Handle, RegisterTypeOncePerName) {
    auto* a = zk::binding::registerType("TCLSampleOther");
    EXPECT_EQ(a, zk::binding::registerType("TCLSampleOther"));
    EXPECT_EQ(a->mangled, "_p_TCLSampleOther");
    EXPECT_EQ(a->display, "TCLSampleOther *");
    EXPECT_EQ(zk::binding::findType("_p_TCLSampleOther"), a);
    EXPECT_EQ(zk::binding::findType("TCLSampleOther"), nullptr);
}

TEST(Handle, RoundTrip) {
    for (uintptr_t v : {uintptr_t(0), uintptr_t(1), uintptr_t(0x55d0e9a0c32b5610ULL), ~uintptr_t(0),
                        uintptr_t(0x8000000000000000ULL), uintptr_t(0x00000000000000ffULL)}) {
        std::string text = encodeHandle(reinterpret_cast<const void*>(v), sampleType());
        uintptr_t back = 12345;
        std::string_view type;
        ASSERT_TRUE(parseHandleText(text, back, type)) << text;
        EXPECT_EQ(back, v) << text;
        EXPECT_EQ(type, "_p_TCLSampleThing");
    }
}

TEST(Handle, ParseRejectsMalformedText) {
    const std::string cases[] = {
        "",
        "NULL",
        "_",
        "_efcdab8967452301",
        "_efcdab8967452301_p_",                   // no type name
        "efcdab8967452301_p_TCLSampleThing",      // no leading blank
        "_EFCDAB8967452301_p_TCLSampleThing",     // upper-case digits
        "_efcdab896745230_p_TCLSampleThing",      // 15 digits
        "_efcdab89674523010_p_TCLSampleThing",    // 17 digits
        "_efcdab896745230g_p_TCLSampleThing",     // not hex
        "_efcdab8967452301_q_TCLSampleThing",
        "_efcdab8967452301p_TCLSampleThing",
        "-efcdab8967452301_p_TCLSampleThing",
        " _efcdab8967452301_p_TCLSampleThing",
        std::string("_efcdab89\0" "7452301_p_TCLSampleThing", 34),  // a NUL inside the digits
    };
    for (const auto& t : cases) {
        uintptr_t a;
        std::string_view type;
        EXPECT_FALSE(parseHandleText(t, a, type)) << '"' << t << '"';
    }
}

TEST(Handle, ParseKeepsTheWholeTypeName) {
    uintptr_t a;
    std::string_view type;
    ASSERT_TRUE(parseHandleText("_0100000000000000_p_TCLSampleThing_p_x", a, type));
    EXPECT_EQ(a, 1u);
    EXPECT_EQ(type, "_p_TCLSampleThing_p_x");  // an unknown type, refused by the registry lookup
    EXPECT_EQ(zk::binding::findType(type), nullptr);
}

}  // namespace
