// The aligned tables of `show`: what a reader's eye relies on.
#include "tools/quill/TextTable.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

std::string printed(const QuillTool::TextTable& table) {
  std::ostringstream out;
  table.print(out);
  return out.str();
}

// Columns are as wide as their widest cell, line ends are trimmed, rows keep their order, short
// rows are fine and extra cells are dropped.
TEST(TextTableTest, AlignsColumnsTrimsLineEndsAndToleratesWrongCellCounts) {
  QuillTool::TextTable table({"ROUTER", "ADDRESS", "X"});
  table.rowIs({"2.2.2.2:0", "10.0.12.2", ""});
  table.rowIs({"10.10.10.10:0", "-", "y", "dropped"});
  table.rowIs({"z"});
  EXPECT_EQ(table.rows(), 3u);
  EXPECT_EQ(printed(table),
            "ROUTER         ADDRESS    X\n"
            "2.2.2.2:0      10.0.12.2\n"
            "10.10.10.10:0  -          y\n"
            "z\n");
  EXPECT_EQ(printed(QuillTool::TextTable({"INTERFACE"})), "INTERFACE\n");
}

}  // namespace
