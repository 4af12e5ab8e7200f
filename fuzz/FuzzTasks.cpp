// SPDX-License-Identifier: Apache-2.0
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>

#include "chinese/LexSegPos.h"
#include "english/LexEngPos.h"
#include "fuzz/FuzzBytes.h"
#include "fuzz/PlainDecoding.h"

namespace {

using Tolvek::Expect;
using Tolvek::LexEngPos;
using Tolvek::LexSegPos;

enum Task { kSeg, kSegpos, kPos, kTok, kTokpos, kTaskCount };

/// The shipped models in the facades, and once more for decoding plainly.
struct Shipped {
  LexSegPos chinese;
  LexEngPos english;
  Tolvek::CharType characters;
  Tolvek::SegScore segScore{&characters};
  Tolvek::PosScore posScore{&characters};
  Tolvek::EngToken tokenizer;
  Tolvek::EngPosScore engPosScore;
  Tolvek::Segmentor segmentor{&segScore, &characters, LexSegPos::kLanguageModelWeight,
                              LexSegPos::kOrder};
  Tolvek::PosTagger posTagger{&posScore, LexSegPos::kOrder};
  Tolvek::EngPosTagger engPosTagger{LexSegPos::kOrder};

  Shipped() {
    const std::string folder = TOLVEK_DATA;
    const auto at = [&](const char* name) { return folder + "/" + name; };
    const bool isLoaded = chinese.Load(folder, true) && english.Load(folder, true) &&
                          characters.LoadBinary(at("binarySource")) &&
                          segScore.Initialize(at("binarySegLM"), at("binarySegModel")) &&
                          posScore.Initialize(at("binaryPosModel"), at("Dict")) &&
                          tokenizer.Load(at("abbtitle")) &&
                          engPosScore.Initialize(at("binaryEngPosModel"), at("EngDict"));
    Expect(isLoaded);
    segmentor.Initialize();
    engPosTagger.Initialize(&tokenizer, &engPosScore);
    std::cerr.setstate(std::ios::failbit);
  }

  void DoFile(Task task, const std::string& in, const std::string& out) {
    switch (task) {
      case kSeg:
        chinese.SegPosFile(in, out, false);
        break;
      case kSegpos:
        chinese.SegPosFile(in, out, true);
        break;
      case kPos:
        chinese.PosFile(in, out);
        break;
      case kTok:
        english.EngTokenFile(in, out);
        break;
      default:
        english.EngTagFile(in, out, false);
    }
  }

  /// A line that is trimmed and not empty.
  void DoLine(Task task, std::string& line, std::string& out) {
    std::string words;
    switch (task) {
      case kSeg:
        SegmentPlainly(segmentor, line, out);
        break;
      case kSegpos:
        SegmentPlainly(segmentor, line, words);
        TagChinesePlainly(posTagger, posScore, words, out);
        break;
      case kPos:
        TagChinesePlainly(posTagger, posScore, line, out);
        break;
      case kTok:
        tokenizer.TokenizeSentence(line, out);
        break;
      default:
        TagEnglishPlainly(engPosTagger, engPosScore, &tokenizer, line, out);
    }
  }
};

}  // namespace

/// A task, and a file for it: what the task makes of the file with the shipped models must be what
/// the plain operations make of its lines.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static Shipped shipped;
  if (size == 0) return 0;
  const auto task = static_cast<Task>(bytes[0] % kTaskCount);
  const std::string in = Tolvek::WriteInput("in", bytes + 1, size - 1);
  std::cout.setstate(std::ios::failbit);  // progress
  shipped.DoFile(task, in, "out");
  std::cout.clear();

  std::string expected;
  std::istringstream lines(std::string(reinterpret_cast<const char*>(bytes) + 1, size - 1));
  for (std::string line; std::getline(lines, line);) {
    Tolvek::TrimLine(line);
    std::string out;
    if (!line.empty()) shipped.DoLine(task, line, out);
    if (!line.empty() || task != kTokpos) expected += out + "\n";
  }
  std::ifstream file("out", std::ios::binary);
  const std::string result((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
  Expect(result == expected);
  return 0;
}
