// InitProtocols and ProtocolTCLAPIVersion called as a host program calls
// them: through the C declarations only, with a table of its own.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "chassis/lab.h"
#include "core/errors.h"
#include "core/host.h"
#include "core/host_interface.h"

namespace {

struct HostLogLines {
    std::vector<std::string> lines;
};
void collect(void* context, const char* message) { static_cast<HostLogLines*>(context)->lines.push_back(message); }
void toLab(void*, const char* message) { chassis::Lab::instance().log(message); }

class HostInterface : public ::testing::Test {
protected:
    void SetUp() override { chassis::Lab::instance().reset(false); }
    // The tables' log lines die with each test; the module logs to the lab again.
    void TearDown() override {
        ZkProtocolHostTable t{};
        t.log = toLab;
        InitProtocols(&t);
    }
    chassis::EmulatedPort& port(int p) { return *chassis::Lab::instance().find(1, 1, p); }
    ZkProtocolHostTable goodTable(HostLogLines& log) {
        ZkProtocolHostTable t{};
        t.version = unsigned(ProtocolTCLAPIVersion());
        t.log = collect;
        t.logContext = &log;
        return t;
    }
};

TEST_F(HostInterface, BadTablesAreRefusedAndLeaveTheHostAndTheTableAsTheyWere) {
    HostLogLines first, later;
    ZkProtocolHostTable taken = goodTable(first);
    ASSERT_EQ(InitProtocols(&taken), 0);

    EXPECT_EQ(InitProtocols(nullptr), 1);
    EXPECT_EQ(zk::lastError(), "invalid pointer passed to InitProtocols");
    struct Case {
        unsigned version;
        bool withLog;
        const char* message;
    } cases[] = {
        {1, true, "invalid version passed to InitProtocols"},
        {0xFFFFFFFFu, true, "invalid version passed to InitProtocols"},
        {1, false, "invalid version passed to InitProtocols"},  // the version is checked first
        {0, false, "invalid pointer passed to InitProtocols"},
    };
    for (const Case& c : cases) {
        ZkProtocolHostTable t = goodTable(later);
        t.version = c.version;
        if (!c.withLog) t.log = nullptr;
        EXPECT_EQ(InitProtocols(&t), 1) << c.version;
        EXPECT_EQ(zk::lastError(), c.message) << c.version;
        EXPECT_EQ(t.sendCommand, nullptr);
        EXPECT_EQ(t.apiVersion, nullptr);
    }
    zk::hostLog("still the first host");
    EXPECT_EQ(first.lines, std::vector<std::string>{"still the first host"});
    EXPECT_TRUE(later.lines.empty());
}

TEST_F(HostInterface, TheModulesFunctionsReachThePorts) {
    HostLogLines log;
    ZkProtocolHostTable t = goodTable(log);
    ASSERT_EQ(InitProtocols(&t), 0);
    EXPECT_EQ(t.apiVersion(), ProtocolTCLAPIVersion());
    EXPECT_EQ(ProtocolTCLAPIVersion(), 0);

    EXPECT_EQ(t.sendCommand(1, 1, 2, 63), 0);  // startBgp4
    EXPECT_TRUE(port(2).isRunning(chassis::Protocol::Bgp4));
    EXPECT_FALSE(port(1).isRunning(chassis::Protocol::Bgp4));
    EXPECT_EQ(t.sendCommand(1, 1, 2, 64), 0);  // stopBgp4
    EXPECT_FALSE(port(2).isRunning(chassis::Protocol::Bgp4));
    EXPECT_EQ(t.sendCommand(1, 1, 2, 62), 1);
    EXPECT_EQ(zk::lastError(), "TCLProtocolServer::sendCommand()   Unknown command code 62.");
    EXPECT_EQ(t.sendCommand(9, 9, 9, 63), 100);
    EXPECT_EQ(port(2).commands.size(), 2u);

    EXPECT_EQ(t.enableStatistics(1, 1, 3, "bgp4", 0), 0);
    EXPECT_FALSE(port(3).countsStatistics(chassis::Protocol::Bgp4));
    EXPECT_TRUE(port(3).countsStatistics(chassis::Protocol::Ospf));
    EXPECT_EQ(t.enableStatistics(1, 1, 3, nullptr, 1), 1);
    EXPECT_EQ(t.enableStatistics(1, 1, 3, "bgp4", 1), 0);
    EXPECT_TRUE(port(3).countsStatistics(chassis::Protocol::Bgp4));

    zk::hostLog("to the host");
    EXPECT_EQ(log.lines, std::vector<std::string>{"to the host"});
}

}  // namespace
