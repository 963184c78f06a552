#pragma once
// The `quill` command line: `run`, `shell`, `trace` and `help`.
//
// Everything the user can get wrong (an option, a toggle name, a trace setting, a file
// name, a scenario line) is reported on standard error with where and why, and yields exit
// status 2; nothing is changed before the whole command line has been checked.
#include <string>
#include <vector>

namespace QuillTool {

// Exit statuses.
inline constexpr int kExitOk = 0;
inline constexpr int kExitUsage = 2;
// `run` when an `audit` command found differences between a stage and its rule.
inline constexpr int kExitAuditFailed = 1;

// Runs `quill` with the arguments after the program name; returns the exit status.
int runQuill(const std::vector<std::string>& args);

}  // namespace QuillTool
