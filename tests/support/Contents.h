#pragma once
// Flattens nested collections into sorted text lines, so that tests compare whole outputs:
//
//   EXPECT_EQ(contents(out->ipAddrRouterIdColl(), &IpAddrRouterIdInfo::routerIdColl),
//             Lines({"10.0.0.1 2.2.2.2:0"}));
#include <set>
#include <string>

namespace QuillTest {

using Lines = std::set<std::string>;

template <class T>
std::string textOf(const T& value) {
  return value.valueToStrep();
}

// One line "key member" per (entry, member of the entry's set).
template <class Coll, class Member, class Set>
Lines contents(const Coll& coll, const Set& (Member::*setOf)() const) {
  Lines lines;
  for (const auto [key, entry] : coll) {
    for (const auto& member : (entry.*setOf)())
      lines.insert(textOf(key) + " " + textOf(member));
  }
  return lines;
}

// One line "key inner member" for two levels of entities over a set.
template <class Coll, class Entry, class Inner, class InnerColl, class Set>
Lines contents(const Coll& coll, const InnerColl& (Entry::*innerOf)() const,
               const Set& (Inner::*setOf)() const) {
  Lines lines;
  for (const auto [key, entry] : coll) {
    for (const auto [innerKey, inner] : (entry.*innerOf)()) {
      for (const auto& member : (inner.*setOf)()) {
        lines.insert(textOf(key) + " " + textOf(innerKey) + " " + textOf(member));
      }
    }
  }
  return lines;
}

}  // namespace QuillTest
