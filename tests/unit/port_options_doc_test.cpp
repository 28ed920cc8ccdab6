// The option table of docs/chassis.md is the port option table of the code.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "chassis/port_options.h"

namespace {

TEST(PortOptionsDoc, TheTableRowsAreTheOptions) {
    const char* src = std::getenv("ZK_SOURCE_DIR");
    std::string root = src ? src : std::string(__FILE__).substr(0, std::string(__FILE__).rfind("/tests/"));
    std::ifstream in(root + "/docs/chassis.md");
    ASSERT_TRUE(in) << root;
    std::vector<std::string> documented, options;
    for (std::string line; std::getline(in, line);)
        if (line.rfind("| `-", 0) == 0) documented.push_back(line);
    for (const chassis::PortOption& o : chassis::portOptions()) options.push_back(chassis::portOptionDocRow(o));
    EXPECT_EQ(documented, options);
}

}  // namespace
