#pragma once
// A next-hop via paired with the outgoing (peer) label: one replication branch of an LFIB entry.
//
// Equality is field by field, via first. Ordering: when the vias differ they decide, by address
// and then by interface; only equal vias fall back to the label. So a via with a greater address
// orders after, whatever its interface and label.
//
// The hash starts from the seed and mixes the via's unseeded hash (which ignores the address
// family), then the label's single-attribute hash. Two branches whose via addresses have the same
// bytes in different families therefore hash alike but compare unequal.
//
// Text (the framework's reflected form, fields in their own text forms):
//   Value('Mpls::ViaLabel', ** {'via': 10.1.1.2-Ethernet1, 'label': 16})
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/mpls/FibVia.h"
#include "platform/vela/MplsLabel.h"
#include "platform/vox/LogStream.h"

namespace Mpls {

class ViaLabel {
 public:
  ViaLabel() = default;
  ViaLabel(const FibVia& via, Vela::MplsLabel label) : via_(via), label_(label) {}
  explicit ViaLabel(Vox::AttrLogReader& in);
  // Same as sequenceToValue.
  explicit ViaLabel(std::string_view text);

  const FibVia& via() const { return via_; }
  Vela::MplsLabel label() const { return label_; }

  bool operator==(const ViaLabel& other) const;
  bool operator<(const ViaLabel& other) const;
  uint32_t hash(uint32_t seed) const;

  std::string valueToStrep() const;
  friend std::ostream& operator<<(std::ostream& os, const ViaLabel& value);
  static ViaLabel sequenceToValue(std::string_view text);
  void logTo(Vox::AttrLogWriter& out) const;

 private:
  FibVia via_;
  Vela::MplsLabel label_;
};

}  // namespace Mpls
