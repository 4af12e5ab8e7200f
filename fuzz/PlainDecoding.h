// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "chinese/PosTagger.h"
#include "chinese/Segmentor.h"
#include "common/Globals.h"
#include "english/EngPosTagger.h"
#include "english/EngToken.h"

namespace Tolvek {

/// Segments a line by the plain operations.
inline void SegmentPlainly(Segmentor& segmentor, std::string& line, std::string& out) {
  TrimLine(line);
  std::vector<std::string> characters;
  SplitCharacters(line, characters);
  segmentor.RenewLattice(characters);
  segmentor.Viterbi(characters, out);
}

/// Tags words by the plain operations.
template <class Tagger, class Scorer>
void TagPlainly(Tagger& tagger, const Scorer& scorer, const std::vector<std::string>& words,
                std::string& out) {
  std::vector<int> tags;
  tagger.RenewLattice(words);
  tagger.Viterbi(tags);
  out.clear();
  for (std::size_t i = 0; i < words.size(); ++i) {
    out.append(words[i]).append("/").append(scorer.GetPos(tags[i])).append(" ");
  }
}

/// Tags a segmented line of Chinese by the plain operations.
inline void TagChinesePlainly(PosTagger& tagger, const PosScore& scorer, std::string& line,
                              std::string& out) {
  std::vector<std::string> words;
  TrimLine(line);
  PosTagger::SplitLine(line, words);
  TagPlainly(tagger, scorer, words, out);
}

/// Tags a line of English by the plain operations. Without a tokenizer its words between white
/// space are the tokens.
inline void TagEnglishPlainly(EngPosTagger& tagger, const EngPosScore& scorer,
                              const EngToken* tokenizer, std::string& line, std::string& out) {
  std::string tokens = line;
  if (tokenizer != nullptr) tokenizer->TokenizeSentence(line, tokens);
  std::vector<std::string> words;
  EngPosTagger::SplitLine(tokens, words);
  TagPlainly(tagger, scorer, words, out);
}

}  // namespace Tolvek
