// As root: a speaker on a real reactor in a namespace of the test's own,
// against FRR's bgpd in a second namespace across a veth pair. The
// namespaces, the pair and FRR come from the project's live-lab fixtures
// (tests/live/lab.tcl), driven through a tclsh child that takes one
// command a line; when the test ends, fails or dies, that child's exit
// takes down everything it made, by PID. Skipped without root, tclsh or
// FRR, with the reason.
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>

#include "bgp_speaker_lab.h"

namespace {

using namespace speakertest;
using Json = nlohmann::json;

// The lab fixtures in a tclsh child: "OK result" or "ERR message" a line.
class TclLab {
public:
    TclLab() {
        const std::filesystem::path here = std::filesystem::path(__FILE__).parent_path();
        const std::string lab = (here.parent_path() / "live" / "lab.tcl").string();
        script_ = "/tmp/zkspeaker-live-" + std::to_string(getpid()) + ".tcl";
        std::ofstream(script_) << "source {" << lab << "}\n"
                               << "fconfigure stdout -buffering line\n"
                               << "set why [lab::available]\n"
                               << "if {$why ne {}} { puts \"SKIP $why\"; exit 0 }\n"
                               << "lab::sweep\n"
                               << "puts READY\n"
                               << "while {[gets stdin line] >= 0} {\n"
                               << "  if {[catch {uplevel #0 $line} r]} { set r \"ERR $r\" } else { set r \"OK $r\" }\n"
                               << "  puts [string map {\\n { }} $r]\n"
                               << "}\n"
                               << "exit 0\n";
        int in[2], out[2];
        if (pipe2(in, O_CLOEXEC) < 0 || pipe2(out, O_CLOEXEC) < 0) {
            why = "pipe failed";
            return;
        }
        posix_spawn_file_actions_t fa;
        posix_spawn_file_actions_init(&fa);
        posix_spawn_file_actions_adddup2(&fa, in[0], 0);
        posix_spawn_file_actions_adddup2(&fa, out[1], 1);
        std::string tclsh = "tclsh";
        char* argv[] = {tclsh.data(), script_.data(), nullptr};
        const int rc = posix_spawnp(&pid_, "tclsh", &fa, nullptr, argv, environ);
        posix_spawn_file_actions_destroy(&fa);
        ::close(in[0]);
        ::close(out[1]);
        toLab_ = in[1];
        fromLab_ = out[0];
        if (rc != 0) {
            pid_ = -1;
            why = "tclsh not found (Debian package tcl)";
            return;
        }
        const std::string first = readLine(60000);
        std::filesystem::remove(script_);  // read whole before it runs: nothing is left if we die
        if (first.rfind("SKIP ", 0) == 0) why = first.substr(5);
        else if (first != "READY") why = "the lab did not start: " + first;
    }

    ~TclLab() {
        if (toLab_ >= 0) ::close(toLab_);  // end of input: the lab cleans up and exits
        if (pid_ > 0) {
            int status = 0;
            for (int i = 0; i < 300 && waitpid(pid_, &status, WNOHANG) == 0; ++i) usleep(100000);
            if (waitpid(pid_, &status, WNOHANG) == 0) {
                ::kill(pid_, SIGKILL);
                waitpid(pid_, &status, 0);
            }
        }
        if (fromLab_ >= 0) ::close(fromLab_);
        std::filesystem::remove(script_);
    }

    std::string why;  // empty: usable

    // Runs one Tcl command (one line); the result, or a failure of the test.
    std::string operator()(const std::string& command, int timeoutMs = 60000) {
        const std::string line = command + "\n";
        if (::write(toLab_, line.data(), line.size()) != ssize_t(line.size())) {
            ADD_FAILURE() << "lab gone";
            return {};
        }
        const std::string r = readLine(timeoutMs);
        if (r.rfind("OK ", 0) == 0) return r.substr(3);
        if (r == "OK") return {};
        ADD_FAILURE() << command << ": " << r;
        return {};
    }

private:
    std::string readLine(int timeoutMs) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        for (;;) {
            const size_t nl = buffer_.find('\n');
            if (nl != std::string::npos) {
                std::string line = buffer_.substr(0, nl);
                buffer_.erase(0, nl + 1);
                return line;
            }
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
            if (left <= 0) return "timeout";
            pollfd p{fromLab_, POLLIN, 0};
            if (::poll(&p, 1, int(left)) <= 0) continue;
            char chunk[65536];
            const ssize_t n = ::read(fromLab_, chunk, sizeof chunk);
            if (n <= 0) return "lab ended";
            buffer_.append(chunk, size_t(n));
        }
    }

    pid_t pid_ = -1;
    int toLab_ = -1, fromLab_ = -1;
    std::string script_;
    std::string buffer_;
};

// A Tcl word in braces, the configuration's lines joined by \n escapes
// (the lab takes one command a line).
std::string tclText(const std::string& text) {
    std::string s = "\"";
    for (char c : text) {
        if (c == '\n') s += "\\n";
        else if (c == '"' || c == '$' || c == '[' || c == ']' || c == '\\') s += std::string("\\") + c;
        else s += c;
    }
    return s + "\"";
}

// Our side: one external neighbor in AS 65001 with a range of `count`
// prefixes (MED 50, community 65001:7), timers of 3 and 9 s.
hal::EBGPServer ours(const char* us, const char* dut, bool v6, const char* key, uint32_t count) {
    hal::EBGP::ConfigNeighbor n;
    n.type = 1;
    n.localAddress = ip(us);
    n.dutAddress = ip(dut);
    n.localAs = 65001;
    n.holdTime = 9;
    n.keepAlive = 3;
    n.md5Key = key;
    n.ipV4Unicast = !v6;
    n.ipV6Unicast = v6;
    hal::EBGP::ConfigRouteRange r;
    r.firstNetwork = ip(v6 ? "2001:db8:100::" : "20.0.0.0");
    r.fromPrefix = r.thruPrefix = v6 ? 48 : 24;
    r.numberOfRoutes = count;
    r.medEnabled = true;
    r.med = 50;
    r.communities = {65001u << 16 | 7};
    n.routeRanges.Add(r);
    hal::EBGPServer config;
    config.external.retryDelay = 1;
    config.external.connectRetries = 0;
    config.neighbors.Add(n);
    return config;
}

struct LiveCase {
    const char* name;
    bool v6;
    const char* ourKey;
    const char* frrKey;
    bool comesUp;
};

std::ostream& operator<<(std::ostream& os, const LiveCase& c) { return os << c.name; }

// Serves the reactor until cond() holds or the time is over.
template <class F>
bool until(Reactor& r, int ms, F cond) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (std::chrono::steady_clock::now() < end) {
        if (cond()) return true;
        for (int i = 0; i < 10; ++i) r.poll(20ms);
    }
    return cond();
}

class SpeakerLive : public ::testing::TestWithParam<LiveCase> {};

TEST_P(SpeakerLive, AgainstFrr) {
    const LiveCase& c = GetParam();
    TclLab lab;
    if (!lab.why.empty()) GTEST_SKIP() << "live test skipped: " << lab.why;
    const char* us = c.v6 ? "fd00:1::1" : "10.0.0.1";
    const char* dut = c.v6 ? "fd00:1::2" : "10.0.0.2";
    const std::string family = c.v6 ? "ipv6" : "ipv4";
    const std::string nsA = lab("set a [lab::ns create]");
    lab("set b [lab::ns create]");
    const std::string ifs =
        lab("lab::veth $a $b -addr1 10.0.0.1/24 -addr2 10.0.0.2/24 -addr1v6 fd00:1::1/64 "
            "-addr2v6 fd00:1::2/64");
    ASSERT_FALSE(nsA.empty());
    std::string conf =
        "hostname dut\nrouter bgp 65002\n bgp router-id 10.0.0.2\n no bgp ebgp-requires-policy\n"
        " no bgp network import-check\n";
    conf += std::string(" neighbor ") + us + " remote-as 65001\n neighbor " + us + " timers 3 9\n neighbor " + us +
            " timers connect 1\n";
    if (*c.frrKey) conf += std::string(" neighbor ") + us + " password " + c.frrKey + "\n";
    if (c.v6) {
        conf += " address-family ipv4 unicast\n  no neighbor " + std::string(us) + " activate\n exit-address-family\n";
        conf += " address-family ipv6 unicast\n  neighbor " + std::string(us) +
                " activate\n  network 2001:db8:30::/48\n exit-address-family\n";
    } else {
        conf += " address-family ipv4 unicast\n  network 30.0.0.0/24\n  network 30.0.1.0/24\n exit-address-family\n";
    }
    lab("set frr [lab::frr start $b -config " + tclText(conf) + "]");
    auto frrJson = [&](const std::string& cmd) {
        try {
            return Json::parse(lab("lab::frr vtysh $frr {" + cmd + "}"));
        } catch (const std::exception&) {
            return Json::object();
        }
    };

    hal::EBGPServer config = ours(us, dut, c.v6, c.ourKey, c.v6 ? 16 : 1000);
    const hal::EBGP::ConfigRouteRange r = *config.neighbors.At(0)->routeRanges.At(0);
    Reactor reactor;
    auto speaker = std::make_unique<Speaker>(reactor, Place{nsA, ifs.substr(0, ifs.find(' '))});
    speaker->configure(config);
    speaker->start();
    auto state = [&] { return speaker->statistics(ip(dut)).at(selector::kState); };
    auto frrNeighbor = [&] {
        return frrJson(std::string("show bgp neighbors ") + us + " json").value(us, Json::object());
    };

    const bool up = until(reactor, c.comesUp ? 15000 : 5000, [&] { return state() == "6"; });
    EXPECT_EQ(up, c.comesUp) << "our state " << state() << ", " << speaker->lastError();
    if (!c.comesUp) {
        EXPECT_NE(frrNeighbor().value("bgpState", ""), "Established");
        return;
    }
    EXPECT_EQ(frrNeighbor().value("bgpState", ""), "Established");

    // FRR holds every prefix of the range, with its attributes, and none past it.
    const std::string summary = "show bgp " + family + " unicast summary json";
    auto pfxRcd = [&] { return frrJson(summary)["peers"][us].value("pfxRcd", -1); };
    const int total = int(r.numberOfRoutes);
    EXPECT_TRUE(until(reactor, 10000, [&] { return pfxRcd() == total; })) << "FRR holds " << pfxRcd();
    const std::string first = c.v6 ? "2001:db8:100::/48" : "20.0.0.0/24";
    const std::string last = c.v6 ? "2001:db8:10f::/48" : "20.3.231.0/24";
    const std::string past = c.v6 ? "2001:db8:110::/48" : "20.3.232.0/24";
    Json path = frrJson("show bgp " + family + " unicast " + first + " json")["paths"][0];
    EXPECT_EQ(path["aspath"].value("string", ""), "65001");
    EXPECT_EQ(path.value("metric", -1), 50);
    EXPECT_EQ(path["community"].value("string", ""), "65001:7");
    if (!c.v6) {
        EXPECT_EQ(path["nexthops"][0].value("ip", ""), us);
    }
    EXPECT_TRUE(frrJson("show bgp " + family + " unicast " + last + " json").contains("paths"));
    EXPECT_FALSE(frrJson("show bgp " + family + " unicast " + past + " json").contains("paths"));

    // What FRR sends is learned.
    EXPECT_TRUE(until(reactor, 5000, [&] {
        auto learned = speaker->learnedRoutes(ip(dut));
        return learned && std::ranges::any_of(*learned, [&](const hal::EBGP::LearnedRoute& l) {
                   return l.network == ip(c.v6 ? "2001:db8:30::" : "30.0.1.0") &&
                          l.asPath == std::vector<uint16_t>{65002};
               });
    }));
    // Statistics agree with FRR's counters (of UPDATEs: FRR counts the
    // OPENs of a connection that lost a collision apart).
    const auto stats = speaker->statistics(ip(dut));
    const Json frrStats = frrNeighbor()["messageStats"];
    EXPECT_EQ(stats.at(selector::kUpdateSent), std::to_string(frrStats.value("updatesRecv", -1)));
    EXPECT_EQ(stats.at(selector::kUpdateReceived), std::to_string(frrStats.value("updatesSent", -1)));
    EXPECT_EQ(stats.at(selector::kPeerAs), "65002");
    EXPECT_EQ(stats.at(selector::kPeerId), "10.0.0.2");
    EXPECT_EQ(std::stoi(stats.at(selector::kRoutesAdvertised)), total);

    // A write while running: routes added, no reset.
    hal::EBGP::ConfigRouteRange more = r;
    more.firstNetwork = ip(c.v6 ? "2001:db8:200::" : "21.0.0.0");
    more.numberOfRoutes = 10;
    config.neighbors.At(0)->routeRanges.Add(more);
    speaker->configure(config);
    EXPECT_TRUE(until(reactor, 5000, [&] { return pfxRcd() == total + 10; })) << "FRR holds " << pfxRcd();
    EXPECT_EQ(frrNeighbor().value("connectionsEstablished", -1), 1) << "no reset";

    // Stop: a Cease, and FRR lets the routes go.
    bool done = false;
    speaker->stop([&] { done = true; });
    EXPECT_TRUE(until(reactor, 3000, [&] { return done; }));
    EXPECT_TRUE(until(reactor, 5000, [&] { return frrNeighbor().value("bgpState", "") != "Established"; }));
    const std::string reason = frrNeighbor().value("lastNotificationReason", "");
    EXPECT_NE(reason.find("Cease"), std::string::npos) << reason;
    EXPECT_NE(reason.find("Administrative Shutdown"), std::string::npos) << reason;
    speaker.reset();
    lab("lab::cleanup");
}

// BIRD 2 connects to us (our side only listens, on port 179 inside the
// namespace) with TTL security (RFC 5082), which the accepted connection
// must meet: its routes learned, ours held, our Cease seen.
TEST(SpeakerLiveBird, AgainstBird) {
    TclLab lab;
    if (!lab.why.empty()) GTEST_SKIP() << "live test skipped: " << lab.why;
    const std::string nsA = lab("set a [lab::ns create]");
    lab("set b [lab::ns create]");
    lab("lab::veth $a $b -addr1 10.0.0.1/24 -addr2 10.0.0.2/24");
    const std::string conf =
        "router id 10.0.0.2;\nprotocol device {}\nprotocol static st4 { ipv4; route 30.0.0.0/24 blackhole; "
        "route 30.0.1.0/24 blackhole; }\nprotocol bgp dut { local 10.0.0.2 as 65002; neighbor 10.0.0.1 as 65001; "
        "hold time 9; keepalive time 3; connect delay time 1; connect retry time 1; ttl security on; "
        "ipv4 { import all; export all; }; }\n";
    lab("set bird [lab::bird start $b -config " + tclText(conf) + "]");

    hal::EBGPServer config = ours("10.0.0.1", "10.0.0.2", false, "", 1000);
    config.external.activeConnect = false;
    config.neighbors.At(0)->ttl = 255;  // BIRD's TTL security drops anything less
    Reactor reactor;
    auto speaker = std::make_unique<Speaker>(reactor, Place{nsA, ""});
    speaker->configure(config);
    speaker->start();
    auto birdState = [&] { return lab("lab::bird state $bird dut"); };
    auto birdRoutes = [&] { return lab("lab::bird count $bird master4"); };
    EXPECT_TRUE(until(reactor, 15000, [&] { return speaker->statistics(ip("10.0.0.2")).at(selector::kState) == "6"; }));
    EXPECT_EQ(birdState(), "Established");
    EXPECT_EQ(speaker->statistics(ip("10.0.0.2")).at(selector::kConnectsAccepted), "1");
    EXPECT_TRUE(until(reactor, 10000, [&] { return birdRoutes() == "1002"; })) << birdRoutes();
    EXPECT_TRUE(until(reactor, 5000, [&] {
        auto learned = speaker->learnedRoutes(ip("10.0.0.2"));
        return learned && learned->size() == 2 && learned->back().asPath == std::vector<uint16_t>{65002};
    }));
    bool done = false;
    speaker->stop([&] { done = true; });
    EXPECT_TRUE(until(reactor, 3000, [&] { return done; }));
    EXPECT_TRUE(until(reactor, 5000, [&] { return birdState() != "Established"; })) << birdState();
    EXPECT_EQ(birdRoutes(), "2") << "our routes are gone from BIRD";
    speaker.reset();
    lab("lab::cleanup");
}

INSTANTIATE_TEST_SUITE_P(Frr, SpeakerLive,
                         ::testing::Values(LiveCase{"IPv4", false, "", "", true}, LiveCase{"IPv6", true, "", "", true},
                                           LiveCase{"Md5RightKey", false, "zk-secret", "zk-secret", true},
                                           LiveCase{"Md5WrongKey", false, "zk-secret", "another", false}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
