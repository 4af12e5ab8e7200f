// SPDX-License-Identifier: Apache-2.0
#include "tvk/text/StepLog.h"

#include <array>
#include <cstdio>
#include <ostream>

namespace Tolvek {

namespace {

std::string ShowSeconds(double seconds) {
  std::array<char, 32> text;
  std::snprintf(text.data(), text.size(), "%.1f s", seconds);
  return text.data();
}

}  // namespace

StepLog::StepLog(std::ostream* out, bool isTerminal) : _out(out), _isTerminal(isTerminal) {}

void StepLog::Say(const std::string& text) {
  if (_out != nullptr) *_out << text << std::endl;
}

void StepLog::Begin(const std::string& name, int most) {
  _name = name;
  _most = most;
  _start = std::chrono::steady_clock::now();
  _shown = 0;
}

void StepLog::Iteration(int number, const std::string& figures) {
  const double left = Seconds() / number * (_most - number);
  const std::string line = _name + ": iteration " + std::to_string(number) + " of at most " +
                           std::to_string(_most) + ", " + figures + ", at most " +
                           ShowSeconds(left) + " left";
  if (_out == nullptr) return;
  if (_isTerminal) {
    Rewrite(line);
  } else if (number % 10 == 0) {
    *_out << line << std::endl;
  }
}

void StepLog::End(const std::string& result) {
  if (_out == nullptr) return;
  const std::string line = _name + ": " + result + " (" + ShowSeconds(Seconds()) + ")";
  if (_isTerminal) Rewrite(line);
  if (!_isTerminal) *_out << line;
  *_out << std::endl;
}

double StepLog::Seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count();
}

void StepLog::Rewrite(const std::string& line) {
  *_out << '\r' << line;
  if (line.size() < _shown) *_out << std::string(_shown - line.size(), ' ');
  *_out << std::flush;
  _shown = line.size();
}

}  // namespace Tolvek
