#pragma once
// Reads the shell's input one line at a time: with GNU readline (line editing, history) when the
// tool was built with it and both standard input and output are terminals, and with a plain
// getline otherwise, so that piped input gives the same results with or without readline.
#include <optional>
#include <string>

namespace QuillTool {

class LineReader {
 public:
  explicit LineReader(std::string prompt);
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  // The next line without its end-of-line, or nullopt at end of input.
  std::optional<std::string> next();

  bool interactive() const { return interactive_; }
  // Whether line editing is available in this build.
  static bool hasLineEditing();

 private:
  std::string prompt_;
  bool interactive_;
};

}  // namespace QuillTool
