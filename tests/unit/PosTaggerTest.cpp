// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <limits>

#include "chinese/PosTagger.h"
#include "unit/Fixtures.h"
#include "unit/PosKnowledge.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using Tags = std::vector<int>;
using Words = std::vector<std::string>;
using Weights = std::vector<std::pair<std::string, std::string>>;

/// A loaded tagger.
class Tagging {
 public:
  explicit Tagging(const PosKnowledge& knowledge, int order = 2) : _tagger(&_scorer, order) {
    WriteText("data/binarySource", Block({}) + Block({}) + Block({}) + Block({}));
    knowledge.Write();
    Capture([this] {
      EXPECT_TRUE(_types.Initialize(true));
      EXPECT_TRUE(_scorer.Initialize("data/binaryPosModel", "data/Dict"));
      EXPECT_EQ(_tagger.Initialize(), 1);
    });
  }

  std::string operator()(std::string line) {
    std::string out = "what was there before";
    const Output output = Capture([&] { _tagger.TagSentence(line, out); });
    _messages = output.err;
    EXPECT_EQ(output.out, "");
    return out;
  }

  /// The tag ids of a sentence.
  Tags Ids(const Words& words) {
    Tags tags{77};
    _messages = ErrorOf([&] {
      _tagger.RenewLattice(words);
      _tagger.Viterbi(tags);
    });
    return tags;
  }

  PosTagger* operator->() { return &_tagger; }
  const PosScore& Scorer() const { return _scorer; }
  /// What the last line said on the standard error stream.
  const std::string& Messages() const { return _messages; }

 private:
  CharType _types;
  PosScore _scorer{&_types};
  PosTagger _tagger;
  std::string _messages;
};

class PosTaggerTest : public Scratch {
 protected:
  /// Tags "t0" to "t<count - 1>".
  static Words ManyTags(int count) {
    Words tags;
    for (int i = 0; i < count; ++i) tags.push_back("t" + std::to_string(i));
    return tags;
  }

  PosKnowledge _knowledge;
};

// Lines.

TEST_F(PosTaggerTest, EveryWordIsFollowedByItsTagAndABlank) {
  _knowledge.words = {{kWo, "v"}, {kMen, "n"}, {"x", "w"}};
  Tagging tag(_knowledge);
  EXPECT_EQ(tag(kWo + " " + kMen + " x"), kWo + "/v " + kMen + "/n x/w ");
  EXPECT_EQ(tag("x"), "x/w ");
  EXPECT_EQ(tag.Messages(), "");
}

TEST_F(PosTaggerTest, WhiteSpaceSeparatesWords) {
  _knowledge.words = {{"x", "w"}};
  Tagging tag(_knowledge);
  EXPECT_EQ(tag(" x\t x \r\n"), "x/w x/w ");
  EXPECT_EQ(tag("x\vx\fx\rx\nx"), "x/w x/w x/w x/w x/w ");
}

TEST_F(PosTaggerTest, TheLineIsTrimmed) {
  Tagging tag(_knowledge);
  std::string line = " \tx y\r\n";
  std::string out;
  tag->TagSentence(line, out);
  EXPECT_EQ(line, "x y");
}

TEST_F(PosTaggerTest, BlankLinesGiveAnEmptyText) {
  Tagging tag(_knowledge);
  for (const char* line : {"", " ", "\t\r\n "}) {
    EXPECT_EQ(tag(line), "");
    EXPECT_EQ(tag.Messages(), "");
  }
}

TEST_F(PosTaggerTest, LinesWithoutWordsGiveAnEmptyText) {
  Tagging tag(_knowledge);
  EXPECT_EQ(tag("\v"), "");
  EXPECT_EQ(tag(" \f\v "), "");
  EXPECT_EQ(tag.Messages(), "");
}

TEST_F(PosTaggerTest, BytesOfWordsAreKept) {
  _knowledge.words = {{"/", "w"}, {"a/b", "v"}, {"\xCE", "a"}, {kWideSpace, "w"}};
  _knowledge.characters = {{"x", "n"}};
  Tagging tag(_knowledge);
  EXPECT_EQ(tag("/ a/b \xCE " + kWideSpace), "//w a/b/v \xCE/a " + kWideSpace + "/w ");
  EXPECT_EQ(tag("x\x80\xFF x\xCE x\xA0"), "x\x80\xFF/n x\xCE/n x\xA0/n ");
  const std::string zero("x\0y", 3);
  EXPECT_EQ(tag(zero), zero + "/n ");
}

TEST_F(PosTaggerTest, SplitLineAppends) {
  Words words{"old"};
  PosTagger::SplitLine(" " + kWo + "\tx ", words);
  PosTagger::SplitLine("", words);
  EXPECT_EQ(words, (Words{"old", kWo, "x"}));
}

TEST_F(PosTaggerTest, LatticeAndSearchByThemselves) {
  _knowledge.words = {{"x", "w"}, {"y", "a"}};
  Tagging tag(_knowledge);
  EXPECT_EQ(tag.Ids({"x", "y", "x"}), (Tags{3, 2, 3}));
  tag->RenewLattice({"y"});
  for (int i = 0; i < 2; ++i) {
    Tags tags;
    tag->Viterbi(tags);
    EXPECT_EQ(tags, (Tags{2}));
  }
}

TEST_F(PosTaggerTest, AnEmptySentenceHasNoTags) {
  Tagging tag(_knowledge);
  EXPECT_EQ(tag.Ids({"x"}).size(), 1U);
  EXPECT_EQ(tag.Ids({}), Tags()) << "nothing is left of the sentence before";
  EXPECT_EQ(tag.Messages(), "");
}

// Candidates.

TEST_F(PosTaggerTest, AWordHasTheTagsOfTheDictionaryOnly) {
  _knowledge.words = {{"x", "v a"}};
  _knowledge.Favour("x", {{"n", "9"}, {"a", "1"}});
  EXPECT_EQ(Tagging(_knowledge)("x"), "x/a ");
}

TEST_F(PosTaggerTest, AnUnknownWordHasTheTagsOfItsCharacters) {
  _knowledge.characters = {{kWo, "v"}, {kMen, "a"}};
  _knowledge.Favour(kWo + kMen, {{"n", "9"}, {"a", "1"}});
  _knowledge.Favour(kMen + kWo, {{"n", "9"}, {"v", "1"}});
  Tagging tag(_knowledge);
  EXPECT_EQ(tag(kWo + kMen + " " + kMen + kWo), kWo + kMen + "/a " + kMen + kWo + "/v ");
}

TEST_F(PosTaggerTest, AWordThatNothingIsKnownOfHasEveryTag) {
  for (const std::string name : {"n", "v", "a", "w"}) {
    PosKnowledge knowledge;
    knowledge.characters = {{"y", ""}};
    knowledge.words = {{"q", "n"}};
    knowledge.Favour("x", {{name, "1"}});
    knowledge.Favour("y", {{name, "1"}});
    Tagging tag(knowledge);
    EXPECT_EQ(tag("x"), "x/" + name + " ");
    EXPECT_EQ(tag("q x"), "q/n x/" + name + " ");
    EXPECT_EQ(tag("y"), "y/" + name + " ") << "a character without tags";
  }
}

TEST_F(PosTaggerTest, AllTagsAreCandidatesOfAllWords) {
  // One word more than the last tag would be lost if the last of many were not offered.
  _knowledge.me.tags = ManyTags(25);
  _knowledge.Favour("x", {{"t24", "1"}});
  _knowledge.Favour("y", {{"t0", "1"}});
  EXPECT_EQ(Tagging(_knowledge).Ids({"x", "y", "x"}), (Tags{24, 0, 24}));
}

TEST_F(PosTaggerTest, AWordListedWithoutTagsLeavesItsLineUntagged) {
  _knowledge.words = {{"x", ""}, {"y", "v"}};
  Tagging tag(_knowledge);
  const std::string message = "No sequence of tags is possible: the line is not tagged.\n";
  for (const std::string line : {"x", "x y", "y x", "y x y", "y y x x y"}) {
    std::string expected = line + " ";
    for (std::size_t at = 1; at < expected.size(); at += 3) expected.insert(at, "/");
    EXPECT_EQ(tag(line), expected);
    EXPECT_EQ(tag.Messages(), message) << line;
  }
  EXPECT_EQ(tag.Ids({"y", "x"}), (Tags{-1, -1}));
  EXPECT_EQ(tag("y y"), "y/v y/v ") << "it goes on with the next line";
  EXPECT_EQ(tag.Messages(), "");
}

TEST_F(PosTaggerTest, AWordWithAnUnknownTagEndsTheRun) {
  _knowledge.words = {{"x", "n zz"}, {"y", "v"}, {"z", ""}};
  _knowledge.characters = {{"q", "zz"}};
  Tagging tag(_knowledge);
  for (const char* line : {"x", "y x", "x y", "q", "yq", "y q y"}) {
    EXPECT_THROW(tag(line), std::out_of_range) << line;
  }
  EXPECT_EQ(tag("z x"), "z/ x/ ") << "no path comes as far as the tag";
  EXPECT_EQ(tag("y y"), "y/v y/v ");
}

TEST_F(PosTaggerTest, WithoutATagger) {
  CharType types;
  const PosScore scorer(&types);
  PosTagger tagger(&scorer, 2);
  std::string line = " x " + kWo;
  std::string out = "old";
  Capture([&] { tagger.TagSentence(line, out); });
  EXPECT_EQ(out, "x/ " + kWo + "/ ");
}

// Scores.

TEST_F(PosTaggerTest, AOneWordLineTakesTheBestScore) {
  _knowledge.After("B_0", {{"n", "1"}, {"a", "2"}});
  _knowledge.Favour("x", {{"n", "0.6"}});
  Tagging tag(_knowledge);
  EXPECT_EQ(tag("x"), "x/n ") << "1 + 2 * 0.6 against 2";
  EXPECT_EQ(tag("y"), "y/a ");
}

TEST_F(PosTaggerTest, TheContextIsThatOfTheLine) {
  _knowledge.Add("1/B_0", {{"a", "1"}});
  _knowledge.Add("3/E_0", {{"v", "3"}});
  _knowledge.Add("1/x", {{"w", "0.5"}});
  _knowledge.Add("3/x", {{"n", "0.25"}});
  Tagging tag(_knowledge);
  EXPECT_EQ(tag("y y"), "y/a y/v ");
  EXPECT_EQ(tag("y x y y"), "y/a x/n y/w y/v ") << "\"x\" is on equal terms: the first tag wins";
  EXPECT_EQ(tag("y"), "y/v ") << "3 against 1";
}

TEST_F(PosTaggerTest, ThePreviousTagCounts) {
  _knowledge.words = {{"p", "n"}, {"q", "v"}};
  _knowledge.After("B_0", {{"n", "1"}});
  _knowledge.After("n", {{"v", "1"}});
  _knowledge.After("v", {{"a", "1"}});
  Tagging tag(_knowledge);
  EXPECT_EQ(tag("x"), "x/n ");
  EXPECT_EQ(tag("p x"), "p/n x/v ");
  EXPECT_EQ(tag("q x"), "q/v x/a ");
}

TEST_F(PosTaggerTest, ALaterWordMayTurnAnEarlierOne) {
  // "x" by itself is n; but only after v "y" is at all probable as w, its only tag.
  _knowledge.words = {{"x", "n v"}, {"y", "w"}};
  _knowledge.Favour("x", {{"n", "0.5"}});
  _knowledge.After("v", {{"w", "3"}});
  Tagging tag(_knowledge);
  EXPECT_EQ(tag("x"), "x/n ");
  EXPECT_EQ(tag("x y"), "x/v y/w ");
}

TEST_F(PosTaggerTest, TheOrderSaysWhichTagIsPrevious) {
  _knowledge.words = {{"x", "n"}, {"y", "v"}, {"z", "a w"}};
  _knowledge.After("v", {{"a", "2"}});  // one before: order 2
  _knowledge.After("n", {{"w", "2"}});  // two before: order 3
  _knowledge.After("a", {{"a", "-5"}});
  _knowledge.After("w", {{"w", "5"}});  // itself: order 1
  EXPECT_EQ(Tagging(_knowledge, 2)("x y z"), "x/n y/v z/a ");
  EXPECT_EQ(Tagging(_knowledge, 3)("x y z"), "x/n y/v z/w ");
  EXPECT_EQ(Tagging(_knowledge, 1)("x y z"), "x/n y/v z/w ");
  _knowledge.After("B_0", {{"a", "9"}});
  EXPECT_EQ(Tagging(_knowledge, 3)("x z"), "x/n z/a ") << "two before is before the sentence";
  EXPECT_EQ(Tagging(_knowledge, 2)("x z"), "x/n z/w ");
}

TEST_F(PosTaggerTest, ScoresThatAreNoNumbers) {
  _knowledge.Favour("x", {{"n", "400"}});                                            // infinity
  _knowledge.Favour("y", {{"n", "400"}, {"v", "400"}, {"a", "400"}, {"w", "400"}});  // no numbers
  _knowledge.Favour("z", {{"n", "-400"}, {"v", "-400"}, {"a", "-400"}, {"w", "-400"}});
  Tagging tag(_knowledge);
  for (const std::string line : {"x", "y", "z", "x y z", "z z x", "y y y y", "q x z q y q"}) {
    const std::string out = tag(line);
    Words words;
    PosTagger::SplitLine(line, words);
    Words tagged;
    PosTagger::SplitLine(out, tagged);
    ASSERT_EQ(tagged.size(), words.size()) << out;
    for (std::size_t i = 0; i < words.size(); ++i) {
      EXPECT_EQ(tagged[i].substr(0, 2), words[i] + "/");
      EXPECT_EQ(tagged[i].size(), 3U) << out;
    }
  }
}

// The beam.

/// Tags of a falling score for the word "x", all of them tags of it; "y" is "last" only, and hardly
/// so but after one tag.
class PosBeam : public PosTaggerTest {
 protected:
  /// Only tag number `rank` (from 0) in the order of scores makes "y" probable.
  const PosKnowledge& Best(int rank) {
    _knowledge = PosKnowledge();
    _knowledge.me.tags = ManyTags(40);
    _knowledge.me.tags.push_back("last");
    std::string all;
    Weights falling;
    for (int i = 0; i < 40; ++i) {
      const std::string tag = Ranked(i);
      falling.emplace_back(tag, std::to_string(2.0 - 0.01 * i));
      all += tag + " ";
    }
    _knowledge.Favour("x", falling);
    _knowledge.words = {{"x", all}, {"y", "last"}, {"s", "t0"}};
    _knowledge.After(Ranked(rank), {{"last", "20"}});
    return _knowledge;
  }

  /// The tag of a place in the order of scores, which is not that of the ids.
  static std::string Ranked(int rank) { return "t" + std::to_string(rank * 7 % 40); }
};

TEST_F(PosBeam, KeepsThirtyOfTheFirstWord) {
  for (const int rank : {0, 15, 28, 29}) {
    EXPECT_EQ(Tagging(Best(rank))("x y"), "x/" + Ranked(rank) + " y/last ") << rank;
  }
  for (const int rank : {30, 31, 39}) {
    EXPECT_EQ(Tagging(Best(rank))("x y"), "x/t0 y/last ") << rank;
  }
}

TEST_F(PosBeam, KeepsThirtyOfALaterWord) {
  for (const int rank : {0, 29}) {
    EXPECT_EQ(Tagging(Best(rank))("s x y"), "s/t0 x/" + Ranked(rank) + " y/last ") << rank;
  }
  EXPECT_EQ(Tagging(Best(30))("s x y"), "s/t0 x/t0 y/last ");
  EXPECT_EQ(Tagging(Best(30))("s s s x y"), "s/t0 s/t0 s/t0 x/t0 y/last ");
}

TEST_F(PosBeam, IsFullAtOnceForAnUnknownWord) {
  Best(29);
  _knowledge.words.erase(_knowledge.words.begin());
  EXPECT_EQ(Tagging(_knowledge)("x y"), "x/" + Ranked(29) + " y/last ");
  Best(30);
  _knowledge.words.erase(_knowledge.words.begin());
  EXPECT_EQ(Tagging(_knowledge)("x y"), "x/t0 y/last ");
}

TEST_F(PosBeam, KeepsThirtyWhateverTheOrder) {
  // The tag before the last is the previous one of order 3.
  for (const int order : {3, 4}) {
    const std::string rest = order == 3 ? " s y" : " s s y";
    const std::string tagged = order == 3 ? " s/t0 y/last " : " s/t0 s/t0 y/last ";
    EXPECT_EQ(Tagging(Best(29), order)("x" + rest), "x/" + Ranked(29) + tagged);
    EXPECT_EQ(Tagging(Best(30), order)("x" + rest), "x/t0" + tagged);
  }
}

/// Word 1 has `ways` equally good tags. Word 2 has "good" (as often as `times` says) and the worse
/// "bad", but only after "bad" word 3 is at all probable. Tells whether "bad" is lost.
class PosTies : public PosTaggerTest {
 protected:
  std::string SecondTag(int ways, int times) {
    _knowledge = PosKnowledge();
    _knowledge.me.tags = ManyTags(ways);
    for (const char* tag : {"good", "bad", "last"}) _knowledge.me.tags.push_back(tag);
    std::string first;
    for (int i = 0; i < ways; ++i) first += "t" + std::to_string(i) + " ";
    _knowledge.words = {{"x", first}, {"y", Repeat("good ", times) + "bad"}, {"z", "last"}};
    _knowledge.Favour("y", {{"good", "2"}, {"bad", "1"}});
    _knowledge.After("bad", {{"last", "20"}});
    const std::string out = Tagging(_knowledge)("x y z");
    const std::size_t begin = out.find("y/") + 2;
    return out.substr(begin, out.find(' ', begin) - begin);
  }
};

TEST_F(PosTies, EquallyGoodPathsOfDifferentTagsAreKept) {
  EXPECT_EQ(SecondTag(29, 1), "bad") << "29 with good, one with bad";
  EXPECT_EQ(SecondTag(30, 1), "good") << "30 with good fill the beam";
}

TEST_F(PosTies, EquallyGoodPathsOfTheSameTagsAreNot) {
  EXPECT_EQ(SecondTag(15, 2), "bad");
  EXPECT_EQ(SecondTag(29, 3), "bad");
  EXPECT_EQ(SecondTag(30, 2), "good");
}

TEST_F(PosTaggerTest, ThePathsThatMergeLeaveTheBetterOne) {
  // Were the worse paths to each tag of "y" kept, they would fill the beam and push "bad" out.
  _knowledge.me.tags = ManyTags(30);
  for (const char* tag : {"good", "bad", "last"}) _knowledge.me.tags.push_back(tag);
  std::string all;
  Weights falling;
  for (int i = 0; i < 30; ++i) {
    all += "t" + std::to_string(i) + " ";
    falling.emplace_back("t" + std::to_string(i), std::to_string(2.0 + 0.01 * i));
  }
  _knowledge.words = {{"x", all}, {"y", "good bad"}, {"z", "last"}};
  _knowledge.Favour("x", falling);
  _knowledge.Favour("y", {{"good", "2"}, {"bad", "1"}});
  _knowledge.After("bad", {{"last", "20"}});
  EXPECT_EQ(Tagging(_knowledge)("x y z"), "x/t29 y/bad z/last ");
}

TEST_F(PosTaggerTest, LongLines) {
  _knowledge.words = {{"x", "n v"}, {"y", "a w"}};
  _knowledge.After("n", {{"w", "1"}});
  _knowledge.Favour("x", {{"n", "1"}});
  Tagging tag(_knowledge);
  EXPECT_EQ(tag(Repeat("x y ", 3000)), Repeat("x/n y/w ", 3000));
  EXPECT_EQ(tag("x y"), "x/n y/w ");
}

TEST_F(PosTaggerTest, TaggersShareAScorer) {
  _knowledge.words = {{"x", "n v"}};
  Tagging tag(_knowledge);
  PosTagger other(&tag.Scorer(), 3);
  tag->RenewLattice({"x", "x"});
  other.RenewLattice({"x"});
  Tags tags;
  tag->Viterbi(tags);
  EXPECT_EQ(tags.size(), 2U);
  other.Viterbi(tags);
  EXPECT_EQ(tags.size(), 1U);
}

TEST(PosTaggerHistories, CheckEqual) {
  using History = std::deque<int>;
  EXPECT_TRUE(PosTagger::CheckEqual(History{}, History{}));
  EXPECT_TRUE(PosTagger::CheckEqual(History{1, 2}, History{1, 2}));
  EXPECT_FALSE(PosTagger::CheckEqual(History{1, 2}, History{2, 2}));
  EXPECT_FALSE(PosTagger::CheckEqual(History{1, 2}, History{1, 3}));
  bool equal = true;
  EXPECT_EQ(ErrorOf([&] {
              equal = PosTagger::CheckEqual(History{1}, History{1, 1});
            }),
            "The size of context are not the same!\n");
  EXPECT_FALSE(equal);
}

TEST(PosTaggerHistories, CheckMerge) {
  using History = std::deque<int>;
  EXPECT_TRUE(PosTagger::CheckMerge(History{}, History{}));
  EXPECT_TRUE(PosTagger::CheckMerge(History{1}, History{2})) << "nothing but the oldest";
  EXPECT_TRUE(PosTagger::CheckMerge(History{1, 2, 3}, History{4, 2, 3}));
  EXPECT_FALSE(PosTagger::CheckMerge(History{1, 2, 3}, History{1, 2, 4}));
  EXPECT_FALSE(PosTagger::CheckMerge(History{1, 2, 3}, History{1, 4, 3}));
  bool merge = true;
  EXPECT_EQ(ErrorOf([&] { merge = PosTagger::CheckMerge(History{}, History{1}); }),
            "The size of context are not the same!\n");
  EXPECT_FALSE(merge);
}

// Files.

class PosTaggerFileTest : public PosTaggerTest {
 protected:
  PosTaggerFileTest() { _knowledge.words = {{kWo, "n"}, {"x", "w"}}; }

  Output TagFile(const std::string& in, const std::string& out) {
    Tagging tag(_knowledge);
    return Capture([&] { tag->TagFile(in, out); });
  }

  /// Is this the time line and nothing else, its number as a stream writes one by default?
  static bool IsTimeLine(const std::string& text) {
    const std::string before = "It takes ";
    const std::string after = " secs.\n";
    if (!text.starts_with(before) || !text.ends_with(after)) return false;
    const std::string number =
        text.substr(before.size(), text.size() - before.size() - after.size());
    std::ostringstream again;
    again << std::strtod(number.c_str(), nullptr);
    return !number.empty() && again.str() == number;
  }
};

TEST_F(PosTaggerFileTest, EveryLineGivesOneLine) {
  WriteText("in", " " + kWo + "  x\r\n\n \t\n\v\nx\n" + kWo);
  const Output output = TagFile("in", "out");
  EXPECT_EQ(ReadText("out"), kWo + "/n x/w \n\n\n\nx/w \n" + kWo + "/n \n");
  EXPECT_EQ(output.err, "");
  EXPECT_TRUE(IsTimeLine(output.out)) << output.out;
}

TEST_F(PosTaggerFileTest, ThereIsNoProgress) {
  WriteText("in", Repeat("x\n\n", 2500));
  const Output output = TagFile("in", "out");
  EXPECT_EQ(ReadText("out"), Repeat("x/w \n\n", 2500));
  EXPECT_TRUE(IsTimeLine(output.out)) << output.out;
  EXPECT_EQ(output.err, "");
}

TEST_F(PosTaggerFileTest, AnEmptyInputStillGivesTheTime) {
  WriteText("in", "");
  const Output output = TagFile("in", "out");
  EXPECT_EQ(ReadText("out"), "");
  EXPECT_TRUE(IsTimeLine(output.out)) << output.out;
  EXPECT_EQ(output.err, "");
}

TEST_F(PosTaggerFileTest, MissingInput) {
  const Output output = TagFile("nofile", "out");
  EXPECT_EQ(output.err, "Open nofile error!\n");
  EXPECT_EQ(output.out, "");
  EXPECT_FALSE(Exists("out"));
}

TEST_F(PosTaggerFileTest, AnOutputThatCannotBeWrittenLosesTheLinesOnly) {
  WriteText("in", "x\n");
  const Output output = TagFile("in", "nowhere/out");
  EXPECT_TRUE(IsTimeLine(output.out)) << output.out;
  EXPECT_EQ(output.err, "");
  EXPECT_FALSE(Exists("nowhere/out"));
}

TEST_F(PosTaggerFileTest, AnExistingOutputIsReplaced) {
  WriteText("in", "x\n");
  WriteText("out", "old and longer\n");
  TagFile("in", "out");
  EXPECT_EQ(ReadText("out"), "x/w \n");
}

}  // namespace
}  // namespace Tolvek
