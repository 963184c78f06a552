// The JSON writer's escaping and the generic entity rule: what makes `show TABLE json` lines
// valid, complete and independent of hash-table order.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/Values.h"
#include "tools/quill/EntityJson.h"
#include "tools/quill/JsonWriter.h"

namespace {

using QuillTest::v;
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

TEST(JsonWriterTest, PlacesCommasAtEveryLevel) {
  JsonWriter json;
  json.beginObject();
  json.key("a");
  json.beginArray();
  json.string("1");
  json.string("2");
  json.beginObject();
  json.endObject();
  json.beginArray();
  json.endArray();
  json.endArray();
  json.key("b");
  json.string("x");
  json.key("c");
  json.beginObject();
  json.key("d");
  json.string("");
  json.endObject();
  json.endObject();
  EXPECT_EQ(json.text(), R"({"a":["1","2",{},[]],"b":"x","c":{"d":""}})");
}

std::string jsonOf(const auto& entity) {
  JsonWriter json;
  QuillTool::writeEntity(json, entity);
  return json.text();
}

TEST(EntityJsonTest, SortsKeysAndMembersByTextWhateverTheInsertionOrder) {
  // Inserted in two orders; text order differs from value order ("10.x" < "9.x" as text).
  const std::vector<std::string> routers{"9.9.9.9:0", "10.0.0.1:0", "2.2.2.2:1", "2.2.2.2:0"};
  const std::vector<std::string> addrs{"9.0.0.1", "10.0.0.2", "10.0.0.10", "2001:db8::1"};
  std::string first;
  for (int reversed = 0; reversed < 2; ++reversed) {
    const auto coll = Vox::create<Mpls::RouterIpAddrInfoColl>();
    for (std::size_t i = 0; i < routers.size(); ++i) {
      const std::size_t r = reversed ? routers.size() - 1 - i : i;
      const auto entry = coll->routerIpAddrIs(v<Mpls::RouterId>(routers[r]));
      for (std::size_t j = 0; j < addrs.size(); ++j) {
        const std::size_t a = reversed ? addrs.size() - 1 - j : j;
        if ((r + a) % 2 == 0) entry->ipAddrIs(v<Vela::IpGenAddr>(addrs[a]));
      }
    }
    const std::string text = jsonOf(*coll);
    if (reversed) {
      EXPECT_EQ(text, first);
    } else {
      first = text;
    }
  }
  EXPECT_EQ(first, R"({"routerIpAddr":{"10.0.0.1:0":{"ipAddr":["10.0.0.2","2001:db8::1"]},)"
                   R"("2.2.2.2:0":{"ipAddr":["10.0.0.2","2001:db8::1"]},)"
                   R"("2.2.2.2:1":{"ipAddr":["10.0.0.10","9.0.0.1"]},)"
                   R"("9.9.9.9:0":{"ipAddr":["10.0.0.10","9.0.0.1"]}}})");
}

TEST(EntityJsonTest, WritesEveryAttributeEvenWhenEmptyInNameOrder) {
  const auto coll = Vox::create<Mpls::RouterNexthopInfoColl>();
  coll->routerNexthopIs(v<Mpls::RouterId>("2.2.2.2:0"));
  const auto full = coll->routerNexthopIs(v<Mpls::RouterId>("3.3.3.3:0"));
  const auto via = v<Mpls::FibVia>("10.0.13.2-Ethernet2");
  full->viaIs(via);
  full->nexthopIpInfoIs(via)->destIpIs(v<Vela::IpGenAddr>("3.3.3.3"));
  EXPECT_EQ(jsonOf(*coll),
            R"({"routerNexthop":{"2.2.2.2:0":{"nexthopIpInfo":{},"via":[]},)"
            R"("3.3.3.3:0":{"nexthopIpInfo":{"10.0.13.2-Ethernet2":{"destIp":["3.3.3.3"]}},)"
            R"("via":["10.0.13.2-Ethernet2"]}}})");
}

TEST(EntityJsonTest, WritesValueMapsAsTextAndLeavesTheChannelOut) {
  const auto table = Vox::create<Mpls::LabelBindingTable>(v<Mpls::RouterId>("2.2.2.2:0"));
  const auto fec = v<Mpls::FwdEqvClass>("p2mp/1.1.1.1/0100040000002a");
  table->filteredFecIs(fec, true);
  table->bindingIs(fec)->mplsLabelIs(Vela::MplsLabel(17));
  table->bindingIs(fec)->mplsLabelIs(Vela::MplsLabel(100));
  table->updateNotifier(fec, Vela::MplsLabel(17));
  EXPECT_EQ(jsonOf(*table),
            R"({"binding":{"p2mp/1.1.1.1/0100040000002a":{"mplsLabel":["100","17"]}},)"
            R"("filteredFec":{"p2mp/1.1.1.1/0100040000002a":"true"}})");

  const auto status = Vox::create<Routing::NexthopVrfStatus>();
  status->nexthopIs(
      v<Vela::IpGenAddr>("10.0.0.2"),
      Routing::NexthopStatusEntry(Brisk::Fib::FecId(7), Routing::RouteType::connected));
  EXPECT_EQ(jsonOf(*status), R"({"nexthop":{"10.0.0.2":"fec 7 type 11"}})");
}

}  // namespace
