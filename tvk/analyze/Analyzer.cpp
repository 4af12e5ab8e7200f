// SPDX-License-Identifier: Apache-2.0
#include "tvk/analyze/Analyzer.h"

#include <stdexcept>

#include "chinese/LexSegPos.h"
#include "common/Fields.h"
#include "common/Globals.h"
#include "tvk/text/Failure.h"
#include "tvk/text/Utf8.h"

namespace Tolvek {

namespace {

/// What the core sees of a character that GBK lacks: a code that GBK leaves to its users, and so
/// unknown to every model.
constexpr std::uint16_t kUnknownCharacter = 0xAAA1;
/// The same for English.
constexpr char32_t kUnknownLetter = 0xFFFD;

constexpr std::string_view kFullWidthSpace = "\xA1\xA1";

/// A byte-order mark is no part of the text: white space.
bool IsByteOrderMark(const Character& character) {
  return character.code == 0xFEFF;
}

}  // namespace

Analyzer::Analyzer(Task task, const Models& models, const Folding& folding)
    : _task(task), _models(models), _folding(folding) {
  if (Segments(task)) {
    _segmentor.emplace(models.segmentation.get(), models.characters.get(),
                       LexSegPos::kLanguageModelWeight, LexSegPos::kOrder);
    _segmentor->Initialize();
  }
  if (Tags(task) && IsEnglish(task)) {
    _englishTagger.emplace(LexSegPos::kOrder);
    _englishTagger->Initialize(models.tokens.get(), models.englishTags.get());
  } else if (Tags(task)) {
    _chineseTagger.emplace(models.chineseTags.get(), LexSegPos::kOrder);
  }
}

const std::vector<Token>& Analyzer::operator()(std::span<const Character> line, bool isLineBegin) {
  _text.clear();
  if (IsEnglish(_task)) {
    WriteEnglish(line);
  } else {
    WriteChinese(line);
  }
  if (isLineBegin && !line.empty() && IsByteOrderMark(line.front())) {
    _text.replace(0, LengthOf(_text.front()), " ");
  }
  _scratch = _text;
  TrimLine(_scratch);
  _tokens.clear();
  if (_scratch.empty()) return _tokens;
  try {
    Analyze();
  } catch (const std::out_of_range&) {  // models are loaded without a look at all they say
    throw Failure("a model in " + _models.folder + ": " + MalformedModel(_models.folder));
  }
  Align(line.size());
  return _tokens;
}

void Analyzer::WriteChinese(std::span<const Character> line) {
  _text.resize(2 * line.size());
  char* out = _text.data();
  for (const Character& character : line) {
    if (character.code < 0x80) {
      *out++ = static_cast<char>(character.code);
      continue;
    }
    std::uint16_t bytes = _folding.ToGbk(character.code);
    if (bytes == 0) bytes = kUnknownCharacter;
    *out++ = static_cast<char>(bytes >> 8U);
    *out++ = static_cast<char>(bytes & 0xFFU);
  }
  _text.resize(static_cast<std::size_t>(out - _text.data()));
}

void Analyzer::WriteEnglish(std::span<const Character> line) {
  for (const Character& character : line) {
    const bool isKnown = IsInUnicode(character.code);
    AppendUtf8(isKnown ? _folding.ToPlain(character.code) : kUnknownLetter, _text);
  }
}

void Analyzer::Analyze() {
  switch (_task) {
    case Task::kSeg:
      _segmentor->SegSentence(_scratch, _words);
      break;
    case Task::kSegpos:
      _segmentor->SegSentence(_scratch, _words);
      _scratch = _words;
      _chineseTagger->TagSentence(_scratch, _tagged);
      break;
    case Task::kPos:
      _words = _scratch;
      _chineseTagger->TagSentence(_scratch, _tagged);
      break;
    case Task::kTok:
      _models.tokens->TokenizeSentence(_scratch, _words);
      break;
    case Task::kTokpos:
      _models.tokens->TokenizeSentence(_scratch, _words);
      _englishTagger->TagSentence(_words, _tagged, true);
      break;
  }
}

std::size_t Analyzer::LengthOf(char lead) const {
  const auto byte = static_cast<unsigned char>(lead);
  if (byte < 0x80) return 1;
  if (!IsEnglish(_task) || byte < 0xE0) return 2;
  return byte < 0xF0 ? 3 : 4;
}

bool Analyzer::IsGap(std::size_t at) const {
  if (IsSpace(_text[at])) return true;
  return Segments(_task) && _text.compare(at, 2, kFullWidthSpace) == 0;
}

void Analyzer::Align(std::size_t characters) {
  const bool isOfSingleBytes = characters == _text.size();
  std::size_t at = 0;           // in the text
  std::uint32_t character = 0;  // the one there
  std::size_t before = 0;       // bytes of the next word that the last token has taken
  std::size_t inTagged = 0;
  ForEachField(_words, [&](std::string_view word) {
    std::string_view tag;
    if (Tags(_task)) {
      const std::size_t begin = inTagged + word.size() + 1;
      const std::size_t end = _tagged.find(' ', begin);
      if (end == _tagged.npos) throw std::logic_error("the tagger lost a word");
      tag = std::string_view(_tagged).substr(begin, end - begin);
      inTagged = end + 1;
    }
    // A tokenizer's list of another encoding may cut between two bytes of a character.
    if (before >= word.size()) {
      before -= word.size();
      return;
    }
    word.remove_prefix(before);
    while (at < _text.size() && IsGap(at)) {
      at += LengthOf(_text[at]);
      ++character;
    }
    if (_text.compare(at, word.size(), word) != 0) throw std::logic_error("a word was changed");
    const std::uint32_t begin = character;
    const std::size_t end = at + word.size();
    if (isOfSingleBytes) {
      character += static_cast<std::uint32_t>(word.size());
      at = end;
    }
    while (at < end) {
      at += LengthOf(_text[at]);
      ++character;
    }
    before = at - end;
    _tokens.push_back({begin, character, tag});
  });
}

}  // namespace Tolvek
