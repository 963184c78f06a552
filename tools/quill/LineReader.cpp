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

LineReader::LineReader(std::string prompt)
    : prompt_(std::move(prompt)), interactive_(isatty(STDIN_FILENO) && isatty(STDOUT_FILENO)) {}

bool LineReader::hasLineEditing() {
  return QUILL_TOOL_HAVE_READLINE != 0;
}

std::optional<std::string> LineReader::next() {
#if QUILL_TOOL_HAVE_READLINE
  if (interactive_) {
    char* raw = readline(prompt_.c_str());
    if (raw == nullptr) return std::nullopt;
    std::string line(raw);
    std::free(raw);
    if (line.find_first_not_of(" \t") != std::string::npos) add_history(line.c_str());
    return line;
  }
#endif
  if (interactive_) std::cout << prompt_ << std::flush;
  std::string line;
  if (!std::getline(std::cin, line)) return std::nullopt;
  return line;
}

}  // namespace QuillTool
