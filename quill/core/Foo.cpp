#include "quill/core/Foo.h"

#include <iostream>

namespace Quill {

void Foo::doBar(uint32_t value) const {
  std::cout << "doBar( " << value << " ) called\n";
}

Vox::Ptr<Foo> fooFactory(const std::string& name) {
  return Vox::create<Foo>(name);
}

}  // namespace Quill
