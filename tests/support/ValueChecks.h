#pragma once
// Checks that every value type owes its users, written once for all of them.
//
// - expectTextRoundTrip<T>(text): the text parses, prints back unchanged through both
//   valueToStrep and operator<<, and a copy is equal and hashes alike.
// - expectParseError<T>(text, why): parsing throws Vox::ParseError whose message quotes the text
//   and contains `why`.
// - expectStrictlyAscending(values): on every pair, < and == agree with the list positions, which
//   catches orders that are not strict weak orders or disagree with equality.
// - expectValueTexts<T>(ascending, malformed): each of `ascending` round-trips and the values
//   ascend in the order given; each of `malformed` is rejected.
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
void expectParseError(std::string_view text, std::string_view why = "") {
  try {
    (void)T::sequenceToValue(text);
    ADD_FAILURE() << "parsed '" << text << "'";
  } catch (const Vox::ParseError& e) {
    const std::string_view message = e.what();
    EXPECT_NE(message.find("'" + std::string(text) + "'"), std::string::npos) << message;
    EXPECT_NE(message.find(why), std::string::npos) << message;
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
void expectValueTexts(std::initializer_list<std::string_view> ascending,
                      std::initializer_list<std::string_view> malformed) {
  std::vector<T> values;
  for (std::string_view text : ascending)
    values.push_back(expectTextRoundTrip<T>(text));
  expectStrictlyAscending(values);
  for (std::string_view text : malformed)
    expectParseError<T>(text);
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
