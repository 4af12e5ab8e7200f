// SPDX-License-Identifier: Apache-2.0
#include "common/Globals.h"

#include <iostream>

namespace Tolvek {

void TrimLine(std::string& text) {
  const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  std::size_t end = text.size();
  while (end > 0 && isBlank(text[end - 1])) --end;
  text.resize(end);
  std::size_t begin = 0;
  while (begin < end && isBlank(text[begin])) ++begin;
  if (begin > 0) text.erase(0, begin);
}

void ReportNoPosTagger() {
  // No line end between the message and the closing rule: kept so.
  std::cerr << kRule << std::endl
            << "The PosTagger has not been initialized." << kRule << std::endl;
}

std::uint64_t string_hash::operator()(const std::string& text) const {
  std::uint64_t hash = 0;
  for (const char* c = text.c_str(); *c != '\0'; ++c) {
    // The conversion to 64 unsigned bits wraps a negative byte modulo 2^64, as intended.
    hash = 5 * hash + static_cast<std::uint64_t>(static_cast<signed char>(*c));
  }
  return hash;
}

}  // namespace Tolvek
