#pragma once
// The key types of compiled pipelines: a tuple of value-type fields with generated names.
//
//   using Pipeline0KeyType = Quill::Flux::FluxKey<"Mpls::IpAddrToRouterIdInfoSm::Pipeline0KeyType",
//                                                 Quill::Flux::FieldNames<"a0", "r1">,
//                                                 Vela::IpGenAddr, Mpls::RouterId>;
//   Pipeline0KeyType key(address, router);
//   key.get<0>();              // the address
//   key.valueToStrep();        // "Value('Mpls::IpAddrToRouterIdInfoSm::Pipeline0KeyType', **
//   {'a0': 10.0.0.1, 'r1': 2.2.2.2:0})"
//
// Equality compares every field; ordering is lexicographic in field order by each field's own
// ordering; the hash starts from the seed and mixes each field's own hash (`hash(0)`, or `hash()`)
// in field order; `!key` tells whether every field is at its default.
#include <ostream>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "platform/vox/Exception.h"
#include "platform/vox/Hash.h"
#include "platform/vox/TextParse.h"
#include "quill/core/StaticName.h"

namespace Quill::Flux {

template <StaticName... Names>
struct FieldNames {};

template <StaticName TypeName, class Names, class... Types>
class FluxKey;

template <StaticName TypeName, StaticName... Names, class... Types>
class FluxKey<TypeName, FieldNames<Names...>, Types...> {
  static_assert(sizeof...(Names) == sizeof...(Types), "one name per field");
  static constexpr std::size_t kFields = sizeof...(Types);

 public:
  FluxKey() = default;
  explicit FluxKey(const Types&... fields) : fields_(fields...) {}

  template <std::size_t I>
  const auto& get() const {
    return std::get<I>(fields_);
  }

  bool operator==(const FluxKey& other) const { return fields_ == other.fields_; }
  bool operator<(const FluxKey& other) const {
    return less(other, std::make_index_sequence<kFields>());
  }
  bool operator!() const { return *this == FluxKey(); }

  uint32_t hash(uint32_t seed) const {
    Vox::Hash hash(seed);
    std::apply([&](const auto&... field) { (hash.hashMix(Vox::hashOfKey(field)), ...); }, fields_);
    return hash.result();
  }

  std::string valueToStrep() const { return valueToStrepImpl(std::make_index_sequence<kFields>()); }
  friend std::ostream& operator<<(std::ostream& out, const FluxKey& key) {
    return out << key.valueToStrep();
  }

  static FluxKey sequenceToValue(std::string_view text) {
    const auto fields = Vox::text::reflectedFields(text, TypeName.view(), {Names.view()...});
    if (!fields || fields->size() != kFields) {
      throw Vox::ParseError(
          TypeName.view(), text,
          "Value('" + std::string(TypeName.view()) + "', ** {...}) with every field");
    }
    return parseFields(*fields, std::make_index_sequence<kFields>());
  }

 private:
  template <std::size_t... I>
  bool less(const FluxKey& other, std::index_sequence<I...>) const {
    // Lexicographic with each field's own `<`; fields need not offer `<=>`.
    bool decided = false;
    bool result = false;
    auto step = [&](const auto& mine, const auto& theirs) {
      if (decided) return;
      if (mine < theirs) {
        decided = result = true;
      } else if (theirs < mine) {
        decided = true;
      }
    };
    (step(std::get<I>(fields_), std::get<I>(other.fields_)), ...);
    return result;
  }

  template <std::size_t... I>
  std::string valueToStrepImpl(std::index_sequence<I...>) const {
    return Vox::text::reflectedText(TypeName.view(),
                                    {std::pair<std::string_view, std::string>(
                                        Names.view(), std::get<I>(fields_).valueToStrep())...});
  }

  template <std::size_t... I>
  static FluxKey parseFields(const std::vector<std::string_view>& texts,
                             std::index_sequence<I...>) {
    return FluxKey(std::tuple_element_t<I, std::tuple<Types...>>::sequenceToValue(texts[I])...);
  }

  std::tuple<Types...> fields_;
};

}  // namespace Quill::Flux
