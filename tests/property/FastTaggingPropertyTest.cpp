// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <sstream>

#include "chinese/PosTagger.h"
#include "common/Globals.h"
#include "english/EngPosTagger.h"
#include "property/Outcome.h"
#include "property/RandomWeight.h"
#include "unit/EngKnowledge.h"
#include "unit/Fixtures.h"
#include "unit/PosKnowledge.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using namespace std::string_literals;

using Words = std::vector<std::string>;

/// All that a tagger knows, before it is written.
struct TagSource {
  MeSource me;
  PosKnowledge::Entries characters;  ///< Chinese only
  PosKnowledge::Entries words;
};

/// The tools of a language, loaded, and how they are called.
class Chinese {
 public:
  using Tagger = PosTagger;
  static constexpr const char* kName = "Chinese";
  static inline const Words kPieces{"1", "x", "/", "B_0", "\xCE", kWo, kMen, kYi, kStop};
  static inline const Words kExamples{"chinese.seg.gbk"};

  static void WriteTables() {
    WriteText("data/binarySource", Block({{kStop, 1}, {"/", 1}, {"B_0", 1}}) +
                                       Block({{"1", 0}, {kYi, 1}, {"x", 3}, {"B", 4}}) + Block({}) +
                                       Block({}));
  }
  static void Write(const TagSource& source) {
    WriteTables();
    WriteText("data/binaryPosModel", source.me.Binary());
    WriteText("data/Dict", Dictionary(source));
  }
  static std::string Dictionary(const TagSource& source) {
    return PosKnowledge::SectionOf(source.characters) + PosKnowledge::SectionOf(source.words);
  }
  bool Load(const std::string& folder) {
    return _types.LoadBinary(folder + "binarySource") &&
           _scorer.Initialize(folder + "binaryPosModel", folder + "Dict");
  }

  template <class Visit>
  void ForEachFeature(std::string_view previous, std::string_view current, std::string_view next,
                      Visit&& visit) const {
    PosScore::ForEachFeature(_types, previous, current, next, visit);
  }
  bool LoadTables() { return _types.LoadBinary("data/binarySource"); }

  /// Reads more characters and another dictionary.
  void Change() {
    WriteText("more", Block({{"x", 1}}) + Block({{kWo, 3}, {"b", 0}}) + Block({}) + Block({}));
    EXPECT_TRUE(_types.LoadBinary("more"));
    EXPECT_TRUE(_scorer.LoadDict("dict"));
  }
  std::unique_ptr<Tagger> MakeTagger(int order) const {
    auto tagger = std::make_unique<Tagger>(&_scorer, order);
    tagger->Initialize();
    return tagger;
  }
  static void Tag(Tagger& tagger, std::string& line, std::string& out, bool /*tokenized*/) {
    tagger.TagSentence(line, out);
  }
  /// What `TagSentence` does before it decodes.
  static void Split(std::string& line, Words& words, bool /*tokenized*/) {
    TrimLine(line);
    words.clear();
    Tagger::SplitLine(line, words);
  }
  std::string TagName(int tag) const { return _scorer.GetPos(tag); }

 private:
  CharType _types;
  PosScore _scorer{&_types};
};

class English {
 public:
  using Tagger = EngPosTagger;
  static constexpr const char* kName = "English";
  static inline const Words kPieces{"1", "x", "/", "B_0", "X", "-", "ed", ".", "\xE9"};
  static inline const Words kExamples{"english.tok.txt", "english.txt"};

  static void WriteTables() {}
  static void Write(const TagSource& source) {
    WriteText("data/abbtitle", TitleList({"!", "(", ")"}, {"Mr", "x"}));
    WriteText("data/binaryEngPosModel", source.me.Binary());
    WriteText("data/EngDict", Dictionary(source));
  }
  static std::string Dictionary(const TagSource& source) {
    return PosKnowledge::SectionOf(source.words);
  }
  bool Load(const std::string& folder) {
    return _tokenizer.Load(folder + "abbtitle") &&
           _scorer.Initialize(folder + "binaryEngPosModel", folder + "EngDict");
  }

  template <class Visit>
  void ForEachFeature(std::string_view previous, std::string_view current, std::string_view next,
                      Visit&& visit) const {
    EngPosScore::ForEachFeature(previous, current, next, visit);
  }
  bool LoadTables() { return true; }

  /// Reads another dictionary.
  void Change() { EXPECT_TRUE(_scorer.LoadDict("dict")); }
  std::unique_ptr<Tagger> MakeTagger(int order) const {
    auto tagger = std::make_unique<Tagger>(order);
    tagger->Initialize(&_tokenizer, &_scorer);
    return tagger;
  }
  static void Tag(Tagger& tagger, std::string& line, std::string& out, bool tokenized) {
    tagger.TagSentence(line, out, tokenized);
  }
  void Split(std::string& line, Words& words, bool tokenized) const {
    std::string tokens = line;
    if (!tokenized) _tokenizer.TokenizeSentence(line, tokens);
    words.clear();
    Tagger::SplitLine(tokens, words);
  }
  std::string TagName(int tag) const { return _scorer.GetPos(tag); }

 private:
  EngToken _tokenizer;
  EngPosScore _scorer;
};

/// A tagger that decodes lines as it likes, beside one that decodes them plainly.
template <class Language>
class Comparison {
 public:
  explicit Comparison(const std::string& folder = "data/", int order = 2) {
    Load(folder);
    SetOrder(order);
  }

  /// Puts other knowledge in the place of what there is; the fast tagger stays.
  void Replace() {
    _language.emplace();
    Load("data/");
    _plain = _language->MakeTagger(2);
  }

  /// New taggers over the same knowledge.
  void SetOrder(int order) {
    _fast = _language->MakeTagger(order);
    _plain = _language->MakeTagger(order);
    lines = thrown = blank = untagged = 0;
  }

  void Check(const std::string& line, bool tokenized = true) {
    const Outcome fast = Watch(line, [&](std::string& text, std::string& out) {
      _language->Tag(*_fast, text, out, tokenized);
    });
    const Outcome plain = Watch(line, [&](std::string& text, std::string& out) {
      _language->Split(text, _words, tokenized);
      _plain->RenewLattice(_words);
      _plain->Viterbi(_tags);
      out.clear();
      for (std::size_t i = 0; i < _words.size(); ++i) {
        out += _words[i] + "/" + _language->TagName(_tags[i]) + " ";
      }
    });
    ASSERT_EQ(fast, plain) << "line \"" << Readable(line) << "\", " << Shown(Counts());
    ++(_words.empty() ? blank : plain.exception.empty() ? lines : thrown);
    untagged += !plain.messages.empty();
    ASSERT_GE(Total(Counts()), lines);
    ASSERT_LE(Total(Counts()), lines + thrown + blank) << "each line is counted once";
  }

  Language& Knowledge() { return *_language; }
  typename Language::Tagger& Fast() { return *_fast; }
  typename Language::Tagger& Plain() { return *_plain; }
  PathCounts Counts() const { return _fast->Counts(); }

  std::size_t lines = 0;  ///< tagged
  std::size_t thrown = 0;
  std::size_t blank = 0;
  std::size_t untagged = 0;  ///< lines without a path

 private:
  void Load(const std::string& folder) {
    const Outcome loading = Watch(
        "", [&](std::string&, std::string& text) { text = _language->Load(folder) ? "true" : ""; });
    EXPECT_EQ(loading.text, "true") << loading;
  }

  std::optional<Language> _language{std::in_place};
  std::unique_ptr<typename Language::Tagger> _fast;
  std::unique_ptr<typename Language::Tagger> _plain;
  Words _words;
  std::vector<int> _tags;
};

/// What is random of a knowledge.
struct Kind {
  Weights weights = Weights::kAny;
  bool brokenRows = false;  ///< unknown and missing tags
  bool oddNames = false;    ///< tags of the same name, or of that of the sentence's begin
};

/// Random knowledge of a few words, dense enough that most features of a text are known.
template <class Language>
class RandomSource : public TagSource {
 public:
  RandomSource(std::mt19937& random, const Kind& kind) : _random(random), _kind(kind) {
    MakeWords();
    static constexpr int kSizes[] = {1, 2, 3, 4, 5, 8, 12, 30, 31, 33, 40};
    _tagCount = kSizes[_random() % std::size(kSizes)];
    for (int i = 0; i < _tagCount; ++i) me.tags.push_back("t" + std::to_string(i));
    if (_kind.oddNames) me.tags[_random() % me.tags.size()] = "B_0";
    if (_kind.oddNames) me.tags[_random() % me.tags.size()] = OneIn(2) ? "t0" : "";
    MakeModel();
    MakeDictionary();
  }

  /// Words between white space of all kinds.
  std::string Text(std::size_t length) {
    static const Words kBlanks{" ", " ", " ", "  ", "\t", "\v", "\f", " \r"};
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
      const bool isNew = OneIn(12);
      text += isNew ? RandomWord() : PickOf(alphabet);
      text += PickOf(kBlanks);
    }
    if (length > 0 && !OneIn(4)) text.pop_back();
    return text;
  }

  Words alphabet;

 private:
  template <class Items>
  const typename Items::value_type& PickOf(const Items& from) {
    return from[_random() % from.size()];
  }
  bool OneIn(unsigned n) { return _random() % n == 0; }
  double Weight() { return RandomWeight(_random, _kind.weights); }

  std::string RandomWord() {
    std::string word;
    for (std::size_t more = 1 + (OneIn(10) ? 40 : _random() % 5); more > 0; --more) {
      word += PickOf(Language::kPieces);
    }
    return word;
  }

  void MakeWords() {
    // Among them pairs that read alike with a slash between: (a, b/c) and (a/b, c).
    static const Words kFixed{"a",   "b",  "c",    "a/b", "b/c", "a/b/c", "/",   "//",
                              "/a",  "b/", "B_0",  "E_0", "B_1", "0",     "0/B", "B_0/E_0",
                              "S/1", "t0", "0/t0", "M/x", "1",   "2/a",   "-",   "A"};
    for (std::size_t n = 2 + _random() % 3; n > 0; --n) alphabet.push_back(PickOf(kFixed));
    for (std::size_t n = 1 + _random() % 3; n > 0; --n) alphabet.push_back(RandomWord());
    if (OneIn(4)) alphabet.insert(alphabet.end(), {"a", "a/b", "b/c", "c"});
  }

  void MakeModel() {
    Language::WriteTables();
    Language language;
    ASSERT_TRUE(language.LoadTables());
    std::set<std::string> texts;
    for (std::size_t previous = 0; previous <= alphabet.size(); ++previous) {
      for (const std::string& current : alphabet) {
        for (std::size_t next = 0; next <= alphabet.size(); ++next) {
          language.ForEachFeature(
              previous < alphabet.size() ? alphabet[previous] : "B_0", current,
              next < alphabet.size() ? alphabet[next] : "E_0",
              [&](std::string_view text, double) { texts.insert(std::string(text)); });
        }
      }
    }
    // Texts of no context.
    for (const char* text :
         {"",      "/",    "1",     "1/",      "4/a",  "4//",  "4/",    "2/",     "3/B_0",
          "1/E_0", "7//x", "9/M/2", "11/S/55", "15/2", "18/0", "0/",    "0/E_0",  "0/t",
          "0/t99", "0",    "7/M/",  "6/E_0/",  "5//",  "10/M", "10/S/", "11/M/5", "7/S/\xCE"}) {
      texts.insert(text);
    }
    if (!OneIn(6)) texts.insert("0/B_0");
    for (const std::string& tag : me.tags) {
      if (!OneIn(4)) texts.insert("0/" + tag);
    }
    const auto density = PickOf(std::vector<unsigned>{3, 8, 15});
    // Where the tag before weighs much, paths from the far end of the beam may win.
    const double most = _kind.weights == Weights::kAny && OneIn(3) ? 6 : 1;
    for (const std::string& text : texts) {
      const bool ofTags = text.starts_with("0/");
      if (ofTags || _random() % 16 < density) AddFeature(text, ofTags, ofTags ? most : 1);
    }
    if (OneIn(4)) AddFeature("2/" + alphabet[0], false, 1);  // its second list is never used
    me.Add("unused", {{0, "1"}});                            // a binary model needs a parameter
  }

  void AddFeature(const std::string& text, bool ofTags, double factor) {
    std::vector<int> tags;
    for (int tag = 0; tag < _tagCount; ++tag) {
      if (!OneIn(ofTags ? 6 : 2)) tags.push_back(tag);
    }
    std::shuffle(tags.begin(), tags.end(), _random);
    if (!ofTags) tags.resize(std::min<std::size_t>(tags.size(), 6));
    std::vector<std::pair<int, std::string>> parameters;
    for (const int tag : tags) parameters.emplace_back(tag, Number(factor * Weight()));
    me.Add(text, parameters);
  }

  void MakeDictionary() {
    for (const std::string& word : alphabet) {
      if (!OneIn(3)) words.emplace_back(word, Row());
    }
    if (OneIn(4)) words.emplace_back(alphabet.back(), Row());  // a key that may repeat
    if (OneIn(4)) words.emplace_back("B_0", Row());
    for (const std::string& piece : Language::kPieces) {
      if (OneIn(2)) characters.emplace_back(piece, Row());
    }
    std::shuffle(words.begin(), words.end(), _random);
  }

  /// The tags of an entry, in any order; rarely one of them more than once.
  std::string Row() {
    if (_kind.brokenRows && OneIn(6)) return "";
    if (_kind.brokenRows && OneIn(8)) return OneIn(2) ? "nosuchtag t0" : "t0 nosuchtag";
    std::string row;
    const std::size_t most = OneIn(5) ? 45 : 4;
    for (std::size_t n = OneIn(3) ? 1 : 1 + _random() % most; n > 0; --n) {
      const std::string tag = " t" + std::to_string(_random() % static_cast<unsigned>(_tagCount));
      if (!OneIn(40) && (row + " ").find(tag + " ") != row.npos) continue;
      row += tag;
    }
    return row;
  }

  std::mt19937& _random;
  Kind _kind;
  int _tagCount = 0;
};

/// A change that makes a model unusual.
struct Oddity {
  const char* name;
  std::function<void(TagSource&)> change;
};

void SetWeights(TagSource& source, const std::string& value) {
  for (std::size_t i = 0; i < source.me.values.size(); i += 5) source.me.values[i] = value;
}

/// Changes that no fast path serves.
const std::vector<Oddity> kOddModels{
    {"huge weights", [](TagSource& s) { SetWeights(s, "1e300"); }},
    {"infinite weights", [](TagSource& s) { SetWeights(s, "inf"); }},
    {"weights of minus infinity", [](TagSource& s) { SetWeights(s, "-inf"); }},
    {"weights that are no number", [](TagSource& s) { SetWeights(s, "nan"); }},
};

/// Changes that a fast path may serve.
const std::vector<Oddity> kRareModels{
    {"features that list tags twice",
     [](TagSource& s) {
       for (std::vector<int>& list : s.me.lists) {
         for (int& tag : list) tag /= 2;
       }
     }},
    {"parameters of no tag",
     [](TagSource& s) {
       for (std::size_t i = 0; i < s.me.lists.size(); i += 9) s.me.lists[i].assign(2, 40);
     }},
    {"parameters of tag -1",
     [](TagSource& s) {
       for (std::size_t i = 0; i < s.me.lists.size(); i += 9) s.me.lists[i].assign(2, -1);
     }},
    {"parameters without values",
     [](TagSource& s) { s.me.values.resize((s.me.values.size() + 1) / 2); }},
    {"no features",
     [](TagSource& s) {
       s.me.features.clear();
       s.me.lists.clear();
     }},
    {"no tags", [](TagSource& s) { s.me.tags.clear(); }},
    {"tags without lists", [](TagSource& s) { s.me.tags.emplace_back("new"); }},
    {"no words", [](TagSource& s) { s.words.clear(); }},
    {"no characters", [](TagSource& s) { s.characters.clear(); }},
    {"no dictionary",
     [](TagSource& s) {
       s.words.clear();
       s.characters.clear();
     }},
    {"words without tags",
     [](TagSource& s) {
       for (std::size_t i = 0; i < s.words.size(); i += 2) s.words[i].second.clear();
     }},
    {"tags that repeat",
     [](TagSource& s) {
       for (auto& [word, row] : s.words) row = "t0 t0 t1 " + row + " t1";
     }},
    {"unknown tags",
     [](TagSource& s) {
       for (std::size_t i = 0; i < s.words.size(); i += 2) s.words[i].second += " nosuchtag";
     }},
    {"unknown tags of characters",
     [](TagSource& s) {
       for (auto& [character, row] : s.characters) row = "nosuchtag" + row;
     }},
    {"tags that no row lists",
     [](TagSource& s) {
       for (std::string& tag : s.me.tags) tag = "other";
     }},
    {"repeated keys",
     [](TagSource& s) {
       auto entries = s.words;
       s.words.insert(s.words.begin(), entries.rbegin(), entries.rend());
     }},
};

template <class Language>
class FastTagging : public Scratch {
 protected:
  /// Random models of a kind, and random lines; the sum of what served them.
  PathCounts CheckRandom(const Kind& kind, unsigned first, unsigned last) {
    PathCounts sum;
    for (unsigned seed = first; seed <= last && !HasFatalFailure(); ++seed) {
      SCOPED_TRACE("seed " + std::to_string(seed));
      std::mt19937 random(seed);
      RandomSource<Language> source(random, kind);
      Language::Write(source);
      Comparison<Language> comparison;
      for (int i = 0; i < 30 && !HasFatalFailure(); ++i) {
        const std::string line = source.Text(1 + random() % (i == 0 ? 40 : i < 15 ? 3 : 10));
        comparison.Check(line, i % 4 != 0);
      }
      sum += comparison.Counts();
      _untagged += comparison.untagged;
      _thrown += comparison.thrown;
    }
    std::cout << Shown(sum) << std::endl;
    return sum;
  }

  /// Lines of a random model with a change.
  void CheckOdd(const Oddity& oddity, unsigned seed, bool isServedPlainly) {
    SCOPED_TRACE(oddity.name + ", seed "s + std::to_string(seed));
    std::mt19937 random(seed);
    RandomSource<Language> source(random, {});
    oddity.change(source);
    Language::Write(source);
    Comparison<Language> comparison;
    for (int i = 0; i < 30 && !HasFatalFailure(); ++i) {
      comparison.Check(source.Text(1 + random() % (i < 20 ? 4 : 12)));
    }
    if (!isServedPlainly) return;
    EXPECT_EQ(comparison.Counts().certified, 0U) << Shown(comparison.Counts());
    EXPECT_EQ(comparison.Counts().exact, 0U) << Shown(comparison.Counts());
  }

  std::size_t _untagged = 0;
  std::size_t _thrown = 0;
};

struct LanguageName {
  template <class Language>
  static std::string GetName(int) {
    return Language::kName;
  }
};
using Languages = testing::Types<Chinese, English>;
TYPED_TEST_SUITE(FastTagging, Languages, LanguageName);

TYPED_TEST(FastTagging, EqualsPlainDecodingWhereScoresDiffer) {
  const PathCounts counts = this->CheckRandom({Weights::kAny}, 1, 100);
  EXPECT_GT(counts.certified, Total(counts) / 2) << Shown(counts);
}

TYPED_TEST(FastTagging, EqualsPlainDecodingWhereScoresTie) {
  PathCounts counts = this->CheckRandom({Weights::kFew}, 1001, 1060);
  counts += this->CheckRandom({Weights::kDecimals}, 1101, 1160);
  EXPECT_GT(counts.certified, 0U) << Shown(counts);
  EXPECT_GT(counts.exact + counts.plain, 0U) << Shown(counts);
}

TYPED_TEST(FastTagging, EqualsPlainDecodingWhereScoresNearlyTie) {
  const PathCounts counts = this->CheckRandom({Weights::kNear}, 2001, 2100);
  EXPECT_GT(counts.certified, 0U) << Shown(counts);
  EXPECT_GT(counts.exact + counts.plain, 0U) << Shown(counts);
}

/// Replaces the model by one in which all tags are equally good, were it not for rounding.
void LetRoundingDecide(TagSource& source, const Words& words, std::mt19937& random) {
  const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
  MeSource me;
  const int tags = 2 + below(3);
  for (int tag = 0; tag < tags; ++tag) me.tags.push_back("t" + std::to_string(tag));
  const auto add = [&](const std::string& feature, auto weightOf) {
    const int offset = below(1000);  // the same for all tags
    std::vector<std::pair<int, std::string>> parameters;
    for (int tag = 0; tag < tags; ++tag) {
      parameters.emplace_back(
          tag, std::to_string(weightOf(static_cast<std::size_t>(tag)) + offset) + "e-3");
    }
    me.Add(feature, parameters);
  };
  // Three features of every word; what the first two have of a tag, the third lacks.
  std::vector<int> first;
  std::vector<int> second;
  for (int tag = 0; tag < tags; ++tag) {
    first.push_back(below(900));
    second.push_back(below(900));
  }
  for (const std::string& word : words) {
    add("1/" + word, [](std::size_t) { return 0; });
    add("2/" + word, [&](std::size_t tag) { return first[tag]; });
    add("3/" + word, [&](std::size_t tag) { return second[tag]; });
  }
  add("3/E_0", [&](std::size_t tag) { return second[tag]; });
  Words before = me.tags;
  before.push_back("B_0");
  for (const std::string& tag : before) {
    add("0/" + tag, [&](std::size_t next) { return 3000 - 2 * first[next] - second[next]; });
  }
  source.me = me;
  source.characters.clear();
  source.words.clear();
}

TYPED_TEST(FastTagging, EqualsPlainDecodingWhereRoundingDecides) {
  PathCounts sum;
  for (unsigned seed = 1201; seed <= 1260 && !this->HasFatalFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    RandomSource<TypeParam> source(random, {});
    LetRoundingDecide(source, source.alphabet, random);
    TypeParam::Write(source);
    Comparison<TypeParam> comparison;
    for (int i = 0; i < 40 && !this->HasFatalFailure(); ++i) {
      std::string line;
      for (std::size_t n = 1 + random() % (i == 0 ? 50 : 3); n > 0; --n) {
        line += source.alphabet[random() % source.alphabet.size()] + " ";
      }
      comparison.Check(line);
    }
    sum += comparison.Counts();
  }
  std::cout << Shown(sum) << std::endl;
  EXPECT_LT(sum.certified, Total(sum) / 20) << Shown(sum);
}

TYPED_TEST(FastTagging, EqualsPlainDecodingWhereLongSumsDecide) {
  PathCounts sum;
  for (unsigned seed = 1301; seed <= 1340 && !this->HasFatalFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    RandomSource<TypeParam> source(random, {Weights::kNear});
    // A word of one tag that adds much to each score.
    source.words.emplace_back("only", "t0");
    source.me.features.insert(source.me.features.begin(), "2/only");
    source.me.lists.insert(source.me.lists.begin(), {0});
    source.me.values.insert(source.me.values.begin(), "-7");
    TypeParam::Write(source);
    Comparison<TypeParam> comparison;
    for (int i = 0; i < 5 && !this->HasFatalFailure(); ++i) {
      const int before = static_cast<int>(500 + random() % 1000);
      comparison.Check(Repeat("only ", before) + source.Text(1 + random() % 3));
    }
    sum += comparison.Counts();
  }
  std::cout << Shown(sum) << std::endl;
}

TYPED_TEST(FastTagging, EqualsPlainDecodingWhereLongSumsHideDifferences) {
  PathCounts sum;
  std::mt19937 random(1401);
  TypeParam::WriteTables();
  for (int i = 0; i < 30 && !this->HasFatalFailure(); ++i) {
    // One tag of the last word is better by less than the sum before it can show.
    const double weight = std::uniform_real_distribution<double>(-1, 1)(random);
    const double more = std::pow(10, std::uniform_real_distribution<double>(-12.5, -11)(random));
    TagSource source;
    source.me.tags = {"t0", "t1", "t2"};
    source.me.Add("2/only", {{0, "-4.5"}});
    source.me.Add("2/x", {{0, Number(weight)}, {1, Number(weight + more)}, {2, "0.3"}});
    source.words = {{"only", "t0"}, {"x", "t0 t1"}};
    TypeParam::Write(source);
    Comparison<TypeParam> comparison;
    comparison.Check(Repeat("only ", static_cast<int>(4000 + random() % 4000)) + "x");
    sum += comparison.Counts();
  }
  std::cout << Shown(sum) << std::endl;
  EXPECT_GT(sum.plain, 0U) << Shown(sum);
}

TYPED_TEST(FastTagging, EqualsPlainDecodingWhereWeightsAreLarge) {
  const PathCounts counts = this->CheckRandom({Weights::kHigh}, 3001, 3040);
  EXPECT_GT(counts.certified, 0U) << Shown(counts);
  this->CheckRandom({Weights::kWide}, 3101, 3140);
}

TYPED_TEST(FastTagging, EqualsPlainDecodingOfBrokenRows) {
  this->CheckRandom({Weights::kAny, true, false}, 6001, 6060);
  this->CheckRandom({Weights::kFew, true, false}, 6101, 6130);
  EXPECT_GT(this->_untagged, 0U);
  EXPECT_GT(this->_thrown, 0U);
}

TYPED_TEST(FastTagging, EqualsPlainDecodingOfTagsWithOddNames) {
  this->CheckRandom({Weights::kAny, false, true}, 7001, 7040);
  this->CheckRandom({Weights::kDecimals, true, true}, 7101, 7120);
}

TYPED_TEST(FastTagging, CertifiesNoTie) {
  for (unsigned seed = 1; seed <= 12 && !this->HasFatalFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    RandomSource<TypeParam> source(random, {Weights::kZero});
    if (source.me.tags.size() < 2) continue;
    source.words.clear();
    source.characters.clear();
    TypeParam::Write(source);
    Comparison<TypeParam> comparison;
    for (std::size_t length = 1; length < 12 && !this->HasFatalFailure(); ++length) {
      comparison.Check(source.Text(length));
    }
    EXPECT_EQ(comparison.Counts().certified, 0U) << Shown(comparison.Counts());
  }
  this->CheckRandom({Weights::kZero}, 4001, 4010);
}

/// Every sequence of the words, up to a length.
template <class Language>
void CheckSequences(Comparison<Language>& comparison, const Words& words, int length,
                    const std::string& begin = "") {
  if (testing::Test::HasFatalFailure()) return;
  comparison.Check(begin);
  if (length == 0) return;
  for (const std::string& word : words) {
    CheckSequences(comparison, words, length - 1, begin + " " + word);
  }
}

TYPED_TEST(FastTagging, EqualsPlainDecodingOnEveryShortLine) {
  for (const unsigned seed : {1U, 3U, 8U, 10U}) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    RandomSource<TypeParam> source(random, {seed < 5 ? Weights::kAny : Weights::kDecimals});
    TypeParam::Write(source);
    Comparison<TypeParam> comparison;
    Words words = source.alphabet;
    for (const char* word : {"a", "a/b", "b/c", "c", "B_0", "E_0", "new"}) words.push_back(word);
    words.resize(9);
    CheckSequences(comparison, words, 3);
    EXPECT_GT(comparison.Counts().certified, 0U) << Shown(comparison.Counts());
  }
}

TYPED_TEST(FastTagging, EqualsPlainDecodingOnLongLines) {
  unsigned seed = 5000;
  for (const Weights weights : {Weights::kAny, Weights::kNear, Weights::kDecimals}) {
    for (const std::size_t length : {4'000U, 400U}) {
      SCOPED_TRACE("seed " + std::to_string(++seed));
      std::mt19937 random(seed);
      RandomSource<TypeParam> source(random, {weights});
      TypeParam::Write(source);
      Comparison<TypeParam> comparison;
      comparison.Check(source.Text(length));
      comparison.Check(source.Text(3));  // what a long line leaves behind
      if (this->HasFatalFailure()) return;
    }
  }
}

TYPED_TEST(FastTagging, ServesOddModelsPlainly) {
  for (const Oddity& oddity : kOddModels) {
    for (unsigned seed = 1; seed <= 4 && !this->HasFatalFailure(); ++seed) {
      this->CheckOdd(oddity, seed, true);
    }
  }
}

TYPED_TEST(FastTagging, EqualsPlainDecodingOfRareModels) {
  for (const Oddity& oddity : kRareModels) {
    for (unsigned seed = 1; seed <= 8 && !this->HasFatalFailure(); ++seed) {
      this->CheckOdd(oddity, seed, false);
    }
  }
}

TYPED_TEST(FastTagging, HeedsOrder) {
  for (unsigned seed = 11; seed <= 14; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    RandomSource<TypeParam> source(random, {});
    TypeParam::Write(source);
    Comparison<TypeParam> comparison;
    for (const int order : {-1, 0, 1, 3, 4}) {
      comparison.SetOrder(order);
      for (int i = 0; i < 10 && !this->HasFatalFailure(); ++i) {
        // Little merges where the order is high.
        comparison.Check(source.Text(1 + random() % (order > 2 ? 3 : 10)));
      }
      EXPECT_EQ(comparison.Counts().plain, comparison.lines) << "order " << order;
    }
  }
}

TYPED_TEST(FastTagging, LeavesPlainDecodingAlone) {
  std::mt19937 random(41);
  RandomSource<TypeParam> source(random, {Weights::kDecimals});
  TypeParam::Write(source);
  Comparison<TypeParam> comparison;
  for (int i = 0; i < 60 && !this->HasFatalFailure(); ++i) {
    comparison.Check(source.Text(1 + random() % 8));
    Words words;
    TypeParam::Tagger::SplitLine(source.Text(random() % 8), words);
    std::vector<int> tags{-7};
    std::vector<int> expected;
    comparison.Fast().RenewLattice(words);
    comparison.Fast().Viterbi(tags);
    comparison.Plain().RenewLattice(words);
    comparison.Plain().Viterbi(expected);
    ASSERT_EQ(tags, expected);
  }
}

TYPED_TEST(FastTagging, MayWriteOverTheLine) {
  std::mt19937 random(42);
  RandomSource<TypeParam> source(random, {});
  TypeParam::Write(source);
  Comparison<TypeParam> comparison;
  for (int i = 0; i < 50; ++i) {
    const std::string line = source.Text(1 + random() % 6);
    std::string text = line;
    std::string out;
    comparison.Knowledge().Tag(comparison.Fast(), text, out, true);
    text = line;
    comparison.Knowledge().Tag(comparison.Fast(), text, text, true);
    ASSERT_EQ(text, out) << Readable(line);
  }
  EXPECT_GT(comparison.Counts().certified, 0U);
}

TYPED_TEST(FastTagging, HeedsKnowledgeThatIsLoadedLast) {
  for (unsigned seed = 61; seed <= 72 && !this->HasFatalFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    RandomSource<TypeParam> source(random, {});
    TypeParam::Write(source);
    Comparison<TypeParam> comparison;
    RandomSource<TypeParam> more(random, {});
    TagSource other;
    for (const std::string& word : source.alphabet) other.words.emplace_back(word, "t0");
    for (const std::string& word : more.alphabet) other.words.emplace_back(word, "t0");
    for (int i = 0; i < 40 && !this->HasFatalFailure(); ++i) {
      if (i == 20) {
        WriteText("dict", TypeParam::Dictionary(other));
        comparison.Knowledge().Change();
      }
      comparison.Check(source.Text(1 + random() % 5));
    }
  }
}

// Of equally good ways to a tag the search keeps each one that comes from another tag, and so more
// states than there are tags: here 36 are ahead of the only one that the last words would choose.
TYPED_TEST(FastTagging, EqualsPlainDecodingWhereTiesFillTheBeam) {
  TagSource source;
  for (int i = 0; i < 6; ++i) source.me.tags.push_back("t" + std::to_string(i));
  source.me.tags.emplace_back("w");
  source.me.Add("2/A", {{6, "-0.5"}});
  source.me.Add("2/B", {{6, "-4"}});
  source.me.Add("0/w", {{6, "8"}});
  TypeParam::Write(source);
  Comparison<TypeParam> comparison;
  for (const char* line : {"A B C D", "A B C", "A B", "B A C", "C A B D E F", "A B A B C D E"}) {
    comparison.Check(line);
  }
  EXPECT_GT(comparison.Counts().plain, 0U) << Shown(comparison.Counts());
}

// The state that the only best way to a tag comes from may itself be cut.
TYPED_TEST(FastTagging, EqualsPlainDecodingWhereTiesFollowUponACut) {
  TagSource source;
  for (int i = 0; i < 10; ++i) source.me.tags.push_back("t" + std::to_string(i));
  source.me.Add("2/b", {{6, "-0.4"}, {7, "-0.1"}});
  source.me.Add("2/c", {{8, "-0.5"}});
  source.me.Add("0/t0", {{6, "1"}});
  source.me.Add("0/t6", {{8, "1"}, {9, "1"}});
  source.me.Add("0/t7", {{0, "6"}, {1, "6"}, {2, "6"}, {3, "6"}, {4, "6"}, {5, "6"}});
  source.me.Add("0/t8", {{9, "8"}});
  source.words = {{"a", "t0 t1 t2 t3 t4 t5"},
                  {"b", "t0 t1 t2 t3 t4 t5 t6 t7"},
                  {"c", "t0 t1 t2 t3 t4 t5 t8"},
                  {"d", "t9 t0"}};
  TypeParam::Write(source);
  Comparison<TypeParam> comparison;
  for (const char* line : {"a b c d", "a b c", "a b", "b c d", "a a b c d"}) {
    comparison.Check(line);
  }
}

// The same at random: few features, all other tags tied.
TYPED_TEST(FastTagging, EqualsPlainDecodingOfManyTies) {
  PathCounts sum;
  for (unsigned seed = 1; seed <= 150 && !this->HasFatalFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&](unsigned n) { return static_cast<int>(random() % n); };
    const auto weight = [&](double unit) { return Number(unit * (below(17) - 8)); };
    TagSource source;
    const int tags = 5 + below(6);
    for (int i = 0; i < tags; ++i) source.me.tags.push_back("t" + std::to_string(i));
    const int rare = below(static_cast<unsigned>(tags));
    for (const char* word : {"A", "B", "C"}) {
      if (below(4) > 0) source.me.Add("2/"s + word, {{rare, weight(0.5)}});
    }
    source.me.Add("0/t" + std::to_string(rare), {{rare, weight(1)}});
    if (below(2) == 0) source.me.Add("0/t0", {{below(2), weight(1)}});
    TypeParam::Write(source);
    Comparison<TypeParam> comparison;
    for (int i = 0; i < 6 && !this->HasFatalFailure(); ++i) {
      std::string line;
      for (int n = 2 + below(5); n > 0; --n) line += "ABCD"s[random() % 4] + " "s;
      comparison.Check(line);
    }
    sum += comparison.Counts();
  }
  EXPECT_GT(sum.plain, 0U);
  std::cout << Shown(sum) << std::endl;
}

// Words that may have more tags than the beam is wide: some are cut, at times between equals, and
// weights of tags before bring back low ones.
TYPED_TEST(FastTagging, EqualsPlainDecodingOfMoreTagsThanTheBeam) {
  PathCounts sum;
  for (unsigned seed = 1; seed <= 60 && !this->HasFatalFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    TagSource source;
    const int tags = 31 + below(20);
    for (int i = 0; i < tags; ++i) source.me.tags.push_back("t" + std::to_string(i));
    const auto addWeights = [&](const std::string& feature, int of) {
      std::vector<std::pair<int, std::string>> weights;
      for (int tag = 0; tag < tags; ++tag) {
        if (below(10) < of) weights.emplace_back(tag, Number(0.01 * (below(401) - 200)));
      }
      if (!weights.empty()) source.me.Add(feature, weights);
    };
    for (const char* word : {"A", "B", "C"}) addWeights("2/"s + word, 6 + below(5));
    for (int i = below(8); i > 0; --i) {
      source.me.Add("0/t" + std::to_string(i), {{below(tags), Number(2.0 * below(6))}});
      addWeights("0/t" + std::to_string(i + 10), 3);
    }
    source.words = {{"D", "t1"}, {"E", "t2 t30 t5"}};
    TypeParam::Write(source);
    Comparison<TypeParam> comparison;
    for (int i = 0; i < 20 && !this->HasFatalFailure(); ++i) {
      std::string line;
      for (int n = 1 + below(i == 0 ? 300 : 8); n > 0; --n) {
        line += "ABCABCDE"s[static_cast<std::size_t>(below(8))] + " "s;
      }
      comparison.Check(line);
    }
    sum += comparison.Counts();
  }
  EXPECT_GT(sum.certified, 100U) << Shown(sum);
  EXPECT_GT(sum.plain, 10U) << Shown(sum);
  std::cout << Shown(sum) << std::endl;
}

// Each has as many readings as slashes.
TYPED_TEST(FastTagging, ServesModelsOfManySlashesPlainly) {
  for (const int features : {20, 150}) {
    TagSource source;
    for (int i = 0; i < 1024; ++i) source.me.tags.push_back("t" + std::to_string(i));
    source.me.Add("2/A", {{3, "0.5"}});
    std::vector<std::pair<int, std::string>> parameters;
    for (int tag = 0; tag < 1024; ++tag) parameters.emplace_back(tag, "0.001");
    std::string slashes;
    for (int i = 0; i < 120; ++i) slashes += "a/";
    for (int i = 0; i < features; ++i) {
      source.me.Add("4/" + slashes + std::to_string(i), parameters);
    }
    source.words = {{"A", "t2 t3"}, {"B", "t7"}};
    TypeParam::Write(source);
    Comparison<TypeParam> comparison;
    comparison.Check("A B A A B");
    EXPECT_EQ(comparison.Counts().plain, features == 20 ? 0U : 1U) << features;
  }
}

TYPED_TEST(FastTagging, ServesModelsOfLongFeaturesPlainly) {
  for (const std::size_t length : {std::size_t{250}, std::size_t{5'000}}) {
    TagSource source;
    source.me.tags = {"x", "y"};
    source.me.Add("2/A", {{1, "0.5"}});
    std::string slashes = "4/";
    while (slashes.size() < length) slashes += "a/";
    source.me.Add(slashes + "b", {{0, "1"}});
    TypeParam::Write(source);
    // The binary form has no longer texts than of 256 bytes.
    for (const char* name : {"data/binaryPosModel", "data/binaryEngPosModel"}) {
      WriteText(name, source.me.Text());
    }
    Comparison<TypeParam> comparison;
    comparison.Check("A A");
    EXPECT_EQ(comparison.Counts().plain, length == 250 ? 0U : 1U) << length;
  }
}

TYPED_TEST(FastTagging, HeedsKnowledgeThatFailedToLoad) {
  for (unsigned seed = 91; seed <= 96 && !this->HasFatalFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    RandomSource<TypeParam> source(random, {});
    TypeParam::Write(source);
    Comparison<TypeParam> comparison;
    RandomSource<TypeParam> other(random, {});
    TypeParam::Write(other);
    std::filesystem::remove("data/Dict");
    std::filesystem::remove("data/EngDict");
    Watch("",
          [&](std::string&, std::string&) { EXPECT_FALSE(comparison.Knowledge().Load("data/")); });
    for (int i = 0; i < 20 && !this->HasFatalFailure(); ++i) {
      comparison.Check((i % 2 == 0 ? source : other).Text(1 + random() % 6));
    }
  }
}

TYPED_TEST(FastTagging, HeedsKnowledgeThatTookThePlaceOfOther) {
  for (unsigned seed = 97; seed <= 102 && !this->HasFatalFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::optional<RandomSource<TypeParam>> source;
    source.emplace(random, Kind{});
    TypeParam::Write(*source);
    Comparison<TypeParam> comparison;
    for (int i = 0; i < 40 && !this->HasFatalFailure(); ++i) {
      if (i % 10 == 9) {
        const Words known = source->alphabet;
        source.emplace(random, Kind{});
        TypeParam::Write(*source);
        source->alphabet.insert(source->alphabet.end(), known.begin(), known.end());
        comparison.Replace();
      }
      comparison.Check(source->Text(1 + random() % 6));
    }
  }
}

// With so many tags, what is kept of words is full after some 4,000 of them.
TYPED_TEST(FastTagging, EqualsPlainDecodingOfManyWords) {
  static constexpr std::size_t kWords = 12000;
  static constexpr int kTags = 1000;
  std::mt19937 random(81);
  RandomSource<TypeParam> source(random, {});
  const auto firstTag = static_cast<int>(source.me.tags.size());
  const auto name = [](int tag) { return "more" + std::to_string(tag); };
  for (int tag = 0; tag < kTags; ++tag) source.me.tags.push_back(name(tag));
  const auto word = [](std::size_t number) { return "w" + std::to_string(number); };
  for (std::size_t i = 0; i < kWords; ++i) {
    // One or two of the tags. Of two the word by itself prefers one.
    const int tag = static_cast<int>(i) % kTags;
    const int other = (7 * tag + 1) % kTags;
    source.words.emplace_back(word(i), name(tag) + (i % 3 == 0 ? " " + name(other) : ""));
    if (i % 3 == 0) source.me.Add("2/" + word(i), {{firstTag + (i % 2 == 0 ? tag : other), "0.5"}});
  }
  TypeParam::Write(source);
  Comparison<TypeParam> comparison;
  // Some words are met often, most of them rarely; later all of them at least twice.
  for (int i = 0; i < 3000 && !this->HasFatalFailure(); ++i) {
    std::string line = i % 100 == 0 ? source.Text(1) + " " : "";
    for (int n = 0; n < 10; ++n) line += word(random() % (random() % 3 == 0 ? 40 : kWords)) + " ";
    comparison.Check(line);
    if (i >= 2000) comparison.Check(line);
  }
  // Each word prefers one tag, if its own factors are there.
  EXPECT_GT(comparison.Counts().certified, comparison.lines * 9 / 10) << Shown(comparison.Counts());
  std::cout << Shown(comparison.Counts()) << std::endl;
}

TYPED_TEST(FastTagging, EqualsPlainDecodingWithTheShippedModels) {
  const std::string project = PROJECT_DIR "/";
  Comparison<TypeParam> comparison(project + "data/");
  Words all;
  for (const std::string& name : TypeParam::kExamples) {
    std::istringstream text(ReadText(project + "examples/" + name));
    for (std::string line; std::getline(text, line) && !this->HasFatalFailure();) {
      comparison.Check(line, &name == &TypeParam::kExamples.front());
      TypeParam::Tagger::SplitLine(line, all);
    }
  }
  std::mt19937 random(51);
  for (int i = 0; i < 150 && !this->HasFatalFailure(); ++i) {
    std::string line;
    for (std::size_t n = 1 + random() % (i % 20 == 0 ? 100 : 12); n > 0; --n) {
      // Words of one character or byte, and new words, too.
      std::string word = all[random() % all.size()];
      if (random() % 6 == 0) word += all[random() % all.size()];
      if (random() % 12 == 0) word.resize(1 + random() % word.size());
      line += word + " ";
    }
    comparison.Check(line);
  }
  const PathCounts counts = comparison.Counts();
  std::cout << Shown(counts) << std::endl;
  EXPECT_GT(counts.certified, 9 * Total(counts) / 10) << Shown(counts);
}

class FastEnglishTagging : public Scratch {};

TEST_F(FastEnglishTagging, HeedsAnotherScorer) {
  std::mt19937 random(91);
  std::vector<std::unique_ptr<EngPosScore>> scorers;
  std::vector<Words> alphabets;
  EngToken tokenizer;
  for (int i = 0; i < 3; ++i) {
    RandomSource<English> source(random, {});
    English::Write(source);
    alphabets.push_back(source.alphabet);
    scorers.push_back(std::make_unique<EngPosScore>());
    Watch("", [&](std::string&, std::string&) {
      scorers.back()->Initialize("data/binaryEngPosModel", "data/EngDict");
    });
  }
  EngPosTagger changing(2);
  for (int i = 0; i < 100; ++i) {
    const std::size_t which = random() % 3;
    changing.Initialize(&tokenizer, scorers[which].get());
    EngPosTagger fresh(2);
    fresh.Initialize(&tokenizer, scorers[which].get());
    std::string line;
    for (std::size_t n = 1 + random() % 5; n > 0; --n) {
      const Words& alphabet = alphabets[random() % 3];
      line += alphabet[random() % alphabet.size()] + " ";
    }
    const auto tag = [&](EngPosTagger& tagger) {
      return Watch(
          line, [&](std::string& text, std::string& out) { tagger.TagSentence(text, out, true); });
    };
    ASSERT_EQ(tag(changing), tag(fresh)) << Readable(line);
  }
}

}  // namespace
}  // namespace Tolvek
