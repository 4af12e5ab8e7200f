// SPDX-License-Identifier: Apache-2.0
#include "chinese/Segmentor.h"

#include <fstream>
#include <iostream>
#include <span>
#include <stdexcept>
#include <string_view>

#include "common/Fields.h"
#include "common/Globals.h"
#include "common/LineLoop.h"

namespace Tolvek {

namespace {

constexpr std::size_t kBeamWidth = 20;

/// The full-width space of GBK: a word boundary in the output.
constexpr std::string_view kFullWidthSpace = "\xA1\xA1";

}  // namespace

class Segmentor::Lattice {
 public:
  explicit Lattice(const Segmentor& segmentor) : _segmentor(segmentor) {}

  std::size_t Length() const { return _segmentor._starts.size() - 1; }

  std::span<const SegAlt> Alternatives(std::size_t position) const {
    const std::size_t start = _segmentor._starts[position];
    return std::span(_segmentor._alternatives)
        .subspan(start, _segmentor._starts[position + 1] - start);
  }

  /// Inside a word (after B or M) the word goes on; after its end (E or S) a word begins.
  bool Allows(const SegAlt& previous, const SegAlt& next) const {
    return MayEnd(previous) == (Is(next, kTagB) || Is(next, kTagS));
  }
  bool MayEnd(const SegAlt& last) const { return Is(last, kTagE) || Is(last, kTagS); }

  double Extend(double score, std::size_t /*position*/,
                std::span<const SegAlt* const> recent) const {
    score += (1 - _segmentor._alpha) * recent.back()->score;
    return score + _segmentor._alpha * TokenScore(recent, recent.back()->word);
  }

  /// The sentence-end token has a language-model score only.
  double Finish(double score, std::span<const SegAlt* const> recent) const {
    return score + _segmentor._alpha * TokenScore(recent, _segmentor._segScore->GetSenEIndex());
  }

 private:
  bool Is(const SegAlt& alternative, SegTag tag) const {
    return alternative.tag == _segmentor._tag[tag];
  }

  /// log10 P(token | the tokens before the newest one).
  double TokenScore(std::span<const SegAlt* const> recent, int token) const {
    _tokens.clear();
    for (const SegAlt* alternative : recent.first(recent.size() - 1)) {
      _tokens.push_back(alternative == nullptr ? _segmentor._segScore->GetSenBIndex()
                                               : alternative->word);
    }
    _tokens.push_back(token);
    return _segmentor._segScore->GetScore(_tokens);
  }

  const Segmentor& _segmentor;
  mutable std::vector<int> _tokens;  // reused
};

Segmentor::Segmentor(const SegScore* scorer, const CharType* types, double alpha, int order)
    : _order(order), _alpha(alpha), _starts(1, 0), _charType(types), _segScore(scorer) {}

int Segmentor::Initialize() {
  GetTagIndex();
  return 1;
}

void Segmentor::GetTagIndex() {
  for (const SegTag tag : {kTagB, kTagE, kTagM, kTagS}) {
    _tag[tag] = _segScore->GetTagIndex(std::string(1, kSegTagLetters[tag]));
  }
}

void Segmentor::RenewLattice(const std::vector<std::string>& chars) {
  _alternatives.clear();
  _starts.assign(1, 0);
  if (chars.empty()) throw std::out_of_range("Segmentor: an empty sentence");
  _roles.clear();
  for (const std::string& character : chars) {
    _roles.push_back(GetSegRole(*_charType, character));
  }
  for (std::size_t position = 0; position < chars.size(); ++position) {
    AddAlternatives(chars, position);
    _starts.push_back(_alternatives.size());
  }
}

void Segmentor::AddAlternatives(const std::vector<std::string>& chars, std::size_t position) {
  const bool isFirst = position == 0;
  const bool isLast = position + 1 == chars.size();
  const std::string& character = chars[position];
  const SegRole& role = _roles[position];
  _segScore->GetMeScore(isFirst ? kBeginOfSentence : std::string_view(chars[position - 1]),
                        character, isLast ? kEndOfSentence : std::string_view(chars[position + 1]),
                        _meScores);
  const std::string key = LexicalKey(character, role);
  const std::span<const SegTag> tags = AllowedTags(isFirst ? nullptr : &_roles[position - 1], role,
                                                   isLast ? nullptr : &_roles[position + 1]);
  for (const SegTag tag : tags) {
    // A bracket, a word by itself, takes the score of a word's end: kept so.
    const int scored = _tag[role.isBracket ? kTagE : tag];
    _alternatives.push_back({_segScore->GetWordIndex(SegToken(key, tag)), _tag[tag],
                             _meScores.at(static_cast<std::size_t>(scored))});
  }
}

void Segmentor::Viterbi(const std::vector<std::string>& chars, std::string& out) {
  const bool found = _search.Search(Lattice(*this), _order, kBeamWidth, _path);
  if (!found) {
    std::cerr << "No path through the lattice is allowed: the line is not segmented." << std::endl;
  }
  std::string words;
  for (std::size_t i = 0; i < chars.size(); ++i) {
    const bool begins = found && (_path.at(i)->tag == _tag[kTagB] || _path[i]->tag == _tag[kTagS]);
    if (begins) words += ' ';
    words += chars[i] == kFullWidthSpace ? " " : std::string_view(chars[i]);
  }
  // Words are split again at white space: blanks inside and between them fall together here.
  out.clear();
  ForEachField(words, [&](std::string_view word) { out.append(word).append(" "); });
}

bool Segmentor::CheckEqual(const std::deque<int>& a, const std::deque<int>& b) {
  return SameHistory(a, b, 0);
}

bool Segmentor::CheckMerge(const std::deque<int>& a, const std::deque<int>& b) {
  return SameHistory(a, b, 1);
}

void Segmentor::SegSentence(std::string& line, std::string& out) {
  TrimLine(line);
  const SegTables* const tables = _segScore->Tables();
  const bool isUsual = tables != nullptr && tables->IsMadeOf(*_charType) && _order == 2 &&
                       tables->HasTags(_tag);  // not before `Initialize`
  if (isUsual && _kernel.Segment(*tables, _alpha, line, out)) return;
  ++_plainLines;
  SplitCharacters(line, _chars);
  RenewLattice(_chars);
  Viterbi(_chars, out);
}

PathCounts Segmentor::Counts() const {
  PathCounts counts = _kernel.Counts();
  counts.plain = _plainLines;
  return counts;
}

void Segmentor::SegFile(std::string inPath, std::string outPath) {
  std::ifstream in(inPath);
  if (!in.is_open()) {
    std::cerr << "*****\nCannot open " << inPath << "\n*****" << std::endl;
    return;
  }
  ProcessLines(in, outPath, {&std::cout},
               [this](std::string& line, std::string& result) { SegSentence(line, result); });
}

}  // namespace Tolvek
