#pragma once
// Checks that every value type owes its users, written once for all of them.
//
// - expectTextRoundTrip<T>(text): the text parses, prints back unchanged through both
//   valueToStrep and operator<<, and a copy is equal and hashes alike.
// - expectParseError<T>(text): parsing throws Vox::ParseError whose message quotes the text.
// - expectStrictlyAscending(values): on every pair, < and == agree with the list positions, which
//   catches orders that are not strict weak orders or disagree with equality.
// - expectFieldSwapChangesHash(ab, ba): two values built with the same two field values exchanged
//   differ and hash differently, which catches hashes that mix fields commutatively.
// - expectLogRoundTrip(value): logTo then the reader constructor gives an equal value and consumes
//   exactly what was written; every truncation of the record throws Vox::LogStreamError.
#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/vox/Exception.h"
#include "platform/vox/Hash.h"
#include "platform/vox/LogStream.h"

namespace QuillTest {

template <class T>
uint32_t hashOf(const T& value) {
  return Vox::hashOfKey(value);
}

template <class T>
T expectTextRoundTrip(std::string_view text) {
  SCOPED_TRACE(testing::Message() << "text '" << text << "'");
  const T value = T::sequenceToValue(text);
  EXPECT_EQ(value.valueToStrep(), text);
  std::ostringstream streamed;
  streamed << value;
  EXPECT_EQ(streamed.str(), text);
  const T copy = value;
  EXPECT_EQ(copy, value);
  EXPECT_EQ(hashOf(copy), hashOf(value));
  return value;
}

template <class T>
void expectParseError(std::string_view text) {
  try {
    (void)T::sequenceToValue(text);
    ADD_FAILURE() << "parsed '" << text << "'";
  } catch (const Vox::ParseError& e) {
    EXPECT_NE(std::string_view(e.what()).find("'" + std::string(text) + "'"), std::string::npos)
        << e.what();
  }
}

template <class T>
void expectStrictlyAscending(const std::vector<T>& values) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    for (std::size_t j = 0; j < values.size(); ++j) {
      SCOPED_TRACE(testing::Message() << values[i] << " vs " << values[j]);
      EXPECT_EQ(values[i] < values[j], i < j);
      EXPECT_EQ(values[i] == values[j], i == j);
    }
  }
}

template <class T>
void expectFieldSwapChangesHash(const T& ab, const T& ba) {
  EXPECT_NE(ab, ba);
  EXPECT_NE(hashOf(ab), hashOf(ba)) << ab << " and " << ba;
}

template <class T>
void expectLogRoundTrip(const T& value) {
  SCOPED_TRACE(testing::Message() << "value " << value);
  std::string record;
  Vox::AttrLogWriter writer(record);
  value.logTo(writer);
  Vox::AttrLogReader reader(record);
  EXPECT_EQ(T(reader), value);
  EXPECT_TRUE(reader.atEnd());
  for (std::size_t size = 0; size < record.size(); ++size) {
    Vox::AttrLogReader truncated(std::string_view(record).substr(0, size));
    EXPECT_THROW(T{truncated}, Vox::LogStreamError) << "truncated to " << size << " bytes";
  }
}

}  // namespace QuillTest
