// SPDX-License-Identifier: Apache-2.0
#include "Workplace.h"
#include "chinese/CharType.h"
#include "tvk/text/Encoding.h"
#include "tvk/train/CharacterLists.h"

namespace Tolvek {
namespace {

class CharacterLists : public Workplace {
 protected:
  /// A list as the core reads it: GBK, a header line, the count, one entry a line.
  static std::string Section(const std::vector<std::string>& entries) {
    const Converter toGbk(Encoding::kUtf8, Encoding::kGbk);
    std::string text = "header\n" + std::to_string(entries.size()) + "\n";
    for (const std::string& entry : entries) text += toGbk(entry).value() + "\n";
    return text;
  }
  static std::vector<std::string> Letters(std::string_view text) {
    std::vector<std::string> letters;
    for (const char letter : text) letters.emplace_back(1, letter);
    return letters;
  }
};

TEST_F(CharacterLists, GiveTheBytesOfTheCoreConverter) {
  PutLists("lists");
  std::filesystem::create_directory("data");
  Put("data/Punc", Section({"。", "，", "(", ")"}));
  Put("data/ANum", Section(Letters("0123456789")));
  Put("data/CNum1", Section({"一", "二", "三"}));
  Put("data/CNum2", Section({"壹", "贰"}));
  Put("data/EChar", Section(Letters("abcdefghijklmnopqrstuvwxyzABC")));
  Put("data/Date", Section({"年", "月", "日"}));
  Put("data/CFamilyName", Section({"王", "李"}) + Section({"高", "欧阳"}));
  Put("data/CGivenName", Section({"明", "王", "高"}));
  Put("data/ForeignName", Section({"尔", "斯"}));
  CharType().Convert2Binary("expected");
  std::string warnings;
  EXPECT_EQ(BuildCharacterResource("lists", warnings), Get("expected"));
  EXPECT_EQ(warnings, "");
}

TEST_F(CharacterLists, EntriesMetAgainGetTheCoresCodesAndAWarning) {
  PutLists("lists");
  Put("lists/CNum2.txt", "壹\n三\n");
  Put("lists/CGivenName.txt", "明 王 高\n明\n");
  std::string warnings;
  Put("resource", BuildCharacterResource("lists", warnings));
  EXPECT_EQ(warnings,
            "lists/CNum2.txt:2: 三 is listed before; the first place counts\n"
            "lists/CGivenName.txt:2: 明 is listed before; it gets code 4\n");
  CharType types;
  ASSERT_TRUE(types.LoadBinary("resource"));
  const Converter toGbk(Encoding::kUtf8, Encoding::kGbk);
  EXPECT_EQ(types.GetCharType(toGbk("三").value()), 1);
  EXPECT_EQ(types.GetCNameType(toGbk("明").value()), 4);
  EXPECT_EQ(types.GetCNameType(toGbk("王").value()), 3);
  EXPECT_EQ(types.GetCNameType(toGbk("高").value()), 4);
  EXPECT_EQ(types.GetCNameType(toGbk("欧阳").value()), 1);
}

TEST_F(CharacterLists, ErrorsNameListAndLine) {
  const auto failure = [] {
    return FailureOf([] {
      std::string warnings;
      BuildCharacterResource("lists", warnings);
    });
  };
  EXPECT_EQ(failure(), "lists/Punc.txt: No such file or directory");
  PutLists("lists");
  Put("lists/Date.txt", "年\n\U0001F600\n");
  EXPECT_EQ(failure(), "lists/Date.txt:2: characters of GBK expected, found \"\U0001F600\"");
  PutLists("lists");
  Put("lists/CFamilyName.txt", "王\n");
  EXPECT_EQ(failure(),
            "lists/CFamilyName.txt:1: two sections expected, separated by the line \"== second "
            "==\"; found one");
  PutLists("lists");
  Put("lists/Date.txt", "年\n== second ==\n");
  EXPECT_EQ(failure(),
            "lists/Date.txt:2: an entry expected, found the separator of a section too many");
}

}  // namespace
}  // namespace Tolvek
