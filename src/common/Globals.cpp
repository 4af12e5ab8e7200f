// SPDX-License-Identifier: Apache-2.0
#include "common/Globals.h"

#include <iostream>

namespace Tolvek {

void TrimLine(std::string& text) {
  static constexpr const char* kBlanks = " \t\r\n";
  text.erase(0, text.find_first_not_of(kBlanks));  // no such character: npos erases everything
  text.erase(text.find_last_not_of(kBlanks) + 1);
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
