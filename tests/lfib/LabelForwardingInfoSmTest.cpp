#include "quill/lfib/LabelForwardingInfoSm.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/Contents.h"
#include "tests/support/Values.h"

namespace {

using Mpls::FibVia;
using Mpls::FwdEqvClass;
using Mpls::RouterId;
using QuillTest::Lines;
using QuillTest::v;
using Vela::MplsLabel;

// "F<n>" names the FEC of tree n under root 1.1.1.1.
FwdEqvClass fec(const std::string& name) {
  return FwdEqvClass::p2mpLspId(v<Vela::IpGenAddr>("1.1.1.1"), std::stoul(name.substr(1)));
}
std::string nameOf(const FwdEqvClass& f) {
  return "F" + std::to_string(static_cast<unsigned char>(f.opaque().back()));
}

class LabelForwardingInfoSmTest : public ::testing::Test {
 protected:
  // Each adds, or with `add` false removes, one member; removals find or create the member's
  // owners, which is an input change like any other.
  void local(const std::string& f, const std::string& label, bool add = true) {
    const auto binding = locals->bindingIs(fec(f));
    add ? binding->mplsLabelIs(v<MplsLabel>(label)) : binding->mplsLabelDel(v<MplsLabel>(label));
  }
  void peer(const std::string& f, const std::string& router, const std::string& label,
            bool add = true) {
    const auto info = peers->fecRouterLabelIs(fec(f))->routerLabelInfoIs(v<RouterId>(router));
    add ? info->routerLabelIs(v<MplsLabel>(label)) : info->routerLabelDel(v<MplsLabel>(label));
  }
  void choose(const std::string& f, const std::string& router, const std::string& via,
              bool add = true) {
    const auto info = chosen->fecRouterNexthopIs(fec(f))->routerNexthopInfoIs(v<RouterId>(router));
    add ? info->viaIs(v<FibVia>(via)) : info->viaDel(v<FibVia>(via));
  }
  // "local via/peer fec router" per justification.
  Lines output() const {
    Lines lines;
    for (const auto [label, entry] : out->labelForwardingColl()) {
      for (const auto [viaLabel, branch] : entry.forwardingInfoColl()) {
        for (const Mpls::FecRouter& fr : branch.fecRouterColl()) {
          lines.insert(label.valueToStrep() + " " + viaLabel.via().valueToStrep() + "/" +
                       viaLabel.label().valueToStrep() + " " + nameOf(fr.fwdEqvClass()) + " " +
                       fr.routerId().valueToStrep());
        }
      }
    }
    return lines;
  }
  void start() {
    sm = Mpls::LabelForwardingInfoSm::LabelForwardingInfoSmIs(locals, peers, chosen, out);
  }
  // F0 (label 100) replicated to R2 and R3, F1 (label 101) to R2 only.
  void scene() {
    local("F0", "100");
    peer("F0", "2.2.2.2:0", "200");
    choose("F0", "2.2.2.2:0", "10.1.1.2-Ethernet1");
    peer("F0", "3.3.3.3:0", "300");
    choose("F0", "3.3.3.3:0", "10.1.1.3-Ethernet2");
    local("F1", "101");
    peer("F1", "2.2.2.2:0", "201");
    choose("F1", "2.2.2.2:0", "10.1.1.2-Ethernet1");
  }

  Vox::Ptr<Mpls::LabelBindingTable> locals =
      Vox::create<Mpls::LabelBindingTable>(v<RouterId>("1.1.1.1:0"));
  Vox::Ptr<Mpls::FecRouterLabelInfoColl> peers = Vox::create<Mpls::FecRouterLabelInfoColl>();
  Vox::Ptr<Mpls::FecRouterNexthopInfoColl> chosen = Vox::create<Mpls::FecRouterNexthopInfoColl>();
  Vox::Ptr<Mpls::LabelForwardingInfoColl> out = Vox::create<Mpls::LabelForwardingInfoColl>();
  Vox::Ptr<Mpls::LabelForwardingInfoSm> sm;
};

// A chosen via that moves gains its new branch before it loses the old one, so the label's
// entry stays throughout.
TEST_F(LabelForwardingInfoSmTest, AMovedViaAddsTheNewBranchBeforeRemovingTheOld) {
  struct Recorder : Mpls::LabelForwardingInfo::NotifieeConst {
    void onAttribute(const Vox::AttributeInfo& attr, const void* key) override {
      if (const auto* branch =
              Mpls::LabelForwardingInfo::forwardingInfoAttribute::match(attr, key)) {
        // Appended rather than `"+" + text`, which trips GCC 12's -Wrestrict false positive
        // inside std::string at -O3.
        std::string event = notifier()->forwardingInfo(*branch) ? "+" : "-";
        event += branch->via().valueToStrep();
        events.push_back(event);
      }
    }
    std::vector<std::string> events;
  } recorder;
  start();
  scene();
  recorder.notifierIs(out->labelForwarding(v<MplsLabel>("100")));
  recorder.hasNotificationActiveIs(true);
  choose("F0", "2.2.2.2:0", "10.1.2.2-Ethernet3");
  choose("F0", "2.2.2.2:0", "10.1.1.2-Ethernet1", false);
  EXPECT_EQ(recorder.events,
            (std::vector<std::string>{"+10.1.2.2-Ethernet3", "-10.1.1.2-Ethernet1"}));
  EXPECT_EQ(out->labelForwarding(v<MplsLabel>("100")).ptr(), recorder.notifier());
}

TEST_F(LabelForwardingInfoSmTest, InitializationRebuildsAndWholeRemovalsWaitWhileDeleted) {
  scene();
  start();
  const Lines expected = {"100 10.1.1.2-Ethernet1/200 F0 2.2.2.2:0",
                          "100 10.1.1.3-Ethernet2/300 F0 3.3.3.3:0",
                          "101 10.1.1.2-Ethernet1/201 F1 2.2.2.2:0"};
  EXPECT_EQ(output(), expected);
  sm->handleDelete();
  locals->bindingDel(fec("F0"));  // no handler may run, none asserts
  EXPECT_EQ(output(), expected);
  sm->handleInitialized();
  EXPECT_EQ(output(), (Lines{"101 10.1.1.2-Ethernet1/201 F1 2.2.2.2:0"}));
}

using LabelForwardingInfoSmDeathTest = LabelForwardingInfoSmTest;

TEST_F(LabelForwardingInfoSmDeathTest, ChangesAfterDeleteAreFatal) {
  start();
  scene();
  // Each piece arrives alone (its owners exist), so only the handler of that piece can object.
  local("F2", "102", false);
  peer("F2", "2.2.2.2:0", "202", false);
  choose("F2", "2.2.2.2:0", "10.1.1.2-Ethernet1", false);
  sm->handleDelete();
  EXPECT_DEATH(local("F2", "102"), "fatal assertion failed: initialized\\(\\)");
  EXPECT_DEATH(peer("F2", "2.2.2.2:0", "202"), "fatal assertion failed: initialized\\(\\)");
  EXPECT_DEATH(choose("F2", "2.2.2.2:0", "10.1.1.2-Ethernet1"),
               "fatal assertion failed: initialized\\(\\)");
}

}  // namespace
