// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "tagging/KeptWords.h"

namespace Tolvek {
namespace {

// With rows so long, room is made when there are 64 words.
constexpr std::size_t kMost = 64;
constexpr std::size_t kRowSize = KeptWords::kMostBytes / sizeof(double) / kMost;

std::string TextOf(int i) {
  // Short and long ones: a string keeps a short text in itself.
  return std::string(i % 5 == 0 ? 40 : 1, 'w') + std::to_string(i);
}

/// None to three.
std::vector<int> TagsOf(int i) {
  return std::vector<int>(static_cast<std::size_t>(i % 4), i);
}

/// Words 0, 1, ... and what is kept of them.
class Kept {
 public:
  Kept() { words.Clear(kRowSize); }

  void Add(int i) {
    const KeptWords::Number number = words.Add(TextOf(i), static_cast<TagTables::Id>(i), TagsOf(i));
    words.Row(number).front() = i;
    words.Row(number).back() = -i;
  }

  /// Is the word kept? If so, with all that belongs to it?
  bool Has(int i) {
    const KeptWords::Number number = words.Find(TextOf(i));
    if (number == KeptWords::kNone) return false;
    const KeptWords::Word& word = words.At(number);
    EXPECT_EQ(word.id, i);
    EXPECT_TRUE(std::ranges::equal(words.Tags(word), TagsOf(i))) << i;
    EXPECT_EQ(words.Row(number).size(), kRowSize);
    EXPECT_EQ(words.Row(number).front(), i);
    EXPECT_EQ(words.Row(number).back(), -i);
    return true;
  }

  KeptWords words;
};

TEST(KeptWords, FindsWhatWasAdded) {
  Kept kept;
  EXPECT_FALSE(kept.Has(0));
  for (int i = 0; i < 100; ++i) kept.Add(i);
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(kept.Has(i)) << i;
  EXPECT_FALSE(kept.Has(100));
  EXPECT_EQ(kept.words.Find(""), KeptWords::kNone);
}

TEST(KeptWords, NewRowsAreZero) {
  KeptWords words;
  words.Clear(3);
  for (const char* text : {"a", "b"}) {
    const std::span<double> row = words.Row(words.Add(text, 1, {}));
    EXPECT_EQ(std::vector<double>(row.begin(), row.end()), (std::vector<double>{0, 0, 0}));
    std::ranges::fill(row, 7.0);
  }
}

TEST(KeptWords, MakesNoRoomBeforeItIsFull) {
  Kept kept;
  for (int i = 0; i < static_cast<int>(kMost) - 1; ++i) kept.Add(i);
  kept.words.MakeRoom();
  for (int i = 0; i < static_cast<int>(kMost) - 1; ++i) EXPECT_TRUE(kept.Has(i)) << i;
}

TEST(KeptWords, ForgetsWordsThatWereNotMetAgain) {
  Kept kept;
  for (int i = 0; i < 70; ++i) kept.Add(i);
  for (int i = 3; i < 70; i += 3) EXPECT_TRUE(kept.Has(i)) << i;
  kept.words.MakeRoom();
  // To look is to meet: 3, 9, 15, ... now, before the words are too many again.
  for (int i = 3; i < 70; i += 6) EXPECT_TRUE(kept.Has(i)) << i;
  for (int i = 100; i < 170; ++i) kept.Add(i);
  kept.words.MakeRoom();
  for (int i = 0; i < 170; ++i) EXPECT_EQ(kept.Has(i), i < 70 && i % 6 == 3) << i;
}

TEST(KeptWords, ForgetsAllWhenMostWereMetAgain) {
  Kept kept;
  for (int i = 0; i < 64; ++i) kept.Add(i);
  for (int i = 0; i < 33; ++i) EXPECT_TRUE(kept.Has(i)) << i;
  kept.words.MakeRoom();
  for (int i = 0; i < 64; ++i) EXPECT_FALSE(kept.Has(i)) << i;
  kept.Add(5);
  EXPECT_TRUE(kept.Has(5));
}

TEST(KeptWords, ClearForgetsAllAndTakesAnotherLength) {
  Kept kept;
  for (int i = 0; i < 10; ++i) kept.Add(i);
  kept.words.Clear(2);
  for (int i = 0; i < 10; ++i) EXPECT_FALSE(kept.Has(i)) << i;
  EXPECT_EQ(kept.words.Row(kept.words.Add("a", 1, {})).size(), 2U);
}

}  // namespace
}  // namespace Tolvek
