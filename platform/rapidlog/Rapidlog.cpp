#include "platform/rapidlog/Rapidlog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <new>

#include "platform/rapidlog/RapidlogFormat.h"
#include "platform/vox/Exception.h"
#include "platform/vox/LogStream.h"

namespace Rapidlog {

namespace detail {
std::atomic<bool> gEnabled{false};
}  // namespace detail

namespace {

constexpr int kMinBufferSizeLog2 = 10;
constexpr int kMaxBufferSizeLog2 = 30;
constexpr unsigned kMinRecordBytes = 16;
constexpr unsigned kMaxRecordBytes = 1u << 20;
constexpr int kMaxRotations = 1000;

struct Config {
  std::string path;
  std::string rotationBase;
  uint64_t sizeLimit = kDefaultSizeLimit;
  int rotations = 0;
  int bufferSizeLog2 = 24;
  int multithreadingMode = 0;
  bool flushAtExit = true;
  uint32_t maxRecordBytes = 512;

  // The most one trace call can append: a text record at the cap plus the definition of its
  // handle name at the cap. The file and the buffer must take at least this after the header.
  std::size_t largestAppend() const {
    return format::kDefineOverhead + format::kTextOverhead + 2 * std::size_t{maxRecordBytes};
  }
};

// Replaces one "%d" by the process id. False when there is more than one.
bool expandPid(std::string_view pattern, std::string& out) {
  const auto pos = pattern.find("%d");
  if (pos == std::string_view::npos) {
    out.assign(pattern);
    return true;
  }
  if (pattern.find("%d", pos + 2) != std::string_view::npos) return false;
  out.assign(pattern.substr(0, pos));
  out += std::to_string(::getpid());
  out.append(pattern.substr(pos + 2));
  return true;
}

// "4096", "64K", "64M", "1G" (binary multiples, either case).
bool parseSize(std::string_view text, uint64_t& out) {
  uint64_t value = 0;
  std::size_t i = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    const auto digit = static_cast<uint64_t>(text[i] - '0');
    if (value > (UINT64_MAX - digit) / 10) return false;
    value = value * 10 + digit;
  }
  if (i == 0) return false;
  int shift = 0;
  if (i < text.size()) {
    switch (text[i]) {
      case 'K':
      case 'k':
        shift = 10;
        break;
      case 'M':
      case 'm':
        shift = 20;
        break;
      case 'G':
      case 'g':
        shift = 30;
        break;
      default:
        return false;
    }
    ++i;
  }
  if (i != text.size() || value > (UINT64_MAX >> shift)) return false;
  out = value << shift;
  return true;
}

// At most `max` bytes of `text`, cut before a UTF-8 sequence that would not fit whole.
std::string_view cutUtf8(std::string_view text, std::size_t max) {
  if (text.size() <= max) return text;
  std::size_t n = max;
  // Back off over continuation bytes to the lead byte of the straddling sequence; a sequence
  // is at most four bytes, so more than three continuation bytes is not UTF-8 and is cut as is.
  for (int i = 0; i < 3 && n > 0 && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80; ++i)
    --n;
  if ((static_cast<unsigned char>(text[n]) & 0xC0) != 0xC0) n = max;
  return text.substr(0, n);
}

uint64_t zigzag(int64_t v) {
  return (static_cast<uint64_t>(v) << 1) ^ static_cast<uint64_t>(v >> 63);
}

uint64_t wallClockNs() {
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                   std::chrono::system_clock::now().time_since_epoch())
                                   .count());
}

}  // namespace

// One open trace file and its buffer. Only one exists at a time; see the header for which
// thread may touch it.
class Writer {
 public:
  explicit Writer(Config config)
      : config_(std::move(config)), bufferSize_(std::size_t{1} << config_.bufferSizeLog2) {}
  ~Writer() {
    if (fd_ >= 0) ::close(fd_);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  // Allocates the buffer and starts the file. Returns 0 or an errno value.
  int start() {
    buffer_ = std::make_unique_for_overwrite<char[]>(bufferSize_);
    const int err = openFile();
    running_ = err == 0;
    return err;
  }

  void timer(const Site& site, uint64_t startNs, uint64_t endNs) {
    for (;;) {
      const uint64_t key = site.key_.load(std::memory_order_relaxed);
      const bool defined = (key >> 32) == generation_;
      const std::string_view name = defined ? std::string_view{} : clampName(site.name_);
      const std::size_t need =
          format::kTimerBytes + (defined ? 0 : format::kDefineOverhead + name.size());
      const Room room = makeRoom(need);
      if (room == Room::kRotated) continue;
      if (room == Room::kDropped) {
        ++dropped_;
        return;
      }
      char* p = buffer_.get() + used_;
      uint32_t id = static_cast<uint32_t>(key);
      if (!defined) {
        id = nextId_++;
        p = putDefine(p, id, name);
        site.key_.store((uint64_t{generation_} << 32) | id, std::memory_order_relaxed);
      }
      *p++ = static_cast<char>(format::kTimer);
      p = format::putVarint(p, id);
      // A block that began before this file (across a rotation or re-initialisation) has a
      // negative start, hence the signed encoding.
      p = format::putVarint(
          p, zigzag(static_cast<int64_t>(startNs) - static_cast<int64_t>(baseSteadyNs_)));
      p = format::putVarint(p, endNs - startNs);
      used_ = static_cast<std::size_t>(p - buffer_.get());
      return;
    }
  }

  // May throw std::bad_alloc when a new handle name is interned; nothing is written then.
  void text(std::string_view handle, int level, std::string_view text) {
    const bool truncated = text.size() > config_.maxRecordBytes;
    text = cutUtf8(text, config_.maxRecordBytes);
    for (;;) {
      auto it = names_.find(handle);
      const bool defined = it != names_.end();
      const std::string_view name = defined ? std::string_view{} : clampName(handle);
      const std::size_t need = format::kTextOverhead + text.size() +
                               (defined ? 0 : format::kDefineOverhead + name.size());
      const Room room = makeRoom(need);
      if (room == Room::kRotated) continue;
      if (room == Room::kDropped) {
        ++dropped_;
        return;
      }
      char* p = buffer_.get() + used_;
      uint32_t id = defined ? it->second : nextId_;
      if (!defined) {
        names_.emplace(std::string(handle), id);
        ++nextId_;
        p = putDefine(p, id, name);
      }
      *p++ = static_cast<char>(format::kText);
      p = format::putVarint(p, id);
      *p++ = static_cast<char>(level);
      p = format::putVarint(p, detail::nowNs() - baseSteadyNs_);
      *p++ = static_cast<char>(truncated ? format::kTextTruncated : 0);
      p = format::putVarint(p, text.size());
      std::memcpy(p, text.data(), text.size());
      p += text.size();
      used_ = static_cast<std::size_t>(p - buffer_.get());
      return;
    }
  }

  // Writes the buffer out. False when writing failed, which stops tracing.
  bool flushBuffer() {
    if (failed_) return false;
    std::size_t done = 0;
    while (done < used_) {
      const ssize_t n = ::write(fd_, buffer_.get() + done, used_ - done);
      if (n < 0) {
        if (errno == EINTR) continue;
        fail(errno);
        return false;
      }
      done += static_cast<std::size_t>(n);
    }
    written_ += used_;
    used_ = 0;
    return true;
  }

  // Closes the file; with `writeBuffered`, writes the buffer and the drop count first.
  void close(bool writeBuffered) {
    if (writeBuffered) finishFile();
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

  const std::string& path() const { return config_.path; }
  uint64_t dropped() const { return dropped_; }
  bool flushAtExit() const { return config_.flushAtExit; }

 private:
  enum class Room { kOk, kRotated, kDropped };

  // Makes `bytes` contiguous bytes available at buffer_ + used_, within the size limit.
  Room makeRoom(std::size_t bytes) {
    if (failed_) return Room::kDropped;
    // Room for the drop-count record is kept back so that the file never exceeds its limit.
    if (written_ + used_ + bytes + format::kDroppedBytes > config_.sizeLimit) {
      if (config_.rotations == 0 || written_ + used_ <= format::kHeaderBytes) return Room::kDropped;
      return rotate() ? Room::kRotated : Room::kDropped;
    }
    if (used_ + bytes > bufferSize_ && !flushBuffer()) return Room::kDropped;
    return Room::kOk;
  }

  int openFile() {
    fd_ = ::open(config_.path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd_ < 0) return errno;
    generation_ = ++gGeneration;
    baseSteadyNs_ = detail::nowNs();
    names_.clear();
    nextId_ = 0;
    written_ = 0;
    used_ = 0;
    dropped_ = 0;
    std::string header;
    Vox::AttrLogWriter w(header);
    w.raw(format::kMagic.data(), format::kMagic.size())
        .u16(format::kFormatVersion)
        .u16(static_cast<uint16_t>(format::kHeaderBytes))
        .u32(static_cast<uint32_t>(::getpid()))
        .u64(wallClockNs())
        .u64(config_.sizeLimit)
        .u32(static_cast<uint32_t>(config_.rotations))
        .u32(config_.maxRecordBytes)
        .u8(static_cast<uint8_t>(config_.bufferSizeLog2))
        .u8(static_cast<uint8_t>(config_.multithreadingMode))
        .u8(config_.flushAtExit ? 1 : 0)
        .u8(0);
    std::memcpy(buffer_.get(), header.data(), header.size());
    used_ = header.size();
    // Written at once, so that a file that cannot be written is reported by initialize.
    return flushBuffer() ? 0 : error_;
  }

  void finishFile() {
    if (dropped_ > 0 && (used_ + format::kDroppedBytes <= bufferSize_ || flushBuffer()) &&
        !failed_) {
      char* p = buffer_.get() + used_;
      *p++ = static_cast<char>(format::kDropped);
      p = format::putVarint(p, detail::nowNs() - baseSteadyNs_);
      p = format::putVarint(p, dropped_);
      used_ = static_cast<std::size_t>(p - buffer_.get());
    }
    flushBuffer();
  }

  // Shifts the rotated files up by one, moves the full file to ".1" and starts a new one.
  bool rotate() {
    close(true);
    if (failed_) return false;
    int err = 0;
    try {
      const std::string& base = config_.rotationBase;
      for (int i = config_.rotations - 1; i >= 1; --i) {
        // A missing older file is normal while fewer than `rotations` exist.
        std::rename((base + "." + std::to_string(i)).c_str(),
                    (base + "." + std::to_string(i + 1)).c_str());
      }
      std::rename(config_.path.c_str(), (base + ".1").c_str());
      err = openFile();
    } catch (const std::bad_alloc&) {
      // Trace calls must not throw; running out of memory here ends tracing like a write error.
      err = ENOMEM;
    }
    if (err != 0 && !failed_) fail(err);
    return err == 0;
  }

  void fail(int err) {
    failed_ = true;
    error_ = err;
    detail::gEnabled.store(false, std::memory_order_relaxed);
    // initialize reports its own failures through its result.
    if (!running_) return;
    std::fprintf(stderr, "rapidlog: writing %s failed: %s; tracing stopped\n", config_.path.c_str(),
                 std::strerror(err));
  }

  std::string_view clampName(std::string_view name) const {
    return cutUtf8(name, config_.maxRecordBytes);
  }

  static char* putDefine(char* p, uint32_t id, std::string_view name) {
    *p++ = static_cast<char>(format::kDefine);
    p = format::putVarint(p, id);
    p = format::putVarint(p, name.size());
    std::memcpy(p, name.data(), name.size());
    return p + name.size();
  }

  // Generations are process-wide so that a site's id from an earlier file never matches.
  static inline uint32_t gGeneration = 0;

  Config config_;
  std::size_t bufferSize_;
  std::unique_ptr<char[]> buffer_;
  std::size_t used_ = 0;
  uint64_t written_ = 0;  // bytes already in the file
  int fd_ = -1;
  uint32_t generation_ = 0;
  uint32_t nextId_ = 0;
  uint64_t baseSteadyNs_ = 0;
  uint64_t dropped_ = 0;
  bool running_ = false;  // started successfully
  bool failed_ = false;
  int error_ = 0;
  std::map<std::string, uint32_t, std::less<>> names_;  // interned text-path handle names
};

namespace {

// Leaked on purpose: trace points may run from static destructors after this file's statics
// would have been destroyed.
std::mutex& stateMutex() {
  static std::mutex* mutex = new std::mutex;
  return *mutex;
}

// Whether trace calls take stateMutex (multithreading mode 1).
std::atomic<bool> gLocking{false};
// The open file, or null. Changed only under stateMutex; read by trace calls under it in mode 1
// and from the one writer thread in mode 0.
Writer* gWriter = nullptr;
bool gAtExitRegistered = false;

void closeLocked(bool writeBuffered) {
  detail::gEnabled.store(false, std::memory_order_relaxed);
  if (gWriter == nullptr) return;
  gWriter->close(writeBuffered);
  delete gWriter;
  gWriter = nullptr;
}

void closeAtExit() {
  std::lock_guard<std::mutex> lock(stateMutex());
  closeLocked(gWriter != nullptr && gWriter->flushAtExit());
}

template <class Fn>
void withWriter(Fn&& fn) {
  if (gLocking.load(std::memory_order_relaxed)) {
    std::lock_guard<std::mutex> lock(stateMutex());
    if (gWriter != nullptr && enabled()) fn(*gWriter);
  } else if (gWriter != nullptr && enabled()) {
    fn(*gWriter);
  }
}

int makeConfig(const char* fileName, const char* sizeSpec, const char* rotationName, int rotations,
               int bufferSizeLog2, int multithreadingMode, bool flushAtExit,
               unsigned maxRecordBytes, Config& config) {
  const std::string_view name =
      fileName != nullptr && *fileName != '\0' ? fileName : kDefaultFileName;
  if (!expandPid(name, config.path)) return EINVAL;
  if (!expandPid(rotationName != nullptr ? std::string_view(rotationName) : name,
                 config.rotationBase)) {
    return EINVAL;
  }
  if (sizeSpec != nullptr && !parseSize(sizeSpec, config.sizeLimit)) return EINVAL;
  if (rotations < 0 || rotations > kMaxRotations) return EINVAL;
  if (bufferSizeLog2 < kMinBufferSizeLog2 || bufferSizeLog2 > kMaxBufferSizeLog2) return EINVAL;
  if (multithreadingMode != 0 && multithreadingMode != 1) return EINVAL;
  if (maxRecordBytes < kMinRecordBytes || maxRecordBytes > kMaxRecordBytes) return EINVAL;
  config.rotations = rotations;
  config.bufferSizeLog2 = bufferSizeLog2;
  config.multithreadingMode = multithreadingMode;
  config.flushAtExit = flushAtExit;
  config.maxRecordBytes = maxRecordBytes;
  const std::size_t smallest = format::kHeaderBytes + config.largestAppend();
  if (config.sizeLimit < smallest + format::kDroppedBytes) return EINVAL;
  if ((std::size_t{1} << bufferSizeLog2) < smallest) return EINVAL;
  return 0;
}

}  // namespace

namespace detail {
void recordTimer(const Site& site, uint64_t startNs, uint64_t endNs) noexcept {
  withWriter([&](Writer& w) { w.timer(site, startNs, endNs); });
}
}  // namespace detail

int initialize(const char* fileName, const char* sizeSpec, const char* rotationName, int rotations,
               int bufferSizeLog2, int multithreadingMode, bool flushAtExit,
               unsigned maxRecordBytes) noexcept {
  try {
    std::lock_guard<std::mutex> lock(stateMutex());
    closeLocked(true);
    Config config;
    if (const int err = makeConfig(fileName, sizeSpec, rotationName, rotations, bufferSizeLog2,
                                   multithreadingMode, flushAtExit, maxRecordBytes, config)) {
      return err;
    }
    auto writer = std::make_unique<Writer>(std::move(config));
    if (const int err = writer->start()) return err;
    if (!gAtExitRegistered) {
      if (std::atexit(closeAtExit) != 0) return ENOMEM;
      gAtExitRegistered = true;
    }
    gLocking.store(multithreadingMode == 1, std::memory_order_relaxed);
    gWriter = writer.release();
    detail::gEnabled.store(true, std::memory_order_relaxed);
    return 0;
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  }
}

void shutdown() noexcept {
  std::lock_guard<std::mutex> lock(stateMutex());
  closeLocked(true);
}

void flush() noexcept {
  withWriter([](Writer& w) { w.flushBuffer(); });
}

std::string fileName() {
  std::lock_guard<std::mutex> lock(stateMutex());
  return gWriter != nullptr ? gWriter->path() : std::string();
}

uint64_t droppedRecords() noexcept {
  std::lock_guard<std::mutex> lock(stateMutex());
  return gWriter != nullptr ? gWriter->dropped() : 0;
}

void writeText(std::string_view handle, int level, std::string_view text) noexcept {
  VOX_ASSERT(level >= 0 && level <= format::kMaxLevel, "Rapidlog text level in 0..9");
  withWriter([&](Writer& w) {
    try {
      w.text(handle, level, text);
    } catch (const std::bad_alloc&) {
      // Interning the handle name failed before anything was written; the record is lost.
    }
  });
}

}  // namespace Rapidlog
