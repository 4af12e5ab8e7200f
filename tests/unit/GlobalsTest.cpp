// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <limits>

#include "common/Globals.h"

namespace Tolvek {
namespace {

std::string Trimmed(std::string text) {
  TrimLine(text);
  return text;
}

TEST(Globals, Texts) {
  EXPECT_EQ(g_copyright,
            "Tolvek: A Chinese/English Lexical Analysis Toolkit\n"
            "Licensed under the Apache License, Version 2.0; shipped models under CC BY-SA 4.0\n");
  EXPECT_EQ(g_version, "Version: 2.3, Last update: 2011-07-14\n");
  EXPECT_EQ(g_datapath, "data/");
  EXPECT_EQ(g_Model_Header, "#bin,model");
  EXPECT_EQ(g_Header_Len, 10);
}

TEST(Globals, TrimLineRemovesBlanksAtBothEnds) {
  EXPECT_EQ(Trimmed("\r\n"), "");
  EXPECT_EQ(Trimmed(" a b\t"), "a b");
  EXPECT_EQ(Trimmed(""), "");
  EXPECT_EQ(Trimmed(" \t\r\n \t"), "");
  EXPECT_EQ(Trimmed("a"), "a");
  EXPECT_EQ(Trimmed("\n\r\t x\t\r\ny \n"), "x\t\r\ny");
}

TEST(Globals, TrimLineKeepsEveryOtherCharacter) {
  for (const char* text : {"\fa\f", "\va\v",
                           "\xA0"
                           "a\xA0",
                           "\xA1\xA1"
                           "a\xA1\xA1",
                           "\x01"
                           "a\x7F"}) {
    EXPECT_EQ(Trimmed(text), text);
  }
  const std::string zeros("\0a\0", 3);
  EXPECT_EQ(Trimmed(" " + zeros + " "), zeros);
}

TEST(Globals, ToStringIsPlainDecimal) {
  EXPECT_EQ(toString<int>(-5), "-5");
  EXPECT_EQ(toString<int>(0), "0");
  EXPECT_EQ(toString<int>(1234567), "1234567");
  EXPECT_EQ(toString<int>(std::numeric_limits<int>::min()), "-2147483648");
  EXPECT_EQ(toString<int>(std::numeric_limits<int>::max()), "2147483647");
}

TEST(Globals, ToStringDoesNotGroupDigitsInAnyLocale) {
  struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale(), new Grouping));
  const std::string text = toString<int>(1234567);
  std::locale::global(before);
  EXPECT_EQ(text, "1234567");
}

TEST(Globals, StringHash) {
  const string_hash hash;
  EXPECT_EQ(hash(""), 0U);
  EXPECT_EQ(hash("a"), 97U);
  EXPECT_EQ(hash("ab"), 583U);
  EXPECT_EQ(hash("\xB0"), static_cast<std::uint64_t>(-80));
  EXPECT_EQ(hash("\xFF"), static_cast<std::uint64_t>(-1));
  EXPECT_EQ(hash("\xB0"
                 "a"),
            static_cast<std::uint64_t>(-303));
  EXPECT_EQ(hash(std::string("a\0b", 3)), 97U) << "only the bytes before the first zero count";
}

TEST(Globals, StringHashWrapsAround) {
  std::uint64_t expected = 0;
  for (int i = 0; i < 200; ++i) expected = expected * 5 + 'z';
  EXPECT_EQ(string_hash()(std::string(200, 'z')), expected);
}

}  // namespace
}  // namespace Tolvek
