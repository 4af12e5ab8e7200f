// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>

namespace Tolvek {

/// Tells on a stream how far reading through files has come: lines, megabytes, their rate, and the
/// time left where the size of the whole is known. On a terminal one line is rewritten in place a
/// few times a second; elsewhere a line is written every ten seconds.
class Progress {
 public:
  /// A null stream keeps quiet. `totalBytes` 0: not known.
  Progress(std::ostream* out, bool isTerminal, std::string name, std::size_t totalBytes);

  /// Ends a line that is still to be rewritten, so that a failure gets one of its own.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Add(std::size_t lines, std::size_t bytes);
  /// The last report.
  void End();

 private:
  using Clock = std::chrono::steady_clock;

  void Show(const std::string& ending);

  std::ostream* _out;
  bool _isTerminal;
  std::string _name;
  std::size_t _totalBytes;
  bool _isLineOpen = false;
  std::size_t _lines = 0;
  std::size_t _bytes = 0;
  Clock::time_point _start = Clock::now();
  Clock::time_point _lastShown = _start;
};

}  // namespace Tolvek
