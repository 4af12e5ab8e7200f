// SPDX-License-Identifier: Apache-2.0
#include "Workplace.h"
#include "tvk/evaluate/TagEvaluation.h"

namespace Tolvek {
namespace {

using Words = std::vector<std::string>;

/// "a/X b/Y" as a sentence; "a/" has an empty tag.
Sentence Tagged(const Words& items) {
  Sentence sentence;
  for (const std::string& item : items) {
    const std::size_t slash = item.rfind('/');
    sentence.words.push_back(item.substr(0, slash));
    sentence.tags.push_back(item.substr(slash + 1));
  }
  return sentence;
}

void Add(const Words& gold, const Words& output, TagCounts& counts, const WordSet& known = {}) {
  std::string difference;
  EXPECT_TRUE(CompareSentence(Tagged(gold), Tagged(output), known, counts, difference))
      << difference;
}

std::vector<std::string> Show(const std::vector<Confusion>& confusions) {
  std::vector<std::string> rows;
  for (const auto& [gold, output, count] : confusions) {
    rows.push_back(gold + " " + output + " " + std::to_string(count));
  }
  return rows;
}

TEST(TagEvaluation, JointlyCorrectAreSpansWithTheRightTag) {
  // 中国|人|民|的|家 against 中国|人民|的|家: three spans agree, of these the tag of 的 does not.
  TagCounts counts;
  Add({"中国/NR", "人/NN", "民/NN", "的/DEC", "家/NN"}, {"中国/NR", "人民/NN", "的/DEG", "家/NN"},
      counts, {"中国", "人", "的"});
  EXPECT_EQ(counts.words.sentences, 1U);
  EXPECT_EQ(counts.words.correctWords, 3U);
  EXPECT_EQ(counts.joint.correctWords, 2U);
  EXPECT_DOUBLE_EQ(*Precision(counts.joint), 2.0 / 4);
  EXPECT_DOUBLE_EQ(*Recall(counts.joint), 2.0 / 5);
  EXPECT_DOUBLE_EQ(*F1(counts.joint), 4.0 / 9);
  EXPECT_DOUBLE_EQ(*TagAccuracy(counts), 2.0 / 3);
  // Unknown: 民 (wrong span) and 家 (right). Known: 中国 (right), 人 (span), 的 (tag).
  EXPECT_DOUBLE_EQ(*UnknownRecall(counts.joint), 1.0 / 2);
  EXPECT_DOUBLE_EQ(*KnownRecall(counts.joint), 1.0 / 3);
  EXPECT_DOUBLE_EQ(*UnknownTagAccuracy(counts), 1.0);
  EXPECT_DOUBLE_EQ(*KnownTagAccuracy(counts), 1.0 / 2);
  EXPECT_EQ(Show(WorstConfusions(counts, 10)), (Words{"DEC DEG 1"}));
}

TEST(TagEvaluation, TagsBelongToTheirWordsAlthoughOthersAreLeftOut) {
  // A word of white space only has no span; the tags after it must not shift.
  TagCounts counts;
  Add({"\u3000/X", "ab/Y", "c/Z"}, {"a/Y", "b/Y", "c/Z"}, counts);
  EXPECT_EQ(counts.words.goldWords, 2U);
  EXPECT_EQ(counts.words.correctWords, 1U);
  EXPECT_EQ(counts.joint.correctWords, 1U);
}

TEST(TagEvaluation, AnEmptyTagIsWrong) {
  TagCounts counts;
  Add({"a/X", "b/Y"}, {"a/", "b/"}, counts);
  EXPECT_DOUBLE_EQ(*TagAccuracy(counts), 0.0);
  EXPECT_EQ(Show(WorstConfusions(counts, 10)), (Words{"X  1", "Y  1"}));
}

TEST(TagEvaluation, WorstConfusionsComeFirstThenByName) {
  TagCounts counts;
  Add({"a/B", "a/B", "a/A", "a/A", "a/C", "a/C"}, {"a/A", "a/C", "a/C", "a/B", "a/A", "a/A"},
      counts);
  EXPECT_EQ(Show(WorstConfusions(counts, 10)),
            (Words{"C A 2", "A B 1", "A C 1", "B A 1", "B C 1"}));
  EXPECT_EQ(Show(WorstConfusions(counts, 2)), (Words{"C A 2", "A B 1"}));
}

TEST(TagEvaluation, SentencesAddUp) {
  TagCounts counts;
  Add({"a/X"}, {"a/X"}, counts);
  Add({"a/X"}, {"a/Y"}, counts);
  Add({"a/X"}, {"a/Y"}, counts);
  EXPECT_EQ(counts.joint.sentences, 3U);
  EXPECT_DOUBLE_EQ(*TagAccuracy(counts), 1.0 / 3);
  EXPECT_EQ(Show(WorstConfusions(counts, 10)), (Words{"X Y 2"}));
}

TEST(TagEvaluation, AddsNothingWhenTextsDiffer) {
  TagCounts counts;
  std::string difference;
  EXPECT_FALSE(CompareSentence(Tagged({"a/X", "b/Y"}), Tagged({"a/X"}), {}, counts, difference));
  EXPECT_EQ(difference, "\"b\" expected at character 2, found the end of the line");
  EXPECT_EQ(counts.words.goldWords, 0U);
  EXPECT_EQ(counts.joint.sentences, 0U);
  EXPECT_EQ(ShowRatio(TagAccuracy(counts)), "undefined");
  EXPECT_EQ(ShowRatio(UnknownTagAccuracy(counts)), "undefined");
  EXPECT_EQ(ShowRatio(KnownTagAccuracy(counts)), "undefined");
}

TEST(HaveSameWords, NamesTheFirstDifference) {
  const auto differenceOf = [](const Words& gold, const Words& output) {
    Sentence expected;
    Sentence found;
    expected.words = gold;
    found.words = output;
    std::string difference;
    const bool areSame = HaveSameWords(expected, found, difference);
    EXPECT_EQ(areSame, difference.empty());
    return difference;
  };
  EXPECT_EQ(differenceOf({"中国", "人"}, {"中国", "人"}), "");
  EXPECT_EQ(differenceOf({"\U0001F600人"}, {"\u3013人"}), "");
  EXPECT_EQ(differenceOf({"中", "国人"}, {"中", "国", "人"}),
            "\"国人\" expected at word 2, found \"国\"");
  EXPECT_EQ(differenceOf({"中", "国"}, {"中"}),
            "\"国\" expected at word 2, found the end of the line");
  EXPECT_EQ(differenceOf({"中"}, {"中", "国"}),
            "the end of the line expected at word 2, found \"国\"");
}

class CompareTaggedFiles : public Workplace {
 protected:
  static TagCounts Compare(BlankLines blankLines) {
    return CompareTaggedCorpora(
        ReadCorpus("gold", Encoding::kAutoEnglish, Tagging::kTagged),
        ReadCorpus("out", Encoding::kAutoEnglish, Tagging::kTagged, EmptyTags::kAllowed), {},
        blankLines);
  }
};

TEST_F(CompareTaggedFiles, BlankLinesAreSkippedOnDemand) {
  Put("gold", "a/X\n\n\nb/Y\n\n");
  Put("out", "\na/X \nb/Z \n");
  const TagCounts counts = Compare(BlankLines::kSkipped);
  EXPECT_EQ(counts.words.sentences, 2U);
  EXPECT_EQ(counts.joint.correctWords, 1U);
  EXPECT_TRUE(
      FailureOf([] { Compare(BlankLines::kPaired); }).starts_with("out:1: the text differs from"));
}

TEST_F(CompareTaggedFiles, FailuresCountTheLinesOfTheFiles) {
  Put("gold", "a/X\n\n\nb/Y\n");
  Put("out", "a/X \nc/Z \n");
  EXPECT_EQ(FailureOf([] { Compare(BlankLines::kSkipped); }),
            "out:2: the text differs from line 4 of gold: \"b\" expected at character 1, found "
            "\"c\"");
  Put("out", "\na/X \n\n");
  EXPECT_EQ(FailureOf([] { Compare(BlankLines::kSkipped); }),
            "out:3: the text differs from line 4 of gold: \"b\" expected at character 1, found "
            "the end of the line");
}

}  // namespace
}  // namespace Tolvek
