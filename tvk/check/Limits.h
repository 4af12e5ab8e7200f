// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

/// Limits of the formats. The core keeps these to its loaders; tests hold the two together.
namespace Tolvek {

/// Longest feature or tag of a binary maximum-entropy model, in bytes.
inline constexpr std::size_t kLongestName = 256;
/// Longest word of a binary language model, in bytes.
inline constexpr std::size_t kLongestWord = 32;
/// Longest key of the character resource, in bytes.
inline constexpr std::size_t kLongestKey = 256;
/// Longest line of a text model that its converter, and the reader of ARPA text, take as one, in
/// bytes, without the line feed.
inline constexpr std::size_t kLongestLine = 254;
/// The highest order of a language model.
inline constexpr int kHighestOrder = 9;

}  // namespace Tolvek
