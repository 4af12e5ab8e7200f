// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "unit/Fixtures.h"

namespace Tolvek {

/// What a segmenter of a test knows. It begins with a few characters and their classes and with
/// models that know nothing: then all scores are equal and the first allowed path wins.
struct SegKnowledge {
  std::vector<std::pair<std::string, int>> punctuation{{kStop, 1}};
  std::vector<std::pair<std::string, int>> classes{{"0", 0}, {"1", 0},    {"2", 0}, {"3", 0},
                                                   {kYi, 1}, {kLiang, 2}, {"a", 3}, {"b", 3},
                                                   {"x", 3}, {kNian, 4}};
  MeSource me{{}, {"B", "M", "E", "S"}, {}, {}};
  std::vector<std::vector<Gram>> lm{{}};

  /// Favours a tag for a character.
  void Favour(const std::string& character, char tag, const std::string& weight = "5") {
    me.Add("2/" + character, {{static_cast<int>(std::string_view("BMES").find(tag)), weight}});
  }
  void FavourEach(const std::vector<std::string>& characters, char tag) {
    for (const std::string& character : characters) Favour(character, tag);
  }

  /// Writes the resources that `Initialize` of a facade loads.
  void Write() const {
    WriteText("data/binarySource", Block(punctuation) + Block(classes) + Block({}) + Block({}));
    WriteText("data/binarySegModel", me.Text());
    WriteText("data/binarySegLM", Arpa(lm));
  }
};

}  // namespace Tolvek
