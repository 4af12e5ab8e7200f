// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "chinese/SegScore.h"
#include "unit/Fixtures.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using Context = std::deque<std::string>;
using History = std::deque<int>;
using Scores = std::vector<std::pair<std::string, double>>;

class SegScoreTest : public Scratch {
 protected:
  SegScoreTest() {
    WriteText("data/binarySource", Block({{kStop, 1}}) + Block({{"1", 0}, {kYi, 1}, {"x", 3}}) +
                                       Block({{kWo, 0}, {kMen, 4}}) + Block({{kMen, 1}}));
    _types.Initialize(true);
    MeSource me;
    me.tags = {"E", "B", "S"};
    me.Add("1/B_0", {{0, "0.1"}});
    me.Add("2/" + kWo, {{1, "0.3"}, {2, "-0.2"}});
    me.Add("3/E_0", {{2, "0.7"}});
    me.Add("4/B_0" + kWo, {{1, "-0.4"}});
    me.Add("5/" + kWo + "E_0", {{0, "0.6"}});
    me.Add("6/B_0E_0", {{0, "0.05"}, {1, "0.15"}});
    me.Add("7/0", {{2, "0.25"}});
    me.Add("8/555", {{1, "0.35"}});
    me.Add("9/505", {{0, "0.45"}});
    me.Add("10/000", {{2, "-0.55"}});
    WriteText("me", me.Text());
    WriteText(
        "lm",
        Arpa({{{"-1", kWo + "/S", "-0.5"}, {"-2", "<unk>", "-0.25"}, {"-99", "<s>", "-0.125"}},
              {{"-0.75", "<s> " + kWo + "/S", ""}, {"-0.375", kWo + "/S <unk>", ""}}}));
  }

  void Initialize() {
    Capture([this] { ASSERT_TRUE(_scorer.Initialize("lm", "me")); });
  }

  CharType _types;
  SegScore _scorer{&_types};
};

/// The texts of the ten features.
std::vector<std::pair<std::string, double>> Features(const CharType& types,
                                                     const std::string& previous,
                                                     const std::string& current,
                                                     const std::string& next) {
  std::vector<std::pair<std::string, double>> features;
  SegScore::ForEachFeature(
      types, previous, current, next,
      [&](std::string_view text, double value) { features.emplace_back(text, value); });
  return features;
}

TEST_F(SegScoreTest, InitializeReports) {
  bool result = false;
  const Output output = Capture([&] { result = _scorer.Initialize("lm", "me"); });
  EXPECT_TRUE(result);
  EXPECT_EQ(output.err, "Segmentor Initializing ... done\n");
  EXPECT_EQ(output.out, "");
}

TEST_F(SegScoreTest, InitializeStopsAtTheFirstFailure) {
  bool result = true;
  EXPECT_EQ(ErrorOf([&] { result = _scorer.Initialize("nolm", "nome"); }),
            "Segmentor Initializing ... \nCan not open the Language Model File: nolm\n");
  EXPECT_FALSE(result);
  SegScore other(&_types);
  result = true;
  EXPECT_EQ(ErrorOf([&] { result = other.Initialize("lm", "nome"); }),
            "Segmentor Initializing ... \nCan not open the ME model File: nome\n");
  EXPECT_FALSE(result);
}

TEST_F(SegScoreTest, TenFeatures) {
  EXPECT_EQ(Features(_types, kYi, kWo, "x"),
            (std::vector<std::pair<std::string, double>>{{"1/" + kYi, 1.0},
                                                         {"2/" + kWo, 2.0},
                                                         {"3/x", 1.0},
                                                         {"4/" + kYi + kWo, 3.0},
                                                         {"5/" + kWo + "x", 3.0},
                                                         {"6/" + kYi + "x", 1.0},
                                                         {"7/0", 1.0},
                                                         {"8/153", 1.0},
                                                         {"9/505", 1.0},
                                                         {"10/000", 1.0}}));
}

TEST_F(SegScoreTest, ClassFeatures) {
  EXPECT_EQ(Features(_types, kYi, "x", kYi)[7].first, "8/131");
  EXPECT_EQ(Features(_types, "x", kStop, "x")[6].first, "7/1") << "the class of the middle one";
  EXPECT_EQ(Features(_types, kStop, "x", kStop)[6].first, "7/0");
  EXPECT_EQ(Features(_types, kWo, kMen, "1")[8].first, "9/045");
  EXPECT_EQ(Features(_types, kWo, kMen, "1")[9].first, "10/010");
  EXPECT_EQ(Features(_types, "1", "?", "?")[7].first, "8/055") << "no part is ever empty";
}

TEST_F(SegScoreTest, SentenceEdgesAreCharactersLikeOthers) {
  const auto features = Features(_types, "B_0", "?", "E_0");
  EXPECT_EQ(features.size(), 10U);
  EXPECT_EQ(features[3].first, "4/B_0?");
  EXPECT_EQ(features[5].first, "6/B_0E_0");
  EXPECT_EQ(features[7].first, "8/555");
}

TEST_F(SegScoreTest, MeScoresAreThoseOfTheTenFeatures) {
  Initialize();
  MeModel model;
  ASSERT_EQ(model.LoadModel("me"), 1);
  for (const Context& context : {Context{"B_0", kWo, "E_0"}, Context{kYi, kWo, "E_0"},
                                 Context{"?", "?", "?"}, Context{"B_0", kStop, kMen}}) {
    Scores expected;
    model.eval_all(Features(_types, context[0], context[1], context[2]), expected, false);
    Scores scores{{"old", 1.0}};
    _scorer.GetMeScore(context, scores);
    ASSERT_EQ(scores.size(), 3U);
    EXPECT_EQ(scores[0].first, "E") << "in the model's tag order";
    EXPECT_EQ(scores[2].first, "S");
    EXPECT_EQ(scores, expected);
    std::vector<double> plain{9.0};
    _scorer.GetMeScore(context[0], context[1], context[2], plain);
    ASSERT_EQ(plain.size(), 3U);
    for (std::size_t tag = 0; tag < 3; ++tag) {
      EXPECT_TRUE(SameBits(plain[tag], expected[tag].second)) << tag;
    }
  }
}

TEST_F(SegScoreTest, MeScoreOnPaper) {
  Initialize();
  Scores scores;
  _scorer.GetMeScore(Context{"B_0", kWo, "E_0"}, scores);
  const double e = std::exp(0.1 + 0.6 * 3 + 0.05 + 0.45);
  const double b = std::exp(0.3 * 2 - 0.4 * 3 + 0.15 + 0.35);
  const double s = std::exp(-0.2 * 2 + 0.7 + 0.25 - 0.55);
  EXPECT_NEAR(scores[0].second, std::log10(e / (e + b + s)), 1e-14);
  EXPECT_NEAR(scores[1].second, std::log10(b / (e + b + s)), 1e-14);
  EXPECT_NEAR(scores[2].second, std::log10(s / (e + b + s)), 1e-14);
}

TEST_F(SegScoreTest, ShortContexts) {
  Initialize();
  Scores scores;
  for (const Context& context : {Context{}, Context{"B_0"}, Context{"B_0", kWo}}) {
    EXPECT_THROW(_scorer.GetMeScore(context, scores), std::out_of_range);
  }
}

TEST_F(SegScoreTest, LanguageModelScores) {
  Initialize();
  const int s = _scorer.GetSenBIndex();
  const int wo = _scorer.GetWordIndex(kWo + "/S");
  EXPECT_EQ(_scorer.GetScore(History{wo}), -1.0);
  EXPECT_EQ(_scorer.GetScore(History{s, wo}), -0.75);
  EXPECT_EQ(_scorer.GetScore(History{wo, wo}), -1.5);
  const std::vector<int> history{s, wo};
  EXPECT_EQ(_scorer.GetScore(std::span<const int>(history)), -0.75);
}

TEST_F(SegScoreTest, UnknownTokensCostTwoMore) {
  Initialize();
  const int wo = _scorer.GetWordIndex(kWo + "/S");
  const int unknown = _scorer.GetWordIndex("never seen");
  EXPECT_EQ(unknown, _scorer.GetWordIndex("<unk>"));
  EXPECT_EQ(_scorer.GetScore(History{unknown}), -4.0);
  EXPECT_EQ(_scorer.GetScore(History{wo, unknown}), -2.375);
  EXPECT_EQ(_scorer.GetScore(History{unknown, wo}), -1.25) << "in the context it costs nothing";
}

TEST_F(SegScoreTest, UnknownTokensWithoutAnUnkUnigram) {
  WriteText("plain", Arpa({{{"-1", "a", ""}}}));
  SegScore scorer(&_types);
  Capture([&] { ASSERT_TRUE(scorer.Initialize("plain", "me")); });
  EXPECT_DOUBLE_EQ(scorer.GetScore(History{scorer.GetWordIndex("x")}), -8.69705);
}

TEST_F(SegScoreTest, EmptyHistory) {
  Initialize();
  EXPECT_THROW(_scorer.GetScore(History{}), std::out_of_range);
  EXPECT_THROW(_scorer.GetScore(std::span<const int>()), std::out_of_range);
}

TEST_F(SegScoreTest, Indices) {
  Initialize();
  EXPECT_EQ(_scorer.GetSenBIndex(), 2);
  EXPECT_EQ(_scorer.GetSenEIndex(), 3);
  EXPECT_EQ(_scorer.GetSenBIndex(), _scorer.GetWordIndex("<s>"));
  EXPECT_EQ(_scorer.GetWordIndex("<unk>"), 1);
  EXPECT_EQ(_scorer.GetTagIndex("E"), 0);
  EXPECT_EQ(_scorer.GetTagIndex("S"), 2);
  int tag = 0;
  EXPECT_NE(ErrorOf([&] { tag = _scorer.GetTagIndex("M"); }), "") << "the model's notice";
  EXPECT_EQ(tag, -1);
}

TEST_F(SegScoreTest, TheLanguageModelIsABigramModel) {
  WriteText("lm3", Arpa({{{"-1", "a", "-0.5"}}, {{"-2", "a a", "-0.25"}}, {{"-3", "a a a", ""}}}));
  SegScore scorer(&_types);
  Capture([&] { ASSERT_TRUE(scorer.Initialize("lm3", "me")); });
  const int a = scorer.GetWordIndex("a");
  EXPECT_EQ(scorer.GetScore(History{a, a, a}), -2.0) << "trigrams of a text model are skipped";
}

}  // namespace
}  // namespace Tolvek
