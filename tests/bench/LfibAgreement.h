#pragma once
// The baseline's LFIB against the library's, both read as the set of (local label, via, peer
// label) branches.
#include <string>
#include <vector>

#include "bench/baseline/BaselineLfib.h"
#include "sim/Agent.h"

namespace Baseline {

// Passes every change to two sinks, the first first: an agent and a baseline see the same changes
// in the same order.
class BothSinks : public Sim::TopologySink {
 public:
  BothSinks(Sim::TopologySink& first, Sim::TopologySink& second) : first_(first), second_(second) {}

  void mplsIntfIs(Vela::IntfId intf) override;
  void mplsIntfDel(Vela::IntfId intf) override;
  void routeIs(const Vela::IpPrefix& prefix, const std::vector<Sim::RouteVia>& vias) override;
  void routeDel(const Vela::IpPrefix& prefix) override;
  void transportAddrIs(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) override;
  void transportAddrDel(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) override;
  void intfAddrIs(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) override;
  void intfAddrDel(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) override;
  void localLabelIs(const Mpls::FwdEqvClass& fec, Vela::MplsLabel label) override;
  void localLabelDel(const Mpls::FwdEqvClass& fec, Vela::MplsLabel label) override;
  void peerBindingIs(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                     Vela::MplsLabel label) override;
  void peerBindingDel(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                      Vela::MplsLabel label) override;
  void peerTableDrop(const Mpls::RouterId& routerId) override;

 private:
  Sim::TopologySink& first_;
  Sim::TopologySink& second_;
};

// The agent's LFIB, every branch once, sorted.
std::vector<Branch> quillBranches(const Sim::Agent& agent);

// Empty when the two agree; otherwise how many branches each has that the other lacks, with the
// first few of them.
std::string branchDifference(const std::vector<Branch>& quill, const std::vector<Branch>& baseline);
std::string lfibDifference(const Sim::Agent& agent, const BaselineLfib& baseline);

}  // namespace Baseline
