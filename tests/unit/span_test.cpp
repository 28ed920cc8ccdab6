// The one rule for ranges that count on from a first value: the boundary
// cases at the end of each space, and counts whose product passes 64 bits.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "core/span.h"

namespace {

struct NetworksCase {
    std::string address;
    int length;
    long long count, step;
    bool fits;
};

TEST(Span, NetworksStayInTheirFamily) {
    const NetworksCase cases[] = {
        {"255.255.255.0", 24, 1, 1, true},
        {"255.255.255.0", 24, 2, 1, false},
        {"255.255.254.7", 24, 2, 1, true},  // the address is cut to its network first
        {"255.255.254.0", 24, 2, 2, false},
        {"200.0.0.0", 32, 2147483647, 2147483647, false},  // the span passes 2^32 and would wrap
        {"100.0.0.0", 32, 3, 1 << 30, true},
        {"200.0.0.0", 32, 3, 1 << 30, false},
        {"0.0.0.0", 0, 1, 1, true},
        {"0.0.0.0", 0, 5, 1, false},  // one network of length 0 exists
        {"0.0.0.0", 1, 2, 1, true},
        {"0.0.0.0", 1, 3, 1, false},
        {"10.0.0.0", 8, 246, 1, true},
        {"10.0.0.0", 8, 247, 1, false},
        {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ff00", 120, 1, 1, true},
        {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ff00", 120, 2, 1, false},
        {"ffff:ffff:ffff:ffff::", 64, 2, LLONG_MAX, false},
        {"::", 0, 2, 1, false},
        {"::", 1, 2, 1, true},
        {"::", 128, LLONG_MAX, LLONG_MAX, true},  // below 2^126 in all
        {"8000::", 1, 2, 1, false},
        // What other checks refuse passes here.
        {"1.2.3", 24, 100, 1, true},
        {"255.255.255.0", 33, 10, 1, true},
        {"255.255.255.0", -1, 10, 1, true},
        {"255.255.255.0", 24, 0, 1, true},
        {"255.255.255.0", 24, 10, -1, true},
        {"255.255.255.0", 24, 10, 0, true},  // a step of 0 repeats the first network
    };
    for (const auto& c : cases)
        EXPECT_EQ(zk::networksFit(c.address, c.length, c.count, c.step), c.fits)
            << c.address << "/" << c.length << " x" << c.count << " step " << c.step;
}

struct StepsCase {
    zk::Wide first;
    long long count;
    zk::Wide step, last;
    bool fits;
};

TEST(Span, StepsStopAtTheLastValue) {
    const zk::Wide all = ~zk::Wide(0);
    const StepsCase cases[] = {
        {65535, 1, 1, 65535, true},      {65535, 2, 1, 65535, false},  {1, 65535, 1, 65535, true},
        {1, 65536, 1, 65535, false},     {0, 3, 32767, 65535, true},   {0, 4, 32767, 65535, false},
        {0, LLONG_MAX, 1, all, true},    {all, 2, 1, all, false},      {all - 4, 3, 2, all, true},
        {all - 4, 4, 2, all, false},     {5, 0, 1, 4, true},           {70000, 1, 1, 65535, true},
        {16, 1048560, 1, 1048575, true}, {16, 1048561, 1, 1048575, false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(zk::stepsFit(c.first, c.count, c.step, c.last), c.fits)
            << uint64_t(c.first) << " x" << c.count << " step " << uint64_t(c.step) << " to " << uint64_t(c.last);
}

TEST(Span, AddressesStayInTheirFamily) {
    EXPECT_TRUE(zk::addressesFit("255.255.255.254", 2));
    EXPECT_FALSE(zk::addressesFit("255.255.255.254", 3));
    EXPECT_FALSE(zk::addressesFit("0.0.0.1", 3, 0x80000000u));
    EXPECT_TRUE(zk::addressesFit("ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe", 2));
    EXPECT_FALSE(zk::addressesFit("ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe", 3));
    EXPECT_TRUE(zk::addressesFit("no address", 3));
}

}  // namespace
