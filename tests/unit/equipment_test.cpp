// The equipment seam: the module talks to whatever equipment is installed,
// and derives every protocol walk from the one protocol table. A recording
// equipment stands in for the emulated chassis here.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "binding/module.h"
#include "chassis/lab.h"
#include "core/errors.h"
#include "core/host.h"
#include "core/learned.h"
#include "core/port.h"
#include "core/protocols.h"
#include "hal/rip.h"

namespace {

using zk::Protocol;

struct Answer : zk::LearnedData {
    int value = 0;
};

// A port that keeps what the module asks of it.
class RecordingPort : public zk::Port {
public:
    explicit RecordingPort(zk::PortId id) : zk::Port(id) {}

    std::vector<std::string> calls;
    std::set<Protocol> running;
    std::vector<zk::ReplyCallback> pending;

    bool send(Protocol p, const hal::EConfigRoot& config) override {
        calls.push_back(std::string("send ") + zk::protocolName(p) + " " + zk::configText(config, -1).substr(0, 1));
        return !writeFails;
    }
    bool sendServices() override {
        calls.push_back("services");
        return true;
    }
    void command(const zk::CommandCode& code) override {
        calls.push_back(std::string("command ") + code.name);
        if (code.action == zk::CommandCode::Start) running.insert(code.protocol);
        if (code.action == zk::CommandCode::Stop) running.erase(code.protocol);
    }
    void enableStatistics(Protocol p, bool on) override {
        calls.push_back(std::string("statistics ") + zk::protocolName(p) + (on ? " on" : " off"));
    }
    std::optional<std::string> refusesToAnswer(Protocol p, bool) const override {
        if (running.count(p)) return std::nullopt;
        return std::string(zk::protocolTitle(p)) + " is not running on port " + name + ".";
    }
    void request(const std::string& kind, const std::string& key, std::weak_ptr<void>,
                 zk::ReplyCallback done) override {
        calls.push_back("request " + kind + " " + key);
        pending.push_back(std::move(done));
    }
    void generateStreams(Protocol p, uint64_t, int action) override {
        calls.push_back(std::string("streams ") + zk::protocolName(p) + " " + std::to_string(action));
    }
};

class RecordingEquipment : public zk::Equipment {
public:
    RecordingPort port{zk::PortId{7, 1, 2}};
    zk::Port* find(const zk::PortId& id) override { return id == port.id ? &port : nullptr; }
    int deliverReplies() override {
        int n = 0;
        for (auto& done : std::exchange(port.pending, {})) {
            auto answer = std::make_shared<Answer>();
            answer->value = 42;
            done(answer);
            ++n;
        }
        return n;
    }
};

class Seam : public ::testing::Test {
protected:
    RecordingEquipment equipment;
    void SetUp() override {
        zk::clearCurrentPort();
        zk::installEquipment(&equipment);
    }
    void TearDown() override {
        zk::clearCurrentPort();
        zk::installEquipment(&chassis::Lab::instance());
    }
};

TEST_F(Seam, TheModuleFindsSelectsAndCommandsThePortsOfTheInstalledEquipment) {
    EXPECT_EQ(zk::findPort(1, 1, 1), nullptr);  // the emulated chassis' ports are not there
    EXPECT_EQ(zk::selectPort(1, 1, 1, Protocol::Rip), zk::kNoPort);
    ASSERT_EQ(zk::selectPort(7, 1, 2, Protocol::Rip), zk::kOk);
    EXPECT_EQ(zk::currentPort(), &equipment.port);

    equipment.port.licensed.erase(Protocol::Bgp4);
    EXPECT_EQ(zk::selectPort(7, 1, 2, Protocol::Bgp4), zk::kNotLicensed);
    EXPECT_EQ(zk::sendPortCommand(7, 1, 2, 63), zk::kNotLicensed);
    EXPECT_EQ(zk::lastError(), "TCLProtocolServer::sendCommand()   BGP-4 is not licensed on port 7/1/2.");
    EXPECT_EQ(zk::sendPortCommand(7, 1, 2, 89), zk::kOk);
    EXPECT_EQ(zk::enablePortStatistics(7, 1, 2, "ospfv3", 0), zk::kOk);
    EXPECT_EQ(zk::enablePortStatistics(7, 1, 2, "nonsense", 0), zk::kFail);
    EXPECT_EQ(equipment.port.calls, (std::vector<std::string>{"command startRip", "statistics ospfv3 off"}));
}

TEST_F(Seam, StagedConfigurationIsTheModulesAndASendGoesToTheEquipment) {
    ASSERT_EQ(zk::selectPort(7, 1, 2, Protocol::Rip), zk::kOk);
    zk::Port& port = *zk::currentPort();
    port.holder(Protocol::Rip).Config<hal::ERIPServer>();
    EXPECT_NE(port.staged("rip"), "");
    EXPECT_EQ(port.staged("bgp4"), "");
    EXPECT_EQ(port.staged("no such protocol"), "");
    EXPECT_TRUE(port.send(Protocol::Rip, *port.holder(Protocol::Rip).config()));
    EXPECT_EQ(equipment.port.calls, (std::vector<std::string>{"send rip {"}));
}

TEST_F(Seam, LearnedRequestsAskTheEquipmentAndItsAnswerArrivesWhenItDelivers) {
    ASSERT_EQ(zk::selectPort(7, 1, 2, Protocol::Rip), zk::kOk);
    // A kind nobody registered is answered whether or not a protocol runs.
    EXPECT_EQ(zk::mayRequestLearned("T::m()", true, "", "unregistered"), zk::kOk);
    auto owner = std::make_shared<int>(0);
    zk::LearnedReply<Answer> reply;
    reply.send(*zk::currentPort(), "someKind", "10.0.0.1", owner);
    EXPECT_EQ(equipment.port.calls.back(), "request someKind 10.0.0.1");
    EXPECT_TRUE(reply.arrived());  // delivered at the poll
    ASSERT_NE(reply.data(), nullptr);
    EXPECT_EQ(reply.data()->value, 42);

    EXPECT_EQ(zk::mayRequestLearned("T::m()", false, "Not loaded.", "x"), zk::kNoPort);
    EXPECT_EQ(zk::lastError(), "T::m()   Not loaded.");
    equipment.port.available = 0;
    EXPECT_EQ(zk::mayRequestLearned("T::m()", true, "", "x"), zk::kFail);
    EXPECT_EQ(zk::lastError(), "T::m()   The request could not be sent to port 7/1/2.");
}

TEST(ProtocolTable, NamesCodesAndConstantsAllComeFromOneRowPerProtocol) {
    std::set<std::string> names, options;
    std::set<int> ranks;
    for (const zk::ProtocolRow& r : zk::protocolTable()) {
        EXPECT_TRUE(names.insert(r.name).second) << r.name;
        EXPECT_EQ(zk::protocolFromName(r.name), r.protocol);
        EXPECT_TRUE(options.insert(r.serviceOption).second) << r.serviceOption;
        if (r.createOption) {
            EXPECT_TRUE(options.insert(r.createOption).second) << r.createOption;
            EXPECT_TRUE(ranks.insert(r.createRank).second) << r.createOption;
        }
        for (const zk::Command& c : {r.start, r.stop}) {
            const zk::CommandCode* code = zk::findCommandCode(c.code);
            ASSERT_NE(code, nullptr) << c.name;
            EXPECT_STREQ(code->name, c.name);
            EXPECT_EQ(code->protocol, r.protocol);
        }
    }
    EXPECT_EQ(names.size(), size_t(zk::kProtocolCount));
    EXPECT_EQ(*ranks.rbegin(), int(ranks.size()) - 1);  // ranks 0..n-1, none skipped
    EXPECT_FALSE(zk::protocolFromName("BGP-4"));
    EXPECT_EQ(zk::findCommandCode(0), nullptr);
    EXPECT_EQ(zk::findCommandCode(10002), nullptr);

    // Every code, and every other name of one, is a constant of its value.
    std::map<std::string, long long> constants;
    zk::binding::forEachConstant([&](const char* n, long long v, bool) { constants[n] = v; });
    for (const zk::CommandCode& c : zk::commandCodes()) EXPECT_EQ(constants.at(c.name), c.code) << c.name;
    for (const zk::Command& c : zk::commandAliases()) EXPECT_EQ(constants.at(c.name), c.code) << c.name;
}

}  // namespace
