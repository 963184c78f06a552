// quill_soak: drives the agent through a long run and checks that it stays correct and that its
// memory stays flat (see sim/Soak.h). Exits 0 when the run passes, 1 when it fails, 2 on a usage
// error. The stage variants are chosen by QUILL_TOGGLES, as for any process.
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

#include "sim/Soak.h"

namespace {

constexpr const char* kUsage =
    "usage: quill_soak random [--changes N] [--audit-every N] [--restart-every N]\n"
    "                         [--sample-every N] [--seed N] [--limit PERCENT]\n"
    "                         [--no-resident-check] [--samples FILE] [--quiet]\n"
    "       quill_soak churn [--profile small|medium|large] [--flaps N] [--peer-cycles N]\n"
    "                        [--audit-every N] [--restart-every N] [--sample-every N] [--seed N]\n"
    "                        [--limit PERCENT] [--no-resident-check] [--samples FILE] [--quiet]\n"
    "Defaults: random 1,000,000 changes, an audit every 1,000, a restart every 50,000, a memory\n"
    "sample every 10,000; churn over the medium topology, 100,000 link flaps and 10,000 peer\n"
    "down/up cycles, an audit and a restart every 10,000 flaps, a sample every 1,000.\n"
    "The memory limit is 1 (percent of growth from the first tenth of the run to the last).\n"
    "--samples writes every memory sample to FILE: step, tracked bytes and resident bytes, one\n"
    "line each.\n";

int usage(std::string_view problem) {
  std::cerr << "quill_soak: " << problem << "\n" << kUsage;
  return 2;
}

bool parseCount(std::string_view text, uint64_t& value) {
  if (text.empty() || text.size() > 19) return false;
  uint64_t result = 0;
  for (const char c : text) {
    if (c == '_' || c == ',') continue;  // 1_000_000 and 1,000,000 read as they look
    if (c < '0' || c > '9') return false;
    result = result * 10 + static_cast<uint64_t>(c - '0');
  }
  value = result;
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return usage("which run: random or churn");
  const std::string_view mode = argv[1];
  if (mode == "--help" || mode == "help") {
    std::cout << kUsage;
    return 0;
  }
  if (mode != "random" && mode != "churn") return usage("unknown run '" + std::string(mode) + "'");
  Sim::RandomSoakOptions random;
  Sim::ChurnOptions churn;
  uint64_t limitPercent = 1;
  bool checkResident = true;
  bool quiet = false;
  std::string samplesFile;
  for (int i = 2; i < argc; ++i) {
    const std::string_view flag = argv[i];
    if (flag == "--no-resident-check") {
      checkResident = false;
      continue;
    }
    if (flag == "--quiet") {
      quiet = true;
      continue;
    }
    if (i + 1 >= argc) return usage(std::string(flag) + " needs a value");
    const std::string_view value = argv[++i];
    if (flag == "--samples") {
      samplesFile = value;
      continue;
    }
    if (flag == "--profile" && mode == "churn") {
      churn.profile = value;
      continue;
    }
    uint64_t count = 0;
    if (!parseCount(value, count)) {
      return usage(std::string(flag) + ": not a count: '" + std::string(value) + "'");
    }
    if (flag == "--seed") {
      random.seed = churn.seed = count;
    } else if (flag == "--audit-every") {
      random.auditEvery = churn.auditEvery = count;
    } else if (flag == "--restart-every") {
      random.restartEvery = churn.restartEvery = count;
    } else if (flag == "--sample-every") {
      random.sampleEvery = churn.sampleEvery = count;
    } else if (flag == "--limit") {
      limitPercent = count;
    } else if (flag == "--changes" && mode == "random") {
      random.changes = count;
    } else if (flag == "--flaps" && mode == "churn") {
      churn.flaps = count;
    } else if (flag == "--peer-cycles" && mode == "churn") {
      churn.peerCycles = count;
    } else {
      return usage("unknown option '" + std::string(flag) + "' for " + std::string(mode));
    }
  }
  const double limit = static_cast<double>(limitPercent) / 100;
  std::ostream* progress = quiet ? nullptr : &std::cerr;
  try {
    const bool isRandom = mode == "random";
    const Sim::SoakResult result =
        isRandom ? Sim::runRandomSoak(random, progress) : Sim::runChurnDrill(churn, progress);
    if (!samplesFile.empty()) {
      std::ofstream out(samplesFile);
      out << "step tracked resident\n";
      for (const Sim::MemorySample& s : result.samples) {
        out << s.step << ' ' << s.trackedBytes << ' ' << s.residentBytes << '\n';
      }
      if (!out) std::cerr << "quill_soak: cannot write " << samplesFile << "\n";
    }
    Sim::printSummary(std::cout, isRandom ? "soak random" : "soak churn " + churn.profile,
                      isRandom ? random.seed : churn.seed, result, limit, checkResident);
    return result.passed(limit, checkResident) ? 0 : 1;
  } catch (const std::invalid_argument& error) {
    return usage(error.what());
  }
}
