// A scenario line is applied whole or not at all: every malformed line below starts with words
// that would change the agent if they were applied as they were read.
#include "tools/quill/ScenarioRunner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "platform/vox/TrackingAllocator.h"

#include "tools/quill/TableView.h"

namespace {

constexpr const char* kSetup = R"(
mpls-intf add Ethernet1
mpls-intf add Ethernet2
route 10.0.12.0/30 connected Ethernet1
route 2.2.2.2/32 via 10.0.12.2 Ethernet1
transport 2.2.2.2:0 add 2.2.2.2
transport 2.2.2.2:0 add 2001:db8::2
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
      // Next hops of either family, mixed within a route; a bad one spoils the whole line.
      {"route 2001:db8::2/128 via 2001:db8:12::2 Ethernet1 via 2001:db8:12:::6 Ethernet2",
       "route 2001:db8::2/128 via 2001:db8:12::2 Ethernet1 via 10.0.12.6 Ethernet2"},
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

// Noise and very long lines, as a corrupted or wrong file gives them: each line is rejected on
// its own, with its file and line, and nothing of any of them reaches the agent, which holds no
// byte more than before.
std::vector<std::size_t> errorLines(const std::string& err, const std::string& source) {
  std::vector<std::size_t> lines;
  const std::string marker = source + ":";
  for (std::size_t at = err.find(marker); at != std::string::npos; at = err.find(marker, at + 1)) {
    if (at != 0 && err[at - 1] != '\n') continue;
    const std::size_t number = at + marker.size();
    const std::size_t end = err.find(": error: ", number);
    if (end == std::string::npos) continue;
    lines.push_back(std::stoul(err.substr(number, end - number)));
  }
  return lines;
}

TEST_F(ScenarioRunnerTest, NoiseAndVeryLongLinesAreRejectedLineByLineAndApplyNothing) {
  std::string input;
  for (const std::size_t length : {2'000u, 65'535u, 65'537u, 1u << 20, 8u << 20}) {
    // Words that would apply as read, followed by more than any command takes.
    std::string line = "mpls-intf add Ethernet9";
    while (line.size() + 10 <= length)
      line += " Ethernet9";
    line.append(length - line.size(), 'x');
    input += line + "\n";
  }
  std::mt19937 random(15);
  for (int line = 0; line < 300; ++line) {
    std::string text(1 + random() % 120, ' ');
    for (char& c : text)
      c = static_cast<char>(random());
    std::replace(text.begin(), text.end(), '\n', 'x');
    // The first byte is no blank and no comment sign, so every line must be an error.
    if (std::string_view(" \t\r#").find(text[0]) != std::string_view::npos) text[0] = 'x';
    input += text + '\n';
  }
  const std::string before = snapshot(agent_);
  const int64_t bytesBefore = Vox::Memory::totalLiveBytes();

  std::istringstream shell(input);
  EXPECT_FALSE(runner_.runStream(shell, "noise.scn", false));
  const std::string err = err_.str();
  std::vector<std::size_t> expected(305);
  std::iota(expected.begin(), expected.end(), 1);
  EXPECT_EQ(errorLines(err, "noise.scn"), expected);
  EXPECT_NE(err.find("noise.scn:3: error: line too long: 65537 bytes, at most 65536\n"),
            std::string::npos)
      << err.substr(0, 2000);
  EXPECT_NE(err.find("noise.scn:5: error: line too long: 8388608 bytes"), std::string::npos);
  EXPECT_NE(err.find("... (2000 bytes)"), std::string::npos);
  EXPECT_LT(err.find("\nnoise.scn:6:"), 16'000u) << "each rejected long line is echoed in full";

  err_.str("");
  std::istringstream file(input);
  EXPECT_FALSE(runner_.runStream(file, "noise.scn", true));
  EXPECT_EQ(errorLines(err_.str(), "noise.scn"), std::vector<std::size_t>{1});
  EXPECT_EQ(snapshot(agent_), before);
  EXPECT_EQ(Vox::Memory::totalLiveBytes(), bytesBefore);
  EXPECT_EQ(out_.str(), "");

  // The line after an overlong one is read from its own start, and applies.
  err_.str("");
  std::istringstream more(std::string(1 << 20, 'x') + "\nmpls-intf add Ethernet3\n");
  EXPECT_FALSE(runner_.runStream(more, "more.scn", false));
  EXPECT_EQ(errorLines(err_.str(), "more.scn"), std::vector<std::size_t>{1});
  EXPECT_NE(snapshot(agent_), before);
}

}  // namespace
