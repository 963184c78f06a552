#pragma once
// Builds value types from their text forms, so tests read like scenarios:
// v<Mpls::RouterId>("2.2.2.2:0").
#include <string_view>

namespace QuillTest {

template <class T>
T v(std::string_view text) {
  return T::sequenceToValue(text);
}

}  // namespace QuillTest
