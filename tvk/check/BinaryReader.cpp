// SPDX-License-Identifier: Apache-2.0
#include "tvk/check/BinaryReader.h"

#include <bit>
#include <cstring>

namespace Tolvek {

// Fields are copied as they lie in the file.
static_assert(std::endian::native == std::endian::little);

std::int32_t BinaryReader::KnownInt() {
  std::int32_t value = 0;
  std::memcpy(&value, _bytes.data() + _next, sizeof value);
  _next += sizeof value;
  return value;
}

double BinaryReader::KnownReal() {
  double value = 0;
  std::memcpy(&value, _bytes.data() + _next, sizeof value);
  _next += sizeof value;
  return value;
}

std::optional<std::int32_t> BinaryReader::Int(const std::string& what) {
  if (Left() < sizeof(std::int32_t)) {
    _findings.Stop(AtByte(_bytes.size()), "the file ends in " + what + ": it is cut");
    return std::nullopt;
  }
  return KnownInt();
}

std::optional<std::size_t> BinaryReader::Count(const std::string& what) {
  const std::size_t place = _next;
  const auto count = Int("the number of " + what);
  if (!count) return std::nullopt;
  if (*count < 0) {
    _findings.Stop(AtByte(place), "a number of " + what + " expected, found " +
                                      std::to_string(*count) + ", which is negative");
    return std::nullopt;
  }
  return static_cast<std::size_t>(*count);
}

std::optional<std::string_view> BinaryReader::Text(const char* what, std::size_t number,
                                                   std::size_t count, std::size_t longest) {
  const std::size_t place = _next;
  const auto length = IntOf(what, number, count);
  if (!length) return std::nullopt;
  if (*length < 0) {
    _findings.Stop(AtByte(place), std::string(what) + " " + std::to_string(number) +
                                      " has a negative length, " + std::to_string(*length));
    return std::nullopt;
  }
  const auto size = static_cast<std::size_t>(*length);
  if (size > longest) {
    const std::string problem = std::string(what) + " " + std::to_string(number) + " has " +
                                std::to_string(size) + " bytes, at most " +
                                std::to_string(longest) + " are allowed";
    if (size > Left()) {
      _findings.Stop(AtByte(place), problem + " and " + std::to_string(Left()) + " are left");
      return std::nullopt;
    }
    _findings.AddProblem(AtByte(place), problem);
  }
  if (size > Left()) {
    StopInEntry(what, number, count);
    return std::nullopt;
  }
  const std::string_view text = _bytes.substr(_next, size);
  _next += size;
  return text;
}

std::optional<std::int32_t> BinaryReader::IntOf(const char* what, std::size_t number,
                                                std::size_t count) {
  if (Left() >= sizeof(std::int32_t)) return KnownInt();
  StopInEntry(what, number, count);
  return std::nullopt;
}

void BinaryReader::StopInEntry(const char* what, std::size_t number, std::size_t count) {
  _findings.Stop(AtByte(_bytes.size()), std::string("the file ends in ") + what + " " +
                                            std::to_string(number) + " of " +
                                            std::to_string(count) +
                                            " (from 0): it is cut, or a count or length before is "
                                            "wrong");
  _next = _bytes.size();
}

void BinaryReader::End(const char* lastField) {
  if (Left() == 0) return;
  _findings.AddProblem(AtByte(_next), "bytes behind " + std::string(lastField) + ": " +
                                          std::to_string(Left()) + ", none expected");
}

}  // namespace Tolvek
