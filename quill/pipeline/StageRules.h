#pragma once
// Each stage's audit rule: what the stage's output must be, given its inputs as they are now,
// written as plainly as possible. The pipeline declaration names each stage's rule in the stage's
// row; the audit (quill/audit/PipelineAudit.h) runs them in pipeline order.
//
// Rules of the stages with two variants hold for both. Only the hand-written router next-hop stage
// records justifications; where recorded they must be right. The FEC next-hop rule checks each
// chosen via against the router's filtered vias and its live hash ring, not by other means.
#include "quill/pipeline/StageAudit.h"

namespace Mpls {

class P2mpLfibGenSmManager;

// 1: an address lists exactly the routers that advertised it.
void auditInversion(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager);
// 2: a router has every via of every address it advertised.
void auditRouterNexthops(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager);
// 3: each router's vias regrouped under their own interfaces.
void auditInterfaceGrouping(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager);
// 4: vias on MPLS interfaces, per router and hop address.
void auditMplsFilter(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager);
// 5: vias listed under one of the router's own interface addresses.
void auditAddressFilter(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager);
// 6: one via per bound FEC and router with vias, the router's ring's choice.
void auditFecNexthops(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager);
// 7: local label x chosen via x peer label, per (FEC, router).
void auditLfib(Quill::StageAuditor& auditor, const P2mpLfibGenSmManager& manager);

}  // namespace Mpls
