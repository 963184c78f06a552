#pragma once
// The consistency audit: recomputes every stage's output from the current inputs alone, with a
// plain, non-incremental implementation of the stage's rule, and compares it with the live
// collections.
//
// Each stage is checked against its rule, not against the other variant's behaviour: an output
// entry the rule does not justify is reported even when a stage is defined to keep it until its
// next initialization (a hand-written stage after an input entity was removed whole). The via
// chosen for each (FEC, router) is checked for membership in the router's current filtered vias
// and against the router's live hash ring, not recomputed by other means.
//
//   const Quill::AuditReport report = Quill::auditPipeline(*manager, &resolution);
//   if (!report.ok()) std::cerr << report.text();   // "stage 4 (MPLS filter): missing ..."
#include <string>
#include <vector>

#include "platform/brisk/ForwardingStatus.h"
#include "platform/routing/NexthopVrfConfig.h"
#include "platform/routing/NexthopVrfStatus.h"
#include "quill/pipeline/P2mpLfibGenSmManager.h"

namespace Quill {

// The resolution service's tables, for auditing the next-hop resolution reactors too.
struct ResolutionTables {
  const Routing::NexthopVrfConfig* nexthopConfig = nullptr;
  const Routing::NexthopVrfStatus* nexthopStatus = nullptr;
  const Brisk::Fib::ForwardingStatus* forwardingStatus = nullptr;
};

// Audits the manager's stages, each by the rule its declaration names (quill/pipeline/
// StageRules.h), and, when `resolution` is given, the next-hop resolution
// requests and results. Reads only; costs a full recomputation of every stage.
AuditReport auditPipeline(const Mpls::P2mpLfibGenSmManager& manager,
                          const ResolutionTables* resolution = nullptr);

}  // namespace Quill
