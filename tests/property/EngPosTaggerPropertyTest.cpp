// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <deque>
#include <map>
#include <random>
#include <sstream>

#include "english/EngPosTagger.h"
#include "model/MeModel.h"
#include "property/Recombine.h"
#include "unit/EngKnowledge.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using Words = std::vector<std::string>;
using Dictionary = std::map<std::string, std::vector<int>>;

/// The tagger written down plainly: features put together from texts, candidate lists, histories
/// copied about, all pairs compared. Only the model is shared with the tagger.
class PlainTagger {
 public:
  PlainTagger(const MeModel& model, const Dictionary& dictionary, int order)
      : _model(model), _dictionary(dictionary), _order(order) {}

  std::vector<int> Tag(const Words& words) const {
    std::vector<Stage> stages;
    for (std::size_t i = 0; i < words.size(); ++i) {
      const TagFeatures features = Features(words, i);
      Stage candidates;
      if (i == 0) {
        const State start{std::deque<int>(static_cast<std::size_t>(_order), -1), 0, 0};
        for (const int tag : Possible(words[i])) {
          candidates.push_back(Next(start, 0, tag, features));
        }
      } else {
        for (std::size_t j = 0; j < stages.back().size(); ++j) {
          for (const int tag : Possible(words[i])) {
            candidates.push_back(Next(stages.back()[j], j, tag, features));
          }
        }
        Recombine(candidates);
      }
      std::stable_sort(candidates.begin(), candidates.end(),
                       [](const State& a, const State& b) { return a.score > b.score; });
      if (candidates.size() > 30) candidates.erase(candidates.begin() + 30, candidates.end());
      stages.push_back(candidates);
    }
    std::vector<int> tags(words.size());
    std::size_t state = 0;
    for (std::size_t i = words.size(); i-- > 0;) {
      tags[i] = stages[i].at(state).tags.back();
      state = stages[i].at(state).previous;
    }
    return tags;
  }

  /// The score of a sequence of tags.
  double PathScore(const Words& words, const std::vector<int>& tags) const {
    State state{std::deque<int>(static_cast<std::size_t>(_order), -1), 0, 0};
    for (std::size_t i = 0; i < words.size(); ++i) {
      state = Next(state, 0, tags.at(i), Features(words, i));
    }
    return state.score;
  }

 private:
  struct State {
    std::deque<int> tags;
    std::size_t previous;
    double score;
  };
  using Stage = std::vector<State>;

  std::vector<int> Possible(const std::string& word) const {
    const auto entry = _dictionary.find(word);
    if (entry != _dictionary.end()) return entry->second;
    std::vector<int> all;
    for (int tag = 0; tag < _model.GetTagSize(); ++tag) all.push_back(tag);
    return all;
  }

  void Add(const std::string& text, double value, TagFeatures& features) const {
    const int id = _model.GetFeatureId(text);
    if (id != -1) features.emplace_back(id, value);
  }

  TagFeatures Features(const Words& words, std::size_t i) const {
    const std::string before = i == 0 ? "B_0" : words[i - 1];
    const std::string& word = words[i];
    const std::string after = i + 1 == words.size() ? "E_0" : words[i + 1];
    const std::size_t n = word.size();
    TagFeatures features;
    Add("1/" + before, 1, features);
    Add("2/" + word, 2, features);
    Add("3/" + after, 1, features);
    Add("4/" + before + "/" + word, 3, features);
    Add("5/" + word + "/" + after, 3, features);
    Add("6/" + before + "/" + after, 1, features);
    for (std::size_t length = 1; length <= 4; ++length) {
      if (n <= length) break;
      Add(std::to_string(6 + length) + "/" + word.substr(0, length), 1, features);
    }
    for (std::size_t length = 1; length <= 4; ++length) {
      if (n <= std::max<std::size_t>(length, 2)) break;
      Add(std::to_string(10 + length) + "/" + word.substr(n - length), 1, features);
    }
    const auto flag = [&](const char* bytes) {
      return std::string(word.find_first_of(bytes) != word.npos ? "1" : "0");
    };
    Add("15/" + flag("0123456789"), 1, features);
    Add("16/" + flag("ABCDEFGHIJKLMNOPQRSTUVWXYZ"), 1, features);
    Add("17/" + flag("-"), 1, features);
    return features;
  }

  double GetScore(TagFeatures features, const std::deque<int>& tags) const {
    Add("0/" + (tags.front() == -1 ? "B_0" : _model.GetTag(tags.front())), 1, features);
    return _model.eval(features, tags.back());
  }

  State Next(const State& state, std::size_t index, int tag, const TagFeatures& features) const {
    State next{state.tags, index, 0};
    next.tags.pop_front();
    next.tags.push_back(tag);
    next.score = state.score + GetScore(features, next.tags);
    return next;
  }

  const MeModel& _model;
  const Dictionary& _dictionary;
  int _order;
};

/// Random models and dictionaries over a small set of words.
class RandomKnowledge {
 public:
  explicit RandomKnowledge(std::mt19937& random) : _random(random) {}

  void Write() {
    EngKnowledge knowledge;
    knowledge.separators = {"!", "(", ")"};
    knowledge.me.tags.clear();
    // Sometimes more tags than the beam holds.
    const std::size_t tagCount = _random() % 4 == 0 ? 31 + _random() % 10 : 1 + _random() % 8;
    for (std::size_t tag = 0; tag < tagCount; ++tag) {
      knowledge.me.tags.push_back("T" + std::to_string(tag));
    }
    AddFeatures(knowledge.me);
    for (const std::string& word : _vocabulary) {
      if (_random() % 3 == 0) continue;
      std::string entry;
      std::vector<int> tags(1 + _random() % std::min<std::size_t>(tagCount, 5));
      for (int& tag : tags) {
        tag = static_cast<int>(_random() % tagCount);
        entry += " T" + std::to_string(tag);
      }
      knowledge.List(word, entry);
      dictionary[word] = tags;
    }
    std::shuffle(knowledge.dictionary.begin(), knowledge.dictionary.end(), _random);
    knowledge.Write();
    if (_random() % 2 == 0) WriteText("data/binaryEngPosModel", knowledge.me.Binary());
  }

  Words Sentence(std::size_t longest) {
    Words words(1 + _random() % longest);
    for (std::string& word : words) word = Pick(_vocabulary);
    return words;
  }

  Dictionary dictionary;

 private:
  const std::string& Pick(const Words& from) { return from[_random() % from.size()]; }

  void AddFeatures(MeSource& me) {
    Words context = _vocabulary;
    context.insert(context.end(), {"B_0", "E_0"});
    // Round weights make equal scores likely, others make them unlikely.
    const bool isRound = _random() % 2 == 0;
    const auto weight = [&] {
      return std::to_string(isRound ? static_cast<double>(_random() % 5) - 2
                                    : static_cast<double>(_random() % 4001) / 1000 - 2);
    };
    const auto add = [&](const std::string& feature) {
      if (std::find(me.features.begin(), me.features.end(), feature) != me.features.end()) return;
      std::vector<std::pair<int, std::string>> parameters;
      for (std::size_t n = 1 + _random() % 6; n > 0; --n) {
        parameters.emplace_back(static_cast<int>(_random() % me.tags.size()), weight());
      }
      me.Add(feature, parameters);
    };
    add("2/" + Pick(_vocabulary));
    for (std::size_t n = _random() % 60; n > 0; --n) {
      const std::string& word = Pick(_vocabulary);
      const Words forms{"1/" + Pick(context),
                        "2/" + word,
                        "3/" + Pick(context),
                        "4/" + Pick(context) + "/" + word,
                        "5/" + word + "/" + Pick(context),
                        "6/" + Pick(context) + "/" + Pick(context),
                        "7/" + word.substr(0, 1),
                        "8/" + word.substr(0, 2),
                        "9/" + word.substr(0, 3),
                        "10/" + word.substr(0, 4),
                        "11/" + word.substr(word.size() - 1),
                        "12/" + word.substr(word.size() - std::min<std::size_t>(word.size(), 2)),
                        "13/" + word.substr(word.size() - std::min<std::size_t>(word.size(), 3)),
                        "14/" + word.substr(word.size() - std::min<std::size_t>(word.size(), 4)),
                        "15/" + std::to_string(_random() % 2),
                        "16/" + std::to_string(_random() % 2),
                        "17/" + std::to_string(_random() % 2)};
      add(Pick(forms));
    }
    if (_random() % 4 == 0) return;
    add("0/B_0");
    for (const std::string& tag : me.tags) {
      if (_random() % 2 == 0) add("0/" + tag);
    }
  }

  std::mt19937& _random;
  const Words _vocabulary{"a",   "is",    "the", "The",    "from",     "house", "houses",
                          "A-1", "1998",  "X",   "cannot", "!",        ".",     ",",
                          "n't", "re-do", "Mr",  "it's",   "\xE9t\xE9"};
};

class EngPosTaggerProperty : public Scratch {
 protected:
  void Check(unsigned seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    RandomKnowledge knowledge(random);
    knowledge.Write();
    MeModel model;
    ASSERT_EQ(model.LoadModel("data/binaryEngPosModel"), 1);
    EngPosScore scorer;
    EngToken tokenizer;
    Capture([&] {
      ASSERT_TRUE(scorer.Initialize("data/binaryEngPosModel", "data/EngDict"));
      ASSERT_TRUE(tokenizer.Initialize());
    });
    for (const int order : {1, 2, 3}) {
      // The plain decoder takes its time where nothing merges.
      const std::size_t longest = order > 2 && model.GetTagSize() > 30 ? 3 : 9;
      EngPosTagger tagger(order);
      tagger.Initialize(&tokenizer, &scorer);
      const PlainTagger plain(model, knowledge.dictionary, order);
      for (int i = 0; i < 6; ++i) {
        const Words words = knowledge.Sentence(longest);
        const std::vector<int> expected = plain.Tag(words);
        std::vector<int> tags{-7};
        tagger.RenewLattice(words);
        tagger.Viterbi(tags);
        ASSERT_EQ(tags.size(), words.size());
        ++_sentences;
        _equal += tags == expected;
        // Among equally good sequences any may be chosen.
        ASSERT_NEAR(plain.PathScore(words, tags), plain.PathScore(words, expected), 1e-9)
            << "order " << order << ", words " << testing::PrintToString(words)
            << testing::PrintToString(tags) << testing::PrintToString(expected);
        CheckLine(tagger, tokenizer, model, words, tags);
      }
    }
  }

  int _sentences = 0;
  int _equal = 0;

 private:
  static std::string Joined(const MeModel& model, const Words& words,
                            const std::vector<int>& tags) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
      text += words[i] + "/" + model.GetTag(tags[i]) + " ";
    }
    return text;
  }

  /// The same through lines of text, tokens or not.
  static void CheckLine(EngPosTagger& tagger, const EngToken& tokenizer, const MeModel& model,
                        const Words& words, const std::vector<int>& tags) {
    std::string line;
    for (const std::string& word : words) line += " " + word;
    std::string out;
    tagger.TagSentence(line, out, true);
    ASSERT_EQ(out, Joined(model, words, tags));

    std::string tokens;
    std::string copy = line;
    tokenizer.TokenizeSentence(copy, tokens);
    std::istringstream in(tokens);
    Words pieces;
    for (std::string piece; in >> piece;) pieces.push_back(piece);
    std::vector<int> pieceTags;
    tagger.RenewLattice(pieces);
    tagger.Viterbi(pieceTags);
    tagger.TagSentence(line, out, false);
    ASSERT_EQ(out, Joined(model, pieces, pieceTags));
  }
};

TEST_F(EngPosTaggerProperty, EqualsThePlainDecoder) {
  for (unsigned seed = 1; seed <= 60 && !HasFatalFailure(); ++seed) Check(seed);
  EXPECT_GT(_equal, _sentences / 2) << "ties are the exception";
}

}  // namespace
}  // namespace Tolvek
