#pragma once
// The attribute log stream: the framework's compact binary serialisation of values.
//
// Value types write themselves with `logTo(AttrLogWriter&)` and read themselves back with a
// constructor from `AttrLogReader&`. Integers are little-endian and fixed-width; byte strings
// carry a 32-bit length. The binary tracer stores record arguments in this form, so that no text
// is formatted while tracing.
//
// Reading past the end, or a length that does not fit what is left, throws `Vox::LogStreamError`
// naming the offset; a reader never returns half a value.
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Vox {

class LogStreamError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class AttrLogWriter {
 public:
  explicit AttrLogWriter(std::string& out) : out_(out) {}

  AttrLogWriter& u8(uint8_t v) {
    out_.push_back(static_cast<char>(v));
    return *this;
  }
  AttrLogWriter& u16(uint16_t v) { return little(v, 2); }
  AttrLogWriter& u32(uint32_t v) { return little(v, 4); }
  AttrLogWriter& u64(uint64_t v) { return little(v, 8); }
  AttrLogWriter& raw(const void* data, std::size_t size) {
    out_.append(static_cast<const char*>(data), size);
    return *this;
  }
  AttrLogWriter& bytes(std::string_view data) {
    u32(static_cast<uint32_t>(data.size()));
    out_.append(data);
    return *this;
  }
  std::size_t size() const { return out_.size(); }

 private:
  AttrLogWriter& little(uint64_t v, int width) {
    for (int i = 0; i < width; ++i)
      out_.push_back(static_cast<char>((v >> (8 * i)) & 0xff));
    return *this;
  }
  std::string& out_;
};

class AttrLogReader {
 public:
  explicit AttrLogReader(std::string_view in) : in_(in) {}

  uint8_t u8() { return static_cast<uint8_t>(little(1)); }
  uint16_t u16() { return static_cast<uint16_t>(little(2)); }
  uint32_t u32() { return static_cast<uint32_t>(little(4)); }
  uint64_t u64() { return little(8); }
  std::string_view raw(std::size_t size) {
    need(size);
    std::string_view v = in_.substr(pos_, size);
    pos_ += size;
    return v;
  }
  std::string_view bytes() { return raw(u32()); }

  std::size_t offset() const { return pos_; }
  std::size_t remaining() const { return in_.size() - pos_; }
  bool atEnd() const { return pos_ == in_.size(); }

 private:
  void need(std::size_t size) const {
    if (size > in_.size() - pos_) {
      throw LogStreamError("attribute log stream truncated at offset " + std::to_string(pos_) +
                           ": need " + std::to_string(size) + " bytes, " +
                           std::to_string(in_.size() - pos_) + " left");
    }
  }
  uint64_t little(int width) {
    need(static_cast<std::size_t>(width));
    uint64_t v = 0;
    for (int i = 0; i < width; ++i) {
      v |= uint64_t{static_cast<unsigned char>(in_[pos_ + static_cast<std::size_t>(i)])} << (8 * i);
    }
    pos_ += static_cast<std::size_t>(width);
    return v;
  }
  std::string_view in_;
  std::size_t pos_ = 0;
};

}  // namespace Vox
