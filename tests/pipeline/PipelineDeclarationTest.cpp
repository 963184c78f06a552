// docs/ARCHITECTURE.md shows the manager's stage declaration as a table; this keeps the two equal,
// so that the document cannot drift from the code.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "quill/pipeline/P2mpLfibGenSmManager.h"

namespace {

using Row = std::pair<std::string, std::string>;  // reactor, when it is created

// The rows of the table whose header is "| Row | Stage reactor | Created |".
std::vector<Row> documentedRows(const std::string& path) {
  std::ifstream doc(path);
  EXPECT_TRUE(doc) << "cannot read " << path;
  const std::regex row(R"(^\| *(\d+) *\| *`([^`]+)` *\| *([a-z-]+) *\|$)");
  std::vector<Row> rows;
  bool inTable = false;
  for (std::string line; std::getline(doc, line);) {
    if (line.starts_with("| Row | Stage reactor | Created |")) {
      inTable = true;
    } else if (inTable && !line.starts_with("|")) {
      break;
    } else if (std::smatch match; inTable && std::regex_match(line, match, row)) {
      EXPECT_EQ(std::stoul(match[1]), rows.size() + 1) << line;
      rows.emplace_back(match[2], match[3]);
    }
  }
  return rows;
}

TEST(PipelineDeclarationTest, TheArchitectureTableListsEveryDeclaredStageInOrder) {
  std::vector<Row> declared;
  for (const auto& stage : Mpls::P2mpLfibGenSmManager::declaredStages())
    declared.emplace_back(stage.reactor, stage.created);
  EXPECT_EQ(documentedRows(QUILL_SOURCE_DIR "/docs/ARCHITECTURE.md"), declared);
}

}  // namespace
