// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <climits>
#include <random>

#include "common/Fields.h"

namespace Tolvek {
namespace {

using Fields = std::vector<std::string>;

Fields FieldsOf(const std::string& text) {
  Fields fields;
  SplitFields(text, fields);
  return fields;
}

TEST(Fields, AreWhatStandsBetweenWhiteSpace) {
  EXPECT_EQ(FieldsOf("a bc\td"), (Fields{"a", "bc", "d"}));
  EXPECT_EQ(FieldsOf(" \t a \r\n b\n"), (Fields{"a", "b"}));
  EXPECT_EQ(FieldsOf("a\vb\fc"), (Fields{"a", "b", "c"}));
  EXPECT_EQ(FieldsOf("a"), (Fields{"a"}));
}

TEST(Fields, ATextWithoutAnyHasNone) {
  EXPECT_EQ(FieldsOf(""), Fields());
  EXPECT_EQ(FieldsOf(" \t\n\v\f\r"), Fields());
}

TEST(Fields, NoOtherByteSeparates) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text = std::string("a") + static_cast<char>(byte) + "b";
    const bool separates = byte == ' ' || (byte >= '\t' && byte <= '\r');
    EXPECT_EQ(FieldsOf(text), separates ? (Fields{"a", "b"}) : Fields{text}) << byte;
  }
}

TEST(Fields, AreAppended) {
  Fields fields{"old"};
  SplitFields("a b", fields);
  SplitFields("", fields);
  SplitFields("c", fields);
  EXPECT_EQ(fields, (Fields{"old", "a", "b", "c"}));
}

TEST(Fields, ArePiecesOfTheText) {
  const std::string text = " ab  c";
  std::vector<std::ptrdiff_t> starts;
  ForEachField(text, [&](std::string_view field) { starts.push_back(field.data() - text.data()); });
  EXPECT_EQ(starts, (std::vector<std::ptrdiff_t>{1, 5}));
}

TEST(Fields, AreThoseOfAStream) {
  std::mt19937 random(1);
  for (int i = 0; i < 2000; ++i) {
    std::string text;
    for (std::size_t n = random() % 12; n > 0; --n)
      text += " \t\n\v\f\rab\0\xA0\x85/"[random() % 12];
    std::istringstream in(text);
    Fields expected;
    for (std::string field; in >> field;) expected.push_back(field);
    ASSERT_EQ(FieldsOf(text), expected) << testing::PrintToString(text);
  }
}

TEST(ExtractNumber, ReadsTheStartOfTheLine) {
  EXPECT_EQ(ExtractNumber<int>("12"), 12);
  EXPECT_EQ(ExtractNumber<int>(" \t12 entries\r"), 12);
  EXPECT_EQ(ExtractNumber<int>("12entries"), 12);
  EXPECT_EQ(ExtractNumber<int>("-5"), -5);
  EXPECT_EQ(ExtractNumber<int>("+7"), 7);
  EXPECT_EQ(ExtractNumber<int>("007"), 7) << "always decimal";
  EXPECT_EQ(ExtractNumber<int>("3.9"), 3);
  EXPECT_EQ(ExtractNumber<int>("1,234"), 1);
  EXPECT_EQ(ExtractNumber<int>("0x10"), 0);
}

TEST(ExtractNumber, IsZeroWhereThereIsNone) {
  for (const char* line : {"", " ", "abc", "-", "- 1", "\xCE\xD2 1"}) {
    EXPECT_EQ(ExtractNumber<int>(line), 0) << line;
  }
}

TEST(ExtractNumber, StopsAtTheBounds) {
  EXPECT_EQ(ExtractNumber<int>("2147483647"), INT_MAX);
  EXPECT_EQ(ExtractNumber<int>("2147483648"), INT_MAX);
  EXPECT_EQ(ExtractNumber<int>("99999999999999999999"), INT_MAX);
  EXPECT_EQ(ExtractNumber<int>("-99999999999999999999"), INT_MIN);
}

TEST(ExtractNumber, ReadsFloatingPoint) {
  EXPECT_EQ(ExtractNumber<double>("-2.5e-1 x"), -0.25);
  EXPECT_EQ(ExtractNumber<double>(".5"), 0.5);
  EXPECT_EQ(ExtractNumber<double>("x"), 0.0);
}

}  // namespace
}  // namespace Tolvek
