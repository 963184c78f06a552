#pragma once
// Long runs of the agent, for finding what only shows after millions of changes: an audit
// difference that needs a rare sequence, or memory that creeps up (a leak, a free list that
// grows, a table that never gives back what it took).
//
// Two drivers share the same bookkeeping:
// - `runRandomSoak`: a `RandomWorld` walk with an audit every `auditEvery` changes and a restart
//   every `restartEvery`;
// - `runChurnDrill`: a synthetic topology (`Topology`) flapping random links and taking random
//   peers down and up, the world returning to the full topology after each.
//
// Memory is compared at equal world size, so that what is measured is the framework's own
// overhead and not the world's momentary size:
// - the random soak brings the world to its full size (`RandomWorld::fill`, every input of its
//   universe present) at each sample point and measures there, then carries on from that world;
// - the churn drill measures between flaps and peer cycles, when the world is the full topology.
// The figures are the framework's tracked bytes (`Vox::Memory::totalLiveBytes`) and the
// process's resident size. Growth is the
// largest sample of the last tenth of the run over the largest of the first tenth, minus one.
// The first audit and the first restart each raise the heap's high-water mark once (the audit
// recomputes every stage beside the live ones), so a run should make both in its first tenth;
// the default intervals do.
//
//   Sim::RandomSoakOptions options;
//   options.changes = 20000;
//   const Sim::SoakResult result = Sim::runRandomSoak(options, &std::cerr);
//   if (!result.passed(0.01, true)) return 1;
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quill/audit/PipelineAudit.h"
#include "sim/Agent.h"

namespace Sim {

// Audits every stage of a running agent and its next-hop resolution reactors.
Quill::AuditReport auditAgent(const Agent& agent);

// Adds to `report` what a comparison of elements cannot see: an output entry left empty (every
// stage, and the resolution reactor, removes an entry with its last member), and a via without
// exactly one non-empty justification where a stage records them. Holds while changes run to
// their end; a change cut short by an exception may leave an empty entry that a compiled stage's
// restart does not remove.
void auditShapes(const Agent& agent, Quill::AuditReport& report);

// Whether every stage runs its compiled variant, as the feature toggles say.
bool allStagesCompiled();

// The process's resident size in bytes (/proc/self/statm), or 0 where it cannot be read.
int64_t residentBytes();

struct MemorySample {
  uint64_t step = 0;  // changes (random soak) or flaps (churn drill) made when sampled
  int64_t trackedBytes = 0;
  int64_t residentBytes = 0;
};

struct MemoryGrowth {
  // Each ratio is last tenth's largest sample ÷ first tenth's largest, minus one.
  double tracked = 0;
  double resident = 0;
  std::size_t firstSamples = 0;
  std::size_t lastSamples = 0;
  MemorySample first;  // largest of each figure in the first tenth
  MemorySample last;   // ... and in the last
};

// The growth between the samples taken in the first tenth of `steps` (step <= steps / 10) and
// those of the last tenth (step > steps - steps / 10); nullopt when either tenth has no sample. A
// figure that was zero in the first tenth grows by 0 if it stays zero and by 1 (100%) otherwise.
std::optional<MemoryGrowth> memoryGrowth(const std::vector<MemorySample>& samples, uint64_t steps);

// The audits of a run, shapes included. With the hand-written stages, which may keep what an input
// entity removed whole contributed until they are next initialized, a difference is followed by a
// restart and a second audit: only what the second one finds is a failure.
class AuditTally {
 public:
  explicit AuditTally(bool staleAllowed) : staleAllowed_(staleAllowed) {}

  // Audits the agent; `where` says where in the run, for the first failure's report.
  void audit(Agent& agent, std::string_view where);

  uint64_t audits() const { return audits_; }
  uint64_t elementsChecked() const { return elements_; }
  uint64_t differences() const { return differences_; }
  // Stale entries of the hand-written stages, gone after a restart.
  uint64_t staleCleared() const { return staleCleared_; }
  const std::string& firstFailure() const { return firstFailure_; }

 private:
  bool staleAllowed_;
  uint64_t audits_ = 0;
  uint64_t elements_ = 0;
  uint64_t differences_ = 0;
  uint64_t staleCleared_ = 0;
  std::string firstFailure_;
};

struct SoakResult {
  explicit SoakResult(bool staleAllowed) : audits(staleAllowed) {}

  uint64_t steps = 0;         // changes or flaps, as asked
  uint64_t inputChanges = 0;  // every input change, those of fills, flaps and cycles included
  uint64_t restarts = 0;      // periodic ones and the random world's own
  uint64_t peerCycles = 0;
  AuditTally audits;
  std::vector<MemorySample> samples;
  // A hash of every change made and of the final LFIB: equal runs give equal fingerprints.
  uint64_t fingerprint = 0;
  uint64_t lfibEntries = 0;
  double seconds = 0;

  std::optional<MemoryGrowth> growth() const { return memoryGrowth(samples, steps); }
  // No audit difference, and no figure grown by more than `limit` (resident size only when
  // `checkResident`); false too when a tenth of the run has no sample.
  bool passed(double limit, bool checkResident) const;
};

struct RandomSoakOptions {
  uint64_t changes = 1'000'000;
  uint64_t auditEvery = 1'000;
  uint64_t restartEvery = 50'000;
  uint64_t sampleEvery = 10'000;
  uint64_t seed = 1;
};

struct ChurnOptions {
  std::string profile = "medium";  // a `Topology::profile` name
  uint64_t flaps = 100'000;
  uint64_t peerCycles = 10'000;  // spread evenly between the flaps
  uint64_t auditEvery = 10'000;  // flaps
  uint64_t restartEvery = 10'000;
  uint64_t sampleEvery = 1'000;
  uint64_t seed = 1;
};

// Each writes a line to `progress` (when given) every tenth of the run. Throws
// std::invalid_argument on a zero count or an unknown profile.
SoakResult runRandomSoak(const RandomSoakOptions& options, std::ostream* progress);
SoakResult runChurnDrill(const ChurnOptions& options, std::ostream* progress);

// The summary: deterministic lines (counts, audits, fingerprint, tracked bytes) first,
// then those that vary from run to run (resident size, time), each marked as such.
void printSummary(std::ostream& out, std::string_view name, uint64_t seed, const SoakResult& result,
                  double limit, bool checkResident);

}  // namespace Sim
