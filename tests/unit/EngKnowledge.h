// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "unit/Fixtures.h"

namespace Tolvek {

/// The tokenizer's resource: separators, then abbreviations.
inline std::string TitleList(const std::vector<std::string>& separators,
                             const std::vector<std::string>& abbreviations) {
  return std::to_string(separators.size()) + "\n" + Lines(separators) +
         std::to_string(abbreviations.size()) + "\n" + Lines(abbreviations);
}

/// A dictionary of words, each entry a line.
inline std::string WordList(const std::vector<std::string>& entries) {
  return std::to_string(entries.size()) + "\n" + Lines(entries);
}

/// What the English tools of a test know. It begins with a few separators and abbreviations, an
/// empty dictionary and a model that knows nothing: then all tags of a word are alike.
struct EngKnowledge {
  std::vector<std::string> separators{"!", "?", ";", ":", "(", ")", "\"", "`", "``"};
  std::vector<std::string> abbreviations{"Mr", "etc", "e.g"};
  MeSource me{{}, {"DT", "NN", "VB", "RB", "."}, {}, {}};
  std::vector<std::string> dictionary;

  int Tag(const std::string& name) const {
    return static_cast<int>(std::find(me.tags.begin(), me.tags.end(), name) - me.tags.begin());
  }

  /// Favours a tag for a word. Once a word: a feature that repeats is lost.
  void Favour(const std::string& word, const std::string& tag, const std::string& weight = "5") {
    me.Add("2/" + word, {{Tag(tag), weight}});
  }

  /// Favours a tag after another one ("B_0" stands before a sentence). Once a tag.
  void FavourAfter(const std::string& before, const std::string& tag,
                   const std::string& weight = "5") {
    me.Add("0/" + before, {{Tag(tag), weight}});
  }

  /// Lists the tags of a word.
  void List(const std::string& word, const std::string& tags) {
    dictionary.push_back(word + " 1 " + tags);
  }

  /// Writes the resources that `Initialize` of a facade loads.
  void Write() const {
    WriteText("data/abbtitle", TitleList(separators, abbreviations));
    WriteText("data/binaryEngPosModel", me.Text());
    WriteText("data/EngDict", WordList(dictionary));
  }
};

}  // namespace Tolvek
