#pragma once
// Small entity types for testing the framework without the library's own data model.
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "platform/vox/Attribute.h"
#include "platform/vox/Hash.h"

namespace QuillTest {

// A value type that is nothing but a number; `bucketBits` lets tests force hash collisions.
struct TestKey {
  uint32_t value = 0;
  bool operator==(const TestKey&) const = default;
  bool operator<(const TestKey& other) const { return value < other.value; }
  uint32_t hash(uint32_t seed) const { return Vox::hashSingleAttr(seed, value); }
  std::string valueToStrep() const { return std::to_string(value); }
  friend std::ostream& operator<<(std::ostream& out, const TestKey& key) {
    return out << key.value;
  }
};

// A key whose hash is constant: every key collides.
struct CollidingKey {
  uint32_t value = 0;
  bool operator==(const CollidingKey&) const = default;
  uint32_t hash() const { return 7; }
  std::string valueToStrep() const { return std::to_string(value); }
};

class TestItem : public Vox::KeyedEntity<TestItem, TestKey> {
 public:
  explicit TestItem(const TestKey& key) : KeyedEntity(key) {}
  VOX_SET_ATTRIBUTE(TestItem, tag, TestKey)
};

class TestColl : public Vox::EntityBase<TestColl> {
 public:
  VOX_ENTITY_COLL_ATTRIBUTE(TestColl, item, TestKey, TestItem)
  VOX_SET_ATTRIBUTE(TestColl, flag, TestKey)
};

// Two levels of nesting: groups of items, each item with its tags.
class TestGroup : public Vox::KeyedEntity<TestGroup, TestKey> {
 public:
  explicit TestGroup(const TestKey& key) : KeyedEntity(key) {}
  VOX_ENTITY_COLL_ATTRIBUTE(TestGroup, item, TestKey, TestItem)
};

class TestGroupColl : public Vox::EntityBase<TestGroupColl> {
 public:
  VOX_ENTITY_COLL_ATTRIBUTE(TestGroupColl, group, TestKey, TestGroup)
};

// Records every notification it receives as "attr:key".
class Recorder : public TestColl::NotifieeConst {
 public:
  void onAttribute(const Vox::AttributeInfo& attr, const void* key) override {
    events.push_back(std::string(attr.name) + ":" +
                     std::to_string(static_cast<const TestKey*>(key)->value));
  }
  std::vector<std::string> events;
};

}  // namespace QuillTest
