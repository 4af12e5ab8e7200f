// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "english/EngPosScore.h"
#include "unit/EngKnowledge.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using Context = std::deque<std::string>;
using History = std::deque<int>;
using Tags = std::vector<int>;
using Features = std::vector<std::pair<std::string, double>>;

/// The texts of a word's features.
Features FeaturesOf(const std::string& previous, const std::string& current,
                    const std::string& next) {
  Features features;
  EngPosScore::ForEachFeature(previous, current, next, [&](std::string_view text, double value) {
    features.emplace_back(text, value);
  });
  return features;
}

/// The features from template 7 on: of the word alone.
std::vector<std::string> WordFeatures(const std::string& word) {
  const Features features = FeaturesOf("x", word, "y");
  std::vector<std::string> texts;
  for (std::size_t i = 6; i < features.size(); ++i) {
    EXPECT_EQ(features[i].second, 1.0);
    texts.push_back(features[i].first);
  }
  return texts;
}

class EngPosScoreTest : public Scratch {
 protected:
  EngPosScoreTest() {
    // Ids that are not in template order.
    _me.Add("17/0", {{0, "0.1"}});
    _me.Add("6/a/c", {{1, "0.2"}, {2, "-0.3"}});
    _me.Add("0/NN", {{2, "0.4"}});
    _me.Add("2/house", {{0, "-0.6"}, {1, "0.7"}});
    _me.Add("5/house/c", {{0, "0.8"}});
    _me.Add("0/B_0", {{1, "0.5"}, {0, "0.25"}});
    _me.Add("11/e", {{2, "0.9"}});
    _me.Add("1/a", {{2, "1.1"}});
    _me.Add("0/", {{0, "1.2"}});
    WriteText("me", _me.Text());
  }

  /// Loads the model and a dictionary with these entries.
  void Load(const std::vector<std::string>& entries) { LoadFile(WordList(entries)); }
  void LoadFile(const std::string& dictionary) {
    WriteText("dict", dictionary);
    bool result = false;
    const Output output = Capture([&] { result = _scorer.Initialize("me", "dict"); });
    ASSERT_TRUE(result) << output.err;
  }

  /// The tags of a listed word.
  Tags TagsOf(const std::string& word) const {
    Tags tags{7};
    EXPECT_TRUE(_scorer.GetPossiblePos(word, tags)) << word;
    return tags;
  }
  bool Lists(const std::string& word) const {
    Tags tags{7};
    const bool result = _scorer.GetPossiblePos(word, tags);
    if (!result) {
      EXPECT_EQ(tags, Tags{}) << word;
    }
    return result;
  }

  MeSource _me{{}, {"DT", "NN", "VB"}, {}, {}};
  EngPosScore _scorer;
};

// Loading.

TEST_F(EngPosScoreTest, InitializeReports) {
  WriteText("dict", "0\n");
  for (const std::string& model : {_me.Text(), _me.Binary()}) {
    WriteText("me", model);
    bool result = false;
    const Output output = Capture([&] { result = EngPosScore().Initialize("me", "dict"); });
    EXPECT_TRUE(result);
    EXPECT_EQ(output.err, "English Postagger Initializing ... done\n");
    EXPECT_EQ(output.out, "");
  }
}

TEST_F(EngPosScoreTest, InitializeStopsAtTheFirstFailure) {
  bool result = true;
  EXPECT_EQ(ErrorOf([&] { result = EngPosScore().Initialize("nome", "nodict"); }),
            "English Postagger Initializing ... \nCan not open the ME model File: nome\n");
  EXPECT_FALSE(result);
  result = true;
  EXPECT_EQ(ErrorOf([&] { result = EngPosScore().Initialize("me", "nodict"); }),
            "English Postagger Initializing ... \nOpen nodict error.\n");
  EXPECT_FALSE(result);
}

TEST_F(EngPosScoreTest, LoadDictReports) {
  bool result = true;
  EXPECT_EQ(ErrorOf([&] { result = _scorer.LoadDict("nodict"); }), "\nOpen nodict error.\n");
  EXPECT_FALSE(result);
  WriteText("dict", "0\n");
  EXPECT_EQ(ErrorOf([&] { result = _scorer.LoadDict("dict"); }), "");
  EXPECT_TRUE(result);
}

TEST_F(EngPosScoreTest, WordsAndTheirTags) {
  Load({"house 12 NN VB", "the 99 DT", "\trun\t3\tVB   NN \r", "a NN DT"});
  EXPECT_EQ(TagsOf("house"), (Tags{1, 2}));
  EXPECT_EQ(TagsOf("the"), (Tags{0}));
  EXPECT_EQ(TagsOf("run"), (Tags{2, 1})) << "in file order";
  EXPECT_EQ(TagsOf("a"), (Tags{0})) << "the second field is skipped, whatever it is";
}

TEST_F(EngPosScoreTest, UnknownWordsHaveNoTags) {
  Load({"house 1 NN"});
  for (const char* word : {"", "hous", "houses", "12", "NN", "ho", "B_0"}) {
    EXPECT_FALSE(Lists(word)) << word;
  }
}

TEST_F(EngPosScoreTest, CaseMatters) {
  Load({"the 1 DT", "The 1 NN"});
  EXPECT_EQ(TagsOf("the"), (Tags{0}));
  EXPECT_EQ(TagsOf("The"), (Tags{1}));
  EXPECT_FALSE(Lists("THE"));
}

TEST_F(EngPosScoreTest, RepeatedTagsAreKept) {
  Load({"a 1 VB NN VB VB"});
  EXPECT_EQ(TagsOf("a"), (Tags{2, 1, 2, 2}));
}

TEST_F(EngPosScoreTest, AWordMayBeListedWithoutTags) {
  Load({"a 1", "b", "c 1 VB"});
  EXPECT_EQ(TagsOf("a"), Tags{});
  EXPECT_EQ(TagsOf("b"), Tags{});
  EXPECT_EQ(TagsOf("c"), (Tags{2}));
}

TEST_F(EngPosScoreTest, ARepeatedWordShiftsTheRowsAfterIt) {
  Load({"a 1 DT", "b 1 NN", "a 1 VB", "c 1 DT NN", "d 1 NN VB"});
  EXPECT_EQ(TagsOf("a"), (Tags{0})) << "the first row stays";
  EXPECT_EQ(TagsOf("b"), (Tags{1}));
  EXPECT_EQ(TagsOf("c"), (Tags{2})) << "the row of the repeated word";
  EXPECT_EQ(TagsOf("d"), (Tags{0, 1})) << "the row of the word before";
}

TEST_F(EngPosScoreTest, TheCountSaysHowManyEntries) {
  LoadFile(" 2 entries\na 1 DT\nb 1 NN\nc 1 VB\n");
  EXPECT_TRUE(Lists("a"));
  EXPECT_TRUE(Lists("b"));
  EXPECT_FALSE(Lists("c"));
}

TEST_F(EngPosScoreTest, ACountBelowOneLoadsNothing) {
  for (const char* count : {"0", "-3", "none", ""}) {
    EngPosScore scorer;
    WriteText("dict", std::string(count) + "\na 1 DT\n");
    bool result = false;
    Capture([&] { result = scorer.Initialize("me", "dict"); });
    EXPECT_TRUE(result);
    Tags tags;
    EXPECT_FALSE(scorer.GetPossiblePos("a", tags)) << count;
  }
}

TEST_F(EngPosScoreTest, ThereIsOneSection) {
  LoadFile("1\na 1 DT\n1\nb 1 NN\n");
  EXPECT_TRUE(Lists("a"));
  EXPECT_FALSE(Lists("b"));
}

TEST_F(EngPosScoreTest, AnEntryWithoutFieldsIsOutOfRange) {
  for (const char* bytes :
       {"1\n", "1", "1\n\n", "2\na 1 DT\n \t\nb 1 NN\n", "3\na 1 DT\nb 1 NN\n"}) {
    WriteText("dict", bytes);
    EXPECT_THROW(Capture([] { EngPosScore().Initialize("me", "dict"); }), std::out_of_range)
        << bytes;
  }
  EXPECT_THROW(Capture([] { EngPosScore().LoadDict("dict"); }), std::out_of_range);
}

TEST_F(EngPosScoreTest, HostileCountsEnd) {
  for (const char* count : {"2147483647", "99999999999999999999"}) {
    WriteText("dict", std::string(count) + "\na 1 DT\n");
    EXPECT_EQ(RunApart([] { return EngPosScore().Initialize("me", "dict"); }), End::kOutOfRange);
  }
}

TEST_F(EngPosScoreTest, AnUnknownTagIsNoTag) {
  WriteText("dict", WordList({"a 1 XX DT nn", "b 1 NN"}));
  bool result = false;
  const std::string error = ErrorOf([&] { result = _scorer.Initialize("me", "dict"); });
  EXPECT_TRUE(result);
  const auto notice = [](const std::string& name) {
    const std::string rule(36, '#');
    return rule + "\nThere is no tag named: " + name + "\n" + rule + "\n";
  };
  EXPECT_EQ(error, "English Postagger Initializing ... " + notice("XX") + notice("nn") + "done\n");
  EXPECT_EQ(TagsOf("a"), (Tags{-1, 0, -1})) << "stored, not dropped";
  TagFeatures features;
  EXPECT_THROW(_scorer.GetScore(features, {1, -1}), std::out_of_range);
}

TEST_F(EngPosScoreTest, TagNames) {
  Load({});
  EXPECT_EQ(_scorer.GetPosSize(), 3);
  EXPECT_EQ(_scorer.GetPos(0), "DT");
  EXPECT_EQ(_scorer.GetPos(2), "VB");
  EXPECT_EQ(_scorer.GetPos(3), "");
  EXPECT_EQ(_scorer.GetPos(-1), "");
  EXPECT_EQ(EngPosScore().GetPosSize(), 0);
}

TEST_F(EngPosScoreTest, SplitLineAppends) {
  std::vector<std::string> fields{"old"};
  EngPosScore::SplitLine(" a\tb \v\f c\r\n", fields);
  EXPECT_EQ(fields, (std::vector<std::string>{"old", "a", "b", "c"}));
  EngPosScore::SplitLine(" \t", fields);
  EXPECT_EQ(fields.size(), 4U);
}

// Features.

TEST_F(EngPosScoreTest, SeventeenFeatures) {
  EXPECT_EQ(FeaturesOf("the", "Well-known", "man"), (Features{{"1/the", 1.0},
                                                              {"2/Well-known", 2.0},
                                                              {"3/man", 1.0},
                                                              {"4/the/Well-known", 3.0},
                                                              {"5/Well-known/man", 3.0},
                                                              {"6/the/man", 1.0},
                                                              {"7/W", 1.0},
                                                              {"8/We", 1.0},
                                                              {"9/Wel", 1.0},
                                                              {"10/Well", 1.0},
                                                              {"11/n", 1.0},
                                                              {"12/wn", 1.0},
                                                              {"13/own", 1.0},
                                                              {"14/nown", 1.0},
                                                              {"15/0", 1.0},
                                                              {"16/1", 1.0},
                                                              {"17/1", 1.0}}));
}

TEST_F(EngPosScoreTest, BeginningsAndEndsByLength) {
  using Texts = std::vector<std::string>;
  EXPECT_EQ(WordFeatures(""), (Texts{"15/0", "16/0", "17/0"}));
  EXPECT_EQ(WordFeatures(","), (Texts{"15/0", "16/0", "17/0"}));
  EXPECT_EQ(WordFeatures("is"), (Texts{"7/i", "15/0", "16/0", "17/0"}));
  EXPECT_EQ(WordFeatures("the"), (Texts{"7/t", "8/th", "11/e", "12/he", "15/0", "16/0", "17/0"}));
  EXPECT_EQ(WordFeatures("from"),
            (Texts{"7/f", "8/fr", "9/fro", "11/m", "12/om", "13/rom", "15/0", "16/0", "17/0"}));
  EXPECT_EQ(WordFeatures("house"), (Texts{"7/h", "8/ho", "9/hou", "10/hous", "11/e", "12/se",
                                          "13/use", "14/ouse", "15/0", "16/0", "17/0"}));
  EXPECT_EQ(WordFeatures("houses"), (Texts{"7/h", "8/ho", "9/hou", "10/hous", "11/s", "12/es",
                                           "13/ses", "14/uses", "15/0", "16/0", "17/0"}));
}

TEST_F(EngPosScoreTest, LengthsAreBytes) {
  EXPECT_EQ(WordFeatures("\xC3\xA9"), (std::vector<std::string>{"7/\xC3", "15/0", "16/0", "17/0"}));
}

TEST_F(EngPosScoreTest, DigitsCapitalsAndHyphensAnywhere) {
  const auto shape = [](const std::string& word) {
    const std::vector<std::string> texts = WordFeatures(word);
    return texts.at(texts.size() - 3) + " " + texts.at(texts.size() - 2) + " " + texts.back();
  };
  for (char c = '0'; c <= '9'; ++c) {
    EXPECT_EQ(shape(std::string("x") + c), "15/1 16/0 17/0");
    EXPECT_EQ(shape(std::string(1, c) + "x"), "15/1 16/0 17/0");
  }
  for (char c = 'A'; c <= 'Z'; ++c) EXPECT_EQ(shape(std::string("x") + c + "x"), "15/0 16/1 17/0");
  for (const char* word : {"-", "a-", "-a", "a-b-c"}) EXPECT_EQ(shape(word), "15/0 16/0 17/1");
  for (int c = 0; c < 256; ++c) {
    if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || c == '-') continue;
    EXPECT_EQ(shape(std::string(1, static_cast<char>(c))), "15/0 16/0 17/0") << c;
  }
  EXPECT_EQ(shape("MD-11"), "15/1 16/1 17/1");
}

TEST_F(EngPosScoreTest, SentenceEdgesAreWordsLikeOthers) {
  const Features features = FeaturesOf("B_0", ",", "E_0");
  EXPECT_EQ(features, (Features{{"1/B_0", 1.0},
                                {"2/,", 2.0},
                                {"3/E_0", 1.0},
                                {"4/B_0/,", 3.0},
                                {"5/,/E_0", 3.0},
                                {"6/B_0/E_0", 1.0},
                                {"15/0", 1.0},
                                {"16/0", 1.0},
                                {"17/0", 1.0}}));
}

TEST_F(EngPosScoreTest, OnlyKnownFeaturesInTemplateOrder) {
  Load({});
  TagFeatures features{{5, 5.0}};
  _scorer.GenerateFeture(Context{"a", "house", "c"}, features);
  const TagFeatures expected{{7, 1.0}, {3, 2.0}, {4, 3.0}, {1, 1.0}, {6, 1.0}, {0, 1.0}};
  EXPECT_EQ(features, expected);
  _scorer.GenerateFeture("a", "house", "c", features);
  EXPECT_EQ(features, expected);
  _scorer.GenerateFeture(Context{"x", "y-y", "z"}, features);
  EXPECT_EQ(features, TagFeatures{});
  _scorer.GenerateFeture(Context{"x", "", "z"}, features);
  EXPECT_EQ(features, (TagFeatures{{0, 1.0}})) << "an empty word is a word";
}

TEST_F(EngPosScoreTest, AContextIsThreeWords) {
  Load({});
  TagFeatures features;
  for (const Context& context : {Context{}, Context{"a"}, Context{"a", "house"}}) {
    EXPECT_THROW(_scorer.GenerateFeture(context, features), std::out_of_range);
  }
  _scorer.GenerateFeture(Context{"a", "house", "c", "d"}, features);
  EXPECT_EQ(features.size(), 6U) << "more are not looked at";
}

// Scores.

TEST_F(EngPosScoreTest, ScoresAreThoseOfTheModel) {
  Load({});
  MeModel model;
  ASSERT_EQ(model.LoadModel("me"), 1);
  for (const TagFeatures& features : {TagFeatures{}, TagFeatures{{3, 2.0}, {1, 1.0}, {6, 1.0}}}) {
    for (const auto& [previous, feature] :
         std::vector<std::pair<int, std::string>>{{-1, "0/B_0"}, {0, "0/DT"}, {1, "0/NN"}}) {
      TagFeatures with = features;
      const int id = model.GetFeatureId(feature);
      if (id != -1) with.emplace_back(id, 1.0);
      for (int tag = 0; tag < 3; ++tag) {
        TagFeatures copy = features;
        const double score = _scorer.GetScore(copy, {previous, tag});
        EXPECT_TRUE(SameBits(score, model.eval(with, tag))) << feature << " " << tag;
        EXPECT_EQ(copy, features) << "as it came";
      }
    }
  }
}

TEST_F(EngPosScoreTest, AScoreByHand) {
  Load({});
  TagFeatures features{{3, 2.0}};  // house: DT -1.2, NN 1.4; after NN: VB 0.4
  const double sum = std::exp(-1.2) + std::exp(1.4) + std::exp(0.4);
  EXPECT_NEAR(_scorer.GetScore(features, {1, 1}), std::log10(std::exp(1.4) / sum), 1e-12);
  EXPECT_NEAR(_scorer.GetScore(features, {1, 2}), std::log10(std::exp(0.4) / sum), 1e-12);
  // No model knows "0/DT" here.
  const double other = std::exp(-1.2) + std::exp(1.4) + 1;
  EXPECT_NEAR(_scorer.GetScore(features, {0, 2}), std::log10(1 / other), 1e-12);
}

TEST_F(EngPosScoreTest, TheFirstOfTheHistoryIsThePreviousTagAndTheLastTheCandidate) {
  Load({});
  TagFeatures features;
  const double afterNoun = _scorer.GetScore(features, {1, 2});
  EXPECT_GT(afterNoun, _scorer.GetScore(features, {0, 2}));
  EXPECT_TRUE(SameBits(_scorer.GetScore(features, {1, 0, 2}), afterNoun));
  EXPECT_TRUE(
      SameBits(_scorer.GetScore(features, {-1, 1, 0}), _scorer.GetScore(features, {-1, 0})));
  // One entry is both.
  EXPECT_TRUE(SameBits(_scorer.GetScore(features, {1}), _scorer.GetScore(features, {1, 1})));
}

TEST_F(EngPosScoreTest, ATagWithoutNameBefore) {
  Load({});
  TagFeatures features;
  const double sum = std::exp(1.2) + 2;  // "0/" favours DT
  for (const int previous : {3, 100, -2}) {
    EXPECT_NEAR(_scorer.GetScore(features, {previous, 0}), std::log10(std::exp(1.2) / sum), 1e-12);
  }
}

TEST_F(EngPosScoreTest, CandidatesThatAreNoTags) {
  Load({});
  TagFeatures features;
  EXPECT_THROW(_scorer.GetScore(features, {-1, -1}), std::out_of_range);
  EXPECT_THROW(_scorer.GetScore(features, {-1, 3}), std::out_of_range);
  EXPECT_EQ(_scorer.GetScore(features, {-1, 4}), 0.0) << "as the model answers";
}

}  // namespace
}  // namespace Tolvek
