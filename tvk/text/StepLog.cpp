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

StepLog::StepLog(std::ostream* out, std::size_t columns) : _out(out), _columns(columns) {}

void StepLog::Say(const std::string& text) {
  if (_out != nullptr) EndLine(text);
}

void StepLog::Begin(const std::string& name, int most) {
  _name = name;
  _most = most;
  _start = std::chrono::steady_clock::now();
  _nextPart = 0;
  if (_out != nullptr && _columns > 0) Rewrite(name + " ...");
}

void StepLog::Iteration(int number, const std::string& figures, bool stays) {
  if (_out == nullptr) return;
  const double left = Seconds() / number * (_most - number);
  const std::string line = _name + ": iteration " + std::to_string(number) + " of at most " +
                           std::to_string(_most) + ", " + figures + ", at most " +
                           ShowSeconds(left) + " left";
  if (stays || (_columns == 0 && number % 10 == 0)) {
    EndLine(line);
  } else if (_columns > 0) {
    Rewrite(line);
  }
}

void StepLog::Part(std::size_t done, std::size_t whole) {
  if (_out == nullptr || done == 0) return;
  const double seconds = Seconds();
  const double interval = _columns > 0 ? 0.1 : 10;
  if (_nextPart == 0) _nextPart = interval;
  if (seconds < _nextPart) return;
  _nextPart = seconds + interval;
  const auto part = static_cast<double>(done) / static_cast<double>(whole);
  const std::string line = _name + ": " + std::to_string(100 * done / whole) + "%, " +
                           ShowSeconds(seconds / part - seconds) + " left";
  if (_columns > 0) {
    Rewrite(line);
  } else {
    EndLine(line);
  }
}

void StepLog::End(const std::string& result) {
  if (_out != nullptr) EndLine(_name + ": " + result + " (" + ShowSeconds(Seconds()) + ")");
}

double StepLog::Seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count();
}

/// A line wider than the terminal could not be rewritten: what is too much is cut off.
void StepLog::Rewrite(const std::string& line) {
  const std::string shown = line.substr(0, _columns - 1);
  *_out << '\r' << shown;
  if (shown.size() < _shown) *_out << std::string(_shown - shown.size(), ' ');
  *_out << std::flush;
  _shown = shown.size();
}

/// Writes a line that stays, in the place of one that may be rewritten.
void StepLog::EndLine(const std::string& line) {
  if (_shown > 0) *_out << '\r';
  *_out << line;
  if (line.size() < _shown) *_out << std::string(_shown - line.size(), ' ');
  *_out << std::endl;
  _shown = 0;
}

}  // namespace Tolvek
