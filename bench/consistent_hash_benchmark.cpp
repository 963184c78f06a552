// The per-router consistent-hash ring: lookup and node-addition cost, and, with `--report`, how
// evenly it spreads FECs over vias and how many FECs move when a via comes or goes.
//
// Keys and node positions are the library's own (`Mpls::keyHash` of p2mp FECs under one root,
// `Mpls::nodeHash` of vias out of consecutive Ethernet interfaces), each via with the weight the
// FEC next-hop selection passes (1000), so the figures are those a router with n parallel links
// would see.
//
// `--report` prints, before the benchmarks run, for n = 2, 4, 8, 16 vias and 100,000 FECs: the
// largest and smallest share over the mean; the share of FECs that move when via n joins
// (n -> n+1) and when via 0 then leaves (n+1 -> n), each against the ideal 1/(n+1) as a ratio;
// "stray", the FECs that moved although neither their old nor their new via was the one that came
// or went (0 for a consistent ring); and the ring's bytes per via. The same figures over 100
// other via sets follow, to show the first set is typical.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "platform/consistenthash/ConsistentHashCircle.h"
#include "platform/mpls/FibVia.h"
#include "platform/mpls/FwdEqvClass.h"
#include "platform/vela/IntfId.h"
#include "platform/vela/IpAddr.h"
#include "platform/vox/TrackingAllocator.h"
#include "quill/lfib/RingHashes.h"

namespace {

constexpr unsigned long long kViaWeight = 1000;
constexpr uint32_t kFecCount = 100000;

// FEC keys of LSP ids 0 .. count-1 under root 1.1.1.1.
std::vector<uint64_t> fecKeys(uint32_t count) {
  std::vector<uint64_t> keys;
  keys.reserve(count);
  const Vela::IpGenAddr root(Vela::IpAddr(0x01010101));
  for (uint32_t i = 0; i < count; ++i)
    keys.push_back(Mpls::keyHash(Mpls::FwdEqvClass::p2mpLspId(root, i)));
  return keys;
}

// Ring positions of n vias: next hops base+0 .. base+n-1, out of Ethernet(intfBase+1) onwards.
std::vector<uint64_t> viaHashes(uint32_t count, uint32_t base = 0x0a010100, uint32_t intfBase = 0) {
  std::vector<uint64_t> hashes;
  for (uint32_t n = 0; n < count; ++n) {
    const Mpls::FibVia via(Vela::IpGenAddr(Vela::IpAddr(base + n)),
                           Vela::IntfId(Vela::IntfId::Kind::ethernet, intfBase + n + 1));
    hashes.push_back(Mpls::nodeHash(via));
  }
  return hashes;
}

ConsistentHash::ConsistentHashCircle ringOf(const std::vector<uint64_t>& nodes) {
  ConsistentHash::ConsistentHashCircle ring;
  for (const uint64_t node : nodes)
    ring.addHash(node, kViaWeight);
  return ring;
}

void BM_ConsistentHashGetHash(benchmark::State& state) {
  const auto ring = ringOf(viaHashes(static_cast<uint32_t>(state.range(0))));
  const auto keys = fecKeys(4096);
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(ring.getHash(keys[i]));
    i = (i + 1) & (keys.size() - 1);
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["points"] = static_cast<double>(ring.pointCount());
}

// Adds one via to a ring of n; taking it off again is outside the timed region.
void BM_ConsistentHashAddNode(benchmark::State& state) {
  const auto nodes = viaHashes(static_cast<uint32_t>(state.range(0)) + 1);
  const int64_t before = Vox::Memory::liveBytes(Vox::MemoryKind::kConsistentHash);
  auto ring = ringOf({nodes.begin(), nodes.end() - 1});
  const int64_t bytes = Vox::Memory::liveBytes(Vox::MemoryKind::kConsistentHash) - before;
  for (auto _ : state) {
    ring.addHash(nodes.back(), kViaWeight);
    state.PauseTiming();
    ring.delHash(nodes.back());
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["bytesPerNode"] = static_cast<double>(bytes) / static_cast<double>(state.range(0));
}

BENCHMARK(BM_ConsistentHashGetHash)->Arg(4)->Arg(16);
BENCHMARK(BM_ConsistentHashAddNode)->Arg(4)->Arg(16);

struct Balance {
  double largestOverMean;
  double smallestOverMean;
};

Balance balance(const ConsistentHash::ConsistentHashCircle& ring,
                const std::vector<uint64_t>& nodes, const std::vector<uint64_t>& keys) {
  std::vector<std::size_t> owned(nodes.size());
  for (const uint64_t key : keys) {
    const auto at = std::find(nodes.begin(), nodes.end(), ring.getHash(key));
    ++owned[static_cast<std::size_t>(at - nodes.begin())];
  }
  const double mean = static_cast<double>(keys.size()) / static_cast<double>(nodes.size());
  const auto [smallest, largest] = std::minmax_element(owned.begin(), owned.end());
  return {static_cast<double>(*largest) / mean, static_cast<double>(*smallest) / mean};
}

struct Moves {
  double share;        // of all keys
  std::size_t strays;  // keys that moved although neither their old nor new owner was `node`
};

// Keys whose owner differs between `owners` and `ring`; `node` is the via added or removed.
Moves moves(const std::vector<uint64_t>& owners, const ConsistentHash::ConsistentHashCircle& ring,
            const std::vector<uint64_t>& keys, uint64_t node) {
  std::size_t moved = 0;
  std::size_t strays = 0;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const uint64_t now = ring.getHash(keys[i]);
    if (now == owners[i]) continue;
    ++moved;
    strays += now != node && owners[i] != node;
  }
  return {static_cast<double>(moved) / static_cast<double>(keys.size()), strays};
}

std::vector<uint64_t> ownersOf(const ConsistentHash::ConsistentHashCircle& ring,
                               const std::vector<uint64_t>& keys) {
  std::vector<uint64_t> owners;
  owners.reserve(keys.size());
  for (const uint64_t key : keys)
    owners.push_back(ring.getHash(key));
  return owners;
}

struct Row {
  Balance balance;
  Moves added;    // n -> n+1: via n joins
  Moves removed;  // n+1 -> n: via 0 leaves
};

Row measure(const std::vector<uint64_t>& nodes, const std::vector<uint64_t>& keys) {
  const std::vector<uint64_t> first(nodes.begin(), nodes.end() - 1);
  auto ring = ringOf(first);
  Row row{};
  row.balance = balance(ring, first, keys);
  const auto before = ownersOf(ring, keys);
  ring.addHash(nodes.back(), kViaWeight);
  row.added = moves(before, ring, keys, nodes.back());
  const auto full = ownersOf(ring, keys);
  ring.delHash(nodes.front());
  row.removed = moves(full, ring, keys, nodes.front());
  return row;
}

double percentile(std::vector<double> values, double p) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(p * static_cast<double>(values.size() - 1))];
}

void printReport() {
  const auto keys = fecKeys(kFecCount);
  std::printf("%u FECs, vias of weight %llu (%zu points each)\n\n", kFecCount, kViaWeight,
              ringOf(viaHashes(1)).pointCount());
  std::printf("%5s %10s %10s | %8s %8s %7s | %8s %7s | %6s | %9s\n", "vias", "max/mean", "min/mean",
              "ideal", "add", "ratio", "remove", "ratio", "stray", "bytes/via");
  for (const uint32_t n : {2u, 4u, 8u, 16u}) {
    const auto nodes = viaHashes(n + 1);
    const int64_t before = Vox::Memory::liveBytes(Vox::MemoryKind::kConsistentHash);
    int64_t bytes = 0;
    {
      const auto ring = ringOf({nodes.begin(), nodes.end() - 1});
      bytes = Vox::Memory::liveBytes(Vox::MemoryKind::kConsistentHash) - before;
    }
    const Row row = measure(nodes, keys);
    const double ideal = 1.0 / (n + 1);
    std::printf("%5u %10.4f %10.4f | %8.4f %8.4f %7.3f | %8.4f %7.3f | %6zu | %9lld\n", n,
                row.balance.largestOverMean, row.balance.smallestOverMean, ideal, row.added.share,
                row.added.share / ideal, row.removed.share, row.removed.share / ideal,
                row.added.strays + row.removed.strays, static_cast<long long>(bytes / n));
  }

  // The table above is one set of vias; the same measurement over other subnets and interface
  // numbers shows how typical it is.
  constexpr uint32_t kSets = 100;
  std::printf("\nover %u other via sets: median / 95th percentile / worst\n", kSets);
  std::printf("%5s %26s %26s\n", "vias", "max/mean", "add ratio (moved/ideal)");
  for (const uint32_t n : {4u, 16u}) {
    std::vector<double> largest;
    std::vector<double> addRatio;
    for (uint32_t s = 0; s < kSets; ++s) {
      const Row row = measure(viaHashes(n + 1, 0x0a000000u + (s << 8), s * 32), keys);
      largest.push_back(row.balance.largestOverMean);
      addRatio.push_back(row.added.share * (n + 1));
    }
    const auto worstRatio =
        std::max_element(addRatio.begin(), addRatio.end(),
                         [](double a, double b) { return std::abs(a - 1) < std::abs(b - 1); });
    std::printf("%5u %8.4f / %6.4f / %6.4f %8.4f / %6.4f / %6.4f\n", n, percentile(largest, 0.5),
                percentile(largest, 0.95), percentile(largest, 1.0), percentile(addRatio, 0.5),
                percentile(addRatio, 0.95), *worstRatio);
  }
}

}  // namespace

int main(int argc, char** argv) {
  bool report = false;
  int kept = 1;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--report") == 0) {
      report = true;
    } else {
      argv[kept++] = argv[i];
    }
  }
  argc = kept;
  if (report) printReport();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
