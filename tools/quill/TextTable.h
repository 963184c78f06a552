#pragma once
// An aligned plain-text table: a header row and data rows, each column as wide as its widest
// cell, columns two blanks apart, no trailing blanks. Rows print in the order they were added;
// callers sort them by value first (numeric labels, addresses in address order), which reads
// better than sorting the texts.
//
//   QuillTool::TextTable table({"ROUTER", "ADDRESS"});
//   table.rowIs({"2.2.2.2:0", "10.0.12.2"});
//   table.print(std::cout);
//   // ROUTER     ADDRESS
//   // 2.2.2.2:0  10.0.12.2
#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace QuillTool {

class TextTable {
 public:
  explicit TextTable(std::vector<std::string> header);

  // Precondition: as many cells as header columns (missing cells print empty, extra ones are
  // dropped, so a caller's mistake shows instead of crashing).
  void rowIs(std::vector<std::string> cells);
  std::size_t rows() const { return rows_.size(); }

  void print(std::ostream& out) const;

 private:
  std::vector<std::string> header_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace QuillTool
