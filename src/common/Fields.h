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

/// Is the byte white space: a blank, tab, line feed, vertical tab, form feed or carriage return?
inline bool IsSpace(char byte) {
  return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

/// Calls `visit(std::string_view field)` for each piece of the text between white space.
template <class Visit>
void ForEachField(std::string_view text, Visit&& visit) {
  for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end + 1) {
    for (end = begin; end < text.size() && !IsSpace(text[end]);) ++end;
    if (end > begin) visit(text.substr(begin, end - begin));
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
