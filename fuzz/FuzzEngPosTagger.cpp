// SPDX-License-Identifier: Apache-2.0
#include <fstream>
#include <string>
#include <vector>

#include "english/EngPosScore.h"
#include "english/EngPosTagger.h"
#include "english/LexEngPos.h"
#include "fuzz/FuzzInput.h"

namespace {

using Tolvek::Expect;

const char* const kModel = "data/binaryEngPosModel";

/// A facade over a tiny model and dictionary.
Tolvek::LexEngPos& Lexer() {
  static Tolvek::LexEngPos lexer;
  static const bool isReady = [] {
    Tolvek::WriteInput("dictionary", nullptr, 0);  // enters the scratch folder
    std::ofstream("data/EngDict") << "3\nthe 1 DT\nend 1 NN VB\n. 1 .\n";
    std::ofstream("data/abbtitle") << "3\n!\n(\n)\n1\nMr\n";
    std::ofstream(kModel) << "model\n6\n0/DT\n0/B_0\n2/end\n15/1\n11/s\n17/1\n4\nDT\nNN\nVB\n.\n"
                             "1 1\n2 0 1\n1 2\n1 1\n2 1 2\n0\n7\n"
                             "1.5\n0.25\n-0.5\n0.125\n2\n0.5\n-1\n";
    return lexer.Initialize(true);
  }();
  Expect(isReady);
  return lexer;
}

/// Takes "token/TAG " off the front of the tagged text; false when it isn't there.
bool Take(const std::string& token, const std::string& tagged, std::size_t& at) {
  for (const char* tag : {"DT", "NN", "VB", "."}) {
    const std::string item = token + "/" + tag + " ";
    if (tagged.compare(at, item.size(), item) != 0) continue;
    at += item.size();
    return true;
  }
  return false;
}

/// Every token is there once, in order, with one of the model's tags.
void CheckLine(Tolvek::LexEngPos& lexer, const std::string& text, bool tokenized) {
  std::string line = text;
  std::string tagged = "old";
  lexer.EngTagSentence(line, tagged, tokenized);
  std::string tokens = text;
  if (!tokenized) {
    line = text;
    lexer.EngTokenSentence(line, tokens);
  }
  std::vector<std::string> words;
  Tolvek::EngPosTagger::SplitLine(tokens, words);
  std::size_t at = 0;
  for (const std::string& word : words) {
    Expect(Take(word, tagged, at));
  }
  Expect(at == tagged.size());
}

}  // namespace

/// The English dictionary, and lines of text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Tolvek::LexEngPos& lexer = Lexer();
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  CheckLine(lexer, text, false);
  CheckLine(lexer, text, true);

  const std::string path = Tolvek::WriteInput("dictionary", bytes, size);
  Tolvek::Survive([&] {
    Tolvek::EngToken tokenizer;
    Tolvek::EngPosScore scorer;
    if (!scorer.Initialize(kModel, path)) return;
    Tolvek::EngPosTagger tagger(2);
    tagger.Initialize(&tokenizer, &scorer);
    std::string line = text;
    std::string tagged;
    tagger.TagSentence(line, tagged, true);
  });
  return 0;
}
