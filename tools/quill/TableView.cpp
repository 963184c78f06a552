#include "tools/quill/TableView.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <tuple>

#include "tools/quill/EntityJson.h"
#include "tools/quill/TextTable.h"

namespace QuillTool {

namespace {

using Colls = Sim::PipelineCollections;

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
std::vector<T> sorted(const Vox::KeyedSet<T>& set) {
  std::vector<T> values;
  values.reserve(set.size());
  for (const T& value : set)
    values.push_back(value);
  std::sort(values.begin(), values.end());
  return values;
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
  std::vector<Mpls::FibVia> vias = sorted(info.viaColl());
  // A via present only among the justifications would break the entity's invariant; show it
  // rather than hide it.
  for (auto it = info.nexthopIpInfoColl().begin(); it != info.nexthopIpInfoColl().end(); ++it) {
    if (!info.via(it.key())) vias.push_back(it.key());
  }
  std::sort(vias.begin(), vias.end());
  std::vector<std::vector<std::string>> rows;
  for (const Mpls::FibVia& via : vias) {
    const auto justification = info.nexthopIpInfo(via);
    rows.push_back(
        concat(viaCells(via),
               {justification ? joined(sorted(justification->destIpColl())) : std::string(kNone)}));
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

void humanLfib(const Mpls::LabelForwardingInfoColl& lfib, std::string_view name,
               std::ostream& out) {
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
      const std::vector<Mpls::FecRouter> reasons = sorted(info->fecRouterColl());
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
        binding ? sorted(binding->mplsLabelColl()) : std::vector<Vela::MplsLabel>{};
    if (labels.empty()) {
      out.rowIs(concat(lead, {textOf(fec), std::string(kNone), filteredText}));
    }
    for (const Vela::MplsLabel& label : labels)
      out.rowIs(concat(lead, {textOf(fec), textOf(label), filteredText}));
  }
}

void humanLocalTable(const Colls& colls, std::string_view name, std::ostream& out) {
  TextTable table({"FEC", "LOCAL LABEL", "FILTERED"});
  bindingRows(*colls.localTable, {}, table);
  printTitled(out, name, count(colls.localTable->bindings(), "binding", "bindings"), table);
}

void humanPeerTables(const Colls& colls, std::string_view name, std::ostream& out) {
  TextTable table({"PEER", "FEC", "PEER LABEL", "FILTERED"});
  for (const Mpls::RouterId& routerId : sortedKeys(colls.peerTables->bindingTableColl()))
    bindingRows(*colls.peerTables->bindingTable(routerId), {textOf(routerId)}, table);
  printTitled(out, name, count(colls.peerTables->bindingTables(), "peer table", "peer tables"),
              table);
}

void humanFecRouterLabel(const Colls& colls, std::string_view name, std::ostream& out) {
  TextTable table({"FEC", "PEER", "PEER LABEL"});
  const auto& coll = *colls.fecRouterLabel;
  for (const Mpls::FwdEqvClass& fec : sortedKeys(coll.fecRouterLabelColl())) {
    const auto perFec = coll.fecRouterLabel(fec);
    for (const Mpls::RouterId& routerId : sortedKeys(perFec->routerLabelInfoColl())) {
      const std::string labels =
          joined(sorted(perFec->routerLabelInfo(routerId)->routerLabelColl()));
      table.rowIs({textOf(fec), textOf(routerId), labels});
    }
  }
  printTitled(out, name, count(coll.fecRouterLabels(), "FEC", "FECs"), table);
}

// Router -> address sets (transport or interface addresses).
void humanRouterAddrs(const Mpls::RouterIpAddrInfoColl& coll, std::string_view name,
                      std::ostream& out) {
  TextTable table({"ROUTER", "ADDRESS"});
  for (const Mpls::RouterId& routerId : sortedKeys(coll.routerIpAddrColl())) {
    const std::vector<Vela::IpGenAddr> addresses =
        sorted(coll.routerIpAddr(routerId)->ipAddrColl());
    if (addresses.empty()) table.rowIs({textOf(routerId), std::string(kNone)});
    for (const Vela::IpGenAddr& address : addresses)
      table.rowIs({textOf(routerId), textOf(address)});
  }
  printTitled(out, name, count(coll.routerIpAddrs(), "router", "routers"), table);
}

void humanIpAddrRouterId(const Colls& colls, std::string_view name, std::ostream& out) {
  TextTable table({"ADDRESS", "ROUTER"});
  const auto& coll = *colls.ipAddrRouterId;
  for (const Vela::IpGenAddr& address : sortedKeys(coll.ipAddrRouterIdColl())) {
    const std::vector<Mpls::RouterId> routers =
        sorted(coll.ipAddrRouterId(address)->routerIdColl());
    if (routers.empty()) table.rowIs({textOf(address), std::string(kNone)});
    for (const Mpls::RouterId& routerId : routers)
      table.rowIs({textOf(address), textOf(routerId)});
  }
  printTitled(out, name, count(coll.ipAddrRouterIds(), "address", "addresses"), table);
}

// Rows of "lead cells, next hop, interface" for a via set.
void viaSetRows(const Vox::KeyedSet<Mpls::FibVia>& vias, const std::vector<std::string>& lead,
                TextTable& table) {
  const std::vector<Mpls::FibVia> sortedVias = sorted(vias);
  if (sortedVias.empty()) table.rowIs(concat(lead, {std::string(kNone), std::string(kNone)}));
  for (const Mpls::FibVia& via : sortedVias)
    table.rowIs(concat(lead, viaCells(via)));
}

void humanIpNexthop(const Colls& colls, std::string_view name, std::ostream& out) {
  TextTable table({"ADDRESS", "NEXT HOP", "INTERFACE"});
  const auto& coll = *colls.ipNexthop;
  for (const Vela::IpGenAddr& address : sortedKeys(coll.ipNexthopColl()))
    viaSetRows(coll.ipNexthop(address)->viaColl(), {textOf(address)}, table);
  printTitled(out, name, count(coll.ipNexthops(), "address", "addresses"), table);
}

void humanRouterNexthop(const Mpls::RouterNexthopInfoColl& coll, std::string_view name,
                        std::ostream& out) {
  TextTable table(concat({"ROUTER"}, kViaHeader));
  for (const Mpls::RouterId& routerId : sortedKeys(coll.routerNexthopColl())) {
    for (auto& row : viaRows(*coll.routerNexthop(routerId)))
      table.rowIs(concat({textOf(routerId)}, row));
  }
  printTitled(out, name, count(coll.routerNexthops(), "router", "routers"), table);
}

void humanIntfRouterNexthop(const Colls& colls, std::string_view name, std::ostream& out) {
  TextTable table(concat({"OUT INTF", "ROUTER"}, kViaHeader));
  const auto& coll = *colls.intfRouterNexthop;
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

void humanMplsIntfs(const Colls& colls, std::string_view name, std::ostream& out) {
  TextTable table({"INTERFACE"});
  for (const Vela::IntfId& intf : sorted(colls.mplsIntfs->intfIdColl()))
    table.rowIs({cell(textOf(intf))});
  printTitled(out, name, count(colls.mplsIntfs->intfIds(), "interface", "interfaces"), table);
}

void humanRouterIpNexthop(const Colls& colls, std::string_view name, std::ostream& out) {
  TextTable table({"ROUTER", "HOP ADDRESS", "NEXT HOP", "INTERFACE"});
  const auto& coll = *colls.routerIpNexthop;
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

void humanFecRouterNexthop(const Colls& colls, std::string_view name, std::ostream& out) {
  TextTable table(concat({"FEC", "PEER"}, kViaHeader));
  const auto& coll = *colls.fecRouterNexthop;
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

void humanNotifier(const Colls& colls, std::string_view name, std::ostream& out) {
  TextTable table({"PEER", "FEC", "LAST LABEL"});
  const auto& tables = *colls.peerTables;
  for (const Mpls::RouterId& routerId : sortedKeys(tables.bindingTableColl())) {
    const auto& channel = tables.bindingTable(routerId)->notifierColl();
    for (const Mpls::FwdEqvClass& fec : sortedKeys(channel))
      table.rowIs({textOf(routerId), textOf(fec), notifiedLabelText(*channel.find(fec))});
  }
  printTitled(out, name, count(tables.bindingTables(), "peer table", "peer tables"), table);
}

void jsonNotifier(const Colls& colls, JsonWriter& json) {
  std::vector<std::pair<std::string, const Mpls::LabelBindingTable*>> peers;
  for (const auto [routerId, table] : colls.peerTables->bindingTableColl())
    peers.emplace_back(textOf(routerId), &table);
  sortByText(peers);
  json.beginObject();
  for (const auto& [routerText, table] : peers) {
    json.key(routerText);
    writeAttribute(json, table->notifierColl());
  }
  json.endObject();
}

struct Table {
  std::string_view name;
  std::function<void(const Sim::Agent&, std::string_view, std::ostream&)> human;
  std::function<void(const Sim::Agent&, JsonWriter&)> json;
};

// One entry per pipeline collection: human form by `human`, JSON by the generic rule.
template <auto Member>
Table collectionTable(std::string_view name,
                      void (*human)(const Colls&, std::string_view, std::ostream&)) {
  return Table{name,
               [human](const Sim::Agent& agent, std::string_view shown, std::ostream& out) {
                 human(agent.colls(), shown, out);
               },
               [](const Sim::Agent& agent, JsonWriter& json) {
                 writeEntity(json, *(agent.colls().*Member));
               }};
}

void humanLfibOf(const Colls& colls, std::string_view name, std::ostream& out) {
  humanLfib(*colls.lfib, name, out);
}
void humanTransport(const Colls& colls, std::string_view name, std::ostream& out) {
  humanRouterAddrs(*colls.transportAddrs, name, out);
}
void humanIntfAddrs(const Colls& colls, std::string_view name, std::ostream& out) {
  humanRouterAddrs(*colls.intfAddrs, name, out);
}
void humanRouterNexthopOf(const Colls& colls, std::string_view name, std::ostream& out) {
  humanRouterNexthop(*colls.routerNexthop, name, out);
}
void humanFilteredNexthop(const Colls& colls, std::string_view name, std::ostream& out) {
  humanRouterNexthop(*colls.filteredNexthop, name, out);
}

const std::vector<Table>& tables() {
  static const std::vector<Table> kTables{
      collectionTable<&Colls::lfib>("lfib", &humanLfibOf),
      collectionTable<&Colls::localTable>("p2mpLocalLabelBindingTable", &humanLocalTable),
      collectionTable<&Colls::peerTables>("p2mpPeerLabelBindingTableColl", &humanPeerTables),
      collectionTable<&Colls::fecRouterLabel>("p2mpFecRouterLabelInfoColl", &humanFecRouterLabel),
      collectionTable<&Colls::transportAddrs>("p2mpRouterTransportIpAddrInfoColl", &humanTransport),
      collectionTable<&Colls::ipAddrRouterId>("p2mpIpAddrRouterIdInfoColl", &humanIpAddrRouterId),
      collectionTable<&Colls::ipNexthop>("p2mpIpNexthopInfoColl", &humanIpNexthop),
      collectionTable<&Colls::routerNexthop>("p2mpRouterNexthopInfoColl", &humanRouterNexthopOf),
      collectionTable<&Colls::intfRouterNexthop>("p2mpIntfRouterNexthopInfoColl",
                                                 &humanIntfRouterNexthop),
      collectionTable<&Colls::mplsIntfs>("p2mpMplsIntfColl", &humanMplsIntfs),
      collectionTable<&Colls::routerIpNexthop>("p2mpRouterIpNexthopInfoColl",
                                               &humanRouterIpNexthop),
      collectionTable<&Colls::intfAddrs>("p2mpRouterIntfIpAddrInfoColl", &humanIntfAddrs),
      collectionTable<&Colls::filteredNexthop>("p2mpRouterFilteredNexthopColl",
                                               &humanFilteredNexthop),
      collectionTable<&Colls::fecRouterNexthop>("p2mpFecRouterNexthopInfoColl",
                                                &humanFecRouterNexthop),
      collectionTable<&Colls::lfib>("p2mpLabelForwardingInfoColl", &humanLfibOf),
      Table{"nexthopConfig", &humanNexthopConfig,
            [](const Sim::Agent& agent, JsonWriter& json) {
              writeEntity(json, *agent.nexthopConfig());
            }},
      Table{"nexthopStatus", &humanNexthopStatus,
            [](const Sim::Agent& agent, JsonWriter& json) {
              writeEntity(json, *agent.nexthopStatus());
            }},
      Table{"notifier",
            [](const Sim::Agent& agent, std::string_view name, std::ostream& out) {
              humanNotifier(agent.colls(), name, out);
            },
            [](const Sim::Agent& agent, JsonWriter& json) { jsonNotifier(agent.colls(), json); }},
  };
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
    table->json(agent, writer);
    out << writer.text() << '\n';
  } else {
    table->human(agent, name, out);
  }
}

}  // namespace QuillTool
