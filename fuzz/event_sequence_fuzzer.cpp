// Drives the whole agent with a sequence of input changes decoded from the fuzzer's bytes and
// audits every stage after every change; any difference between a stage's output and its rule
// aborts with the audit's report. Runs with the feature toggles as the environment sets them
// (compiled stages by default, which must agree with the rules after every change).
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "quill/audit/PipelineAudit.h"
#include "sim/Agent.h"
#include "sim/RandomWorld.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  Sim::Agent agent;
  Sim::RandomWorld world(agent);
  // Each change takes 9 bytes: its kind and 8 bytes of detail.
  for (std::size_t offset = 0; offset + 9 <= size && offset < 9 * 200; offset += 9) {
    uint64_t detail = 0;
    std::memcpy(&detail, data + offset + 1, sizeof detail);
    world.apply(data[offset], detail);
    const Quill::ResolutionTables tables{agent.nexthopConfig().ptr(), agent.nexthopStatus().ptr(),
                                         agent.forwardingStatus().ptr()};
    const Quill::AuditReport report = Quill::auditPipeline(*agent.manager(), &tables);
    if (!report.ok()) {
      std::fprintf(stderr, "after change %zu:\n%s", offset / 9, report.text().c_str());
      std::abort();
    }
  }
  return 0;
}
