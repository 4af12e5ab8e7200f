// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <string>
#include <string_view>

#include "english/EngToken.h"
#include "fuzz/FuzzInput.h"

namespace {

using Tolvek::Expect;

bool Initialize(Tolvek::EngToken& tokenizer, std::string_view list) {
  Tolvek::WriteInput("data/abbtitle", reinterpret_cast<const std::uint8_t*>(list.data()),
                     list.size());
  return tokenizer.Initialize();
}

std::string WithoutWhiteSpace(std::string text) {
  std::erase_if(text, [](char c) {
    return std::string_view(" \t\n\v\f\r").find(c) != std::string_view::npos;
  });
  return text;
}

/// Tokens are the text with other white space: nothing is lost, nothing added.
void Check(const Tolvek::EngToken& tokenizer, const std::string& text) {
  std::string trimmed = text;
  std::string tokens = "old";
  tokenizer.TokenizeSentence(trimmed, tokens);
  Expect(WithoutWhiteSpace(tokens) == WithoutWhiteSpace(text));
  Expect(tokens.empty() == WithoutWhiteSpace(text).empty());
  Expect(tokens.empty() || (tokens.front() != ' ' && tokens.back() != ' '));
}

}  // namespace

/// The tokenizer's list, and text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  static const Tolvek::EngToken fixed = [] {
    Tolvek::EngToken tokenizer;
    Expect(Initialize(tokenizer, "6\n!\n(\n)\n\"\n`\n``\n2\nMr\netc\n"));
    return tokenizer;
  }();
  Check(fixed, text);

  Tolvek::EngToken read;
  Expect(Initialize(read, text));
  Check(read, text);
  Check(read, "``I can't'', Mr. Zo. said; 'etc.' (the dogs' U.S. end...");

  // A token's parts.
  const std::string token = WithoutWhiteSpace(text);
  Expect(WithoutWhiteSpace(Tolvek::EngToken::TokenQuo(token)) == token);
  return 0;
}
