#pragma once
// Why the p2mp LFIB replicates a FEC's packets to a peer, and why it does not.
//
// Every stage keeps the justifications of its outputs, so the answer is read from the live
// collections of a running `Mpls::P2mpLfibGenSmManager`, walking the stages in pipeline order:
// the FEC's local labels, the peer's binding for the FEC, the peer's transport addresses and what
// they resolve to, the vias over MPLS interfaces, those whose next hop is one of the peer's own
// interface addresses, the via the peer's consistent-hash ring picks for the FEC, the peer's
// label, and finally the LFIB entry. Only the output collections are read (both variants of
// stages 1 to 4 write the same ones), except the ring, which lives in the FEC next-hop stage.
//
// Presence is the LFIB's word: a branch is present exactly when the LFIB holds (local label,
// chosen via, peer label) justified by (FEC, peer). When it holds none, `missing` is the first
// condition, in pipeline order, that the inputs fail, and `remedy()` names the input that would
// satisfy it.
//
//   const Quill::BranchExplanation why = Quill::explainBranch(*manager, fec, peer);
//   if (!why.present()) std::cout << why.reason() << "; needs " << why.remedy() << '\n';
//
// Cost: proportional to what the FEC and the peer hold (their labels, the peer's addresses and
// the vias these resolve to); no table is scanned. Reads only.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/mpls/FibVia.h"
#include "platform/mpls/FwdEqvClass.h"
#include "platform/mpls/RouterId.h"
#include "platform/vela/IpAddr.h"
#include "platform/vela/MplsLabel.h"
#include "quill/pipeline/P2mpLfibGenSmManager.h"

namespace Quill {

// The first condition, in pipeline order, that keeps a (FEC, peer) pair out of the LFIB.
enum class WhyMissing : uint8_t {
  kNone,                // the LFIB has the branch
  kNoLocalLabel,        // the local table binds no label to the FEC
  kNoPeerBinding,       // the peer's table has no binding for the FEC (or there is no table)
  kFecFiltered,         // ... and the peer's table filters the FEC
  kNoTransportAddress,  // the peer advertised no transport address
  kAddressUnresolved,   // none of the peer's transport addresses resolves to a via
  kNoMplsInterface,     // every via leaves through an interface not enabled for MPLS
  kNotDirect,           // no MPLS via's next hop is one of the peer's interface addresses
  kNoPeerLabel,         // the per-FEC peer labels hold none from the peer
  kNotDerived,          // every input holds, yet a stage's output lacks the pair
};

// The stable name of each value ("no-local-label", ...), as the tool's JSON spells it.
std::string_view whyMissingName(WhyMissing missing);

// One transport address of the peer and the vias it resolves to (none: unresolved).
struct ResolvedAddress {
  Vela::IpGenAddr address;
  std::vector<Mpls::FibVia> vias;
};

// Why the ring picked the via it did: its members, where each sits and where the FEC lands. The
// FEC goes to the member owning the first position at or after its key (wrapping around).
struct RingChoice {
  struct Member {
    Mpls::FibVia via;
    uint64_t position = 0;
  };
  std::vector<Member> members;  // by position
  uint64_t key = 0;             // where the FEC lands on the ring
  uint64_t owner = 0;           // the position that owns `key`
  Mpls::FibVia chosen;          // the ring's answer for the FEC
};

// One LFIB branch: a packet carrying `localLabel` is sent over `via` with `peerLabel`.
struct LfibBranch {
  Vela::MplsLabel localLabel;
  Mpls::FibVia via;
  Vela::MplsLabel peerLabel;
};

struct BranchExplanation {
  Mpls::FwdEqvClass fec;
  Mpls::RouterId peer;
  WhyMissing missing = WhyMissing::kNone;
  // The first input condition that fails, whether or not the LFIB has the branch: kNone when
  // every input holds. A present branch whose inputs fail is one a hand-written stage keeps
  // after an input entity was removed whole, until its next initialization.
  WhyMissing failing = WhyMissing::kNone;
  // For kNotDerived: the first stage, in pipeline order, whose output lacks the pair.
  std::string_view laggingStage;

  // What each step found, in pipeline order; every step is read whatever the earlier ones found,
  // so that an operator sees all that is wrong, not only the first thing. Lists are sorted.
  std::vector<Vela::MplsLabel> localLabels;
  bool peerTable = false;    // the peer has a label binding table
  bool peerBinding = false;  // ... with a binding for the FEC
  bool fecFiltered = false;  // ... that filters the FEC
  std::vector<ResolvedAddress> transportAddresses;
  std::vector<Mpls::FibVia> vias;      // what the transport addresses resolve to
  std::vector<Mpls::FibVia> mplsVias;  // ... over MPLS-enabled interfaces
  std::vector<Vela::IpGenAddr> peerInterfaceAddresses;
  std::vector<Mpls::FibVia> directVias;   // MPLS vias whose next hop is a peer interface address
  std::optional<Mpls::FibVia> chosenVia;  // the FEC next-hop stage's choice
  // The peer interface addresses that made the chosen via direct (the filter stage's record).
  std::vector<Vela::IpGenAddr> chosenDirectBy;
  std::optional<RingChoice> ring;  // the peer's ring, when it has one
  std::vector<Vela::MplsLabel> peerLabels;
  std::vector<LfibBranch> branches;  // what the LFIB holds for the pair

  bool present() const { return !branches.empty(); }
  // The transport addresses that resolve to `via`: where the chosen via came from.
  std::vector<Vela::IpGenAddr> addressesResolvingTo(const Mpls::FibVia& via) const;
  bool stale() const { return present() && failing != WhyMissing::kNone; }
  // One sentence: what is missing ("" when present).
  std::string reason() const;
  // The same sentence for any condition (`failing`, say).
  std::string reasonFor(WhyMissing condition) const;
  // The input that would satisfy the failing condition ("" when present).
  std::string remedy() const;
};

// Explains the (FEC, peer) pair over the manager's collections.
BranchExplanation explainBranch(const Mpls::P2mpLfibGenSmManager& manager,
                                const Mpls::FwdEqvClass& fec, const Mpls::RouterId& peer);

// Every branch of one local label, each with the explanation of every (FEC, peer) that justifies
// it, and the peers that have a label or a chosen via for one of those FECs but no branch.
struct LabelExplanation {
  struct Branch {
    Mpls::FibVia via;
    Vela::MplsLabel peerLabel;
    std::vector<BranchExplanation> justifications;
  };
  Vela::MplsLabel label;
  std::vector<Branch> branches;
  std::vector<BranchExplanation> absent;
};

// Cost: the label's branches and, for each FEC justifying one, the peers it has a label or a
// chosen via from; no table is scanned (so FECs bound to the label with no branch at all are not
// found: ask about them one pair at a time).
LabelExplanation explainLabel(const Mpls::P2mpLfibGenSmManager& manager, Vela::MplsLabel label);

}  // namespace Quill
