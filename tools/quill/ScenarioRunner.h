#pragma once
// Plays scenario lines against an agent: parses each line whole, applies it, then reports the
// resolution service's consumer errors as warnings.
//
// A line that does not parse changes nothing and is reported on the error stream as
//
//   FILE:LINE: error: WHAT IS WRONG
//     THE LINE
//     usage: THE COMMAND'S FORM
//
// `runStream` stops at the first bad line (a scenario file) or carries on (the shell), as asked.
//
//   Sim::Agent agent;
//   QuillTool::ScenarioRunner runner(agent, {}, std::cout, std::cerr);
//   runner.runLine("demo", 1, "mpls-intf add Ethernet1");   // true
#include <istream>
#include <ostream>
#include <string_view>

#include "sim/Agent.h"
#include "tools/quill/Command.h"
#include "tools/quill/LineReader.h"

namespace QuillTool {

class ScenarioRunner {
 public:
  struct Options {
    bool json = false;  // every `show` in the JSON form
  };

  ScenarioRunner(Sim::Agent& agent, Options options, std::ostream& out, std::ostream& err);

  // Runs one line; `source` and `lineNumber` only say where it came from. Returns false (after
  // reporting) when the line is not a command or applying it threw.
  bool runLine(std::string_view source, std::size_t lineNumber, std::string_view line);
  // As above for a line read with readBoundedLine: one longer than kMaxLineBytes is rejected.
  bool runLine(std::string_view source, std::size_t lineNumber, const InputLine& line);

  // Runs every line of `in`. With `stopAtError` it returns false at the first bad line;
  // otherwise it runs them all and returns whether all were good.
  bool runStream(std::istream& in, std::string_view source, bool stopAtError);

  void apply(const Command& command);

  // Whether an `audit` command found differences.
  bool auditFailed() const { return auditFailed_; }

 private:
  void report(std::string_view source, std::size_t lineNumber, std::string_view line,
              std::string_view what, std::string_view expected);
  void reportServiceErrors(std::string_view source, std::size_t lineNumber);

  Sim::Agent& agent_;
  bool auditFailed_ = false;
  Options options_;
  std::ostream& out_;
  std::ostream& err_;
};

}  // namespace QuillTool
