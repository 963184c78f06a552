#include "platform/vox/Trace.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <vector>

#include "platform/vox/Exception.h"

namespace Vox {

namespace {

constexpr uint32_t kAllLevels = (1u << (TraceHandle::kMaxLevel + 1)) - 1;

struct TraceEntry {
  std::string pattern;
  uint32_t levels;
};

// '*' matches any run of characters, everything else itself.
bool globMatch(std::string_view pattern, std::string_view name) {
  std::size_t p = 0, n = 0, starP = std::string_view::npos, starN = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      starP = p++;
      starN = n;
    } else if (p < pattern.size() && pattern[p] == name[n]) {
      ++p;
      ++n;
    } else if (starP != std::string_view::npos) {
      p = starP + 1;
      n = ++starN;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*')
    ++p;
  return p == pattern.size();
}

int parseLevel(std::string_view text, std::string_view entry) {
  if (text.size() != 1 || text[0] < '0' || text[0] > '9') {
    throw ParseError("trace setting", entry, "levels 0 to 9, as N, N-M or joined by '+'");
  }
  return text[0] - '0';
}

uint32_t parseLevels(std::string_view text, std::string_view entry) {
  if (text == "none") return 0;
  uint32_t mask = 0;
  while (true) {
    const auto plus = text.find('+');
    std::string_view range = text.substr(0, plus);
    const auto dash = range.find('-');
    const int low = parseLevel(range.substr(0, dash), entry);
    const int high =
        dash == std::string_view::npos ? low : parseLevel(range.substr(dash + 1), entry);
    if (high < low) {
      throw ParseError("trace setting", entry, "a level range N-M with N <= M");
    }
    for (int level = low; level <= high; ++level)
      mask |= 1u << level;
    if (plus == std::string_view::npos) break;
    text.remove_prefix(plus + 1);
  }
  return mask;
}

std::vector<TraceEntry> parseTraceSettings(std::string_view text) {
  std::vector<TraceEntry> entries;
  while (!text.empty()) {
    const auto comma = text.find(',');
    std::string_view entry = text.substr(0, comma);
    text = comma == std::string_view::npos ? std::string_view{} : text.substr(comma + 1);
    if (entry.empty()) continue;
    const auto slash = entry.find('/');
    std::string_view pattern = entry.substr(0, slash);
    if (pattern.empty()) {
      throw ParseError("trace setting", entry, "PATTERN[/LEVELS] with a handle name or glob");
    }
    const uint32_t levels =
        slash == std::string_view::npos ? kAllLevels : parseLevels(entry.substr(slash + 1), entry);
    entries.push_back({std::string(pattern), levels});
  }
  return entries;
}

class TraceRegistry {
 public:
  static TraceRegistry& instance() {
    static TraceRegistry registry;
    return registry;
  }

  void add(TraceHandle* handle, bool enabledAtStart) {
    std::lock_guard lock(mutex_);
    handles_.push_back(handle);
    apply(*handle, enabledAtStart ? kAllLevels : 0);
  }
  void remove(TraceHandle* handle) {
    std::lock_guard lock(mutex_);
    std::erase(handles_, handle);
  }
  void configure(std::vector<TraceEntry> entries) {
    std::lock_guard lock(mutex_);
    entries_ = std::move(entries);
    for (TraceHandle* handle : handles_)
      apply(*handle, 0);
  }
  void outputIs(const std::string& path) {
    std::lock_guard lock(writeMutex_);
    std::FILE* file = nullptr;
    if (!path.empty()) {
      file = std::fopen(path.c_str(), "a");
      if (!file) throw std::runtime_error("cannot open trace file '" + path + "' for appending");
    }
    if (out_ && out_ != stderr) std::fclose(out_);
    out_ = file ? file : stderr;
  }
  void write(const std::string& line) {
    std::lock_guard lock(writeMutex_);
    std::fwrite(line.data(), 1, line.size(), out_);
    std::fflush(out_);
  }

 private:
  TraceRegistry() {
    if (const char* text = std::getenv("QUILL_TRACE")) {
      try {
        entries_ = parseTraceSettings(text);
      } catch (const ParseError& error) {
        std::fprintf(stderr, "quill: ignoring QUILL_TRACE: %s\n", error.what());
      }
    }
    if (const char* path = std::getenv("QUILL_TRACE_FILE"); path && *path) {
      out_ = std::fopen(path, "a");
      if (!out_)
        std::fprintf(stderr, "quill: cannot open QUILL_TRACE_FILE '%s'; tracing to stderr\n", path);
    }
    if (!out_) out_ = stderr;
  }

  void apply(TraceHandle& handle, uint32_t base) const {
    uint32_t levels = base;
    for (const TraceEntry& entry : entries_) {
      if (globMatch(entry.pattern, handle.name())) levels = entry.levels;
    }
    handle.levelsIs(levels);
  }

  std::mutex mutex_;
  std::vector<TraceHandle*> handles_;
  std::vector<TraceEntry> entries_;
  std::mutex writeMutex_;
  std::FILE* out_ = nullptr;
};

std::string utcTimestamp() {
  const auto now = std::chrono::system_clock::now();
  const auto micros =
      std::chrono::duration_cast<std::chrono::microseconds>(now.time_since_epoch()).count();
  const std::time_t seconds = static_cast<std::time_t>(micros / 1000000);
  std::tm tm{};
  gmtime_r(&seconds, &tm);
  char buffer[96];
  std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%02d.%06lldZ", tm.tm_year + 1900,
                tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec,
                static_cast<long long>(micros % 1000000));
  return buffer;
}

}  // namespace

TraceHandle::TraceHandle(std::string name, bool enabledAtStart) : name_(std::move(name)) {
  TraceRegistry::instance().add(this, enabledAtStart);
}

TraceHandle::~TraceHandle() {
  TraceRegistry::instance().remove(this);
}

void TraceHandle::write(int level, const char* file, int line, std::string_view message) const {
  std::string record = utcTimestamp();
  record += ' ';
  record += name_;
  record += ' ';
  record += static_cast<char>('0' + level);
  record += ' ';
  record += traceFileName(file);
  record += ':';
  record += std::to_string(line);
  record += ' ';
  record += message;
  record += '\n';
  TraceRegistry::instance().write(record);
}

void traceConfigure(std::string_view text) {
  TraceRegistry::instance().configure(parseTraceSettings(text));
}

void traceOutputIs(const std::string& path) {
  TraceRegistry::instance().outputIs(path);
}

}  // namespace Vox
