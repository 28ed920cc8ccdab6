// Address and byte-text parsing.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/parse.h"

namespace {

using zk::parseIPv4;

TEST(ParseIPv4, Good) {
    struct {
        const char* text;
        uint32_t value;
    } cases[] = {
        {"0.0.0.0", 0},
        {"1.2.3.4", 0x01020304},
        {"255.255.255.255", 0xffffffff},
        {"192.168.0.1", 0xc0a80001},
        {"10.0.0.255", 0x0a0000ff},
        {"01.2.3.4", 0x01020304},    // leading zeros read as decimal
        {"010.0.0.1", 0x0a000001},   // not octal
        {"001.002.003.004", 0x01020304},
    };
    for (const auto& c : cases) {
        auto v = parseIPv4(c.text);
        ASSERT_TRUE(v.has_value()) << c.text;
        EXPECT_EQ(*v, c.value) << c.text;
    }
}

TEST(ParseIPv4, Bad) {
    const std::string cases[] = {
        "", "1.2.3", "1.2.3.4.5", "256.1.1.1", "1.2.3.256", "999.1.1.1", " 1.2.3.4", "1.2.3.4 ",
        "1..2.3", "1.2.3.", ".1.2.3", "1.2.3.-4", "+1.2.3.4", "a.b.c.d", "0x1.2.3.4", "1.2.3.4\n",
        "0001.2.3.4", "1,2,3,4", "1.2.3.4/24", "1.2.3.4:80", "1", "...", std::string("1.2.3.4\0", 8),
        std::string("1.2\0.3.4", 8), "::1", "1.2.3.4.",
    };
    for (const auto& t : cases) EXPECT_FALSE(parseIPv4(t).has_value()) << '"' << t << '"';
}

TEST(ParseIPv4, FormatRoundTrip) {
    for (uint32_t v : {0u, 1u, 0x01020304u, 0xc0a80001u, 0xffffffffu}) EXPECT_EQ(parseIPv4(zk::formatIPv4(v)), v);
    EXPECT_EQ(zk::formatIPv4(0x0a000001), "10.0.0.1");
}

TEST(ParseIPv6, Good) {
    struct {
        const char* text;
        std::array<uint8_t, 16> bytes;
    } cases[] = {
        {"::", {}},
        {"::1", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}},
        {"fe80::1", {0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}},
        {"2001:db8:0:0:1:0:0:1", {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1}},
        {"2001:DB8::1", {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}},
        {"::ffff:1.2.3.4", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff, 1, 2, 3, 4}},
        {"1:2:3:4:5:6:7:8", {0, 1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6, 0, 7, 0, 8}},
        {"1::", {0, 1}},
    };
    for (const auto& c : cases) {
        auto v = zk::parseIPv6(c.text);
        ASSERT_TRUE(v.has_value()) << c.text;
        EXPECT_EQ(*v, c.bytes) << c.text;
    }
}

TEST(ParseIPv6, Bad) {
    const std::string cases[] = {
        "", ":", ":::", "1::2::3", "12345::", "g::1", "1:2:3:4:5:6:7:8:9", "1:2:3:4:5:6:7", " ::1", "::1 ",
        "1.2.3.4", "fe80::1%eth0", "::1/128", std::string("::1\0", 4), std::string(100, '1'),
    };
    for (const auto& t : cases) EXPECT_FALSE(zk::parseIPv6(t).has_value()) << '"' << t << '"';
}

TEST(ParseBytes, Good) {
    struct {
        const char* text;
        std::vector<uint8_t> bytes;
    } cases[] = {
        {"", {}},
        {"   ", {}},
        {"00", {0}},
        {"01 02 03", {1, 2, 3}},
        {"0102:03-04", {1, 2, 3, 4}},
        {"a b", {0x0a, 0x0b}},
        {"DEADbeef", {0xde, 0xad, 0xbe, 0xef}},
        {"\t1\t23 4567", {0x01, 0x23, 0x45, 0x67}},
        {"f::0-1", {0x0f, 0x00, 0x01}},
    };
    for (const auto& c : cases) {
        auto v = zk::parseBytes(c.text);
        ASSERT_TRUE(v.has_value()) << '"' << c.text << '"';
        EXPECT_EQ(*v, c.bytes) << '"' << c.text << '"';
    }
}

TEST(ParseBytes, Bad) {
    const std::string cases[] = {"abc", "12 345", "zz", "0x12", "12,34", "1.2", "g", "12\n34",
                                 std::string("12\0", 3)};
    for (const auto& t : cases) EXPECT_FALSE(zk::parseBytes(t).has_value()) << '"' << t << '"';
}

TEST(ParseAdminGroup, FourBytesOrDotted) {
    using G = std::array<uint8_t, 4>;
    EXPECT_EQ(zk::parseAdminGroup("1.2.3.4"), (G{1, 2, 3, 4}));
    EXPECT_EQ(zk::parseAdminGroup("01020304"), (G{1, 2, 3, 4}));
    EXPECT_EQ(zk::parseAdminGroup("ff ff 00 01"), (G{0xff, 0xff, 0, 1}));
    EXPECT_EQ(zk::parseAdminGroup("0.0.0.0"), (G{0, 0, 0, 0}));
    for (const char* bad : {"", "010203", "0102030405", "1.2.3", "256.0.0.0", "xyz", "1 2 3"})
        EXPECT_FALSE(zk::parseAdminGroup(bad).has_value()) << bad;
}

TEST(ParseAddress, HalForms) {
    auto a = zk::ipv4Address("10.1.2.3");
    ASSERT_TRUE(a.has_value());
    EXPECT_FALSE(a->IsV6());
    EXPECT_EQ(a->GetV4(), 0x0a010203u);
    EXPECT_EQ(a->ToString(), "10.1.2.3");
    EXPECT_EQ(a->GetBytes()[0], 10);  // most significant byte first
    auto b = zk::ipv6Address("2001:db8::5");
    ASSERT_TRUE(b.has_value());
    EXPECT_TRUE(b->IsV6());
    EXPECT_EQ(b->ToString(), "2001:db8::5");
    EXPECT_FALSE(zk::ipv4Address("1.2.3").has_value());
    EXPECT_FALSE(zk::ipv6Address("1.2.3.4").has_value());
}

}  // namespace
