// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include "chinese/LexSegPos.h"
#include "fuzz/FuzzInput.h"

namespace {

using Tolvek::Expect;

/// A facade over tiny models, enough for every rule of the lattice.
Tolvek::LexSegPos& Lexer() {
  static Tolvek::LexSegPos lexer;
  static const bool isReady = [] {
    // One block a table: punctuation; "1" a digit, "a" a letter; no names.
    static constexpr std::string_view kCharacters(
        "\1\0\0\0"
        "\1\0\0\0"
        ","
        "\1\0\0\0"
        "\2\0\0\0"
        "\1\0\0\0"
        "1"
        "\0\0\0\0"
        "\1\0\0\0"
        "a"
        "\3\0\0\0"
        "\0\0\0\0"
        "\0\0\0\0",
        4 + 9 + 4 + 18 + 8);
    Tolvek::WriteInput("data/binarySource",
                       reinterpret_cast<const std::uint8_t*>(kCharacters.data()),
                       kCharacters.size());
    std::ofstream("data/binarySegLM") << "\\data\\\nngram 1=3\nngram 2=1\n\n\\1-grams:\n"
                                         "-1\t<unk>\n-0.5\t3/B\t-0.3\n-0.7\t1/S\n\n"
                                         "\\2-grams:\n-0.2\t3/B 3/E\n\n\\end\\\n";
    std::ofstream("data/binarySegModel") << "model\n2\n2/a\n7/1\n4\nB\nM\nE\nS\n"
                                            "2 0 1\n1 3\n3\n0.5\n-0.25\n1.5\n";
    return lexer.Initialize(false);
  }();
  Expect(isReady);
  return lexer;
}

void EraseBlanks(std::string& text) {
  std::erase_if(text, [](char c) {
    return std::string_view(" \t\n\v\f\r").find(c) != std::string_view::npos;
  });
}

}  // namespace

/// Lines of text: nothing but white space and full-width spaces may be lost.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Tolvek::LexSegPos& lexer = Lexer();
  std::string line(reinterpret_cast<const char*>(bytes), size);
  std::string words;
  lexer.SegPosSentence(line, words, false);

  std::vector<std::string> characters;
  Tolvek::SplitCharacters(line, characters);
  std::string kept;
  for (const std::string& character : characters) {
    if (character != "\xA1\xA1") kept += character;
  }
  EraseBlanks(kept);
  EraseBlanks(words);
  Expect(kept == words);
  return 0;
}
