// An owning agent that embeds Quill: it owns every collection, creates the pipeline manager over
// them, feeds what its host services learn (MPLS interfaces, routes, LDP peers and labels), reacts
// to a change of the LFIB and prints the LFIB.
//
// The network: this router reaches peer P2 over Ethernet1 and peer P3 over Ethernet2; both are
// downstream on one p2mp tree (root 1.1.1.1, LSP id 42) for which this router advertised label
// 100. Then the link to P2 fails and the route to P2 goes through P3, which does not lead
// straight to P2: P2's branch is withdrawn.
#include <algorithm>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "quill/pipeline/P2mpLfibGenSmManager.h"

namespace {

template <class T>
T value(std::string_view text) {
  return T::sequenceToValue(text);
}

// Prints each branch added to or removed from one local label's LFIB entry, as an agent would
// program or unprogram its forwarding hardware.
class BranchWatcher : public Mpls::LabelForwardingInfo::NotifieeConst {
 public:
  void onAttribute(const Vox::AttributeInfo& attr, const void* key) override {
    if (const auto* branch = Mpls::LabelForwardingInfo::forwardingInfoAttribute::match(attr, key)) {
      std::cout << (notifier()->forwardingInfo(*branch) ? "branch added: " : "branch removed: ")
                << notifier()->label() << " -> " << branch->via() << " label " << branch->label()
                << '\n';
    }
  }
};

class Agent {
 public:
  Agent()
      : manager_(Mpls::p2mpLfibGenSmManagerFactory(
            Vox::Ptr<const Mpls::LabelBindingTable>(localTable_),
            Vox::Ptr<const Mpls::LabelBindingTableColl>(peerTables_),
            Vox::Ptr<const Mpls::FecRouterLabelInfoColl>(peerLabels_),
            Vox::Ptr<const Mpls::RouterIpAddrInfoColl>(transportAddrs_), routersByAddr_,
            Vox::Ptr<const Mpls::IpNexthopInfoColl>(routes_), routerNexthops_, intfNexthops_,
            Vox::Ptr<const Mpls::MplsIntfColl>(mplsIntfs_), mplsNexthops_,
            Vox::Ptr<const Mpls::RouterIpAddrInfoColl>(intfAddrs_), directNexthops_, fecNexthops_,
            lfib_)) {}
  // The pipeline goes before the collections it watches.
  ~Agent() { manager_ = nullptr; }

  void mplsIntfIs(std::string_view intf) { mplsIntfs_->intfIdIs(value<Vela::IntfId>(intf)); }
  // What route resolution reports for a peer's address: its one via (for brevity), the new via
  // added before the old ones go, so that a branch that stays is never withdrawn meanwhile.
  void routeIs(std::string_view addr, std::string_view hop, std::string_view intf) {
    const auto entry = routes_->ipNexthopIs(value<Vela::IpGenAddr>(addr));
    const Mpls::FibVia via(value<Vela::IpGenAddr>(hop), value<Vela::IntfId>(intf));
    entry->viaIs(via);
    for (const Mpls::FibVia& old : entry->viaColl())
      if (old != via) entry->viaDel(old);
  }
  // An LDP peer: its transport address and the addresses of its interfaces.
  void peerIs(std::string_view peer, std::string_view transport,
              std::initializer_list<std::string_view> intfAddrs) {
    const auto id = value<Mpls::RouterId>(peer);
    transportAddrs_->routerIpAddrIs(id)->ipAddrIs(value<Vela::IpGenAddr>(transport));
    for (auto addr : intfAddrs)
      intfAddrs_->routerIpAddrIs(id)->ipAddrIs(value<Vela::IpGenAddr>(addr));
  }
  void localLabelIs(const Mpls::FwdEqvClass& fec, unsigned label) {
    localTable_->bindingIs(fec)->mplsLabelIs(Vela::MplsLabel(label));
  }
  // A peer's label mapping: its binding table and the per-FEC peer labels move together.
  void peerLabelIs(std::string_view peer, const Mpls::FwdEqvClass& fec, unsigned label) {
    const auto id = value<Mpls::RouterId>(peer);
    peerTables_->bindingTableIs(id)->bindingIs(fec)->mplsLabelIs(Vela::MplsLabel(label));
    peerLabels_->fecRouterLabelIs(fec)->routerLabelInfoIs(id)->routerLabelIs(
        Vela::MplsLabel(label));
  }

  const Vox::Ptr<Mpls::LabelForwardingInfoColl>& lfib() const { return lfib_; }

  // One line per (local label, branch, justification), sorted: table order carries no meaning.
  void printLfib(const char* title) const {
    std::vector<std::string> lines;
    for (const auto& [label, entry] : lfib_->labelForwardingColl()) {
      for (const auto& [branch, info] : entry.forwardingInfoColl()) {
        for (const Mpls::FecRouter& why : info.fecRouterColl()) {
          std::ostringstream line;
          line << "  " << label << " -> " << branch.via() << " label " << branch.label() << " ("
               << why.fwdEqvClass() << " from " << why.routerId() << ")";
          lines.push_back(line.str());
        }
      }
    }
    std::sort(lines.begin(), lines.end());
    std::cout << "lfib " << title << ": " << lfib_->labelForwardings() << " local label(s)\n";
    for (const auto& line : lines)
      std::cout << line << '\n';
  }

 private:
  Vox::Ptr<Mpls::LabelBindingTable> localTable_ =
      Vox::create<Mpls::LabelBindingTable>(Mpls::RouterId());
  Vox::Ptr<Mpls::LabelBindingTableColl> peerTables_ = Vox::create<Mpls::LabelBindingTableColl>();
  Vox::Ptr<Mpls::FecRouterLabelInfoColl> peerLabels_ = Vox::create<Mpls::FecRouterLabelInfoColl>();
  Vox::Ptr<Mpls::RouterIpAddrInfoColl> transportAddrs_ = Vox::create<Mpls::RouterIpAddrInfoColl>();
  Vox::Ptr<Mpls::IpAddrRouterIdInfoColl> routersByAddr_ =
      Vox::create<Mpls::IpAddrRouterIdInfoColl>();
  Vox::Ptr<Mpls::IpNexthopInfoColl> routes_ = Vox::create<Mpls::IpNexthopInfoColl>();
  Vox::Ptr<Mpls::RouterNexthopInfoColl> routerNexthops_ =
      Vox::create<Mpls::RouterNexthopInfoColl>();
  Vox::Ptr<Mpls::IntfRouterNexthopInfoColl> intfNexthops_ =
      Vox::create<Mpls::IntfRouterNexthopInfoColl>();
  Vox::Ptr<Mpls::MplsIntfColl> mplsIntfs_ = Vox::create<Mpls::MplsIntfColl>();
  Vox::Ptr<Mpls::RouterIpNexthopInfoColl> mplsNexthops_ =
      Vox::create<Mpls::RouterIpNexthopInfoColl>();
  Vox::Ptr<Mpls::RouterIpAddrInfoColl> intfAddrs_ = Vox::create<Mpls::RouterIpAddrInfoColl>();
  Vox::Ptr<Mpls::RouterNexthopInfoColl> directNexthops_ =
      Vox::create<Mpls::RouterNexthopInfoColl>();
  Vox::Ptr<Mpls::FecRouterNexthopInfoColl> fecNexthops_ =
      Vox::create<Mpls::FecRouterNexthopInfoColl>();
  Vox::Ptr<Mpls::LabelForwardingInfoColl> lfib_ = Vox::create<Mpls::LabelForwardingInfoColl>();
  Vox::Ptr<Mpls::P2mpLfibGenSmManager> manager_;
};

}  // namespace

int main() {
  Agent agent;
  agent.mplsIntfIs("Ethernet1");
  agent.mplsIntfIs("Ethernet2");
  agent.routeIs("2.2.2.2", "10.0.12.2", "Ethernet1");
  agent.routeIs("3.3.3.3", "10.0.13.2", "Ethernet2");
  agent.peerIs("2.2.2.2:0", "2.2.2.2", {"2.2.2.2", "10.0.12.2"});
  agent.peerIs("3.3.3.3:0", "3.3.3.3", {"3.3.3.3", "10.0.13.2"});

  const auto tree = Mpls::FwdEqvClass::p2mpLspId(value<Vela::IpGenAddr>("1.1.1.1"), 42);
  agent.localLabelIs(tree, 100);
  agent.peerLabelIs("2.2.2.2:0", tree, 200);
  agent.peerLabelIs("3.3.3.3:0", tree, 300);
  agent.printLfib("with both links up");

  BranchWatcher watcher;
  watcher.notifierIs(agent.lfib()->labelForwarding(Vela::MplsLabel(100)));
  watcher.hasNotificationActiveIs(true);
  agent.routeIs("2.2.2.2", "10.0.13.2", "Ethernet2");  // Ethernet1 fails: P2 through P3
  agent.printLfib("after Ethernet1 failed");
  return 0;
}
