// SPDX-License-Identifier: Apache-2.0
#include "chinese/Segmentor.h"
#include "unit/Scratch.h"
#include "unit/SegKnowledge.h"

namespace Tolvek {
namespace {

using Characters = std::vector<std::string>;

/// A loaded segmenter.
class Segmenting {
 public:
  explicit Segmenting(const SegKnowledge& knowledge, double alpha = 0.3, int order = 2)
      : _segmentor(&_scorer, &_types, alpha, order) {
    knowledge.Write();
    Capture([this] {
      EXPECT_TRUE(_types.Initialize(true));
      EXPECT_TRUE(_scorer.Initialize("data/binarySegLM", "data/binarySegModel"));
      EXPECT_EQ(_segmentor.Initialize(), 1);
    });
  }

  std::string operator()(std::string line) {
    std::string out = "what was there before";
    const Output output = Capture([&] { _segmentor.SegSentence(line, out); });
    _messages = output.err;
    EXPECT_EQ(output.out, "");
    return out;
  }

  Segmentor* operator->() { return &_segmentor; }
  /// What the last line said on the standard error stream.
  const std::string& Messages() const { return _messages; }

 private:
  CharType _types;
  SegScore _scorer{&_types};
  Segmentor _segmentor;
  std::string _messages;
};

class SegmentorTest : public Scratch {
 protected:
  SegKnowledge _knowledge;
};

TEST(SegmentorCharacters, Split) {
  Characters characters{"old"};
  SplitCharacters("a" + kWo +
                      "1\x80"
                      "b",
                  characters);
  EXPECT_EQ(characters, (Characters{"a", kWo, "1",
                                    "\x80"
                                    "b"}));
  SplitCharacters("", characters);
  EXPECT_EQ(characters, Characters());
  SplitCharacters("a\xCE", characters);
  EXPECT_EQ(characters, (Characters{"a", "\xCE"})) << "a lead byte at the end";
  SplitCharacters("\x7F\xFF\xFF", characters);
  EXPECT_EQ(characters, (Characters{"\x7F", "\xFF\xFF"}));
}

TEST_F(SegmentorTest, WordsAreFollowedByOneBlank) {
  _knowledge.Favour(kWo, 'B');
  _knowledge.Favour(kMen, 'E');
  _knowledge.Favour("?", 'S');
  Segmenting segment(_knowledge);
  EXPECT_EQ(segment(kWo + kMen), kWo + kMen + " ");
  EXPECT_EQ(segment(kWo + kMen + "?" + kWo + kMen), kWo + kMen + " ? " + kWo + kMen + " ");
  EXPECT_EQ(segment.Messages(), "");
}

TEST_F(SegmentorTest, WordsOfThree) {
  _knowledge.Favour("p", 'B');
  _knowledge.Favour("q", 'M');
  _knowledge.Favour("r", 'E');
  EXPECT_EQ(Segmenting(_knowledge)("pqrpqqr"), "pqr pqqr ");
}

TEST_F(SegmentorTest, OneCharacterIsAWord) {
  _knowledge.Favour(kWo, 'B', "50");
  Segmenting segment(_knowledge);
  EXPECT_EQ(segment(kWo), kWo + " ");
  EXPECT_EQ(segment("("), "( ");
  EXPECT_EQ(segment("\xCE"), "\xCE ");
}

TEST_F(SegmentorTest, TheFirstPositionOffersBAndS) {
  for (const char tag : {'M', 'E'}) {
    SegKnowledge knowledge;
    knowledge.Favour("p", tag, "50");
    knowledge.Favour("q", 'E');
    EXPECT_EQ(Segmenting(knowledge)("pq"), "pq ");
  }
}

TEST_F(SegmentorTest, TheLastPositionOffersEAndS) {
  _knowledge.Favour("p", 'S');
  _knowledge.Favour("q", 'B', "50");
  EXPECT_EQ(Segmenting(_knowledge)("ppq"), "p p q ");
}

TEST_F(SegmentorTest, BracketsAreWords) {
  _knowledge.Favour("(", 'B');
  _knowledge.Favour(")", 'M');
  _knowledge.Favour("p", 'B');
  _knowledge.Favour("q", 'E');
  Segmenting segment(_knowledge);
  EXPECT_EQ(segment("(pq)"), "( pq ) ");
  EXPECT_EQ(segment("p(q"), "p ( q ");
  EXPECT_EQ(segment("()(("), "( ) ( ( ");
}

TEST_F(SegmentorTest, BracketsTakeTheScoreOfE) {
  // S is impossible for the bracket: were its score taken, all paths would be equal.
  _knowledge.me.Add("2/(", {{3, "-1000"}});
  _knowledge.FavourEach({"p", "q"}, 'S');
  EXPECT_EQ(Segmenting(_knowledge)("(pq"), "( p q ");
}

TEST_F(SegmentorTest, ALineWithoutAnyProbabilityIsDecoded) {
  _knowledge.me.Add("2/(", {{2, "-1000"}});
  _knowledge.FavourEach({"p", "q"}, 'S');
  Segmenting segment(_knowledge);
  EXPECT_EQ(segment("(pq"), "( pq ") << "all paths are equal, the first wins";
  EXPECT_EQ(segment.Messages(), "");

  SegKnowledge zeros;
  zeros.lm = {{{"-99", "<unk>", ""}, {"-99", "</s>", ""}}};
  EXPECT_EQ(Segmenting(zeros)(kWo + kMen + "p"), kWo + kMen + " p ") << "E comes before M";
}

TEST_F(SegmentorTest, ScoresThatAreNoNumbers) {
  _knowledge.me.Add("2/p", {{0, "1000"}});  // infinity by infinity
  _knowledge.me.Add("2/q", {{0, "1000"}, {1, "1000"}, {2, "1000"}, {3, "1000"}});
  Segmenting segment(_knowledge);
  for (const std::string line : {"p", "pq", "qq", "pqrpqr", "rrpqrrrrrrrrrrrrrrrrrrrrrrrr"}) {
    std::string out = segment(line);
    std::erase(out, ' ');
    EXPECT_EQ(out, line);
  }
}

TEST_F(SegmentorTest, LettersStayTogether) {
  _knowledge.FavourEach({"a", "b", "x"}, 'S');
  Segmenting segment(_knowledge);
  EXPECT_EQ(segment("axb"), "axb ");
  EXPECT_EQ(segment("abxab"), "abxab ");
  EXPECT_EQ(segment("ab"), "a b ") << "only inner letters are bound";
  EXPECT_EQ(segment(kWo + "ab"), kWo + " a b ");
}

TEST_F(SegmentorTest, MarksBetweenLettersAreInner) {
  _knowledge.FavourEach({"a", "b", "'", ".", "-", " ", ",", "_"}, 'S');
  Segmenting segment(_knowledge);
  EXPECT_EQ(segment("a'b"), "a'b ");
  EXPECT_EQ(segment("a.b"), "a.b ");
  EXPECT_EQ(segment("a-b"), "a-b ");
  EXPECT_EQ(segment("a b"), "a b ") << "one word of the lattice, split again at its blank";
  EXPECT_EQ(segment("a,b"), "a , b ");
  EXPECT_EQ(segment("a_b"), "a _ b ");
  EXPECT_EQ(segment("a--b"), "a - - b ") << "not between two letters";
}

TEST_F(SegmentorTest, OtherCharactersBetweenLettersAreFree) {
  _knowledge.FavourEach({"a", "b", "1", kYi}, 'S');
  Segmenting segment(_knowledge);
  EXPECT_EQ(segment("a1b"), "a 1 b ");
  EXPECT_EQ(segment("a" + kYi + "b"), "a " + kYi + " b ");
}

TEST_F(SegmentorTest, DigitsStayTogether) {
  _knowledge.FavourEach({"1", "2", "3", kWo}, 'S');
  Segmenting segment(_knowledge);
  EXPECT_EQ(segment("123"), "123 ") << "three in a row: the middle one is inner";
  EXPECT_EQ(segment("1231"), "1231 ");
  EXPECT_EQ(segment("12"), "1 2 ");
  EXPECT_EQ(segment("12" + kWo), "12 " + kWo + " ") << "the second is an end or inner";
  EXPECT_EQ(segment(kWo + "12" + kWo), kWo + " 12 " + kWo + " ");
  EXPECT_EQ(segment("1" + kWo + "2"), "1 " + kWo + " 2 ");
}

TEST_F(SegmentorTest, ADigitBeforeAnotherCharacterMayBeInner) {
  _knowledge.Favour("1", 'B');
  _knowledge.Favour("2", 'M');
  _knowledge.Favour(kWo, 'E');
  EXPECT_EQ(Segmenting(_knowledge)("12" + kWo), "12" + kWo + " ");
}

TEST_F(SegmentorTest, ClassesZeroOneAndThreeReplaceTheCharacterInTokens) {
  const std::vector<std::pair<std::string, std::string>> keys = {
      {"1", "0"}, {kYi, "1"}, {kLiang, "2"}, {"a", "3"}, {kNian, "4"}, {kWo, "5"}};
  for (const auto& [character, number] : keys) {
    // The class number favours single characters, the character itself one word.
    SegKnowledge knowledge;
    knowledge.lm = {{{"-9", "<unk>", ""},
                     {"-1", number + "/B", ""},
                     {"-1", number + "/E", ""},
                     {"-0.5", number + "/S", ""}}};
    if (character != number) {
      for (const char* tag : {"/B", "/E"}) knowledge.lm[0].push_back({"-0.1", character + tag, ""});
      knowledge.lm[0].push_back({"-0.3", character + "/S", ""});
    }
    const bool replaced = number == "0" || number == "1" || number == "3";
    EXPECT_EQ(Segmenting(knowledge, 1.0)(character + character),
              replaced ? character + " " + character + " " : character + character + " ")
        << number;
  }
}

TEST_F(SegmentorTest, BracketsAreNotReplacedInTokens) {
  // Both brackets are single words whatever the tokens are; the history tells what was looked up.
  _knowledge.classes.push_back({"(", 3});
  _knowledge.lm = {{{"-9", "<unk>", ""},
                    {"-1", "(/S", "0"},
                    {"-1", "3/S", "0"},
                    {"-1", "p/B", ""},
                    {"-1", "p/S", ""},
                    {"-1", "q/E", ""},
                    {"-1", "q/S", ""}},
                   {{"-0.1", "(/S p/S", ""}, {"-0.1", "3/S p/B", ""}}};
  EXPECT_EQ(Segmenting(_knowledge, 1.0)("(pq"), "( p q ");
}

TEST_F(SegmentorTest, AlphaWeighsTheLanguageModel) {
  _knowledge.FavourEach({"p", "q"}, 'S');
  _knowledge.lm = {{{"-1", "p/B", ""}, {"-1", "q/E", ""}, {"-2", "p/S", ""}, {"-2", "q/S", ""}}};
  EXPECT_EQ(Segmenting(_knowledge, 0.0)("pq"), "p q ");
  EXPECT_EQ(Segmenting(_knowledge, 1.0)("pq"), "pq ");
  Segmenting segment(_knowledge, 0.0);
  segment->SetAlpha(1.0);
  EXPECT_EQ(segment("pq"), "pq ");
  // S: 10 / (10 + 3 ln) a character in the ME model is about 4.3 better, the LM 1 worse: the scales
  // turn where (1 - alpha) 4.3 = alpha.
  segment->SetAlpha(0.79);
  EXPECT_EQ(segment("pq"), "p q ");
  segment->SetAlpha(0.83);
  EXPECT_EQ(segment("pq"), "pq ");
}

TEST_F(SegmentorTest, TheSentenceBeginIsTheHistoryOfTheFirstCharacter) {
  _knowledge.lm = {{{"-1", "p/B", ""},
                    {"-1", "p/S", ""},
                    {"-1", "q/E", ""},
                    {"-1", "q/S", ""},
                    {"-99", "<s>", "0"}},
                   {{"-0.1", "<s> p/S", ""}}};
  EXPECT_EQ(Segmenting(_knowledge)("pq"), "p q ");
  EXPECT_EQ(Segmenting(_knowledge, 0.3, 1)("pq"), "pq ") << "order 1 has no history";
}

TEST_F(SegmentorTest, TheSentenceEndIsScored) {
  _knowledge.lm = {{{"-1", "p/B", ""},
                    {"-1", "p/S", ""},
                    {"-1", "q/E", ""},
                    {"-1", "q/S", "0"},
                    {"-3", "</s>", ""}},
                   {{"-0.1", "q/S </s>", ""}}};
  EXPECT_EQ(Segmenting(_knowledge)("pq"), "p q ");
}

TEST_F(SegmentorTest, UnknownTokensCostTwoMore) {
  // Known singles at -8 against unknown words at -6.69705 and 2 more.
  _knowledge.lm = {{{"-8", "p/S", ""}, {"-8", "q/S", ""}}};
  EXPECT_EQ(Segmenting(_knowledge)("pq"), "p q ");
}

TEST_F(SegmentorTest, FullWidthSpacesSeparateWords) {
  _knowledge.Favour(kWo, 'B');
  _knowledge.Favour(kMen, 'E');
  Segmenting segment(_knowledge);
  EXPECT_EQ(segment(kWo + kWideSpace + kMen), kWo + " " + kMen + " ");
  EXPECT_EQ(segment(kWideSpace + kWideSpace + kWo + kMen + kWideSpace), kWo + kMen + " ");
  EXPECT_EQ(segment(kWideSpace), "") << "nothing is left of it";
}

TEST_F(SegmentorTest, InnerBlanksSeparateWords) {
  Segmenting segment(_knowledge);
  EXPECT_EQ(segment(kWo + " \t" + kMen), kWo + " " + kMen + " ");
}

TEST_F(SegmentorTest, SegSentenceTrimsTheLine) {
  Segmenting segment(_knowledge);
  std::string line = " \t" + kWo + "\r\n";
  std::string out;
  segment->SegSentence(line, out);
  EXPECT_EQ(line, kWo);
  EXPECT_EQ(out, kWo + " ");
}

TEST_F(SegmentorTest, EmptySentences) {
  Segmenting segment(_knowledge);
  EXPECT_THROW(segment->RenewLattice({}), std::out_of_range);
  for (std::string line : {"", " \t\r\n"}) {
    std::string out;
    EXPECT_THROW(segment->SegSentence(line, out), std::out_of_range);
  }
  EXPECT_EQ(segment(kWo), kWo + " ") << "it goes on with the next line";
}

TEST_F(SegmentorTest, AModelWithoutOneOfTheTags) {
  _knowledge.me = MeSource{{}, {"B", "E", "S"}, {}, {}};
  Segmenting segment(_knowledge);
  EXPECT_THROW(segment->RenewLattice({"p", "q", "r"}), std::out_of_range);
}

TEST_F(SegmentorTest, TagIdsAreThoseOfTheModel) {
  _knowledge.me = MeSource{{}, {"S", "x", "E", "M", "B"}, {}, {}};
  _knowledge.me.Add("2/p", {{4, "5"}});
  _knowledge.me.Add("2/q", {{3, "5"}});
  _knowledge.me.Add("2/r", {{2, "5"}});
  _knowledge.me.Add("2/s", {{0, "5"}});
  EXPECT_EQ(Segmenting(_knowledge)("pqrspr"), "pqr s pr ");
}

TEST_F(SegmentorTest, LatticeAndSearchByThemselves) {
  _knowledge.Favour("p", 'B');
  _knowledge.Favour("q", 'E');
  Segmenting segment(_knowledge);
  const Characters characters{"p", "q", "p", "q"};
  segment->RenewLattice(characters);
  for (int i = 0; i < 2; ++i) {
    std::string out = "old";
    segment->Viterbi(characters, out);
    EXPECT_EQ(out, "pq pq ");
  }
}

TEST_F(SegmentorTest, WithoutAnAllowedPathTheLineStaysWhole) {
  // A bracket among the digits: the digit before it must be inner, the bracket a word.
  _knowledge.classes.push_back({"(", 0});
  Segmenting segment(_knowledge);
  EXPECT_EQ(segment(kWo + "12(" + kWo), kWo + "12(" + kWo + " ");
  EXPECT_NE(segment.Messages(), "");
  EXPECT_EQ(segment("12(" + kWideSpace + kWo), "12( " + kWo + " ");
  EXPECT_NE(segment.Messages(), "");
  EXPECT_EQ(segment(kWo), kWo + " ");
  EXPECT_EQ(segment.Messages(), "");
}

TEST_F(SegmentorTest, AllHypothesesOfOrderOneMerge) {
  _knowledge.Favour("1", 'E');
  Segmenting segment(_knowledge, 0.3, 1);
  EXPECT_EQ(segment(kWo + "123"), kWo + "123 ") << "the only one left can not go on";
  EXPECT_NE(segment.Messages(), "");
}

TEST_F(SegmentorTest, LongLines) {
  _knowledge.Favour("p", 'B');
  _knowledge.Favour("q", 'E');
  Segmenting segment(_knowledge);
  EXPECT_EQ(segment(Repeat("pq", 3000)), Repeat("pq ", 3000));
}

TEST(SegmentorHistories, CheckEqual) {
  using History = std::deque<int>;
  EXPECT_TRUE(Segmentor::CheckEqual(History{}, History{}));
  EXPECT_TRUE(Segmentor::CheckEqual(History{1, 2}, History{1, 2}));
  EXPECT_FALSE(Segmentor::CheckEqual(History{1, 2}, History{2, 2}));
  bool equal = true;
  EXPECT_EQ(ErrorOf([&] {
              equal = Segmentor::CheckEqual(History{1}, History{1, 1});
            }),
            "The size of context are not the same!\n");
  EXPECT_FALSE(equal);
}

TEST(SegmentorHistories, CheckMerge) {
  using History = std::deque<int>;
  EXPECT_TRUE(Segmentor::CheckMerge(History{}, History{}));
  EXPECT_TRUE(Segmentor::CheckMerge(History{1}, History{2})) << "nothing but the oldest";
  EXPECT_TRUE(Segmentor::CheckMerge(History{1, 2, 3}, History{4, 2, 3}));
  EXPECT_FALSE(Segmentor::CheckMerge(History{1, 2, 3}, History{1, 2, 4}));
  EXPECT_FALSE(Segmentor::CheckMerge(History{1, 2, 3}, History{1, 4, 3}));
  bool merge = true;
  EXPECT_EQ(ErrorOf([&] { merge = Segmentor::CheckMerge(History{}, History{1}); }),
            "The size of context are not the same!\n");
  EXPECT_FALSE(merge);
}

// Files.

class SegmentorFileTest : public SegmentorTest {
 protected:
  Output SegFile(const std::string& in, const std::string& out) {
    Segmenting segment(_knowledge);
    return Capture([&] { segment->SegFile(in, out); });
  }
};

TEST_F(SegmentorFileTest, EveryLineGivesOneLine) {
  _knowledge.FavourEach({kWo, kMen}, 'S');
  WriteText("in", " " + kWo + kMen + "\r\n\n \t\nab\n" + kWo);
  const Output output = SegFile("in", "out");
  EXPECT_EQ(ReadText("out"), kWo + " " + kMen + " \n\n\nab \n" + kWo + " \n");
  EXPECT_EQ(output.out, "Processing:\n\n5 sentences in total.\n");
  EXPECT_EQ(output.err, "");
}

TEST_F(SegmentorFileTest, MissingInput) {
  const Output output = SegFile("nofile", "out");
  EXPECT_EQ(output.err, "*****\nCannot open nofile\n*****\n");
  EXPECT_EQ(output.out, "");
  EXPECT_FALSE(Exists("out"));
}

TEST_F(SegmentorFileTest, Progress) {
  WriteText("in", Repeat("\na\n", 125));
  EXPECT_EQ(SegFile("in", "out").out, "Processing:\n..\n250 sentences in total.\n");
  WriteText("in", Repeat("\n", 5000));
  EXPECT_EQ(SegFile("in", "out").out, "Processing:\n" + std::string(50, '.') +
                                          "\t5000 sentence\n\n5000 sentences in total.\n");
}

TEST_F(SegmentorFileTest, AnOutputThatCannotBeWrittenIsNotReported) {
  WriteText("in", "a\n");
  const Output output = SegFile("in", "nowhere/out");
  EXPECT_EQ(output.out, "Processing:\n\n1 sentences in total.\n");
  EXPECT_EQ(output.err, "");
}

}  // namespace
}  // namespace Tolvek
