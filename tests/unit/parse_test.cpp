// Address and byte-text parsing.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/parse.h"

namespace {

using Texts = std::vector<std::string>;

TEST(Parse, Addresses) {
    EXPECT_EQ(zk::parseIPv4("255.255.255.255"), 0xffffffffu);
    EXPECT_EQ(zk::parseIPv4("010.0.0.1"), 0x0a000001u);  // leading zeros: decimal, not octal
    EXPECT_EQ(zk::formatIPv4(0xc0a80001), "192.168.0.1");
    for (const auto& bad : Texts{"", "1.2.3", "1.2.3.4.5", "256.1.1.1", "1.2.3.256", " 1.2.3.4", "1.2.3.4 ", "1..2.3",
                                 "1.2.3.", "+1.2.3.4", "0x1.2.3.4", "0001.2.3.4", "1.2.3.4/24", std::string("1.2.3.4\0", 8)})
        EXPECT_FALSE(zk::parseIPv4(bad).has_value()) << '"' << bad << '"';
    EXPECT_EQ(zk::parseIPv6("::ffff:1.2.3.4"), (std::array<uint8_t, 16>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff, 1, 2, 3, 4}));
    for (const auto& bad : Texts{"", "1::2::3", "1:2:3:4:5:6:7", "1.2.3.4", std::string(100, '1'), std::string("::1\0", 4)})
        EXPECT_FALSE(zk::parseIPv6(bad).has_value()) << '"' << bad << '"';
    EXPECT_EQ(zk::ipv4Address("10.1.2.3")->GetBytes()[0], 10);  // most significant byte first
}

TEST(Parse, Bytes) {
    using Bytes = std::vector<uint8_t>;
    EXPECT_EQ(zk::parseBytes(" \t"), Bytes{});
    EXPECT_EQ(zk::parseBytes("a b:DEADbeef-f::0 0102"), (Bytes{0x0a, 0x0b, 0xde, 0xad, 0xbe, 0xef, 0x0f, 0x00, 0x01, 0x02}));
    for (const auto& bad : Texts{"abc", "12 345", "zz", "0x12", "12,34", "12\n34", std::string("12\0", 3)})
        EXPECT_FALSE(zk::parseBytes(bad).has_value()) << '"' << bad << '"';
}

}  // namespace
