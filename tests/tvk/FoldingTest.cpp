// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tvk/analyze/Folding.h"
#include "tvk/text/Files.h"
#include "tvk/text/Utf8.h"

namespace Tolvek {
namespace {

std::uint16_t Gbk(char32_t code) {
  return Charset::Of(Encoding::kGbk).TwoBytes(code);
}

TEST(Folding, TraditionalCharactersAreLookedUpAsSimplifiedOnes) {
  const Folding folding(true);
  EXPECT_EQ(folding.ToGbk(U'來'), Gbk(U'来'));
  EXPECT_EQ(folding.ToGbk(U'後'), Gbk(U'后'));
  EXPECT_EQ(folding.ToGbk(U'「'), Gbk(U'“'));
  EXPECT_EQ(folding.ToGbk(U'来'), Gbk(U'来'));
  EXPECT_EQ(folding.ToGbk(U'😀'), 0);
  EXPECT_EQ(folding.ToGbk(0x10FFFF), 0);
}

TEST(Folding, CanBeLeftOut) {
  const Folding folding(false);
  EXPECT_EQ(folding.ToGbk(U'來'), Gbk(U'來'));
  EXPECT_EQ(folding.ToPlain(U'’'), U'’');
}

TEST(Folding, TypographicPunctuationIsLookedUpAsPlainOne) {
  const Folding folding(true);
  EXPECT_EQ(folding.ToPlain(U'’'), U'\'');
  EXPECT_EQ(folding.ToPlain(U'“'), U'"');
  EXPECT_EQ(folding.ToPlain(U'\u2011'), U'-');
  EXPECT_EQ(folding.ToPlain(U'\u00A0'), U' ');
  EXPECT_EQ(folding.ToPlain(U'…'), U';');
  EXPECT_EQ(folding.ToPlain(U'–'), U'–') << "the models know it";
  EXPECT_EQ(folding.ToPlain(U'a'), U'a');
}

/// Each line of the table is a pair whose second character is one of GBK and not folded itself.
TEST(Folding, TheTableIsWellFormed) {
  const Folding folding(true);
  const std::string table =
      ReadWholeFile(std::string(PROJECT_DIR) + "/resources/characters/traditional.txt");
  std::size_t pairs = 0;
  for (const std::string_view line : SplitLines(table)) {
    if (line.starts_with('#')) continue;
    const std::vector<std::string_view> characters = SplitUtf8(line);
    ASSERT_EQ(characters.size(), 3U) << line;
    EXPECT_EQ(characters[1], " ") << line;
    const char32_t from = Utf8CodePoint(characters[0]);
    const char32_t to = Utf8CodePoint(characters[2]);
    EXPECT_NE(Gbk(to), 0) << line;
    EXPECT_EQ(folding.ToGbk(from), Gbk(to)) << line;
    EXPECT_EQ(folding.ToGbk(to), Gbk(to)) << line;
    ++pairs;
  }
  EXPECT_GT(pairs, 3000U);
}

}  // namespace
}  // namespace Tolvek
