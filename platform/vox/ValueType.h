#pragma once
// Value types declared by their fields.
//
// A composite value type lists its fields once, in declaration order, in a static `fields()`, and
// derives from `Vox::ValueType<Self>`. From that one list follow:
// - equality, field by field, stopping at the first unequal field;
// - ordering (`<=>`), lexicographic in the same order;
// - `mixedHash(seed)`: the accumulator started from the seed, fed one 32-bit hash per field in
//   declaration order (a field that is itself a value type gives `hash(0)`, or `hash()` when it
//   has no seed; an integer gives itself);
// - the attribute-log form (`logTo`, `fromLog`): each field's own form, in order;
// - when the type declares a `kText`, the text form, parsing (`sequenceToValue`, its inverse) and
//   the placeholder text a parse error shows as what was expected.
// Reordering or adding a field therefore changes all of them together: they cannot disagree.
//
//   class RouterId : public Vox::ValueType<RouterId> {
//    public:
//     static constexpr auto fields() {
//       return std::tuple(Vox::field<&RouterId::rtrIdValue_, Vox::DottedQuad>("rtrIdValue",
//                                                                             "A.B.C.D"),
//                         Vox::field<&RouterId::lblSpaceValue_>("lblSpaceValue", "N"));
//     }
//     static constexpr Vox::JoinedText kText{"Mpls::RouterId", ':', "a dotted-decimal ..."};
//
//     constexpr RouterId(uint32_t rtrIdValue, uint16_t lblSpaceValue);   // fields in order
//     uint32_t hash(uint32_t seed) const { return mixedHash(seed); }
//     ...
//   };
//
// `fields()` and `kText` come first in the class, before any member defined inline that hashes,
// compares, parses or reads a log: clang instantiates the constexpr machinery where the inline
// body is parsed, and a deduced return type or a member declared further down is not yet known
// there.
//
// A field is named by a data member or by a const getter; the type must be constructible from
// all field values in order (that is how parsing and the log build it). Which hash a type offers
// (seeded or not) stays its own one-line choice, as does a hash that is not a mix of its fields.
#include <array>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "platform/vox/Exception.h"
#include "platform/vox/Hash.h"
#include "platform/vox/LogStream.h"
#include "platform/vox/TextParse.h"

namespace Vox {

// How a field of type T prints, parses, logs and hashes. The primary template serves fields that
// are value types themselves; their parse errors propagate.
template <class T>
struct FieldCodec {
  static std::string text(const T& value) { return value.valueToStrep(); }
  static std::optional<T> parse(std::string_view text) { return T::sequenceToValue(text); }
  static void log(AttrLogWriter& out, const T& value) { value.logTo(out); }
  static T read(AttrLogReader& in) {
    if constexpr (std::is_constructible_v<T, AttrLogReader&>) {
      return T(in);
    } else {
      return T::fromLog(in);
    }
  }
  static constexpr uint32_t hash(const T& value) {
    if constexpr (requires { value.hash(0u); }) {
      return value.hash(0);
    } else {
      return value.hash();
    }
  }
};

// Unsigned integers: canonical decimal text, little-endian log of their own width, mixed as they
// are.
template <std::unsigned_integral T>
requires(sizeof(T) <= 4) struct FieldCodec<T> {
  static std::string text(T value) { return std::to_string(value); }
  static std::optional<T> parse(std::string_view text) {
    const auto number = text::decimal(text, std::numeric_limits<T>::max());
    return number ? std::optional<T>(static_cast<T>(*number)) : std::nullopt;
  }
  static void log(AttrLogWriter& out, T value) {
    if constexpr (sizeof(T) == 1) {
      out.u8(value);
    } else if constexpr (sizeof(T) == 2) {
      out.u16(value);
    } else {
      out.u32(value);
    }
  }
  static T read(AttrLogReader& in) {
    if constexpr (sizeof(T) == 1) {
      return in.u8();
    } else if constexpr (sizeof(T) == 2) {
      return in.u16();
    } else {
      return in.u32();
    }
  }
  static constexpr uint32_t hash(T value) { return value; }
};

// An IPv4 address held as a host-order 32-bit number, written as a dotted quad.
struct DottedQuad : FieldCodec<uint32_t> {
  static std::string text(uint32_t value) { return text::dottedQuadText(value); }
  static std::optional<uint32_t> parse(std::string_view text) { return text::dottedQuad(text); }
};

namespace detail {
template <class>
struct MemberOf;
template <class Owner, class T>
struct MemberOf<T Owner::*> {
  using type = std::remove_cvref_t<T>;
};
template <class Owner, class R>
struct MemberOf<R (Owner::*)() const> {
  using type = std::remove_cvref_t<R>;
};
template <class Owner, class R>
struct MemberOf<R (Owner::*)() const noexcept> {
  using type = std::remove_cvref_t<R>;
};
}  // namespace detail

// One field: its name, the member or getter that holds it, and its codec. The placeholder stands
// for the field in the "expected ..." of a parse error; when empty, a field that is itself a
// declared value type shows its own form's placeholder.
template <auto Member, class Codec = FieldCodec<typename detail::MemberOf<decltype(Member)>::type>>
struct Field {
  using Type = typename detail::MemberOf<decltype(Member)>::type;

  std::string_view name;
  std::string_view placeholder;

  template <class Owner>
  [[gnu::always_inline]] static constexpr decltype(auto) of(const Owner& owner) {
    return std::invoke(Member, owner);
  }
  template <class Owner>
  [[gnu::always_inline]] static constexpr uint32_t hashOf(const Owner& owner) {
    return Codec::hash(of(owner));
  }
  template <class Owner>
  static std::string textOf(const Owner& owner) {
    return Codec::text(of(owner));
  }
  template <class Owner>
  static void logOf(AttrLogWriter& out, const Owner& owner) {
    Codec::log(out, of(owner));
  }
  static std::optional<Type> parse(std::string_view text) { return Codec::parse(text); }
  static Type read(AttrLogReader& in) { return Codec::read(in); }

  std::string expected() const {
    if (!placeholder.empty()) return std::string(placeholder);
    if constexpr (requires { Type::kText; }) {
      return Type::textPlaceholder();
    } else {
      return std::string(name);
    }
  }
};

template <auto Member, class Codec = FieldCodec<typename detail::MemberOf<decltype(Member)>::type>>
constexpr Field<Member, Codec> field(std::string_view name, std::string_view placeholder = {}) {
  return {name, placeholder};
}

// The framework's reflected text: Value('TYPE', ** {'NAME': TEXT, ...}).
struct ReflectedText {
  std::string_view typeName;
};

// Field texts joined by a separator, e.g. "A.B.C.D:N". Parsing splits at the first separator
// each time, so only the last field's text may contain it. The description follows the
// placeholder in a parse error.
struct JoinedText {
  std::string_view typeName;
  char separator;
  std::string_view description;
};

namespace detail {
// `<=>` where the type has it, else a weak ordering from `<`.
template <class T>
[[gnu::always_inline]] constexpr auto threeWay(const T& a, const T& b) {
  if constexpr (std::three_way_comparable<T>) {
    return a <=> b;
  } else {
    return a < b ? std::weak_ordering::less
                 : (b < a ? std::weak_ordering::greater : std::weak_ordering::equivalent);
  }
}
template <class Fields>
struct OrderingOf;
template <class... Fs>
struct OrderingOf<std::tuple<Fs...>> {
  using type = std::common_comparison_category_t<decltype(threeWay(
      std::declval<const typename Fs::Type&>(), std::declval<const typename Fs::Type&>()))...>;
};
}  // namespace detail

template <class Self>
class ValueType {
 public:
  // Forced inline: every keyed table compares and hashes its keys on each look-up, and these
  // must cost what a hand-written member-by-member version costs.
  [[gnu::always_inline]] friend constexpr bool operator==(const Self& a, const Self& b) {
    return equal(a, b, indices());
  }
  [[gnu::always_inline]] friend constexpr auto operator<=>(const Self& a, const Self& b) {
    return compare(a, b, indices());
  }

  void logTo(AttrLogWriter& out) const {
    std::apply([&](auto... f) { (f.logOf(out, self()), ...); }, Self::fields());
  }
  // Fields in stream order: a braced list evaluates its elements left to right.
  static Self fromLog(AttrLogReader& in) {
    return std::apply([&](auto... f) { return Self{f.read(in)...}; }, Self::fields());
  }

  std::string valueToStrep() const {
    return compose([&](auto f) { return f.textOf(self()); });
  }
  friend std::ostream& operator<<(std::ostream& os, const Self& value) {
    return os << value.valueToStrep();
  }

  // What a well-formed text looks like: "A.B.C.D:N",
  // "Value('Mpls::FecRouter', ** {'fwdEqvClass': FEC, 'routerId': A.B.C.D:N})".
  // Only for types that declare a `kText`. Not a constraint: clang would settle it while the type
  // is still incomplete and remember the answer.
  static std::string textPlaceholder() {
    return compose([](auto f) { return f.expected(); });
  }

  // The inverse of valueToStrep; throws Vox::ParseError naming the type, the text, the form
  // expected and, when a field's own parse failed, why.
  static Self sequenceToValue(std::string_view text) {
    std::string expected = textPlaceholder();
    if constexpr (!kReflected) expected += ", " + std::string(Self::kText.description);
    const auto pieces = split(text);
    if (!pieces) throw ParseError(Self::kText.typeName, text, expected);
    std::optional<Self> value;
    try {
      value = [&]<std::size_t... I>(std::index_sequence<I...>)->std::optional<Self> {
        using Fields = decltype(Self::fields());
        auto parsed = std::tuple{std::tuple_element_t<I, Fields>::parse((*pieces)[I])...};
        if (!(std::get<I>(parsed) && ...)) return std::nullopt;
        return Self{*std::get<I>(parsed)...};
      }
      (std::make_index_sequence<kFieldCount>());
    } catch (const ParseError& e) {
      throw ParseError(Self::kText.typeName, text, expected + "; " + e.what());
    }
    if (!value) throw ParseError(Self::kText.typeName, text, expected);
    return *value;
  }

 protected:
  // The accumulator from `seed`, fed each field's hash in declaration order.
  [[gnu::always_inline]] constexpr uint32_t mixedHash(uint32_t seed) const {
    return mix(Hash(seed), self(), indices());
  }

 private:
  // `S` only defers the look-up until Self is complete.
  template <std::size_t I, class S = Self>
  using FieldAt = std::tuple_element_t<I, decltype(S::fields())>;
  static constexpr std::size_t kFieldCount = std::tuple_size_v<decltype(Self::fields())>;
  static constexpr auto indices() { return std::make_index_sequence<kFieldCount>(); }

  template <std::size_t... I>
  [[gnu::always_inline]] static constexpr bool equal(const Self& a, const Self& b,
                                                     std::index_sequence<I...>) {
    return ((FieldAt<I>::of(a) == FieldAt<I>::of(b)) && ...);
  }
  template <std::size_t... I>
  [[gnu::always_inline]] static constexpr auto compare(const Self& a, const Self& b,
                                                       std::index_sequence<I...>) {
    using Ordering = typename detail::OrderingOf<decltype(Self::fields())>::type;
    Ordering order = Ordering::equivalent;
    (void)((((order = detail::threeWay(FieldAt<I>::of(a), FieldAt<I>::of(b))) == 0) && ...));
    return order;
  }
  template <std::size_t... I>
  [[gnu::always_inline]] static constexpr uint32_t mix(Hash hash, const Self& value,
                                                       std::index_sequence<I...>) {
    (hash.hashMix(FieldAt<I>::hashOf(value)), ...);
    return hash.result();
  }
  static constexpr bool kReflected =
      std::is_same_v<std::remove_cvref_t<decltype(Self::kText)>, ReflectedText>;

  constexpr const Self& self() const { return static_cast<const Self&>(*this); }

  template <class F>
  static void forEachField(F&& f) {
    std::apply(
        [&](auto... field) {
          std::size_t i = 0;
          (f(i++, field), ...);
        },
        Self::fields());
  }
  // The text form with each field's text given by `fieldText(field)`.
  template <class FieldText>
  static std::string compose(FieldText&& fieldText) {
    std::array<std::pair<std::string_view, std::string>, kFieldCount> named;
    forEachField([&](std::size_t i, auto f) { named[i] = {f.name, fieldText(f)}; });
    if constexpr (kReflected) {
      return text::reflectedText(Self::kText.typeName, named);
    } else {
      std::string text = named[0].second;
      for (std::size_t i = 1; i < kFieldCount; ++i)
        text += Self::kText.separator + named[i].second;
      return text;
    }
  }

  // The field texts of `text`, or nullopt when it does not have the form's shape.
  static auto split(std::string_view text) {
    using Pieces = std::array<std::string_view, kFieldCount>;
    Pieces pieces;
    if constexpr (kReflected) {
      std::array<std::string_view, kFieldCount> names;
      forEachField([&](std::size_t i, auto f) { names[i] = f.name; });
      const auto fields = text::reflectedFields(text, Self::kText.typeName, names);
      if (!fields) return std::optional<Pieces>();
      for (std::size_t i = 0; i < kFieldCount; ++i)
        pieces[i] = (*fields)[i];
    } else {
      for (std::size_t i = 0; i + 1 < kFieldCount; ++i) {
        const auto cut = text::splitFirst(text, Self::kText.separator);
        if (!cut) return std::optional<Pieces>();
        pieces[i] = cut->first;
        text = cut->second;
      }
      pieces[kFieldCount - 1] = text;
    }
    return std::optional<Pieces>(pieces);
  }
};

}  // namespace Vox
