// SPDX-License-Identifier: Apache-2.0
#include "Workplace.h"
#include "tvk/text/Encoding.h"

namespace Tolvek {
namespace {

TEST(IsUtf8, AcceptsWellFormedTextOnly) {
  EXPECT_TRUE(IsUtf8(""));
  EXPECT_TRUE(IsUtf8("a\u00E9\u4E2D\U0001F600"));
  EXPECT_TRUE(IsUtf8("\uD7FF\uE000\U0010FFFF"));
  EXPECT_FALSE(IsUtf8("\x80"));              // a tail byte first
  EXPECT_FALSE(IsUtf8("\xE4\xB8"));          // cut
  EXPECT_FALSE(IsUtf8("\xC0\xAF"));          // overlong
  EXPECT_FALSE(IsUtf8("\xE0\x9F\xBF"));      // overlong
  EXPECT_FALSE(IsUtf8("\xED\xA0\x80"));      // surrogate
  EXPECT_FALSE(IsUtf8("\xF4\x90\x80\x80"));  // above U+10FFFF
  EXPECT_FALSE(IsUtf8("\xF0\x8F\xBF\xBF"));  // overlong
  EXPECT_FALSE(IsUtf8("\xD6\xD0\xB9\xFA"));  // GBK
}

TEST(SplitUtf8, GivesOneTextACharacter) {
  EXPECT_EQ(SplitUtf8("a中\U0001F600"), (std::vector<std::string_view>{"a", "中", "\U0001F600"}));
  EXPECT_TRUE(SplitUtf8("").empty());
}

TEST(Converter, ConvertsBothWays) {
  const Converter toGbk(Encoding::kUtf8, Encoding::kGbk);
  const Converter toUtf8(Encoding::kGbk, Encoding::kUtf8);
  EXPECT_EQ(toGbk("中a国"),
            "\xD6\xD0"
            "a\xB9\xFA");
  EXPECT_EQ(toUtf8("\xD6\xD0\xB9\xFA"), "中国");
  EXPECT_EQ(toUtf8(toGbk("—·～…‖").value()), "—·～…‖");
  EXPECT_EQ(toGbk(""), "");
}

TEST(Converter, RefusesWhatTheTargetCannotHold) {
  const Converter toGbk(Encoding::kUtf8, Encoding::kGbk);
  EXPECT_EQ(toGbk("a\U0001F600"), std::nullopt);
  EXPECT_EQ(toGbk("\u20AC"), std::nullopt) << "the core has no single bytes above 0x7F";
  EXPECT_EQ(toGbk("\xFF"), std::nullopt);
  EXPECT_EQ(toGbk("中"), "\xD6\xD0") << "usable after a failure";
  const Converter toUtf8(Encoding::kGbk, Encoding::kUtf8);
  EXPECT_EQ(toUtf8("\xD6"), std::nullopt);
  EXPECT_EQ(toUtf8("\x80"), std::nullopt);
}

TEST(ToGbkWithMarks, KeepsOneCharacterForOne) {
  const Converter toGbk(Encoding::kUtf8, Encoding::kGbk);
  std::size_t marks = 0;
  EXPECT_EQ(ToGbkWithMarks(toGbk, "中\U0001F600b", marks),
            "\xD6\xD0\xA1\xFE"
            "b");
  EXPECT_EQ(marks, 1U);
}

TEST(DecodeToUtf8, ChoosesByTheBytes) {
  EXPECT_EQ(DecodeToUtf8("f", "中\n", Encoding::kAuto), "中\n");
  EXPECT_EQ(DecodeToUtf8("f", "\xD6\xD0\n", Encoding::kAuto), "中\n");
  EXPECT_EQ(DecodeToUtf8("f", "\xD6\xD0\n", Encoding::kGbk), "中\n");
}

TEST(DecodeToUtf8, ReadsEnglishOfOneByteACharacter) {
  EXPECT_EQ(DecodeToUtf8("f", "déjà\n", Encoding::kAutoEnglish), "déjà\n");
  EXPECT_EQ(DecodeToUtf8("f", "d\xE9j\xE0\n", Encoding::kAutoEnglish), "déjà\n");
  EXPECT_EQ(DecodeToUtf8("f", "\x80\x80\n", Encoding::kAutoEnglish), "€€\n");
  EXPECT_EQ(DecodeToUtf8("f", "\xC3\xA9\n", Encoding::kWindows1252), "Ã©\n");
}

class DecodeFailure : public Workplace {};

TEST_F(DecodeFailure, NamesFileAndLine) {
  const auto failure = [](std::string bytes, Encoding encoding) {
    return FailureOf([&] { DecodeToUtf8("some.txt", std::move(bytes), encoding); });
  };
  EXPECT_TRUE(failure("ok\n\xD6\xD0\n", Encoding::kUtf8).starts_with("some.txt:2: "));
  EXPECT_TRUE(failure("ok\nok\n\x80\n", Encoding::kGbk).starts_with("some.txt:3: "));
  EXPECT_TRUE(failure("\xFF\n", Encoding::kAuto).starts_with("some.txt:1: "));
  EXPECT_EQ(failure("ok\n\x81\n", Encoding::kAutoEnglish),
            "some.txt:2: malformed WINDOWS-1252 (the file as a whole is not UTF-8, so it is read "
            "as WINDOWS-1252; see --encoding)");
  EXPECT_EQ(failure("\x81\n", Encoding::kWindows1252),
            "some.txt:1: malformed WINDOWS-1252 (is the file in another encoding? see "
            "--encoding)");
}

}  // namespace
}  // namespace Tolvek
