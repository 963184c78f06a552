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

TEST(TextTableTest, AlignsColumnsToTheWidestCellAndTrimsLineEnds) {
  QuillTool::TextTable table({"ROUTER", "ADDRESS", "X"});
  table.rowIs({"2.2.2.2:0", "10.0.12.2", ""});
  table.rowIs({"10.10.10.10:0", "-", "y"});
  EXPECT_EQ(printed(table),
            "ROUTER         ADDRESS    X\n"
            "2.2.2.2:0      10.0.12.2\n"
            "10.10.10.10:0  -          y\n");
}

TEST(TextTableTest, KeepsRowOrderAndToleratesWrongCellCounts) {
  QuillTool::TextTable table({"A", "B"});
  table.rowIs({"z"});
  table.rowIs({"a", "b", "dropped"});
  EXPECT_EQ(table.rows(), 2u);
  EXPECT_EQ(printed(table), "A  B\nz\na  b\n");
}

TEST(TextTableTest, PrintsTheHeaderOfAnEmptyTable) {
  EXPECT_EQ(printed(QuillTool::TextTable({"INTERFACE"})), "INTERFACE\n");
}

}  // namespace
