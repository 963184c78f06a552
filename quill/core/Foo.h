#pragma once
// A sample entity showing the smallest complete framework object: a name, one plain attribute
// whose change notifies observers, and one operation. Nothing in the pipeline uses it; it is the
// first thing to read when learning how entities are declared.
//
//   auto foo = Quill::fooFactory("example");
//   foo->fooIs(3);     // observers of `foo` hear of the change
//   foo->fooIs(3);     // no change, no notification
//   foo->doBar(7);     // prints "doBar( 7 ) called"
#include <cstdint>
#include <string>

#include "platform/vox/Attribute.h"

namespace Quill {

class Foo : public Vox::NamedEntity<Foo> {
 public:
  explicit Foo(std::string name) : NamedEntity(std::move(name)) {}

  VOX_VALUE_ATTRIBUTE(Foo, foo, uint32_t, 0)
  VOX_ATTRIBUTES(foo)

  // Writes "doBar( <value> ) called" and a newline to standard output.
  void doBar(uint32_t value) const;
};

// A new `Foo` called `name`, notifications on.
Vox::Ptr<Foo> fooFactory(const std::string& name);

}  // namespace Quill
