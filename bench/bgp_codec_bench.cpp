// zkbgp_bench: the BGP-4 codec without a network.
//
//   encode   one route range of a million IPv4 /24s (and IPv6 /64s) into
//            packed UPDATEs, written into a reused 4 MB buffer as a sender
//            would fill its socket buffer: prefixes per second
//   learn    the same million decoded and stored in an Adj-RIB-In:
//            prefixes per second, and bytes per route of the store
//
// The last lines give the figures against their goals (at least 20 million
// prefixes a second encoded, at most 48 bytes a learned route).
//
//   zkbgp_bench [Google Benchmark options, e.g. --benchmark_min_time=0.1]
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>

#include "best_runs.h"
#include "engine/bgp/builder.h"
#include "engine/bgp/rib.h"

namespace {

using namespace engine::bgp;

constexpr uint32_t kRoutes = 1000000;

double bytesPerRoute = 0;

hal::EBGP::ConfigRouteRange millionRange(bool v6) {
    hal::EBGP::ConfigRouteRange r;
    if (v6) {
        r.firstNetwork = hal::EIPAddress::FromV6({0x20, 0x01, 0x0d, 0xb8});
        r.fromPrefix = r.thruPrefix = 64;
    } else {
        r.firstNetwork = hal::EIPAddress::FromV4(0x14000000);  // 20.0.0.0
        r.fromPrefix = r.thruPrefix = 24;
    }
    r.numberOfRoutes = kRoutes;
    r.communities = {0xfde90064};
    return r;
}

EncodeSession session(size_t maxMessage) {
    EncodeSession s;
    s.localAs = 65001;
    s.internal = false;
    s.maxMessage = maxMessage;
    s.localAddress = hal::EIPAddress::FromV4(0x0a010002);
    return s;
}

void encode(benchmark::State& state, bool v6, size_t maxMessage) {
    const auto range = millionRange(v6);
    std::vector<uint8_t> buffer(4 << 20);
    size_t bytes = 0, messages = 0;
    for (auto _ : state) {
        UpdateEncoder enc(session(maxMessage), UpdateEncoder::Kind::Announce);
        enc.add(range, 65001);
        bytes = 0;
        while (size_t n = enc.fill(buffer.data(), buffer.size())) {
            bytes += n;
            benchmark::DoNotOptimize(buffer.data());
        }
        messages = enc.messageCount();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kRoutes);
    state.counters["messages"] = double(messages);
    state.counters["MB"] = double(bytes) / 1e6;
}

void BM_EncodeIpv4(benchmark::State& state) { encode(state, false, kMaxMessage); }

void BM_EncodeIpv4Extended(benchmark::State& state) { encode(state, false, kMaxExtendedMessage); }
void BM_EncodeIpv6(benchmark::State& state) { encode(state, true, kMaxMessage); }

Bytes millionStream() {
    UpdateEncoder enc(session(kMaxMessage), UpdateEncoder::Kind::Announce);
    enc.add(millionRange(false), 65001);
    return enc.all();
}

void BM_LearnIpv4(benchmark::State& state) {
    const Bytes stream = millionStream();
    for (auto _ : state) {
        AdjRibIn rib;
        for (size_t at = 0; at < stream.size();) {
            size_t len = nextFrame(ByteView(stream).subspan(at)).length;
            auto u = decodeUpdate(ByteView(stream).subspan(at, len), {.as4 = true, .internal = false});
            rib.apply(u.value());
            at += len;
        }
        bytesPerRoute = double(rib.memoryBytes()) / double(rib.size());
        state.PauseTiming();
        rib.clear();  // the teardown is not part of learning
        state.ResumeTiming();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kRoutes);
    state.counters["bytes/route"] = bytesPerRoute;
}

BENCHMARK(BM_EncodeIpv4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EncodeIpv4Extended)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EncodeIpv6)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LearnIpv4)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    BestRuns runs;
    if (!runBenchmarks(argc, argv, runs)) return 1;
    if (double s = runs.seconds("BM_EncodeIpv4"); s > 0) {
        double rate = double(kRoutes) / s;
        std::printf("BGP encoding: %.1f million prefixes/s for one range of a million /24s (goal >= 20): %s\n",
                    rate / 1e6, rate >= 20e6 ? "PASS" : "UNDER");
    }
    if (bytesPerRoute > 0)
        std::printf("BGP Adj-RIB-In: %.1f bytes per route for a million IPv4 routes (goal <= 48): %s\n", bytesPerRoute,
                    bytesPerRoute <= 48 ? "PASS" : "OVER");
    return 0;
}
