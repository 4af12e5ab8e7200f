// SPDX-License-Identifier: Apache-2.0
#include "chinese/CharType.h"
#include "unit/Fixtures.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using Strings = std::vector<std::string>;

class CharTypeTest : public Scratch {
 protected:
  static void WriteLists() {
    WriteText("data/Punc", Section({",", kStop, "!"}));
    WriteText("data/ANum", Section({"0", "1"}));
    WriteText("data/CNum1", Section({kYi}));
    WriteText("data/CNum2", Section({kLiang}));
    WriteText("data/EChar", Section({"a", "b"}));
    WriteText("data/Date", Section({kNian}));
    WriteText("data/CFamilyName", Section({"w", "x", "v"}) + Section({"y", "z"}));
    WriteText("data/CGivenName", Section({"x", "z", "g", "h", "h", "v", "v"}));
    WriteText("data/ForeignName", Section({"f"}));
  }

  static void ExpectTheLists(const CharType& types) {
    EXPECT_EQ(types.GetPuncType(","), 1);
    EXPECT_EQ(types.GetPuncType(kStop), 1);
    EXPECT_EQ(types.GetPuncType("a"), 0);
    EXPECT_EQ(types.GetCharType("0"), 0);
    EXPECT_EQ(types.GetCharType("1"), 0);
    EXPECT_EQ(types.GetCharType(kYi), 1);
    EXPECT_EQ(types.GetCharType(kLiang), 2);
    EXPECT_EQ(types.GetCharType("b"), 3);
    EXPECT_EQ(types.GetCharType(kNian), 4);
    EXPECT_EQ(types.GetCharType(","), 5);
    EXPECT_EQ(types.GetCNameType("w"), 0) << "first family-name list only";
    EXPECT_EQ(types.GetCNameType("y"), 1) << "second family-name list only";
    EXPECT_EQ(types.GetCNameType("g"), 2) << "given name only";
    EXPECT_EQ(types.GetCNameType("x"), 3) << "first list and given name";
    EXPECT_EQ(types.GetCNameType("z"), 4) << "second list and given name";
    EXPECT_EQ(types.GetCNameType("h"), 4) << "given name twice";
    EXPECT_EQ(types.GetCNameType("v"), 4) << "first list and given name twice";
    EXPECT_EQ(types.GetCNameType("a"), 5);
    EXPECT_EQ(types.GetFNameType("f"), 1);
    EXPECT_EQ(types.GetFNameType("g"), 0);
  }

  /// Reads one list into a table; returns the messages.
  static std::string Build(TextTable& table, int code, const std::string& text) {
    WriteText("list", text);
    return ErrorOf([&] { CharType::BuildCharacterType(code, "list", table); });
  }
  static bool LoadBinary(const std::string& bytes, CharType& types) {
    WriteText("data/binarySource", bytes);
    return types.Initialize(true);
  }
};

TEST_F(CharTypeTest, NothingLoaded) {
  const CharType types;
  for (const std::string key : {"a", "", "\xD2\xBB"}) {
    EXPECT_EQ(types.GetPuncType(key), 0);
    EXPECT_EQ(types.GetCharType(key), 5);
    EXPECT_EQ(types.GetCNameType(key), 5);
    EXPECT_EQ(types.GetFNameType(key), 0);
  }
}

TEST_F(CharTypeTest, TextLists) {
  WriteLists();
  CharType types;
  const Output output = Capture([&] { EXPECT_TRUE(types.Initialize(false)); });
  EXPECT_EQ(output.out + output.err, "");
  ExpectTheLists(types);
}

TEST_F(CharTypeTest, KeysAreComparedWhole) {
  WriteLists();
  CharType types;
  types.Initialize(false);
  EXPECT_EQ(types.GetCharType("ab"), 5);
  EXPECT_EQ(types.GetCharType(" a"), 5);
  EXPECT_EQ(types.GetCharType("a "), 5);
  EXPECT_EQ(types.GetCharType(kYi.substr(0, 1)), 5);
  EXPECT_EQ(types.GetPuncType(""), 0);
}

TEST_F(CharTypeTest, MissingListsAreSkipped) {
  CharType types;
  bool result = false;
  EXPECT_EQ(ErrorOf([&] { result = types.Initialize(false); }),
            "Open data/Punc error!\nOpen data/ANum error!\nOpen data/CNum1 error!\n"
            "Open data/CNum2 error!\nOpen data/EChar error!\nOpen data/Date error!\n"
            "Open data/CFamilyName error!\nOpen data/ForeignName error!\n");
  EXPECT_TRUE(result) << "a missing list is no failure";
}

TEST_F(CharTypeTest, WithoutOneNameListThereAreNoNames) {
  WriteLists();
  std::filesystem::remove("data/CGivenName");
  CharType types;
  EXPECT_EQ(ErrorOf([&] { EXPECT_TRUE(types.LoadExtraCorpus()); }),
            "Open data/CGivenName error!\n");
  EXPECT_EQ(types.GetCNameType("w"), 5);
  EXPECT_EQ(types.GetFNameType("f"), 1) << "the list after it is read";

  WriteLists();
  std::filesystem::remove("data/CFamilyName");
  CharType others;
  EXPECT_EQ(ErrorOf([&] { others.BuildChineseNameType("data/CFamilyName", "data/CGivenName"); }),
            "Open data/CFamilyName error!\n");
  EXPECT_EQ(others.GetCNameType("g"), 5);
}

TEST_F(CharTypeTest, ACharacterOfTwoListsKeepsItsFirstClass) {
  WriteLists();
  WriteText("data/EChar", Section({"1", "a", kYi}));
  CharType types;
  EXPECT_EQ(ErrorOf([&] { types.Initialize(false); }),
            "data/EChar is error!\ndata/EChar is error!\n");
  EXPECT_EQ(types.GetCharType("1"), 0);
  EXPECT_EQ(types.GetCharType(kYi), 1);
  EXPECT_EQ(types.GetCharType("a"), 3);
}

TEST_F(CharTypeTest, TheCountLine) {
  TextTable table;
  EXPECT_EQ(Build(table, 7, "header\n0\na\n"), "");
  EXPECT_EQ(Build(table, 7, "header\n-3\na\n"), "");
  EXPECT_EQ(Build(table, 7, "header\nmany\na\n"), "");
  EXPECT_EQ(Build(table, 7, "header\n"), "");
  EXPECT_EQ(Build(table, 7, ""), "");
  EXPECT_TRUE(table.empty());
  EXPECT_EQ(Build(table, 7, "header\n \t2 entries\na\nb\nc\n"), "");
  ASSERT_EQ(table.size(), 2U) << "the count ends the list, not the file";
  EXPECT_EQ(table.find("b")->second, 7);
}

TEST_F(CharTypeTest, DuplicatesAreReportedAndKeepTheirValue) {
  TextTable table;
  EXPECT_EQ(Build(table, 1, Section({"a", "b", "a"})), "list is error!\n");
  EXPECT_EQ(Build(table, 2, Section({"b", "c"})), "list is error!\n");
  EXPECT_EQ(table.size(), 3U);
  EXPECT_EQ(table.find("b")->second, 1);
  EXPECT_EQ(table.find("c")->second, 2);
}

TEST_F(CharTypeTest, MissingLinesRepeatTheLast) {
  for (const char* text : {"header\n5\na\nb\n", "header\n5\na\nb"}) {
    TextTable table;
    EXPECT_EQ(Build(table, 1, text), Repeat("list is error!\n", 3));
    EXPECT_EQ(table.size(), 2U);
    EXPECT_NE(table.find("b"), table.end());
  }
}

TEST_F(CharTypeTest, EntriesAreNotTrimmed) {
  TextTable table;
  EXPECT_EQ(Build(table, 1, "header\r\n3\r\na\r\n b\n\n"), "");
  EXPECT_EQ(table.find("a"), table.end());
  EXPECT_NE(table.find("a\r"), table.end());
  EXPECT_NE(table.find(" b"), table.end());
  EXPECT_NE(table.find(""), table.end());
}

TEST_F(CharTypeTest, MissingList) {
  TextTable table;
  table.insert({"a", 1});
  EXPECT_EQ(ErrorOf([&] { CharType::BuildCharacterType(0, "nofile", table); }),
            "Open nofile error!\n");
  EXPECT_EQ(table.size(), 1U);
}

TEST_F(CharTypeTest, DuplicateFamilyNames) {
  WriteText("family", Section({"a", "b", "a"}) + Section({"b", "c", "c"}));
  WriteText("given", Section({"c", "d"}));
  CharType types;
  EXPECT_EQ(ErrorOf([&] { types.BuildChineseNameType("family", "given"); }),
            Repeat("family is error!\n", 3));
  EXPECT_EQ(types.GetCNameType("a"), 0);
  EXPECT_EQ(types.GetCNameType("b"), 0);
  EXPECT_EQ(types.GetCNameType("c"), 4);
  EXPECT_EQ(types.GetCNameType("d"), 2);
}

TEST_F(CharTypeTest, OneFamilySectionOnly) {
  WriteText("family", Section({"a"}));
  WriteText("given", Section({"a"}));
  CharType types;
  EXPECT_EQ(ErrorOf([&] { types.BuildChineseNameType("family", "given"); }), "");
  EXPECT_EQ(types.GetCNameType("a"), 3);
}

TEST_F(CharTypeTest, ASecondLoadReportsEveryEntry) {
  WriteText("data/Punc", Section({",", "!"}));
  CharType types;
  Capture([&] { types.LoadExtraCorpus(); });
  const std::string messages = ErrorOf([&] { types.LoadExtraCorpus(); });
  EXPECT_EQ(messages.substr(0, 40), "data/Punc is error!\ndata/Punc is error!\n");
}

// The binary resource.

TEST_F(CharTypeTest, MissingBinaryResource) {
  CharType types;
  bool result = true;
  EXPECT_EQ(ErrorOf([&] { result = types.Initialize(true); }),
            "Can not open the Model File: data/binarySource\n");
  EXPECT_FALSE(result);
  result = true;
  Capture([&] { result = types.LoadBinaryExtraCorpus(); });
  EXPECT_FALSE(result);
}

TEST_F(CharTypeTest, EmptyBinaryTables) {
  for (const std::string& bytes : {std::string(16, '\0'), std::string()}) {
    CharType types;
    const Output output = Capture([&] { EXPECT_TRUE(LoadBinary(bytes, types)); });
    EXPECT_EQ(output.out + output.err, "");
    EXPECT_EQ(types.GetCharType("a"), 5);
  }
}

TEST_F(CharTypeTest, BinaryBlocksFillTheTablesInOrder) {
  CharType types;
  EXPECT_TRUE(LoadBinary(Block({{"a", 0}}) + Block({{"b", 3}}) + Block({{"c", 4}}) +
                             Block({{"d", 0}, {std::string("\0", 1), 1}}),
                         types));
  EXPECT_EQ(types.GetPuncType("a"), 1) << "the stored value is not used";
  EXPECT_EQ(types.GetPuncType("b"), 0);
  EXPECT_EQ(types.GetCharType("b"), 3);
  EXPECT_EQ(types.GetCNameType("c"), 4);
  EXPECT_EQ(types.GetFNameType("d"), 1);
  EXPECT_EQ(types.GetFNameType(std::string("\0", 1)), 1);
}

TEST_F(CharTypeTest, RepeatedBinaryKeysKeepTheFirstValue) {
  CharType types;
  const Output output = Capture([&] {
    EXPECT_TRUE(LoadBinary(Block({}) + Block({{"a", 2}, {"a", 3}}) + Block({}) + Block({}), types));
  });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_EQ(types.GetCharType("a"), 2);
}

TEST_F(CharTypeTest, KeysOfMoreThan256BytesAreRefused) {
  const std::string longest(256, 'k');
  CharType types;
  EXPECT_TRUE(LoadBinary(Block({}) + Block({{longest, 2}}), types));
  EXPECT_EQ(types.GetCharType(longest), 2);
  CharType other;
  bool result = true;
  Capture([&] { result = LoadBinary(Block({}) + Block({{longest + "k", 2}}), other); });
  EXPECT_FALSE(result);
}

TEST_F(CharTypeTest, NegativeKeyLengthsAreRefused) {
  for (const std::int32_t length : {-1, -0x7FFFFFFF - 1}) {
    CharType types;
    bool result = true;
    EXPECT_NE(ErrorOf([&] { result = LoadBinary(I32(1) + I32(length) + "k" + I32(0), types); }),
              "");
    EXPECT_FALSE(result);
  }
}

std::string SmallResource() {
  return Block({{",", 1}}) + Block({{"a", 3}, {kYi, 1}}) + Block({{"b", 2}}) + Block({{"c", 1}});
}

TEST_F(CharTypeTest, BinaryCutAtEveryByte) {
  const std::string bytes = SmallResource();
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    CharType types;
    const Output output =
        Capture([&] { EXPECT_TRUE(LoadBinary(bytes.substr(0, length), types)) << length; });
    EXPECT_EQ(output.err, "") << length;
    EXPECT_EQ(types.GetPuncType("!"), 0);
    if (length >= 26) {
      EXPECT_EQ(types.GetCharType("a"), 3) << length;
    }
  }
}

TEST_F(CharTypeTest, HostileNumbers) {
  const std::string bytes = SmallResource();
  const std::vector<std::size_t> counts{0, 13, 36, 49};
  const std::vector<std::size_t> lengths{4, 17, 26, 40, 53};
  ASSERT_EQ(bytes.size(), 62U);
  const auto load = [] { return CharType().Initialize(true); };
  for (const std::int32_t number : kHostileNumbers) {
    for (const std::size_t offset : counts) {
      WriteText("data/binarySource", WithInt(bytes, offset, number));
      const End end = RunApart(load);
      EXPECT_TRUE(end == End::kTrue || end == End::kFalse) << number << " at " << offset;
    }
    for (const std::size_t offset : lengths) {
      WriteText("data/binarySource", WithInt(bytes, offset, number));
      const End end = RunApart(load);
      if (number < 0 || number > 256) {
        EXPECT_EQ(end, End::kFalse) << number << " at " << offset;
      } else {
        EXPECT_TRUE(end == End::kTrue || end == End::kFalse) << number << " at " << offset;
      }
    }
  }
}

TEST_F(CharTypeTest, ACountThatTheListDoesNotHold) {
  // Each missing line is reported, nothing is kept of it.
  TextTable table;
  EXPECT_EQ(Build(table, 0, "header\n10000\na\n"), Repeat("list is error!\n", 9999));
  EXPECT_EQ(table.size(), 1U);
}

// The converter.

TEST_F(CharTypeTest, ConversionStartsWithTheNumberOfPunctuationMarks) {
  Strings marks;
  for (char c = '!'; marks.size() < 12; ++c) marks.emplace_back(1, c);
  WriteLists();
  WriteText("data/Punc", Section(marks));
  CharType().Convert2Binary("out");
  EXPECT_EQ(ReadText("out").substr(0, 4), I32(12));
}

TEST_F(CharTypeTest, ConversionOfOneEntryATable) {
  for (const char* list : {"Punc", "Date", "ForeignName"}) {
    WriteText(std::string("data/") + list, Section({kYi}));
  }
  for (const char* list : {"ANum", "CNum1", "CNum2", "EChar"}) {
    WriteText(std::string("data/") + list, Section({}));
  }
  WriteText("data/CFamilyName", Section({}) + Section({"y"}));
  WriteText("data/CGivenName", Section({"y"}));
  const Output output = Capture([] { CharType().Convert2Binary("out"); });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_EQ(ReadText("out"),
            Block({{kYi, 1}}) + Block({{kYi, 4}}) + Block({{"y", 4}}) + Block({{kYi, 1}}));
}

TEST_F(CharTypeTest, ConversionKeepsEveryAnswer) {
  WriteLists();
  CharType().Convert2Binary("data/binarySource");
  CharType types;
  ASSERT_TRUE(types.Initialize(true));
  ExpectTheLists(types);
}

TEST_F(CharTypeTest, ConversionToAFileThatCannotBeWritten) {
  WriteLists();
  EXPECT_NE(ErrorOf([] { CharType().Convert2Binary("nowhere/out"); }), "");
}

}  // namespace
}  // namespace Tolvek
