// SPDX-License-Identifier: Apache-2.0
#include "tvk/evaluate/Ratio.h"

#include <array>
#include <cstdio>

namespace Tolvek {

Ratio Divide(std::size_t part, std::size_t whole) {
  if (whole == 0) return std::nullopt;
  return static_cast<double>(part) / static_cast<double>(whole);
}

Ratio HarmonicMean(const Ratio& a, const Ratio& b) {
  if (!a || !b || *a + *b == 0) return std::nullopt;
  return 2 * *a * *b / (*a + *b);
}

std::string ShowRatio(const Ratio& ratio) {
  if (!ratio) return "undefined";
  std::array<char, 32> text;
  std::snprintf(text.data(), text.size(), "%.2f", 100 * *ratio);
  return text.data();
}

}  // namespace Tolvek
