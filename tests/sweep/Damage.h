// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Tolvek {

/// A number in a resource file that says how much of something follows.
struct CountField {
  std::string of;    ///< "features", "bytes of a feature", ...
  std::size_t at;    ///< first byte
  std::size_t size;  ///< bytes: 4 in a binary file, else as many as it has digits
};

/// Where the numbers that give a resource file its structure stand, in a sound file.
struct Anatomy {
  bool isBinary = false;
  std::vector<CountField> counts;                ///< of sections; each begins where another ended
  std::vector<std::vector<CountField>> lengths;  ///< of records and lists, those of a kind together
};

/// Takes a file of the resource folder apart, by its name. Throws `std::runtime_error` when it does
/// not have the form that the name promises.
Anatomy Dissect(std::string_view name, std::string_view content);

/// One way to damage a file: some of its bytes are replaced.
struct Damage {
  std::string what;  ///< what is damaged and how; with the file, enough to repeat it
  std::size_t at;
  std::size_t removed;  ///< bytes; may reach behind the end
  std::string bytes;    ///< what takes their place

  std::string Apply(std::string content) const { return content.replace(at, removed, bytes); }
};

/// Cuts the file: in each of its first bytes, around the beginning of each section, before the last
/// byte, and at points spread evenly, a few for each round.
std::vector<Damage> Cuts(std::string_view content, const Anatomy& anatomy, std::size_t rounds);

/// Changes single bytes to others, chosen at random: half of them anywhere, half within the first
/// bytes and the structure. Equal seeds give equal damages.
std::vector<Damage> Flips(std::string_view content, const Anatomy& anatomy, std::uint64_t seed,
                          std::size_t rounds);

/// Replaces counts by 0, -1, 65536 and the largest number: all counts of sections, and of each kind
/// of length a few for each round, chosen at random.
std::vector<Damage> WrongCounts(std::string_view content, const Anatomy& anatomy,
                                std::uint64_t seed, std::size_t rounds);

}  // namespace Tolvek
