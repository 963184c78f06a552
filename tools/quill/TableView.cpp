#include "tools/quill/TableView.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>

#include "platform/vox/Attribute.h"
#include "tools/quill/JsonWriter.h"
#include "tools/quill/TextForm.h"
#include "tools/quill/TextTable.h"
#include "tools/quill/ValueJson.h"

// Every table is printed by walking its entities' attribute lists (VOX_ATTRIBUTES): nothing here
// restates which attributes an entity has or how entities nest. What the tool adds is its own
// vocabulary: per value type (Forms), per attribute (kShown) and, for a value map, what its value
// shows as (ValueForm).
namespace QuillTool {

namespace {

using Vox::AttributeKind;
using Row = std::vector<std::string>;
using Rows = std::vector<Row>;

// The cell of an empty value, and of every column an entry with no members leaves empty.
constexpr std::string_view kNone = "-";

std::string cell(std::string text) {
  return text.empty() ? std::string(kNone) : text;
}

Row emptyCells(std::size_t columns) {
  return Row(columns, std::string(kNone));
}

// The tool's forms of the value types: the human cells a value fills, a set's element in JSON,
// and the members of the object a key opens (a label keys only the LFIB).
struct Forms {
  template <class T>
  static Row cells(const T& value) {
    return {textOf(value)};
  }
  static Row cells(Vela::IntfId intf) { return {cell(textOf(intf))}; }
  static Row cells(const Mpls::FibVia& via) { return {textOf(via.hop()), cells(via.intfId())[0]}; }
  static Row cells(const Mpls::ViaLabel& branch) {
    Row row = cells(branch.via());
    row.push_back(textOf(branch.label()));
    return row;
  }
  static Row cells(const Mpls::FecRouter& reason) {
    return {textOf(reason.fwdEqvClass()), textOf(reason.routerId())};
  }

  static void element(JsonWriter& json, Vela::MplsLabel label) { writeLabel(json, label); }
  static void element(JsonWriter& json, const Vela::IpGenAddr& addr) { writeAddress(json, addr); }
  static void element(JsonWriter& json, Vela::IntfId intf) { writeInterface(json, intf); }
  static void element(JsonWriter& json, const Mpls::RouterId& peer) { writePeer(json, peer); }
  static void element(JsonWriter& json, const Mpls::FwdEqvClass& fec) { writeFec(json, fec); }
  template <class T>
  static void element(JsonWriter& json, const T& composite) {
    json.beginObject();
    keyMembers(json, composite);
    json.endObject();
  }

  static std::string_view keyName(Vela::MplsLabel) { return "local-label"; }
  static std::string_view keyName(const Vela::IpGenAddr&) { return "address"; }
  static std::string_view keyName(Vela::IntfId) { return "interface"; }
  static std::string_view keyName(const Mpls::RouterId&) { return "peer"; }
  static std::string_view keyName(const Mpls::FwdEqvClass&) { return "fec"; }
  template <class T>
  static void keyMembers(JsonWriter& json, const T& plain) {
    json.key(keyName(plain));
    element(json, plain);
  }
  static void keyMembers(JsonWriter& json, const Mpls::FibVia& via) { writeViaMembers(json, via); }
  static void keyMembers(JsonWriter& json, const Mpls::ViaLabel& branch) {
    writeViaMembers(json, branch.via());
    json.key("out-label");
    writeLabel(json, branch.label());
  }
  static void keyMembers(JsonWriter& json, const Mpls::FecRouter& reason) {
    keyMembers(json, reason.fwdEqvClass());
    keyMembers(json, reason.routerId());
  }
};

// How the tool shows one attribute.
enum ShownFlags : unsigned {
  // Counted in the title (as a table's first attribute always is), summed over the entries of the
  // table's first attribute: the LFIB's branches.
  kCounted = 1,
  // A set shown as one comma-separated cell rather than a row per element.
  kJoined = 2,
  // An entry whose attribute is empty shows no row rather than a row of "-": a local label
  // without branches, a FEC without peers, a peer table that announced nothing.
  kHideEmpty = 4,
  // A notification channel: not the entity's content, shown only by a table of channels.
  kChannel = 8,
};
struct Shown {
  std::string_view json;                    // the member holding the attribute's array
  std::array<std::string_view, 3> columns;  // the human headers of its key's cells
  std::array<std::string_view, 2> nouns;    // what the title counts its keys as: one, many
  unsigned flags;
};

// A row of kShown is typed by its attribute, so that the lookup is by type: comparing the
// addresses of two descriptors is not a constant expression in every build (AddressSanitizer's).
template <class Attr>
struct Named : Shown {};

template <class Attr>
constexpr Named<Attr> named(std::string_view json, std::array<std::string_view, 3> columns,
                            std::array<std::string_view, 2> nouns = {}, unsigned flags = 0) {
  return {{json, columns, nouns, flags}};
}

constexpr std::tuple kShown{
    named<Mpls::LabelForwardingInfoColl::labelForwardingAttribute>("local-labels", {"LOCAL LABEL"},
                                                                   {"local label", "local labels"}),
    named<Mpls::LabelForwardingInfo::forwardingInfoAttribute>(
        "branches", {"NEXT HOP", "INTERFACE", "OUT LABEL"}, {"branch", "branches"},
        kCounted | kHideEmpty),
    named<Mpls::ForwardingInfo::fecRouterAttribute>("justifications", {"FEC", "PEER"}),
    named<Mpls::LabelBindingTable::bindingAttribute>("bindings", {"FEC"}, {"binding", "bindings"}),
    named<Mpls::FecLabelSet::mplsLabelAttribute>("labels", {"PEER LABEL"}),
    named<Mpls::LabelBindingTable::filteredFecAttribute>("filtered-fecs", {"FEC"}),
    named<Mpls::LabelBindingTable::notifierAttribute>("fecs", {"FEC"}, {}, kHideEmpty | kChannel),
    named<Mpls::LabelBindingTableColl::bindingTableAttribute>("peers", {"PEER"},
                                                              {"peer table", "peer tables"}),
    named<Mpls::FecRouterLabelInfoColl::fecRouterLabelAttribute>("fecs", {"FEC"}, {"FEC", "FECs"}),
    named<Mpls::FecRouterLabelInfo::routerLabelInfoAttribute>("peers", {"PEER"}, {}, kHideEmpty),
    named<Mpls::RouterLabelInfo::routerLabelAttribute>("labels", {"PEER LABEL"}, {}, kJoined),
    named<Mpls::RouterIpAddrInfoColl::routerIpAddrAttribute>("peers", {"ROUTER"},
                                                             {"router", "routers"}),
    named<Mpls::RouterIpAddrInfo::ipAddrAttribute>("addresses", {"ADDRESS"}),
    named<Mpls::IpAddrRouterIdInfoColl::ipAddrRouterIdAttribute>("addresses", {"ADDRESS"},
                                                                 {"address", "addresses"}),
    named<Mpls::IpAddrRouterIdInfo::routerIdAttribute>("peers", {"ROUTER"}),
    named<Mpls::IpNexthopInfoColl::ipNexthopAttribute>("addresses", {"ADDRESS"},
                                                       {"address", "addresses"}),
    named<Mpls::IpNexthopInfo::viaAttribute>("next-hops", {"NEXT HOP", "INTERFACE"}),
    named<Mpls::RouterNexthopInfoColl::routerNexthopAttribute>("peers", {"ROUTER"},
                                                               {"router", "routers"}),
    named<Mpls::RouterNexthopInfo::viaAttribute>("next-hops", {"NEXT HOP", "INTERFACE"}),
    // Its key columns are those of `via`, beside which it is shown.
    named<Mpls::RouterNexthopInfo::nexthopIpInfoAttribute>("next-hop-justifications", {}),
    named<Mpls::NexthopIpInfo::destIpAttribute>("addresses", {"JUSTIFIED BY"}, {}, kJoined),
    named<Mpls::IntfRouterNexthopInfoColl::intfRouterNexthopAttribute>("interfaces", {"OUT INTF"},
                                                                       {"interface", "interfaces"}),
    named<Mpls::IntfRouterNexthopInfo::routerNexthopInfoAttribute>("peers", {"ROUTER"}),
    named<Mpls::MplsIntfColl::intfIdAttribute>("interfaces", {"INTERFACE"},
                                               {"interface", "interfaces"}),
    named<Mpls::RouterIpNexthopInfoColl::routerIpNexthopAttribute>("peers", {"ROUTER"},
                                                                   {"router", "routers"}),
    named<Mpls::RouterIpNexthopInfo::ipNexthopInfoAttribute>("hop-addresses", {"HOP ADDRESS"}),
    named<Mpls::FecRouterNexthopInfoColl::fecRouterNexthopAttribute>("fecs", {"FEC"},
                                                                     {"FEC", "FECs"}),
    named<Mpls::FecRouterNexthopInfo::routerNexthopInfoAttribute>("peers", {"PEER"}, {},
                                                                  kHideEmpty),
    named<Routing::NexthopVrfConfig::nexthopAttribute>("requests", {"ADDRESS"},
                                                       {"request", "requests"}),
    named<Routing::NexthopVrfStatus::nexthopAttribute>("answers", {"ADDRESS"},
                                                       {"answer", "answers"}),
};

// The local table's labels are this router's own.
constexpr Shown kLocalLabels =
    named<Mpls::FecLabelSet::mplsLabelAttribute>("labels", {"LOCAL LABEL"});

// How `Attr` shows in the table of `Root`; an attribute missing from kShown, or listed twice, does
// not compile.
template <class Attr, class Root>
constexpr const Shown& shown() {
  if constexpr (std::is_same_v<Attr, Mpls::FecLabelSet::mplsLabelAttribute> &&
                std::is_same_v<Root, Mpls::LabelBindingTable>) {
    return kLocalLabels;
  } else {
    return std::get<Named<Attr>>(kShown);
  }
}

// What a value map's value shows as: human cells under kColumns, and members of the key's object.
// Both are given the agent and the key too, for a value that needs more than itself.
template <class Attr>
struct ValueForm;

template <>
struct ValueForm<Mpls::LabelBindingTable::filteredFecAttribute> {
  static constexpr std::array<std::string_view, 1> kColumns{"FILTERED"};
  static Row cells(const auto&, const auto&, bool filtered) { return {textOf(filtered)}; }
  static void json(JsonWriter& json, const auto&, const auto&, bool filtered) {
    json.key("filtered");
    json.boolean(filtered);
  }
};

// The out-of-range label is the publisher's "no usable label".
template <>
struct ValueForm<Mpls::LabelBindingTable::notifierAttribute> {
  static constexpr std::array<std::string_view, 1> kColumns{"LAST LABEL"};
  static Row cells(const auto&, const auto&, Vela::MplsLabel label) {
    return {label.value() == Vela::MplsLabel::kOutOfRange ? "none" : textOf(label)};
  }
  static void json(JsonWriter& json, const auto&, const auto&, Vela::MplsLabel label) {
    json.key("label");
    writeAnnouncedLabel(json, label);
  }
};

template <>
struct ValueForm<Routing::NexthopVrfConfig::nexthopAttribute> {
  static constexpr std::array<std::string_view, 1> kColumns{"DEFAULT ROUTE"};
  static Row cells(const auto&, const auto&, const Routing::NexthopConfigEntry& request) {
    return {request.allowDefaultRoute() ? "allowed" : "not allowed"};
  }
  static void json(JsonWriter& json, const auto&, const auto&,
                   const Routing::NexthopConfigEntry& request) {
    json.key("allow-default-route");
    json.boolean(request.allowDefaultRoute());
  }
};

// The resolving route is the simulated service's own record, which the answer does not carry.
template <>
struct ValueForm<Routing::NexthopVrfStatus::nexthopAttribute> {
  static constexpr std::array<std::string_view, 3> kColumns{"ROUTE", "ROUTE TYPE", "FIB FEC"};
  static std::string routeText(const Sim::Agent& agent, const Vela::IpGenAddr& address) {
    const auto answer = agent.resolution().answers().find(address);
    return answer == agent.resolution().answers().end() ? "" : textOf(answer->second);
  }
  static std::string typeText(Routing::RouteType type) {
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
  static Row cells(const Sim::Agent& agent, const Vela::IpGenAddr& address,
                   const Routing::NexthopStatusEntry& entry) {
    return {cell(routeText(agent, address)), typeText(entry.routeType()), textOf(entry.fecId())};
  }
  static void json(JsonWriter& json, const Sim::Agent& agent, const Vela::IpGenAddr& address,
                   const Routing::NexthopStatusEntry& entry) {
    const std::string route = routeText(agent, address);
    json.key("route");
    if (route.empty()) {
      json.null();
    } else {
      json.string(route);
    }
    json.key("route-type");
    json.string(typeText(entry.routeType()));
    json.key("fib-fec");
    json.number(entry.fecId().value());
  }
};

// Whether `Attr` is, or holds entities that hold, a notification channel.
template <class Attr>
constexpr bool leadsToChannel() {
  bool found = shown<Attr, void>().flags & kChannel;
  if constexpr (Attr::kind == AttributeKind::kEntityColl) {
    Vox::forEachAttribute<typename Attr::Member>(
        [&](auto member) { found = found || leadsToChannel<decltype(member)>(); });
  }
  return found;
}

// One table: the entities below `Root`, their content or (Channels) their notification channels.
template <class Root, bool Channels>
class View {
 public:
  View(const Sim::Agent& agent, const Root& root) : agent_(agent), root_(root) {}

  // The title with its counts, the rows, a blank line.
  void print(std::string_view name, std::ostream& out) {
    TextTable table(columns<Root>());
    for (Row& row : rows(root_, true))
      table.rowIs(std::move(row));
    out << name << ": " << title() << '\n';
    table.print(out);
    out << '\n';
  }

  // The root's attributes as members of the table's object, nested as the entities are.
  void writeJson(JsonWriter& json) { writeContent(json, root_); }

 private:
  template <class Entity>
  using KeyOf = typename std::tuple_element_t<0, typename Entity::Attributes>::Key;

  template <class Attr>
  static constexpr const Shown& names() {
    return shown<Attr, Root>();
  }

  // Calls `visit(attr)` for each attribute of `Entity` this table shows.
  template <class Entity, class Visit>
  static void forEachShown(Visit&& visit) {
    Vox::forEachAttribute<Entity>([&](auto attr) {
      using Attr = decltype(attr);
      if constexpr (Channels ? leadsToChannel<Attr>() : !(names<Attr>().flags & kChannel)) {
        static_assert(Attr::kind != AttributeKind::kValue, "no table shows a single value yet");
        static_assert(std::is_same_v<typename Attr::Key, KeyOf<Entity>>,
                      "the attributes of one entity are shown side by side, by their common key");
        visit(attr);
      }
    });
  }

  // "N nouns" for the table's first attribute, then for each attribute of its members that is
  // counted, over all of them.
  std::string title() const {
    const auto count = [](std::size_t n, const Shown& shown) {
      return std::to_string(n) + " " + std::string(shown.nouns[n == 1 ? 0 : 1]);
    };
    std::string text;
    forEachShown<Root>([&](auto top) {
      using Top = decltype(top);
      if (!text.empty()) return;
      text = count(Top::of(root_).size(), names<Top>());
      if constexpr (Top::kind == AttributeKind::kEntityColl) {
        forEachShown<typename Top::Member>([&](auto attr) {
          using Attr = decltype(attr);
          if (!(names<Attr>().flags & kCounted)) return;
          std::size_t n = 0;
          for (const auto& [key, member] : Top::of(root_))
            n += Attr::of(member).size();
          text += ", " + count(n, names<Attr>());
        });
      }
    });
    return text;
  }

  // The headers of the columns an entity's rows fill: its key's, once, then each attribute's.
  template <class Entity>
  static Row columns() {
    Row headers;
    bool first = true;
    forEachShown<Entity>([&](auto attr) {
      using Attr = decltype(attr);
      const Shown& shown = names<Attr>();
      if (std::exchange(first, false)) {
        for (const std::string_view header : shown.columns) {
          if (!header.empty()) headers.emplace_back(header);
        }
      }
      if constexpr (Attr::kind == AttributeKind::kEntityColl) {
        for (std::string& header : columns<typename Attr::Member>())
          headers.push_back(std::move(header));
      } else if constexpr (Attr::kind == AttributeKind::kValueMap) {
        headers.insert(headers.end(), ValueForm<Attr>::kColumns.begin(),
                       ValueForm<Attr>::kColumns.end());
      }
    });
    return headers;
  }

  // The rows of an entity: one per key of its attributes (attributes that share their keys, as
  // a router's vias and their justifications do, side by side), each the key's cells followed by
  // what every attribute holds under the key. An entry without members shows one row of "-",
  // and a joined set, one cell.
  template <class Entity>
  Rows rows(const Entity& entity, bool top) {
    std::vector<KeyOf<Entity>> keys;
    bool hideEmpty = top, joined = false;
    forEachShown<Entity>([&](auto attr) {
      using Attr = decltype(attr);
      const Shown& shown = names<Attr>();
      hideEmpty = hideEmpty || shown.flags & kHideEmpty;
      joined = joined || shown.flags & kJoined;
      Vox::forEachKeyOf<Attr>(entity, [&](const KeyOf<Entity>& key) { keys.push_back(key); });
    });
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    if (joined) {
      std::string text;
      for (const KeyOf<Entity>& key : keys)
        text += (text.empty() ? "" : ",") + textOf(key);
      return {{cell(text)}};
    }
    if (keys.empty()) {
      return hideEmpty ? Rows{} : Rows{emptyCells(columns<Entity>().size())};
    }
    Rows all;
    for (const KeyOf<Entity>& key : keys) {
      Rows partial{Forms::cells(key)};
      forEachShown<Entity>(
          [&](auto attr) { partial = product(partial, under<decltype(attr)>(entity, key)); });
      all.insert(all.end(), partial.begin(), partial.end());
    }
    return all;
  }

  // What attribute `Attr` of `entity` holds under `key`, as rows of cells.
  template <class Attr>
  Rows under(const typename Attr::OwnerType& entity, const typename Attr::Key& key) {
    if constexpr (Attr::kind == AttributeKind::kEntityColl) {
      const auto* member = Attr::of(entity).find(key);
      return member ? rows(*member, false)
                    : Rows{emptyCells(columns<typename Attr::Member>().size())};
    } else if constexpr (Attr::kind == AttributeKind::kValueMap) {
      const auto* value = Attr::of(entity).find(key);
      return {value ? ValueForm<Attr>::cells(agent_, key, *value)
                    : emptyCells(ValueForm<Attr>::kColumns.size())};
    } else {
      return {Row{}};  // the key's own cells say it all
    }
  }

  static Rows product(const Rows& heads, const Rows& tails) {
    Rows rows;
    for (const Row& head : heads) {
      for (const Row& tail : tails) {
        rows.push_back(head);
        rows.back().insert(rows.back().end(), tail.begin(), tail.end());
      }
    }
    return rows;
  }

  // Each attribute as an array: a set's elements, or an object per key holding the key's
  // members and then what the key maps to.
  template <class Entity>
  void writeContent(JsonWriter& json, const Entity& entity) {
    forEachShown<Entity>([&](auto attr) {
      using Attr = decltype(attr);
      json.key(names<Attr>().json);
      json.beginArray();
      for (const auto& key : Vox::sortedKeys(Attr::of(entity))) {
        if constexpr (Attr::kind == AttributeKind::kSet) {
          Forms::element(json, key);
        } else {
          json.beginObject();
          Forms::keyMembers(json, key);
          if constexpr (Attr::kind == AttributeKind::kEntityColl) {
            writeContent(json, *Attr::of(entity).find(key));
          } else {
            ValueForm<Attr>::json(json, agent_, key, *Attr::of(entity).find(key));
          }
          json.endObject();
        }
      }
      json.endArray();
    });
  }

  const Sim::Agent& agent_;
  const Root& root_;
};

using Show = std::function<void(const Sim::Agent&, std::string_view, bool, std::ostream&)>;

template <bool Channels, class Root>
void show(const Sim::Agent& agent, const Root& root, std::string_view name, bool json,
          std::ostream& out) {
  View<Root, Channels> view(agent, root);
  if (!json) return view.print(name, out);
  JsonWriter writer;
  writer.beginObject();
  writer.key("table");
  writer.string(name);
  view.writeJson(writer);
  writer.endObject();
  out << writer.text() << '\n';
}

struct Table {
  std::string_view name;
  Show show;
};

// A collection the pipeline declares, by its attribute name.
Table collectionTable(std::string_view name, std::string_view collection) {
  return {name, [collection](const Sim::Agent& agent, std::string_view shown, bool json,
                             std::ostream& out) {
            agent.colls().forEachCollection([&](std::string_view each, const auto& coll) {
              if (each == collection) show<false>(agent, *coll, shown, json, out);
            });
          }};
}

// An entity the agent holds, from `root(agent)`.
template <bool Channels = false, class Root>
Table agentTable(std::string_view name, Root root) {
  return {name,
          [root](const Sim::Agent& agent, std::string_view shown, bool json, std::ostream& out) {
            show<Channels>(agent, *root(agent), shown, json, out);
          }};
}

const std::vector<Table>& tables() {
  static const std::vector<Table> kTables = [] {
    // The LFIB first under its short name, then every declared collection, then the simulated
    // host's tables and the peer tables' notification channels.
    std::vector<Table> tables{collectionTable("lfib", "p2mpLabelForwardingInfoColl")};
    for (const std::string_view name : Mpls::P2mpLfibGenSmManager::collectionNames())
      tables.push_back(collectionTable(name, name));
    tables.push_back(
        agentTable("nexthopConfig", [](const Sim::Agent& agent) { return agent.nexthopConfig(); }));
    tables.push_back(
        agentTable("nexthopStatus", [](const Sim::Agent& agent) { return agent.nexthopStatus(); }));
    tables.push_back(agentTable<true>(
        "notifier", [](const Sim::Agent& agent) { return agent.colls().peerTables; }));
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
  if (const Table* table = findTable(name)) table->show(agent, name, json, out);
}

}  // namespace QuillTool
