// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tvk/train/TokenAlignment.h"

namespace Tolvek {
namespace {

using Texts = std::vector<std::string>;

Sentence Gold(const Texts& words, const Texts& tags) {
  return {1, words, tags};
}

TEST(AlignTags, SameTokensHaveTheirTags) {
  EXPECT_EQ(AlignTags(Gold({"I", "go"}, {"A", "B"}), {"I", "go"}), (Texts{"A", "B"}));
}

TEST(AlignTags, ATokenOfSeveralGoldTokensHasNone) {
  const Sentence gold = Gold({"a", "15", "-", "year", "term"}, {"DT", "CD", "HYPH", "NN", "NN"});
  EXPECT_EQ(AlignTags(gold, {"a", "15-year", "term"}), (Texts{"DT", "", "NN"}));
}

TEST(AlignTags, PartsOfAGoldTokenHaveNone) {
  const Sentence gold = Gold({"at", "5:30", "sharp"}, {"IN", "CD", "RB"});
  EXPECT_EQ(AlignTags(gold, {"at", "5", ":", "30", "sharp"}), (Texts{"IN", "", "", "", "RB"}));
}

TEST(AlignTags, OverlappingTokensHaveNone) {
  const Sentence gold = Gold({"ab", "cd", "e"}, {"A", "B", "C"});
  EXPECT_EQ(AlignTags(gold, {"a", "bc", "d", "e"}), (Texts{"", "", "", "C"}));
  EXPECT_EQ(AlignTags(gold, {"abcde"}), (Texts{""}));
}

TEST(AlignTags, DifferentTextsCannotBeAligned) {
  const Sentence gold = Gold({"ab"}, {"A"});
  EXPECT_FALSE(AlignTags(gold, {"a", "c"}));
  EXPECT_FALSE(AlignTags(gold, {"a"}));
  EXPECT_FALSE(AlignTags(gold, {"ab", "c"}));
  EXPECT_EQ(AlignTags(Gold({}, {}), {}), Texts{});
}

}  // namespace
}  // namespace Tolvek
