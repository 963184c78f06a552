#pragma once
// Reads the shell's input one line at a time: with GNU readline (line editing, history) when the
// tool was built with it and both standard input and output are terminals, and with a plain
// getline otherwise, so that piped input gives the same results with or without readline.
#include <cstddef>
#include <istream>
#include <optional>
#include <string>

namespace QuillTool {

// No command comes near this length; a longer line is rejected without being kept whole, so that
// one line cannot take any amount of memory.
constexpr std::size_t kMaxLineBytes = 64 * 1024;

// A line as read: at most kMaxLineBytes of its text, and the whole line's length.
struct InputLine {
  std::string text;
  std::size_t length = 0;
  bool tooLong() const { return length > kMaxLineBytes; }
};

// Reads one line without its end-of-line into `line`. False at the end of the input.
bool readBoundedLine(std::istream& in, InputLine& line);

class LineReader {
 public:
  explicit LineReader(std::string prompt);
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  // The next line without its end-of-line, or nullopt at end of input.
  std::optional<InputLine> next();

  bool interactive() const { return interactive_; }
  // Whether line editing is available in this build.
  static bool hasLineEditing();

 private:
  std::string prompt_;
  bool interactive_;
};

}  // namespace QuillTool
