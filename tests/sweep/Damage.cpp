// SPDX-License-Identifier: Apache-2.0
#include "sweep/Damage.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <random>
#include <set>
#include <stdexcept>

#include "common/Globals.h"
#include "unit/Fixtures.h"

namespace Tolvek {

namespace {

/// The first bytes, each of which is cut off in turn: the header and the first count of a model.
constexpr std::size_t kFirstBytes = 14;
constexpr std::size_t kCutsOfARound = 6;
constexpr std::size_t kFlipsOfARound = 12;
constexpr std::size_t kStructuredBytes = 256;

constexpr std::int32_t kWrongCounts[] = {0, -1, 65'536, std::numeric_limits<std::int32_t>::max()};

/// Walks through a sound file.
class Walk {
 public:
  explicit Walk(std::string_view content) : _content(content) {}

  void Skip(std::size_t bytes) {
    if (bytes > _content.size() - _next) throw std::runtime_error("the file is cut");
    _next += bytes;
  }

  /// Reads a count of a binary file and notes it.
  std::size_t Int(const char* of, std::vector<CountField>& fields) {
    fields.push_back({of, _next, sizeof(std::int32_t)});
    Skip(sizeof(std::int32_t));
    std::int32_t value = 0;
    std::memcpy(&value, _content.data() + fields.back().at, sizeof value);
    if (value < 0) throw std::runtime_error("a negative count");
    return static_cast<std::size_t>(value);
  }

  /// Reads a line with a count and notes it.
  std::size_t CountLine(const char* of, std::vector<CountField>& fields) {
    const std::size_t begin = _next;
    SkipLine();
    const std::string_view line = _content.substr(begin, _next - begin);
    std::size_t value = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), value);
    if (error != std::errc()) throw std::runtime_error("no count");
    fields.push_back({of, begin, static_cast<std::size_t>(end - line.data())});
    return value;
  }

  void SkipLine() {
    const std::size_t lineFeed = _content.find('\n', _next);
    if (lineFeed == _content.npos) throw std::runtime_error("the file is cut");
    _next = lineFeed + 1;
  }

  /// Throws unless this is the end.
  void End() const {
    if (_next != _content.size()) throw std::runtime_error("bytes behind the end");
  }

 private:
  std::string_view _content;
  std::size_t _next = 0;
};

Anatomy DissectModel(std::string_view content) {
  Walk walk(content);
  Anatomy anatomy{true, {}, {{}, {}, {}}};
  walk.Skip(g_Model_Header.size());
  const std::size_t features = walk.Int("features", anatomy.counts);
  for (std::size_t i = 0; i < features; ++i) {
    walk.Skip(walk.Int("bytes of a feature", anatomy.lengths[0]));
  }
  const std::size_t tags = walk.Int("tags", anatomy.counts);
  for (std::size_t i = 0; i < tags; ++i) {
    walk.Skip(walk.Int("bytes of a tag", anatomy.lengths[1]));
  }
  for (std::size_t i = 0; i < features; ++i) {
    walk.Skip(sizeof(std::int32_t) * walk.Int("tags of a feature", anatomy.lengths[2]));
  }
  walk.Skip(sizeof(double) * walk.Int("weights", anatomy.counts));
  walk.End();
  return anatomy;
}

Anatomy DissectLanguageModel(std::string_view content) {
  Walk walk(content);
  Anatomy anatomy{true, {}, {{}}};
  walk.Skip(g_Model_Header.size());
  const std::size_t words = walk.Int("words", anatomy.counts);
  for (std::size_t i = 0; i < words; ++i) {
    walk.Skip(walk.Int("bytes of a word", anatomy.lengths[0]) + sizeof(std::int32_t));
  }
  const std::size_t order = walk.Int("orders", anatomy.counts);
  std::vector<std::size_t> ngrams;
  for (std::size_t k = 0; k < order; ++k) ngrams.push_back(walk.Int("n-grams", anatomy.counts));
  for (std::size_t k = 0; k < order; ++k) {
    const std::size_t numbers = k + 1 < order ? 2 : 1;  // the last order has no weights
    walk.Skip(ngrams[k] * (numbers * sizeof(double) + (k + 1) * sizeof(std::int32_t)));
  }
  walk.End();
  return anatomy;
}

Anatomy DissectCharacters(std::string_view content) {
  Walk walk(content);
  Anatomy anatomy{true, {}, {{}}};
  for (int table = 0; table < 4; ++table) {
    const std::size_t entries = walk.Int("entries", anatomy.counts);
    for (std::size_t i = 0; i < entries; ++i) {
      walk.Skip(walk.Int("bytes of a key", anatomy.lengths[0]) + sizeof(std::int32_t));
    }
  }
  walk.End();
  return anatomy;
}

Anatomy DissectLists(std::string_view content, int sections) {
  Walk walk(content);
  Anatomy anatomy;
  for (int section = 0; section < sections; ++section) {
    const std::size_t entries = walk.CountLine("lines", anatomy.counts);
    for (std::size_t i = 0; i < entries; ++i) walk.SkipLine();
  }
  walk.End();
  return anatomy;
}

/// Random numbers that are the same everywhere.
class Random {
 public:
  explicit Random(std::uint64_t seed) : _numbers(seed) {}

  /// From 0 to below `limit`.
  std::size_t Below(std::size_t limit) { return _numbers() % limit; }
  template <class Values>
  const auto& OneOf(const Values& values) {
    return values[Below(std::size(values))];
  }

 private:
  std::mt19937_64 _numbers;
};

/// A byte that is not the given one. In a text also those that change its lines and fields.
char OtherByte(char byte, bool isBinary, Random& random) {
  static constexpr std::string_view kOfTexts = "\n \t\r0123456789-";
  for (;;) {
    char other = static_cast<char>(random.Below(256));
    if (random.Below(2) == 0) {
      const auto bit = static_cast<unsigned char>(1U << random.Below(8));
      other = isBinary ? static_cast<char>(byte ^ bit) : random.OneOf(kOfTexts);
    }
    if (other != byte) return other;
  }
}

std::string ShowByte(char byte) {
  static constexpr std::string_view kDigits = "0123456789abcdef";
  const auto value = static_cast<unsigned char>(byte);
  return {'0', 'x', kDigits[value >> 4U], kDigits[value & 15U]};
}

/// Adds the damage unless the file has this count already.
void AddWrongCount(std::string_view content, bool isBinary, const CountField& field,
                   std::int32_t value, std::vector<Damage>& damages) {
  const std::string bytes = isBinary ? I32(value) : std::to_string(value);
  if (content.substr(field.at, field.size) == bytes) return;
  damages.push_back({"the number of " + field.of + " at byte " + std::to_string(field.at) + " is " +
                         std::to_string(value),
                     field.at, field.size, bytes});
}

}  // namespace

Anatomy Dissect(std::string_view name, std::string_view content) {
  if (name == "binarySource") return DissectCharacters(content);
  if (name == "binarySegLM") return DissectLanguageModel(content);
  if (name.ends_with("Model")) return DissectModel(content);
  return DissectLists(content, name == "EngDict" ? 1 : 2);
}

std::vector<Damage> Cuts(std::string_view content, const Anatomy& anatomy, std::size_t rounds) {
  std::set<std::size_t> sizes{content.size() - 1};
  for (std::size_t size = 0; size < kFirstBytes; ++size) sizes.insert(size);
  for (const CountField& count : anatomy.counts) {
    sizes.insert({count.at, count.at + 1, count.at + count.size});
  }
  const std::size_t spread = kCutsOfARound * rounds;
  for (std::size_t i = 0; i < spread; ++i) {
    sizes.insert(content.size() * (2 * i + 1) / (2 * spread));
  }
  std::vector<Damage> damages;
  damages.reserve(sizes.size());
  for (const std::size_t size : sizes) {
    damages.push_back({"cut to " + std::to_string(size) + " bytes", size, content.size(), ""});
  }
  return damages;
}

std::vector<Damage> Flips(std::string_view content, const Anatomy& anatomy, std::uint64_t seed,
                          std::size_t rounds) {
  Random random(seed);
  std::vector<const std::vector<CountField>*> kinds{&anatomy.counts};
  for (const auto& lengths : anatomy.lengths) kinds.push_back(&lengths);
  std::vector<Damage> damages;
  for (std::size_t i = 0; i < kFlipsOfARound * rounds; ++i) {
    std::size_t at = random.Below(content.size());
    if (i % 4 == 1) at = random.Below(std::min(content.size(), kStructuredBytes));
    if (i % 4 == 3) {
      const CountField& field = random.OneOf(*random.OneOf(kinds));
      at = field.at + random.Below(field.size);
    }
    const char other = OtherByte(content[at], anatomy.isBinary, random);
    damages.push_back({"byte " + std::to_string(at) + " is " + ShowByte(other) + ", not " +
                           ShowByte(content[at]) + " (seed " + std::to_string(seed) + ", number " +
                           std::to_string(i) + ")",
                       at, 1, std::string(1, other)});
  }
  return damages;
}

std::vector<Damage> WrongCounts(std::string_view content, const Anatomy& anatomy,
                                std::uint64_t seed, std::size_t rounds) {
  Random random(seed);
  std::vector<Damage> damages;
  for (const CountField& count : anatomy.counts) {
    for (const std::int32_t value : kWrongCounts) {
      AddWrongCount(content, anatomy.isBinary, count, value, damages);
    }
  }
  for (const auto& lengths : anatomy.lengths) {
    for (std::size_t i = 0; i < rounds; ++i) {
      for (const std::int32_t value : kWrongCounts) {
        AddWrongCount(content, anatomy.isBinary, random.OneOf(lengths), value, damages);
      }
    }
  }
  return damages;
}

}  // namespace Tolvek
