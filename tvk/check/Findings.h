// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Tolvek {

/// Where in a file something is: a line of a text (from 1), a byte (from 0), or the file as a
/// whole.
struct Place {
  enum class In { kFile, kLine, kByte };
  In in = In::kFile;
  std::size_t number = 0;
};
inline constexpr Place kWholeFile{};
constexpr Place AtLine(std::size_t number) {
  return {Place::In::kLine, number};
}
constexpr Place AtByte(std::size_t offset) {
  return {Place::In::kByte, offset};
}

struct Problem {
  Place place;
  std::string what;
};

/// Something that a file says of itself: a number, a text, or a list of either.
struct Fact {
  using Value =
      std::variant<std::size_t, std::string, std::vector<std::size_t>, std::vector<std::string>>;
  std::string name;
  Value value;
};

/// What is found in one file: facts; remarks, which are no faults; problems, of which the first
/// `limit` of the file (at least one) are kept and all are counted.
class Findings {
 public:
  explicit Findings(std::size_t limit) : _limit(limit) {}

  void AddFact(std::string name, Fact::Value value) {
    _facts.push_back({std::move(name), std::move(value)});
  }
  void AddRemark(std::string what) { _remarks.push_back(std::move(what)); }
  void AddProblem(Place place, std::string what) {
    ++_problemCount;
    // Readers report names, say, after all else.
    const auto next = std::upper_bound(
        _problems.begin(), _problems.end(), place.number,
        [](std::size_t number, const Problem& problem) { return number < problem.place.number; });
    if (_problems.size() == _limit && next == _problems.end()) return;
    _problems.insert(next, {place, std::move(what)});
    if (_problems.size() > _limit) _problems.pop_back();
  }
  /// A problem that leaves the rest of the file without meaning.
  void Stop(Place place, const std::string& what) {
    AddProblem(place, what + "; the rest cannot be made sense of and is not checked");
    _isStopped = true;
  }

  /// A problem for which nothing of the file is checked.
  void Refuse(std::string what) {
    AddProblem(kWholeFile, std::move(what));
    _isStopped = true;
  }

  const std::vector<Fact>& Facts() const { return _facts; }
  const std::vector<std::string>& Remarks() const { return _remarks; }
  /// The first ones in the order of the file.
  const std::vector<Problem>& Problems() const { return _problems; }
  std::size_t ProblemCount() const { return _problemCount; }
  /// Has the file been read to its end?
  bool IsComplete() const { return !_isStopped; }

 private:
  std::size_t _limit;
  std::size_t _problemCount = 0;
  bool _isStopped = false;
  std::vector<Fact> _facts;
  std::vector<std::string> _remarks;
  std::vector<Problem> _problems;
};

}  // namespace Tolvek
