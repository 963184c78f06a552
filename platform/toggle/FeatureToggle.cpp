#include "platform/toggle/FeatureToggle.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>

#include "platform/vox/Exception.h"

namespace FeatureToggle {

namespace {

constexpr std::string_view kEntryType = "feature toggle";
constexpr std::string_view kListType = "feature toggle list";

bool isNameChar(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '.' || c == '-';
}

std::optional<bool> parseValue(std::string_view value) {
  if (value == "on" || value == "true" || value == "1") return true;
  if (value == "off" || value == "false" || value == "0") return false;
  return std::nullopt;
}

std::pair<std::string, bool> parseEntry(std::string_view entry) {
  const auto eq = entry.find('=');
  if (eq == std::string_view::npos) {
    throw Vox::ParseError(kEntryType, entry, "NAME=VALUE");
  }
  const std::string_view name = entry.substr(0, eq);
  if (name.empty()) throw Vox::ParseError(kEntryType, entry, "a toggle name before '='");
  for (const char c : name) {
    if (!isNameChar(c)) {
      throw Vox::ParseError(kEntryType, entry,
                            "a name of letters, digits, '_', '.' and '-' before '='");
    }
  }
  const auto value = parseValue(entry.substr(eq + 1));
  if (!value) {
    throw Vox::ParseError(kEntryType, entry, "a value on, off, true, false, 1 or 0 after '='");
  }
  return {std::string(name), *value};
}

struct State {
  std::mutex mutex;
  std::map<std::string, bool, std::less<>> overrides;
  // The last QUILL_TOGGLES text seen and what it parsed to (nothing when malformed), so that an
  // unchanged variable is neither parsed nor reported again.
  std::optional<std::string> lastEnvText;
  std::map<std::string, bool, std::less<>> envToggles;
};

// Leaked on purpose, so that toggles can still be asked from static destructors.
State& shared() {
  static State* s = new State;
  return *s;
}

// Brings the parsed environment up to date; called with the mutex held.
void refreshEnvironment(State& s) {
  const char* raw = std::getenv(kEnvironmentVariable);
  const std::string_view text = raw != nullptr ? raw : "";
  if (s.lastEnvText && *s.lastEnvText == text) return;
  s.lastEnvText = std::string(text);
  s.envToggles.clear();
  try {
    for (auto& [name, value] : parseToggleList(text))
      s.envToggles.emplace(std::move(name), value);
  } catch (const Vox::ParseError& error) {
    s.envToggles.clear();
    std::fprintf(stderr, "quill: ignoring %s: %s\n", kEnvironmentVariable, error.what());
  }
}

}  // namespace

std::vector<std::pair<std::string, bool>> parseToggleList(std::string_view text) {
  std::vector<std::pair<std::string, bool>> toggles;
  if (text.empty()) return toggles;
  std::size_t begin = 0;
  for (;;) {
    const auto comma = text.find(',', begin);
    const std::string_view entry = text.substr(
        begin, comma == std::string_view::npos ? std::string_view::npos : comma - begin);
    if (entry.empty()) throw Vox::ParseError(kListType, text, "no empty entries");
    auto toggle = parseEntry(entry);
    for (const auto& earlier : toggles) {
      if (earlier.first == toggle.first) {
        throw Vox::ParseError(kListType, text,
                              "each toggle named once, but '" + toggle.first + "' repeats");
      }
    }
    toggles.push_back(std::move(toggle));
    if (comma == std::string_view::npos) break;
    begin = comma + 1;
  }
  return toggles;
}

bool getToggleState(std::string_view name, bool defaultValue) {
  State& s = shared();
  std::lock_guard<std::mutex> lock(s.mutex);
  if (const auto it = s.overrides.find(name); it != s.overrides.end()) return it->second;
  refreshEnvironment(s);
  if (const auto it = s.envToggles.find(name); it != s.envToggles.end()) return it->second;
  return defaultValue;
}

void toggleStateIs(std::string_view name, bool state) {
  State& s = shared();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.overrides.insert_or_assign(std::string(name), state);
}

void toggleStateDel(std::string_view name) {
  State& s = shared();
  std::lock_guard<std::mutex> lock(s.mutex);
  if (const auto it = s.overrides.find(name); it != s.overrides.end()) s.overrides.erase(it);
}

void toggleStateDelAll() {
  State& s = shared();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.overrides.clear();
}

}  // namespace FeatureToggle
