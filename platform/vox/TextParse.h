#pragma once
// Small strict parsers and printers shared by the text forms of value types.
//
// Every text form in the system has exactly one spelling per value, so that texts compare as
// strings (in traces, scenario files and tests) exactly when the values compare equal. The
// parsers therefore accept only canonical spellings:
// - decimal numbers: ASCII digits only; no sign, no blanks, no leading zero unless the number is
//   "0" itself (so "010" is rejected rather than guessed to be ten or eight);
// - dotted quads: four such numbers of at most 255, joined by '.';
// - hex byte strings: an even number of hex digits. Upper-case digits are accepted on input
//   because hex dumps from other tools commonly use them; output is always lower case.
//
// Parsers return std::nullopt instead of throwing: the caller knows the type being parsed and
// throws the `Vox::ParseError` that names it.
//
//   Vox::text::decimal("4094", 4094);      // 4094
//   Vox::text::decimal("04094", 4094);     // nullopt
//   Vox::text::dottedQuad("10.0.0.1");     // 0x0a000001 (host order)
//   Vox::text::hexBytes("01Ff");           // "\x01\xff"
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Vox::text {

// A canonical decimal number no greater than `max`.
std::optional<uint64_t> decimal(std::string_view text, uint64_t max);

// A dotted-quad IPv4 address, returned in host order.
std::optional<uint32_t> dottedQuad(std::string_view text);
std::string dottedQuadText(uint32_t hostOrder);

// Bytes spelled as pairs of hex digits (either case).
std::optional<std::string> hexBytes(std::string_view text);
// Lower-case hex, two digits per byte.
std::string hexText(std::string_view bytes);

// Splits at the first `separator`; nullopt when there is none.
std::optional<std::pair<std::string_view, std::string_view>> splitFirst(std::string_view text,
                                                                        char separator);

// The framework's reflected text of a composite value:
//   Value('TYPE', ** {'NAME1': TEXT1, 'NAME2': TEXT2})
// Field texts are inserted verbatim. Parsing finds each field name in turn and returns the field
// texts in order; it relies on no field text containing the ", 'NEXTNAME': " that follows it,
// which holds for every value type whose text has no quotes.
std::string reflectedText(std::string_view typeName,
                          std::span<const std::pair<std::string_view, std::string>> fields);
std::string reflectedText(std::string_view typeName,
                          std::initializer_list<std::pair<std::string_view, std::string>> fields);
std::optional<std::vector<std::string_view>> reflectedFields(
    std::string_view text, std::string_view typeName, std::span<const std::string_view> fieldNames);
std::optional<std::vector<std::string_view>> reflectedFields(
    std::string_view text, std::string_view typeName,
    std::initializer_list<std::string_view> fieldNames);

}  // namespace Vox::text
