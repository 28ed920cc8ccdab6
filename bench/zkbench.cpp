// zkbench: what the module costs a script, as ratios against floors
// measured in the same run on the same machine, so the figures mean the
// same on a fast or a busy host.
//
//   package load   tclsh with `package require zkmainprotocol; package
//                  require zkchassis` against a bare tclsh start
//                  (subprocesses): the time added, goal <= 8 ms, with the
//                  packages found as Tcl modules; beside it the same found
//                  through the package index, which makes tclsh source
//                  every index on its auto_path first
//   per call       commands of the module against a bare no-op C command,
//                  each timed in a bytecode-compiled loop with the cost of
//                  the empty loop taken off
//   at scale       a RIP port with a million route ranges, in a tclsh of its
//                  own so its memory stays out of the other figures: bytes
//                  per stored range (RSS growth) beside a Tcl list of the
//                  same names, and writing the port plus reading its JSON
//                  back, per range against the no-op command
//   BGP at scale   a BGP-4 neighbor with a million route ranges: the cost
//                  of each add by tenth of the list, against the no-op
//                  call, and the times to add, write and read it back
//
// Each sample is the best of three tries (preemption only adds time), and
// the figures are medians of the samples.
//
//   zkbench [--quick]
//   zkbench --loop <case number | empty> <calls>   one loop only, to count
//                  instructions under a simulator (bench/instructions.sh)
#include <spawn.h>
#include <sys/wait.h>
#include <tcl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

const char* verdict(double value, double target) { return value <= target ? "PASS" : "OVER"; }

// Wall time of one tclsh run of `script`, in milliseconds: the fastest of
// `tries` runs, since other work on the host only ever adds time; < 0 when
// tclsh fails.
double runTclsh(const std::string& script, int tries) {
    const char* argv[] = {ZK_TCLSH, script.c_str(), nullptr};
    double best = -1;
    for (int k = 0; k < tries; ++k) {
        auto start = Clock::now();
        pid_t pid;
        if (posix_spawn(&pid, ZK_TCLSH, nullptr, nullptr, const_cast<char**>(argv), environ) != 0) return -1;
        int status;
        if (waitpid(pid, &status, 0) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0) return -1;
        double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        if (best < 0 || ms < best) best = ms;
    }
    return best;
}

// What loading both packages may add to a bare tclsh start.
constexpr double kLoadGoalMs = 8;

// Runs `fn` with the packages found as Tcl modules of the build tree.
template <class F>
double asModules(F fn) {
    setenv("TCL8_6_TM_PATH", ZK_MODULE_DIR, 1);
    double ms = fn();
    unsetenv("TCL8_6_TM_PATH");
    return ms;
}

bool benchLoad(int runs) {
    std::string dir = "/tmp/zkbench." + std::to_string(getpid());
    std::string bare = dir + "-bare.tcl", load = dir + "-load.tcl", search = dir + "-search.tcl";
    std::ofstream(bare) << "";
    std::ofstream(load) << "package require zkmainprotocol\npackage require zkchassis\n";
    // What tclsh spends looking through its package directories, which the
    // first require of a package found through the index costs whatever the
    // package.
    std::ofstream(search) << "catch {package require zkbench-no-such-package}\n";
    std::vector<double> bareMs, moduleMs, indexMs, searchMs;
    auto module = [&] { return runTclsh(load, 3); };
    bool ok = runTclsh(bare, 1) >= 0 && runTclsh(load, 1) >= 0 && runTclsh(search, 1) >= 0;  // warms the file cache
    for (int i = 0; i < runs && ok; ++i) {  // interleaved, so drift of the host hits them all
        double b = runTclsh(bare, 3), m = asModules(module), l = runTclsh(load, 3), s = runTclsh(search, 3);
        ok = b >= 0 && m >= 0 && l >= 0 && s >= 0;
        bareMs.push_back(b);
        moduleMs.push_back(m - b);
        indexMs.push_back(l - b);
        searchMs.push_back(s - b);
    }
    std::remove(bare.c_str());
    std::remove(load.c_str());
    std::remove(search.c_str());
    if (!ok) {
        std::printf("package load: %s failed to run (is TCLLIBPATH the build directory?)\n", ZK_TCLSH);
        return false;
    }
    double b = median(bareMs), added = median(moduleMs);
    std::printf("package load (median of %d samples, each the best of 3 tclsh starts)\n", runs);
    std::printf("  bare tclsh                       %8.2f ms\n", b);
    std::printf("  added by both, as Tcl modules    %8.2f ms   ratio %.2fx   target <= %g ms   %s\n", added,
                (b + added) / b, kLoadGoalMs, verdict(added, kLoadGoalMs));
    std::printf("  added through the package index  %8.2f ms\n", median(indexMs));
    std::printf("    of which tclsh's index search  %8.2f ms   (a require that no package answers)\n\n",
                median(searchMs));
    return true;
}

// The floor: a command that does nothing at all.
int noopProc(ClientData, Tcl_Interp*, int, Tcl_Obj* const[]) { return TCL_OK; }

struct CallCase {
    const char* name;
    const char* body;  // one command; $h is the handle of `ps`
    double target;     // ratio to the floor; 0 for none
};

const CallCase kCases[] = {
    {"zknoop $h (floor)", "zknoop $h", 0},
    {"flat TCLProtocolServer_rate_get $h", "TCLProtocolServer_rate_get $h", 1.5},
    {"flat TCLProtocolServer_rate_set $h 5", "TCLProtocolServer_rate_set $h 5", 0},
    {"instance ps cget -rate", "ps cget -rate", 2},
    {"instance ps configure -rate 5", "ps configure -rate 5", 2},
    {"method ps setDefault", "ps setDefault", 0},
};

bool eval(Tcl_Interp* interp, const std::string& script) {
    if (Tcl_Eval(interp, script.c_str()) == TCL_OK) return true;
    std::printf("error: %s\n  in: %s\n", Tcl_GetStringResult(interp), script.c_str());
    return false;
}

// Nanoseconds per iteration of the loop proc `proc`: the fastest of three
// runs, since being preempted by other work on the host only adds time.
double timeLoop(Tcl_Interp* interp, const std::string& proc, int iterations) {
    std::string call = proc + " " + std::to_string(iterations);
    double best = -1;
    for (int k = 0; k < 3; ++k) {
        auto start = Clock::now();
        if (!eval(interp, call)) return -1;
        double ns = std::chrono::duration<double, std::nano>(Clock::now() - start).count() / iterations;
        if (best < 0 || ns < best) best = ns;
    }
    return best;
}

// An interpreter with the package, `ps`, `$::h`, the no-op command and one
// loop proc per case (loop_0 ... and loop_empty), so every loop runs as
// compiled bytecode.
Tcl_Interp* callInterp() {
    Tcl_Interp* interp = Tcl_CreateInterp();
    if (Tcl_Init(interp) != TCL_OK) {
        std::printf("error: %s\n", Tcl_GetStringResult(interp));
        return nullptr;
    }
    Tcl_CreateObjCommand(interp, "zknoop", noopProc, nullptr, nullptr);
    std::string defs = "package require zkmainprotocol; TCLProtocolServer ps; set ::h [ps cget -this]\n"
                       "proc loop_empty {n} { set h $::h; for {set i 0} {$i < $n} {incr i} {} }\n";
    for (size_t c = 0; c < sizeof kCases / sizeof kCases[0]; ++c)
        defs += "proc loop_" + std::to_string(c) + " {n} { set h $::h; for {set i 0} {$i < $n} {incr i} { " +
                kCases[c].body + " } }\n";
    if (eval(interp, defs)) return interp;
    Tcl_DeleteInterp(interp);
    return nullptr;
}

// floorNs receives the median cost of the no-op command.
bool benchCalls(int runs, int iterations, double& floorNs) {
    Tcl_Interp* interp = callInterp();
    if (!interp) return false;
    size_t n = sizeof kCases / sizeof kCases[0];

    // Each case is timed right after its own floor and empty loop, and its
    // ratio taken within that sample, so a change of load on the host
    // between samples moves floor and case together.
    std::vector<std::vector<double>> costs(n), ratios(n);
    for (int r = 0; r < runs; ++r) {
        for (size_t c = 0; c < n; ++c) {
            double empty = timeLoop(interp, "loop_empty", iterations);
            double floor = timeLoop(interp, "loop_0", iterations);
            double full = c == 0 ? floor : timeLoop(interp, "loop_" + std::to_string(c), iterations);
            if (empty < 0 || floor < 0 || full < 0) return false;
            costs[c].push_back(full - empty);
            ratios[c].push_back((full - empty) / (floor - empty));
        }
    }
    std::printf("per-call cost in one interpreter (median of %d samples, each the best of 3 loops of %d calls,\n"
                "empty loop taken off)\n", runs, iterations);
    for (size_t c = 0; c < n; ++c) {
        double ratio = median(ratios[c]);
        std::printf("  %-38s %8.1f ns   %6.2fx", kCases[c].name, median(costs[c]), ratio);
        if (kCases[c].target > 0)
            std::printf("   target <= %.1fx   %s", kCases[c].target, verdict(ratio, kCases[c].target));
        std::printf("\n");
    }
    floorNs = median(costs[0]);
    Tcl_DeleteInterp(interp);
    return true;
}

// Run by a tclsh of its own with the number of ranges as argument; prints
// bytes per name in a Tcl list, bytes per stored range, and the seconds of
// the first and the fastest of three writes of the port, each with a
// read-back of its JSON. The names stay alive while the ranges are added,
// so the ranges cannot reuse their memory.
const char* kScaleScript = R"(
package require zkmainprotocol
package require zkchassis
proc rss {} {
    set f [open /proc/self/status]
    regexp {VmRSS:\s+(\d+)} [read $f] -> kb
    close $f
    return [expr {$kb * 1024.0}]
}
set n [lindex $argv 0]
TCLRipRouteRange rr
TCLRipInterfaceRouter rtr [rr cget -this]
TCLRipServer srv [rtr cget -this]
srv select 1 1 1
rr configure -networkIpAddress 10.0.0.0
set before [rss]
for {set i 0} {$i < $n} {incr i} { lappend names r$i }
set perName [expr {([rss] - $before) / $n}]
set before [rss]
for {set i 0} {$i < $n} {incr i} { rtr addRouteRange r$i }
set perRange [expr {([rss] - $before) / $n}]
unset names
srv addRouter x
set times {}
for {set k 0} {$k < 3} {incr k} {
    set t0 [clock microseconds]
    srv write
    set json [zkchassis::written 1 1 1 rip]
    lappend times [expr {([clock microseconds] - $t0) / 1e6}]
    if {[string length $json] < 64 * $n} { error "the port did not receive the ranges" }
    unset json
}
puts "$perName $perRange [lindex $times 0] [tcl::mathfunc::min {*}$times]"
)";

bool benchScale(int ranges, double floorNs) {
    std::string path = "/tmp/zkbench." + std::to_string(getpid()) + "-scale.tcl";
    std::ofstream(path) << kScaleScript;
    std::string cmd = std::string("'") + ZK_TCLSH + "' " + path + " " + std::to_string(ranges);
    double perName = 0, perRange = 0, first = 0, seconds = 0;
    bool ok = false;
    if (std::unique_ptr<FILE, int (*)(FILE*)> out{popen(cmd.c_str(), "r"), pclose})
        ok = std::fscanf(out.get(), "%lf %lf %lf %lf", &perName, &perRange, &first, &seconds) == 4;
    std::remove(path.c_str());
    if (!ok) {
        std::printf("at scale: %s failed to run the scale script\n", ZK_TCLSH);
        return false;
    }
    double perRouteNs = seconds * 1e9 / ranges;
    std::printf("\nRIP port with %d route ranges (own tclsh; write + read back: best of 3)\n", ranges);
    std::printf("  memory per stored range   %8.1f bytes   %5.2fx a Tcl list of the names (%.1f bytes)"
                "   target <= 200   %s\n", perRange, perRange / perName, perName, verdict(perRange, 200));
    std::printf("  write + written           %8.3f s       %8.1f ns per range", seconds, perRouteNs);
    if (floorNs > 0) std::printf(", %.0fx the no-op command", perRouteNs / floorNs);
    double target = ranges / 1e6;  // 1 s for a million, in proportion for a quick run
    std::printf("   target <= %g s   %s\n", target, verdict(seconds, target));
    std::printf("    first of the three      %8.3f s\n", first);
    return true;
}

// A neighbor with `routes` route ranges of one route each: the cost of each
// addRouteRange by tenth of the list (flat when nothing grows with it), and
// the time to add the neighbor, write the port and read the JSON back.
bool benchBgpScale(int routes) {
    Tcl_Interp* interp = callInterp();
    if (!interp) return false;
    double empty = timeLoop(interp, "loop_empty", 100000), floor = timeLoop(interp, "loop_0", 100000) - empty;
    const char* setup =
        "package require zkchassis\n"
        "TCLBgp4RouteRange rr NULL NULL\n"
        "TCLBgp4Neighbor nbr [rr cget -this] NULL NULL NULL NULL NULL NULL\n"
        "TCLBgp4Server srv [nbr cget -this]\n"
        "srv select 1 1 1\n"
        "proc adds {from to} { for {set i $from} {$i < $to} {incr i} { nbr addRouteRange r$i } }\n";
    if (!eval(interp, setup)) return false;
    int tenth = routes / 10;
    std::printf("scale: one neighbor with %d route ranges (floor: the no-op call, %.1f ns)\n", tenth * 10, floor);
    auto seconds = [&](const std::string& script) {
        auto start = Clock::now();
        bool ok = eval(interp, script);
        double s = std::chrono::duration<double>(Clock::now() - start).count();
        return ok ? s : -1.0;
    };
    for (int t = 0; t < 10; ++t) {
        double s = seconds("adds " + std::to_string(t * tenth) + " " + std::to_string((t + 1) * tenth));
        if (s < 0) return false;
        double ns = s * 1e9 / tenth;
        std::printf("  addRouteRange, tenth %2d          %8.0f ns   %7.1fx\n", t + 1, ns, ns / floor);
    }
    struct Step {
        const char* name;
        const char* script;
    } steps[] = {{"addNeighbor (converts the list)", "srv addNeighbor big"},
                 {"write (JSON to the port)", "srv write"},
                 {"zkchassis::written (read back)", "set json [zkchassis::written 1 1 1 bgp4]; string length $json"},
                 {"getNeighbor (loads it back)", "srv getNeighbor big"}};
    for (const Step& step : steps) {
        double s = seconds(step.script);
        if (s < 0) return false;
        std::printf("  %-34s %8.3f s\n", step.name, s);
    }
    eval(interp, "string length $json");
    std::printf("  JSON written                       %8.1f MB\n\n", std::atof(Tcl_GetStringResult(interp)) / 1e6);
    Tcl_DeleteInterp(interp);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    // Run straight from the build tree as well as through `make bench`.
    setenv("TCLLIBPATH", ZK_BUILD_DIR, 0);
    Tcl_FindExecutable(argv[0]);
    if (argc == 4 && std::strcmp(argv[1], "--loop") == 0) {
        // One loop and nothing else, for counting instructions under a
        // simulator: zkbench --loop <case number | empty> <calls>.
        Tcl_Interp* interp = callInterp();
        if (!interp || !eval(interp, std::string("loop_") + argv[2] + " " + argv[3])) return 1;
        size_t c = size_t(std::atoi(argv[2]));
        std::printf("%s\n", std::strcmp(argv[2], "empty") == 0 ? "empty loop" : kCases[c].name);
        return 0;
    }
    bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    bool ok = benchLoad(quick ? 1 : 15);
    double floorNs = 0;
    ok = benchCalls(quick ? 3 : 15, quick ? 10000 : 100000, floorNs) && ok;
    ok = benchScale(quick ? 20000 : 1000000, floorNs) && ok;
    ok = benchBgpScale(quick ? 10000 : 1000000) && ok;
    return ok ? 0 : 1;
}
