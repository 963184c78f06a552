#include "platform/vox/Attribute.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/support/TestEntities.h"

namespace {

using QuillTest::TestKey;

class Item : public Vox::KeyedEntity<Item, TestKey> {
 public:
  explicit Item(const TestKey& key) : KeyedEntity(key) {}
  VOX_SET_ATTRIBUTE(Item, tag, TestKey)
  VOX_SET_ATTRIBUTE(Item, mark, TestKey)
  VOX_ATTRIBUTES(tag, mark)
};

// One attribute of each kind, listed out of their declaration order.
class Mixed : public Vox::EntityBase<Mixed> {
 public:
  VOX_SET_ATTRIBUTE(Mixed, flag, TestKey)
  VOX_ENTITY_COLL_ATTRIBUTE(Mixed, item, TestKey, Item)
  VOX_VALUE_MAP_ATTRIBUTE(Mixed, weight, TestKey, std::string)
  VOX_VALUE_ATTRIBUTE(Mixed, level, uint32_t, 0)
  VOX_ATTRIBUTES(level, item, flag, weight)
};

// "name:kind[...]" for each attribute, members written through their own lists.
template <class Entity>
std::string walk(const Entity& entity) {
  std::string text;
  Vox::forEachAttribute<Entity>([&](auto attr) {
    using Attr = decltype(attr);
    // Appended piece by piece: GCC 12 at -O2 misreads `"x" + std::string&&` as an overlapping copy.
    text.append(" ").append(Attr::info.name).append(":");
    if constexpr (Attr::kind == Vox::AttributeKind::kValue) {
      text.append("value=").append(std::to_string(Attr::of(entity)));
    } else {
      text += Attr::kind == Vox::AttributeKind::kSet        ? "set["
              : Attr::kind == Vox::AttributeKind::kValueMap ? "map["
                                                            : "coll[";
      Vox::forEachKeyOf<Attr>(entity, [&](const TestKey& key) {
        text += key.valueToStrep();
        if constexpr (Attr::kind == Vox::AttributeKind::kValueMap) {
          text.append("=").append(*Attr::of(entity).find(key));
        } else if constexpr (Attr::kind == Vox::AttributeKind::kEntityColl) {
          text.append("{")
              .append(walk<typename Attr::Member>(*Attr::of(entity).find(key)))
              .append(" }");
        }
      });
      text += "]";
    }
  });
  return text;
}

}  // namespace

TEST(AttributeListTest, AWalkMeetsEveryAttributeInListedOrderWithItsStorageAndMembers) {
  auto mixed = Vox::create<Mixed>();
  mixed->levelIs(3);
  mixed->itemIs({5})->tagIs({6});
  mixed->itemIs({5})->markIs({4});
  mixed->flagIs({7});
  mixed->weightIs({8}, "heavy");
  EXPECT_EQ(
      walk(*mixed),
      " level:value=3 item:coll[5{ tag:set[6] mark:set[4] }] flag:set[7] weight:map[8=heavy]");
}
