#include "quill/audit/PipelineAudit.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <tuple>

namespace Quill {

namespace {

using namespace Mpls;

void auditResolution(StageAuditor& auditor, const P2mpLfibGenSmManager& manager,
                     const ResolutionTables& tables) {
  const auto& inverted = *manager.p2mpIpAddrRouterIdInfoColl();
  if (tables.nexthopConfig) {
    std::set<std::tuple<Vela::IpGenAddr>> expected, actual;
    for (const auto [addr, entry] : inverted.ipAddrRouterIdColl())
      expected.emplace(addr);
    for (const auto [addr, entry] : tables.nexthopConfig->nexthopColl())
      actual.emplace(addr);
    auditor.compare(expected, actual, "requests");
  }
  if (tables.nexthopStatus && tables.forwardingStatus) {
    std::set<std::tuple<Vela::IpGenAddr, FibVia>> expected, actual;
    for (const auto [addr, status] : tables.nexthopStatus->nexthopColl()) {
      const Brisk::Fib::Fec& fec = tables.forwardingStatus->fecOrEmpty(status.fecId());
      const uint32_t count = std::min<uint32_t>(fec.viaCount(), Brisk::Fib::ViaIndex::max + 1);
      for (uint32_t i = 0; i < count; ++i) {
        const auto fecVia = fec.via(Brisk::Fib::ViaIndex(i));
        const bool connected = status.routeType() == Routing::RouteType::connected;
        expected.emplace(addr, FibVia(connected ? addr : fecVia.hop, fecVia.intfId));
      }
    }
    for (const auto [addr, info] : manager.p2mpIpNexthopInfoColl()->ipNexthopColl()) {
      for (const FibVia& via : info.viaColl())
        actual.emplace(addr, via);
    }
    auditor.compare(expected, actual, "results");
  }
}

}  // namespace

std::string AuditReport::text() const {
  if (ok()) return "audit: ok\n";
  std::ostringstream out;
  out << "audit: " << differences.size() << " difference" << (differences.size() == 1 ? "" : "s")
      << "\n";
  for (const std::string& difference : differences)
    out << "  " << difference << "\n";
  return out.str();
}

AuditReport auditPipeline(const P2mpLfibGenSmManager& manager, const ResolutionTables* resolution) {
  AuditReport report;
  if (resolution) {
    StageAuditor auditor(report, "resolution");
    auditResolution(auditor, manager, *resolution);
  }
  P2mpLfibGenSmManager::forEachStageRow([&]<class Stage>() {
    StageAuditor auditor(report, Stage::label());
    Stage::audit(auditor, manager);
  });
  return report;
}

}  // namespace Quill
