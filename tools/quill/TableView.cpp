#include "tools/quill/TableView.h"

#include <algorithm>
#include <cstddef>
#include <functional>

#include "tools/quill/JsonWriter.h"
#include "tools/quill/TextForm.h"
#include "tools/quill/TextTable.h"
#include "tools/quill/ValueJson.h"

namespace QuillTool {

namespace {

// "1 route", "2 routes".
std::string count(std::size_t n, std::string_view one, std::string_view many) {
  return std::to_string(n) + " " + std::string(n == 1 ? one : many);
}

// The cell of an optional or empty value.
constexpr std::string_view kNone = "-";

std::string cell(std::string text) {
  return text.empty() ? std::string(kNone) : text;
}

template <class T>
std::string joined(const std::vector<T>& values) {
  std::string text;
  for (const T& value : values) {
    if (!text.empty()) text += ',';
    text += textOf(value);
  }
  return cell(text);
}

// Keys of an entity collection, in value order.
template <class Key, class Member>
std::vector<Key> sortedKeys(const Vox::EntityCollAttribute<Key, Member>& coll) {
  std::vector<Key> keys;
  keys.reserve(coll.size());
  for (auto it = coll.begin(); it != coll.end(); ++it)
    keys.push_back(it.key());
  std::sort(keys.begin(), keys.end());
  return keys;
}

template <class Key, class Value>
std::vector<Key> sortedKeys(const Vox::ValueMapAttribute<Key, Value>& map) {
  std::vector<Key> keys;
  keys.reserve(map.size());
  for (auto it = map.begin(); it != map.end(); ++it)
    keys.push_back(it.key());
  std::sort(keys.begin(), keys.end());
  return keys;
}

// A via as two cells, next hop then interface.
std::vector<std::string> viaCells(const Mpls::FibVia& via) {
  return {textOf(via.hop()), cell(textOf(via.intfId()))};
}

std::vector<std::string> concat(std::vector<std::string> head,
                                const std::vector<std::string>& tail) {
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

// One row per via of a router's next-hop entry: next hop, interface and the addresses that
// justify the via (empty when the writing stage keeps no justifications).
std::vector<std::vector<std::string>> viaRows(const Mpls::RouterNexthopInfo& info) {
  std::vector<Mpls::FibVia> vias = Vox::sortedValues(info.viaColl());
  // A via present only among the justifications would break the entity's invariant; show it
  // rather than hide it.
  for (auto it = info.nexthopIpInfoColl().begin(); it != info.nexthopIpInfoColl().end(); ++it) {
    if (!info.via(it.key())) vias.push_back(it.key());
  }
  std::sort(vias.begin(), vias.end());
  std::vector<std::vector<std::string>> rows;
  for (const Mpls::FibVia& via : vias) {
    const auto justification = info.nexthopIpInfo(via);
    rows.push_back(concat(viaCells(via),
                          {justification ? joined(Vox::sortedValues(justification->destIpColl()))
                                         : std::string(kNone)}));
  }
  if (rows.empty()) rows.push_back({std::string(kNone), std::string(kNone), std::string(kNone)});
  return rows;
}

const std::vector<std::string> kViaHeader{"NEXT HOP", "INTERFACE", "JUSTIFIED BY"};

void printTitled(std::ostream& out, std::string_view name, const std::string& summary,
                 const TextTable& table) {
  out << name << ": " << summary << '\n';
  table.print(out);
  out << '\n';
}

void human(const Mpls::LabelForwardingInfoColl& lfib, std::string_view name, std::ostream& out) {
  TextTable table({"LOCAL LABEL", "NEXT HOP", "INTERFACE", "OUT LABEL", "FEC", "PEER"});
  std::size_t branches = 0;
  for (const Vela::MplsLabel& label : sortedKeys(lfib.labelForwardingColl())) {
    const auto entry = lfib.labelForwarding(label);
    // ViaLabel orders by via, then label: branches read grouped by next hop.
    for (const Mpls::ViaLabel& branch : sortedKeys(entry->forwardingInfoColl())) {
      ++branches;
      const auto info = entry->forwardingInfo(branch);
      const std::vector<std::string> head =
          concat(concat({textOf(label)}, viaCells(branch.via())), {textOf(branch.label())});
      const std::vector<Mpls::FecRouter> reasons = Vox::sortedValues(info->fecRouterColl());
      if (reasons.empty()) table.rowIs(concat(head, {std::string(kNone), std::string(kNone)}));
      for (const Mpls::FecRouter& reason : reasons)
        table.rowIs(concat(head, {textOf(reason.fwdEqvClass()), textOf(reason.routerId())}));
    }
  }
  printTitled(out, name,
              count(lfib.labelForwardings(), "local label", "local labels") + ", " +
                  count(branches, "branch", "branches"),
              table);
}

// FEC, label and filtered flag rows of one label binding table, after `lead` cells.
void bindingRows(const Mpls::LabelBindingTable& table, const std::vector<std::string>& lead,
                 TextTable& out) {
  std::vector<Mpls::FwdEqvClass> fecs = sortedKeys(table.bindingColl());
  for (const Mpls::FwdEqvClass& fec : sortedKeys(table.filteredFecColl())) {
    if (!table.binding(fec)) fecs.push_back(fec);
  }
  std::sort(fecs.begin(), fecs.end());
  if (fecs.empty() && !lead.empty()) {
    out.rowIs(concat(lead, {std::string(kNone), std::string(kNone), std::string(kNone)}));
  }
  for (const Mpls::FwdEqvClass& fec : fecs) {
    const bool* filtered = table.filteredFec(fec);
    const std::string filteredText = filtered ? textOf(*filtered) : std::string(kNone);
    const auto binding = table.binding(fec);
    const std::vector<Vela::MplsLabel> labels =
        binding ? Vox::sortedValues(binding->mplsLabelColl()) : std::vector<Vela::MplsLabel>{};
    if (labels.empty()) {
      out.rowIs(concat(lead, {textOf(fec), std::string(kNone), filteredText}));
    }
    for (const Vela::MplsLabel& label : labels)
      out.rowIs(concat(lead, {textOf(fec), textOf(label), filteredText}));
  }
}

void human(const Mpls::LabelBindingTable& coll, std::string_view name, std::ostream& out) {
  TextTable table({"FEC", "LOCAL LABEL", "FILTERED"});
  bindingRows(coll, {}, table);
  printTitled(out, name, count(coll.bindings(), "binding", "bindings"), table);
}

void human(const Mpls::LabelBindingTableColl& coll, std::string_view name, std::ostream& out) {
  TextTable table({"PEER", "FEC", "PEER LABEL", "FILTERED"});
  for (const Mpls::RouterId& routerId : sortedKeys(coll.bindingTableColl()))
    bindingRows(*coll.bindingTable(routerId), {textOf(routerId)}, table);
  printTitled(out, name, count(coll.bindingTables(), "peer table", "peer tables"), table);
}

void human(const Mpls::FecRouterLabelInfoColl& coll, std::string_view name, std::ostream& out) {
  TextTable table({"FEC", "PEER", "PEER LABEL"});
  for (const Mpls::FwdEqvClass& fec : sortedKeys(coll.fecRouterLabelColl())) {
    const auto perFec = coll.fecRouterLabel(fec);
    for (const Mpls::RouterId& routerId : sortedKeys(perFec->routerLabelInfoColl())) {
      const std::string labels =
          joined(Vox::sortedValues(perFec->routerLabelInfo(routerId)->routerLabelColl()));
      table.rowIs({textOf(fec), textOf(routerId), labels});
    }
  }
  printTitled(out, name, count(coll.fecRouterLabels(), "FEC", "FECs"), table);
}

// Router -> address sets (transport or interface addresses).
void human(const Mpls::RouterIpAddrInfoColl& coll, std::string_view name, std::ostream& out) {
  TextTable table({"ROUTER", "ADDRESS"});
  for (const Mpls::RouterId& routerId : sortedKeys(coll.routerIpAddrColl())) {
    const std::vector<Vela::IpGenAddr> addresses =
        Vox::sortedValues(coll.routerIpAddr(routerId)->ipAddrColl());
    if (addresses.empty()) table.rowIs({textOf(routerId), std::string(kNone)});
    for (const Vela::IpGenAddr& address : addresses)
      table.rowIs({textOf(routerId), textOf(address)});
  }
  printTitled(out, name, count(coll.routerIpAddrs(), "router", "routers"), table);
}

void human(const Mpls::IpAddrRouterIdInfoColl& coll, std::string_view name, std::ostream& out) {
  TextTable table({"ADDRESS", "ROUTER"});
  for (const Vela::IpGenAddr& address : sortedKeys(coll.ipAddrRouterIdColl())) {
    const std::vector<Mpls::RouterId> routers =
        Vox::sortedValues(coll.ipAddrRouterId(address)->routerIdColl());
    if (routers.empty()) table.rowIs({textOf(address), std::string(kNone)});
    for (const Mpls::RouterId& routerId : routers)
      table.rowIs({textOf(address), textOf(routerId)});
  }
  printTitled(out, name, count(coll.ipAddrRouterIds(), "address", "addresses"), table);
}

// Rows of "lead cells, next hop, interface" for a via set.
void viaSetRows(const Vox::KeyedSet<Mpls::FibVia>& vias, const std::vector<std::string>& lead,
                TextTable& table) {
  const std::vector<Mpls::FibVia> sortedVias = Vox::sortedValues(vias);
  if (sortedVias.empty()) table.rowIs(concat(lead, {std::string(kNone), std::string(kNone)}));
  for (const Mpls::FibVia& via : sortedVias)
    table.rowIs(concat(lead, viaCells(via)));
}

void human(const Mpls::IpNexthopInfoColl& coll, std::string_view name, std::ostream& out) {
  TextTable table({"ADDRESS", "NEXT HOP", "INTERFACE"});
  for (const Vela::IpGenAddr& address : sortedKeys(coll.ipNexthopColl()))
    viaSetRows(coll.ipNexthop(address)->viaColl(), {textOf(address)}, table);
  printTitled(out, name, count(coll.ipNexthops(), "address", "addresses"), table);
}

void human(const Mpls::RouterNexthopInfoColl& coll, std::string_view name, std::ostream& out) {
  TextTable table(concat({"ROUTER"}, kViaHeader));
  for (const Mpls::RouterId& routerId : sortedKeys(coll.routerNexthopColl())) {
    for (auto& row : viaRows(*coll.routerNexthop(routerId)))
      table.rowIs(concat({textOf(routerId)}, row));
  }
  printTitled(out, name, count(coll.routerNexthops(), "router", "routers"), table);
}

void human(const Mpls::IntfRouterNexthopInfoColl& coll, std::string_view name, std::ostream& out) {
  TextTable table(concat({"OUT INTF", "ROUTER"}, kViaHeader));
  for (const Vela::IntfId& intf : sortedKeys(coll.intfRouterNexthopColl())) {
    const auto perIntf = coll.intfRouterNexthop(intf);
    const auto routers = sortedKeys(perIntf->routerNexthopInfoColl());
    if (routers.empty()) {
      table.rowIs(concat({cell(textOf(intf)), std::string(kNone)},
                         {std::string(kNone), std::string(kNone), std::string(kNone)}));
    }
    for (const Mpls::RouterId& routerId : routers) {
      for (auto& row : viaRows(*perIntf->routerNexthopInfo(routerId)))
        table.rowIs(concat({cell(textOf(intf)), textOf(routerId)}, row));
    }
  }
  printTitled(out, name, count(coll.intfRouterNexthops(), "interface", "interfaces"), table);
}

void human(const Mpls::MplsIntfColl& coll, std::string_view name, std::ostream& out) {
  TextTable table({"INTERFACE"});
  for (const Vela::IntfId& intf : Vox::sortedValues(coll.intfIdColl()))
    table.rowIs({cell(textOf(intf))});
  printTitled(out, name, count(coll.intfIds(), "interface", "interfaces"), table);
}

void human(const Mpls::RouterIpNexthopInfoColl& coll, std::string_view name, std::ostream& out) {
  TextTable table({"ROUTER", "HOP ADDRESS", "NEXT HOP", "INTERFACE"});
  for (const Mpls::RouterId& routerId : sortedKeys(coll.routerIpNexthopColl())) {
    const auto perRouter = coll.routerIpNexthop(routerId);
    const auto hops = sortedKeys(perRouter->ipNexthopInfoColl());
    if (hops.empty()) {
      table.rowIs({textOf(routerId), std::string(kNone), std::string(kNone), std::string(kNone)});
    }
    for (const Vela::IpGenAddr& hop : hops) {
      viaSetRows(perRouter->ipNexthopInfo(hop)->viaColl(), {textOf(routerId), textOf(hop)}, table);
    }
  }
  printTitled(out, name, count(coll.routerIpNexthops(), "router", "routers"), table);
}

void human(const Mpls::FecRouterNexthopInfoColl& coll, std::string_view name, std::ostream& out) {
  TextTable table(concat({"FEC", "PEER"}, kViaHeader));
  for (const Mpls::FwdEqvClass& fec : sortedKeys(coll.fecRouterNexthopColl())) {
    const auto perFec = coll.fecRouterNexthop(fec);
    for (const Mpls::RouterId& routerId : sortedKeys(perFec->routerNexthopInfoColl())) {
      for (auto& row : viaRows(*perFec->routerNexthopInfo(routerId)))
        table.rowIs(concat({textOf(fec), textOf(routerId)}, row));
    }
  }
  printTitled(out, name, count(coll.fecRouterNexthops(), "FEC", "FECs"), table);
}

void humanNexthopConfig(const Sim::Agent& agent, std::string_view name, std::ostream& out) {
  TextTable table({"ADDRESS", "DEFAULT ROUTE"});
  const auto& config = *agent.nexthopConfig();
  for (const Vela::IpGenAddr& address : sortedKeys(config.nexthopColl())) {
    table.rowIs({textOf(address),
                 config.nexthop(address)->allowDefaultRoute() ? "allowed" : "not allowed"});
  }
  printTitled(out, name, count(config.nexthops(), "request", "requests"), table);
}

std::string routeTypeText(Routing::RouteType type) {
  switch (type) {
    case Routing::RouteType::none:
      return "none";
    case Routing::RouteType::staticRoute:
      return "static";
    case Routing::RouteType::ospf:
      return "ospf";
    case Routing::RouteType::isis:
      return "isis";
    case Routing::RouteType::bgp:
      return "bgp";
    case Routing::RouteType::connected:
      return "connected";
  }
  return std::to_string(static_cast<unsigned>(type));
}

void humanNexthopStatus(const Sim::Agent& agent, std::string_view name, std::ostream& out) {
  TextTable table({"ADDRESS", "ROUTE", "ROUTE TYPE", "FIB FEC"});
  const auto& status = *agent.nexthopStatus();
  const auto& answers = agent.resolution().answers();
  for (const Vela::IpGenAddr& address : sortedKeys(status.nexthopColl())) {
    const Routing::NexthopStatusEntry& entry = *status.nexthop(address);
    const auto answer = answers.find(address);
    table.rowIs({textOf(address),
                 answer == answers.end() ? std::string(kNone) : textOf(answer->second),
                 routeTypeText(entry.routeType()), textOf(entry.fecId())});
  }
  printTitled(out, name, count(status.nexthops(), "answer", "answers"), table);
}

std::string notifiedLabelText(Vela::MplsLabel label) {
  // The publisher's way of saying "no usable label".
  return label.value() == Vela::MplsLabel::kOutOfRange ? "none" : textOf(label);
}

void humanNotifier(const Mpls::LabelBindingTableColl& tables, std::string_view name,
                   std::ostream& out) {
  TextTable table({"PEER", "FEC", "LAST LABEL"});
  for (const Mpls::RouterId& routerId : sortedKeys(tables.bindingTableColl())) {
    const auto& channel = tables.bindingTable(routerId)->notifierColl();
    for (const Mpls::FwdEqvClass& fec : sortedKeys(channel))
      table.rowIs({textOf(routerId), textOf(fec), notifiedLabelText(*channel.find(fec))});
  }
  printTitled(out, name, count(tables.bindingTables(), "peer table", "peer tables"), table);
}

// The JSON forms. Every table prints one object: "table", the name it was shown by, then its
// content as arrays of objects that nest as the collection's entities do. Arrays are in value
// order, as the human rows are. docs/show-json.schema.json describes every table's shape.

// The member `name`: an array of `items`, each written by `each`.
template <class Items, class Each>
void jsonArray(JsonWriter& json, std::string_view name, const Items& items, Each each) {
  json.key(name);
  json.beginArray();
  for (const auto& item : items)
    each(item);
  json.endArray();
}

void jsonLabels(JsonWriter& json, const Vox::KeyedSet<Vela::MplsLabel>& labels) {
  jsonArray(json, "labels", Vox::sortedValues(labels),
            [&](const Vela::MplsLabel& label) { writeLabel(json, label); });
}

void jsonAddresses(JsonWriter& json, const Vox::KeyedSet<Vela::IpGenAddr>& addresses) {
  jsonArray(json, "addresses", Vox::sortedValues(addresses),
            [&](const Vela::IpGenAddr& address) { writeAddress(json, address); });
}

void jsonVias(JsonWriter& json, const Vox::KeyedSet<Mpls::FibVia>& vias) {
  jsonArray(json, "next-hops", Vox::sortedValues(vias),
            [&](const Mpls::FibVia& via) { writeVia(json, via); });
}

void json(const Mpls::LabelForwardingInfoColl& lfib, JsonWriter& json) {
  jsonArray(json, "local-labels", sortedKeys(lfib.labelForwardingColl()),
            [&](const Vela::MplsLabel& label) {
              const auto entry = lfib.labelForwarding(label);
              json.beginObject();
              json.key("local-label");
              writeLabel(json, label);
              jsonArray(json, "branches", sortedKeys(entry->forwardingInfoColl()),
                        [&](const Mpls::ViaLabel& branch) {
                          json.beginObject();
                          writeViaMembers(json, branch.via());
                          json.key("out-label");
                          writeLabel(json, branch.label());
                          jsonArray(
                              json, "justifications",
                              Vox::sortedValues(entry->forwardingInfo(branch)->fecRouterColl()),
                              [&](const Mpls::FecRouter& reason) {
                                json.beginObject();
                                json.key("fec");
                                writeFec(json, reason.fwdEqvClass());
                                json.key("peer");
                                writePeer(json, reason.routerId());
                                json.endObject();
                              });
                          json.endObject();
                        });
              json.endObject();
            });
}

// The members of one label binding table: its FECs' labels, then its filtered FECs.
void jsonBindingMembers(const Mpls::LabelBindingTable& table, JsonWriter& json) {
  jsonArray(json, "bindings", sortedKeys(table.bindingColl()), [&](const Mpls::FwdEqvClass& fec) {
    json.beginObject();
    json.key("fec");
    writeFec(json, fec);
    jsonLabels(json, table.binding(fec)->mplsLabelColl());
    json.endObject();
  });
  jsonArray(json, "filtered-fecs", sortedKeys(table.filteredFecColl()),
            [&](const Mpls::FwdEqvClass& fec) {
              json.beginObject();
              json.key("fec");
              writeFec(json, fec);
              json.key("filtered");
              json.boolean(*table.filteredFec(fec));
              json.endObject();
            });
}

void json(const Mpls::LabelBindingTable& coll, JsonWriter& json) {
  jsonBindingMembers(coll, json);
}

void json(const Mpls::LabelBindingTableColl& coll, JsonWriter& json) {
  const auto& tables = coll;
  jsonArray(json, "peers", sortedKeys(tables.bindingTableColl()),
            [&](const Mpls::RouterId& routerId) {
              json.beginObject();
              json.key("peer");
              writePeer(json, routerId);
              jsonBindingMembers(*tables.bindingTable(routerId), json);
              json.endObject();
            });
}

void json(const Mpls::FecRouterLabelInfoColl& coll, JsonWriter& json) {
  jsonArray(json, "fecs", sortedKeys(coll.fecRouterLabelColl()), [&](const Mpls::FwdEqvClass& fec) {
    const auto perFec = coll.fecRouterLabel(fec);
    json.beginObject();
    json.key("fec");
    writeFec(json, fec);
    jsonArray(json, "peers", sortedKeys(perFec->routerLabelInfoColl()),
              [&](const Mpls::RouterId& routerId) {
                json.beginObject();
                json.key("peer");
                writePeer(json, routerId);
                jsonLabels(json, perFec->routerLabelInfo(routerId)->routerLabelColl());
                json.endObject();
              });
    json.endObject();
  });
}

void json(const Mpls::RouterIpAddrInfoColl& coll, JsonWriter& json) {
  jsonArray(json, "peers", sortedKeys(coll.routerIpAddrColl()),
            [&](const Mpls::RouterId& routerId) {
              json.beginObject();
              json.key("peer");
              writePeer(json, routerId);
              jsonAddresses(json, coll.routerIpAddr(routerId)->ipAddrColl());
              json.endObject();
            });
}

void json(const Mpls::IpAddrRouterIdInfoColl& coll, JsonWriter& json) {
  jsonArray(json, "addresses", sortedKeys(coll.ipAddrRouterIdColl()),
            [&](const Vela::IpGenAddr& address) {
              json.beginObject();
              json.key("address");
              writeAddress(json, address);
              jsonArray(json, "peers",
                        Vox::sortedValues(coll.ipAddrRouterId(address)->routerIdColl()),
                        [&](const Mpls::RouterId& routerId) { writePeer(json, routerId); });
              json.endObject();
            });
}

void json(const Mpls::IpNexthopInfoColl& coll, JsonWriter& json) {
  jsonArray(json, "addresses", sortedKeys(coll.ipNexthopColl()),
            [&](const Vela::IpGenAddr& address) {
              json.beginObject();
              json.key("address");
              writeAddress(json, address);
              jsonVias(json, coll.ipNexthop(address)->viaColl());
              json.endObject();
            });
}

// A peer's next hops, then the destination addresses that justify each of them (kept only by
// the hand-written router next-hop stage; an empty array otherwise).
void jsonRouterNexthopMembers(const Mpls::RouterNexthopInfo& info, JsonWriter& json) {
  jsonVias(json, info.viaColl());
  jsonArray(json, "next-hop-justifications", sortedKeys(info.nexthopIpInfoColl()),
            [&](const Mpls::FibVia& via) {
              json.beginObject();
              writeViaMembers(json, via);
              jsonAddresses(json, info.nexthopIpInfo(via)->destIpColl());
              json.endObject();
            });
}

void json(const Mpls::RouterNexthopInfoColl& coll, JsonWriter& json) {
  jsonArray(json, "peers", sortedKeys(coll.routerNexthopColl()),
            [&](const Mpls::RouterId& routerId) {
              json.beginObject();
              json.key("peer");
              writePeer(json, routerId);
              jsonRouterNexthopMembers(*coll.routerNexthop(routerId), json);
              json.endObject();
            });
}

void json(const Mpls::IntfRouterNexthopInfoColl& coll, JsonWriter& json) {
  jsonArray(json, "interfaces", sortedKeys(coll.intfRouterNexthopColl()),
            [&](const Vela::IntfId& intf) {
              const auto perIntf = coll.intfRouterNexthop(intf);
              json.beginObject();
              json.key("interface");
              writeInterface(json, intf);
              jsonArray(json, "peers", sortedKeys(perIntf->routerNexthopInfoColl()),
                        [&](const Mpls::RouterId& routerId) {
                          json.beginObject();
                          json.key("peer");
                          writePeer(json, routerId);
                          jsonRouterNexthopMembers(*perIntf->routerNexthopInfo(routerId), json);
                          json.endObject();
                        });
              json.endObject();
            });
}

void json(const Mpls::MplsIntfColl& coll, JsonWriter& json) {
  jsonArray(json, "interfaces", Vox::sortedValues(coll.intfIdColl()),
            [&](const Vela::IntfId& intf) { writeInterface(json, intf); });
}

void json(const Mpls::RouterIpNexthopInfoColl& coll, JsonWriter& json) {
  jsonArray(json, "peers", sortedKeys(coll.routerIpNexthopColl()),
            [&](const Mpls::RouterId& routerId) {
              const auto perRouter = coll.routerIpNexthop(routerId);
              json.beginObject();
              json.key("peer");
              writePeer(json, routerId);
              jsonArray(json, "hop-addresses", sortedKeys(perRouter->ipNexthopInfoColl()),
                        [&](const Vela::IpGenAddr& hop) {
                          json.beginObject();
                          json.key("address");
                          writeAddress(json, hop);
                          jsonVias(json, perRouter->ipNexthopInfo(hop)->viaColl());
                          json.endObject();
                        });
              json.endObject();
            });
}

void json(const Mpls::FecRouterNexthopInfoColl& coll, JsonWriter& json) {
  jsonArray(json, "fecs", sortedKeys(coll.fecRouterNexthopColl()),
            [&](const Mpls::FwdEqvClass& fec) {
              const auto perFec = coll.fecRouterNexthop(fec);
              json.beginObject();
              json.key("fec");
              writeFec(json, fec);
              jsonArray(json, "peers", sortedKeys(perFec->routerNexthopInfoColl()),
                        [&](const Mpls::RouterId& routerId) {
                          json.beginObject();
                          json.key("peer");
                          writePeer(json, routerId);
                          jsonRouterNexthopMembers(*perFec->routerNexthopInfo(routerId), json);
                          json.endObject();
                        });
              json.endObject();
            });
}

void jsonNexthopConfig(const Sim::Agent& agent, JsonWriter& json) {
  const auto& config = *agent.nexthopConfig();
  jsonArray(json, "requests", sortedKeys(config.nexthopColl()),
            [&](const Vela::IpGenAddr& address) {
              json.beginObject();
              json.key("address");
              writeAddress(json, address);
              json.key("allow-default-route");
              json.boolean(config.nexthop(address)->allowDefaultRoute());
              json.endObject();
            });
}

void jsonNexthopStatus(const Sim::Agent& agent, JsonWriter& json) {
  const auto& status = *agent.nexthopStatus();
  const auto& answers = agent.resolution().answers();
  jsonArray(json, "answers", sortedKeys(status.nexthopColl()), [&](const Vela::IpGenAddr& address) {
    const Routing::NexthopStatusEntry& entry = *status.nexthop(address);
    const auto answer = answers.find(address);
    json.beginObject();
    json.key("address");
    writeAddress(json, address);
    json.key("route");
    if (answer == answers.end()) {
      json.null();
    } else {
      json.string(textOf(answer->second));
    }
    json.key("route-type");
    json.string(routeTypeText(entry.routeType()));
    json.key("fib-fec");
    json.number(entry.fecId().value());
    json.endObject();
  });
}

void jsonNotifier(const Mpls::LabelBindingTableColl& tables, JsonWriter& json) {
  jsonArray(json, "peers", sortedKeys(tables.bindingTableColl()),
            [&](const Mpls::RouterId& routerId) {
              const auto& channel = tables.bindingTable(routerId)->notifierColl();
              json.beginObject();
              json.key("peer");
              writePeer(json, routerId);
              jsonArray(json, "fecs", sortedKeys(channel), [&](const Mpls::FwdEqvClass& fec) {
                json.beginObject();
                json.key("fec");
                writeFec(json, fec);
                json.key("label");
                writeAnnouncedLabel(json, *channel.find(fec));
                json.endObject();
              });
              json.endObject();
            });
}

struct Table {
  std::string_view name;
  std::function<void(const Sim::Agent&, std::string_view, std::ostream&)> human;
  std::function<void(const Sim::Agent&, JsonWriter&)> json;
};

// One entry per collection the pipeline declares, under its attribute name, printed by the
// `human` and `json` overloads for its type.
Table collectionTable(std::string_view name, std::string_view collection) {
  return Table{name,
               [collection](const Sim::Agent& agent, std::string_view shown, std::ostream& out) {
                 agent.colls().forEachCollection([&](std::string_view each, const auto& coll) {
                   if (each == collection) human(*coll, shown, out);
                 });
               },
               [collection](const Sim::Agent& agent, JsonWriter& writer) {
                 agent.colls().forEachCollection([&](std::string_view each, const auto& coll) {
                   if (each == collection) json(*coll, writer);
                 });
               }};
}

void humanNotifierOf(const Sim::Agent& agent, std::string_view name, std::ostream& out) {
  humanNotifier(*agent.colls().peerTables, name, out);
}
void jsonNotifierOf(const Sim::Agent& agent, JsonWriter& json) {
  jsonNotifier(*agent.colls().peerTables, json);
}

const std::vector<Table>& tables() {
  static const std::vector<Table> kTables = [] {
    // The LFIB first under its short name, then every declared collection, then the simulated
    // host's tables.
    std::vector<Table> tables{collectionTable("lfib", "p2mpLabelForwardingInfoColl")};
    for (const std::string_view name : Mpls::P2mpLfibGenSmManager::collectionNames())
      tables.push_back(collectionTable(name, name));
    tables.push_back(Table{"nexthopConfig", &humanNexthopConfig, &jsonNexthopConfig});
    tables.push_back(Table{"nexthopStatus", &humanNexthopStatus, &jsonNexthopStatus});
    tables.push_back(Table{"notifier", &humanNotifierOf, &jsonNotifierOf});
    return tables;
  }();
  return kTables;
}

const Table* findTable(std::string_view name) {
  for (const Table& table : tables()) {
    if (table.name == name) return &table;
  }
  return nullptr;
}

}  // namespace

const std::vector<std::string_view>& tableNames() {
  static const std::vector<std::string_view> kNames = [] {
    std::vector<std::string_view> names;
    for (const Table& table : tables())
      names.push_back(table.name);
    return names;
  }();
  return kNames;
}

bool isTableName(std::string_view name) {
  return findTable(name) != nullptr;
}

std::string tableNameList() {
  std::string text;
  for (const std::string_view name : tableNames()) {
    if (!text.empty()) text += ", ";
    text += name;
  }
  return text;
}

void showTable(const Sim::Agent& agent, std::string_view name, bool json, std::ostream& out) {
  const Table* table = findTable(name);
  if (!table) return;
  if (json) {
    JsonWriter writer;
    writer.beginObject();
    writer.key("table");
    writer.string(name);
    table->json(agent, writer);
    writer.endObject();
    out << writer.text() << '\n';
  } else {
    table->human(agent, name, out);
  }
}

}  // namespace QuillTool
