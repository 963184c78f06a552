#pragma once
// A minimal JSON text builder for the tool's one-line table dumps.
//
// It writes exactly what it is told, in order, with commas placed for the caller: objects and
// arrays are opened and closed explicitly, and every string (key or value) is escaped the way
// RFC 8259 requires (quote, backslash and control characters; everything else, UTF-8 included,
// passes through). Ordering is the caller's business: the tool writes members in value order
// (labels numerically, addresses in address order), so that equal tables give equal lines.
//
//   QuillTool::JsonWriter json;
//   json.beginObject();
//   json.key("via");
//   json.beginArray();
//   json.string("10.0.12.2-Ethernet1");
//   json.endArray();
//   json.endObject();
//   json.text();   // {"via":["10.0.12.2-Ethernet1"]}
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace QuillTool {

class JsonWriter {
 public:
  void beginObject();
  void endObject();
  void beginArray();
  void endArray();
  // Precondition: directly inside an object, and the previous item was a value (or nothing).
  void key(std::string_view name);
  void string(std::string_view value);
  void number(uint64_t value);
  void boolean(bool value);
  void null();

  const std::string& text() const { return text_; }

  // `value` as a JSON string literal, quotes included.
  static std::string quoted(std::string_view value);

 private:
  // Writes the comma that separates this item from the previous one at the same level.
  void separate();

  std::string text_;
  // One entry per open object or array: whether an item was written at that level yet.
  std::vector<bool> hasItem_;
  bool afterKey_ = false;
};

}  // namespace QuillTool
