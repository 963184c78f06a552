// The JSON forms: the writer's escaping and structure, each value type's typed form, and the
// order of array members. The golden run of every table in JSON form, and its validation against
// docs/show-json.schema.json, cover each table's nesting as a whole.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "sim/Agent.h"
#include "tools/quill/JsonWriter.h"
#include "tools/quill/ScenarioRunner.h"
#include "tools/quill/TableView.h"
#include "tools/quill/ValueJson.h"

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

// Commas go between the items of one level only, whatever kind each item is.
TEST(JsonWriterTest, SeparatesItemsOfEveryKind) {
  JsonWriter json;
  json.beginObject();
  json.key("a");
  json.beginArray();
  json.number(0);
  json.number(18446744073709551615u);
  json.boolean(true);
  json.boolean(false);
  json.null();
  json.beginObject();
  json.endObject();
  json.beginArray();
  json.endArray();
  json.string("s");
  json.endArray();
  json.key("b");
  json.null();
  json.endObject();
  EXPECT_EQ(json.text(), R"({"a":[0,18446744073709551615,true,false,null,{},[],"s"],"b":null})");
}

// `value` as `write` writes it.
template <class Value>
std::string json(void (*write)(JsonWriter&, Value), std::remove_cvref_t<Value> value) {
  JsonWriter json;
  write(json, value);
  return json.text();
}

// Each value type's JSON form, written alone, at its edges (the common forms, a peer with label
// space 0 and a via on a named interface, are all over the golden JSON run).
TEST(ValueJsonTest, WritesEachValueTyped) {
  using Vela::MplsLabel;
  const auto fec = [](std::string_view text) { return Mpls::FwdEqvClass::sequenceToValue(text); };
  const auto via = [](std::string_view text) { return Mpls::FibVia::sequenceToValue(text); };
  const std::pair<std::string, std::string> cases[] = {
      {json(QuillTool::writeLabel, MplsLabel(0)), "0"},
      {json(QuillTool::writeLabel, MplsLabel(1048575)), "1048575"},
      {json(QuillTool::writeAnnouncedLabel, MplsLabel(16)), "16"},
      // No usable label.
      {json(QuillTool::writeAnnouncedLabel, MplsLabel(MplsLabel::kOutOfRange)), "null"},
      {json(QuillTool::writePeer, Mpls::RouterId(0xffffff01, 65535)),
       R"({"lsr-id":"255.255.255.1","label-space-id":65535})"},
      {json(QuillTool::writeFec, fec("p2mp/1.1.1.1/0100040000002A")),
       R"({"root-address":"1.1.1.1","opaque-value":"0100040000002a"})"},
      // An IPv6 root, and an opaque value kept apart.
      {json(QuillTool::writeFec, fec("p2mp/2001:db8::1/0100040000000701000400000008")),
       R"({"root-address":"2001:db8::1","opaque-value":"0100040000000701000400000008"})"},
      {json(QuillTool::writeFec, Mpls::FwdEqvClass()),
       R"({"root-address":"0.0.0.0","opaque-value":""})"},
      {json(QuillTool::writeVia, via("fe80::1-Ethernet3/1")),
       R"({"next-hop":"fe80::1","interface":"Ethernet3/1"})"},
      {json(QuillTool::writeVia, Mpls::FibVia()), R"({"next-hop":"0.0.0.0","interface":null})"},
  };
  for (const auto& [written, expected] : cases)
    EXPECT_EQ(written, expected);
}

// Arrays follow value order, which text order would break: 17 before 1000, 9.9.9.9 before
// 10.0.13.2, Ethernet2 before Ethernet10, label space 2 before 10.
TEST(TableJsonTest, ArraysAreInValueOrder) {
  constexpr const char* kScenario = R"(
mpls-intf add Ethernet10
mpls-intf add Ethernet2
route 10.0.13.0/30 connected Ethernet10
route 9.9.9.9/32 via 10.0.13.2 Ethernet10
transport 9.9.9.9:10 add 10.0.13.2
transport 9.9.9.9:2 add 9.9.9.9
local-binding p2mp/1.1.1.1/01000400000001 add 1000
local-binding p2mp/1.1.1.1/01000400000001 add 17
)";
  Sim::Agent agent;
  std::ostringstream out;
  std::ostringstream err;
  QuillTool::ScenarioRunner runner(agent, {}, out, err);
  std::istringstream in(kScenario);
  ASSERT_TRUE(runner.runStream(in, "order", true)) << err.str();

  struct Case {
    std::string table;
    std::string first;
    std::string second;
  };
  const std::vector<Case> cases{
      {"p2mpLocalLabelBindingTable", R"("labels":[17,1000])", ""},
      {"p2mpMplsIntfColl", R"("interfaces":["Ethernet2","Ethernet10"])", ""},
      {"p2mpIpAddrRouterIdInfoColl", R"("address":"9.9.9.9")", R"("address":"10.0.13.2")"},
      {"p2mpRouterTransportIpAddrInfoColl", R"("label-space-id":2})", R"("label-space-id":10})"},
  };
  for (const Case& c : cases) {
    std::ostringstream line;
    QuillTool::showTable(agent, c.table, true, line);
    const auto first = line.str().find(c.first);
    EXPECT_NE(first, std::string::npos) << c.table << ": " << line.str();
    if (!c.second.empty()) {
      const auto second = line.str().find(c.second);
      EXPECT_NE(second, std::string::npos) << c.table << ": " << line.str();
      EXPECT_LT(first, second) << c.table << ": " << line.str();
    }
  }
}

}  // namespace
