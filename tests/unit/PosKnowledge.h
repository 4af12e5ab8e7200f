// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "unit/Fixtures.h"

namespace Tolvek {

/// What a Chinese tagger of a test knows. It begins with four tags, an empty dictionary and a model
/// that knows nothing: then all tags of all words score the same.
struct PosKnowledge {
  /// A character or word, and its tags between blanks.
  using Entries = std::vector<std::pair<std::string, std::string>>;

  MeSource me{{}, {"n", "v", "a", "w"}, {}, {}};
  Entries characters;
  Entries words;

  /// The id of a tag.
  int Tag(const std::string& name) const {
    const auto found = std::find(me.tags.begin(), me.tags.end(), name);
    if (found == me.tags.end()) throw std::invalid_argument("no tag " + name);
    return static_cast<int>(found - me.tags.begin());
  }

  /// Favours tags for a word (the feature's value doubles the weight).
  void Favour(const std::string& word,
              const std::vector<std::pair<std::string, std::string>>& weights) {
    Add("2/" + word, weights);
  }
  /// Favours tags after a tag ("B_0": at the start of a sentence).
  void After(const std::string& previous,
             const std::vector<std::pair<std::string, std::string>>& weights) {
    Add("0/" + previous, weights);
  }
  /// One more feature with its (tag, weight) parameters.
  void Add(const std::string& feature,
           const std::vector<std::pair<std::string, std::string>>& weights) {
    std::vector<std::pair<int, std::string>> parameters;
    for (const auto& [tag, weight] : weights) parameters.emplace_back(Tag(tag), weight);
    me.Add(feature, parameters);
  }

  std::string Dict() const { return SectionOf(characters) + SectionOf(words); }

  /// Writes the resources that a facade loads for tagging.
  void Write() const {
    WriteText("data/binaryPosModel", me.Text());
    WriteText("data/Dict", Dict());
  }

  /// A section of a dictionary: the number of entries, the entries.
  static std::string SectionOf(const Entries& entries) {
    std::string text = std::to_string(entries.size()) + "\n";
    for (const auto& [key, tags] : entries) text += key + "\t1\t" + tags + "\n";
    return text;
  }
};

}  // namespace Tolvek
