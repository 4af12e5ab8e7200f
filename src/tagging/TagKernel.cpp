// SPDX-License-Identifier: Apache-2.0
#include "tagging/TagKernel.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "common/TwoDoubles.h"

namespace Tolvek {

namespace {

/// Scores below this, relative to the sentence's best, are not followed here.
constexpr double kSmallest = 1e-200;
constexpr double kSmallestProduct = 1e-280;

TwoDoubles Load(const double* numbers) {
  TwoDoubles two;
  std::memcpy(&two, numbers, sizeof two);
  return two;
}

/// The sum of the products of two rows, whose length is even. Two sums at a time, as an addition
/// waits for the one before.
double SumOfProducts(const double* a, const double* b, std::size_t size) {
  TwoDoubles sum = Both(0);
  TwoDoubles other = Both(0);
  std::size_t i = 0;
  for (; i + 4 <= size; i += 4) {
    sum += Load(a + i) * Load(b + i);
    other += Load(a + i + 2) * Load(b + i + 2);
  }
  if (i < size) sum += Load(a + i) * Load(b + i);
  sum += other;
  return sum[0] + sum[1];
}

/// More than the quotient of two paths' scores can be off from 1, here and as documented taken
/// together, `steps` words after the last one where all paths met, `words` after the beginning.
///
/// With u = 2^-53 the largest relative rounding error, W the largest weighted sum and T tags: A
/// factor here is an exponential of up to 20 weights, times up to seven others and the tag before:
/// off by less than u * (40W + 60); a normaliser, by T * u more. As documented, a sum of up to 24
/// weights is off by 24u * W, twice that with those of the normaliser, which costs T * u again, and
/// a score (no log10 of a probability is less than -(2W + log T)) is rounded at its own size, at
/// most words * (2W + log T). Together less than u * (96W + 2T + 100 + words * (2W + 8)) a step
/// for either of two paths. Twice that is asked for.
double Margin(const TagTables& tables, std::size_t steps, std::size_t words) {
  const double largest = tables.LargestSum();
  const double tags = static_cast<double>(tables.TagCount());
  return 0x1p-51 * static_cast<double>(steps) *
         (96 * largest + 2 * tags + 100 + static_cast<double>(words) * (2 * largest + 8));
}

}  // namespace

void TagKernel::CheckPossible(std::size_t tagCount) {
  _isListed.assign(tagCount, false);
  for (const int tag : _possible) {
    const auto number = static_cast<std::size_t>(tag);  // -1 is too large
    if (number >= tagCount || _isListed[number]) {
      _possible.clear();
      return;
    }
    _isListed[number] = true;
  }
}

void TagKernel::LookUp(const TagTables& tables, std::size_t begin, std::size_t end) {
  const auto idAt = [this](std::size_t i) { return _words.At(_sentence[i]).id; };
  TagTables::Id previous = begin == 0 ? tables.BeginId() : idAt(begin - 1);
  TagTables::Id current = idAt(begin);
  for (std::size_t i = begin; i < end; ++i) {
    const TagTables::Id next = i + 1 == _sentence.size() ? tables.EndId() : idAt(i + 1);
    _contexts[i - begin] = tables.FindContext(previous, current, next);
    _words.PrefetchRow(_sentence[i]);
    previous = current;
    current = next;
  }
}

bool TagKernel::Search(const TagTables& tables) {
  _states.clear();
  _stages.clear();
  _margins.clear();
  // The state before the first word.
  _states.push_back({1.0, 0.0, 0, -1, true});
  std::size_t begin = 0;
  std::size_t meeting = 0;  // words up to the last one with a single tag
  for (std::size_t i = 0; i < _sentence.size(); ++i) {
    if (i % kBlock == 0) LookUp(tables, i, std::min(i + kBlock, _sentence.size()));
    const std::size_t end = _states.size();
    _stages.push_back(end);
    _margins.push_back(Margin(tables, i + 1 - meeting, i + 1));
    const KeptWords::Word& word = _words.At(_sentence[i]);
    if (word.tagCount == 1 && end - begin == 1) {
      _states.push_back({1.0, 0.0, static_cast<std::uint32_t>(begin), _words.Tags(word)[0], true});
    } else if (!AddStates(tables, i, begin, end, _margins.back())) {
      return false;
    }
    if (word.tagCount == 1) meeting = i + 1;
    begin = end;
  }
  _stages.push_back(_states.size());
  return TraceBack(_margins.back());
}

bool TagKernel::AddStates(const TagTables& tables, std::size_t position, std::size_t begin,
                          std::size_t end, double margin) {
  const std::size_t size = tables.RowSize();
  const KeptWords::Word& word = _words.At(_sentence[position]);
  const std::span<const double> own = _words.Row(_sentence[position]);
  _row.assign(own.begin(), own.end());
  tables.Multiply(_contexts[position % kBlock], _row.data());

  // After a single state the normaliser is the same for all.
  const bool isSingle = end - begin == 1;
  _weights.clear();
  for (std::size_t state = begin; state < end; ++state) {
    const double* const after = tables.AfterTag(_states[state].tag);
    _weights.push_back(isSingle ? 1.0
                                : _states[state].score / SumOfProducts(_row.data(), after, size));
  }
  double largest = 0;
  for (const std::int32_t tag : _words.Tags(word)) {
    const auto column = static_cast<std::size_t>(tag);
    double best = 0;
    double second = 0;
    std::size_t previous = begin;
    for (std::size_t state = begin; state < end; ++state) {
      const double score = _weights[state - begin] * tables.AfterTag(_states[state].tag)[column];
      if (score > best) {
        second = best;
        best = score;
        previous = state;
      } else if (score > second) {
        second = score;
      }
    }
    if (!(best >= kSmallestProduct)) return false;
    largest = std::max(largest, best * _row[column]);
    _states.push_back({best * _row[column], second * _row[column],
                       static_cast<std::uint32_t>(previous), tag, second < best * (1 - margin)});
  }
  // A power of two, so that nothing is rounded.
  const double scale = word.tagCount == 1 ? 1 / largest : std::exp2(-std::ilogb(largest));
  for (std::size_t state = end; state < _states.size(); ++state) {
    _states[state].score *= scale;
    _states[state].second *= scale;
    if (!(_states[state].score >= kSmallest)) return false;
  }
  return true;
}

bool TagKernel::TraceBack(double margin) {
  const auto statesAt = [this](std::size_t i) { return _stages[i + 1] - _stages[i]; };
  // As documented, a tag has several states when ways to it are equally good: up to one for each
  // tag before. That may also be so of its second best way, as the state that the best one comes
  // from may be cut.
  const auto mostWays = [&](std::size_t i) { return i == 0 ? 1 : statesAt(i - 1); };
  // How many other states of a word may, as documented, be as good as this one.
  const auto countAhead = [&](std::size_t i, std::size_t state, double allowance) {
    const double least = _states[state].score * (1 - allowance);
    std::size_t ahead = 0;
    for (std::size_t other = _stages[i]; other < _stages[i + 1]; ++other) {
      if (other == state || _states[other].score < least) continue;
      ahead += _states[other].isCertain && _states[other].second < least ? 1 : mostWays(i);
    }
    return ahead;
  };
  std::size_t position = _sentence.size() - 1;
  std::size_t state = _stages[position];
  for (std::size_t other = state + 1; other < _stages[position + 1]; ++other) {
    if (_states[other].score > _states[state].score) state = other;
  }
  if (countAhead(position, state, margin) > 0) return false;
  _path.resize(_sentence.size());
  for (;; --position) {
    // Of more states than the beam is wide only the best ones go on.
    const bool isCut = statesAt(position) * mostWays(position) > kTagBeamWidth;
    if (!_states[state].isCertain ||
        (isCut && countAhead(position, state, _margins[position]) >= kTagBeamWidth)) {
      return false;
    }
    _path[position] = _states[state].tag;
    state = _states[state].previous;
    if (position == 0) return true;
  }
}

}  // namespace Tolvek
