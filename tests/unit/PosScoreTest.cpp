// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "chinese/PosScore.h"
#include "unit/Fixtures.h"
#include "unit/PosKnowledge.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using Context = std::deque<std::string>;
using History = std::deque<int>;
using Tags = std::vector<int>;
using Texts = std::vector<std::string>;

constexpr const char* kAnnouncement = "Postagger Initializing ... ";
const std::string kRuleLine = std::string(36, '#') + "\n";

class PosScoreTest : public Scratch {
 protected:
  PosScoreTest() {
    // Full stop: punctuation. "1" class 0, kYi class 1, "x" class 3, kNian class 4, others 5.
    WriteText("data/binarySource", Block({{kStop, 1}}) +
                                       Block({{"1", 0}, {kYi, 1}, {"x", 3}, {kNian, 4}}) +
                                       Block({}) + Block({}));
    EXPECT_TRUE(_types.Initialize(true));
  }

  /// Loads the scorer from these resources; what was said on the standard error stream.
  std::string Load(const PosKnowledge& knowledge) {
    knowledge.Write();
    return ErrorOf([this] { EXPECT_TRUE(_scorer.Initialize("data/binaryPosModel", "data/Dict")); });
  }

  /// Loads models and dictionaries from files; the messages, then the result.
  std::string Report(const std::string& modelPath, const std::string& dictPath) {
    bool result = false;
    PosScore scorer(&_types);
    const Output output = Capture([&] { result = scorer.Initialize(modelPath, dictPath); });
    EXPECT_EQ(output.out, "");
    return output.err + (result ? "true" : "false");
  }

  /// The possible tags of a word and whether there are any.
  std::pair<bool, Tags> Possible(const std::string& word) const {
    Tags tags{77, 78};
    const bool found = _scorer.GetPossiblePos(word, tags);
    return {found, tags};
  }
  static std::pair<bool, Tags> True(const Tags& tags) { return {true, tags}; }

  /// A model that knows exactly these features and so tells which are made: each feature that
  /// `context` has, as (text, value).
  std::vector<std::pair<std::string, double>> Made(const Texts& known, const Context& context) {
    PosKnowledge knowledge;
    for (const std::string& feature : known) knowledge.Add(feature, {{"n", "1"}});
    PosScore scorer(&_types);
    knowledge.Write();
    Capture([&] { EXPECT_TRUE(scorer.Initialize("data/binaryPosModel", "data/Dict")); });
    TagFeatures features{{55, 5.0}};
    scorer.GenerateFeture(context, features);
    std::vector<std::pair<std::string, double>> made;
    for (const auto& [id, value] : features) {
      made.emplace_back(known.at(static_cast<std::size_t>(id)), value);
    }
    return made;
  }

  CharType _types;
  PosScore _scorer{&_types};
  PosKnowledge _knowledge;
};

// Loading.

TEST_F(PosScoreTest, InitializeReports) {
  EXPECT_EQ(Load(_knowledge), std::string(kAnnouncement) + "done\n");
}

TEST_F(PosScoreTest, InitializeTakesABinaryModel) {
  _knowledge.words = {{"x", "v"}};
  _knowledge.Favour("x", {{"v", "1"}});
  _knowledge.Write();
  WriteText("data/binaryPosModel", _knowledge.me.Binary());
  Capture([this] { EXPECT_TRUE(_scorer.Initialize("data/binaryPosModel", "data/Dict")); });
  EXPECT_EQ(Possible("x"), True({1}));
}

TEST_F(PosScoreTest, InitializeStopsAtTheFirstMissingFile) {
  EXPECT_EQ(Report("nomodel", "nodict"),
            std::string(kAnnouncement) + "\nCan not open the ME model File: nomodel\nfalse");
  _knowledge.Write();
  EXPECT_EQ(Report("data/binaryPosModel", "nodict"),
            std::string(kAnnouncement) + "\nOpen nodict error.\nfalse");
  EXPECT_EQ(Report("data/binaryPosModel", ""),
            std::string(kAnnouncement) + "\nOpen  error.\nfalse");
  EXPECT_EQ(Report("data/binaryPosModel", "data/Dict"), std::string(kAnnouncement) + "done\ntrue");
}

TEST_F(PosScoreTest, LoadDictReports) {
  bool result = true;
  EXPECT_EQ(ErrorOf([&] { result = _scorer.LoadDict("nodict"); }), "\nOpen nodict error.\n");
  EXPECT_FALSE(result);
  WriteText("dict", "0\n0\n");
  EXPECT_EQ(ErrorOf([&] { result = _scorer.LoadDict("dict"); }), "");
  EXPECT_TRUE(result);
}

TEST_F(PosScoreTest, UnknownTagNamesAreNotedWhileLoading) {
  _knowledge.characters = {{kWo, "zz"}};
  _knowledge.words = {{"x", "n zz"}};
  const std::string notice = kRuleLine + "There is no tag named: zz\n" + kRuleLine;
  EXPECT_EQ(Load(_knowledge), kAnnouncement + notice + notice + "done\n");
  EXPECT_EQ(Possible("x"), True({0, -1}));
  EXPECT_EQ(Possible(kWo), True({-1}));
}

TEST_F(PosScoreTest, ADictionaryThatEndsEarlyIsOutOfRange) {
  WriteText("data/binaryPosModel", _knowledge.me.Text());
  for (const std::string dict :
       {"1\n", "2\nx 1 n\n", "1\nx 1 n\n1\n", "0\n3\nx 1\ny 1\n", "1\n\n0\n", "0\n1\n \n"}) {
    WriteText("data/Dict", dict);
    PosScore scorer(&_types);
    EXPECT_THROW(Capture([&] { scorer.Initialize("data/binaryPosModel", "data/Dict"); }),
                 std::out_of_range)
        << dict;
  }
}

TEST_F(PosScoreTest, ACountThatIsTooSmallMakesTheNextEntryTheNextCount) {
  WriteText("data/binaryPosModel", _knowledge.me.Text());
  WriteText("data/Dict", "1\n" + kWo + " 1 n\n" + kMen + " 1 v\n1\nx 1 a\n");
  EXPECT_EQ(Report("data/binaryPosModel", "data/Dict"), std::string(kAnnouncement) + "done\ntrue");
  Capture([this] { EXPECT_TRUE(_scorer.Initialize("data/binaryPosModel", "data/Dict")); });
  EXPECT_EQ(Possible(kWo), True({0}));
  EXPECT_EQ(Possible(kMen).first, false);
  EXPECT_EQ(Possible("x").first, false);
}

TEST_F(PosScoreTest, CountsBelowOneSkipTheirSection) {
  WriteText("data/binaryPosModel", _knowledge.me.Text());
  WriteText("data/Dict", "-3\n1 word\nx 1 a\n");
  Capture([this] { EXPECT_TRUE(_scorer.Initialize("data/binaryPosModel", "data/Dict")); });
  EXPECT_EQ(Possible("x"), True({2}));
}

// Possible tags.

TEST_F(PosScoreTest, AWordOfTheTableIsAnsweredFromIt) {
  _knowledge.characters = {{kWo, "n"}, {kMen, "v"}};
  _knowledge.words = {{kWo + kMen, "w a w"}, {kWo, "a"}};
  Load(_knowledge);
  EXPECT_EQ(Possible(kWo + kMen), True({3, 2, 3})) << "file order, repetitions kept";
  EXPECT_EQ(Possible(kWo), True({2}));
  EXPECT_EQ(Possible(kMen), True({1})) << "only its character is listed";
}

TEST_F(PosScoreTest, AWordListedWithoutTagsHasNone) {
  _knowledge.characters = {{kWo, "n"}};
  _knowledge.words = {{kWo, ""}};
  Load(_knowledge);
  EXPECT_EQ(Possible(kWo), True({}));
}

TEST_F(PosScoreTest, AnUnknownWordHasTheTagsOfItsCharacters) {
  _knowledge.me.tags = {"t0", "t1", "t2", "t3", "t4", "t5"};
  _knowledge.characters = {{kWo, "t3 t1"}, {kMen, "t1 t5"}, {"x", "t4 t0 t4"}, {kYi, ""}};
  Load(_knowledge);
  EXPECT_EQ(Possible(kWo + kMen), True({1, 3, 5}));
  EXPECT_EQ(Possible(kMen + kWo), True({1, 3, 5}));
  EXPECT_EQ(Possible(kWo), True({1, 3})) << "ascending";
  EXPECT_EQ(Possible("x"), True({0, 4})) << "each once";
  EXPECT_EQ(Possible(kWo + kWo), True({1, 3}));
  EXPECT_EQ(Possible(kNian + kWo + "y"), True({1, 3})) << "unknown characters add nothing";
  EXPECT_EQ(Possible("x" + kYi), True({0, 4}));
}

TEST_F(PosScoreTest, AnUnknownWordOfUnknownCharactersHasNone) {
  _knowledge.characters = {{kWo, "n"}, {kYi, ""}};
  _knowledge.words = {{kMen, "v"}};
  Load(_knowledge);
  const std::pair<bool, Tags> none{false, {}};
  EXPECT_EQ(Possible(kNian), none);
  EXPECT_EQ(Possible(kMen + kMen), none) << "words are no characters";
  EXPECT_EQ(Possible(kYi), none) << "characters without tags";
  EXPECT_EQ(Possible(""), none);
  EXPECT_EQ(Possible("\xD2"), none);
}

TEST_F(PosScoreTest, CharactersAreTwoBytesFromAHighBitOn) {
  _knowledge.characters = {{"\xCE", "n"},
                           {"a", "v"},
                           {"\xCE"
                            "a",
                            "w"}};
  Load(_knowledge);
  EXPECT_EQ(Possible("\xCE"), True({0})) << "one byte is left at the end";
  EXPECT_EQ(Possible("a\xCE"), True({0, 1}));
  EXPECT_EQ(Possible("\xCE"
                     "a"),
            True({3}));
  EXPECT_EQ(Possible("\xD2"
                     "a")
                .first,
            false)
      << "the second byte is no character";
}

TEST_F(PosScoreTest, RepeatedKeysShiftInBothSections) {
  _knowledge.characters = {{kWo, "n"}, {kWo, "v"}, {kMen, "a"}};
  _knowledge.words = {{"x", "w"}, {"x", "a"}, {"y", "n"}, {"z", "v"}};
  Load(_knowledge);
  EXPECT_EQ(Possible(kWo), True({0}));
  EXPECT_EQ(Possible(kMen), True({1}));
  EXPECT_EQ(Possible("x"), True({3}));
  EXPECT_EQ(Possible("y"), True({2}));
  EXPECT_EQ(Possible("z"), True({0}));
}

TEST_F(PosScoreTest, UnknownTagsComeFirstInAUnion) {
  _knowledge.characters = {{kWo, "n zz"}, {kMen, "yy"}};
  Load(_knowledge);
  EXPECT_EQ(Possible(kWo + kMen), True({-1, 0}));
}

// Features.

/// All features of a word of several characters, then of one, in the order they are made in.
const Texts kLong = {"1/p",
                     "2/" + kWo + kYi,
                     "3/q",
                     "4/p/" + kWo + kYi,
                     "5/" + kWo + kYi + "/q",
                     "6/p/" + kWo + kYi,
                     "7/M/" + kWo,
                     "8/M/" + kYi,
                     "9/M/0",
                     "10/M/0",
                     "11/M/5",
                     "12/M/1"};
const Texts kShort = {
    "1/p",          "2/" + kStop,   "3/q",          "4/p/" + kStop, "5/" + kStop + "/q",
    "6/p/" + kStop, "7/S/" + kStop, "8/S/" + kStop, "9/S/1",        "10/S/1",
    "11/S/5",       "12/S/5"};
constexpr double kValues[] = {1, 2, 1, 3, 3, 1, 1, 1, 1, 1, 1, 1};

std::vector<std::pair<std::string, double>> WithValues(const Texts& texts) {
  std::vector<std::pair<std::string, double>> features;
  for (std::size_t i = 0; i < texts.size(); ++i) features.emplace_back(texts[i], kValues[i]);
  return features;
}

TEST_F(PosScoreTest, TwelveFeatures) {
  EXPECT_EQ(Made(kLong, {"p", kWo + kYi, "q"}), WithValues(kLong));
  EXPECT_EQ(Made(kShort, {"p", kStop, "q"}), WithValues(kShort));
}

TEST_F(PosScoreTest, TheOrderIsThatOfTheTemplates) {
  Texts known = kLong;
  std::reverse(known.begin(), known.end());
  EXPECT_EQ(Made(known, {"p", kWo + kYi, "q"}), WithValues(kLong));
}

TEST_F(PosScoreTest, UnknownFeaturesAreLeftOut) {
  using Features = std::vector<std::pair<std::string, double>>;
  const Context context{"p", kWo + kYi, "q"};
  EXPECT_EQ(Made({}, context), Features());
  EXPECT_EQ(Made({"8/M/" + kYi, "5/" + kWo + kYi + "/q", "other"}, context),
            (Features{{"5/" + kWo + kYi + "/q", 3.0}, {"8/M/" + kYi, 1.0}}));
  EXPECT_EQ(Made(kShort, context), (Features{{"1/p", 1.0}, {"3/q", 1.0}}))
      << "a longer word has nothing of a shorter one";
}

TEST_F(PosScoreTest, TheSixthRepeatsPreviousAndCurrent) {
  EXPECT_EQ(Made({"6/p/q", "6/x/q", "6/p/x"}, {"p", "x", "q"}),
            (std::vector<std::pair<std::string, double>>{{"6/p/x", 1.0}}));
}

TEST_F(PosScoreTest, ClassesOfTheFirstAndTheLastCharacter) {
  const Texts known{"9/M/0",  "9/M/1",  "10/M/0", "10/M/1", "11/M/0", "11/M/4",
                    "11/M/3", "12/M/0", "12/M/3", "12/M/5", "12/M/4"};
  using Features = std::vector<std::pair<std::string, double>>;
  EXPECT_EQ(Made(known, {"p", "1" + kWo + kStop, "q"}),
            (Features{{"9/M/0", 1.0}, {"10/M/1", 1.0}, {"11/M/0", 1.0}, {"12/M/5", 1.0}}));
  EXPECT_EQ(Made(known, {"p", kStop + "x", "q"}),
            (Features{{"9/M/1", 1.0}, {"10/M/0", 1.0}, {"12/M/3", 1.0}}));
  EXPECT_EQ(Made(known, {"p", kNian + "1", "q"}),
            (Features{{"9/M/0", 1.0}, {"10/M/0", 1.0}, {"11/M/4", 1.0}, {"12/M/0", 1.0}}));
}

TEST_F(PosScoreTest, OneCharacterAndSeveral) {
  using Features = std::vector<std::pair<std::string, double>>;
  const Texts known{"7/S/x", "7/M/x", "8/S/x", "8/M/x", "9/S/0", "10/S/0", "11/S/3", "12/S/3"};
  EXPECT_EQ(Made(known, {"p", "x", "q"}), (Features{{"7/S/x", 1.0},
                                                    {"8/S/x", 1.0},
                                                    {"9/S/0", 1.0},
                                                    {"10/S/0", 1.0},
                                                    {"11/S/3", 1.0},
                                                    {"12/S/3", 1.0}}));
  EXPECT_EQ(Made(known, {"p", "xx", "q"}), (Features{{"7/M/x", 1.0}, {"8/M/x", 1.0}}))
      << "the same character twice is a longer word";
  EXPECT_EQ(Made({"7/S/\xCE", "8/S/\xCE", "7/M/\xCE"}, {"p", "\xCE", "q"}),
            (Features{{"7/S/\xCE", 1.0}, {"8/S/\xCE", 1.0}}))
      << "half a character is one";
  EXPECT_EQ(Made({"7/M/x", "8/M/\xCE", "8/M/x"}, {"p", "x\xCE", "q"}),
            (Features{{"7/M/x", 1.0}, {"8/M/\xCE", 1.0}}));
}

TEST_F(PosScoreTest, EmptyNeighboursKeepTheirPlace) {
  const Texts known{"1/", "3/", "4//x", "5/x/", "6//x", "4/x", "5/x", "6/x"};
  EXPECT_EQ(Made(known, {"", "x", ""}),
            (std::vector<std::pair<std::string, double>>{
                {"1/", 1.0}, {"3/", 1.0}, {"4//x", 3.0}, {"5/x/", 3.0}, {"6//x", 1.0}}));
}

TEST_F(PosScoreTest, NothingIsPutBetweenThePartsButSlashes) {
  const Texts known{"4/a/b/c", "5/c/d/e"};
  EXPECT_EQ(Made(known, {"a/b", "c", "d/e"}),
            (std::vector<std::pair<std::string, double>>{{"4/a/b/c", 3.0}, {"5/c/d/e", 3.0}}));
}

TEST_F(PosScoreTest, ContextsThatAreTooShort) {
  Load(_knowledge);
  TagFeatures features;
  for (const Context& context : {Context{}, {"x"}, {"p", "x"}, {"p", "", "q"}}) {
    EXPECT_THROW(_scorer.GenerateFeture(context, features), std::out_of_range)
        << testing::PrintToString(context);
  }
  EXPECT_THROW(_scorer.GenerateFeture("p", "", "q", features), std::out_of_range);
}

TEST_F(PosScoreTest, BothFormsMakeTheSameFeatures) {
  for (const std::string& feature : kLong) _knowledge.Add(feature, {{"n", "1"}});
  Load(_knowledge);
  TagFeatures a;
  TagFeatures b{{1, 1.0}};
  _scorer.GenerateFeture(Context{"p", kWo + kYi, "q"}, a);
  _scorer.GenerateFeture("p", kWo + kYi, "q", b);
  EXPECT_EQ(a.size(), 12U);
  EXPECT_EQ(a, b);
}

// Scores.

class PosScoreScores : public PosScoreTest {
 protected:
  PosScoreScores() {
    _knowledge.Add("1/p", {{"n", "0.3"}, {"a", "-0.7"}});      // 0
    _knowledge.Add("2/x", {{"v", "0.11"}, {"w", "0.013"}});    // 1
    _knowledge.After("B_0", {{"n", "0.9"}, {"v", "-0.21"}});   // 2
    _knowledge.After("n", {{"n", "-0.4"}, {"v", "1.7"}});      // 3
    _knowledge.After("v", {{"a", "0.37"}, {"w", "0.6"}});      // 4
    _knowledge.After("w", {{"n", "0.123"}, {"w", "-0.456"}});  // 5
    _knowledge.After("", {{"w", "4"}});                        // 6: read as "0/"
    Load(_knowledge);
    EXPECT_EQ(_model.LoadModel("data/binaryPosModel"), 1);
  }

  /// Is the score that of the model for the word's features and, after them, these?
  void Check(const History& tags, const TagFeatures& more) {
    TagFeatures features = _features;
    const double score = _scorer.GetScore(features, tags);
    EXPECT_EQ(features, _features) << "the features leave the call as they came";
    TagFeatures all = _features;
    all.insert(all.end(), more.begin(), more.end());
    const double expected = _model.eval(all, tags.back());
    EXPECT_TRUE(SameBits(score, expected))
        << score << " for " << expected << ", tags " << testing::PrintToString(tags);
  }

  MeModel _model;
  const TagFeatures _features{{0, 1.0}, {1, 2.0}};
};

TEST_F(PosScoreScores, AtTheStart) {
  for (int tag = 0; tag < 4; ++tag) Check({-1, tag}, {{2, 1.0}});
}

TEST_F(PosScoreScores, AfterATag) {
  for (int tag = 0; tag < 4; ++tag) {
    Check({0, tag}, {{3, 1.0}});
    Check({1, tag}, {{4, 1.0}});
    Check({2, tag}, {});  // the model does not know "0/a"
    Check({3, tag}, {{5, 1.0}});
  }
}

TEST_F(PosScoreScores, OnlyTheOldestTagCounts) {
  Check({0, 1, 2}, {{3, 1.0}});
  Check({-1, 1, 2}, {{2, 1.0}});
  Check({3, -1, -1, 0}, {{5, 1.0}});
}

TEST_F(PosScoreScores, AHistoryOfOneIsItsOwnPrevious) {
  Check({0}, {{3, 1.0}});
  Check({3}, {{5, 1.0}});
}

TEST_F(PosScoreScores, WithoutFeatures) {
  TagFeatures none;
  EXPECT_TRUE(SameBits(_scorer.GetScore(none, {2, 1}), _model.eval(TagFeatures{}, 1)));
  EXPECT_EQ(none.size(), 0U);
}

TEST_F(PosScoreScores, APreviousTagWithoutAName) {
  Check({4, 3}, {{6, 1.0}});
  Check({-2, 3}, {{6, 1.0}});
}

TEST_F(PosScoreScores, TagsThatTheModelDoesNotHave) {
  TagFeatures features = _features;
  EXPECT_THROW(_scorer.GetScore(features, {0, -1}), std::out_of_range);
  EXPECT_THROW(_scorer.GetScore(features, {-1, -1}), std::out_of_range);
  EXPECT_THROW(_scorer.GetScore(features, {0, 4}), std::out_of_range);
  features = _features;
  EXPECT_TRUE(SameBits(_scorer.GetScore(features, {0, 5}), 0.0));
  EXPECT_EQ(features, _features);
}

TEST_F(PosScoreScores, ProbabilitiesOfAllTags) {
  for (const int previous : {-1, 0, 1, 2, 3}) {
    TagFeatures features = _features;
    std::vector<double> p{7, 7, 7, 7, 7, 7};
    _scorer.GetProbabilities(features, previous, p);
    ASSERT_EQ(p.size(), 4U);
    EXPECT_EQ(features, _features);
    for (int tag = 0; tag < 4; ++tag) {
      EXPECT_TRUE(SameBits(std::log10(p[static_cast<std::size_t>(tag)]),
                           _scorer.GetScore(features, {previous, tag})));
    }
  }
}

// Small things.

TEST_F(PosScoreTest, NamesOfTags) {
  Load(_knowledge);
  EXPECT_EQ(_scorer.GetPosSize(), 4);
  EXPECT_EQ(_scorer.GetPos(0), "n");
  EXPECT_EQ(_scorer.GetPos(3), "w");
  EXPECT_EQ(_scorer.GetPos(4), "");
  EXPECT_EQ(_scorer.GetPos(-1), "");
}

TEST_F(PosScoreTest, BeforeLoading) {
  EXPECT_EQ(_scorer.GetPosSize(), 0);
  EXPECT_EQ(_scorer.GetPos(0), "");
  EXPECT_EQ(Possible(kWo).first, false);
}

TEST(PosScoreText, SplitWord) {
  Texts characters{"old"};
  EXPECT_EQ(PosScore::SplitWord("a" + kWo + "1", characters), 3);
  EXPECT_EQ(characters, (Texts{"a", kWo, "1"}));
  EXPECT_EQ(PosScore::SplitWord("", characters), 0);
  EXPECT_EQ(characters, Texts());
  EXPECT_EQ(PosScore::SplitWord(kWo + "\xCE", characters), 2);
  EXPECT_EQ(characters, (Texts{kWo, "\xCE"})) << "half a character at the end";
  EXPECT_EQ(PosScore::SplitWord("\x80"
                                "a\xFF\xFF\x7F",
                                characters),
            3);
  EXPECT_EQ(characters, (Texts{"\x80"
                               "a",
                               "\xFF\xFF", "\x7F"}));
}

TEST(PosScoreText, SplitLine) {
  Texts fields{"old"};
  PosScore::SplitLine(" a\t" + kWo + " \r\n", fields);
  PosScore::SplitLine(" ", fields);
  EXPECT_EQ(fields, (Texts{"old", "a", kWo}));
}

}  // namespace
}  // namespace Tolvek
