// SPDX-License-Identifier: Apache-2.0
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "chinese/PosTagger.h"
#include "fuzz/FuzzInput.h"

namespace {

using Tolvek::Expect;

/// More tags than the beam holds.
constexpr int kTags = 34;

std::string TagName(int tag) {
  return "t" + std::to_string(tag);
}

/// A tiny model that knows a few features of words and of previous tags.
bool WriteModel(const std::string& path) {
  std::ofstream model(path);
  model << "model\n4\n0/t1\n0/B_0\n2/a\n9/S/0\n" << kTags << "\n";
  for (int tag = 0; tag < kTags; ++tag) model << TagName(tag) << "\n";
  model << "2 0 33\n1 2\n2 1 2\n1 33\n6\n0.5\n-0.25\n1.5\n2\n-1\n0.125\n";
  return static_cast<bool>(model.flush());
}

/// Are these the words, each with "/", the name of a tag or none, and a blank?
bool AreTagged(std::string_view text, const std::vector<std::string>& words) {
  const auto take = [&text](std::string_view piece) {
    const bool starts = text.starts_with(piece);
    if (starts) text.remove_prefix(piece.size());
    return starts;
  };
  for (const std::string& word : words) {
    if (!take(word) || !take("/")) return false;
    bool taken = take(" ");
    for (int tag = 0; tag < kTags && !taken; ++tag) taken = take(TagName(tag) + " ");
    if (!taken) return false;
  }
  return text.empty();
}

}  // namespace

/// A dictionary, then the same bytes as lines of text: no byte of a word may be lost.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string dict = Tolvek::WriteInput("dict", bytes, size);
  static const bool hasModel = WriteModel("model");
  Expect(hasModel);

  const Tolvek::CharType types;
  Tolvek::PosScore scorer(&types);
  Tolvek::Survive([&] { scorer.Initialize("model", dict); });
  Expect(scorer.GetPosSize() == kTags);
  Tolvek::PosTagger tagger(&scorer, 2);
  std::istringstream lines(std::string(reinterpret_cast<const char*>(bytes), size));
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> words;
    Tolvek::PosTagger::SplitLine(line, words);
    bool isKept = true;  // a tag that the model does not have ends the line
    Tolvek::Survive([&] {
      std::string out;
      tagger.TagSentence(line, out);
      isKept = AreTagged(out, words);
    });
    Expect(isKept);
  }
  return 0;
}
