#include "tools/quill/TextTable.h"

#include <algorithm>

namespace QuillTool {

TextTable::TextTable(std::vector<std::string> header) : header_(std::move(header)) {}

void TextTable::rowIs(std::vector<std::string> cells) {
  cells.resize(header_.size());
  rows_.push_back(std::move(cells));
}

void TextTable::print(std::ostream& out) const {
  std::vector<std::size_t> widths(header_.size());
  for (std::size_t column = 0; column < header_.size(); ++column) {
    widths[column] = header_[column].size();
    for (const auto& row : rows_)
      widths[column] = std::max(widths[column], row[column].size());
  }
  const auto printRow = [&](const std::vector<std::string>& cells) {
    std::string line;
    for (std::size_t column = 0; column < cells.size(); ++column) {
      if (column > 0) line += "  ";
      line += cells[column];
      if (column + 1 < cells.size()) line.append(widths[column] - cells[column].size(), ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out << line << '\n';
  };
  printRow(header_);
  for (const auto& row : rows_)
    printRow(row);
}

}  // namespace QuillTool
