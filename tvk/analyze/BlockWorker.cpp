// SPDX-License-Identifier: Apache-2.0
#include "tvk/analyze/BlockWorker.h"

#include <algorithm>

namespace Tolvek {

void BlockWorker::operator()(const LineBlock& block, BlockResult& result) {
  result.Clear();
  result.bytes = block.bytes.size();
  std::string_view rest = block.bytes;
  AnalyzedLine line{};
  line.number = block.line;
  line.part = block.part;
  line.firstByte = block.firstByte;
  line.firstCharacter = block.firstCharacter;
  line.isBlankBefore = block.isBlankBefore;
  TextPlace place{block.file, block.lineOfFile, 0};
  while (!rest.empty() && !result.isStopped) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    line.hasLineFeed = end < rest.size() || !block.isLast;
    const bool goesOn = end == rest.size() && block.isCut;
    DoLine(rest.substr(0, end), goesOn, place, line, result);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (!goesOn) ++result.lines;
    ++line.number;
    ++place.line;
    line.part = line.firstByte = line.firstCharacter = 0;
    line.isBlankBefore = true;
  }
}

void BlockWorker::DoLine(std::string_view text, bool goesOn, TextPlace place, AnalyzedLine& line,
                         BlockResult& result) {
  do {
    const std::size_t length = goesOn ? text.size() : PartLength(text, _charset);
    line.isLast = !goesOn && length == text.size();
    if (line.part == 0 && !line.isLast) line.part = 1;
    line.bytes = text.substr(0, length);
    line.isClean = _charset.Decode(line.bytes, _characters);
    if (line.part == 1) result.remarks.cut.Add(place);
    if (_writer.MayReplace(line)) Inspect(line, place, result);
    if (result.isStopped) return;
    line.characters = _characters;
    line.tokens = _analyzer(_characters, line.firstByte == 0);
    _writer.Append(line, result.text);
    line.isBlankBefore = line.isBlankBefore && IsBlank(_characters);
    text.remove_prefix(length);
    ++line.part;
    line.firstByte += length;
    line.firstCharacter += _characters.size();
  } while (!text.empty());
}

void BlockWorker::Inspect(const AnalyzedLine& line, TextPlace place, BlockResult& result) const {
  place.byte = line.firstByte + 1;
  for (const Character& character : _characters) {
    const bool isMalformed = IsMalformed(character.code);
    if (isMalformed || _writer.IsReplaced(character.code)) {
      (isMalformed ? result.remarks.malformed : result.remarks.lacking).Add(place);
      result.isStopped = _failsOnBadBytes;
      if (result.isStopped) return;
    }
    place.byte += character.length;
  }
}

}  // namespace Tolvek
