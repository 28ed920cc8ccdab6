// Two network namespaces joined by a veth pair, for the tests that need
// root: named from the PID, the veth ends made straight inside the
// namespaces, so that deleting the namespaces removes everything, when the
// suite ends whatever happened, or at the next run if the process was killed.
#pragma once

#include <dirent.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace engine_test {

inline bool sh(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }

struct Lab {
    std::string nsA, nsB, ifA, ifB;
    bool ok = false;
    std::string why;
    bool plumbed[2] = {false, false};  // IPv4, IPv6 host addresses and routes in place

    Lab() {
        const std::string pid = std::to_string(getpid());
        nsA = "zkeng" + pid + "a";
        nsB = "zkeng" + pid + "b";
        ifA = "zkv" + pid + "a";
        ifB = "zkv" + pid + "b";
        if (geteuid() != 0) {
            why = "needs root for network namespaces";
            return;
        }
        removeLeftovers();
        if (!sh("ip netns add " + nsA) || !sh("ip netns add " + nsB)) {
            why = "cannot create network namespaces";
            return;
        }
        ok = sh("ip link add " + ifA + " netns " + nsA + " type veth peer name " + ifB + " netns " + nsB) &&
             sh("ip -n " + nsA + " link set lo up") && sh("ip -n " + nsB + " link set lo up");
        if (!ok) why = "cannot create a veth pair";
    }
    ~Lab() {
        sh("ip netns del " + nsA);
        sh("ip netns del " + nsB);
    }

    // Namespaces of this suite whose process is gone (killed before its
    // teardown ran).
    static void removeLeftovers() {
        DIR* dir = opendir("/run/netns");
        if (!dir) return;
        std::vector<std::string> stale;
        while (dirent* entry = readdir(dir)) {
            const std::string name = entry->d_name;
            if (name.size() < 7 || name.rfind("zkeng", 0) != 0) continue;
            const std::string digits = name.substr(5, name.size() - 6);
            if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) continue;
            if (kill(pid_t(std::stol(digits)), 0) < 0 && errno == ESRCH) stale.push_back(name);
        }
        closedir(dir);
        for (const auto& name : stale) sh("ip netns del " + name);
    }
};

// A suite with a lab of its own, made before its first test and removed
// after its last; its tests skip when no lab could be made.
class LabTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { lab = std::make_unique<Lab>(); }
    static void TearDownTestSuite() { lab.reset(); }
    void SetUp() override {
        if (!lab->ok) GTEST_SKIP() << lab->why;
    }
    inline static std::unique_ptr<Lab> lab;
};

}  // namespace engine_test
