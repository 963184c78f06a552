#include "tools/quill/LineReader.h"

#include <unistd.h>

#include <cstdlib>
#include <iostream>

#if QUILL_TOOL_HAVE_READLINE
// readline.h uses FILE without including stdio.h itself.
#include <cstdio>

#include <readline/history.h>
#include <readline/readline.h>
#endif

namespace QuillTool {

bool readBoundedLine(std::istream& in, InputLine& line) {
  line.text.clear();
  line.length = 0;
  std::streambuf* buffer = in.rdbuf();
  for (;;) {
    const int c = buffer->sbumpc();
    if (c == std::char_traits<char>::eof()) {
      in.setstate(std::ios::eofbit);
      return line.length > 0;
    }
    if (c == '\n') return true;
    if (line.length++ < kMaxLineBytes) line.text.push_back(static_cast<char>(c));
  }
}

LineReader::LineReader(std::string prompt)
    : prompt_(std::move(prompt)), interactive_(isatty(STDIN_FILENO) && isatty(STDOUT_FILENO)) {}

bool LineReader::hasLineEditing() {
  return QUILL_TOOL_HAVE_READLINE != 0;
}

std::optional<InputLine> LineReader::next() {
  InputLine line;
#if QUILL_TOOL_HAVE_READLINE
  if (interactive_) {
    char* raw = readline(prompt_.c_str());
    if (raw == nullptr) return std::nullopt;
    const std::string_view typed(raw);
    line.length = typed.size();
    line.text = typed.substr(0, kMaxLineBytes);
    if (!line.tooLong() && line.text.find_first_not_of(" \t") != std::string::npos) {
      add_history(raw);
    }
    std::free(raw);
    return line;
  }
#endif
  if (interactive_) std::cout << prompt_ << std::flush;
  if (!readBoundedLine(std::cin, line)) return std::nullopt;
  return line;
}

}  // namespace QuillTool
