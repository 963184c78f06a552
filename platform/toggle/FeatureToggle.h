#pragma once
// The feature-toggle service: named on/off switches that choose between implementations.
//
// `getToggleState(name, defaultValue)` answers from, in order:
//   1. an in-process override (`toggleStateIs`), as a command-line tool's --toggle sets it;
//   2. the environment variable QUILL_TOGGLES, read afresh on every call;
//   3. `defaultValue`.
//
//   QUILL_TOGGLES=NAME=VALUE[,NAME=VALUE...]
//   NAME   letters, digits, '_', '.' and '-'; case-sensitive
//   VALUE  on, off, true, false, 1 or 0
//
// No whitespace anywhere, no empty entries, each name at most once. A malformed QUILL_TOGGLES is
// ignored as a whole, never half applied, and reported once per distinct value on standard error:
//
//   quill: ignoring QUILL_TOGGLES: cannot parse 'Foo=maybe' as feature toggle: expected ...
//
// The service does not cache answers: a caller that wants one answer per process keeps the
// first. All functions are thread-safe.
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace FeatureToggle {

inline constexpr const char* kEnvironmentVariable = "QUILL_TOGGLES";

bool getToggleState(std::string_view name, bool defaultValue);

// Overrides the answer for `name` in this process until removed.
void toggleStateIs(std::string_view name, bool state);
void toggleStateDel(std::string_view name);
void toggleStateDelAll();

// Parses the QUILL_TOGGLES syntax, entries in the order given; the empty text is no entries.
// Throws Vox::ParseError quoting the offending entry (or the whole text for an empty entry).
std::vector<std::pair<std::string, bool>> parseToggleList(std::string_view text);

}  // namespace FeatureToggle
