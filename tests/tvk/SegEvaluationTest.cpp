// SPDX-License-Identifier: Apache-2.0
#include "Workplace.h"
#include "tvk/evaluate/SegEvaluation.h"

namespace Tolvek {
namespace {

using Words = std::vector<std::string>;

SegCounts Compare(const Words& gold, const Words& output, const WordSet& known = {}) {
  SegCounts counts;
  std::string difference;
  EXPECT_TRUE(CompareSentence(gold, output, known, counts, difference)) << difference;
  return counts;
}

TEST(SegEvaluation, CountsEqualSpans) {
  // Gold 中国|人|民|的; output 中国|人民|的: two of three are right, of four gold words.
  const SegCounts counts =
      Compare({"中国", "人", "民", "的"}, {"中国", "人民", "的"}, {"的", "人"});
  EXPECT_EQ(counts.goldWords, 4U);
  EXPECT_EQ(counts.outputWords, 3U);
  EXPECT_EQ(counts.correctWords, 2U);
  EXPECT_EQ(counts.unknownGold, 2U);
  EXPECT_EQ(counts.unknownCorrect, 1U);
  EXPECT_DOUBLE_EQ(*Precision(counts), 2.0 / 3);
  EXPECT_DOUBLE_EQ(*Recall(counts), 2.0 / 4);
  EXPECT_DOUBLE_EQ(*F1(counts), 4.0 / 7);
  EXPECT_DOUBLE_EQ(*UnknownRecall(counts), 0.5);
  EXPECT_DOUBLE_EQ(*KnownRecall(counts), 0.5);
}

TEST(SegEvaluation, ComparesSpansNotTexts) {
  // The same word at another place is no match.
  EXPECT_EQ(Compare({"人人", "人"}, {"人", "人人"}).correctWords, 0U);
}

TEST(SegEvaluation, WhiteSpaceDoesNotCount) {
  EXPECT_EQ(Compare({"a", "\u3000", "b"}, {"a", "b"}).correctWords, 2U);
  EXPECT_EQ(Compare({"a\u3000b"}, {"ab"}).correctWords, 1U);
}

TEST(SegEvaluation, GetaMarkStandsForWhatGbkLacks) {
  EXPECT_EQ(Compare({"\U0001F600", "中"}, {"\u3013", "中"}).correctWords, 2U);
  SegCounts counts;
  std::string difference;
  EXPECT_FALSE(CompareSentence({"国"}, {"\u3013"}, {}, counts, difference));
}

TEST(SegEvaluation, SaysWhereTextsDiffer) {
  SegCounts counts;
  std::string difference;
  EXPECT_FALSE(CompareSentence({"中", "国"}, {"中人"}, {}, counts, difference));
  EXPECT_EQ(difference, "\"国\" expected at character 2, found \"人\"");
  EXPECT_FALSE(CompareSentence({"中", "国"}, {"中"}, {}, counts, difference));
  EXPECT_EQ(difference, "\"国\" expected at character 2, found the end of the line");
  EXPECT_EQ(counts.sentences, 0U);
  EXPECT_EQ(ShowLeftOut(counts), " (sentences left out, as their text comes out differently: 2)");
  EXPECT_EQ(ShowLeftOut(SegCounts{}), "");
}

TEST(SegEvaluation, UndefinedIsShownAsSuch) {
  const SegCounts nothing = Compare({}, {});
  EXPECT_EQ(ShowRatio(Precision(nothing)), "undefined");
  EXPECT_EQ(ShowRatio(Recall(nothing)), "undefined");
  EXPECT_EQ(ShowRatio(F1(nothing)), "undefined");
  EXPECT_EQ(ShowRatio(KnownRecall(Compare({"a"}, {"a"}))), "undefined");
  EXPECT_EQ(ShowRatio(F1(Compare({"ab"}, {"a", "b"}))), "undefined");
  EXPECT_EQ(ShowRatio(Precision(Compare({"ab"}, {"a", "b"}))), "0.00");
  EXPECT_EQ(ShowRatio(Recall(Compare({"a", "b"}, {"a", "b"}))), "100.00");
}

class CompareFiles : public Workplace {};

TEST_F(CompareFiles, NamesTheLineThatDiffers) {
  Put("gold", "中/A 国/B\n人/A\n");
  Put("out", "中 国\n大\n");
  const auto compare = [](const char* output) {
    CompareCorpora(ReadCorpus("gold", Encoding::kAuto, Tagging::kAuto),
                   ReadCorpus(output, Encoding::kAuto, Tagging::kAuto), {});
  };
  EXPECT_EQ(FailureOf([&] { compare("out"); }),
            "out:2: the text differs from line 2 of gold: \"人\" expected at character 1, found "
            "\"大\"");
  Put("short", "中 国\n");
  EXPECT_TRUE(FailureOf([&] { compare("short"); }).starts_with("short:2: "));
}

}  // namespace
}  // namespace Tolvek
