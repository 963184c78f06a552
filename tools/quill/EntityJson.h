#pragma once
// One rule that turns any entity of the pipeline into a one-line JSON value:
// - an entity is an object of its collection attributes, by attribute name; the key attribute
//   is left out (the enclosing object already names it) and every attribute is present, empty
//   or not;
// - a set is an array of its members' text forms;
// - a collection of entities is an object keyed by each member's key text form, holding the
//   member by this same rule;
// - a map to plain values is an object of those values' text forms.
// Object keys and array members are sorted by their text, so that equal contents give equal
// lines whatever order the hash tables iterate in.
//
// The only per-entity knowledge is the list of its attributes (`EntityFields<E>::list`), written
// with QUILL_TOOL_FIELD so that the JSON names are the attributes' own names.
//
//   QuillTool::JsonWriter json;
//   QuillTool::writeEntity(json, *agent.colls().lfib);
//   // {"labelForwarding":{"100":{"forwardingInfo":{"Value('Mpls::ViaLabel', ...)":{...}}}}}
#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/mpls/LabelBindingTable.h"
#include "platform/mpls/LabelBindingTableColl.h"
#include "platform/routing/NexthopVrfConfig.h"
#include "platform/routing/NexthopVrfStatus.h"
#include "quill/model/FecRouterLabelInfoColl.h"
#include "quill/model/FecRouterNexthopInfoColl.h"
#include "quill/model/IntfRouterNexthopInfoColl.h"
#include "quill/model/IpAddrRouterIdInfoColl.h"
#include "quill/model/IpNexthopInfoColl.h"
#include "quill/model/LabelForwardingInfoColl.h"
#include "quill/model/MplsIntfColl.h"
#include "quill/model/RouterIpAddrInfoColl.h"
#include "quill/model/RouterIpNexthopInfoColl.h"
#include "quill/model/RouterNexthopInfoColl.h"
#include "tools/quill/JsonWriter.h"
#include "tools/quill/TextForm.h"

namespace QuillTool {

// One collection attribute of an entity: its name and how to reach its storage.
template <class Get>
struct Field {
  std::string_view name;
  Get get;
};

template <class Get>
constexpr Field<Get> field(std::string_view name, Get get) {
  return {name, get};
}

// The attributes of entity type E, in declaration order; specialised below for every entity the
// tool can show.
template <class E>
struct EntityFields;

template <class E>
concept ShownEntity = requires {
  EntityFields<E>::list;
};

}  // namespace QuillTool

#define QUILL_TOOL_FIELD(Owner, attribute)                                     \
  ::QuillTool::field(std::string_view(Owner::attribute##Attribute::info.name), \
                     [](const Owner& owner) -> decltype(auto) { return owner.attribute##Coll(); })

#define QUILL_TOOL_ENTITY_FIELDS(Owner, ...)                   \
  template <>                                                  \
  struct EntityFields<Owner> {                                 \
    static constexpr auto list = std::make_tuple(__VA_ARGS__); \
  };

namespace QuillTool {

QUILL_TOOL_ENTITY_FIELDS(Mpls::FecLabelSet, QUILL_TOOL_FIELD(Mpls::FecLabelSet, mplsLabel))
// The notification channel is not content: `show notifier` prints it on its own.
QUILL_TOOL_ENTITY_FIELDS(Mpls::LabelBindingTable,
                         QUILL_TOOL_FIELD(Mpls::LabelBindingTable, binding),
                         QUILL_TOOL_FIELD(Mpls::LabelBindingTable, filteredFec))
QUILL_TOOL_ENTITY_FIELDS(Mpls::LabelBindingTableColl,
                         QUILL_TOOL_FIELD(Mpls::LabelBindingTableColl, bindingTable))
QUILL_TOOL_ENTITY_FIELDS(Mpls::RouterLabelInfo,
                         QUILL_TOOL_FIELD(Mpls::RouterLabelInfo, routerLabel))
QUILL_TOOL_ENTITY_FIELDS(Mpls::FecRouterLabelInfo,
                         QUILL_TOOL_FIELD(Mpls::FecRouterLabelInfo, routerLabelInfo))
QUILL_TOOL_ENTITY_FIELDS(Mpls::FecRouterLabelInfoColl,
                         QUILL_TOOL_FIELD(Mpls::FecRouterLabelInfoColl, fecRouterLabel))
QUILL_TOOL_ENTITY_FIELDS(Mpls::RouterIpAddrInfo, QUILL_TOOL_FIELD(Mpls::RouterIpAddrInfo, ipAddr))
QUILL_TOOL_ENTITY_FIELDS(Mpls::RouterIpAddrInfoColl,
                         QUILL_TOOL_FIELD(Mpls::RouterIpAddrInfoColl, routerIpAddr))
QUILL_TOOL_ENTITY_FIELDS(Mpls::IpAddrRouterIdInfo,
                         QUILL_TOOL_FIELD(Mpls::IpAddrRouterIdInfo, routerId))
QUILL_TOOL_ENTITY_FIELDS(Mpls::IpAddrRouterIdInfoColl,
                         QUILL_TOOL_FIELD(Mpls::IpAddrRouterIdInfoColl, ipAddrRouterId))
QUILL_TOOL_ENTITY_FIELDS(Mpls::IpNexthopInfo, QUILL_TOOL_FIELD(Mpls::IpNexthopInfo, via))
QUILL_TOOL_ENTITY_FIELDS(Mpls::IpNexthopInfoColl,
                         QUILL_TOOL_FIELD(Mpls::IpNexthopInfoColl, ipNexthop))
QUILL_TOOL_ENTITY_FIELDS(Mpls::NexthopIpInfo, QUILL_TOOL_FIELD(Mpls::NexthopIpInfo, destIp))
QUILL_TOOL_ENTITY_FIELDS(Mpls::RouterNexthopInfo, QUILL_TOOL_FIELD(Mpls::RouterNexthopInfo, via),
                         QUILL_TOOL_FIELD(Mpls::RouterNexthopInfo, nexthopIpInfo))
QUILL_TOOL_ENTITY_FIELDS(Mpls::RouterNexthopInfoColl,
                         QUILL_TOOL_FIELD(Mpls::RouterNexthopInfoColl, routerNexthop))
QUILL_TOOL_ENTITY_FIELDS(Mpls::IntfRouterNexthopInfo,
                         QUILL_TOOL_FIELD(Mpls::IntfRouterNexthopInfo, routerNexthopInfo))
QUILL_TOOL_ENTITY_FIELDS(Mpls::IntfRouterNexthopInfoColl,
                         QUILL_TOOL_FIELD(Mpls::IntfRouterNexthopInfoColl, intfRouterNexthop))
QUILL_TOOL_ENTITY_FIELDS(Mpls::MplsIntfColl, QUILL_TOOL_FIELD(Mpls::MplsIntfColl, intfId))
QUILL_TOOL_ENTITY_FIELDS(Mpls::RouterIpNexthopInfo,
                         QUILL_TOOL_FIELD(Mpls::RouterIpNexthopInfo, ipNexthopInfo))
QUILL_TOOL_ENTITY_FIELDS(Mpls::RouterIpNexthopInfoColl,
                         QUILL_TOOL_FIELD(Mpls::RouterIpNexthopInfoColl, routerIpNexthop))
QUILL_TOOL_ENTITY_FIELDS(Mpls::FecRouterNexthopInfo,
                         QUILL_TOOL_FIELD(Mpls::FecRouterNexthopInfo, routerNexthopInfo))
QUILL_TOOL_ENTITY_FIELDS(Mpls::FecRouterNexthopInfoColl,
                         QUILL_TOOL_FIELD(Mpls::FecRouterNexthopInfoColl, fecRouterNexthop))
QUILL_TOOL_ENTITY_FIELDS(Mpls::ForwardingInfo, QUILL_TOOL_FIELD(Mpls::ForwardingInfo, fecRouter))
QUILL_TOOL_ENTITY_FIELDS(Mpls::LabelForwardingInfo,
                         QUILL_TOOL_FIELD(Mpls::LabelForwardingInfo, forwardingInfo))
QUILL_TOOL_ENTITY_FIELDS(Mpls::LabelForwardingInfoColl,
                         QUILL_TOOL_FIELD(Mpls::LabelForwardingInfoColl, labelForwarding))
QUILL_TOOL_ENTITY_FIELDS(Routing::NexthopVrfConfig,
                         QUILL_TOOL_FIELD(Routing::NexthopVrfConfig, nexthop))
QUILL_TOOL_ENTITY_FIELDS(Routing::NexthopVrfStatus,
                         QUILL_TOOL_FIELD(Routing::NexthopVrfStatus, nexthop))

template <ShownEntity E>
void writeEntity(JsonWriter& json, const E& entity);

// Pairs of (text, item) in text order.
template <class Item>
void sortByText(std::vector<std::pair<std::string, Item>>& items) {
  std::sort(items.begin(), items.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
}

template <class Key>
void writeAttribute(JsonWriter& json, const Vox::KeyedSet<Key>& set) {
  std::vector<std::string> texts;
  texts.reserve(set.size());
  for (const Key& member : set)
    texts.push_back(textOf(member));
  std::sort(texts.begin(), texts.end());
  json.beginArray();
  for (const std::string& text : texts)
    json.string(text);
  json.endArray();
}

template <class Key, class Member>
void writeAttribute(JsonWriter& json, const Vox::EntityCollAttribute<Key, Member>& coll) {
  std::vector<std::pair<std::string, const Member*>> members;
  members.reserve(coll.size());
  for (const auto [key, member] : coll)
    members.emplace_back(textOf(key), &member);
  sortByText(members);
  json.beginObject();
  for (const auto& [text, member] : members) {
    json.key(text);
    writeEntity(json, *member);
  }
  json.endObject();
}

template <class Key, class Value>
void writeAttribute(JsonWriter& json, const Vox::ValueMapAttribute<Key, Value>& map) {
  std::vector<std::pair<std::string, std::string>> entries;
  entries.reserve(map.size());
  for (const auto [key, value] : map)
    entries.emplace_back(textOf(key), textOf(value));
  sortByText(entries);
  json.beginObject();
  for (const auto& [key, value] : entries) {
    json.key(key);
    json.string(value);
  }
  json.endObject();
}

template <ShownEntity E>
void writeEntity(JsonWriter& json, const E& entity) {
  // Attribute names are object keys too, so they are sorted like every other key.
  std::vector<std::pair<std::string, std::function<void()>>> fields;
  std::apply(
      [&](const auto&... field) {
        (fields.emplace_back(std::string(field.name),
                             [&json, &entity, &field] { writeAttribute(json, field.get(entity)); }),
         ...);
      },
      EntityFields<E>::list);
  sortByText(fields);
  json.beginObject();
  for (const auto& [name, write] : fields) {
    json.key(name);
    write();
  }
  json.endObject();
}

}  // namespace QuillTool
