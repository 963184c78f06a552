// The JSON writer's escaping: what keeps `show TABLE json` lines valid whatever the texts hold.
// The golden run of every table in JSON form covers the entity rule: nesting, text order, empty
// attributes, value maps.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/quill/JsonWriter.h"

namespace {

using QuillTool::JsonWriter;

TEST(JsonWriterTest, EscapesWhatJsonRequires) {
  struct Case {
    std::string in;
    std::string out;
  };
  const std::vector<Case> cases{
      {"", R"("")"},
      {"plain 10.0.0.1-Ethernet1", R"("plain 10.0.0.1-Ethernet1")"},
      {"Value('Mpls::ViaLabel', ** {'via': x})", R"j("Value('Mpls::ViaLabel', ** {'via': x})")j"},
      {"say \"hi\"", R"("say \"hi\"")"},
      {"back\\slash", R"("back\\slash")"},
      {"tab\there", R"("tab\there")"},
      {"line\nbreak\r", R"("line\nbreak\r")"},
      {"\b\f", R"("\b\f")"},
      {std::string("nul\0byte", 8), R"("nul\u0000byte")"},
      {"\x01\x1f", R"("\u0001\u001f")"},
      {"\x7f", "\"\x7f\""},                // DEL needs no escape
      {"caf\xc3\xa9", "\"caf\xc3\xa9\""},  // UTF-8 passes through
      {"/", R"("/")"},                     // solidus may stay as it is
  };
  for (const Case& c : cases)
    EXPECT_EQ(JsonWriter::quoted(c.in), c.out) << "input of " << c.in.size() << " bytes";
}

}  // namespace
