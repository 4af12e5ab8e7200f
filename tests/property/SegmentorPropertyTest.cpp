// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <deque>
#include <random>
#include <sstream>

#include "chinese/Segmentor.h"
#include "property/Recombine.h"
#include "unit/Scratch.h"
#include "unit/SegKnowledge.h"

namespace Tolvek {
namespace {

using Characters = std::vector<std::string>;

/// The decoder written down plainly: explicit candidate lists, histories copied about, all pairs
/// compared. Asks the scorer through its plain operations.
class PlainSegmentor {
 public:
  PlainSegmentor(const SegScore& scorer, const CharType& types, double alpha, int order)
      : _scorer(scorer), _types(types), _alpha(alpha), _order(order) {
    for (const char* name : {"B", "M", "E", "S"}) _tags.push_back(_scorer.GetTagIndex(name));
  }

  std::string Segment(const Characters& chars) {
    RenewLattice(chars);
    std::vector<char> letters;
    if (!Viterbi(letters)) letters.assign(chars.size(), 'M');
    std::string text;
    for (std::size_t i = 0; i < chars.size(); ++i) {
      if (letters[i] == 'B' || letters[i] == 'S') text += " ";
      text += chars[i] == kWideSpace ? " " : chars[i];
    }
    std::istringstream words(text);
    std::string out;
    for (std::string word; words >> word;) out += word + " ";
    return out;
  }

 private:
  struct Alt {
    int word;
    int tag;
    double score;
  };
  struct State {
    const Alt* alt;
    std::deque<int> words;
    std::deque<int> tags;
    std::size_t previous;
    double score;
  };
  using Stage = std::vector<State>;

  int Tag(char letter) const { return _tags[std::string("BMES").find(letter)]; }

  std::string Alternatives(const Characters& chars, std::size_t i) const {
    const auto classOf = [&](std::size_t j) { return _types.GetCharType(chars[j]); };
    if (i == 0) return "BS";
    if (i == chars.size() - 1) return "ES";
    const int p = classOf(i - 1);
    const int q = classOf(i);
    const int r = classOf(i + 1);
    if (p == 3 && r == 3) {
      const std::string& c = chars[i];
      return q == 3 || c == "'" || c == "." || c == " " || c == "-" ? "M" : "BEMS";
    }
    if (p != 0 || q != 0) return "BEMS";
    return r != 0 ? "EM" : "M";
  }

  void RenewLattice(const Characters& chars) {
    _lattice.assign(chars.size(), {});
    std::deque<std::string> context{"B_1", "B_0", chars.at(0)};
    for (std::size_t i = 0; i < chars.size(); ++i) {
      context.pop_front();
      context.push_back(i + 1 < chars.size() ? chars[i + 1] : "E_0");
      std::vector<std::pair<std::string, double>> scores;
      _scorer.GetMeScore(context, scores);
      const auto me = [&](char letter) {
        return scores.at(static_cast<std::size_t>(Tag(letter))).second;
      };
      const std::string& c = chars[i];
      if (c == "(" || c == ")") {
        _lattice[i].push_back({_scorer.GetWordIndex(c + "/S"), Tag('S'), me('E')});
        continue;
      }
      const int type = _types.GetCharType(c);
      const std::string key = type == 0 || type == 1 || type == 3 ? std::to_string(type) : c;
      for (const char letter : Alternatives(chars, i)) {
        _lattice[i].push_back({_scorer.GetWordIndex(key + "/" + letter), Tag(letter), me(letter)});
      }
    }
  }

  bool Allowed(int before, int tag) const {
    const bool open = before == Tag('B') || before == Tag('M');
    return open == (tag == Tag('M') || tag == Tag('E'));
  }

  State Next(const State& state, std::size_t index, const Alt& alt) const {
    State next{&alt, state.words, state.tags, index, 0};
    next.words.pop_front();
    next.words.push_back(alt.word);
    next.tags.pop_front();
    next.tags.push_back(alt.tag);
    return next;
  }

  /// The letters of the best path; false when there is none.
  bool Viterbi(std::vector<char>& letters) const {
    const std::size_t padding = static_cast<std::size_t>(std::max(_order - 1, 0));
    std::vector<Stage> stages(1);
    for (const Alt& alt : _lattice[0]) {
      State state{&alt, std::deque<int>(padding, _scorer.GetSenBIndex()),
                  std::deque<int>(padding, -1), 0, 0};
      state.words.push_back(alt.word);
      state.tags.push_back(alt.tag);
      state.score = (1 - _alpha) * alt.score + _alpha * _scorer.GetScore(state.words);
      stages[0].push_back(state);
    }
    for (std::size_t i = 1; i < _lattice.size(); ++i) {
      Stage candidates;
      for (std::size_t j = 0; j < stages.back().size(); ++j) {
        const State& state = stages.back()[j];
        for (const Alt& alt : _lattice[i]) {
          if (!Allowed(state.alt->tag, alt.tag)) continue;
          State next = Next(state, j, alt);
          next.score =
              state.score + (1 - _alpha) * alt.score + _alpha * _scorer.GetScore(next.words);
          candidates.push_back(next);
        }
      }
      Recombine(candidates);
      std::stable_sort(candidates.begin(), candidates.end(),
                       [](const State& a, const State& b) { return a.score > b.score; });
      if (candidates.size() > 20) candidates.erase(candidates.begin() + 20, candidates.end());
      stages.push_back(candidates);
    }
    const Alt end{_scorer.GetSenEIndex(), -1, 0};
    const Stage& last = stages.back();
    std::size_t best = last.size();
    double bestScore = 0;
    for (std::size_t j = 0; j < last.size(); ++j) {
      if (last[j].alt->tag != Tag('E') && last[j].alt->tag != Tag('S')) continue;
      const State final = Next(last[j], j, end);
      const double score = last[j].score + _alpha * _scorer.GetScore(final.words);
      if (best == last.size() || score > bestScore) {
        best = j;
        bestScore = score;
      }
    }
    if (best == last.size()) return false;
    letters.assign(stages.size(), '?');
    for (std::size_t i = stages.size(); i-- > 0;) {
      const auto tag = std::find(_tags.begin(), _tags.end(), stages[i][best].alt->tag);
      letters[i] = "BMES"[tag - _tags.begin()];
      best = stages[i][best].previous;
    }
    return true;
  }

  const SegScore& _scorer;
  const CharType& _types;
  double _alpha;
  int _order;
  std::vector<int> _tags;  ///< of B, M, E, S
  std::vector<std::vector<Alt>> _lattice;
};

/// Random resources and texts over a small alphabet of all classes.
class RandomKnowledge {
 public:
  RandomKnowledge(std::mt19937& random, bool zeros) : _random(random), _zeros(zeros) {}

  /// Writes the resources; the language model may hold n-grams of more than two words.
  void Write() {
    const std::vector<std::pair<std::string, int>> names{{kWo, 0}, {kMen, 4}};
    WriteText("data/binarySource", Block({{kStop, 1}, {",", 1}, {"(", 1}}) + Block(Classes()) +
                                       Block(names) + Block({{kMen, 1}}));
    CharType types;
    ASSERT_TRUE(types.Initialize(true));
    WriteModel(types);
    WriteLanguageModel();
  }

  Characters Text(std::size_t length) {
    Characters text;
    while (text.size() < length) {
      const std::string character = Pick(_alphabet);
      // Runs of one character bring the rules for digits and letters into play.
      for (std::size_t run = _random() % 4; run > 0 && text.size() < length; --run) {
        text.push_back(character);
      }
    }
    return text;
  }

 private:
  const std::string& Pick(const std::vector<std::string>& from) {
    return from[_random() % from.size()];
  }

  std::vector<std::pair<std::string, int>> Classes() {
    std::vector<std::pair<std::string, int>> classes{{"1", 0}, {"2", 0}, {kYi, 1},  {kLiang, 2},
                                                     {"a", 3}, {"b", 3}, {kNian, 4}};
    // A class of its own for a bracket can leave a line without any allowed path.
    if (_random() % 8 == 0) classes.push_back({"(", 0});
    return classes;
  }

  void WriteModel(const CharType& types) {
    // The order of the tags is the model's.
    MeSource me;
    me.tags = {"B", "M", "E", "S"};
    std::shuffle(me.tags.begin(), me.tags.end(), _random);
    const std::vector<std::string> weights{"-0.5", "0.5", "1", "-1", "0.25", "0.1"};
    std::vector<std::string> context = _alphabet;
    context.insert(context.end(), {"B_0", "E_0"});
    const std::size_t count = _random() % 3 == 0 ? 0 : _random() % 60;
    for (std::size_t i = 0; i < count; ++i) {
      std::vector<std::string> features;
      SegScore::ForEachFeature(types, Pick(context), Pick(_alphabet), Pick(context),
                               [&](std::string_view text, double) { features.emplace_back(text); });
      std::vector<std::pair<int, std::string>> parameters;
      for (std::size_t n = _random() % 4; n > 0; --n) {
        parameters.emplace_back(static_cast<int>(_random() % 4), Pick(weights));
      }
      me.Add(Pick(features), parameters);
    }
    WriteText("data/binarySegModel", _random() % 2 == 0 ? me.Text() : WithParameter(me).Binary());
  }

  /// A binary model needs one parameter.
  static MeSource WithParameter(MeSource me) {
    if (me.values.empty()) me.Add("unused", {{0, "1"}});
    return me;
  }

  void WriteLanguageModel() {
    std::vector<std::string> tokens{"<s>", "</s>", "<unk>", "(/S", ")/S"};
    for (const char* key : {"0", "1", "3", "?", "a", "-", "."}) AddTokens(tokens, key);
    for (const std::string& key : {kWo, kMen, kLiang, kNian, kYi}) AddTokens(tokens, key);
    std::vector<std::string> probs{"-0.5", "-1", "-1.5", "-1", "-0.25"};
    std::vector<std::string> bows{"-0.25", "0", "-0.5"};
    if (_zeros) {
      probs.push_back("-99");
      bows.push_back("-99");
    }
    std::vector<std::vector<Gram>> lm(1 + _random() % 4);
    for (std::size_t k = 1; k <= lm.size(); ++k) {
      for (std::size_t count = _random() % 120; count > 0; --count) {
        std::string words = Pick(tokens);
        for (std::size_t i = 1; i < k; ++i) words += " " + Pick(tokens);
        lm[k - 1].push_back({Pick(probs), words, k < lm.size() ? Pick(bows) : ""});
      }
    }
    WriteText("arpa", Arpa(lm));
    Vocab vocab;
    ASSERT_EQ(Ngram(&vocab, 4).ConvertToBinaryFile("arpa", "data/binarySegLM"), 1);
  }

  static void AddTokens(std::vector<std::string>& tokens, const std::string& key) {
    for (const char* tag : {"/B", "/M", "/E", "/S"}) tokens.push_back(key + tag);
  }

  std::mt19937& _random;
  bool _zeros;  ///< may probabilities be zero?
  const std::vector<std::string> _alphabet{"1",  "2", "a",    "b",   "(",   ")",        "'",
                                           ".",  "-", "?",    " ",   ",",   kWideSpace, kWo,
                                           kMen, kYi, kLiang, kNian, kStop, "\xCE\xCE"};
};

class SegmentorProperty : public Scratch {
 protected:
  void Check(unsigned seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const double alpha = std::vector<double>{0.3, 0.5, 1.0, 0.0}[random() % 4];
    RandomKnowledge knowledge(random, alpha > 0 && random() % 4 == 0);
    knowledge.Write();
    CharType types;
    SegScore scorer(&types);
    ASSERT_TRUE(types.Initialize(true));
    Capture([&] { ASSERT_TRUE(scorer.Initialize("data/binarySegLM", "data/binarySegModel")); });
    for (const int order : {1, 2, 3, 5}) {
      Segmentor segmentor(&scorer, &types, alpha, order);
      segmentor.Initialize();
      PlainSegmentor plain(scorer, types, alpha, order);
      for (int line = 0; line < 8; ++line) {
        const Characters text = knowledge.Text(1 + random() % (line == 0 ? 60 : 12));
        const std::string expected = plain.Segment(text);
        std::string out = "old";
        Capture([&] {
          segmentor.RenewLattice(text);
          segmentor.Viterbi(text, out);
        });
        ASSERT_EQ(out, expected) << "order " << order << ", alpha " << alpha << ", text "
                                 << testing::PrintToString(text);
        CheckLine(segmentor, text, plain);
      }
    }
  }

 private:
  /// The same through a line of bytes.
  static void CheckLine(Segmentor& segmentor, const Characters& text, PlainSegmentor& plain) {
    std::string line;
    for (const std::string& character : text) line += character;
    line += "\xCE";  // a lead byte at the end
    std::string out;
    std::string trimmed = line;
    Capture([&] { segmentor.SegSentence(trimmed, out); });
    Characters expected;
    for (std::size_t at = line.find_first_not_of(" \t\r\n"); at < line.size();) {
      const bool two = static_cast<unsigned char>(line[at]) >= 0x80;
      expected.push_back(line.substr(at, two ? 2 : 1));
      at += two ? 2 : 1;
    }
    ASSERT_EQ(out, plain.Segment(expected)) << testing::PrintToString(expected);
  }
};

TEST_F(SegmentorProperty, EqualsThePlainDecoder) {
  for (unsigned seed = 1; seed <= 100 && !HasFatalFailure(); ++seed) Check(seed);
}

}  // namespace
}  // namespace Tolvek
