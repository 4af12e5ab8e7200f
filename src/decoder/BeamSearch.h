// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <deque>
#include <iostream>
#include <span>
#include <vector>

/// The one lattice beam search of all decoders. It knows nothing of any language: a lattice says
/// which alternatives a position has, which may follow which, and what a step scores.
namespace Tolvek {

/// What a search runs over. A path takes one alternative a position. An alternative has a member
/// `tag`; hypotheses that agree in their last tags are merged.
///
/// `recent` holds the last N alternatives of a path, oldest first, the one just added last; null
/// pointers stand for positions before the first.
template <class Lattice, class Alternative>
concept SearchLattice = requires(const Lattice lattice, const Alternative& alternative,
                                 std::size_t position, double score,
                                 std::span<const Alternative* const> recent) {
  { alternative.tag } -> std::convertible_to<int>;
  { lattice.Length() } -> std::convertible_to<std::size_t>;
  { lattice.Alternatives(position) } -> std::convertible_to<std::span<const Alternative>>;
  /// May the second alternative follow the first?
  { lattice.Allows(alternative, alternative) } -> std::same_as<bool>;
  /// The score of a path that is extended by its newest alternative: `score` plus the step's
  /// terms, added one by one in their documented order (the sum's last bits depend on it).
  { lattice.Extend(score, position, recent) } -> std::same_as<double>;
  /// May a path end on this alternative, and what is its score then?
  { lattice.MayEnd(alternative) } -> std::same_as<bool>;
  { lattice.Finish(score, recent) } -> std::same_as<double>;
};

/// Is the first score better? A score that is not a number is the worst of all, so that this is a
/// strict weak order on any scores.
inline bool BetterScore(double a, double b) {
  return a > b || (std::isnan(b) && !std::isnan(a));
}

/// Do two tag histories agree from the given position on? Histories of different lengths never do,
/// which is reported on the standard error stream.
inline bool SameHistory(const std::deque<int>& a, const std::deque<int>& b, std::size_t from) {
  if (a.size() != b.size()) {
    std::cerr << "The size of context are not the same!" << std::endl;
    return false;
  }
  for (std::size_t i = from; i < a.size(); ++i) {
    if (a[i] != b[i]) return false;
  }
  return true;
}

/// Dynamic programming over tag histories (Viterbi, 1967) with a beam (Lowerre, 1976).
///
/// A state is its last alternative, its predecessor and its score: its history is read off the
/// chain of predecessors, nothing is copied. With N the order, states whose last N - 1 tags agree
/// score alike from here on, so after the first position only the best of them stays; on an exact
/// tie the later one goes only if all N tags agree. The survivors are sorted by score, best first
/// (ties stay in the order they were made in), and cut to the beam width.
///
/// The object keeps its memory from one search to the next; it is not re-entrant.
template <class Alternative>
class BeamSearch {
 public:
  /// Replaces `path` by the best path's alternatives, one a position (pointers into the lattice).
  /// False, and the path empty, when no allowed path is left. Among equally good ends the first
  /// wins.
  template <SearchLattice<Alternative> Lattice>
  bool Search(const Lattice& lattice, int order, std::size_t beamWidth,
              std::vector<const Alternative*>& path) {
    path.clear();
    _states.clear();
    _stages.assign(1, 0);
    _recent.assign(static_cast<std::size_t>(std::max(order, 1)), nullptr);
    const std::size_t length = lattice.Length();
    for (std::size_t position = 0; position < length; ++position) {
      _candidates.clear();
      if (position == 0) {
        AddFirst(lattice);
      } else {
        Expand(lattice, position);
      }
      // The states of the first position keep the lattice's order unless the beam cuts them.
      if (position > 0 || _candidates.size() > beamWidth) {
        std::stable_sort(
            _candidates.begin(), _candidates.end(),
            [](const State& a, const State& b) { return BetterScore(a.score, b.score); });
        _candidates.resize(std::min(_candidates.size(), beamWidth));
      }
      _states.insert(_states.end(), _candidates.begin(), _candidates.end());
      _stages.push_back(_states.size());
    }
    return length > 0 && TraceBack(lattice, path);
  }

 private:
  /// `previous` is the predecessor's index in `_states`, or `kNone` at the first position.
  struct State {
    const Alternative* last;
    std::size_t previous;
    double score;
  };
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  template <class Lattice>
  void AddFirst(const Lattice& lattice) {
    for (const Alternative& alternative : lattice.Alternatives(0)) {
      FillRecent(kNone, &alternative);
      _candidates.push_back({&alternative, kNone, lattice.Extend(0.0, 0, _recent)});
    }
  }

  template <class Lattice>
  void Expand(const Lattice& lattice, std::size_t position) {
    for (std::size_t from = _stages[position - 1]; from < _stages[position]; ++from) {
      for (const Alternative& alternative : lattice.Alternatives(position)) {
        if (!lattice.Allows(*_states[from].last, alternative)) continue;
        FillRecent(from, &alternative);
        AddCandidate({&alternative, from, lattice.Extend(_states[from].score, position, _recent)});
      }
    }
  }

  /// The last alternatives of a path that goes on from state `from` with `newest`.
  void FillRecent(std::size_t from, const Alternative* newest) {
    _recent.back() = newest;
    for (std::size_t i = _recent.size() - 1; i-- > 0;) {
      _recent[i] = from == kNone ? nullptr : _states[from].last;
      if (from != kNone) from = _states[from].previous;
    }
  }

  /// Do the last `count` tags of two candidates agree?
  bool SameTags(const State& a, const State& b, std::size_t count) const {
    if (count == 0) return true;
    if (a.last->tag != b.last->tag) return false;
    std::size_t i = a.previous;
    std::size_t j = b.previous;
    for (; --count > 0 && i != j; i = _states[i].previous, j = _states[j].previous) {
      // Both paths are equally long, so both begin at once, and then i == j == kNone.
      if (_states[i].last->tag != _states[j].last->tag) return false;
    }
    return true;
  }

  /// Adds a candidate unless one that it merges with is better; drops those that it beats. The
  /// candidates before it are already merged, so the result is that of comparing all pairs.
  void AddCandidate(const State& candidate) {
    const std::size_t order = _recent.size();
    bool beaten = false;
    std::erase_if(_candidates, [&](const State& other) {
      if (beaten || !SameTags(other, candidate, order - 1)) return false;
      if (BetterScore(candidate.score, other.score)) return true;
      beaten = BetterScore(other.score, candidate.score) || SameTags(other, candidate, order);
      return false;
    });
    if (!beaten) _candidates.push_back(candidate);
  }

  template <class Lattice>
  bool TraceBack(const Lattice& lattice, std::vector<const Alternative*>& path) {
    std::size_t best = kNone;
    double bestScore = 0;
    for (std::size_t state = _stages[_stages.size() - 2]; state < _stages.back(); ++state) {
      if (!lattice.MayEnd(*_states[state].last)) continue;
      FillRecent(state, nullptr);
      const double score = lattice.Finish(_states[state].score, _recent);
      if (best == kNone || BetterScore(score, bestScore)) {
        best = state;
        bestScore = score;
      }
    }
    for (std::size_t state = best; state != kNone; state = _states[state].previous) {
      path.push_back(_states[state].last);
    }
    std::reverse(path.begin(), path.end());
    return best != kNone;
  }

  std::vector<State> _states;        ///< the stages of all positions, one after another
  std::vector<std::size_t> _stages;  ///< stage i is [_stages[i], _stages[i + 1]) of `_states`
  std::vector<State> _candidates;
  std::vector<const Alternative*> _recent;  ///< [N]
};

}  // namespace Tolvek
