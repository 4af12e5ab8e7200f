// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <deque>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "chinese/PosTagger.h"
#include "property/Recombine.h"
#include "unit/Fixtures.h"
#include "unit/PosKnowledge.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using Tags = std::vector<int>;
using Words = std::vector<std::string>;

Words FieldsOf(const std::string& text) {
  std::istringstream in(text);
  Words fields;
  for (std::string field; in >> field;) fields.push_back(field);
  return fields;
}

/// The scorer written down plainly: tables of the standard library, features put together one by
/// one, each score a whole evaluation of the model.
class PlainPosScore {
 public:
  PlainPosScore(const CharType& types, const std::string& modelPath, const std::string& dictPath)
      : _types(types) {
    EXPECT_EQ(_model.LoadModel(modelPath), 1);
    std::ifstream dict(dictPath);
    ReadSection(dict, _characters);
    ReadSection(dict, _words);
  }

  bool GetPossiblePos(const std::string& word, Tags& tags) const {
    tags.clear();
    const auto found = _words.rowOf.find(word);
    if (found != _words.rowOf.end()) {
      tags = _words.rows.at(found->second);
      return true;
    }
    std::set<int> all;
    for (const std::string& character : SplitWord(word)) {
      const auto row = _characters.rowOf.find(character);
      if (row == _characters.rowOf.end()) continue;
      const Tags& more = _characters.rows.at(row->second);
      all.insert(more.begin(), more.end());
    }
    tags.assign(all.begin(), all.end());
    return !tags.empty();
  }

  TagFeatures GenerateFeture(const std::deque<std::string>& context) const {
    const std::string& before = context.at(0);
    const std::string& word = context.at(1);
    const std::string& after = context.at(2);
    TagFeatures features;
    const auto add = [&](const std::string& text, double value) {
      const int id = _model.GetFeatureId(text);
      if (id != -1) features.emplace_back(id, value);
    };
    add("1/" + before, 1.0);
    add("2/" + word, 2.0);
    add("3/" + after, 1.0);
    add("4/" + before + "/" + word, 3.0);
    add("5/" + word + "/" + after, 3.0);
    add("6/" + before + "/" + word, 1.0);
    const Words characters = SplitWord(word);
    const std::string first = characters.at(0);
    const std::string last = characters.at(characters.size() - 1);
    const std::string kind = characters.size() == 1 ? "/S/" : "/M/";
    add("7" + kind + first, 1.0);
    add("8" + kind + last, 1.0);
    add("9" + kind + std::to_string(_types.GetPuncType(first)), 1.0);
    add("10" + kind + std::to_string(_types.GetPuncType(last)), 1.0);
    add("11" + kind + std::to_string(_types.GetCharType(first)), 1.0);
    add("12" + kind + std::to_string(_types.GetCharType(last)), 1.0);
    return features;
  }

  double GetScore(const TagFeatures& features, const std::deque<int>& tags) const {
    TagFeatures all = features;
    const std::string name = tags.front() == -1 ? "B_0" : _model.GetTag(tags.front());
    const int id = _model.GetFeatureId("0/" + name);
    if (id != -1) all.emplace_back(id, 1.0);
    return _model.eval(all, tags.back());
  }

  std::string GetPos(int tag) const { return _model.GetTag(tag); }
  int GetPosSize() const { return _model.GetTagSize(); }

 private:
  struct Table {
    std::map<std::string, std::size_t> rowOf;
    std::vector<Tags> rows;
  };

  void ReadSection(std::istream& in, Table& table) const {
    std::string line;
    std::getline(in, line);
    for (int count = std::stoi(line); count > 0; --count) {
      std::getline(in, line);
      const Words fields = FieldsOf(line);
      table.rowOf.emplace(fields.at(0), table.rowOf.size());
      table.rows.emplace_back();
      for (std::size_t i = 2; i < fields.size(); ++i) {
        table.rows.back().push_back(_model.GetTagId(fields[i]));
      }
    }
  }

  static Words SplitWord(const std::string& word) {
    Words characters;
    for (std::size_t at = 0; at < word.size(); at += characters.back().size()) {
      characters.push_back(word.substr(at, static_cast<unsigned char>(word[at]) < 0x80 ? 1 : 2));
    }
    return characters;
  }

  const CharType& _types;
  MeModel _model;
  Table _characters;
  Table _words;
};

/// The decoder written down plainly: states with histories of their own copied about, explicit
/// candidate lists, all pairs compared.
class PlainPosTagger {
 public:
  PlainPosTagger(const PlainPosScore& scorer, int order) : _scorer(scorer), _order(order) {}

  /// The tag of each word; all -1 when there is no path.
  Tags Tag(const Words& words) {
    RenewLattice(words);
    return Viterbi();
  }

  /// Were there equal scores among which the order of states decided?
  bool HadTies() const { return _hadTies; }

  /// The score of a sequence of tags for the sentence in hand.
  double PathScore(const Tags& tags) const {
    std::deque<int> history(Padding(), -1);
    history.push_back(tags[0]);
    double score = _scorer.GetScore(_lattice[0].features, history);
    for (std::size_t i = 1; i < tags.size(); ++i) {
      history.pop_front();
      history.push_back(tags[i]);
      score = score + _scorer.GetScore(_lattice[i].features, history);
    }
    return score;
  }

 private:
  struct Node {
    TagFeatures features;
    Tags alts;
  };
  struct State {
    int tag;
    std::deque<int> tags;
    std::size_t previous;
    double score;
  };
  using Stage = std::vector<State>;

  std::size_t Padding() const { return static_cast<std::size_t>(std::max(_order - 1, 0)); }

  void RenewLattice(const Words& words) {
    _lattice.clear();
    std::deque<std::string> context{"B_1", "B_0", words.at(0)};
    for (std::size_t i = 0; i < words.size(); ++i) {
      context.pop_front();
      context.push_back(i + 1 < words.size() ? words[i + 1] : "E_0");
      Node node{_scorer.GenerateFeture(context), {}};
      if (!_scorer.GetPossiblePos(words[i], node.alts)) {
        for (int tag = 0; tag < _scorer.GetPosSize(); ++tag) node.alts.push_back(tag);
      }
      _lattice.push_back(node);
    }
  }

  void SortAndCut(Stage& states) {
    std::stable_sort(states.begin(), states.end(),
                     [](const State& a, const State& b) { return a.score > b.score; });
    for (std::size_t i = 1; i < states.size(); ++i) {
      if (states[i - 1].score == states[i].score) _hadTies = true;
    }
    if (states.size() > 30) states.erase(states.begin() + 30, states.end());
  }

  Tags Viterbi() {
    _hadTies = false;
    std::vector<Stage> stages(1);
    for (const int tag : _lattice[0].alts) {
      State state{tag, std::deque<int>(Padding(), -1), 0, 0};
      state.tags.push_back(tag);
      state.score = _scorer.GetScore(_lattice[0].features, state.tags);
      stages[0].push_back(state);
    }
    SortAndCut(stages[0]);
    for (std::size_t i = 1; i < _lattice.size(); ++i) {
      Stage candidates;
      for (std::size_t j = 0; j < stages.back().size(); ++j) {
        for (const int tag : _lattice[i].alts) {
          State next{tag, stages.back()[j].tags, j, 0};
          next.tags.pop_front();
          next.tags.push_back(tag);
          next.score = stages.back()[j].score + _scorer.GetScore(_lattice[i].features, next.tags);
          candidates.push_back(next);
        }
      }
      Recombine(candidates);
      SortAndCut(candidates);
      stages.push_back(candidates);
    }
    Tags result(_lattice.size(), -1);
    if (stages.back().empty()) return result;
    std::size_t index = 0;
    for (std::size_t i = stages.size(); i-- > 0;) {
      result[i] = stages[i][index].tag;
      index = stages[i][index].previous;
    }
    return result;
  }

  const PlainPosScore& _scorer;
  int _order;
  bool _hadTies = false;
  std::vector<Node> _lattice;
};

/// What is random of a knowledge.
struct Kind {
  int tags;
  bool exactWeights;  ///< a few short weights: scores may be equal
  bool brokenRows;    ///< unknown and missing tags
};

/// Random resources and lines over a small alphabet.
class RandomKnowledge {
 public:
  RandomKnowledge(std::mt19937& random, const Kind& kind) : _random(random), _kind(kind) {
    for (int i = 0; i < 30; ++i) {
      std::string word = Pick(_alphabet);
      for (std::size_t more = _random() % 3; more > 0; --more) word += Pick(_alphabet);
      _words.push_back(word);
    }
    _words.push_back(_words[0] + "\xCE");  // half a character at the end
  }

  /// Writes the resources.
  void Write() {
    WriteText("data/binarySource", Block({{kStop, 1}, {"/", 1}}) +
                                       Block({{"1", 0}, {kYi, 1}, {kLiang, 2}, {"x", 3}}) +
                                       Block({}) + Block({}));
    PosKnowledge knowledge;
    knowledge.me.tags.clear();
    for (int i = 0; i < _kind.tags; ++i) knowledge.me.tags.push_back("t" + std::to_string(i));
    WriteModel(knowledge.me);
    for (std::size_t n = _random() % 12; n > 0; --n) {
      knowledge.characters.emplace_back(Pick(_alphabet), Row());
    }
    for (std::size_t n = _random() % 25; n > 0; --n) {
      knowledge.words.emplace_back(Pick(_words), Row());
    }
    WriteText("data/Dict", knowledge.Dict());
  }

  Words Line(std::size_t length) {
    Words line;
    while (line.size() < length) line.push_back(Pick(_words));
    return line;
  }

 private:
  const std::string& Pick(const std::vector<std::string>& from) {
    return from[_random() % from.size()];
  }

  /// `most` bounds weights of any value.
  std::string Weight(double most) {
    if (_kind.exactWeights) return Pick({"0.5", "-0.5", "1", "-1", "0.25"});
    std::ostringstream text;
    text.precision(17);
    text << std::uniform_real_distribution<double>(-most, most)(_random);
    return text.str();
  }

  void WriteModel(MeSource& me) {
    CharType types;
    ASSERT_TRUE(types.Initialize(true));
    // Every feature at most once: a repeated one would be no feature of its own.
    std::set<std::string> texts;
    const bool knowsWords = _random() % 4 != 0;
    for (std::size_t n = knowsWords ? 40 + _random() % 100 : 0; n > 0; --n) {
      const std::string before = _random() % 6 == 0 ? "B_0" : Pick(_words);
      const std::string after = _random() % 6 == 0 ? "E_0" : Pick(_words);
      std::vector<std::string> features;
      PosScore::ForEachFeature(types, before, Pick(_words), after,
                               [&](std::string_view text, double) { features.emplace_back(text); });
      texts.insert(Pick(features));
    }
    if (_random() % 6 != 0) texts.insert("0/B_0");
    for (const std::string& tag : me.tags) {
      if (_random() % 4 != 0) texts.insert("0/" + tag);
    }
    std::vector<std::string> order(texts.begin(), texts.end());
    std::shuffle(order.begin(), order.end(), _random);
    for (const std::string& text : order) {
      // A feature has the tags of a model in any order, some of them more than once. Where previous
      // tags weigh much, paths from the far end of the beam may win.
      const double most = text.starts_with("0/t") ? 12.0 : 2.0;
      std::vector<std::pair<int, std::string>> parameters;
      for (std::size_t n = 1 + _random() % static_cast<unsigned>(_kind.tags + 2); n > 0; --n) {
        parameters.emplace_back(RandomTag(), Weight(most));
      }
      me.Add(text, parameters);
    }
    me.Add("unused", {{0, "1"}});
    WriteText("data/binaryPosModel", _random() % 2 == 0 ? me.Text() : me.Binary());
  }

  int RandomTag() { return static_cast<int>(_random() % static_cast<unsigned>(_kind.tags)); }

  /// The tags of an entry, in any order, some of them more than once.
  std::string Row() {
    if (_kind.brokenRows && _random() % 12 == 0) return "";
    if (_kind.brokenRows && _random() % 12 == 0) return "nosuchtag t0";
    std::string tags;
    const std::size_t most = _random() % 5 == 0 ? 34 : 4;
    for (std::size_t n = 1 + _random() % most; n > 0; --n) {
      tags += " t" + std::to_string(RandomTag());
    }
    return tags;
  }

  std::mt19937& _random;
  Kind _kind;
  const std::vector<std::string> _alphabet{"1", "x", "y", "/", kWo, kMen, kYi, kLiang, kStop};
  std::vector<std::string> _words;
};

class PosTaggerProperty : public Scratch {
 protected:
  void Check(unsigned seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::vector<int> sizes{1, 2, 4, 6, 7, 9, 12, 33};
    const Kind kind{sizes[random() % sizes.size()], random() % 3 == 0, random() % 4 == 0};
    RandomKnowledge knowledge(random, kind);
    ErrorOf([&] { knowledge.Write(); });
    CharType types;
    ASSERT_TRUE(types.Initialize(true));
    PosScore scorer(&types);
    Capture([&] { ASSERT_TRUE(scorer.Initialize("data/binaryPosModel", "data/Dict")); });
    std::unique_ptr<PlainPosScore> plainScorer;
    ErrorOf([&] {
      plainScorer = std::make_unique<PlainPosScore>(types, "data/binaryPosModel", "data/Dict");
    });
    for (const int order : {1, 2, 3, 4}) {
      PosTagger tagger(&scorer, order);
      tagger.Initialize();
      PlainPosTagger plain(*plainScorer, order);
      for (std::size_t line = 0; line < 6; ++line) {
        const Words words = knowledge.Line(line == 0   ? (kind.tags > 30 ? 4 : 10)
                                           : line == 1 ? 1
                                                       : 1 + random() % 5);
        SCOPED_TRACE("order " + std::to_string(order) + ", " + testing::PrintToString(words));
        CheckScorer(scorer, *plainScorer, words);
        CheckLine(tagger, plain, *plainScorer, words);
        if (HasFatalFailure()) return;
      }
    }
  }

  int _tagged = 0;    ///< lines with a path
  int _untagged = 0;  ///< lines without one
  int _ended = 0;     ///< lines with a tag that the model does not have
  int _tied = 0;      ///< lines with equal scores

 private:
  /// Tags of words, and scores of the whole first word, in the same terms.
  static void CheckScorer(const PosScore& scorer, const PlainPosScore& plain, const Words& words) {
    for (std::size_t i = 0; i < words.size(); ++i) {
      Tags tags;
      Tags expected;
      ASSERT_EQ(scorer.GetPossiblePos(words[i], tags), plain.GetPossiblePos(words[i], expected));
      ASSERT_EQ(tags, expected);
      const std::deque<std::string> context{i == 0 ? "B_0" : words[i - 1], words[i],
                                            i + 1 == words.size() ? "E_0" : words[i + 1]};
      TagFeatures features;
      scorer.GenerateFeture(context, features);
      const TagFeatures plainFeatures = plain.GenerateFeture(context);
      ASSERT_EQ(features, plainFeatures);
      for (const int previous : {-1, 0, scorer.GetPosSize() - 1}) {
        ASSERT_TRUE(SameBits(scorer.GetScore(features, {previous, 0}),
                             plain.GetScore(plainFeatures, {previous, 0})));
      }
      ASSERT_EQ(features, plainFeatures);
    }
  }

  void CheckLine(PosTagger& tagger, PlainPosTagger& plain, const PlainPosScore& scorer,
                 const Words& words) {
    Tags expected;
    bool ends = false;
    try {
      expected = plain.Tag(words);
    } catch (const std::out_of_range&) {
      ends = true;
    }
    std::string line;
    for (const std::string& word : words) line += word + " ";
    std::string text = "old";
    Tags tags{77};
    if (ends) {
      ++_ended;
      ASSERT_THROW(Run(tagger, words, tags), std::out_of_range);
      ASSERT_THROW(Capture([&] { tagger.TagSentence(line, text); }), std::out_of_range);
      return;
    }
    Run(tagger, words, tags);
    Capture([&] { tagger.TagSentence(line, text); });
    ASSERT_EQ(tags.size(), words.size());
    std::string expectedText;
    for (std::size_t i = 0; i < words.size(); ++i) {
      expectedText += words[i] + "/" + scorer.GetPos(tags[i]) + " ";
    }
    ASSERT_EQ(text, expectedText);
    if (expected[0] == -1) {
      ++_untagged;
      ASSERT_EQ(tags, expected);
      return;
    }
    ++_tagged;
    // Which of equally good paths is taken is free.
    if (plain.HadTies()) {
      ++_tied;
    } else {
      ASSERT_EQ(tags, expected);
    }
    const double score = plain.PathScore(tags);
    ASSERT_TRUE(SameBits(score, plain.PathScore(expected)))
        << score << " " << testing::PrintToString(tags) << " for " << plain.PathScore(expected)
        << " " << testing::PrintToString(expected);
  }

  static void Run(PosTagger& tagger, const Words& words, Tags& tags) {
    Capture([&] {
      tagger.RenewLattice(words);
      tagger.Viterbi(tags);
    });
  }
};

TEST_F(PosTaggerProperty, EqualsThePlainTagger) {
  for (unsigned seed = 1; seed <= 80 && !HasFatalFailure(); ++seed) Check(seed);
  // Has everything been met?
  EXPECT_GT(_tagged - _tied, 500);
  EXPECT_GT(_tied, 400);
  EXPECT_GT(_untagged, 10);
  EXPECT_GT(_ended, 50);
}

}  // namespace
}  // namespace Tolvek
