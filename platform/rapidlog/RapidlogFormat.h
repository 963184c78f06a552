#pragma once
// The on-disk layout of a binary trace file, shared by the writer (Rapidlog.cpp) and the decoder
// (RapidlogDecoder.cpp) so that the two cannot drift apart.
//
// A file is a fixed header followed by records. All integers are little-endian; "varint" is an
// unsigned LEB128 number (7 bits per byte, low group first, high bit set on all but the last).
//
// Header (kHeaderBytes bytes; `headerBytes` lets a later version append fields that an older
// reader skips):
//   offset  0  magic        8 bytes  "RAPIDLOG"
//   offset  8  version      u16      kFormatVersion
//   offset 10  headerBytes  u16      size of this header
//   offset 12  pid          u32      process id of the writer
//   offset 16  startWallNs  u64      system clock at file start, ns since the Unix epoch
//   offset 24  sizeLimit    u64      the file size cap in bytes
//   offset 32  rotations    u32      rotated files kept (0: no rotation)
//   offset 36  maxRecord    u32      the cap on the text or name carried by one record
//   offset 40  bufferLog2   u8       log2 of the in-memory buffer size
//   offset 41  mtMode       u8       0 single writer thread, 1 writers serialised by a mutex
//   offset 42  flushAtExit  u8       0 or 1
//   offset 43  reserved     u8       0
//
// Records, each starting with its type byte. Times are steady-clock nanoseconds since the file
// started; names are interned: a definition record precedes the first record that refers to its
// id, and ids are only meaningful within one file.
//   kDefine   varint id, varint length, name bytes
//   kTimer    varint nameId, varint startNs, varint durationNs
//   kText     varint handleId, u8 level (0..9), varint timeNs, u8 flags, varint length, text bytes
//   kDropped  varint timeNs, varint count     (written when the file closes, if records were lost)
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Rapidlog::format {

inline constexpr std::string_view kMagic{"RAPIDLOG", 8};
inline constexpr uint16_t kFormatVersion = 1;
inline constexpr std::size_t kHeaderBytes = 44;

inline constexpr uint8_t kDefine = 1;
inline constexpr uint8_t kTimer = 2;
inline constexpr uint8_t kText = 3;
inline constexpr uint8_t kDropped = 4;

// Flags of a text record.
inline constexpr uint8_t kTextTruncated = 0x01;

inline constexpr int kMaxLevel = 9;
inline constexpr std::size_t kMaxVarintBytes = 10;

// Upper bounds of the fixed part of each record, for reserving room before encoding.
inline constexpr std::size_t kDefineOverhead = 1 + 5 + 5;
inline constexpr std::size_t kTimerBytes = 1 + 5 + 2 * kMaxVarintBytes;
inline constexpr std::size_t kTextOverhead = 1 + 5 + 1 + kMaxVarintBytes + 1 + 5;
inline constexpr std::size_t kDroppedBytes = 1 + 2 * kMaxVarintBytes;

// Appends `value` as a varint at `out`; returns the position after it.
inline char* putVarint(char* out, uint64_t value) {
  while (value >= 0x80) {
    *out++ = static_cast<char>((value & 0x7f) | 0x80);
    value >>= 7;
  }
  *out++ = static_cast<char>(value);
  return out;
}

}  // namespace Rapidlog::format
