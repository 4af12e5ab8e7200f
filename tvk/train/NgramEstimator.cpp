// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/NgramEstimator.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <span>

namespace Tolvek {

namespace {

/// Counts below this are what rounding leaves of zero.
constexpr double kZeroCount = 1e-9;

/// Marks a token that has no unigram.
constexpr double kAbsent = 1;

bool Before(const BigramCount& a, const BigramCount& b) {
  return a.previous != b.previous ? a.previous < b.previous : a.word < b.word;
}

/// What is taken from a count, by the size of the count: below 1.5, below 2.5, above.
struct Discounts {
  std::array<double, 3> byCount{};

  double operator()(double count) const {
    const double discount = byCount[count < 1.5 ? 0 : count < 2.5 ? 1 : 2];
    return std::min(discount, count);
  }
};

/// Estimates discounts from the numbers of counts that are about 1, 2, 3 and 4.
template <class Counts>
Discounts EstimateDiscounts(const Counts& counts, const NgramOptions& options) {
  const bool modified = options.smoothing == Smoothing::kModifiedKneserNey;
  if (!modified && options.discount > 0) {
    return {{options.discount, options.discount, options.discount}};
  }
  std::array<double, 5> n{};
  for (const double count : counts) {
    const double rounded = std::round(count);
    if (rounded >= 1 && rounded <= 4) ++n[static_cast<std::size_t>(rounded)];
  }
  // Without such counts (a tiny corpus, or weights far from 1) a middling discount serves.
  static constexpr double kFallback = 0.75;
  if (n[1] == 0 || n[2] == 0) return {{kFallback, kFallback, kFallback}};
  const double y = n[1] / (n[1] + 2 * n[2]);
  if (!modified) return {{y, y, y}};
  const auto discount = [&](std::size_t c) {
    const auto size = static_cast<double>(c);
    return n[c] == 0 ? kFallback : std::clamp(size - (size + 1) * y * n[c + 1] / n[c], 0.1, size);
  };
  return {{discount(1), discount(2), discount(3)}};
}

/// One level of a distribution made from counts: what a count is worth, and the mass left over for
/// the level below.
struct Level {
  double total = 0;  ///< the denominator
  double left = 0;   ///< the mass that goes to the lower distribution
};

Level MakeLevel(std::span<const double> counts, Smoothing smoothing, const Discounts& discounts) {
  Level level;
  level.total = std::accumulate(counts.begin(), counts.end(), 0.0);
  if (smoothing == Smoothing::kWittenBell) {
    const auto types = static_cast<double>(counts.size());
    level.total += types;
    level.left = types / level.total;
  } else {
    for (const double count : counts) level.left += discounts(count);
    level.left /= level.total;
  }
  return level;
}

double Worth(double count, Smoothing smoothing, const Discounts& discounts, const Level& level) {
  return (smoothing == Smoothing::kWittenBell ? count : count - discounts(count)) / level.total;
}

std::string ShowLog(double value) {
  std::array<char, 32> text;
  std::snprintf(text.data(), text.size(), "%.6f", value);
  return text.data();
}

}  // namespace

const std::vector<std::pair<std::string, Smoothing>>& SmoothingNames() {
  static const std::vector<std::pair<std::string, Smoothing>> names{
      {"kn", Smoothing::kKneserNey},
      {"mkn", Smoothing::kModifiedKneserNey},
      {"abs", Smoothing::kAbsolute},
      {"wb", Smoothing::kWittenBell}};
  return names;
}

BigramCounts CountBigrams(const std::vector<std::vector<int>>& sequences, Framing framing) {
  std::vector<std::uint64_t> pairs;
  const auto add = [&](int previous, int word) {
    if (previous == kUnknownToken || word == kUnknownToken) return;
    pairs.push_back(static_cast<std::uint64_t>(previous) << 32U | static_cast<std::uint64_t>(word));
  };
  for (const std::vector<int>& sequence : sequences) {
    for (std::size_t i = 1; i < sequence.size(); ++i) add(sequence[i - 1], sequence[i]);
    if (framing == Framing::kFragments) continue;
    add(kBeginToken, sequence.empty() ? static_cast<int>(kEndToken) : sequence.front());
    if (!sequence.empty()) add(sequence.back(), kEndToken);
  }
  std::sort(pairs.begin(), pairs.end());
  BigramCounts counts;
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    if (i == 0 || pairs[i] != pairs[i - 1]) {
      counts.push_back(
          {static_cast<int>(pairs[i] >> 32U), static_cast<int>(pairs[i] & 0xFFFFFFFFU), 0});
    }
    counts.back().count += 1;
  }
  return counts;
}

BigramCounts Combine(const BigramCounts& a, double weightA, const BigramCounts& b, double weightB) {
  BigramCounts sum;
  sum.reserve(a.size() + b.size());
  const auto add = [&](const BigramCount& pair, double count) {
    if (count > kZeroCount) sum.push_back({pair.previous, pair.word, count});
  };
  auto left = a.begin();
  auto right = b.begin();
  while (left != a.end() || right != b.end()) {
    if (right == b.end() || (left != a.end() && Before(*left, *right))) {
      add(*left, weightA * left->count);
      ++left;
    } else if (left == a.end() || Before(*right, *left)) {
      add(*right, weightB * right->count);
      ++right;
    } else {
      add(*left, weightA * left->count + weightB * right->count);
      ++left;
      ++right;
    }
  }
  return sum;
}

bool BigramModel::Knows(int word) const {
  return word >= 0 && word < TokenLimit() && _unigrams[static_cast<std::size_t>(word)] < kAbsent;
}

double BigramModel::LogProb(int previous, int word) const {
  const auto w = static_cast<std::size_t>(Knows(word) ? word : static_cast<int>(kUnknownToken));
  if (previous < 0 || previous >= TokenLimit()) return _unigrams[w];
  const auto v = static_cast<std::size_t>(previous);
  const auto first = _words.begin() + static_cast<std::ptrdiff_t>(_starts[v]);
  const auto last = _words.begin() + static_cast<std::ptrdiff_t>(_starts[v + 1]);
  const auto found = std::lower_bound(first, last, static_cast<int>(w));
  if (found != last && *found == static_cast<int>(w)) {
    return _bigrams[static_cast<std::size_t>(found - _words.begin())];
  }
  return _bows[v] + _unigrams[w];
}

std::size_t BigramModel::UnigramCount() const {
  return static_cast<std::size_t>(
      std::count_if(_unigrams.begin(), _unigrams.end(), [](double p) { return p < kAbsent; }));
}

BigramModel EstimateBigrams(const BigramCounts& counts, const NgramOptions& options) {
  const Smoothing smoothing = options.smoothing;
  const bool usesContinuations =
      smoothing == Smoothing::kKneserNey || smoothing == Smoothing::kModifiedKneserNey;
  int limit = kFirstToken;
  double total = 0;
  for (const BigramCount& pair : counts) {
    limit = std::max({limit, pair.previous + 1, pair.word + 1});
    total += pair.count;
  }
  const auto tokens = static_cast<std::size_t>(limit);

  // The unigram distribution: how often, or after how many different tokens, a token stands.
  std::vector<double> wordCounts(tokens, 0.0);
  for (const BigramCount& pair : counts) {
    wordCounts[static_cast<std::size_t>(pair.word)] += usesContinuations ? 1 : pair.count;
  }
  std::vector<double> present;
  for (const double count : wordCounts) {
    if (count > 0) present.push_back(count);
  }
  std::vector<double> unigrams(tokens, 0.0);
  const Discounts unigramDiscounts = EstimateDiscounts(present, options);
  Level base{1, 1};  // without any count: uniform over what there is
  if (!present.empty()) base = MakeLevel(present, smoothing, unigramDiscounts);
  // The words are all that is predicted or predicts, and "<unk>" and the sentence's end at any
  // rate.
  std::vector<char> isWord(tokens, 0);
  isWord[kUnknownToken] = isWord[kEndToken] = 1;
  for (const BigramCount& pair : counts) {
    isWord[static_cast<std::size_t>(pair.previous)] = 1;
    isWord[static_cast<std::size_t>(pair.word)] = 1;
  }
  isWord[kBeginToken] = 0;
  const double uniform = 1.0 / static_cast<double>(std::count(isWord.begin(), isWord.end(), 1));
  for (std::size_t w = 0; w < tokens; ++w) {
    if (isWord[w] == 0) continue;
    unigrams[w] = base.left * uniform;
    if (wordCounts[w] > 0) unigrams[w] += Worth(wordCounts[w], smoothing, unigramDiscounts, base);
  }

  std::vector<double> bigramCounts;
  bigramCounts.reserve(counts.size());
  for (const BigramCount& pair : counts) bigramCounts.push_back(pair.count);
  const Discounts discounts = EstimateDiscounts(bigramCounts, options);

  BigramModel model;
  model._unigrams.assign(tokens, kAbsent);
  model._bows.assign(tokens, 0.0);
  model._starts.assign(tokens + 1, 0);
  for (std::size_t w = 0; w < tokens; ++w) {
    if (unigrams[w] > 0) model._unigrams[w] = std::log10(unigrams[w]);
  }
  model._unigrams[kBeginToken] = -99;  // never predicted: the format's zero

  std::vector<double> probabilities;
  std::size_t begin = 0;
  for (std::size_t v = 0; v < tokens; ++v) {
    std::size_t end = begin;
    while (end < counts.size() && counts[end].previous == static_cast<int>(v)) ++end;
    const std::span<const double> here = std::span(bigramCounts).subspan(begin, end - begin);
    if (!here.empty()) {
      const Level level = MakeLevel(here, smoothing, discounts);
      probabilities.clear();
      double lowerOfUnseen = 1;  // the lower distribution's mass outside the bigrams that stay
      for (std::size_t i = begin; i < end; ++i) {
        const double lower = unigrams[static_cast<std::size_t>(counts[i].word)];
        probabilities.push_back(Worth(counts[i].count, smoothing, discounts, level) +
                                level.left * lower);
        lowerOfUnseen -= lower;
      }
      double massOfUnseen = level.left * lowerOfUnseen;

      // Each bigram is judged as if it alone were dropped.
      const double contextCount = std::accumulate(here.begin(), here.end(), 0.0);
      const double logBow = std::log(level.left);
      const double unseen = massOfUnseen;
      const double lowerUnseen = lowerOfUnseen;
      for (std::size_t i = begin; i < end; ++i) {
        const double p = probabilities[i - begin];
        const double lower = unigrams[static_cast<std::size_t>(counts[i].word)];
        const double newLogBow = std::log((unseen + p) / (lowerUnseen + lower));
        const double change =
            -(contextCount / total) *
            (p * (std::log(lower) + newLogBow - std::log(p)) + unseen * (newLogBow - logBow));
        const bool pruned = options.pruning > 0 && std::expm1(change) < options.pruning;
        if (pruned || counts[i].count <= options.cutOff) {
          massOfUnseen += p;
          lowerOfUnseen += lower;
        } else {
          model._words.push_back(counts[i].word);
          model._bigrams.push_back(std::log10(p));
        }
      }
      model._bows[v] = std::log10(massOfUnseen / lowerOfUnseen);
    }
    model._starts[v + 1] = model._words.size();
    begin = end;
  }
  return model;
}

std::string BigramModel::Arpa(const std::vector<std::string>& names) const {
  std::vector<int> order;
  for (int token = 0; token < TokenLimit(); ++token) {
    if (Knows(token)) order.push_back(token);
  }
  const auto nameOf = [&](int token) -> const std::string& {
    return names.at(static_cast<std::size_t>(token));
  };
  const auto byName = [&](int a, int b) { return nameOf(a) < nameOf(b); };
  std::sort(order.begin(), order.end(), byName);

  std::string text = "\\data\\\nngram 1=" + std::to_string(order.size()) +
                     "\nngram 2=" + std::to_string(_words.size()) + "\n\n\\1-grams:\n";
  const auto hasBigrams = [&](std::size_t v) { return _starts[v] < _starts[v + 1]; };
  for (const int token : order) {
    const auto v = static_cast<std::size_t>(token);
    text += token == kBeginToken ? "-99" : ShowLog(_unigrams[v]);
    text += '\t' + nameOf(token);
    if (hasBigrams(v)) text += '\t' + ShowLog(_bows[v]);
    text += '\n';
  }
  text += "\n\\2-grams:\n";
  std::vector<std::size_t> entries;
  for (const int token : order) {
    const auto v = static_cast<std::size_t>(token);
    entries.resize(_starts[v + 1] - _starts[v]);
    std::iota(entries.begin(), entries.end(), _starts[v]);
    std::sort(entries.begin(), entries.end(),
              [&](std::size_t a, std::size_t b) { return byName(_words[a], _words[b]); });
    for (const std::size_t i : entries) {
      text += ShowLog(_bigrams[i]) + '\t' + nameOf(token) + ' ' + nameOf(_words[i]) + '\n';
    }
  }
  return text + "\n\\end\\\n";
}

}  // namespace Tolvek
