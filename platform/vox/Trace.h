#pragma once
// Text tracing through named trace handles.
//
// A `Vox::TraceHandle` has a name and an enabled flag for each level 0 to 9. Checking a level costs
// one load and one branch, so disabled trace statements cost nearly nothing; the message of a
// disabled statement is never formatted (`VOX_TRACE` evaluates its stream expression only when
// the level is on).
//
// Which handles and levels are on comes from the environment variable QUILL_TRACE, read when the
// first handle is created, or from `Vox::traceConfigure` with the same syntax:
//
//   QUILL_TRACE=ENTRY[,ENTRY...]     ENTRY = PATTERN[/LEVELS]
//   PATTERN  a handle name; '*' matches any run of characters ("Quill*", "*")
//   LEVELS   levels joined by '+', each a level N or a range N-M (0 to 9); default 0-9;
//            "none" turns the matching handles off
//
// Entries apply in order, and a later entry overrides an earlier one for the handles it matches:
// "*/0,QuillIpAddrRouterIdInfoSm/8-9" turns level 0 on everywhere and levels 8 and 9 (only) on for
// that handle. Records go to standard error, or to the file named by QUILL_TRACE_FILE (appended).
// A record is one line:
//
//   2026-11-21T18:03:07.123456Z QuillIpAddrRouterIdInfoSm 9 IpAddrRouterIdInfoSm:88 Adding ...
//
// (UTC time, handle, level, source file without directory and extension, line, message).
//
// Handles are meant to be function-local statics, created once per process; creation and
// configuration are thread-safe, writing is serialised.
#include <atomic>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

namespace Vox {

class TraceHandle {
 public:
  static constexpr int kMinLevel = 0;
  static constexpr int kMaxLevel = 9;

  // `enabledAtStart` turns every level on before QUILL_TRACE is applied; library handles pass
  // false and stay silent unless configured.
  TraceHandle(std::string name, bool enabledAtStart);
  ~TraceHandle();
  TraceHandle(const TraceHandle&) = delete;
  TraceHandle& operator=(const TraceHandle&) = delete;

  const std::string& name() const { return name_; }
  bool enabled(int level) const { return (levels_.load(std::memory_order_relaxed) >> level) & 1u; }
  uint32_t levels() const { return levels_.load(std::memory_order_relaxed); }
  void levelsIs(uint32_t mask) { levels_.store(mask, std::memory_order_relaxed); }

  // Writes one record, whether or not the level is enabled (callers check first).
  void write(int level, const char* file, int line, std::string_view message) const;

 private:
  std::string name_;
  std::atomic<uint32_t> levels_{0};
};

// Applies a QUILL_TRACE-style setting to every existing handle and to handles created
// later (replacing any earlier setting). Throws `Vox::ParseError` on a malformed
// setting, quoting the bad entry, and then changes nothing.
void traceConfigure(std::string_view text);

// Sends records to `path` (appending), or back to standard error when `path` is empty. Throws
// std::runtime_error when the file cannot be opened.
void traceOutputIs(const std::string& path);

// The file name of a source path as records show it: "quill/core/Foo.cpp" -> "Foo".
constexpr std::string_view traceFileName(std::string_view path) {
  const auto slash = path.find_last_of('/');
  if (slash != std::string_view::npos) path.remove_prefix(slash + 1);
  const auto dot = path.find_last_of('.');
  if (dot != std::string_view::npos) path.remove_suffix(path.size() - dot);
  return path;
}

namespace detail {
// Writes its arguments separated by single blanks, for function-entry records.
inline void appendArgs(std::ostream&) {}
template <class First, class... Rest>
void appendArgs(std::ostream& out, const First& first, const Rest&... rest) {
  out << ' ' << first;
  appendArgs(out, rest...);
}
}  // namespace detail

}  // namespace Vox

// Writes `streamExpression` (anything `std::ostream << ...` accepts) on `handle` at `level` when
// that level is on: VOX_TRACE(th, 9, "Adding nexthopConfig for " << ipAddr);
#define VOX_TRACE(handle, level, streamExpression)                               \
  do {                                                                           \
    const ::Vox::TraceHandle& voxTraceHandle_ = (handle);                        \
    if (voxTraceHandle_.enabled(level)) [[unlikely]] {                           \
      std::ostringstream voxTraceStream_;                                        \
      voxTraceStream_ << streamExpression;                                       \
      voxTraceHandle_.write((level), __FILE__, __LINE__, voxTraceStream_.str()); \
    }                                                                            \
  } while (false)

// The function-entry record at level 8: the function's name, "()", then each argument's text
// form preceded by one blank: "Mpls::IraNexthopConfigSm::handleIpAddr() 10.0.0.1".
#define VOX_TRACE_FUNC(handle, functionName, ...)                            \
  do {                                                                       \
    const ::Vox::TraceHandle& voxTraceHandle_ = (handle);                    \
    if (voxTraceHandle_.enabled(8)) [[unlikely]] {                           \
      std::ostringstream voxTraceStream_;                                    \
      voxTraceStream_ << functionName << "()";                               \
      ::Vox::detail::appendArgs(voxTraceStream_ __VA_OPT__(, ) __VA_ARGS__); \
      voxTraceHandle_.write(8, __FILE__, __LINE__, voxTraceStream_.str());   \
    }                                                                        \
  } while (false)
