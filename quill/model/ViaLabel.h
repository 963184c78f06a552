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
#include <string_view>
#include <tuple>

#include "platform/mpls/FibVia.h"
#include "platform/vela/MplsLabel.h"
#include "platform/vox/LogStream.h"
#include "platform/vox/ValueType.h"

namespace Mpls {

class ViaLabel : public Vox::ValueType<ViaLabel> {
 public:
  static constexpr auto fields() {
    return std::tuple(Vox::field<&ViaLabel::via_>("via"),
                      Vox::field<&ViaLabel::label_>("label", "N"));
  }
  static constexpr Vox::ReflectedText kText{"Mpls::ViaLabel"};

  ViaLabel() = default;
  ViaLabel(const FibVia& via, Vela::MplsLabel label) : via_(via), label_(label) {}
  explicit ViaLabel(Vox::AttrLogReader& in) : ViaLabel(fromLog(in)) {}
  // Same as sequenceToValue.
  explicit ViaLabel(std::string_view text) : ViaLabel(sequenceToValue(text)) {}

  const FibVia& via() const { return via_; }
  Vela::MplsLabel label() const { return label_; }

  uint32_t hash(uint32_t seed) const { return mixedHash(seed); }

 private:
  FibVia via_;
  Vela::MplsLabel label_;
};

}  // namespace Mpls
