// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <set>

#include "chinese/Segmentor.h"
#include "common/Globals.h"
#include "property/Outcome.h"
#include "property/RandomWeight.h"
#include "unit/Fixtures.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using namespace std::string_literals;

using Characters = std::vector<std::string>;

/// A binary language model.
struct LmSource {
  struct Entry {
    double prob;
    std::vector<int> words;  ///< oldest first
    double bow;
  };
  std::vector<std::pair<std::string, int>> words;
  std::vector<std::vector<Entry>> orders{{}, {}};

  std::string Binary() const {
    std::string bytes = kHeader + Block(words) + I32(static_cast<int>(orders.size()));
    for (const auto& entries : orders) bytes += I32(static_cast<int>(entries.size()));
    for (std::size_t k = 0; k < orders.size(); ++k) {
      for (const Entry& entry : orders[k]) {
        bytes += F64(entry.prob);
        for (const int word : entry.words) bytes += I32(word);
        if (k + 1 < orders.size()) bytes += F64(entry.bow);
      }
    }
    return bytes;
  }
};

/// All that a segmenter knows, before it is written.
struct SegSource {
  using Codes = std::vector<std::pair<std::string, int>>;
  Codes punctuation;
  Codes classes;
  Codes chineseNames;
  Codes foreignNames;
  MeSource me;
  LmSource lm;
};

/// The same, loaded.
class Knowledge {
 public:
  explicit Knowledge(const SegSource& source) {
    WriteText("data/binarySource", Block(source.punctuation) + Block(source.classes) +
                                       Block(source.chineseNames) + Block(source.foreignNames));
    WriteText("data/binarySegModel", source.me.Binary());
    WriteText("data/binarySegLM", source.lm.Binary());
    Load("data/");
  }
  explicit Knowledge(const std::string& folder) { Load(folder); }

  CharType types;
  SegScore scorer{&types};

 private:
  void Load(const std::string& folder) {
    EXPECT_TRUE(types.LoadBinary(folder + "binarySource"));
    const Outcome loading = Watch("", [&](std::string&, std::string& text) {
      text = scorer.Initialize(folder + "binarySegLM", folder + "binarySegModel") ? "true" : "";
    });
    EXPECT_EQ(loading.text, "true") << loading;
  }
};

/// A segmenter that decodes lines as it likes, beside one that decodes them plainly.
class Comparison {
 public:
  explicit Comparison(const Knowledge& knowledge, double alpha = 0.3, int order = 2)
      : Comparison(knowledge.scorer, knowledge.types, alpha, order, true) {}
  Comparison(const SegScore& scorer, const CharType& types, double alpha, int order,
             bool initialized)
      : _fast(&scorer, &types, alpha, order), _plain(&scorer, &types, alpha, order) {
    if (!initialized) return;
    for (Segmentor* segmentor : {&_fast, &_plain}) {
      Watch("", [&](std::string&, std::string&) { segmentor->Initialize(); });
    }
  }

  void Check(const std::string& line) {
    const Outcome fast =
        Watch(line, [&](std::string& text, std::string& out) { _fast.SegSentence(text, out); });
    const Outcome plain = Watch(line, [&](std::string& text, std::string& out) {
      TrimLine(text);
      SplitCharacters(text, _characters);
      _plain.RenewLattice(_characters);
      _plain.Viterbi(_characters, out);
    });
    ASSERT_EQ(fast, plain) << "line \"" << Readable(line) << "\", " << Shown(Counts());
    ++(plain.exception.empty() ? lines : thrown);
    unsegmented += !plain.messages.empty();
    ASSERT_GE(Total(Counts()), lines);
    ASSERT_LE(Total(Counts()), lines + thrown) << "each line is counted once";
  }

  void SetAlpha(double alpha) {
    _fast.SetAlpha(alpha);
    _plain.SetAlpha(alpha);
  }
  Segmentor& Fast() { return _fast; }
  PathCounts Counts() const { return _fast.Counts(); }

  std::size_t lines = 0;  ///< decoded
  std::size_t thrown = 0;
  std::size_t unsegmented = 0;  ///< lines without a path

 private:
  Segmentor _fast;
  Segmentor _plain;
  Characters _characters;
};

/// Characters of all classes and rules; the double ones end in bytes that alone are white space.
const Characters kCharacters{"1",        "2",      "a",      "b",       "(",        ")",   "'",
                             ".",        "-",      " ",      ",",       "\v",       "\f",  "\0"s,
                             kWideSpace, kWo,      kMen,     kYi,       kLiang,     kNian, kStop,
                             "\x81 ",    "\x81\t", "\x81\v", "\x81\0"s, "\xFF\xFF", "B",   "_"};

/// Random knowledge of a few characters, dense enough that most features of a text are known.
class RandomSource : public SegSource {
 public:
  /// With `complete` the language model holds an entry of each kind.
  RandomSource(std::mt19937& random, Weights weights, bool complete = false)
      : _random(random), _weights(weights) {
    while (alphabet.size() < 3 + random() % 4) AddCharacter(PickOf(kCharacters));
    // Brackets of a class of their own can leave a line without any path.
    if (OneIn(8)) {
      for (const char* character : {"(", "1", "a"}) AddCharacter(character);
      classes.emplace_back("(", OneIn(2) ? 0 : 3);
    }
    MakeCodes();
    MakeModel();
    MakeLanguageModel(complete);
  }

  std::string Text(std::size_t length) {
    std::string text;
    for (std::size_t i = 0; i < length;) {
      const std::string& character = PickOf(_random() % 16 == 0 ? kCharacters : alphabet);
      // Runs of one character bring the rules for digits and letters into play.
      for (std::size_t run = 1 + _random() % 3; run > 0 && i < length; --run, ++i) {
        text += character;
      }
    }
    return _random() % 8 == 0 ? text + "\xCE" : text;  // a lead byte at the end
  }

  Characters alphabet;

 private:
  template <class Items>
  const typename Items::value_type& PickOf(const Items& from) {
    return from[_random() % from.size()];
  }
  bool OneIn(unsigned n) { return _random() % n == 0; }
  double Weight() { return RandomWeight(_random, _weights); }

  void AddCharacter(const std::string& character) {
    if (std::find(alphabet.begin(), alphabet.end(), character) == alphabet.end()) {
      alphabet.push_back(character);
    }
  }

  void MakeCodes() {
    Characters keys = alphabet;
    for (const char* edge : {"B_0", "E_0"}) {
      if (OneIn(6)) keys.push_back(edge);
    }
    for (const std::string& key : keys) {
      if (OneIn(3)) punctuation.emplace_back(key, 1);
      if (OneIn(4)) classes.emplace_back(key, _random() % 8);
      if (OneIn(2)) chineseNames.emplace_back(key, _random() % 6);
      if (OneIn(3)) foreignNames.emplace_back(key, 1);
    }
    const Codes usual{{"1", 0}, {"2", 0}, {kYi, 1},  {kLiang, 2},
                      {"a", 3}, {"b", 3}, {kNian, 4}};  // a repeated key keeps its first code
    classes.insert(classes.end(), usual.begin(), usual.end());
  }

  void MakeModel() {
    me.tags = {"B", "M", "E", "S"};
    std::shuffle(me.tags.begin(), me.tags.end(), _random);
    CharType types;
    WriteText("codes",
              Block(punctuation) + Block(classes) + Block(chineseNames) + Block(foreignNames));
    ASSERT_TRUE(types.LoadBinary("codes"));
    std::set<std::string> texts;
    for (std::size_t previous = 0; previous <= alphabet.size(); ++previous) {
      for (const std::string& current : alphabet) {
        for (std::size_t next = 0; next <= alphabet.size(); ++next) {
          SegScore::ForEachFeature(
              types, previous < alphabet.size() ? alphabet[previous] : "B_0", current,
              next < alphabet.size() ? alphabet[next] : "E_0",
              [&](std::string_view text, double) { texts.insert(std::string(text)); });
        }
      }
    }
    // Texts of no context, or of a character that is not one.
    for (const char* text :
         {"4/B_0E_0", "1/E_0", "2/B_0", "2/E_0", "3/B_0",  "5/E_0",    "5/E_0E_0", "6/E_0B_0",
          "4/B_0B_0", "4/B_0", "4/a",   "6/aaa", "2/ab",   "2/\xCE",   "5/a\xCE",  "3/\xCE",
          "6/a\xCE",  "7/2",   "8/",    "8/55",  "8/5555", "9/-1-1-1", "10/111",   "10/12",
          "11/a",     "",      "/",     "1/",    "1/B_1",  "0/B",      "4/\x81",   "a/b"}) {
      texts.insert(text);
    }
    const auto density = PickOf(std::vector<unsigned>{4, 10, 15});
    for (const std::string& text : texts) {
      if (_random() % 16 < density) AddFeature(text);
    }
    if (OneIn(4)) AddFeature("2/" + alphabet[0]);  // its second list is never used
    me.Add("unused", {{0, "1"}});                  // a binary model needs one parameter
  }

  void AddFeature(const std::string& text) {
    std::vector<int> tags{0, 1, 2, 3};
    std::shuffle(tags.begin(), tags.end(), _random);
    std::vector<std::pair<int, std::string>> parameters;
    for (const int tag : tags) {
      if (!OneIn(3)) parameters.emplace_back(tag, Number(Weight()));
    }
    me.Add(text, parameters);
  }

  void MakeLanguageModel(bool complete) {
    std::vector<int> indices{2, 3};                   // begin and end of a sentence
    if (!complete && OneIn(8)) indices.push_back(1);  // unknown words among bigrams
    const auto addToken = [&](const std::string& key) {
      for (const char letter : kSegTagLetters) {
        if (OneIn(6)) continue;
        lm.words.emplace_back(key + "/" + letter, 4 + static_cast<int>(lm.words.size()));
        indices.push_back(lm.words.back().second);
      }
    };
    // Also those of characters that have a shared key: they are never asked for.
    std::set<std::string> keys(alphabet.begin(), alphabet.end());
    for (const char* shared : {"0", "1", "3"}) {
      if (!OneIn(3)) keys.insert(shared);
    }
    for (const std::string& key : keys) addToken(key);
    if (!complete && OneIn(8)) return;  // words without any probability
    if (_weights == Weights::kDecimals && OneIn(2)) {
      lm = {};  // then the order of the other sums decides
      return;
    }
    const auto prob = [&] { return -std::abs(Weight()); };
    const bool every = complete;
    complete = complete || OneIn(2);
    if (OneIn(2)) lm.orders[0].push_back({prob(), {1}, OneIn(3) ? 0 : Weight()});
    for (const int index : indices) {
      if (complete || !OneIn(4)) lm.orders[0].push_back({prob(), {index}, OneIn(3) ? 0 : Weight()});
    }
    for (std::size_t n = indices.size() * (_random() % 8 + (every ? 4 : 0)); n > 0; --n) {
      lm.orders[1].push_back({prob(), {PickOf(indices), PickOf(indices)}, 0});
    }
  }

  std::mt19937& _random;
  Weights _weights;
};

class FastSegmentation : public Scratch {
 protected:
  /// Random models of a kind, and random lines; the sum of what served them.
  PathCounts CheckRandom(Weights weights, unsigned first, unsigned last) {
    PathCounts sum;
    for (unsigned seed = first; seed <= last && !HasFatalFailure(); ++seed) {
      SCOPED_TRACE("seed " + std::to_string(seed));
      std::mt19937 random(seed);
      RandomSource source(random, weights);
      const Knowledge knowledge(source);
      Comparison comparison(knowledge);
      for (int i = 0; i < 40 && !HasFatalFailure(); ++i) {
        comparison.Check(source.Text(1 + random() % (i == 0 ? 300 : i < 20 ? 8 : 40)));
      }
      sum += comparison.Counts();
      _unsegmented += comparison.unsegmented;
    }
    std::cout << Shown(sum) << std::endl;
    return sum;
  }

  std::size_t _unsegmented = 0;
};

TEST_F(FastSegmentation, EqualsPlainDecodingWhereScoresDiffer) {
  const PathCounts counts = CheckRandom(Weights::kAny, 1, 200);
  EXPECT_GT(counts.certified, 3 * Total(counts) / 4) << Shown(counts);
  EXPECT_GT(_unsegmented, 0U) << "lines without a path are tried, too";
}

TEST_F(FastSegmentation, EqualsPlainDecodingWhereScoresTie) {
  PathCounts counts = CheckRandom(Weights::kFew, 1001, 1100);
  counts += CheckRandom(Weights::kDecimals, 1101, 1250);
  EXPECT_GT(counts.certified, 0U) << Shown(counts);
  EXPECT_GT(counts.exact, 0U) << Shown(counts);
}

TEST_F(FastSegmentation, EqualsPlainDecodingWhereScoresNearlyTie) {
  const PathCounts counts = CheckRandom(Weights::kNear, 2001, 2200);
  EXPECT_GT(counts.certified, 0U) << Shown(counts);
  EXPECT_GT(counts.exact, 0U) << Shown(counts);
}

/// Replaces the models by some in which all paths are equally good, were it not for rounding.
void LetRoundingDecide(RandomSource& source, std::mt19937& random) {
  const auto thousandths = [](int value) { return std::to_string(value) + "e-3"; };
  const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
  MeSource me;
  me.tags = source.me.tags;
  const auto add = [&](const std::string& feature, auto weightOf) {
    const int offset = below(1000);  // the same for all tags
    std::vector<std::pair<int, std::string>> parameters;
    for (int tag = 0; tag < 4; ++tag) {
      parameters.emplace_back(tag, thousandths(weightOf(static_cast<std::size_t>(tag)) + offset));
    }
    me.Add(feature, parameters);
  };
  // Four features of every character; what the first three have of a tag, the fourth lacks.
  std::array<std::array<int, 4>, 3> shares;
  for (auto& share : shares) std::generate(share.begin(), share.end(), [&] { return below(900); });
  Characters units = kCharacters;
  units.insert(units.end(), {"\xCE", "B_0", "E_0"});
  for (const std::string& unit : units) {
    add("1/" + unit, [](std::size_t) { return 0; });
    add("3/" + unit, [&](std::size_t tag) { return shares[0][tag]; });
    for (const std::string& next : units) {
      add("4/" + unit + next, [&](std::size_t tag) { return shares[1][tag]; });
    }
  }
  add("7/0", [&](std::size_t tag) { return shares[2][tag]; });
  add("7/1", [&](std::size_t tag) { return shares[2][tag]; });
  for (int classes = 0; classes < 512; ++classes) {
    const std::string text = std::to_string(classes / 64) + std::to_string(classes / 8 % 8) +
                             std::to_string(classes % 8);
    add("8/" + text, [&](std::size_t tag) {
      return 4000 - shares[0][tag] - 3 * shares[1][tag] - shares[2][tag];
    });
  }
  source.me = me;

  // 0.3 at once, or 0.1 and 0.2 added up.
  for (LmSource::Entry& entry : source.lm.orders[0]) {
    entry.prob = -0.1;
    entry.bow = -0.2;
  }
  for (LmSource::Entry& entry : source.lm.orders[1]) entry.prob = -0.3;
}

TEST_F(FastSegmentation, EqualsPlainDecodingWhereRoundingDecides) {
  PathCounts sum;
  for (unsigned seed = 1201; seed <= 1300 && !HasFatalFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    RandomSource source(random, Weights::kAny, true);
    LetRoundingDecide(source, random);
    const Knowledge knowledge(source);
    Comparison comparison(knowledge, random() % 2 == 0 ? 0.3 : 0.35);
    for (std::size_t i = 0; i < 60 && !HasFatalFailure(); ++i) {
      comparison.Check(source.Text(i == 0 ? 500 : 2 + random() % 5));
    }
    sum += comparison.Counts();
  }
  std::cout << Shown(sum) << std::endl;
  EXPECT_GT(sum.exact, Total(sum) / 20) << Shown(sum);
}

TEST_F(FastSegmentation, EqualsPlainDecodingWhereLongSumsDecide) {
  PathCounts sum;
  for (unsigned seed = 1301; seed <= 1320 && !HasFatalFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> weight(-1, 1);
    // A word of these two is as good as two words, but for the rounding of what comes before.
    const double first = weight(random);
    const double second = weight(random);
    const double difference = weight(random);
    SegSource source;
    source.me.tags = {"B", "M", "E", "S"};
    source.me.Add("2/" + kWo, {{0, Number(first)}, {3, Number(first + difference)}, {1, "-9"}});
    source.me.Add("2/" + kMen, {{2, Number(second)}, {3, Number(second - difference)}, {1, "-9"}});
    source.me.Add("2/" + kNian, {{3, "9"}});  // always a word
    const Knowledge knowledge(source);
    Comparison comparison(knowledge);
    for (int i = 0; i < 5 && !HasFatalFailure(); ++i) {
      const std::string words = Repeat(kNian, static_cast<int>(4000 + random() % 1000));
      comparison.Check(words + kWo + kMen + (i % 2 == 0 ? "" : kNian));
    }
    sum += comparison.Counts();
  }
  std::cout << Shown(sum) << std::endl;
  EXPECT_EQ(sum.certified, 0U) << Shown(sum);
  EXPECT_GT(sum.exact, 0U) << Shown(sum);
}

TEST_F(FastSegmentation, EqualsPlainDecodingWhereWeightsAreLarge) {
  const PathCounts counts = CheckRandom(Weights::kHigh, 3001, 3060);
  EXPECT_GT(counts.certified, 0U) << Shown(counts);
  CheckRandom(Weights::kWide, 3101, 3160);
}

TEST_F(FastSegmentation, CertifiesNoTie) {
  std::mt19937 random(1);
  RandomSource source(random, Weights::kZero);
  source.lm = {};
  source.classes.clear();
  const Knowledge knowledge(source);
  Comparison comparison(knowledge);
  for (std::size_t length = 2; length < 40 && !HasFatalFailure(); ++length) {
    comparison.Check(Repeat(kWo, static_cast<int>(length)));  // begins with a word of 1 or of 2
  }
  EXPECT_EQ(comparison.Counts().certified, 0U) << Shown(comparison.Counts());
  CheckRandom(Weights::kZero, 4001, 4010);
}

/// Every sequence of the characters, up to a length.
void CheckSequences(Comparison& comparison, const Characters& characters, int length,
                    const std::string& begin = "") {
  if (testing::Test::HasFatalFailure()) return;
  if (!begin.empty()) comparison.Check(begin);
  if (length == 0) return;
  for (const std::string& character : characters) {
    CheckSequences(comparison, characters, length - 1, begin + character);
  }
}

TEST_F(FastSegmentation, EqualsPlainDecodingOnEveryShortLine) {
  const Characters few{"1", kYi, kLiang, "a", kNian, kWo, "(", "'", " ", kWideSpace, "\x81 "};
  const Characters many{"1", "2", kYi, "a",  "b",  kNian, kWo,  "(",    ")",     "'",
                        ".", "-", " ", "\v", "\f", "\0"s, "\t", "\x81", "\x81 ", kWideSpace};
  for (const Weights weights : {Weights::kAny, Weights::kDecimals}) {
    std::mt19937 random(7);
    RandomSource source(random, weights);
    const Knowledge knowledge(source);
    Comparison comparison(knowledge);
    CheckSequences(comparison, many, 3);
    CheckSequences(comparison, few, 4);
    EXPECT_GT(comparison.Counts().certified, 0U) << Shown(comparison.Counts());
    EXPECT_GT(comparison.thrown, 0U) << "lines of blanks are tried, too";
  }
}

TEST_F(FastSegmentation, EqualsPlainDecodingOnLongLines) {
  PathCounts sum;
  unsigned seed = 5000;
  for (const Weights weights : {Weights::kAny, Weights::kNear, Weights::kDecimals}) {
    for (std::size_t i = 0; i < 16 && !HasFatalFailure(); ++i) {
      SCOPED_TRACE("seed " + std::to_string(++seed));
      std::mt19937 random(seed);
      RandomSource source(random, weights);
      const Knowledge knowledge(source);
      Comparison comparison(knowledge);
      comparison.Check(source.Text(i == 0 ? 20'000 : 2'000));
      comparison.Check(source.Text(5));  // what a long line leaves behind
      sum += comparison.Counts();
    }
  }
  std::cout << Shown(sum) << std::endl;
}

/// A change that makes a model unusual.
struct Oddity {
  const char* name;
  std::function<void(SegSource&)> change;
};

void SetWeights(SegSource& source, const std::string& value) {
  for (std::size_t i = 0; i < source.me.values.size(); i += 5) source.me.values[i] = value;
}

/// Gives each third character another class.
void SetClasses(SegSource::Codes& codes, int code) {
  codes.insert(codes.begin(), {{kWo, code}, {"a", code}, {kYi, code}, {"1", code}});
}

/// Changes that no fast path serves.
const std::vector<Oddity> kOddModels{
    {"a fifth tag", [](SegSource& s) { s.me.tags.push_back("X"); }},
    {"a repeated tag", [](SegSource& s) { s.me.tags.push_back("B"); }},
    {"no tag M", [](SegSource& s) { *std::find(s.me.tags.begin(), s.me.tags.end(), "M") = "X"; }},
    {"three tags",
     [](SegSource& s) {
       s.me.tags.pop_back();
       for (std::vector<int>& list : s.me.lists) {
         for (int& tag : list) tag = std::min(tag, 2);
       }
     }},
    {"no tags", [](SegSource& s) { s.me.tags.clear(); }},
    {"a huge weight", [](SegSource& s) { SetWeights(s, "1e300"); }},
    {"an infinite weight", [](SegSource& s) { SetWeights(s, "inf"); }},
    {"a weight of minus infinity", [](SegSource& s) { SetWeights(s, "-inf"); }},
    {"a weight that is no number", [](SegSource& s) { SetWeights(s, "nan"); }},
    {"a zero unigram", [](SegSource& s) { s.lm.orders[0].back().prob = -INFINITY; }},
    {"zero bigrams",
     [](SegSource& s) {
       for (LmSource::Entry& entry : s.lm.orders[1]) entry.prob = -INFINITY;
     }},
    {"a zero back-off weight", [](SegSource& s) { s.lm.orders[0].back().bow = -INFINITY; }},
    {"a probability that is no number",
     [](SegSource& s) {
       for (LmSource::Entry& entry : s.lm.orders[1]) entry.prob = NAN;
     }},
    {"a back-off weight that is no number", [](SegSource& s) { s.lm.orders[0].back().bow = NAN; }},
    {"classes above 9", [](SegSource& s) { SetClasses(s.classes, 12); }},
    {"negative classes", [](SegSource& s) { SetClasses(s.classes, -3); }},
};

/// Changes that a fast path may serve.
const std::vector<Oddity> kRareModels{
    {"trigrams",
     [](SegSource& s) {
       s.lm.orders.push_back({{-0.5, {2, 4, 5}, 0}, {-0.25, {4, 5, 6}, 0}});
     }},
    {"features that list tags twice",
     [](SegSource& s) {
       for (std::vector<int>& list : s.me.lists) {
         for (int& tag : list) tag /= 2;
       }
     }},
    {"a parameter of no tag", [](SegSource& s) { s.me.lists.at(3).assign(2, 4); }},
    {"a parameter of tag -1", [](SegSource& s) { s.me.lists.at(5).assign(1, -1); }},
    {"parameters without values", [](SegSource& s) { s.me.values.resize(s.me.values.size() / 2); }},
    {"no features",
     [](SegSource& s) {
       s.me.features.clear();
       s.me.lists.clear();
     }},
    {"no language model", [](SegSource& s) { s.lm = {}; }},
    {"a unigram model", [](SegSource& s) { s.lm.orders.pop_back(); }},
    {"a trigram model without trigrams", [](SegSource& s) { s.lm.orders.emplace_back(); }},
    {"no probability of unknown words",
     [](SegSource& s) {
       std::erase_if(s.lm.orders[0], [](const auto& entry) { return entry.words[0] == 1; });
     }},
    {"unknown words that are certain",
     [](SegSource& s) {
       s.lm.orders[0].insert(s.lm.orders[0].begin(), {7.5, {1}, 0.5});
     }},
    {"positive log probabilities",
     [](SegSource& s) {
       for (auto& entries : s.lm.orders) {
         for (LmSource::Entry& entry : entries) entry.prob = -entry.prob;
       }
     }},
    {"large log probabilities",
     [](SegSource& s) {
       for (LmSource::Entry& entry : s.lm.orders[1]) entry.prob *= 1e4;
       for (LmSource::Entry& entry : s.lm.orders[0]) entry.bow *= 1e4;
     }},
    {"huge log probabilities",
     [](SegSource& s) {
       for (LmSource::Entry& entry : s.lm.orders[1]) entry.prob *= 1e17;
     }},
    {"words that share an index",
     [](SegSource& s) {
       for (auto& [word, index] : s.lm.words) index = 1 + index % 6;
     }},
    {"indices of all sizes",
     [](SegSource& s) {
       static constexpr int kIndices[] = {0, -1, -2, 0x7FFFFFFF, -0x7FFFFFFF - 1, 1 << 30, 1, 3};
       for (std::size_t i = 0; i < s.lm.words.size(); i += 2) {
         s.lm.words[i].second = kIndices[i / 2 % 8];
       }
       for (std::size_t i = 0; i < s.lm.orders[1].size(); i += 3) {
         s.lm.orders[1][i].words = {kIndices[i % 8], kIndices[i / 3 % 8]};
       }
     }},
    {"all codes 9",
     [](SegSource& s) {
       SetClasses(s.classes, 9);
       SetClasses(s.chineseNames, 9);
     }},
    {"unusual name codes", [](SegSource& s) { SetClasses(s.chineseNames, 10); }},
    {"edges with a class",
     [](SegSource& s) {
       s.classes.insert(s.classes.begin(), {{"B_0", 0}, {"E_0", 3}});
       s.chineseNames.insert(s.chineseNames.begin(), {{"B_0", 1}, {"E_0", 2}});
       s.foreignNames.insert(s.foreignNames.begin(), {{"B_0", 1}, {"E_0", 1}});
     }},
    {"edges with an unusual class",
     [](SegSource& s) {
       s.classes.insert(s.classes.begin(), {{"B_0", 10}, {"E_0", -1}});
     }},
    {"no classes", [](SegSource& s) { s.classes.clear(); }},
};

class FastSegmentationOfOddModels : public FastSegmentation {
 protected:
  /// Short lines of a random model's characters.
  static void CheckLines(Comparison& comparison, RandomSource& source, std::mt19937& random) {
    for (int i = 0; i < 40 && !HasFatalFailure(); ++i) {
      comparison.Check(source.Text(1 + random() % 12));
    }
  }

  /// Lines of a random model with a change.
  void CheckOdd(const Oddity& oddity, unsigned seed, bool isServedPlainly) {
    SCOPED_TRACE(oddity.name + ", seed "s + std::to_string(seed));
    std::mt19937 random(seed);
    RandomSource source(random, Weights::kAny, true);
    const Knowledge usual(source);
    Comparison before(usual);
    for (int i = 0; i < 10; ++i) before.Check(source.Text(1 + random() % 10));
    EXPECT_GT(before.Counts().certified, 0U) << "it is the change that matters";
    oddity.change(source);
    const Knowledge knowledge(source);
    Comparison comparison(knowledge);
    for (int i = 0; i < 40 && !HasFatalFailure(); ++i) {
      comparison.Check(source.Text(1 + random() % (i < 30 ? 5 : 30)));
    }
    if (!isServedPlainly) return;
    EXPECT_EQ(comparison.Counts().certified, 0U) << Shown(comparison.Counts());
    EXPECT_EQ(comparison.Counts().exact, 0U) << Shown(comparison.Counts());
  }
};

TEST_F(FastSegmentationOfOddModels, IsPlain) {
  for (const Oddity& oddity : kOddModels) {
    for (unsigned seed = 1; seed <= 3 && !HasFatalFailure(); ++seed) CheckOdd(oddity, seed, true);
  }
}

TEST_F(FastSegmentationOfOddModels, EqualsPlainDecoding) {
  for (const Oddity& oddity : kRareModels) {
    for (unsigned seed = 1; seed <= 5 && !HasFatalFailure(); ++seed) CheckOdd(oddity, seed, false);
  }
}

TEST_F(FastSegmentationOfOddModels, HeedsOrder) {
  std::mt19937 random(11);
  RandomSource source(random, Weights::kAny);
  const Knowledge knowledge(source);
  for (const int order : {-1, 0, 1, 3, 5}) {
    Comparison comparison(knowledge, 0.3, order);
    for (int i = 0; i < 30 && !HasFatalFailure(); ++i) {
      comparison.Check(source.Text(1 + random() % 20));
    }
    EXPECT_EQ(comparison.Counts().plain, comparison.lines) << "order " << order;
  }
}

TEST_F(FastSegmentationOfOddModels, HeedsAlpha) {
  for (unsigned seed = 21; seed <= 26 && !HasFatalFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    RandomSource source(random, seed % 2 == 0 ? Weights::kAny : Weights::kDecimals);
    const Knowledge knowledge(source);
    Comparison changing(knowledge);
    for (const double alpha : {0.0, 1.0, -0.5, 0.5, std::nextafter(0.3, 1.0), 1e-300, 1e300, 1e9,
                               double{INFINITY}, double{NAN}, -1e300, -0.0, 0.3}) {
      SCOPED_TRACE("alpha " + std::to_string(alpha));
      Comparison fresh(knowledge, alpha);
      changing.SetAlpha(alpha);
      for (int i = 0; i < 20 && !HasFatalFailure(); ++i) {
        const std::string line = source.Text(1 + random() % 12);
        fresh.Check(line);
        changing.Check(line);
      }
    }
  }
}

TEST_F(FastSegmentationOfOddModels, NeedsInitialize) {
  std::mt19937 random(31);
  RandomSource source(random, Weights::kAny);
  const Knowledge knowledge(source);
  Comparison comparison(knowledge.scorer, knowledge.types, 0.3, 2, false);
  for (const std::string& line : {kWo, kWo + kMen, "("s, ""s}) comparison.Check(line);
  EXPECT_EQ(comparison.lines, 0U) << "each line throws";
}

TEST_F(FastSegmentationOfOddModels, HeedsCharactersOfItsOwn) {
  for (unsigned seed = 61; seed <= 66 && !HasFatalFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    RandomSource source(random, Weights::kAny);
    const Knowledge knowledge(source);
    CharType others;
    SetClasses(source.classes, seed % 2 == 0 ? 0 : 3);
    WriteText("others", Block({}) + Block(source.classes) + Block({}) + Block({}));
    ASSERT_TRUE(others.LoadBinary("others"));
    Comparison comparison(knowledge.scorer, others, 0.3, 2, true);
    CheckLines(comparison, source, random);
  }
}

TEST_F(FastSegmentationOfOddModels, HeedsCharactersThatAreLoadedLast) {
  std::mt19937 random(71);
  RandomSource source(random, Weights::kAny);
  const Knowledge written(source);
  CharType types;
  SegScore scorer(&types);
  Watch("", [&](std::string&, std::string&) {
    scorer.Initialize("data/binarySegLM", "data/binarySegModel");
  });
  ASSERT_TRUE(types.LoadBinary("data/binarySource"));
  Comparison comparison(scorer, types, 0.3, 2, true);
  CheckLines(comparison, source, random);
}

TEST_F(FastSegmentationOfOddModels, HeedsCharactersThatAreReplaced) {
  std::mt19937 random(81);
  RandomSource source(random, Weights::kAny);
  Knowledge knowledge(source);
  SetClasses(source.classes, 3);
  WriteText("others", Block({}) + Block(source.classes) + Block({}) + Block({}));
  CharType others;  // loaded once, as those that they replace
  ASSERT_TRUE(others.LoadBinary("others"));
  knowledge.types = others;
  Comparison comparison(knowledge);
  CheckLines(comparison, source, random);
}

TEST_F(FastSegmentationOfOddModels, HeedsCharactersThatAreGone) {
  std::mt19937 random(82);
  RandomSource source(random, Weights::kAny);
  Knowledge knowledge(source);
  const CharType taken = std::move(knowledge.types);
  Comparison comparison(knowledge);
  CheckLines(comparison, source, random);
  EXPECT_EQ(comparison.Counts().certified, 0U);
}

// A segmenter takes the tags' ids when it is initialized; a scorer in the same place may have
// others.
TEST_F(FastSegmentationOfOddModels, HeedsTagsOfAnotherOrder) {
  std::mt19937 random(83);
  RandomSource source(random, Weights::kAny);
  const Knowledge written(source);
  std::optional<SegScore> scorer;
  const auto load = [&] {
    scorer.emplace(&written.types);
    Watch("", [&](std::string&, std::string&) {
      EXPECT_TRUE(scorer->Initialize("data/binarySegLM", "data/binarySegModel"));
    });
  };
  load();
  Comparison comparison(*scorer, written.types, 0.3, 2, true);
  std::swap(source.me.tags.front(), source.me.tags.back());
  WriteText("data/binarySegModel", source.me.Binary());
  load();
  CheckLines(comparison, source, random);
  EXPECT_EQ(comparison.Counts().certified, 0U);
}

TEST_F(FastSegmentationOfOddModels, HeedsModelsThatFailedToLoad) {
  for (unsigned seed = 91; seed <= 96 && !HasFatalFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    RandomSource source(random, Weights::kAny);
    Knowledge knowledge(source);
    const RandomSource other(random, Weights::kAny);
    WriteText("lm", other.lm.Binary());
    Watch("", [&](std::string&, std::string&) {
      EXPECT_FALSE(knowledge.scorer.Initialize("lm", "missing"));
    });
    Comparison comparison(knowledge);
    CheckLines(comparison, source, random);
    EXPECT_EQ(comparison.Counts().certified, 0U);
  }
}

// The texts of a model that was read half-way are left behind.
TEST_F(FastSegmentationOfOddModels, HeedsFeaturesOfAnEarlierFile) {
  std::mt19937 random(101);
  RandomSource source(random, Weights::kAny);
  const Knowledge written(source);
  const auto features = static_cast<int>(source.me.features.size());
  std::string half = kHeader + I32(features + 50);
  for (int i = 0; i < features + 50; ++i) half += Record("2/x" + std::to_string(i));
  WriteText("half", half + I32(0) + I32(-1));
  CharType types;
  ASSERT_TRUE(types.LoadBinary("data/binarySource"));
  SegScore scorer(&types);
  Watch("", [&](std::string&, std::string&) {
    EXPECT_FALSE(scorer.Initialize("data/binarySegLM", "half"));
    EXPECT_TRUE(scorer.Initialize("data/binarySegLM", "data/binarySegModel"));
  });
  EXPECT_EQ(scorer.Tables(), nullptr);
  Comparison comparison(scorer, types, 0.3, 2, true);
  CheckLines(comparison, source, random);
}

// Two ways of cutting it into pairs, one character apart, have no tag in common anywhere.
TEST_F(FastSegmentation, EqualsPlainDecodingOfOneCharacterRepeated) {
  const Knowledge knowledge(PROJECT_DIR "/data/"s);
  Comparison comparison(knowledge);
  for (const std::string& character : {"\xDC\xA8"s, kWo, "a"s, "1"s}) {
    for (const int length : {63, 64, 65, 300, 20'000}) {
      std::string line;
      for (int i = 0; i < length; ++i) line += character;
      comparison.Check(line);
      comparison.Check(kMen + line + kStop + line);
    }
  }
  EXPECT_GT(comparison.Counts().certified, 0U) << Shown(comparison.Counts());
}

TEST_F(FastSegmentation, LeavesPlainDecodingAlone) {
  std::mt19937 random(41);
  RandomSource source(random, Weights::kDecimals);
  const Knowledge knowledge(source);
  Comparison comparison(knowledge);
  Segmentor other(&knowledge.scorer, &knowledge.types, 0.3, 2);
  other.Initialize();
  for (int i = 0; i < 100 && !HasFatalFailure(); ++i) {
    comparison.Check(source.Text(1 + random() % 20));
    Characters characters;
    SplitCharacters(source.Text(1 + random() % 20), characters);
    const auto decode = [&](Segmentor& segmentor) {
      return Watch("", [&](std::string&, std::string& out) {
        segmentor.RenewLattice(characters);
        segmentor.Viterbi(characters, out);
      });
    };
    ASSERT_EQ(decode(comparison.Fast()), decode(other));
  }
}

TEST_F(FastSegmentation, MayWriteOverTheLine) {
  std::mt19937 random(42);
  RandomSource source(random, Weights::kAny);
  const Knowledge knowledge(source);
  Comparison comparison(knowledge);
  for (int i = 0; i < 50; ++i) {
    const std::string line = kWo + source.Text(1 + random() % 20);
    std::string text = line;
    std::string out;
    comparison.Fast().SegSentence(text, out);
    text = line;
    comparison.Fast().SegSentence(text, text);
    ASSERT_EQ(text, out) << Readable(line);
  }
  EXPECT_GT(comparison.Counts().certified, 0U);
}

TEST_F(FastSegmentation, EqualsPlainDecodingWithTheShippedModels) {
  const std::string project = PROJECT_DIR "/";
  const Knowledge knowledge(project + "data/");
  Comparison comparison(knowledge);
  std::istringstream text(ReadText(project + "examples/chinese.gbk"));
  Characters all;
  for (std::string line; std::getline(text, line) && !HasFatalFailure();) {
    comparison.Check(line);
    Characters characters;
    SplitCharacters(line, characters);
    all.insert(all.end(), characters.begin(), characters.end());
  }
  std::mt19937 random(51);
  for (int i = 0; i < 300 && !HasFatalFailure(); ++i) {
    std::string line;
    for (std::size_t n = 1 + random() % (i % 20 == 0 ? 300 : 30); n > 0; --n) {
      line += all[random() % all.size()];
    }
    comparison.Check(line);
  }
  const PathCounts counts = comparison.Counts();
  std::cout << Shown(counts) << std::endl;
  EXPECT_GT(counts.certified, 9 * Total(counts) / 10) << Shown(counts);
}

}  // namespace
}  // namespace Tolvek
