#include "tests/bench/LfibAgreement.h"

#include <algorithm>
#include <iterator>

namespace Baseline {

namespace {

std::string branchText(const Branch& branch) {
  return branch.localLabel.valueToStrep() + " " + branch.via.valueToStrep() + " " +
         branch.peerLabel.valueToStrep();
}

// "N only in WHERE: B1; B2; B3 ..." for the branches of `from` missing in `other`.
std::string onlyIn(const char* where, const std::vector<Branch>& from,
                   const std::vector<Branch>& other) {
  std::vector<Branch> missing;
  std::set_difference(from.begin(), from.end(), other.begin(), other.end(),
                      std::back_inserter(missing));
  if (missing.empty()) return "";
  constexpr std::size_t kShown = 3;
  std::string text = std::to_string(missing.size()) + " only in " + where + ":";
  for (std::size_t i = 0; i < std::min(kShown, missing.size()); ++i)
    text += (i ? "; " : " ") + branchText(missing[i]);
  return text + (missing.size() > kShown ? " ..." : "");
}

}  // namespace

void BothSinks::mplsIntfIs(Vela::IntfId intf) {
  first_.mplsIntfIs(intf);
  second_.mplsIntfIs(intf);
}

void BothSinks::mplsIntfDel(Vela::IntfId intf) {
  first_.mplsIntfDel(intf);
  second_.mplsIntfDel(intf);
}

void BothSinks::routeIs(const Vela::IpPrefix& prefix, const std::vector<Sim::RouteVia>& vias) {
  first_.routeIs(prefix, vias);
  second_.routeIs(prefix, vias);
}

void BothSinks::routeDel(const Vela::IpPrefix& prefix) {
  first_.routeDel(prefix);
  second_.routeDel(prefix);
}

void BothSinks::transportAddrIs(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) {
  first_.transportAddrIs(routerId, addr);
  second_.transportAddrIs(routerId, addr);
}

void BothSinks::transportAddrDel(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) {
  first_.transportAddrDel(routerId, addr);
  second_.transportAddrDel(routerId, addr);
}

void BothSinks::intfAddrIs(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) {
  first_.intfAddrIs(routerId, addr);
  second_.intfAddrIs(routerId, addr);
}

void BothSinks::intfAddrDel(const Mpls::RouterId& routerId, const Vela::IpGenAddr& addr) {
  first_.intfAddrDel(routerId, addr);
  second_.intfAddrDel(routerId, addr);
}

void BothSinks::localLabelIs(const Mpls::FwdEqvClass& fec, Vela::MplsLabel label) {
  first_.localLabelIs(fec, label);
  second_.localLabelIs(fec, label);
}

void BothSinks::localLabelDel(const Mpls::FwdEqvClass& fec, Vela::MplsLabel label) {
  first_.localLabelDel(fec, label);
  second_.localLabelDel(fec, label);
}

void BothSinks::peerBindingIs(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                              Vela::MplsLabel label) {
  first_.peerBindingIs(routerId, fec, label);
  second_.peerBindingIs(routerId, fec, label);
}

void BothSinks::peerBindingDel(const Mpls::RouterId& routerId, const Mpls::FwdEqvClass& fec,
                               Vela::MplsLabel label) {
  first_.peerBindingDel(routerId, fec, label);
  second_.peerBindingDel(routerId, fec, label);
}

void BothSinks::peerTableDrop(const Mpls::RouterId& routerId) {
  first_.peerTableDrop(routerId);
  second_.peerTableDrop(routerId);
}

std::vector<Branch> quillBranches(const Sim::Agent& agent) {
  std::vector<Branch> out;
  for (const auto [label, entry] : agent.colls().lfib->labelForwardingColl()) {
    for (const auto [viaLabel, branch] : entry.forwardingInfoColl())
      out.push_back({label, viaLabel.via(), viaLabel.label()});
  }
  std::sort(out.begin(), out.end());
  return out;
}

std::string branchDifference(const std::vector<Branch>& quill,
                             const std::vector<Branch>& baseline) {
  const std::string missing = onlyIn("Quill", quill, baseline);
  const std::string extra = onlyIn("the baseline", baseline, quill);
  if (missing.empty() || extra.empty()) return missing + extra;
  return missing + "; " + extra;
}

std::string lfibDifference(const Sim::Agent& agent, const BaselineLfib& baseline) {
  return branchDifference(quillBranches(agent), baseline.branches());
}

}  // namespace Baseline
