// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace Tolvek {

/// Token ids of the estimator. All other tokens are numbered from `kFirstToken`.
enum ReservedToken { kUnknownToken = 0, kBeginToken = 1, kEndToken = 2, kFirstToken = 3 };

/// How often a token follows another one; fractions come from weighted corpora.
struct BigramCount {
  int previous;
  int word;
  double count;
};

/// Ascending by (previous, word), each pair once, every count above zero.
using BigramCounts = std::vector<BigramCount>;

/// The bigrams of token sequences: sentences, each framed by `kBeginToken` and `kEndToken`, or
/// fragments without a frame. Pairs with `kUnknownToken` are left out: a token that the model
/// cannot name has no counts.
enum class Framing { kSentences, kFragments };
BigramCounts CountBigrams(const std::vector<std::vector<int>>& sequences,
                          Framing framing = Framing::kSentences);

/// weightA * a + weightB * b, without the pairs that this brings to zero. A weight of -1 takes
/// counts out again.
BigramCounts Combine(const BigramCounts& a, double weightA, const BigramCounts& b, double weightB);

/// Chen and Goodman (1999) describe and compare all four. They are interpolated with the unigram
/// distribution, and that with the uniform one over all words including "<unk>".
enum class Smoothing { kKneserNey, kModifiedKneserNey, kAbsolute, kWittenBell };

/// The names as options give them: "kn", "mkn", "abs", "wb".
const std::vector<std::pair<std::string, Smoothing>>& SmoothingNames();

struct NgramOptions {
  Smoothing smoothing = Smoothing::kKneserNey;
  double discount = 0.8;  ///< of kn and abs; 0 estimates it from the counts of counts
  double pruning = 0;     ///< least relative growth of perplexity that keeps a bigram; 0 keeps all
  double cutOff = 0;      ///< bigrams with a count up to this are dropped
};

/// A back-off bigram model. All values are log10. For every context the probabilities of all words
/// other than `kBeginToken` sum to one.
class BigramModel {
 public:
  /// log10 P(word | previous), with back-off; words that the model does not have count as unknown.
  double LogProb(int previous, int word) const;

  /// Does the model have this token?
  bool Knows(int word) const;

  std::size_t UnigramCount() const;
  std::size_t BigramCount() const { return _words.size(); }

  /// Exclusive upper bound of the token ids.
  int TokenLimit() const { return static_cast<int>(_unigrams.size()); }

  /// The model in the ARPA format, values with six decimals; `names` by token id, for the reserved
  /// ids "<unk>", "<s>" and "</s>". Entries are sorted by the bytes of their names.
  std::string Arpa(const std::vector<std::string>& names) const;

 private:
  friend BigramModel EstimateBigrams(const BigramCounts& counts, const NgramOptions& options);

  std::vector<double> _unigrams;     ///< [token] log10 P; above 0 for a token that is not there
  std::vector<double> _bows;         ///< [token] log10 of its back-off weight as a context
  std::vector<std::size_t> _starts;  ///< [token + 1] bigrams of context v: entries v to v + 1
  std::vector<int> _words;           ///< ascending within a context
  std::vector<double> _bigrams;      ///< log10 P(word | context), beside `_words`
};

/// Estimates a model. Entropy pruning follows Stolcke (1998), with the relative frequency of a
/// context as its probability (Kneser-Ney's unigrams would not do: Chelba and others, 2010).
BigramModel EstimateBigrams(const BigramCounts& counts, const NgramOptions& options);

}  // namespace Tolvek
