#include "platform/rapidlog/RapidlogDecoder.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <system_error>
#include <unordered_map>

#include "platform/rapidlog/RapidlogFormat.h"

namespace Rapidlog {

DecodeError::DecodeError(std::size_t offset, const std::string& what)
    : std::runtime_error("rapidlog decode error at offset " + std::to_string(offset) + ": " + what),
      offset_(offset) {}

namespace {

// Reads fields of one header field or record; every error names where that item starts.
class Reader {
 public:
  explicit Reader(std::string_view in) : in_(in) {}

  // Starts a new item at the current position; errors from here on name `kind` and this offset.
  void begin(const char* kind) {
    start_ = pos_;
    kind_ = kind;
  }
  // Errors name `offset` (a header field) instead of the item's start.
  void at(std::size_t offset) { start_ = offset; }
  // Errors name the item `kind`, once its type is known.
  void kindIs(const char* kind) { kind_ = kind; }

  [[noreturn]] void fail(const std::string& what) const { throw DecodeError(start_, what); }

  uint64_t fixed(int width, const char* field) {
    need(static_cast<std::size_t>(width), field);
    uint64_t v = 0;
    for (int i = 0; i < width; ++i)
      v |= uint64_t{byteAt(pos_ + static_cast<std::size_t>(i))} << (8 * i);
    pos_ += static_cast<std::size_t>(width);
    return v;
  }

  uint64_t varint(const char* field) {
    uint64_t v = 0;
    for (int shift = 0;; shift += 7) {
      need(1, field);
      const uint8_t b = byteAt(pos_++);
      // The tenth byte may carry only the top bit of a 64-bit value.
      if (shift == 63 && b > 1) fail(std::string(kind_) + " has a malformed " + field);
      v |= uint64_t{b & 0x7fu} << shift;
      if ((b & 0x80) == 0) return v;
    }
  }

  std::string_view bytes(uint64_t size, const char* field) {
    need(size, field);
    const std::string_view v = in_.substr(pos_, static_cast<std::size_t>(size));
    pos_ += static_cast<std::size_t>(size);
    return v;
  }

  void seek(std::size_t pos) { pos_ = pos; }
  bool atEnd() const { return pos_ == in_.size(); }
  std::size_t size() const { return in_.size(); }
  const char* kind() const { return kind_; }

 private:
  void need(uint64_t size, const char* field) const {
    if (size > in_.size() - pos_) {
      fail(std::string(kind_) + " truncated in its " + field + " (needs " + std::to_string(size) +
           " bytes at offset " + std::to_string(pos_) + ", " + std::to_string(in_.size() - pos_) +
           " left)");
    }
  }
  uint8_t byteAt(std::size_t i) const { return static_cast<uint8_t>(in_[i]); }

  std::string_view in_;
  std::size_t pos_ = 0;
  std::size_t start_ = 0;
  const char* kind_ = "header";
};

FileHeader readHeader(Reader& r, uint16_t& headerBytes) {
  FileHeader h;
  r.begin("header");
  // A short input that is not a trace at all says so, rather than that it is truncated.
  const std::size_t present = std::min(r.size(), format::kMagic.size());
  if (r.bytes(present, "magic") != format::kMagic.substr(0, present)) {
    r.fail("not a rapidlog trace: bad magic");
  }
  r.seek(0);
  r.bytes(format::kHeaderBytes, "fields");
  r.seek(8);
  r.at(8);
  h.version = static_cast<uint16_t>(r.fixed(2, "version"));
  if (h.version != format::kFormatVersion) {
    r.fail("unsupported format version " + std::to_string(h.version) + " (this decoder reads " +
           std::to_string(format::kFormatVersion) + ")");
  }
  r.at(10);
  headerBytes = static_cast<uint16_t>(r.fixed(2, "header size"));
  if (headerBytes < format::kHeaderBytes) {
    r.fail("header size " + std::to_string(headerBytes) + " is below the minimum " +
           std::to_string(format::kHeaderBytes));
  }
  r.at(0);
  r.seek(0);
  r.bytes(headerBytes, "fields");  // the whole header is present before any field is read
  r.seek(12);
  h.pid = static_cast<uint32_t>(r.fixed(4, "pid"));
  h.startWallNs = r.fixed(8, "start time");
  h.sizeLimit = r.fixed(8, "size limit");
  h.rotations = static_cast<uint32_t>(r.fixed(4, "rotations"));
  h.maxRecordBytes = static_cast<uint32_t>(r.fixed(4, "record cap"));
  h.bufferSizeLog2 = static_cast<uint8_t>(r.fixed(1, "buffer size"));
  r.at(41);
  h.multithreadingMode = static_cast<uint8_t>(r.fixed(1, "multithreading mode"));
  if (h.multithreadingMode > 1) {
    r.fail("multithreading mode " + std::to_string(h.multithreadingMode) + " is not 0 or 1");
  }
  r.at(42);
  const auto flushAtExit = r.fixed(1, "flush-at-exit flag");
  if (flushAtExit > 1)
    r.fail("flush-at-exit flag " + std::to_string(flushAtExit) + " is not 0 or 1");
  h.flushAtExit = flushAtExit == 1;
  r.seek(headerBytes);
  return h;
}

std::string formatTime(int64_t ns) {
  const char sign = ns < 0 ? '-' : '+';
  const uint64_t magnitude =
      ns < 0 ? uint64_t{0} - static_cast<uint64_t>(ns) : static_cast<uint64_t>(ns);
  char text[32];
  std::snprintf(text, sizeof text, "%c%llu.%09llu", sign,
                static_cast<unsigned long long>(magnitude / 1000000000u),
                static_cast<unsigned long long>(magnitude % 1000000000u));
  return text;
}

void appendEscaped(std::string& out, std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  for (const char c : text) {
    const auto u = static_cast<unsigned char>(c);
    switch (c) {
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\t':
        out += "\\t";
        break;
      case '\r':
        out += "\\r";
        break;
      default:
        if (u < 0x20 || u == 0x7f) {
          out += "\\x";
          out += kHex[u >> 4];
          out += kHex[u & 0xf];
        } else {
          out += c;
        }
    }
  }
}

int64_t unzigzag(uint64_t v) {
  return static_cast<int64_t>(v >> 1) ^ -static_cast<int64_t>(v & 1);
}

}  // namespace

FileHeader decodeHeader(std::string_view bytes) {
  Reader r(bytes);
  uint16_t headerBytes = 0;
  return readHeader(r, headerBytes);
}

std::vector<std::string> decode(std::string_view bytes) {
  Reader r(bytes);
  uint16_t headerBytes = 0;
  const FileHeader header = readHeader(r, headerBytes);
  std::unordered_map<uint64_t, std::string> names;
  const auto nameOf = [&](uint64_t id) -> const std::string& {
    const auto it = names.find(id);
    if (it == names.end())
      r.fail(std::string(r.kind()) + " refers to undefined name id " + std::to_string(id));
    return it->second;
  };
  const auto checkLength = [&](uint64_t length, const char* what) {
    if (length > header.maxRecordBytes) {
      r.fail(std::string(what) + " length " + std::to_string(length) +
             " exceeds the file's record cap " + std::to_string(header.maxRecordBytes));
    }
  };

  std::vector<std::string> lines;
  while (!r.atEnd()) {
    r.begin("record");
    const auto type = static_cast<uint8_t>(r.fixed(1, "type"));
    std::string line;
    switch (type) {
      case format::kDefine: {
        r.kindIs("definition record");
        const uint64_t id = r.varint("id");
        const uint64_t length = r.varint("length");
        checkLength(length, "name");
        const std::string_view name = r.bytes(length, "name");
        if (!names.emplace(id, std::string(name)).second) {
          r.fail("name id " + std::to_string(id) + " is defined twice");
        }
        continue;
      }
      case format::kTimer: {
        r.kindIs("timer record");
        const uint64_t id = r.varint("name id");
        const int64_t start = unzigzag(r.varint("start time"));
        const uint64_t duration = r.varint("duration");
        line = formatTime(start) + " timer ";
        appendEscaped(line, nameOf(id));
        // Appended piece by piece: `" " + std::to_string(...)` trips GCC 12's -Wrestrict false
        // positive inside std::string at -O3.
        line += ' ';
        line += std::to_string(duration);
        line += "ns";
        break;
      }
      case format::kText: {
        r.kindIs("text record");
        const uint64_t id = r.varint("handle id");
        const auto level = r.fixed(1, "level");
        if (level > format::kMaxLevel) {
          r.fail("level " + std::to_string(level) + " is outside 0..9");
        }
        const uint64_t time = r.varint("time");
        const auto flags = r.fixed(1, "flags");
        if ((flags & ~uint64_t{format::kTextTruncated}) != 0) {
          r.fail("unknown text flags " + std::to_string(flags));
        }
        const uint64_t length = r.varint("length");
        checkLength(length, "text");
        const std::string_view text = r.bytes(length, "text");
        line = formatTime(static_cast<int64_t>(time)) + " text ";
        appendEscaped(line, nameOf(id));
        line += ' ';
        line += std::to_string(level);
        line += ' ';
        appendEscaped(line, text);
        if ((flags & format::kTextTruncated) != 0) line += " [truncated]";
        break;
      }
      case format::kDropped: {
        r.kindIs("drop-count record");
        const uint64_t time = r.varint("time");
        const uint64_t count = r.varint("count");
        line = formatTime(static_cast<int64_t>(time)) + " dropped " + std::to_string(count) +
               " records";
        break;
      }
      default:
        r.fail("unknown record type " + std::to_string(type));
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

std::vector<std::string> decodeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::system_error(errno, std::generic_category(), "cannot read " + path);
  const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  if (in.bad()) throw std::system_error(errno, std::generic_category(), "cannot read " + path);
  return decode(bytes);
}

}  // namespace Rapidlog
