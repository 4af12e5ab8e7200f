// SPDX-License-Identifier: Apache-2.0
#include <map>

#include "model/Vocab.h"
#include "unit/Fixtures.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

/// An array of words as the array forms take them.
class Words {
 public:
  Words(std::initializer_list<const char*> words) : _texts(words.begin(), words.end()) {
    for (std::string& text : _texts) _pointers.push_back(text.data());
    _pointers.push_back(nullptr);
  }
  operator char**() { return _pointers.data(); }

 private:
  std::vector<std::string> _texts;
  std::vector<char*> _pointers;
};

/// The pieces that `ParseEngWords` finds, and what it returns.
struct Pieces {
  int result;
  std::vector<std::string> words;
};

Pieces Parse(std::string line, int max) {
  std::vector<char*> words(static_cast<std::size_t>(max) + 1, line.data());
  Pieces pieces{Vocab::ParseEngWords(line.data(), words.data(), max), {}};
  for (std::size_t i = 0; i < words.size() && words[i] != nullptr; ++i) {
    pieces.words.emplace_back(words[i]);
  }
  return pieces;
}

using List = std::vector<std::string>;

TEST(Vocab, AFreshVocabularyHoldsTheFourSpecialWords) {
  const Vocab vocab;
  EXPECT_EQ(vocab.GetIndex("NULL"), 0);
  EXPECT_EQ(vocab.GetIndex("<unk>"), 1);
  EXPECT_EQ(vocab.GetIndex("<s>"), 2);
  EXPECT_EQ(vocab.GetIndex("</s>"), 3);
  EXPECT_EQ(vocab.UnkIndex(), 1);
  EXPECT_EQ(vocab.BosIndex(), 2);
  EXPECT_EQ(vocab.EosIndex(), 3);
  EXPECT_EQ(vocab.NextIndex(), 4);
  EXPECT_EQ(Vocab_None, -1);
}

TEST(Vocab, NewWordsGetTheNextIndex) {
  Vocab vocab;
  EXPECT_EQ(vocab.GetOrInsert("x"), 4);
  EXPECT_EQ(vocab.GetOrInsert("y"), 5);
  EXPECT_EQ(vocab.GetOrInsert("x"), 4);
  EXPECT_EQ(vocab.GetOrInsert("<s>"), 2);
  EXPECT_EQ(vocab.NextIndex(), 6);
  EXPECT_EQ(vocab.GetIndex("y"), 5);
  EXPECT_EQ(vocab.GetIndex("z"), 1) << "unknown";
}

TEST(Vocab, AGivenIndexDoesNotReplaceAWordsOwn) {
  Vocab vocab;
  vocab.Insert("x", 17);
  vocab.Insert("x", 18);
  vocab.Insert("<unk>", 9);
  EXPECT_EQ(vocab.GetIndex("x"), 17);
  EXPECT_EQ(vocab.GetIndex("<unk>"), 1);
}

TEST(Vocab, ParseEngWordsSplitsAtBlanks) {
  const Pieces pieces = Parse(" \ta\r\nbc \xD2\xBB\n", 5);
  EXPECT_EQ(pieces.result, 3);
  EXPECT_EQ(pieces.words, (List{"a", "bc", "\xD2\xBB"}));
  EXPECT_EQ(Parse("a\vb\fc", 5).words, (List{"a\vb\fc"})) << "no other character separates";
}

TEST(Vocab, ParseEngWordsWithoutWords) {
  for (const char* line : {"", " ", "\t\r\n"}) {
    const Pieces pieces = Parse(line, 3);
    EXPECT_EQ(pieces.result, 0);
    EXPECT_EQ(pieces.words, List());
  }
}

TEST(Vocab, ParseEngWordsCutsALongLine) {
  EXPECT_EQ(Parse("a b c", 3).result, 3);
  EXPECT_EQ(Parse("a b c", 3).words, (List{"a", "b", "c"}));
  EXPECT_EQ(Parse("a b c", 2).result, 3);
  EXPECT_EQ(Parse("a b c", 2).words, (List{"a", "b"}));
  EXPECT_EQ(Parse("a b c d e f", 2).result, 3);
  EXPECT_EQ(Parse("a b c d e f", 2).words, (List{"a", "b"}));
  EXPECT_EQ(Parse("a", 0).result, 1);
  EXPECT_EQ(Parse("a", 0).words, List());
  EXPECT_EQ(Parse("", 0).result, 0);
}

TEST(Vocab, ParseEngWordsWithANegativeLimit) {
  std::string line = "a b";
  char* words[] = {line.data(), line.data()};
  EXPECT_EQ(Vocab::ParseEngWords(line.data(), words + 1, -1), 0);
  EXPECT_EQ(words[0], nullptr);
  EXPECT_EQ(words[1], line.data());
}

TEST(Vocab, GetWordIndics) {
  Vocab vocab;
  vocab.GetOrInsert("a");
  int ids[5] = {9, 9, 9, 9, 9};
  int unknown = 7;
  EXPECT_EQ(vocab.GetWordIndics(Words{"x", "<unk>"}, ids, 5, unknown), 2);
  EXPECT_EQ(ids[0], 1);
  EXPECT_EQ(ids[1], 1);
  EXPECT_EQ(ids[2], -1);
  EXPECT_EQ(unknown, 2);

  EXPECT_EQ(vocab.GetWordIndics(Words{"a", "x", "</s>"}, ids, 5, unknown), 3);
  EXPECT_EQ(std::vector<int>(ids, ids + 4), (std::vector<int>{4, 1, 3, -1}));
  EXPECT_EQ(unknown, 1);
  EXPECT_EQ(vocab.NextIndex(), 5) << "look-up inserts nothing";
}

TEST(Vocab, GetWordIndicsEndsAtAnEmptyWord) {
  const Vocab vocab;
  int ids[5] = {9, 9, 9, 9, 9};
  int unknown = 0;
  EXPECT_EQ(vocab.GetWordIndics(Words{"<s>", "", "</s>"}, ids, 5, unknown), 1);
  EXPECT_EQ(ids[0], 2);
  EXPECT_EQ(ids[1], -1);
  EXPECT_EQ(vocab.GetWordIndics(Words{}, ids, 5, unknown), 0);
  EXPECT_EQ(ids[0], -1);
}

TEST(Vocab, GetWordIndicsCutsAtTheRoom) {
  const Vocab vocab;
  int ids[4] = {9, 9, 9, 9};
  int unknown = 0;
  // The last index gives way to the end mark, and is counted as it was.
  EXPECT_EQ(vocab.GetWordIndics(Words{"<s>", "</s>", "x", "NULL"}, ids, 3, unknown), 3);
  EXPECT_EQ(std::vector<int>(ids, ids + 4), (std::vector<int>{2, 3, -1, 9}));
  EXPECT_EQ(unknown, 1);
  EXPECT_EQ(vocab.GetWordIndics(Words{"x"}, ids, 1, unknown), 1);
  EXPECT_EQ(ids[0], -1);
}

TEST(Vocab, GetWordIndicsWithoutRoomMarksThePlaceBefore) {
  const Vocab vocab;
  int ids[2] = {9, 9};
  int unknown = 5;
  EXPECT_EQ(vocab.GetWordIndics(Words{"x"}, ids + 1, 0, unknown), 0);
  EXPECT_EQ(ids[0], -1);
  EXPECT_EQ(ids[1], 9);
  EXPECT_EQ(unknown, 0);
}

TEST(Vocab, GetAndInsertWordsIndics) {
  Vocab vocab;
  int ids[6] = {9, 9, 9, 9, 9, 9};
  EXPECT_EQ(vocab.GetAndInsertWordsIndics(Words{"x", "<s>", "y", "x"}, ids, 6), 4);
  EXPECT_EQ(std::vector<int>(ids, ids + 6), (std::vector<int>{4, 2, 5, 4, -1, 9}));
  EXPECT_EQ(vocab.NextIndex(), 6);
  EXPECT_EQ(vocab.GetIndex("y"), 5);
}

TEST(Vocab, GetAndInsertWordsIndicsAtTheBorders) {
  Vocab vocab;
  int ids[4] = {9, 9, 9, 9};
  EXPECT_EQ(vocab.GetAndInsertWordsIndics(Words{}, ids, 3), 0);
  EXPECT_EQ(ids[0], -1);
  ids[0] = 9;
  EXPECT_EQ(vocab.GetAndInsertWordsIndics(Words{"", "x"}, ids, 3), 0);
  EXPECT_EQ(ids[0], -1);
  ids[0] = 9;
  EXPECT_EQ(vocab.GetAndInsertWordsIndics(Words{"x"}, ids + 1, 0), 0);
  EXPECT_EQ(ids[0], -1);
  EXPECT_EQ(ids[1], 9);
  EXPECT_EQ(vocab.NextIndex(), 4);

  EXPECT_EQ(vocab.GetAndInsertWordsIndics(Words{"x", "y", "z"}, ids, 2), 2);
  EXPECT_EQ(std::vector<int>(ids, ids + 3), (std::vector<int>{4, -1, 9}));
  EXPECT_EQ(vocab.GetIndex("y"), 5) << "the word whose index gives way is inserted all the same";
  EXPECT_EQ(vocab.NextIndex(), 6);
}

TEST(Vocab, GetAndInsertWordsIndicsAppendsToAVector) {
  Vocab vocab;
  std::vector<int> ids{42};
  EXPECT_EQ(vocab.GetAndInsertWordsIndics(Words{"x", "</s>"}, ids, 9), 2);
  EXPECT_EQ(ids, (std::vector<int>{42, 4, 3, -1}));
  EXPECT_EQ(vocab.GetAndInsertWordsIndics(Words{"y"}, ids, 9), 1);
  EXPECT_EQ(ids, (std::vector<int>{42, 4, 3, -1, 5, -1}));
  EXPECT_EQ(vocab.GetAndInsertWordsIndics(Words{}, ids, 9), 0);
  EXPECT_EQ(ids, (std::vector<int>{42, 4, 3, -1, 5, -1, -1}));
}

TEST(Vocab, LengthAndReverse) {
  int none[] = {-1, 5};
  EXPECT_EQ(Vocab::length(none), 0);
  Vocab::reverse(none);
  EXPECT_EQ(none[0], -1);
  EXPECT_EQ(none[1], 5);

  int even[] = {1, 2, 3, 4, -1, 7};
  EXPECT_EQ(Vocab::length(even), 4);
  Vocab::reverse(even);
  EXPECT_EQ(std::vector<int>(even, even + 6), (std::vector<int>{4, 3, 2, 1, -1, 7}));

  int odd[] = {1, 2, 3, -1};
  EXPECT_EQ(Vocab::length(odd), 3);
  Vocab::reverse(odd);
  EXPECT_EQ(std::vector<int>(odd, odd + 4), (std::vector<int>{3, 2, 1, -1}));
}

class VocabFileTest : public Scratch {};

TEST_F(VocabFileTest, WriteVocabIndexListsEveryWord) {
  Vocab vocab;
  vocab.GetOrInsert("\xD2\xBB/B");
  std::FILE* file = std::fopen("list", "wb");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(vocab.WriteVocabIndex(file), 1);
  std::fclose(file);

  const std::string bytes = ReadText("list");
  std::map<std::string, int> entries;
  for (std::size_t next = 0; next < bytes.size();) {
    std::int32_t length = 0;
    std::int32_t index = 0;
    ASSERT_LE(next + 4, bytes.size());
    std::memcpy(&length, bytes.data() + next, 4);
    ASSERT_LE(next + 8 + static_cast<std::size_t>(length), bytes.size());
    const std::string word = bytes.substr(next + 4, static_cast<std::size_t>(length));
    std::memcpy(&index, bytes.data() + next + 4 + length, 4);
    EXPECT_TRUE(entries.insert({word, index}).second) << word;
    next += 8 + static_cast<std::size_t>(length);
  }
  EXPECT_EQ(entries, (std::map<std::string, int>{
                         {"NULL", 0}, {"<unk>", 1}, {"<s>", 2}, {"</s>", 3}, {"\xD2\xBB/B", 4}}));
}

}  // namespace
}  // namespace Tolvek
