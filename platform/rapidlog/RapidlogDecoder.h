#pragma once
// Turns a binary trace file (Rapidlog.h) back into text, one line per trace record, in file order:
//
//   +0.000123456 timer handleInitialized 12345ns
//   +0.000200000 text QuillP2mpLfibGenSmManager 8 handleDelete()
//   +0.000200000 text QuillP2mpLfibGenSmManager 8 aaaaaaaa [truncated]
//   +1.250000000 dropped 17 records
//
// The time is seconds since the file started with nine decimals: a timer's start (negative when
// the block began before the file did), a text record's write time, the close time of a drop
// count. A timer record is written when its block ends, so an enclosing block follows the blocks
// it contains. Name definitions are folded into the lines that use them. Text and names are
// escaped so that every record stays on one line: backslash, and control bytes as \n, \t, \r or
// \xHH. The format is deterministic: equal files give equal lines.
//
// Input that is not a well-formed trace throws `DecodeError` naming the byte offset of the header
// field or record at fault; no lines are returned then.
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Rapidlog {

class DecodeError : public std::runtime_error {
 public:
  // "rapidlog decode error at offset OFFSET: WHAT"
  DecodeError(std::size_t offset, const std::string& what);
  std::size_t offset() const { return offset_; }

 private:
  std::size_t offset_;
};

// The file header: who wrote the file and with which initialisation arguments.
struct FileHeader {
  uint16_t version = 0;
  uint32_t pid = 0;
  uint64_t startWallNs = 0;  // ns since the Unix epoch
  uint64_t sizeLimit = 0;
  uint32_t rotations = 0;
  uint32_t maxRecordBytes = 0;
  uint8_t bufferSizeLog2 = 0;
  uint8_t multithreadingMode = 0;
  bool flushAtExit = false;

  friend bool operator==(const FileHeader&, const FileHeader&) = default;
};

FileHeader decodeHeader(std::string_view bytes);

// The record lines of a whole file held in memory.
std::vector<std::string> decode(std::string_view bytes);

// Reads `path` and decodes it. Throws std::system_error when the file cannot be read.
std::vector<std::string> decodeFile(const std::string& path);

}  // namespace Rapidlog
