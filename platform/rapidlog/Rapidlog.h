#pragma once
// Rapidlog: the binary tracer of the process.
//
// Trace points write compact binary records into an in-memory buffer; nothing is formatted as
// text while tracing. The buffer goes to the trace file when it fills, on `flush()`, on
// `shutdown()`, and at process exit when asked to. `RapidlogDecoder.h` turns a file back into
// text lines.
//
// Names of trace points (function names, trace handle names) are interned: each is written once
// per file as a definition record, and later records carry only its small id. A call site keeps
// its id in a `Site`, normally a function-local static:
//
//   void Manager::handleInitialized() {
//     RAPIDLOG_BLOCK_TIMER("handleInitialized");   // start time and duration of this block
//     ...
//   }
//
// While the tracer is not initialised a block timer costs a load and a not-taken branch when it
// starts and one more branch when it ends; text is written through `Twinlog::RapidlogConverter`.
//
// Threads: in multithreading mode 0 every trace call, `initialize`, `flush` and `shutdown` must
// come from one thread (the event-loop thread), and nothing is locked. In mode 1 a mutex
// serialises writers, so any thread may trace; re-initialising into mode 0 while other threads
// still trace is a caller error.
#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace Rapidlog {

inline constexpr const char* kDefaultFileName = "Mpls-%d.rl";
inline constexpr uint64_t kDefaultSizeLimit = uint64_t{256} << 20;

// A static name of a trace point, interned once per trace file. `name` must outlive the site
// (a string literal); a site is meant to be a `static constinit` local, so that it costs no guard.
class Site {
 public:
  explicit constexpr Site(const char* name) : name_(name) {}
  Site(const Site&) = delete;
  Site& operator=(const Site&) = delete;

  const char* name() const { return name_; }

 private:
  friend class Writer;
  const char* name_;
  // The file generation in the high half and the name's id in that file in the low half; zero
  // until the site is first traced. A stale generation means "define again".
  mutable std::atomic<uint64_t> key_{0};
};

namespace detail {
extern std::atomic<bool> gEnabled;

inline uint64_t nowNs() {
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                   std::chrono::steady_clock::now().time_since_epoch())
                                   .count());
}

// Writes a timer record; drops it when tracing stopped or restarted since `startNs`.
void recordTimer(const Site& site, uint64_t startNs, uint64_t endNs) noexcept;
}  // namespace detail

// Opens the trace file and turns tracing on; any earlier file is flushed and closed first. Returns
// 0, or an errno value with tracing left off: EINVAL for an argument outside what is described
// here, ENOMEM when the buffer cannot be allocated, and the error of creating or writing the file.
//
//   fileName            the trace file; null or empty means kDefaultFileName. One "%d" is
//                       replaced by the process id; a second "%d" is EINVAL.
//   sizeSpec            the cap on the file size: digits with an optional K, M or G suffix
//                       (binary multiples, either case), e.g. "64M"; null means
//                       kDefaultSizeLimit. It must leave room for the header and the largest
//                       record with the name definition it may need. Without rotation, records
//                       that do not fit are dropped and their number is written when the file
//                       closes.
//   rotationName        with rotations > 0, the base name of the rotated files (one "%d" is the
//                       process id); null means fileName.
//   rotations           0 to 1000. When positive, a full file is renamed to
//                       "<rotationName>.1" (shifting ".1" to ".2" and so on, dropping the oldest
//                       beyond ".<rotations>") and a new file is started.
//   bufferSizeLog2      the in-memory buffer holds 2^bufferSizeLog2 bytes (10 to 30); it must
//                       hold two of the largest records.
//   multithreadingMode  0 one writer thread and no locking, 1 writers serialised by a mutex.
//   flushAtExit         write the buffer when the process exits normally; otherwise what was
//                       buffered since the last flush is lost at exit.
//   maxRecordBytes      16 to 1 MiB: the cap on the text of one text record, and on one name.
//                       Longer text is cut (never inside a UTF-8 sequence) and marked truncated.
int initialize(const char* fileName, const char* sizeSpec, const char* rotationName, int rotations,
               int bufferSizeLog2, int multithreadingMode, bool flushAtExit,
               unsigned maxRecordBytes) noexcept;

// Flushes, writes the count of dropped records if any, closes the file and turns tracing off.
void shutdown() noexcept;

// Writes the buffered records to the file.
void flush() noexcept;

inline bool enabled() noexcept {
  return detail::gEnabled.load(std::memory_order_relaxed);
}

// The trace file's actual name (after "%d" substitution); empty when not initialised.
std::string fileName();

// Records dropped in the current file because it reached its size limit (or a write failed).
uint64_t droppedRecords() noexcept;

// Writes one text record at the current time. `level` must be 0 to 9. Text longer than
// maxRecordBytes is cut and marked. `handle` is interned by content.
void writeText(std::string_view handle, int level, std::string_view text) noexcept;

// Records the steady-clock start and duration of the enclosing block as a timer record.
class BlockTimer {
 public:
  explicit BlockTimer(const Site& site) noexcept : site_(site) {
    if (enabled()) [[unlikely]]
      startNs_ = detail::nowNs();
  }
  ~BlockTimer() {
    if (startNs_ != 0) [[unlikely]]
      detail::recordTimer(site_, startNs_, detail::nowNs());
  }
  BlockTimer(const BlockTimer&) = delete;
  BlockTimer& operator=(const BlockTimer&) = delete;

 private:
  const Site& site_;
  uint64_t startNs_ = 0;  // zero: tracing was off when the block began
};

}  // namespace Rapidlog

#define RAPIDLOG_CONCAT_INNER(a, b) a##b
#define RAPIDLOG_CONCAT(a, b) RAPIDLOG_CONCAT_INNER(a, b)

// Times the rest of the enclosing block under the static name `name` (a string literal).
#define RAPIDLOG_BLOCK_TIMER(name)                                                  \
  static constinit ::Rapidlog::Site RAPIDLOG_CONCAT(rapidlogSite_, __LINE__){name}; \
  const ::Rapidlog::BlockTimer RAPIDLOG_CONCAT(rapidlogTimer_, __LINE__) {          \
    RAPIDLOG_CONCAT(rapidlogSite_, __LINE__)                                        \
  }
