#include "quill/lfib/LabelBindingTableNotifierSm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "quill/lfib/LabelBindingTableNotifierSmColl.h"
#include "quill/lfib/LabelBindingTableNotifierSmManager.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/Values.h"

namespace {

using Mpls::FwdEqvClass;
using Mpls::LabelBindingTable;
using Mpls::RouterId;
using QuillTest::v;
using Vela::MplsLabel;
using Events = std::vector<std::string>;

// "F<n>" names the FEC of tree n under root 1.1.1.1.
FwdEqvClass fec(const std::string& name) {
  return FwdEqvClass::p2mpLspId(v<Vela::IpGenAddr>("1.1.1.1"), std::stoul(name.substr(1)));
}

// Whoever watches a table's channel: records "fec label" for every publication.
class Channel : public LabelBindingTable::NotifieeConst {
 public:
  explicit Channel(const Vox::Ptr<const LabelBindingTable>& table) {
    notifierIs(table);
    hasNotificationActiveIs(true);
  }
  void onAttribute(const Vox::AttributeInfo& attr, const void* key) override {
    if (const auto* f = LabelBindingTable::notifierAttribute::match(attr, key)) {
      // Appended rather than `"F" + text`, which trips GCC 12's -Wrestrict false positive inside
      // std::string at -O3.
      std::string event = "F";
      event += std::to_string(static_cast<unsigned char>(f->opaque().back()));
      event += ' ';
      event += notifier()->notifier(*f)->valueToStrep();
      events.push_back(event);
    }
  }
  // The events so far, sorted, and forgotten.
  Events take() {
    Events taken = std::exchange(events, {});
    std::sort(taken.begin(), taken.end());
    return taken;
  }
  Events events;
};

class LabelBindingTableNotifierSmTest : public ::testing::Test {
 protected:
  void bind(const std::string& f, const std::string& label, bool add = true) {
    const auto binding = table->bindingIs(fec(f));
    add ? binding->mplsLabelIs(v<MplsLabel>(label)) : binding->mplsLabelDel(v<MplsLabel>(label));
  }
  void start() { sm = Mpls::LabelBindingTableNotifierSm::LabelBindingTableNotifierSmIs(table); }

  Vox::Ptr<LabelBindingTable> table = Vox::create<LabelBindingTable>(v<RouterId>("2.2.2.2:0"));
  Channel channel{table};
  Vox::Ptr<Mpls::LabelBindingTableNotifierSm> sm;
};

// Initialization publishes every label and filtered FEC once. Label changes then publish in the
// order the set reports them; a deleted binding publishes its labels then no label; filtering or
// unfiltering a FEC publishes no label. After handleDelete nothing is published until the next
// initialization, which publishes what the table then holds.
TEST_F(LabelBindingTableNotifierSmTest, PublishesAtInitializationAndAsChangesHappen) {
  bind("F0", "100");
  bind("F1", "101");
  bind("F1", "102");
  table->bindingIs(fec("F2"));
  table->filteredFecIs(fec("F3"), true);
  start();
  EXPECT_EQ(channel.take(), (Events{"F0 100", "F1 101", "F1 102", "F3 1048576"}));
  QuillTest::TraceCapture trace("QuillLabelBindingTableNotifierSm/8");
  table->bindingIs(fec("F4"));  // an empty binding has nothing to say
  bind("F0", "200");
  bind("F0", "100", false);
  EXPECT_EQ(channel.events, (Events{"F0 200", "F0 100"}));
  EXPECT_EQ(*table->notifier(fec("F0")), v<MplsLabel>("100"));  // not reordered to the survivor
  EXPECT_THAT(trace.messages(),
              ::testing::Contains(::testing::AllOf(
                  ::testing::HasSubstr("updateLabelBindingTableNotifierMplsLabel("),
                  ::testing::EndsWith(" fec: " + fec("F0").valueToStrep() + ", label: 200"))));
  channel.events.clear();
  Events expected;
  for (const MplsLabel& label : table->binding(fec("F1"))->mplsLabelColl())
    expected.push_back("F1 " + label.valueToStrep());
  expected.push_back("F1 1048576");
  table->bindingDel(fec("F1"));
  table->bindingDel(fec("F2"));
  expected.push_back("F2 1048576");
  table->filteredFecIs(fec("F0"), true);
  table->filteredFecDel(fec("F0"));
  expected.insert(expected.end(), {"F0 1048576", "F0 1048576"});
  EXPECT_EQ(channel.events, expected);
  bind("F6", "106");
  sm->handleDelete();
  channel.events.clear();
  bind("F0", "300");
  bind("F0", "200", false);
  table->bindingDel(fec("F6"));
  table->filteredFecIs(fec("F5"), true);
  EXPECT_TRUE(channel.events.empty());
  sm->handleInitialized();
  EXPECT_EQ(channel.take(), (Events{"F0 300", "F3 1048576", "F5 1048576"}));
}

class LabelBindingTableNotifierSmManagerTest : public ::testing::Test {
 protected:
  void start() {
    manager = Mpls::LabelBindingTableNotifierSmManager::LabelBindingTableNotifierSmManagerIs(
        tables, notifiers);
  }
  Vox::Ptr<Mpls::LabelBindingTableColl> tables = Vox::create<Mpls::LabelBindingTableColl>();
  Vox::Ptr<Mpls::LabelBindingTableNotifierSmColl> notifiers =
      Mpls::labelBindingTableNotifierSmCollFactory("notifiers");
  Vox::Ptr<Mpls::LabelBindingTableNotifierSmManager> manager;
  const RouterId r2 = v<RouterId>("2.2.2.2:0"), r3 = v<RouterId>("3.3.3.3:0");
};

TEST_F(LabelBindingTableNotifierSmManagerTest, NotifiersFollowThePeerTablesAndAreReplacedOnReinit) {
  // Left from before: a notifier for a peer that has no table.
  notifiers->notifierSmIs(v<RouterId>("9.9.9.9:0"),
                          Vox::create<LabelBindingTable>(v<RouterId>("9.9.9.9:0")));
  start();
  EXPECT_EQ(notifiers->notifierSms(), 0u);
  QuillTest::TraceCapture trace("QuillLabelBindingTableNotifierSm/7");
  tables->bindingTableIs(r2);
  const auto table = tables->bindingTableIs(r3);
  const auto notifier = notifiers->notifierSm(r3);
  ASSERT_NE(notifier, nullptr);
  EXPECT_EQ(notifier->labelBindingTable(), table);
  Channel channel(table);
  table->bindingIs(fec("F0"))->mplsLabelIs(v<MplsLabel>("100"));
  EXPECT_EQ(channel.events, (Events{"F0 100"}));
  tables->bindingTableDel(r2);
  EXPECT_EQ(notifiers->notifierSm(r2), nullptr);
  EXPECT_EQ(notifiers->notifierSms(), 1u);
  EXPECT_EQ(trace.messages(),
            (Events{"LBT for peer 2.2.2.2:0 created", "LBT for peer 3.3.3.3:0 created",
                    "LBT for peer 2.2.2.2:0 deleted"}));
  // A table announced again keeps its notifier, which has nothing new to publish.
  manager->handleBindingTable(r3);
  EXPECT_EQ(notifiers->notifierSm(r3), notifier);
  EXPECT_EQ(channel.events, (Events{"F0 100"}));
  // Reinitialization replaces every notifier: a kept one would publish nothing, a new one
  // announces what its table holds.
  const auto table2 = tables->bindingTableIs(r2);
  table2->bindingIs(fec("F0"))->mplsLabelIs(v<MplsLabel>("100"));
  Channel channel2(table2);
  channel.events.clear();
  const std::size_t watchers = table2->notifiees();
  manager->handleInitialized();
  EXPECT_EQ(notifiers->notifierSms(), 2u);
  EXPECT_EQ(channel.events, (Events{"F0 100"}));
  EXPECT_EQ(channel2.events, (Events{"F0 100"}));
  EXPECT_EQ(table2->notifiees(), watchers);  // the replaced notifier let go of its table
}

}  // namespace
