// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>

namespace Tolvek {

/// Which entries a dictionary gets.
struct TagDictionaryOptions {
  double leastCount = 1;  ///< of a key; a rarer one is not listed, so its tags stay open
  double leastShare = 0;  ///< of a tag among the key's; a rarer one is not listed
};

/// Counts the tags of the words (or characters) of a corpus and writes them as a section of a
/// tagger's dictionary.
class TagDictionaryBuilder {
 public:
  void Count(const std::string& key, const std::string& tag, int count = 1);

  /// The tags of a key with their counts; null when it was not counted.
  const std::map<std::string, int>* Find(const std::string& key) const;

  /// Drops the keys and tags that a dictionary shall not list.
  void Keep(const TagDictionaryOptions& options);
  /// Adds the counts of another one.
  void Add(const TagDictionaryBuilder& other);

  /// The number of entries and a line for each: the key, its count, its tags, most frequent first.
  /// Keys ascend by their bytes.
  std::string Section() const;

 private:
  std::map<std::string, std::map<std::string, int>> _counts;  ///< [key][tag]
};

}  // namespace Tolvek
