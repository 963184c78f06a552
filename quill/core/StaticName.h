#pragma once
// Names computed at compile time from the names a class declares, so that trace handles and
// tracer sites need no per-class boilerplate and no allocation.
#include <algorithm>
#include <cstddef>
#include <string_view>

namespace Quill {

template <std::size_t N>
struct StaticName {
  constexpr StaticName(const char (&text)[N]) { std::copy_n(text, N, chars); }  // NOLINT
  constexpr StaticName() = default;
  constexpr const char* c_str() const { return chars; }
  constexpr std::string_view view() const { return {chars, N - 1}; }
  char chars[N] = {};
};

template <std::size_t A, std::size_t B>
constexpr StaticName<A + B - 1> operator+(const StaticName<A>& a, const StaticName<B>& b) {
  StaticName<A + B - 1> joined;
  std::copy_n(a.chars, A - 1, joined.chars);
  std::copy_n(b.chars, B, joined.chars + A - 1);
  return joined;
}

// The part of a qualified name after its last "::": "Mpls::FooSm" -> "FooSm".
template <StaticName Qualified>
constexpr auto unqualified() {
  constexpr std::string_view view = Qualified.view();
  constexpr std::size_t colon = view.rfind("::");
  constexpr std::size_t start = colon == std::string_view::npos ? 0 : colon + 2;
  StaticName<view.size() - start + 1> name;
  std::copy_n(view.data() + start, view.size() - start, name.chars);
  return name;
}

}  // namespace Quill
