#pragma once
// Collection attributes of entities: keyed sets and keyed entity collections.
//
// An entity declares each collection attribute with one macro, which generates the accessors
// that stages call, named after the attribute `x`:
//
//   VOX_SET_ATTRIBUTE(Owner, x, Key)                 // a set of keys
//     bool x(key) const          membership
//     size_t xs() const          member count
//     const KeyedSet<Key>& xColl() const             iteration, version()
//     void xIs(key)              insert; notifies observers of x with the key if it was absent
//     void xDel(key)             remove; notifies if it was present
//     void xDelAll()             removes every member, notifying once per member
//
//   VOX_ENTITY_COLL_ATTRIBUTE(Owner, x, Key, Member) // keyed child entities
//     Ptr<const Member> x(key) const / Ptr<Member> x(key)   lookup, null if absent
//     size_t xs() const; xColl()  iteration over (key, member) pairs
//     Ptr<Member> xIs(key)       find or create: a new member is constructed from the key, made
//                                a child of the owner, has its notifications turned on, is
//                                inserted, and then observers of x are notified with the key
//     void xDel(key)             unhooks the member from its parent, removes it, notifies
//                                (`onMemberRemoved`, with the member, for observers that want it)
//     void xDelAll()
//
//   VOX_VALUE_MAP_ATTRIBUTE(Owner, x, Key, Value)  // keys mapped to plain values
//     const Value* x(key) const  lookup, null if absent
//     size_t xs() const; xColl() iteration over (key, value) pairs
//     void xIs(key, value)       insert or replace; notifies when the key is new or the value
//                                differs
//     void xDel(key); void xDelAll()
//
//   VOX_VALUE_ATTRIBUTE(Owner, x, Type, initial)    // one plain value
//     Type x() const; void xIs(value)               notifies only when the value changes
//
// Each macro also declares `xAttribute`, the attribute's descriptor: its identity (`info`), its
// key type, its `kind` (with `Member` for an entity collection, `Value` for a value map or a
// value), `of(owner)` (the storage: the `KeyedSet`, the entity collection, the value map or the
// value) and `match(attr, key)` which an observer uses to recognise the attribute in
// `onAttribute`. Notifications always follow the change; the key passed to observers is a copy
// for removals, so observers may change the collection freely. The macros leave the class in its
// public section.
//
// An entity then lists its attributes, in the order a reader should meet them, so that code
// that walks any entity (a printer, a serializer) needs no per-type knowledge of its fields:
//
//   VOX_ATTRIBUTES(binding, filteredFec)   // using Attributes = std::tuple<bindingAttribute, ...>
//   Vox::forEachAttribute<LabelBindingTable>([&](auto attr) {
//     using Attr = decltype(attr);          // Attr::info.name, Attr::kind, Attr::of(table) ...
//   });
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/vox/Entity.h"
#include "platform/vox/KeyedTable.h"

namespace Vox {

// What an attribute's storage is, as its descriptor's `kind` says.
enum class AttributeKind : uint8_t { kSet, kEntityColl, kValueMap, kValue };

// Calls `visit(Attr{})` for each descriptor `Entity` lists with VOX_ATTRIBUTES, in that order.
template <class Entity, class Visit>
constexpr void forEachAttribute(Visit&& visit) {
  [&]<class... Attr>(std::tuple<Attr...>*) {
    static_assert((std::is_same_v<typename Attr::OwnerType, Entity> && ...),
                  "an entity lists its own attributes");
    (visit(Attr{}), ...);
  }(static_cast<typename Entity::Attributes*>(nullptr));
}

// The key an iterator of a keyed set (the element) or of a table or entity collection stands at.
template <class It>
decltype(auto) keyAt(const It& it) {
  if constexpr (requires { it.key(); }) {
    return it.key();
  } else {
    return *it;
  }
}

// The keys of attribute `Attr` of `entity`, one call each; the callback may change anything but
// `entity` itself. Not for a single value, which has no keys.
template <class Attr, class F>
void forEachKeyOf(const typename Attr::OwnerType& entity, F&& f) {
  const auto& coll = Attr::of(entity);
  for (auto it = coll.begin(); it != coll.end(); ++it)
    f(keyAt(it));
}

// The keys of a keyed set, table or entity collection in value order, for output that must not
// depend on the table's layout.
template <class Coll>
auto sortedKeys(const Coll& coll) {
  std::vector<std::remove_cvref_t<decltype(keyAt(coll.begin()))>> keys;
  keys.reserve(coll.size());
  for (auto it = coll.begin(); it != coll.end(); ++it)
    keys.push_back(keyAt(it));
  std::sort(keys.begin(), keys.end());
  return keys;
}

// The descriptor part shared by every attribute: identity and typed matching.
template <class Key>
struct AttributeDescriptor {
  // The key of a notification if it is about attribute `self`, else null.
  static const Key* matchInfo(const AttributeInfo& self, const AttributeInfo& attr,
                              const void* key) {
    return &attr == &self ? static_cast<const Key*>(key) : nullptr;
  }
};

template <class Key>
class SetAttribute {
 public:
  const KeyedSet<Key>& coll() const { return set_; }
  bool contains(const Key& key) const { return set_.contains(key); }
  std::size_t size() const { return set_.size(); }

  void insert(const Entity& owner, const AttributeInfo& info, const Key& key) {
    if (set_.insert(key)) owner.notifyAttribute(info, &key);
  }
  void erase(const Entity& owner, const AttributeInfo& info, const Key& key) {
    const Key removed = key;  // `key` may be the set's own copy
    if (set_.erase(removed)) owner.notifyAttribute(info, &removed);
  }
  void eraseAll(const Entity& owner, const AttributeInfo& info) {
    for (auto it = set_.begin(); it != set_.end(); ++it)
      erase(owner, info, *it);
  }

 private:
  KeyedSet<Key> set_;
};

template <class Key, class Member>
class EntityCollAttribute {
  // A member carries its key, so its slot does not store it again.
  struct MemberKey {
    const Key& operator()(const Ptr<Member>& member) const { return member->key(); }
  };
  // No inline slot: a child collection is either empty (a stage that keeps no justifications
  // leaves `nexthopIpInfo` so) or holds several members, so an inline slot would mostly be
  // bytes held for nothing.
  using Table = KeyedTable<Key, Ptr<Member>, MemoryKind::kKeyedMap, 0, MemberKey>;

 public:
  // Iteration yields (key, member) pairs; members are const through a const collection.
  template <bool Const>
  class Iterator {
    using TableIterator =
        std::conditional_t<Const, typename Table::const_iterator, typename Table::iterator>;
    using MemberRef = std::conditional_t<Const, const Member&, Member&>;

   public:
    explicit Iterator(TableIterator it) : it_(std::move(it)) {}
    // The member stays alive while the iterator stands on it, even if the loop body removes it
    // from the collection (and with it the collection's reference).
    std::pair<const Key&, MemberRef> operator*() const {
      current_ = it_.value();
      return {it_.key(), *current_};
    }
    const Key& key() const { return it_.key(); }
    Ptr<std::conditional_t<Const, const Member, Member>> member() const { return it_.value(); }
    Iterator& operator++() {
      ++it_;
      return *this;
    }
    bool operator==(IterEnd end) const { return it_ == end; }

   private:
    TableIterator it_;
    mutable Ptr<Member> current_;
  };

  Iterator<true> begin() const { return Iterator<true>(table_.begin()); }
  Iterator<false> begin() { return Iterator<false>(table_.begin()); }
  IterEnd end() const { return {}; }
  Iterator<true> iteratorAt(const Key& key) const { return Iterator<true>(table_.iteratorAt(key)); }

  std::size_t size() const { return table_.size(); }
  bool empty() const { return table_.empty(); }
  uint32_t version() const { return table_.version(); }
  Member* find(const Key& key) const {
    const Ptr<Member>* member = table_.find(key);
    return member ? member->ptr() : nullptr;
  }

  Ptr<Member> insert(Entity& owner, const AttributeInfo& info, const Key& key) {
    if (Member* existing = find(key)) return existing;
    Ptr<Member> member(new Member(key));
    member->parentIs(&owner);
    member->hasNotificationActiveIs(true);
    table_.insert(key, member);
    owner.notifyAttribute(info, &key);
    return member;
  }
  void erase(Entity& owner, const AttributeInfo& info, const Key& key) {
    const Key removed = key;  // `key` may be the member's own
    Ptr<Member> member;       // alive until observers have heard of the removal
    if (!table_.erase(removed, [&](const Ptr<Member>& stored) { member = stored; })) return;
    member->parentIs(nullptr);
    owner.notifyMemberRemoved(info, &removed, *member);
  }
  void eraseAll(Entity& owner, const AttributeInfo& info) {
    for (auto it = table_.begin(); it != table_.end(); ++it)
      erase(owner, info, it.key());
  }

 private:
  Table table_;
};

template <class Key, class Value>
class ValueMapAttribute {
  using Table = KeyedTable<Key, Value, MemoryKind::kKeyedMap>;

 public:
  class const_iterator {
   public:
    explicit const_iterator(typename Table::const_iterator it) : it_(std::move(it)) {}
    std::pair<const Key&, const Value&> operator*() const { return {it_.key(), it_.value()}; }
    const Key& key() const { return it_.key(); }
    const Value& value() const { return it_.value(); }
    const_iterator& operator++() {
      ++it_;
      return *this;
    }
    bool operator==(IterEnd end) const { return it_ == end; }

   private:
    typename Table::const_iterator it_;
  };

  const_iterator begin() const { return const_iterator(table_.begin()); }
  IterEnd end() const { return {}; }
  std::size_t size() const { return table_.size(); }
  bool empty() const { return table_.empty(); }
  uint32_t version() const { return table_.version(); }
  const Value* find(const Key& key) const { return table_.find(key); }

  // Inserts or replaces; notifies when the key is new or its value differs.
  void set(const Entity& owner, const AttributeInfo& info, const Key& key, const Value& value) {
    auto [stored, inserted] = table_.insert(key, value);
    if (!inserted) {
      if (*stored == value) return;
      *stored = value;
    }
    owner.notifyAttribute(info, &key);
  }
  // Inserts or replaces, and notifies in every case: a channel on which every publication counts.
  void publish(const Entity& owner, const AttributeInfo& info, const Key& key, const Value& value) {
    auto [stored, inserted] = table_.insert(key, value);
    if (!inserted) *stored = value;
    owner.notifyAttribute(info, &key);
  }
  void erase(const Entity& owner, const AttributeInfo& info, const Key& key) {
    const Key removed = key;  // `key` may be the table's own copy
    if (table_.erase(removed)) owner.notifyAttribute(info, &removed);
  }
  void eraseAll(const Entity& owner, const AttributeInfo& info) {
    for (auto it = table_.begin(); it != table_.end(); ++it)
      erase(owner, info, it.key());
  }

 private:
  Table table_;
};

}  // namespace Vox

// The descriptor every attribute macro declares (see above); trailing arguments add members.
#define VOX_ATTRIBUTE_DESCRIPTOR(Owner, name, KeyType, ...)                          \
  struct name##Attribute : ::Vox::AttributeDescriptor<KeyType> {                     \
    using Key = KeyType;                                                             \
    using OwnerType = Owner;                                                         \
    static constexpr ::Vox::AttributeInfo info{#name};                               \
    static const KeyType* match(const ::Vox::AttributeInfo& attr, const void* key) { \
      return matchInfo(info, attr, key);                                             \
    }                                                                                \
    __VA_ARGS__                                                                      \
  };

// The descriptor of a value map stored in `name##_`; an entity that declares its own mutators
// over such a map (a notification channel) declares its descriptor with this.
#define VOX_VALUE_MAP_DESCRIPTOR(Owner, name, KeyType, ValueType)                             \
  VOX_ATTRIBUTE_DESCRIPTOR(                                                                   \
      Owner, name, KeyType, static constexpr auto kind = ::Vox::AttributeKind::kValueMap;     \
      using Value = ValueType; static const ::Vox::ValueMapAttribute<KeyType, ValueType>& of( \
          const Owner& owner) { return owner.name##_; })

// The entity's attributes, by name, in the order a reader should meet them (at most four).
#define VOX_ATTRIBUTES(...)                                                             \
  using Attributes =                                                                    \
      ::std::tuple<VOX_ATTRIBUTES_PICK(__VA_ARGS__, VOX_ATTRIBUTES_4, VOX_ATTRIBUTES_3, \
                                       VOX_ATTRIBUTES_2, VOX_ATTRIBUTES_1, )(__VA_ARGS__)>;
#define VOX_ATTRIBUTES_PICK(a, b, c, d, list, ...) list
#define VOX_ATTRIBUTES_1(a) a##Attribute
#define VOX_ATTRIBUTES_2(a, b) a##Attribute, b##Attribute
#define VOX_ATTRIBUTES_3(a, b, c) a##Attribute, b##Attribute, c##Attribute
#define VOX_ATTRIBUTES_4(a, b, c, d) a##Attribute, b##Attribute, c##Attribute, d##Attribute

#define VOX_SET_ATTRIBUTE(Owner, name, KeyType)                                             \
 public:                                                                                    \
  VOX_ATTRIBUTE_DESCRIPTOR(                                                                 \
      Owner, name, KeyType, static const ::Vox::KeyedSet<KeyType>& of(const Owner& owner) { \
        return owner.name##_.coll();                                                        \
      } static constexpr auto kind = ::Vox::AttributeKind::kSet;)                           \
  bool name(const KeyType& key) const {                                                     \
    return name##_.contains(key);                                                           \
  }                                                                                         \
  std::size_t name##s() const {                                                             \
    return name##_.size();                                                                  \
  }                                                                                         \
  const ::Vox::KeyedSet<KeyType>& name##Coll() const {                                      \
    return name##_.coll();                                                                  \
  }                                                                                         \
  void name##Is(const KeyType& key) {                                                       \
    name##_.insert(*this, name##Attribute::info, key);                                      \
  }                                                                                         \
  void name##Del(const KeyType& key) {                                                      \
    name##_.erase(*this, name##Attribute::info, key);                                       \
  }                                                                                         \
  void name##DelAll() {                                                                     \
    name##_.eraseAll(*this, name##Attribute::info);                                         \
  }                                                                                         \
                                                                                            \
 private:                                                                                   \
  ::Vox::SetAttribute<KeyType> name##_;                                                     \
                                                                                            \
 public:

#define VOX_ENTITY_COLL_ATTRIBUTE(Owner, name, KeyType, MemberType)                          \
 public:                                                                                     \
  VOX_ATTRIBUTE_DESCRIPTOR(                                                                  \
      Owner, name, KeyType, using Member = MemberType;                                       \
      static const ::Vox::EntityCollAttribute<KeyType, MemberType>& of(const Owner& owner) { \
        return owner.name##_;                                                                \
      } static constexpr auto kind = ::Vox::AttributeKind::kEntityColl;)                     \
  ::Vox::Ptr<const MemberType> name(const KeyType& key) const {                              \
    return name##_.find(key);                                                                \
  }                                                                                          \
  ::Vox::Ptr<MemberType> name(const KeyType& key) {                                          \
    return name##_.find(key);                                                                \
  }                                                                                          \
  std::size_t name##s() const {                                                              \
    return name##_.size();                                                                   \
  }                                                                                          \
  const ::Vox::EntityCollAttribute<KeyType, MemberType>& name##Coll() const {                \
    return name##_;                                                                          \
  }                                                                                          \
  ::Vox::EntityCollAttribute<KeyType, MemberType>& name##Coll() {                            \
    return name##_;                                                                          \
  }                                                                                          \
  ::Vox::Ptr<MemberType> name##Is(const KeyType& key) {                                      \
    return name##_.insert(*this, name##Attribute::info, key);                                \
  }                                                                                          \
  void name##Del(const KeyType& key) {                                                       \
    name##_.erase(*this, name##Attribute::info, key);                                        \
  }                                                                                          \
  void name##DelAll() {                                                                      \
    name##_.eraseAll(*this, name##Attribute::info);                                          \
  }                                                                                          \
                                                                                             \
 private:                                                                                    \
  ::Vox::EntityCollAttribute<KeyType, MemberType> name##_;                                   \
                                                                                             \
 public:

#define VOX_VALUE_MAP_ATTRIBUTE(Owner, name, KeyType, ValueType)           \
 public:                                                                   \
  VOX_VALUE_MAP_DESCRIPTOR(Owner, name, KeyType, ValueType)                \
  const ValueType* name(const KeyType& key) const {                        \
    return name##_.find(key);                                              \
  }                                                                        \
  std::size_t name##s() const {                                            \
    return name##_.size();                                                 \
  }                                                                        \
  const ::Vox::ValueMapAttribute<KeyType, ValueType>& name##Coll() const { \
    return name##_;                                                        \
  }                                                                        \
  void name##Is(const KeyType& key, const ValueType& value) {              \
    name##_.set(*this, name##Attribute::info, key, value);                 \
  }                                                                        \
  void name##Del(const KeyType& key) {                                     \
    name##_.erase(*this, name##Attribute::info, key);                      \
  }                                                                        \
  void name##DelAll() {                                                    \
    name##_.eraseAll(*this, name##Attribute::info);                        \
  }                                                                        \
                                                                           \
 private:                                                                  \
  ::Vox::ValueMapAttribute<KeyType, ValueType> name##_;                    \
                                                                           \
 public:

#define VOX_VALUE_ATTRIBUTE(Owner, name, Type, initial)                                        \
 public:                                                                                       \
  VOX_ATTRIBUTE_DESCRIPTOR(                                                                    \
      Owner, name, Type, static constexpr auto kind = ::Vox::AttributeKind::kValue;            \
      using Value = Type; static const Type& of(const Owner& owner) { return owner.name##_; }) \
  const Type& name() const {                                                                   \
    return name##_;                                                                            \
  }                                                                                            \
  void name##Is(const Type& value) {                                                           \
    if (value == name##_) return;                                                              \
    name##_ = value;                                                                           \
    notifyAttribute(name##Attribute::info, &name##_);                                          \
  }                                                                                            \
                                                                                               \
 private:                                                                                      \
  Type name##_ = initial;                                                                      \
                                                                                               \
 public:
