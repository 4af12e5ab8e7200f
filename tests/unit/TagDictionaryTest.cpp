// SPDX-License-Identifier: Apache-2.0
#include "tagging/TagDictionary.h"
#include "unit/Fixtures.h"
#include "unit/PosKnowledge.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using Tags = std::vector<int>;

constexpr int kNone = -99;  ///< what stands for a key that is not listed

const std::string kRuleLine = std::string(36, '#') + "\n";

class TagDictionaryTest : public Scratch {
 protected:
  TagDictionaryTest() {
    WriteText("model", PosKnowledge().me.Text());  // n 0, v 1, a 2, w 3
    EXPECT_EQ(_model.LoadModel("model"), 1);
  }

  /// Reads one section from a file with this text; what was said on the standard error stream.
  std::string Read(const std::string& text) {
    WriteText("dict", text);
    EXPECT_TRUE(_file.Open("dict"));
    return ErrorOf([this] { _dictionary.ReadSection(_file, _model); });
  }

  Tags Find(const std::string& key) const {
    const std::optional<std::span<const int>> found = _dictionary.Find(key);
    return found ? Tags(found->begin(), found->end()) : Tags{kNone};
  }

  TagModel _model;
  ResourceFile _file;
  TagDictionary _dictionary;
};

TEST_F(TagDictionaryTest, Entries) {
  EXPECT_EQ(Read("2\n" + kWo + " 7 n v\nab\t9\ta\n"), "");
  EXPECT_EQ(Find(kWo), (Tags{0, 1}));
  EXPECT_EQ(Find("ab"), (Tags{2}));
  EXPECT_EQ(Find(kMen), (Tags{kNone}));
  EXPECT_EQ(Find("a"), (Tags{kNone}));
  EXPECT_EQ(Find(""), (Tags{kNone}));
}

TEST_F(TagDictionaryTest, NothingIsListedBeforeReading) {
  EXPECT_EQ(Find(""), (Tags{kNone}));
  EXPECT_EQ(Find("n"), (Tags{kNone}));
}

TEST_F(TagDictionaryTest, TagsKeepTheirOrderAndTheirRepetitions) {
  Read("1\nx 1 w n v n w w\n");
  EXPECT_EQ(Find("x"), (Tags{3, 0, 1, 0, 3, 3}));
}

TEST_F(TagDictionaryTest, TheSecondFieldIsSkipped) {
  EXPECT_EQ(Read("2\nx n v\ny nosuchtag v a\n"), "") << "it is not even looked up";
  EXPECT_EQ(Find("x"), (Tags{1}));
  EXPECT_EQ(Find("y"), (Tags{1, 2}));
}

TEST_F(TagDictionaryTest, EntriesWithoutTags) {
  EXPECT_EQ(Read("4\nx\ny n\nz  \nlast 1 v\n"), "");
  EXPECT_EQ(Find("x"), Tags());
  EXPECT_EQ(Find("y"), Tags());
  EXPECT_EQ(Find("z"), Tags());
  EXPECT_EQ(Find("last"), (Tags{1}));
}

TEST_F(TagDictionaryTest, AnyWhiteSpaceSeparatesFields) {
  Read(" 2 entries\r\n \tx \t 1\t\tn  v \r\ny\v1\fa\r\n");
  EXPECT_EQ(Find("x"), (Tags{0, 1}));
  EXPECT_EQ(Find("y"), (Tags{2}));
}

TEST_F(TagDictionaryTest, OddBytesAreKept) {
  const std::string key("\x80\xFF\xA1/\0\xCE", 6);
  Read("2\n" + key + " 1 n\n\xCE 1 v");
  EXPECT_EQ(Find(key), (Tags{0}));
  EXPECT_EQ(Find("\xCE"), (Tags{1})) << "the last line needs no line feed";
}

TEST_F(TagDictionaryTest, ARepeatedKeyKeepsItsFirstRowAndShiftsTheKeysAfterIt) {
  // Rows: 0 n, 1 v, 2 a, 3 w. "y" is the second key and gets row 1, "z" the third.
  Read("4\nx 1 n\nx 1 v\ny 1 a\nz 1 w\n");
  EXPECT_EQ(Find("x"), (Tags{0}));
  EXPECT_EQ(Find("y"), (Tags{1}));
  EXPECT_EQ(Find("z"), (Tags{2}));
}

TEST_F(TagDictionaryTest, EveryRepetitionShifts) {
  Read("6\nx 1 n\ny 1 v w\nx 1\ny 1 a\nz 1 w\nx 1 v\n");
  EXPECT_EQ(Find("x"), (Tags{0}));
  EXPECT_EQ(Find("y"), (Tags{1, 3}));
  EXPECT_EQ(Find("z"), Tags()) << "the row of the repeated \"x\"";
}

TEST_F(TagDictionaryTest, UnknownTagsAreKeptAsMinusOneAfterANotice) {
  const std::string notice = kRuleLine + "There is no tag named: zz\n" + kRuleLine;
  const std::string other = kRuleLine + "There is no tag named: N\n" + kRuleLine;
  EXPECT_EQ(Read("2\nx 1 n zz v\ny 1 N zz\n"), notice + other + notice);
  EXPECT_EQ(Find("x"), (Tags{0, -1, 1}));
  EXPECT_EQ(Find("y"), (Tags{-1, -1}));
}

TEST_F(TagDictionaryTest, CountsBelowOneTakeNoLines) {
  for (const char* count : {"0", "-1", "none", "", "-2147483648"}) {
    TagDictionary dictionary;
    WriteText("dict", std::string(count) + "\nx 1 n\n");
    ASSERT_TRUE(_file.Open("dict"));
    dictionary.ReadSection(_file, _model);
    EXPECT_FALSE(dictionary.Find("x")) << count;
    std::string next;
    EXPECT_TRUE(_file.ReadLine(next));
    EXPECT_EQ(next, "x 1 n") << count;
  }
}

TEST_F(TagDictionaryTest, SectionsFollowOneAnother) {
  Read("1\nx 1 n\n2\nx 1 v\ny 1 a\nleft");
  TagDictionary second;
  second.ReadSection(_file, _model);
  EXPECT_EQ(Find("x"), (Tags{0}));
  EXPECT_EQ(Find("y"), (Tags{kNone}));
  EXPECT_EQ(second.Find("x").value()[0], 1);
  EXPECT_EQ(second.Find("y").value()[0], 2);
  std::string left;
  EXPECT_TRUE(_file.ReadLine(left));
  EXPECT_EQ(left, "left");
}

TEST_F(TagDictionaryTest, AnEntryWithoutFieldsIsOutOfRange) {
  for (const char* text :
       {"1\n", "1\n\n", "2\nx 1 n\n", "2\nx 1 n\n \t\r\ny 1 n\n", "3\n\nx\ny\n", "1"}) {
    EXPECT_THROW(Read(text), std::out_of_range) << text;
  }
}

TEST_F(TagDictionaryTest, HostileCountsEndSoon) {
  for (const char* count : {"2147483647", "99999999999999999999", "1073741824"}) {
    WriteText("dict", std::string(count) + "\nx 1 n\n");
    EXPECT_EQ(RunApart([this] {
                if (!_file.Open("dict")) return false;
                _dictionary.ReadSection(_file, _model);
                return true;
              }),
              End::kOutOfRange)
        << count;
  }
}

TEST_F(TagDictionaryTest, ManyEntries) {
  std::string text = "5000\n";
  for (int i = 0; i < 5000; ++i) {
    text += "k" + std::to_string(i) + " 1" + (i % 3 == 0 ? "" : i % 3 == 1 ? " v" : " a w") + "\n";
  }
  Read(text);
  for (int i = 0; i < 5000; ++i) {
    ASSERT_EQ(Find("k" + std::to_string(i)),
              i % 3 == 0 ? Tags() : (i % 3 == 1 ? Tags{1} : Tags{2, 3}))
        << i;
  }
  EXPECT_EQ(Find("k5000"), (Tags{kNone}));
}

}  // namespace
}  // namespace Tolvek
