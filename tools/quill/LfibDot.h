#pragma once
// This router's replication as a Graphviz digraph: one cluster per local label holding the FECs
// bound to it, one node per peer, and one edge per LFIB branch from the FEC that justifies it to
// the peer, labelled with the next hop, the interface and the outgoing label. A branch that is
// missing is a dashed edge labelled with the input it needs.
//
//   QuillTool::LfibDot dot;
//   dot.branchIs(label, fec, peer, via, outLabel);
//   dot.missingIs(label, fec, peer, "a route to 3.3.3.3");
//   dot.print(std::cout);   // digraph lfib { ... }
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <tuple>

#include "platform/mpls/FibVia.h"
#include "platform/mpls/FwdEqvClass.h"
#include "platform/mpls/RouterId.h"
#include "platform/vela/MplsLabel.h"
#include "quill/model/LabelForwardingInfoColl.h"

namespace QuillTool {

class LfibDot {
 public:
  // Every branch of `lfib`.
  void lfibIs(const Mpls::LabelForwardingInfoColl& lfib);
  void branchIs(Vela::MplsLabel label, const Mpls::FwdEqvClass& fec, const Mpls::RouterId& peer,
                const Mpls::FibVia& via, Vela::MplsLabel outLabel);
  // A branch that is not there; `label` is null when the FEC has no local label.
  void missingIs(const Vela::MplsLabel* label, const Mpls::FwdEqvClass& fec,
                 const Mpls::RouterId& peer, const std::string& needs);

  // Deterministic: clusters, nodes and edges in value order.
  void print(std::ostream& out) const;

 private:
  // (label or none, FEC, peer) -> edge attributes; the key orders the output.
  using Key = std::tuple<uint32_t, Mpls::FwdEqvClass, Mpls::RouterId, std::string>;
  std::map<uint32_t, std::set<Mpls::FwdEqvClass>> clusters_;
  std::set<Mpls::RouterId> peers_;
  std::map<Key, std::string> edges_;
};

}  // namespace QuillTool
