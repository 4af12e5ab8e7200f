// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tvk/analyze/Analyzer.h"
#include "tvk/analyze/LineWriter.h"
#include "tvk/text/Charset.h"
#include "tvk/text/LineBlocks.h"

namespace Tolvek {

/// Where a character stands.
struct TextPlace {
  std::size_t file;  ///< which one, from 0
  std::size_t line;  ///< there, from 1
  std::size_t byte;  ///< in the line, from 1; 0: the line as a whole
};

/// How many characters there were of some kind, and where the first ones stand.
struct TextPlaces {
  static constexpr std::size_t kMostShown = 5;

  std::size_t count = 0;
  std::vector<TextPlace> first;

  void Add(const TextPlace& place) {
    ++count;
    if (first.size() < kMostShown) first.push_back(place);
  }
  void Add(const TextPlaces& later) {
    count += later.count;
    for (const TextPlace& place : later.first) {
      if (first.size() < kMostShown) first.push_back(place);
    }
  }
};

/// What the user should know of the text.
struct Remarks {
  TextPlaces malformed;  ///< bytes that are no characters
  TextPlaces lacking;    ///< characters that the output's encoding lacks
  TextPlaces cut;        ///< lines done in parts

  void Add(const Remarks& later) {
    malformed.Add(later.malformed);
    lacking.Add(later.lacking);
    cut.Add(later.cut);
  }
};

/// A block, done.
struct BlockResult {
  std::string text;
  Remarks remarks;
  bool isStopped = false;  ///< at the first remark that is a failure: the text ends before it
  std::size_t lines = 0;
  std::size_t bytes = 0;

  void Clear() {
    std::string memory = std::move(text);
    memory.clear();
    *this = {};
    text = std::move(memory);
  }
};

/// Does the blocks of one thread. Borrows all it is given; the analyzer is not shared.
class BlockWorker {
 public:
  BlockWorker(Analyzer& analyzer, const Charset& charset, const LineWriter& writer,
              BadBytes badBytes)
      : _analyzer(analyzer),
        _charset(charset),
        _writer(writer),
        _failsOnBadBytes(badBytes == BadBytes::kFail) {}

  /// Replaces the result.
  void operator()(const LineBlock& block, BlockResult& result);

 private:
  /// Does what is left of a line: all of it, or, where the line goes on in another block, a part.
  void DoLine(std::string_view text, bool goesOn, TextPlace place, AnalyzedLine& line,
              BlockResult& result);
  /// Notes the characters of a line that the output does not show as they are.
  void Inspect(const AnalyzedLine& line, TextPlace place, BlockResult& result) const;

  Analyzer& _analyzer;
  const Charset& _charset;
  const LineWriter& _writer;
  bool _failsOnBadBytes;
  std::vector<Character> _characters;
};

}  // namespace Tolvek
