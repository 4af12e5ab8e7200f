// SPDX-License-Identifier: Apache-2.0
#include "tvk/text/Fingerprint.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace Tolvek {

void Fingerprint::Add(std::string_view bytes) {
  const std::uint64_t size = bytes.size();
  std::array<char, sizeof size> length;
  std::memcpy(length.data(), &size, sizeof size);
  AddBytes({length.data(), length.size()});
  AddBytes(bytes);
}

void Fingerprint::AddBytes(std::string_view bytes) {
  for (const char c : bytes) {
    _value = (_value ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
  }
}

std::string Fingerprint::Text() const {
  std::array<char, 17> text;
  std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(_value));
  return text.data();
}

}  // namespace Tolvek
