// SPDX-License-Identifier: Apache-2.0
#include "english/EngToken.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <vector>

#include "common/Fields.h"
#include "common/Globals.h"
#include "common/LineLoop.h"
#include "common/ResourceFile.h"

namespace Tolvek {

namespace {

void ReadEntries(ResourceFile& file, std::set<std::string, std::less<>>& entries) {
  std::string line;
  file.ReadLine(line);
  TrimLine(line);
  const int count = ExtractNumber<int>(line);
  for (int i = 0; i < count && file.ReadLine(line); ++i) {
    TrimLine(line);
    entries.insert(line);
  }
}

}  // namespace

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
  for (const std::string& separator : _separators) {
    if (separator.size() == 1) _isSeparator[static_cast<unsigned char>(separator[0])] = true;
  }
  return true;
}

std::string EngToken::SetApart(std::string_view sentence) const {
  std::string text;
  text.reserve(2 * sentence.size());
  char previous = '\0';
  for (const char byte : sentence) {
    if (!_isSeparator[static_cast<unsigned char>(byte)]) {
      text += byte;
    } else if (byte != '`') {
      text.append(" ").append(1, byte).append(" ");
    } else if (previous == '`') {  // two back-quotes in a row are one token
      text += "` ";
    } else {
      text += " `";
    }
    previous = byte;
  }
  return text;
}

void EngToken::TokenizeSentence(std::string& sentence, std::string& tokens) const {
  tokens.clear();
  TrimLine(sentence);
  if (sentence.empty()) return;
  std::vector<std::string> pieces;
  SplitFields(SetApart(sentence), pieces);
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    const std::string& piece = pieces[i];
    const std::string stem = piece.substr(0, piece.size() - 1);
    const bool isLast = i + 1 == pieces.size();
    if (_separators.contains(piece) || piece == "." || piece == ",") {
      tokens += piece;
    } else if (piece.back() == '.') {
      // Outside the end of the sentence the period stays with an abbreviation, and with whatever
      // lies between "A" and "Z" as a whole: "Iraq." does, "Zoo." doesn't.
      const bool isWhole =
          !isLast && (_abbreviations.contains(stem) || (stem >= "A" && stem <= "Z"));
      tokens += isWhole ? piece : TokenQuo(stem) + " .";
    } else if (piece.back() == ',') {
      tokens += TokenQuo(stem) + " ,";
    } else {
      tokens += TokenQuo(piece);
    }
    tokens += ' ';
  }
  TrimLine(tokens);
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
  static constexpr std::string_view kClitics[] = {"'ll", "'re", "'ve", "'s", "'m", "'d", "''"};
  if (token == "wanna") return "wan na";
  if (token == "cannot") return "can not";
  const std::size_t first = token.find('\'');
  if (first == std::string::npos || token == "'") return token;
  const std::size_t end = token.size() - 1;
  if (first == 0) {
    const bool isQuoted = token.rfind('\'') == end;
    return isQuoted ? "' " + token.substr(1, end - 1) + " '" : "' " + token.substr(1);
  }
  const std::string stem = token.substr(0, first);
  const std::string clitic = token.substr(first);
  if (first == end) return stem + " '";
  if (clitic == "'t") {
    return stem.back() == 'n' ? stem.substr(0, first - 1) + " n't" : stem + " 't";
  }
  const bool isClitic =
      std::find(std::begin(kClitics), std::end(kClitics), clitic) != std::end(kClitics);
  return isClitic ? stem + " " + clitic : token;
}

}  // namespace Tolvek
