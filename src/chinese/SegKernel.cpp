// SPDX-License-Identifier: Apache-2.0
#include "chinese/SegKernel.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <span>

#include "chinese/SegRules.h"
#include "common/Fields.h"

namespace Tolvek {

namespace {

using Row = SegTables::Row;

constexpr double kDead = -std::numeric_limits<double>::infinity();

/// The tags in the order of the bits of a step.
enum Lane : std::uint8_t { kLaneB, kLaneS, kLaneM, kLaneE };
/// The two that lead to each, the first and the second one.
constexpr Lane kBefore[4][2] = {
    {kLaneE, kLaneS}, {kLaneE, kLaneS}, {kLaneB, kLaneM}, {kLaneB, kLaneM}};

double LaneScore(const Row& scores, unsigned lane) {
  return lane <= kLaneS ? scores.begins[lane] : scores.goesOn[lane - kLaneM];
}

/// Set in a step, at the place of a tag, when the choice between the tags before it was certain.
constexpr unsigned kCertain = 1U << 4U;

/// Scores without the normaliser.
class Certified {
 public:
  static constexpr bool kIsDocumented = false;

  Certified(const SegTables& tables, double alpha)
      : _tables(tables), _alpha(alpha), _factor((1 - alpha) * std::numbers::log10e) {}

  const SegTables& Tables() const { return _tables; }
  double Alpha() const { return _alpha; }

  /// Turns the weighted sums of a character's tags into their share of a path's score.
  void Share(Row& row) const {
    row.begins *= _factor;
    row.goesOn *= _factor;
  }

  /// More than the difference of two states' scores can be off, here and as documented taken
  /// together, when their paths have been apart for `steps` characters, `length` after the
  /// beginning.
  ///
  /// With u = 2^-53 the largest relative rounding error, and M the largest share of a character in
  /// a score, a score after n characters is within n * M. Either sum makes two additions a
  /// character: errors of at most 2u * n * M. The shares themselves are off by less than
  /// 8u * (M + 1): exp of the C library is good to one unit in the last place, log10 to two; three
  /// additions, a division, a few products. That makes steps * (2u * n * M + 8u * (M + 1)) for a
  /// score, four times as much for the difference of two scores in two forms: less than
  /// 8u * (M + 1) * steps * (n + 4). Twice that is asked for. The normalisers, common to both
  /// scores, are no rounding: they cancel.
  double Margin(std::size_t steps, std::size_t length) const {
    const double sums = 2 * _tables.LargestSum() + 2;  // log(sum of four exponentials) included
    const double largest = std::abs(1 - _alpha) * sums * std::numbers::log10e +
                           std::abs(_alpha) * _tables.LargestTokenScore();
    return 0x1p-49 * (largest + 1) * static_cast<double>(steps) * (static_cast<double>(length) + 4);
  }

 private:
  const SegTables& _tables;
  double _alpha;
  double _factor;
};

/// Scores as documented, to the last bit.
class Documented {
 public:
  static constexpr bool kIsDocumented = true;

  Documented(const SegTables& tables, double alpha) : _tables(tables), _alpha(alpha) {}

  const SegTables& Tables() const { return _tables; }
  double Alpha() const { return _alpha; }

  void Share(Row& row) const {
    double z = 0;
    for (const SegTag tag : _tables.TagOrder()) {
      row.Set(tag, std::exp(row[tag]));
      z += row[tag];
    }
    for (const SegTag tag : _tables.TagOrder()) {
      row.Set(tag, (1 - _alpha) * std::log10(row[tag] / z));
    }
  }

 private:
  const SegTables& _tables;
  double _alpha;
};

/// Leaves a character only the tags that it may have. Null pointers stand for the edges.
void Restrict(const SegTables::Character* previous, const SegTables::Character& current,
              const SegTables::Character* next, Row& share) {
  // A bracket, a word by itself, takes the score of a word's end: kept so.
  if (current.role.isBracket) share.Set(kTagS, share[kTagE]);
  Row allowed{{kDead, kDead}, {kDead, kDead}};
  for (const SegTag tag : AllowedTags(previous == nullptr ? nullptr : &previous->role, current.role,
                                      next == nullptr ? nullptr : &next->role)) {
    allowed.Set(tag, share[tag]);
  }
  share = allowed;
}

}  // namespace

bool SegKernel::Segment(const SegTables& tables, double alpha, std::string_view line,
                        std::string& out) {
  // Beyond this, products could overflow. It is also false for what is not a number.
  static constexpr double kLargestAlpha = 1e6;
  if (line.empty() || !(std::abs(alpha) <= kLargestAlpha)) return false;
  tables.Split(line, _ids);

  if (Search(Certified(tables, alpha))) {
    ++_counts.certified;
  } else if (Search(Documented(tables, alpha))) {
    ++_counts.exact;
  } else {
    return false;
  }
  Write(line, out);
  return true;
}

std::size_t SegKernel::FindCommon(const Row& scores, std::size_t common, std::size_t end) const {
  // Some lines have two paths that never meet: no cause to go back to the line's beginning each
  // time.
  static constexpr std::size_t kFarthest = 256;
  const std::size_t first = end - std::min(end - common, kFarthest);
  // The tags at a position that paths may have, one bit each: here those of all paths, then back.
  unsigned lanes = WhichLarger(scores.begins, Both(kDead)) | WhichLarger(scores.goesOn, Both(kDead))
                                                                 << 2U;
  for (std::size_t i = end; i > first; --i) {
    if (std::has_single_bit(lanes)) return i;
    unsigned before = 0;
    for (const Lane lane : {kLaneB, kLaneS, kLaneM, kLaneE}) {
      if ((lanes >> lane & 1U) == 0) continue;
      const unsigned step = static_cast<unsigned>(_steps[i - 1]) >> lane;
      before |= 1U << kBefore[lane][step & 1U];
      if ((step & kCertain) == 0) before |= 1U << kBefore[lane][(step & 1U) ^ 1U];
    }
    lanes = before;
  }
  return common;
}

SegKernel::Order SegKernel::OrderOf(std::size_t position, unsigned a, unsigned b) const {
  // Equal scores come from a few unknown characters in a row, as a rule.
  static constexpr std::size_t kFarthest = 64;
  const auto choose = [](bool first) { return first ? Order::kFirst : Order::kSecond; };
  for (std::size_t i = position; position - i < kFarthest; --i) {
    // The alternatives of a character come as B, E, M, S; the first states stay in that order.
    const bool isFirst = a == kLaneB || a == kLaneE;
    if (i == 0) return choose(isFirst);
    const Row& scores = _scores[i];
    const double scoreA = LaneScore(scores, a);
    const double scoreB = LaneScore(scores, b);
    if (scoreA != scoreB) return choose(scoreA > scoreB);
    if ((_steps[i] >> a & _steps[i] >> b & kCertain) == 0) return Order::kUnknown;
    const unsigned beforeA = kBefore[a][_steps[i] >> a & 1U];
    const unsigned beforeB = kBefore[b][_steps[i] >> b & 1U];
    if (beforeA == beforeB) return choose(isFirst);
    a = beforeA;
    b = beforeB;
  }
  return Order::kUnknown;
}

void SegKernel::Settle(std::size_t position, unsigned& choices, unsigned& certain) const {
  for (const Lane lane : {kLaneB, kLaneS, kLaneM, kLaneE}) {
    if ((certain >> lane & 1U) != 0) continue;
    const Order order = OrderOf(position - 1, kBefore[lane][0], kBefore[lane][1]);
    if (order == Order::kUnknown) continue;
    choices |= order == Order::kSecond ? 1U << lane : 0U;
    certain |= 1U << lane;
  }
}

void SegKernel::LookUp(const SegTables& tables, std::size_t begin, std::size_t end) {
  const SegTables::Id* const ids = _ids.data();  // character i is entry i + 1
  for (std::size_t i = begin; i <= end; ++i) tables.Prefetch(ids[i], ids[i + 1]);
  for (std::size_t i = begin; i <= end; ++i) {
    _contexts[i - begin] = tables.Find(ids[i], ids[i + 1], ids[i + 2]);
  }
  for (std::size_t i = begin; i < end; ++i) {
    tables.ScoreTokens(tables.At(ids[i]), tables.At(ids[i + 1]), _contexts[i - begin],
                       _tokens[i - begin]);
  }
}

template <class Scoring>
bool SegKernel::Search(const Scoring& scoring) {
  using Tables = SegTables;
  const Tables& tables = scoring.Tables();
  const double alpha = scoring.Alpha();
  const std::size_t length = _ids.size() - 3;
  const Tables::Id* const ids = _ids.data();  // character i is entry i + 1
  _steps.resize(length);
  _scores.clear();

  Row scores;
  std::size_t common = 0;  // the last character, from 1, where all paths that may be best met
  TwoDoubles margin = Both(0);
  const Tables::Character* previous = &tables.At(Tables::kBegin);
  const Tables::Character* current = &tables.At(ids[1]);
  Tables::ClassContext classes = Tables::Shift(previous->classes, *current);
  for (std::size_t i = 0; i < length; ++i) {
    const std::size_t inBlock = i % kBlock;
    if (inBlock == 0) {
      const std::size_t end = std::min(i + kBlock, length);
      LookUp(tables, i, end);
      if constexpr (!Scoring::kIsDocumented) {
        common = FindCommon(scores, common, i);
        margin = Both(scoring.Margin(end - common, end));
      }
    }
    const Tables::Character& next = tables.At(ids[i + 2]);
    classes = Tables::Shift(classes, next);

    Row share = previous->asPrevious;
    share += current->asCurrent;
    share += next.asNext;
    share += Row::Load(_contexts[inBlock].withPrevious);
    share += Row::Load(_contexts[inBlock + 1].withCurrent);
    share += *_contexts[inBlock].around;
    share += tables.ForPunctuation(*current);
    share += tables.ForClasses(0, classes);
    share += tables.ForClasses(1, classes);
    share += tables.ForClasses(2, classes);
    scoring.Share(share);
    if (i == 0 || i + 1 == length || current->isRestricted) {
      Restrict(i == 0 ? nullptr : previous, *current, i + 1 == length ? nullptr : &next, share);
    }

    if (i == 0) {
      scores.begins = share.begins + alpha * tables.AtBegin(*current).begins;
      scores.goesOn = Both(kDead);
    } else {
      const Tables::TokenRow& tokens = _tokens[inBlock];
      const auto reach = [alpha](double before, TwoDoubles own, TwoDoubles token) {
        return (Both(before) + own) + alpha * token;
      };
      const TwoDoubles afterE = reach(scores[kTagE], share.begins, tokens.Get(0));
      const TwoDoubles afterB = reach(scores[kTagB], share.goesOn, tokens.Get(2));
      const TwoDoubles afterS = reach(scores[kTagS], share.begins, tokens.Get(4));
      const TwoDoubles afterM = reach(scores[kTagM], share.goesOn, tokens.Get(6));
      unsigned choices = WhichLarger(afterS, afterE) | WhichLarger(afterM, afterB) << 2U;
      unsigned certain = WhichLarger(Magnitude(afterS - afterE), margin) |
                         WhichLarger(Magnitude(afterM - afterB), margin) << 2U;
      if constexpr (Scoring::kIsDocumented) Settle(i, choices, certain);
      _steps[i] = static_cast<std::uint8_t>(choices | certain << 4U);
      scores.begins = Larger(afterE, afterS);
      scores.goesOn = Larger(afterB, afterM);
    }
    if constexpr (Scoring::kIsDocumented) _scores.push_back(scores);
    previous = current;
    current = &next;
  }

  // After the loop, `previous` is the last character.
  const Row& end = tables.AtEnd(*previous);
  const double endE = scores[kTagE] + alpha * end[kTagE];
  const double endS = scores[kTagS] + alpha * end[kTagS];
  Lane lane = endS > endE ? kLaneS : kLaneE;
  if (!(std::abs(endE - endS) > margin[0])) {  // or two dead ends
    if (!Scoring::kIsDocumented || std::max(endE, endS) == kDead) return false;
    const Order order = OrderOf(length - 1, kLaneE, kLaneS);
    if (order == Order::kUnknown) return false;
    lane = order == Order::kFirst ? kLaneE : kLaneS;
  }
  for (std::size_t i = length; i-- > 0;) {
    const unsigned step = _steps[i];
    _steps[i] = lane;
    if (i > 0 && (step >> lane & kCertain) == 0) return false;
    lane = kBefore[lane][step >> lane & 1U];
  }
  return true;
}

void SegKernel::Write(std::string_view line, std::string& out) {
  static constexpr std::string_view kFullWidthSpace = "\xA1\xA1";
  // White space ends a word and is not written, so what is written ends with a blank where a word
  // has ended. Where words end is hard to foretell: the blank is written and counted without a
  // jump.
  _words.resize(2 * line.size() + 2);
  char* const begin = _words.data();
  char* end = begin;
  *end++ = ' ';
  const auto endWord = [&end](bool ends) {
    const bool isFirst = end[-1] != ' ';
    *end = ' ';
    end += static_cast<std::ptrdiff_t>(ends & isFirst);
  };
  const auto put = [&](char byte) {
    if (IsSpace(byte)) [[unlikely]] {
      endWord(true);
    } else {
      *end++ = byte;
    }
  };
  const char* const lineEnd = line.data() + line.size();
  const std::uint8_t* lane = _steps.data();
  for (const char* byte = line.data(); byte < lineEnd;) {
    endWord(*lane++ <= kLaneS);
    const char lead = *byte++;
    const bool isPair = static_cast<unsigned char>(lead) >= 0x80 && byte < lineEnd;
    if (isPair && lead == kFullWidthSpace[0] && *byte == kFullWidthSpace[1]) [[unlikely]] {
      endWord(true);
      ++byte;
    } else {
      put(lead);
      if (isPair) put(*byte++);
    }
  }
  endWord(true);
  out.assign(begin + 1, end);
}

}  // namespace Tolvek
