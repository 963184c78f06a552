// docs/ARCHITECTURE.md shows the manager's stage declaration as a table; this keeps the two equal,
// so that the document cannot drift from the code.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "quill/pipeline/P2mpLfibGenSmManager.h"

namespace {

using Row = std::pair<std::string, std::string>;  // reactor, when it is created

// The cells of a table line "| a | b | c |", trimmed; empty for any other line.
std::vector<std::string> cells(const std::string& line) {
  std::vector<std::string> out;
  if (!line.starts_with("|") || !line.ends_with("|")) return out;
  std::istringstream in(line.substr(1, line.size() - 2));
  for (std::string cell; std::getline(in, cell, '|');) {
    const auto first = cell.find_first_not_of(' ');
    const auto last = cell.find_last_not_of(' ');
    out.push_back(first == std::string::npos ? "" : cell.substr(first, last - first + 1));
  }
  return out;
}

// The rows of the table whose header is "| Row | Stage reactor | Created |": the reactor without
// its backquotes, and when it is created.
std::vector<Row> documentedRows(const std::string& path) {
  std::ifstream doc(path);
  EXPECT_TRUE(doc) << "cannot read " << path;
  std::vector<Row> rows;
  bool inTable = false;
  for (std::string line; std::getline(doc, line);) {
    const auto row = cells(line);
    if (row == std::vector<std::string>{"Row", "Stage reactor", "Created"}) {
      inTable = true;
    } else if (inTable && row.empty()) {
      break;
    } else if (inTable && row.size() == 3 && row[0] != "--:") {
      EXPECT_EQ(row[0], std::to_string(rows.size() + 1)) << line;
      const bool quoted = row[1].size() > 2 && row[1].front() == '`' && row[1].back() == '`';
      EXPECT_TRUE(quoted) << line;
      rows.emplace_back(quoted ? row[1].substr(1, row[1].size() - 2) : row[1], row[2]);
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
