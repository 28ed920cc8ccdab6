// The one rule for ranges that count on from a first value, at the end of
// each space and with spans past 64 bits.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "core/span.h"

namespace {

TEST(Span, NetworksStayInTheirFamily) {
    const struct {
        std::string address;
        int length;
        long long count, step;
        long long in;  // of them before the end of the family
    } cases[] = {
        {"255.255.254.7", 24, 2, 1, 2},  // cut to its network first
        {"255.255.255.0", 24, 2, 1, 1},
        {"255.255.0.0", 24, 1000, 3, 86},              // 255.255.0 .. 255.255.255 in steps of 3
        {"200.0.0.0", 32, 2147483647, 2147483647, 1},  // would wrap in 32 bits
        {"100.0.0.0", 32, 3, 1 << 30, 3},
        {"0.0.0.0", 0, 1, 1, 1},
        {"0.0.0.0", 0, 5, 1, 1},
        {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ff00", 120, 2, 1, 1},
        {"::", 128, LLONG_MAX, LLONG_MAX, LLONG_MAX},
        {"::", 64, LLONG_MAX, 1, LLONG_MAX},
        {"8000::", 1, 2, 1, 1},
        {"1.2.3", 24, 100, 1, 100},  // what other checks refuse passes
        {"255.255.255.0", 33, 10, 1, 10},
        {"255.255.255.0", 24, 10, 0, 10},  // a step of 0 repeats the first network
    };
    for (const auto& c : cases) {
        EXPECT_EQ(zk::networksIn(c.address, c.length, c.count, c.step), c.in) << c.address << "/" << c.length;
        EXPECT_EQ(zk::networksFit(c.address, c.length, c.count, c.step), c.in == c.count)
            << c.address << "/" << c.length;
    }
}

TEST(Span, StepsAndAddressesStopAtTheLastValue) {
    const zk::Wide all = ~zk::Wide(0);
    EXPECT_TRUE(zk::stepsFit(0, 3, 32767, 65535));
    EXPECT_FALSE(zk::stepsFit(0, 4, 32767, 65535));
    EXPECT_TRUE(zk::stepsFit(all - 4, 3, 2, all));
    EXPECT_FALSE(zk::stepsFit(all - 4, 4, 2, all));
    EXPECT_TRUE(zk::stepsFit(5, 0, 1, 4));
    EXPECT_FALSE(zk::addressesFit("255.255.255.254", 3));
    EXPECT_FALSE(zk::addressesFit("0.0.0.1", 3, 0x80000000u));
    EXPECT_TRUE(zk::addressesFit("ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe", 2));
}

}  // namespace
