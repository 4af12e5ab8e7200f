// SPDX-License-Identifier: Apache-2.0
#include <limits>
#include <map>
#include <random>
#include <set>

#include "model/Ngram.h"
#include "unit/Fixtures.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using Words = std::vector<std::string>;

/// One line of a section, as data.
struct Entry {
  Words words;
  double prob;
  std::string probText;
  std::string bowText;  ///< empty: no field
};

double Value(const std::string& text) {
  const double value = std::strtod(text.c_str(), nullptr);
  return value == -99 ? -std::numeric_limits<double>::infinity() : value;
}

/// A back-off model as plain maps: n-gram to probability, context to weight, known contexts.
class Reference {
 public:
  /// Keeps the first probability. `bow` is null where the line's weight is not stored.
  void Store(const Words& words, double prob, const double* bow) {
    if (bow != nullptr) {
      Touch(words);
      _bows[words] = *bow;
    }
    Touch(Words(words.begin(), words.end() - 1));
    _probs.insert({words, prob});
  }

  struct Answer {
    double prob;
    int order;
    int depth;
  };

  Answer Ask(const Words& ngram, double floor) const {
    const Words word{ngram.back()};
    Answer answer{floor, 0, 0};
    if (_probs.contains(word)) {
      answer = {_probs.at(word), 1, 0};
    } else if (_probs.contains({"<unk>"})) {
      answer.prob = _probs.at({"<unk>"});
    }
    double bows = 0;
    bool searching = true;
    for (std::size_t depth = 1; depth < ngram.size(); ++depth) {
      const Words longer(ngram.end() - 1 - static_cast<std::ptrdiff_t>(depth), ngram.end());
      const Words context(longer.begin(), longer.end() - 1);
      if (!_contexts.contains(context)) break;
      answer.depth = static_cast<int>(depth);
      bows += _bows.contains(context) ? _bows.at(context) : 0.0;
      if (!searching) continue;
      if (_probs.contains(longer)) {
        answer.prob = _probs.at(longer);
        answer.order = answer.depth + 1;
        bows = 0;
      } else {
        searching = false;
      }
    }
    answer.prob = bows + answer.prob;
    return answer;
  }

 private:
  /// A context is known, and with it the shorter ones that end alike.
  void Touch(Words context) {
    while (!context.empty()) {
      _contexts.insert(context);
      context.erase(context.begin());
    }
  }

  std::map<Words, double> _probs;
  std::map<Words, double> _bows;
  std::set<Words> _contexts;
};

class NgramProperty : public Scratch {};

/// Compares every form of the look-up for random n-grams.
void Compare(const Vocab& vocab, const Ngram& model, const Reference& reference,
             const Words& alphabet, std::mt19937& random) {
  for (int query = 0; query < 300; ++query) {
    Words ngram;
    for (std::size_t length = 1 + random() % 6; ngram.size() < length;) {
      ngram.push_back(alphabet[random() % alphabet.size()]);
    }
    // A word that the vocabulary does not hold is the unknown word, in the context too.
    std::vector<int> ids;
    Words known;
    for (const std::string& word : ngram) {
      ids.push_back(vocab.GetIndex(word));
      known.push_back(ids.back() == vocab.UnkIndex() ? "<unk>" : word);
    }
    const Reference::Answer plain = reference.Ask(known, -6.69705);
    const Reference::Answer full = reference.Ask(known, -99.0);
    int order = -1;
    int depth = -1;
    ASSERT_TRUE(SameBits(model.WordProb(ngram), plain.prob)) << testing::PrintToString(ngram);
    ASSERT_TRUE(SameBits(model.WordProb(ids), plain.prob)) << testing::PrintToString(ngram);
    ASSERT_TRUE(SameBits(model.LogProb(ids), plain.prob)) << testing::PrintToString(ngram);
    ASSERT_TRUE(SameBits(model.WordProb(ngram, order, depth), full.prob))
        << testing::PrintToString(ngram);
    ASSERT_EQ(order, full.order) << testing::PrintToString(ngram);
    ASSERT_EQ(depth, full.depth) << testing::PrintToString(ngram);
  }
}

void Check(unsigned seed) {
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const Words all{"a", "b", "c", "d", "<s>", "</s>", "<unk>"};
  const std::vector<std::string> probs{"-0.5", "-1.25", "-0.1", "-2.34567891", "-99", "0", "-inf"};
  const std::vector<std::string> bows{"-0.25", "0", "-0.3", "-99", "0.125", "-1e-3"};
  const auto pick = [&](const std::vector<std::string>& from) {
    return from[random() % from.size()];
  };

  // The file's order is 1 to 4, the model's may be less or more.
  const std::size_t fileOrder = 1 + random() % 4;
  const int modelOrder = static_cast<int>(1 + random() % 4);
  const std::size_t known = 1 + random() % all.size();
  std::vector<std::vector<Entry>> sections(fileOrder);
  std::vector<std::vector<Gram>> grams(fileOrder);
  for (std::size_t k = 1; k <= fileOrder; ++k) {
    const std::size_t count = random() % 15;
    for (std::size_t i = 0; i < count; ++i) {
      Entry entry;
      std::string text;
      while (entry.words.size() < k) {
        entry.words.push_back(all[random() % known]);
        text += (text.empty() ? "" : " ") + entry.words.back();
      }
      entry.probText = pick(probs);
      entry.prob = Value(entry.probText);
      if (k < fileOrder && random() % 3 != 0) entry.bowText = pick(bows);
      grams[k - 1].push_back({entry.probText, text, entry.bowText});
      sections[k - 1].push_back(entry);
    }
  }
  WriteText("arpa", Arpa(grams));

  Reference text;
  Reference binary;
  for (const std::vector<Entry>& section : sections) {
    for (const Entry& entry : section) {
      const int k = static_cast<int>(entry.words.size());
      const double bow = entry.bowText.empty() ? 0.0 : Value(entry.bowText);
      if (k <= modelOrder) {
        text.Store(entry.words, entry.prob,
                   !entry.bowText.empty() && k < modelOrder ? &bow : nullptr);
      }
      // The image leaves out the last order's weights, and its reader those of 0.
      const bool stored = k < static_cast<int>(fileOrder) && bow != 0.0;
      binary.Store(entry.words, entry.prob, stored ? &bow : nullptr);
    }
  }

  Words alphabet = all;
  alphabet.push_back("never seen");
  Vocab textVocab;
  Ngram textModel(&textVocab, modelOrder);
  const Output output = Capture([&] { ASSERT_EQ(textModel.LoadFile("arpa"), 1); });
  ASSERT_EQ(output.err, "");
  Compare(textVocab, textModel, text, alphabet, random);

  Vocab converterVocab;
  Ngram converter(&converterVocab, static_cast<int>(fileOrder));
  ASSERT_EQ(converter.ConvertToBinaryFile("arpa", "binary"), 1);
  Vocab binaryVocab;
  Ngram binaryModel(&binaryVocab, modelOrder);
  ASSERT_EQ(binaryModel.LoadFile("binary"), 1);
  Compare(binaryVocab, binaryModel, binary, alphabet, random);
}

TEST_F(NgramProperty, LookUpIsThatOfPlainMaps) {
  for (unsigned seed = 1; seed <= 150 && !HasFatalFailure(); ++seed) Check(seed);
}

}  // namespace
}  // namespace Tolvek
