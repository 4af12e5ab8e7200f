// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace Tolvek {

/// Calls `visit(std::string_view field)` for each piece of the text between white space: blanks,
/// tabs, line feeds, vertical tabs, form feeds and carriage returns.
template <class Visit>
void ForEachField(std::string_view text, Visit&& visit) {
  static constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
  std::size_t end = 0;
  for (std::size_t begin = 0; (begin = text.find_first_not_of(kWhiteSpace, end)) != text.npos;) {
    end = std::min(text.find_first_of(kWhiteSpace, begin), text.size());
    visit(text.substr(begin, end - begin));
  }
}

/// Appends the fields of a text.
inline void SplitFields(std::string_view text, std::vector<std::string>& fields) {
  ForEachField(text, [&](std::string_view field) { fields.emplace_back(field); });
}

/// The number at the start of a line, as formatted extraction gives it: 0 when there is none, the
/// nearest bound when it is out of range.
template <class T>
T ExtractNumber(const std::string& line) {
  std::istringstream in(line);
  in.imbue(std::locale::classic());
  T value{};
  in >> value;
  return value;
}

}  // namespace Tolvek
