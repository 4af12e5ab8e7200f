// SPDX-License-Identifier: Apache-2.0
#include "tvk/text/Progress.h"

#include <array>
#include <cstdio>
#include <ostream>
#include <utility>

namespace Tolvek {

Progress::Progress(std::ostream* out, bool isTerminal, std::string name, std::size_t totalBytes)
    : _out(out), _isTerminal(isTerminal), _name(std::move(name)), _totalBytes(totalBytes) {}

Progress::~Progress() {
  if (_isLineOpen) *_out << std::endl;
}

void Progress::Add(std::size_t lines, std::size_t bytes) {
  _lines += lines;
  _bytes += bytes;
  if (_out == nullptr) return;
  const auto now = Clock::now();
  if (now - _lastShown <
      (_isTerminal ? std::chrono::milliseconds(250) : std::chrono::seconds(10))) {
    return;
  }
  _lastShown = now;
  Show(_isTerminal ? "" : "\n");
}

void Progress::End() {
  _totalBytes = 0;
  if (_out != nullptr) Show("\n");
}

void Progress::Show(const std::string& ending) {
  const double seconds = std::chrono::duration<double>(Clock::now() - _start).count();
  const double megabytes = static_cast<double>(_bytes) / 1e6;
  const double rate = seconds > 0 ? megabytes / seconds : 0;
  std::array<char, 160> text;
  std::snprintf(text.data(), text.size(), ": %zu lines, %.1f MB, %.1f MB/s", _lines, megabytes,
                rate);
  std::string line = _name + text.data();
  if (_totalBytes > _bytes && rate > 0) {
    const double left = static_cast<double>(_totalBytes - _bytes) / 1e6 / rate;
    std::snprintf(text.data(), text.size(), ", %.0f s left", left);
    line += text.data();
  }
  static constexpr const char* kRestOfLine = "\x1B[K";
  if (_isTerminal) *_out << '\r' << line << kRestOfLine;
  if (!_isTerminal) *_out << line;
  *_out << ending << std::flush;
  _isLineOpen = ending.empty();
}

}  // namespace Tolvek
