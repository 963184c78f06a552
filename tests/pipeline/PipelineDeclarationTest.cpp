// docs/ARCHITECTURE.md shows the manager's stage declaration as a table; this keeps the two equal,
// so that the document cannot drift from the code.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "quill/pipeline/P2mpLfibGenSmManager.h"

namespace {

using Row = std::vector<std::string>;  // stage, name, reactor, when it is created, collections

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

const std::vector<std::string> kHeader{"Stage", "Name", "Reactor", "Created", "Collections"};

// The rows of the table whose header is kHeader, the reactor without its backquotes.
std::vector<Row> documentedRows(const std::string& path) {
  std::ifstream doc(path);
  EXPECT_TRUE(doc) << "cannot read " << path;
  std::vector<Row> rows;
  bool inTable = false;
  for (std::string line; std::getline(doc, line);) {
    auto row = cells(line);
    if (row == kHeader) {
      inTable = true;
    } else if (inTable && row.empty()) {
      break;
    } else if (inTable && row.size() == kHeader.size() && !row[0].starts_with("--")) {
      const bool quoted = row[2].size() > 2 && row[2].front() == '`' && row[2].back() == '`';
      EXPECT_TRUE(quoted) << line;
      if (quoted) row[2] = row[2].substr(1, row[2].size() - 2);
      rows.push_back(row);
    }
  }
  return rows;
}

TEST(PipelineDeclarationTest, TheArchitectureTableListsEveryDeclaredStageInOrder) {
  std::vector<Row> declared;
  for (const auto& stage : Mpls::P2mpLfibGenSmManager::declaredStages()) {
    declared.push_back({std::to_string(stage.stage), std::string(stage.name),
                        std::string(stage.reactor), std::string(stage.created), stage.collections});
  }
  EXPECT_EQ(documentedRows(QUILL_SOURCE_DIR "/docs/ARCHITECTURE.md"), declared);
}

}  // namespace
