#include "tools/quill/Cli.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/rapidlog/RapidlogDecoder.h"
#include "platform/toggle/FeatureToggle.h"
#include "platform/vox/Trace.h"
#include "quill/core/RapidlogSetup.h"
#include "quill/core/Version.h"
#include "sim/Agent.h"
#include "tools/quill/Command.h"
#include "tools/quill/LineReader.h"
#include "tools/quill/ScenarioRunner.h"
#include "tools/quill/TableView.h"

namespace QuillTool {

namespace {

constexpr std::array<std::string_view, 4> kToggleNames{
    "MplsFluxInversion", "MplsFluxConcat", "MplsFluxIntfRouterSm", "MplsFluxRouterIpNexthop"};

constexpr std::string_view kRunUsage =
    "quill run [--json] [--toggle NAME=on|off]... [--trace HANDLES] FILE...";
constexpr std::string_view kShellUsage =
    "quill shell [--json] [--toggle NAME=on|off]... [--trace HANDLES]";
constexpr std::string_view kTraceUsage = "quill trace FILE";
constexpr std::string_view kHelpUsage = "quill help [COMMAND]";

// A command-line mistake: `where` the command that saw it, `expected` what it wanted.
class UsageError : public std::runtime_error {
 public:
  UsageError(std::string where, const std::string& what, std::string expected)
      : std::runtime_error(what), where_(std::move(where)), expected_(std::move(expected)) {}
  const std::string& where() const { return where_; }
  const std::string& expected() const { return expected_; }

 private:
  std::string where_;
  std::string expected_;
};

int reportUsage(const UsageError& error) {
  std::cout.flush();
  std::cerr << error.where() << ": error: " << error.what() << '\n';
  if (!error.expected().empty()) std::cerr << "  " << error.expected() << '\n';
  return kExitUsage;
}

std::string joined(const auto& names) {
  std::string text;
  for (const std::string_view name : names) {
    if (!text.empty()) text += ", ";
    text += name;
  }
  return text;
}

// `text` broken into lines of at most `width` characters after `indent`, at ", " boundaries.
std::string wrapped(std::string_view text, std::size_t indent, std::size_t width) {
  std::string out(indent, ' ');
  std::size_t column = indent;
  while (!text.empty()) {
    const std::size_t comma = text.find(", ");
    const std::string_view word =
        text.substr(0, comma == std::string_view::npos ? text.size() : comma + 1);
    if (column > indent && column + 1 + word.size() > width) {
      out += '\n';
      out.append(indent, ' ');
      column = indent;
    } else if (column > indent) {
      out += ' ';
      ++column;
    }
    out += word;
    column += word.size();
    text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 2);
  }
  return out + '\n';
}

std::string generalHelp() {
  std::string text;
  text += "usage: quill COMMAND [ARGUMENTS]\n\n";
  text +=
      "Runs the p2mp LFIB pipeline inside a simulated owning agent (resolution service, label\n"
      "binding tables, peer address tables) and drives it with scenario files.\n\n";
  text += "commands:\n";
  text += "  run     runs scenario files in order\n";
  text += "  shell   reads scenario commands interactively\n";
  text += "  trace   decodes a binary trace file\n";
  text += "  help    shows help for a command\n\n";
  text += "'quill help COMMAND' or 'quill COMMAND --help' tells more; 'quill --version' prints\n";
  text += "the library's version.\n";
  return text;
}

std::string agentOptionsHelp() {
  std::string text;
  text += "options:\n";
  text += "  --json                every 'show' prints its one-line JSON form\n";
  text += "  --toggle NAME=on|off  sets a feature toggle before the agent starts; NAME is one of\n";
  text += wrapped(joined(kToggleNames), 24, 100);
  text += "  --trace HANDLES       enables text trace handles and levels, with the syntax of\n";
  text += "                        QUILL_TRACE (for example 'Quill*/8-9')\n";
  text += "  -h, --help            this text\n\n";
  text += "environment:\n";
  text += "  RLFILE                when set, the binary trace is written to this file\n";
  text += "  QUILL_TRACE, QUILL_TRACE_FILE, QUILL_TOGGLES\n";
  text += "                        as for every process that runs the library\n\n";
  text += "scenario commands (one per line, '#' starts a comment):\n";
  text += commandSummary();
  text += "\ntables for 'show TABLE [json]':\n";
  text += wrapped(tableNameList(), 2, 100);
  return text;
}

std::string runHelp() {
  std::string text = "usage: " + std::string(kRunUsage) + "\n\n";
  text +=
      "Runs the scenario files in order against one agent ('-' reads standard input). At the\n"
      "first bad line it prints FILE:LINE, the line and what was expected, applies nothing of\n"
      "that line and stops with exit status 2. When an 'audit' found differences the exit\n"
      "status is 1.\n\n";
  return text + agentOptionsHelp();
}

std::string shellHelp() {
  std::string text = "usage: " + std::string(kShellUsage) + "\n\n";
  text +=
      "Reads scenario commands from standard input, with line editing and history on a\n"
      "terminal. A bad line is reported and the shell carries on. 'help' lists the commands;\n"
      "'quit', 'exit' or end of input leaves.\n\n";
  return text + agentOptionsHelp();
}

std::string traceHelp() {
  std::string text = "usage: " + std::string(kTraceUsage) + "\n\n";
  text +=
      "Decodes a binary trace file (as written to RLFILE by 'quill run' or any process of the\n"
      "library) and prints one line per record, in file order.\n";
  return text;
}

std::string helpHelp() {
  return "usage: " + std::string(kHelpUsage) +
         "\n\nShows what quill does, or how COMMAND (run, shell, trace, help) is used.\n";
}

std::optional<std::string> helpFor(std::string_view command) {
  if (command == "run") return runHelp();
  if (command == "shell") return shellHelp();
  if (command == "trace") return traceHelp();
  if (command == "help") return helpHelp();
  return std::nullopt;
}

bool isHelpFlag(std::string_view arg) {
  return arg == "--help" || arg == "-h";
}

struct AgentOptions {
  bool json = false;
  std::vector<std::pair<std::string, bool>> toggles;
  std::optional<std::string> trace;
  std::vector<std::string> files;
};

// The value of option `name` given as "--name VALUE" or "--name=VALUE".
std::optional<std::string> optionValue(const std::vector<std::string>& args, std::size_t& index,
                                       std::string_view name, const std::string& where,
                                       std::string_view usage, std::string_view valueName) {
  const std::string& arg = args[index];
  if (arg == name) {
    if (index + 1 == args.size()) {
      throw UsageError(where, std::string(name) + " needs " + std::string(valueName),
                       "usage: " + std::string(usage));
    }
    return args[++index];
  }
  if (arg.size() > name.size() && arg.compare(0, name.size(), name) == 0 &&
      arg[name.size()] == '=') {
    return arg.substr(name.size() + 1);
  }
  return std::nullopt;
}

std::vector<std::pair<std::string, bool>> parseToggle(const std::string& where,
                                                      const std::string& setting) {
  std::vector<std::pair<std::string, bool>> toggles;
  try {
    toggles = FeatureToggle::parseToggleList(setting);
  } catch (const std::exception& error) {
    throw UsageError(where, std::string("--toggle: ") + error.what(),
                     "usage: --toggle NAME=on|off");
  }
  if (toggles.empty()) {
    throw UsageError(where, "--toggle: empty toggle", "usage: --toggle NAME=on|off");
  }
  for (const auto& [name, state] : toggles) {
    bool known = false;
    for (const std::string_view knownName : kToggleNames)
      known = known || name == knownName;
    if (!known) {
      throw UsageError(where, "--toggle: unknown toggle '" + name + "'",
                       "toggles: " + joined(kToggleNames));
    }
  }
  return toggles;
}

AgentOptions parseAgentOptions(const std::vector<std::string>& args, const std::string& where,
                               std::string_view usage, bool takesFiles) {
  AgentOptions options;
  bool optionsDone = false;
  for (std::size_t index = 1; index < args.size(); ++index) {
    const std::string& arg = args[index];
    if (optionsDone || arg == "-" || arg.empty() || arg[0] != '-') {
      if (!takesFiles) {
        throw UsageError(where, "unexpected argument '" + arg + "'",
                         "usage: " + std::string(usage));
      }
      options.files.push_back(arg);
      continue;
    }
    if (arg == "--") {
      optionsDone = true;
    } else if (arg == "--json") {
      options.json = true;
    } else if (const auto toggle =
                   optionValue(args, index, "--toggle", where, usage, "NAME=on|off")) {
      for (auto& entry : parseToggle(where, *toggle))
        options.toggles.push_back(std::move(entry));
    } else if (const auto trace = optionValue(args, index, "--trace", where, usage, "HANDLES")) {
      options.trace = *trace;
    } else {
      throw UsageError(where, "unknown option '" + arg + "'", "usage: " + std::string(usage));
    }
  }
  if (takesFiles && options.files.empty()) {
    throw UsageError(where, "no scenario file given", "usage: " + std::string(usage));
  }
  return options;
}

// Applies what must precede the agent: trace handles, toggles (read once, when the pipeline
// starts), and the binary trace.
void prepareProcess(const AgentOptions& options, const std::string& where) {
  if (options.trace) {
    try {
      Vox::traceConfigure(*options.trace);
    } catch (const std::exception& error) {
      throw UsageError(where, std::string("--trace: ") + error.what(),
                       "usage: --trace PATTERN[/LEVELS][,PATTERN[/LEVELS]...]");
    }
  }
  for (const auto& [name, state] : options.toggles)
    FeatureToggle::toggleStateIs(name, state);
  // Opened only on request: a scenario run should not leave a trace file behind by default.
  if (const char* rlfile = std::getenv("RLFILE"); rlfile != nullptr && *rlfile != '\0') {
    if (const int status = Mpls_rapidlogInitialize(); status != 0) {
      std::cerr << where << ": warning: cannot write the binary trace to '" << rlfile
                << "': " << std::generic_category().message(status) << '\n';
    }
  }
}

int runCommand(const std::vector<std::string>& args) {
  const std::string where = "quill run";
  const AgentOptions options = parseAgentOptions(args, where, kRunUsage, true);
  // Every file is opened before anything runs, so that a misspelt name changes nothing.
  std::vector<std::unique_ptr<std::ifstream>> streams;
  for (const std::string& file : options.files) {
    if (file == "-") {
      streams.push_back(nullptr);
      continue;
    }
    errno = 0;
    auto stream = std::make_unique<std::ifstream>(file);
    if (!*stream) {
      const std::string why = errno != 0 ? std::string(": ") + std::strerror(errno) : "";
      throw UsageError(where, "cannot open scenario file '" + file + "'" + why, "");
    }
    streams.push_back(std::move(stream));
  }
  prepareProcess(options, where);
  Sim::Agent agent;
  ScenarioRunner runner(agent, {options.json}, std::cout, std::cerr);
  for (std::size_t index = 0; index < options.files.size(); ++index) {
    std::istream& in = streams[index] ? *streams[index] : std::cin;
    const std::string source = options.files[index] == "-" ? "<stdin>" : options.files[index];
    if (!runner.runStream(in, source, true)) return kExitUsage;
  }
  return runner.auditFailed() ? kExitAuditFailed : kExitOk;
}

int shellCommand(const std::vector<std::string>& args) {
  const std::string where = "quill shell";
  const AgentOptions options = parseAgentOptions(args, where, kShellUsage, false);
  prepareProcess(options, where);
  Sim::Agent agent;
  ScenarioRunner runner(agent, {options.json}, std::cout, std::cerr);
  LineReader reader("quill> ");
  if (reader.interactive()) {
    std::cout << "quill " << Quill::version() << " shell: 'help' lists the commands, 'quit' leaves"
              << '\n';
  }
  std::size_t lineNumber = 0;
  while (const auto line = reader.next()) {
    ++lineNumber;
    const std::string& text = line->text;
    const std::size_t start = text.find_first_not_of(" \t");
    const std::string_view word =
        start == std::string::npos
            ? std::string_view()
            : std::string_view(text).substr(start, text.find_last_not_of(" \t\r") + 1 - start);
    if (word == "quit" || word == "exit") break;
    if (word == "help") {
      std::cout << "commands (one per line, '#' starts a comment):\n"
                << commandSummary() << "\ntables for 'show TABLE [json]':\n"
                << wrapped(tableNameList(), 2, 100) << "\nquit or exit leaves.\n";
      continue;
    }
    runner.runLine("shell", lineNumber, *line);
  }
  // End of input on a terminal leaves the cursor after the prompt.
  if (reader.interactive()) std::cout << '\n';
  return kExitOk;
}

int traceCommand(const std::vector<std::string>& args) {
  const std::string where = "quill trace";
  if (args.size() != 2 || (!args[1].empty() && args[1][0] == '-')) {
    throw UsageError(where,
                     args.size() < 2
                         ? "no trace file given"
                         : "unexpected argument '" + args[args.size() > 2 ? 2 : 1] + "'",
                     "usage: " + std::string(kTraceUsage));
  }
  std::vector<std::string> lines;
  try {
    lines = Rapidlog::decodeFile(args[1]);
  } catch (const std::system_error& error) {
    throw UsageError(where, "cannot read '" + args[1] + "': " + error.code().message(), "");
  } catch (const std::exception& error) {
    throw UsageError(where, args[1] + ": " + error.what(), "");
  }
  for (const std::string& line : lines)
    std::cout << line << '\n';
  return kExitOk;
}

int helpCommand(const std::vector<std::string>& args) {
  if (args.size() == 1) {
    std::cout << generalHelp();
    return kExitOk;
  }
  if (args.size() > 2) {
    throw UsageError("quill help", "unexpected argument '" + args[2] + "'",
                     "usage: " + std::string(kHelpUsage));
  }
  const auto text = helpFor(args[1]);
  if (!text) {
    throw UsageError("quill help", "unknown command '" + args[1] + "'",
                     "commands: run, shell, trace, help");
  }
  std::cout << *text;
  return kExitOk;
}

}  // namespace

int runQuill(const std::vector<std::string>& args) {
  try {
    if (args.empty()) {
      throw UsageError("quill", "no command given",
                       "commands: run, shell, trace, help ('quill --help' tells more)");
    }
    const std::string& command = args[0];
    if (isHelpFlag(command)) {
      std::cout << generalHelp();
      return kExitOk;
    }
    if (command == "--version") {
      std::cout << "quill " << Quill::version() << '\n';
      return kExitOk;
    }
    if (const auto text = helpFor(command)) {
      // "quill COMMAND --help" wins over whatever else is on the line.
      for (std::size_t index = 1; index < args.size(); ++index) {
        if (args[index] == "--") break;
        if (isHelpFlag(args[index])) {
          std::cout << *text;
          return kExitOk;
        }
      }
    }
    if (command == "run") return runCommand(args);
    if (command == "shell") return shellCommand(args);
    if (command == "trace") return traceCommand(args);
    if (command == "help") return helpCommand(args);
    throw UsageError("quill", "unknown command '" + command + "'",
                     "commands: run, shell, trace, help");
  } catch (const UsageError& error) {
    return reportUsage(error);
  }
}

}  // namespace QuillTool
