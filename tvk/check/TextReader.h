// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tvk/check/Findings.h"

namespace Tolvek {

/// Without blanks, tabs, carriage returns and line feeds at both ends, as `TrimLine` leaves it.
std::string_view Trimmed(std::string_view text);

/// The decimal integer that the text is as a whole.
std::optional<long long> WholeInteger(std::string_view text);
/// The decimal number that the text is as a whole; also "inf" and "nan", with a sign or not.
std::optional<double> WholeNumber(std::string_view text);

/// Takes the lines of a text resource one after another, and its sections: a line with the number
/// of entries, the entries. A line that is missing is told as such: after that nothing is given.
class TextReader {
 public:
  /// What else may stand on the line of a count.
  enum class BehindCount { kNothing, kAnything };

  /// Both must outlive the reader.
  TextReader(std::string_view text, Findings& findings) : _text(text), _findings(findings) {}

  /// The next line, without its line feed; nothing at the end.
  std::optional<std::string_view> Line();
  /// Of the line given last, from 1.
  std::size_t Number() const { return _number; }
  Place Here() const { return AtLine(_number); }
  bool AtEnd() const { return _text.empty(); }

  /// The line with the number of `what`, "features".
  std::optional<std::size_t> Count(const std::string& what,
                                   BehindCount behind = BehindCount::kNothing);
  /// The line of entry `number` (from 0) of `count`; `what` is their name: "features".
  std::optional<std::string_view> Entry(const char* what, std::size_t number, std::size_t count);

  /// Says what is left behind the last line, and whether that had its line feed.
  void End(const std::string& lastLine);
  /// Says whether the last line had its line feed.
  void EndOfLines();

 private:
  std::string_view _text;
  Findings& _findings;
  std::size_t _number = 0;
  bool _hasLineFeed = true;  ///< the line given last
};

}  // namespace Tolvek
