// The cost of the binary tracer's hot path: a block timer with tracing off (what every handler
// pays in production) and on (timer records into the buffer, spilled to a file in /tmp), and a
// text record through the converter. Compare the three in one run.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "platform/rapidlog/Rapidlog.h"
#include "platform/rapidlog/RapidlogFormat.h"
#include "platform/rapidlog/Twinlog.h"

namespace {

constexpr auto kHeaderBytes = Rapidlog::format::kHeaderBytes;

std::string benchFile() {
  return "/tmp/rapidlog-bench-" + std::to_string(::getpid()) + ".rl";
}

void timedBlock(int& sink) {
  RAPIDLOG_BLOCK_TIMER("benchBlock");
  benchmark::DoNotOptimize(++sink);
}

void BM_RapidlogBlockTimerDisabled(benchmark::State& state) {
  Rapidlog::shutdown();
  int sink = 0;
  for (auto _ : state)
    timedBlock(sink);
}
BENCHMARK(BM_RapidlogBlockTimerDisabled);

// The file is capped at 64 MiB with one rotation, so long runs keep disk use bounded while still
// paying for the buffer spills. bytesPerRecord comes from a short run outside the timed loop.
void BM_RapidlogBlockTimerEnabled(benchmark::State& state) {
  const std::string file = benchFile();
  constexpr int kProbe = 1000;
  if (Rapidlog::initialize(file.c_str(), "64M", nullptr, 1, 24, 0, false, 512) != 0) {
    state.SkipWithError("cannot create the trace file");
    return;
  }
  int sink = 0;
  for (int i = 0; i < kProbe; ++i)
    timedBlock(sink);
  Rapidlog::flush();
  const auto probeBytes = std::filesystem::file_size(file) - kHeaderBytes;
  Rapidlog::initialize(file.c_str(), "64M", nullptr, 1, 24, 0, false, 512);
  for (auto _ : state)
    timedBlock(sink);
  Rapidlog::shutdown();
  state.counters["bytesPerRecord"] = static_cast<double>(probeBytes) / kProbe;
  std::filesystem::remove(file);
  std::filesystem::remove(file + ".1");
}
BENCHMARK(BM_RapidlogBlockTimerEnabled);

void BM_RapidlogTextRecord(benchmark::State& state) {
  const std::string file = benchFile();
  if (Rapidlog::initialize(file.c_str(), "64M", nullptr, 1, 24, 0, false, 512) != 0) {
    state.SkipWithError("cannot create the trace file");
    return;
  }
  unsigned n = 0;
  for (auto _ : state) {
    Twinlog::RapidlogConverter("QuillP2mpLfibGenSmManager", 8) << "handleIpAddr() " << n++;
  }
  Rapidlog::shutdown();
  std::filesystem::remove(file);
  std::filesystem::remove(file + ".1");
}
BENCHMARK(BM_RapidlogTextRecord);

}  // namespace

BENCHMARK_MAIN();
