// SPDX-License-Identifier: Apache-2.0
#include "tagging/TagKernel.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "common/TwoDoubles.h"

namespace Tolvek {

namespace {

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
  // The state before the first word.
  _states.push_back({1.0, 0, -1, true});
  std::size_t begin = 0;
  std::size_t meeting = 0;  // words up to the last one with a single tag
  double margin = 0;
  for (std::size_t i = 0; i < _sentence.size(); ++i) {
    if (i % kBlock == 0) LookUp(tables, i, std::min(i + kBlock, _sentence.size()));
    const std::size_t end = _states.size();
    margin = Margin(tables, i + 1 - meeting, i + 1);
    const KeptWords::Word& word = _words.At(_sentence[i]);
    if (word.tagCount == 1 && end - begin == 1) {
      _states.push_back({1.0, static_cast<std::uint32_t>(begin), _words.Tags(word)[0], true});
    } else {
      AddStates(tables, i, begin, end, margin);
      Cut(end, end - begin, margin);
    }
    if (word.tagCount == 1) {
      if (!_states.back().isCertain) return false;
      meeting = i + 1;
    }
    begin = end;
  }
  return TraceBack(begin, margin);
}

void TagKernel::AddStates(const TagTables& tables, std::size_t position, std::size_t begin,
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
    largest = std::max(largest, best * _row[column]);
    _states.push_back({best * _row[column], static_cast<std::uint32_t>(previous), tag,
                       _states[previous].isCertain && second < best * (1 - margin)});
  }
  // A power of two, so that nothing is rounded.
  const double scale = word.tagCount == 1 ? 1 / largest : std::exp2(-std::ilogb(largest));
  for (State& state : std::span(_states).subspan(end)) state.score *= scale;
}

void TagKernel::Cut(std::size_t first, std::size_t ways, double margin) {
  const std::span<State> states = std::span(_states).subspan(first);
  if (states.size() * ways <= kTagBeamWidth) return;
  const auto countFrom = [&](double least) {
    std::size_t most = 0;
    for (const State& state : states) {
      const std::size_t times = state.isCertain ? 1 : ways;
      most += state.score >= least ? times : 0;
    }
    return most;
  };
  if (countFrom(0) <= kTagBeamWidth) return;
  // Not just above the first that is cut: paths of low scores hardly ever win, and sorting takes
  // longer.
  double least = 0x1p-10;
  while (least < 2 && countFrom(least * (1 - margin)) > kTagBeamWidth) least *= 1.125;
  for (State& state : states) state.isCertain = state.isCertain && state.score >= least;
}

bool TagKernel::TraceBack(std::size_t first, double margin) {
  const std::span<const State> states = std::span(_states).subspan(first);
  const auto best =
      std::max_element(states.begin(), states.end(),
                       [](const State& a, const State& b) { return a.score < b.score; });
  const auto isAsGood = [least = best->score * (1 - margin)](const State& state) {
    return state.score >= least;
  };
  if (!best->isCertain || std::count_if(states.begin(), states.end(), isAsGood) != 1) return false;

  _path.resize(_sentence.size());
  const State* state = &*best;
  for (std::size_t position = _sentence.size(); position-- > 0;) {
    _path[position] = state->tag;
    state = &_states[state->previous];
  }
  return true;
}

}  // namespace Tolvek
