// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>

namespace Tolvek {

/// Tells a waiting user how far long work is, on a stream beside the output. On a terminal the line
/// of a running step is rewritten in place; elsewhere every tenth iteration is written, or, of a
/// step without iterations, a line every ten seconds.
class StepLog {
 public:
  /// `columns` is the width of the terminal that the stream is; 0: it is none. A null stream keeps
  /// quiet.
  StepLog(std::ostream* out, std::size_t columns);

  /// A line of its own.
  void Say(const std::string& text);

  /// Begins a step of at most `most` iterations; 0: one without.
  void Begin(const std::string& name, int most = 0);
  /// Iteration `number` (from 1) is done; `figures` follows its number and the time left. A line
  /// that `stays` is written in any case and not rewritten.
  void Iteration(int number, const std::string& figures, bool stays = false);
  /// So much of a step without iterations is done. Cheap, but for one thread only: of work that is
  /// spread, one part can stand for all.
  void Part(std::size_t done, std::size_t whole);
  /// The step is over; `result` closes its line.
  void End(const std::string& result);

 private:
  double Seconds() const;
  void Rewrite(const std::string& line);
  void EndLine(const std::string& line);

  std::ostream* _out;
  std::size_t _columns;
  std::string _name;
  int _most = 0;
  std::chrono::steady_clock::time_point _start;
  double _nextPart = 0;    ///< seconds after the start at which a part is worth a line again
  std::size_t _shown = 0;  ///< length of the line that may be rewritten
};

}  // namespace Tolvek
