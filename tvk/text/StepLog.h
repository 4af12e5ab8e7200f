// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <iosfwd>
#include <string>

namespace Tolvek {

/// Tells a waiting user how far long work is, on a stream beside the output. On a terminal the line
/// of a running step is rewritten in place; elsewhere every tenth one is written.
class StepLog {
 public:
  /// A null stream keeps quiet.
  StepLog(std::ostream* out, bool isTerminal);

  /// A line of its own.
  void Say(const std::string& text);

  /// Begins a step of at most `most` iterations.
  void Begin(const std::string& name, int most);
  /// Iteration `number` (from 1) is done; `figures` follows its number and the time left.
  void Iteration(int number, const std::string& figures);
  /// The step is over; `result` closes its line.
  void End(const std::string& result);

 private:
  double Seconds() const;
  void Rewrite(const std::string& line);

  std::ostream* _out;
  bool _isTerminal;
  std::string _name;
  int _most = 0;
  std::chrono::steady_clock::time_point _start;
  std::size_t _shown = 0;  ///< length of the line that may be rewritten
};

}  // namespace Tolvek
