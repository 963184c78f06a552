// A scenario line is applied whole or not at all: every malformed line below starts with words
// that would change the agent if they were applied as they were read.
#include "tools/quill/ScenarioRunner.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tools/quill/TableView.h"

namespace {

constexpr const char* kSetup = R"(
mpls-intf add Ethernet1
mpls-intf add Ethernet2
route 10.0.12.0/30 connected Ethernet1
route 2.2.2.2/32 via 10.0.12.2 Ethernet1
transport 2.2.2.2:0 add 2.2.2.2
interface-addr 2.2.2.2:0 add 10.0.12.2
local-binding p2mp/1.1.1.1/0100040000002a add 100
peer-binding 2.2.2.2:0 p2mp/1.1.1.1/0100040000002a add 200
)";

// Every table, JSON form: the agent's whole visible state.
std::string snapshot(const Sim::Agent& agent) {
  std::ostringstream out;
  for (const std::string_view name : QuillTool::tableNames())
    QuillTool::showTable(agent, name, true, out);
  return out.str();
}

class ScenarioRunnerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::istringstream setup(kSetup);
    ASSERT_TRUE(runner_.runStream(setup, "setup", true)) << err_.str();
    ASSERT_NE(snapshot(agent_).find(R"("local-labels":[{"local-label":100,)"), std::string::npos);
  }

  Sim::Agent agent_;
  std::ostringstream out_;
  std::ostringstream err_;
  QuillTool::ScenarioRunner runner_{agent_, {}, out_, err_};
};

// Each malformed line is followed by a well-formed one like it, which must change the agent, so
// that the snapshot comparison is known to see changes.
TEST_F(ScenarioRunnerTest, AMalformedLineChangesNothingAndAWellFormedOneDoes) {
  const std::pair<std::string, std::string> lines[] = {
      {"route 2.2.2.2/32 del now", "route 2.2.2.2/32 del"},
      {"transport 5.5.5.5:0 add 5.5.5.5 extra", "transport 5.5.5.5:0 add 5.5.5.5"},
      {"route 5.5.5.5/32 via 10.0.12.2 Ethernet1 via 10.0.12.6",
       "route 5.5.5.5/32 via 10.0.12.2 Ethernet1 via 10.0.12.6 Ethernet2"},
      {"transport 2.2.2.2:0 drop 2.2.2.2", "transport 2.2.2.2:0 drop"},
      {"interface-addr 2.2.2.2:0 del 10.0.12.2 10.0.12.1",
       "interface-addr 2.2.2.2:0 del 10.0.12.2"},
      {"mpls-intf del Ethernet1 Ethernet2", "mpls-intf del Ethernet1"},
      {"local-binding p2mp/1.1.1.1/0100040000002a del 100 101",
       "local-binding p2mp/1.1.1.1/0100040000002a del 100"},
      {"peer-binding 2.2.2.2:0 p2mp/1.1.1.1/0100040000002a add 1048576",
       "peer-binding 2.2.2.2:0 p2mp/1.1.1.1/0100040000002a add 1048575"},
      {"peer-binding 2.2.2.2:0 p2mp/1.1.1.1/0100040000002a del -1", ""},
      {"peer-table 2.2.2.2:0 drop please", "peer-table 2.2.2.2:0 drop"},
      {"filtered-fec 2.2.2.2:0 p2mp/1.1.1.1/0100040000002a add true",
       "filtered-fec 2.2.2.2:0 p2mp/1.1.1.1/0100040000002a add"},
      {"route 10.0.12.0/30 connected", ""},
      {"restart twice", ""},
      {"audit now", ""},
      {"show lfib json now", ""},
      {"Transport 2.2.2.2:0 drop", ""},
  };
  for (const auto& [bad, good] : lines) {
    const std::string before = snapshot(agent_);
    err_.str("");
    EXPECT_FALSE(runner_.runLine("case", 7, bad)) << bad;
    EXPECT_EQ(err_.str().rfind("case:7: error: ", 0), 0u) << err_.str();
    EXPECT_NE(err_.str().find("\n  " + bad + "\n"), std::string::npos) << err_.str();
    EXPECT_EQ(snapshot(agent_), before) << bad;
    if (good.empty()) continue;
    err_.str("");
    EXPECT_TRUE(runner_.runLine("case", 1, good)) << good << ": " << err_.str();
    EXPECT_NE(snapshot(agent_), before) << good;
  }
  EXPECT_EQ(out_.str(), "");
}

TEST_F(ScenarioRunnerTest, BlankAndCommentLinesAreNoCommands) {
  const std::string before = snapshot(agent_);
  for (const char* line : {"", "   ", "\t", "# mpls-intf del Ethernet1", "  # restart", "\r"})
    EXPECT_TRUE(runner_.runLine("case", 1, line));
  EXPECT_EQ(snapshot(agent_), before);
  EXPECT_EQ(out_.str() + err_.str(), "");
}

}  // namespace
