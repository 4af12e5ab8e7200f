// SPDX-License-Identifier: Apache-2.0
#include "english/EngToken.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string_view>

#include "common/Fields.h"
#include "common/Globals.h"
#include "common/LineLoop.h"
#include "common/ResourceFile.h"

namespace Tolvek {

namespace {

/// Two words that are written as one?
bool IsFused(std::string_view token) {
  return token == "wanna" || token == "cannot";
}

template <class TextSet>
void ReadEntries(ResourceFile& file, TextSet& entries) {
  std::string line;
  file.ReadLine(line);
  TrimLine(line);
  const int count = ExtractNumber<int>(line);
  for (int i = 0; i < count && file.ReadLine(line); ++i) {
    TrimLine(line);
    entries.insert({line, true});
  }
}

template <class TextSet>
bool Contains(const TextSet& set, std::string_view text) {
  return set.find(text) != set.end();
}

}  // namespace

/// Tokens on their way out. All that tokenizing does to a text is to put blanks into it and to make
/// white space single, so whatever lies between two changes is copied at once.
class EngToken::Spacing {
 public:
  Spacing(std::string_view text, std::string& out) : _text(text), _out(out) {}

  std::string_view Text() const { return _text; }

  /// Puts a blank before this byte. Positions never go back.
  void BlankBefore(std::size_t position) {
    CopyUpTo(position);
    _out += ' ';
  }

  /// One blank between the end of a token and the beginning of the next one, whatever is there.
  void Separate(std::size_t end, std::size_t begin) {
    if (begin - end == 1 && _text[end] == ' ') return;
    BlankBefore(end);
    _next = begin;
  }

  void CopyRest() { CopyUpTo(_text.size()); }

 private:
  void CopyUpTo(std::size_t position) {
    _out.append(_text, _next, position - _next);
    _next = position;
  }

  std::string_view _text;
  std::string& _out;
  std::size_t _next = 0;  ///< the first byte not yet copied
};

bool EngToken::Initialize() {
  return Load(g_datapath + "abbtitle");
}

bool EngToken::Load(const std::string& path) {
  ResourceFile file;
  if (!file.Open(path)) {
    std::cerr << "Open " << path << " error!" << std::endl;
    return false;
  }
  ReadEntries(file, _separators);
  ReadEntries(file, _abbreviations);
  for (const auto& [separator, unused] : _separators) {
    if (separator.size() != 1) continue;
    ByteKind& kind = _kinds[static_cast<unsigned char>(separator[0])];
    if (kind == ByteKind::kWhiteSpace) continue;  // vertical tabs, form feeds: dropped all the same
    kind = separator == "`" ? ByteKind::kBackQuote : ByteKind::kSeparator;
  }
  return true;
}

EngToken::ByteKinds EngToken::KindsWithoutLists() {
  ByteKinds kinds{};
  for (const char c : {' ', '\t', '\n', '\v', '\f', '\r'}) {
    kinds[static_cast<unsigned char>(c)] = ByteKind::kWhiteSpace;
  }
  for (const char c : {'.', ',', '\''}) kinds[static_cast<unsigned char>(c)] = ByteKind::kMark;
  return kinds;
}

template <class Visit>
void EngToken::ForEachSpecialByte(std::string_view text, const Visit& visit) const {
  std::array<std::uint8_t, 256> offsets;
  for (std::size_t begin = 0; begin < text.size(); begin += offsets.size()) {
    const std::string_view block = text.substr(begin, offsets.size());
    std::size_t count = 0;
    for (std::size_t i = 0; i < block.size(); ++i) {
      offsets[count] = static_cast<std::uint8_t>(i);
      count += KindOf(block[i]) != ByteKind::kWord ? 1 : 0;
    }
    for (std::size_t k = 0; k < count; ++k) visit(begin + offsets[k]);
  }
}

void EngToken::TokenizeSentence(std::string& sentence, std::string& tokens) const {
  tokens.clear();
  TrimLine(sentence);
  // What may be left at the ends: vertical tabs, form feeds.
  std::string_view text = sentence;
  while (!text.empty() && IsWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsWhiteSpace(text.back())) text.remove_suffix(1);
  Spacing spacing(text, tokens);
  std::size_t begin = 0;   // of the token being read
  std::size_t before = 0;  // end of the token before it
  bool isMarked = false;   // has the token a period, a comma or an apostrophe?
  const auto endToken = [&](std::size_t end) {
    if (begin == end) return;
    if (begin > 0) spacing.Separate(before, begin);
    // What "cannot" and "wanna" share tells most words apart from them in one go.
    if (isMarked || text.substr(begin + 1, 3) == "ann") {
      SplitToken(spacing, begin, end);
      isMarked = false;
    }
    begin = before = end;
  };
  ForEachSpecialByte(text, [&](std::size_t i) {
    switch (KindOf(text[i])) {
      case ByteKind::kWord:
        break;
      case ByteKind::kMark:
        isMarked = true;
        break;
      case ByteKind::kSeparator:
        endToken(i);
        endToken(i + 1);
        break;
      case ByteKind::kBackQuote:
        endToken(i > 0 && text[i - 1] == '`' ? i + 1 : i);
        break;
      case ByteKind::kWhiteSpace:
        endToken(i);
        begin = i + 1;
        break;
    }
  });
  endToken(text.size());
  spacing.CopyRest();
  if (tokens.starts_with(' ')) tokens.erase(0, 1);  // the line begins with "n't"
}

void EngToken::SplitToken(Spacing& spacing, std::size_t begin, std::size_t end) const {
  const std::string_view token = spacing.Text().substr(begin, end - begin);
  if (token.size() == 1 || Contains(_separators, token)) return;
  const char last = token.back();
  if (last != '.' && last != ',') {
    SplitQuotes(spacing, begin, end);
    return;
  }
  const std::string_view stem = token.substr(0, token.size() - 1);
  // Outside the end of the sentence the period stays with an abbreviation, and with whatever lies
  // between "A" and "Z" as a whole: "Iraq." does, "Zoo." doesn't.
  const bool isWhole = last == '.' && end < spacing.Text().size() &&
                       ((stem >= "A" && stem <= "Z") || Contains(_abbreviations, stem));
  if (isWhole) return;
  SplitQuotes(spacing, begin, end - 1);
  spacing.BlankBefore(end - 1);
}

bool EngToken::TokenizeFile(const std::string& inPath, const std::string& outPath) const {
  std::ifstream in(inPath);
  if (!in.is_open()) {
    std::cerr << "Open " << inPath << " error!" << std::endl;
    return false;
  }
  ProcessLines(in, outPath, {.report = &std::cout, .dotEvery = 1000, .countEvery = 50000},
               [this](std::string& line, std::string& result) { TokenizeSentence(line, result); });
  return true;
}

std::string EngToken::TokenQuo(const std::string& token) {
  std::string parts;
  Spacing spacing(token, parts);
  SplitQuotes(spacing, 0, token.size());
  spacing.CopyRest();
  return parts;
}

void EngToken::SplitQuotes(Spacing& spacing, std::size_t begin, std::size_t end) {
  static constexpr std::string_view kClitics[] = {"'",   "'s", "'t", "'ll", "'re",
                                                  "'ve", "'m", "'d", "''"};
  const std::string_view token = spacing.Text().substr(begin, end - begin);
  if (IsFused(token)) spacing.BlankBefore(begin + 3);
  const std::size_t quote = token.find('\'');
  if (quote == token.npos || token == "'") return;
  const std::string_view clitic = token.substr(quote);
  if (quote == 0) {
    spacing.BlankBefore(begin + 1);
    if (token.back() == '\'') spacing.BlankBefore(end - 1);
  } else if (clitic == "'t" && token[quote - 1] == 'n') {
    spacing.BlankBefore(begin + quote - 1);
  } else if (std::find(std::begin(kClitics), std::end(kClitics), clitic) != std::end(kClitics)) {
    spacing.BlankBefore(begin + quote);
  }
}

}  // namespace Tolvek
