// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "common/Globals.h"
#include "common/ResourceFile.h"
#include "fuzz/FuzzInput.h"
#include "tests/property/Outcome.h"

namespace Tolvek {

/// A fuzzer's bytes as choices, one after another; zeros behind the end.
class FuzzBytes {
 public:
  FuzzBytes(const std::uint8_t* bytes, std::size_t size)
      : _rest(reinterpret_cast<const char*>(bytes), size) {}

  std::uint8_t Next() {
    if (_rest.empty()) return 0;
    const auto byte = static_cast<std::uint8_t>(_rest.front());
    _rest.remove_prefix(1);
    return byte;
  }
  /// A number below `limit`.
  std::size_t Below(std::size_t limit) { return Next() % limit; }

  template <class Item, std::size_t N>
  const Item& Of(const Item (&items)[N]) {
    return items[Below(N)];
  }

  /// A weight: few values, so that sums tie or nearly do; rarely one that is far out.
  double Weight() {
    static constexpr double kUsual[] = {0,   0.5,  -0.5, 1,           -1,        0.1,  0.2,   0.3,
                                        0.7, -0.3, 2.5,  0.5 + 1e-15, 1 + 1e-12, 1e-9, -1.75, 14};
    static constexpr double kOdd[] = {-14,
                                      40,
                                      -99,
                                      700,
                                      1e5,
                                      -1e17,
                                      1e300,
                                      std::numeric_limits<double>::denorm_min(),
                                      std::numeric_limits<double>::infinity(),
                                      -std::numeric_limits<double>::infinity(),
                                      std::numeric_limits<double>::quiet_NaN()};
    const std::uint8_t byte = Next();
    return byte < 244 ? kUsual[byte % std::size(kUsual)] : kOdd[(byte - 244U) % std::size(kOdd)];
  }

  /// All that was not taken.
  std::string_view Rest() const { return _rest; }

 private:
  std::string_view _rest;
};

inline void WriteTextRecord(ResourceWriter& file, std::string_view text) {
  file.Write(static_cast<std::int32_t>(text.size()));
  file.WriteBytes(text);
}

/// Writes a resource to this process's scratch folder.
inline void WriteResource(const std::string& name, std::string_view bytes) {
  WriteInput(name, reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

/// Writes the binary model "me": each feature's list of tags, and the values of all lists.
inline void WriteModel(const std::vector<std::string>& features,
                       const std::vector<std::string>& tags,
                       const std::vector<std::vector<int>>& lists, std::vector<double> values) {
  ResourceWriter file;
  file.WriteBytes(g_Model_Header);
  for (const std::vector<std::string>* const texts : {&features, &tags}) {
    file.Write(static_cast<std::int32_t>(texts->size()));
    for (const std::string& text : *texts) WriteTextRecord(file, text);
  }
  for (const std::vector<int>& list : lists) {
    file.Write(static_cast<std::int32_t>(list.size()));
    for (const int tag : list) file.Write(tag);
  }
  values.push_back(0);  // a binary model needs one
  file.Write(static_cast<std::int32_t>(values.size()));
  for (const double value : values) file.Write(value);
  WriteResource("me", file.Bytes());
}

/// Ends the run unless both ways of decoding left the same behind.
inline void ExpectEqual(const Outcome& fast, const Outcome& plain, std::string_view line) {
  if (fast == plain) return;
  std::cerr << "line \"" << Readable(line) << "\"\n  fast:  " << fast << "\n  plain: " << plain
            << std::endl;
  std::abort();
}

}  // namespace Tolvek
