#pragma once
// The identifier of a forwarding-table FEC (a set of next-hop vias shared by every route that
// forwards the same way). Identifier 0 names no FEC.
#include <cstdint>
#include <ostream>
#include <string>

#include "platform/vox/Hash.h"

namespace Brisk::Fib {

class FecId {
 public:
  constexpr FecId() = default;
  explicit constexpr FecId(uint64_t value) : value_(value) {}

  constexpr uint64_t value() const { return value_; }

  constexpr bool operator==(const FecId&) const = default;
  constexpr auto operator<=>(const FecId&) const = default;
  uint32_t hash(uint32_t seed) const {
    return Vox::Hash(seed)
        .hashMix(static_cast<uint32_t>(value_))
        .hashMix(static_cast<uint32_t>(value_ >> 32))
        .result();
  }
  std::string valueToStrep() const { return std::to_string(value_); }
  friend std::ostream& operator<<(std::ostream& out, const FecId& id) { return out << id.value_; }

 private:
  uint64_t value_ = 0;
};

}  // namespace Brisk::Fib
