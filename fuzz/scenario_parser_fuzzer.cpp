// Feeds arbitrary text to the scenario language, line by line, through the same runner that
// `quill run` uses: every line must either apply or be rejected with a clear error, never crash
// or leave a half-applied change behind (the sanitizers and the runner's own checks catch the
// rest). Tables are shown too, so that printing is fuzzed as well.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string_view>

#include "sim/Agent.h"
#include "tools/quill/Command.h"
#include "tools/quill/ScenarioRunner.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  // The parser alone: a command, nothing (blank or comment), or its own error type.
  std::size_t start = 0;
  while (start <= text.size()) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    try {
      (void)QuillTool::parseCommand(text.substr(start, end - start));
    } catch (const QuillTool::CommandError&) {
    }
    start = end + 1;
  }
  // The runner over an agent, carrying on after errors as the shell does.
  Sim::Agent agent;
  std::ostringstream out, err;
  QuillTool::ScenarioRunner runner(agent, {}, out, err);
  std::istringstream in{std::string(text)};
  runner.runStream(in, "fuzz", false);
  return 0;
}
