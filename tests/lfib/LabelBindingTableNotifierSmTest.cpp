#include "quill/lfib/LabelBindingTableNotifierSm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

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

// FECs are named by their index here: "F0" to "F3".
const std::array<FwdEqvClass, 4> kFecs = {FwdEqvClass::p2mpLspId(v<Vela::IpGenAddr>("1.1.1.1"), 0),
                                          FwdEqvClass::p2mpLspId(v<Vela::IpGenAddr>("1.1.1.1"), 1),
                                          FwdEqvClass::p2mpLspId(v<Vela::IpGenAddr>("1.1.1.1"), 2),
                                          FwdEqvClass::p2mpLspId(v<Vela::IpGenAddr>("1.1.1.1"), 3)};
const FwdEqvClass& fec(const std::string& name) {
  return kFecs.at(std::stoul(name.substr(1)));
}
std::string nameOf(const FwdEqvClass& f) {
  return "F" + std::to_string(std::find(kFecs.begin(), kFecs.end(), f) - kFecs.begin());
}

// Whoever watches a table's channel: records "fec label" for every publication.
class Channel : public LabelBindingTable::NotifieeConst {
 public:
  explicit Channel(const Vox::Ptr<const LabelBindingTable>& table) {
    notifierIs(table);
    hasNotificationActiveIs(true);
  }
  void onAttribute(const Vox::AttributeInfo& attr, const void* key) override {
    if (const auto* f = LabelBindingTable::notifierAttribute::match(attr, key))
      events.push_back(nameOf(*f) + " " + notifier()->notifier(*f)->valueToStrep());
  }
  Events sorted() const {
    Events copy = events;
    std::sort(copy.begin(), copy.end());
    return copy;
  }
  Events events;
};

class LabelBindingTableNotifierSmTest : public ::testing::Test {
 protected:
  void bind(const std::string& f, const std::string& label) {
    table->bindingIs(fec(f))->mplsLabelIs(v<MplsLabel>(label));
  }
  void unbind(const std::string& f, const std::string& label) {
    table->binding(fec(f))->mplsLabelDel(v<MplsLabel>(label));
  }
  void start() { sm = Mpls::LabelBindingTableNotifierSm::LabelBindingTableNotifierSmIs(table); }

  Vox::Ptr<LabelBindingTable> table = Vox::create<LabelBindingTable>(v<RouterId>("2.2.2.2:0"));
  Channel channel{table};
  Vox::Ptr<Mpls::LabelBindingTableNotifierSm> sm;
};

TEST_F(LabelBindingTableNotifierSmTest, InitializationPublishesEveryLabelAndFilteredFecOnce) {
  bind("F0", "100");
  bind("F1", "101");
  bind("F1", "102");
  table->bindingIs(fec("F2"));
  table->filteredFecIs(fec("F3"), true);
  start();
  EXPECT_EQ(channel.sorted(), (Events{"F0 100", "F1 101", "F1 102", "F3 1048576"}));
}

TEST_F(LabelBindingTableNotifierSmTest, LabelChangesPublishInTheOrderTheSetReportsThem) {
  bind("F0", "100");
  start();
  QuillTest::TraceCapture trace("QuillLabelBindingTableNotifierSm/8");
  channel.events.clear();
  table->bindingIs(fec("F1"));  // an empty binding has nothing to say
  bind("F0", "200");
  unbind("F0", "100");
  EXPECT_EQ(channel.events, (Events{"F0 200", "F0 100"}));
  EXPECT_EQ(*table->notifier(fec("F0")), v<MplsLabel>("100"));  // not reordered to the survivor
  EXPECT_THAT(trace.messages(),
              ::testing::Contains(::testing::AllOf(
                  ::testing::HasSubstr("updateLabelBindingTableNotifierMplsLabel("),
                  ::testing::EndsWith(" fec: " + fec("F0").valueToStrep() + ", label: 200"))));
}

TEST_F(LabelBindingTableNotifierSmTest, ADeletedBindingPublishesItsLabelsThenNoLabel) {
  bind("F0", "100");
  bind("F0", "101");
  table->bindingIs(fec("F1"));
  start();
  channel.events.clear();
  Events expected;
  for (const MplsLabel& label : table->binding(fec("F0"))->mplsLabelColl())
    expected.push_back("F0 " + label.valueToStrep());
  expected.push_back("F0 1048576");
  table->bindingDel(fec("F0"));
  EXPECT_EQ(channel.events, expected);
  channel.events.clear();
  table->bindingDel(fec("F1"));
  EXPECT_EQ(channel.events, (Events{"F1 1048576"}));
}

TEST_F(LabelBindingTableNotifierSmTest, FilteringOrUnfilteringAFecPublishesNoLabel) {
  bind("F0", "100");
  start();
  channel.events.clear();
  table->filteredFecIs(fec("F0"), true);
  table->filteredFecDel(fec("F0"));
  EXPECT_EQ(channel.events, (Events{"F0 1048576", "F0 1048576"}));
}

TEST_F(LabelBindingTableNotifierSmTest, NothingIsPublishedAfterHandleDelete) {
  bind("F0", "100");
  bind("F1", "101");
  start();
  sm->handleDelete();
  channel.events.clear();
  bind("F0", "200");
  unbind("F0", "100");
  table->bindingDel(fec("F1"));
  table->filteredFecIs(fec("F2"), true);
  EXPECT_TRUE(channel.events.empty());
  sm->handleInitialized();
  EXPECT_EQ(channel.sorted(), (Events{"F0 200", "F2 1048576"}));
}

class LabelBindingTableNotifierSmManagerTest : public ::testing::Test {
 protected:
  Vox::Ptr<Mpls::LabelBindingTableColl> tables = Vox::create<Mpls::LabelBindingTableColl>();
  Vox::Ptr<Mpls::LabelBindingTableNotifierSmColl> notifiers =
      Mpls::labelBindingTableNotifierSmCollFactory("notifiers");
  Vox::Ptr<Mpls::LabelBindingTableNotifierSmManager> manager;
  void start() {
    manager = Mpls::LabelBindingTableNotifierSmManager::LabelBindingTableNotifierSmManagerIs(
        tables, notifiers);
  }
};

TEST_F(LabelBindingTableNotifierSmManagerTest, NotifiersFollowThePeerTables) {
  // Left from before: a notifier for a peer that has no table.
  notifiers->notifierSmIs(v<RouterId>("9.9.9.9:0"),
                          Vox::create<LabelBindingTable>(v<RouterId>("9.9.9.9:0")));
  start();
  EXPECT_EQ(notifiers->notifierSms(), 0u);
  QuillTest::TraceCapture trace("QuillLabelBindingTableNotifierSm/7");
  tables->bindingTableIs(v<RouterId>("2.2.2.2:0"));
  const auto table = tables->bindingTableIs(v<RouterId>("3.3.3.3:0"));
  ASSERT_NE(notifiers->notifierSm(v<RouterId>("3.3.3.3:0")), nullptr);
  EXPECT_EQ(notifiers->notifierSm(v<RouterId>("3.3.3.3:0"))->labelBindingTable(), table);
  Channel channel(table);
  table->bindingIs(fec("F0"))->mplsLabelIs(v<MplsLabel>("100"));
  EXPECT_EQ(channel.events, (Events{"F0 100"}));
  tables->bindingTableDel(v<RouterId>("2.2.2.2:0"));
  EXPECT_EQ(notifiers->notifierSm(v<RouterId>("2.2.2.2:0")), nullptr);
  EXPECT_EQ(notifiers->notifierSms(), 1u);
  EXPECT_EQ(trace.messages(),
            (Events{"LBT for peer 2.2.2.2:0 created", "LBT for peer 3.3.3.3:0 created",
                    "LBT for peer 2.2.2.2:0 deleted"}));
  // A table announced again keeps its notifier, which has nothing new to publish.
  const auto notifier = notifiers->notifierSm(v<RouterId>("3.3.3.3:0"));
  manager->handleBindingTable(v<RouterId>("3.3.3.3:0"));
  EXPECT_EQ(notifiers->notifierSm(v<RouterId>("3.3.3.3:0")), notifier);
  EXPECT_EQ(channel.events, (Events{"F0 100"}));
}

TEST_F(LabelBindingTableNotifierSmManagerTest, ReinitializationReplacesEveryNotifier) {
  start();
  std::vector<std::unique_ptr<Channel>> channels;
  for (const char* router : {"2.2.2.2:0", "3.3.3.3:0"}) {
    const auto table = tables->bindingTableIs(v<RouterId>(router));
    table->bindingIs(fec("F0"))->mplsLabelIs(v<MplsLabel>("100"));
    channels.push_back(std::make_unique<Channel>(table));
  }
  const std::size_t watchers = tables->bindingTable(v<RouterId>("2.2.2.2:0"))->notifiees();
  QuillTest::TraceCapture trace("QuillLabelBindingTableNotifierSm/7");
  manager->handleInitialized();
  EXPECT_EQ(notifiers->notifierSms(), 2u);
  // A kept notifier would publish nothing; a new one announces what its table holds.
  for (const auto& channel : channels)
    EXPECT_EQ(channel->events, (Events{"F0 100"}));
  EXPECT_EQ(tables->bindingTable(v<RouterId>("2.2.2.2:0"))->notifiees(), watchers);
  EXPECT_EQ(trace.messages().size(), 2u);
}

using LabelBindingTableNotifierSmDeathTest = LabelBindingTableNotifierSmTest;

TEST_F(LabelBindingTableNotifierSmDeathTest, NullBindingEndsTheProcessWithItsText) {
  start();
  EXPECT_DEATH([&]() noexcept { sm->bindingIs(nullptr); }(),
               "null _binding parameter to mutator for "
               "Mpls::LabelBindingTableNotifierSm::binding not allowed\"");
}

}  // namespace
