// SPDX-License-Identifier: Apache-2.0
//
// What each stage costs by itself, on the texts of examples/ and the models of data/ (or of the
// folder TOLVEK_DATA names). `items_per_second` counts what the label says.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iostream>
#include <streambuf>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "chinese/CharType.h"
#include "chinese/PosScore.h"
#include "chinese/PosTagger.h"
#include "chinese/SegRules.h"
#include "chinese/SegScore.h"
#include "chinese/Segmentor.h"
#include "common/Fields.h"
#include "common/Globals.h"
#include "english/EngPosScore.h"
#include "english/EngPosTagger.h"
#include "english/EngToken.h"
#include "model/MeModel.h"
#include "model/Ngram.h"
#include "model/Vocab.h"

namespace {

using Words = std::vector<std::string>;

constexpr double kLanguageModelWeight = 0.3;
constexpr int kOrder = 2;

std::string DataPath(const char* name) {
  const char* folder = std::getenv("TOLVEK_DATA");
  return (folder != nullptr ? std::string(folder) : PROJECT_DIR "/data") + '/' + name;
}

[[noreturn]] void Fail(const std::string& message) {
  std::cerr << "tolvek_bench: " << message << std::endl;
  std::exit(1);
}

/// The lines with content of a text in examples/.
Words ReadLines(const std::string& name) {
  const std::string path = PROJECT_DIR "/examples/" + name;
  std::ifstream in(path);
  Words lines;
  for (std::string line; std::getline(in, line);) {
    Tolvek::TrimLine(line);
    if (!line.empty()) lines.push_back(line);
  }
  if (lines.empty()) Fail("no text in " + path);
  return lines;
}

const Words& ChineseLines() {
  static const Words lines = ReadLines("chinese.gbk");
  return lines;
}
const Words& SegmentedLines() {
  static const Words lines = ReadLines("chinese.seg.gbk");
  return lines;
}
const Words& EnglishLines() {
  static const Words lines = ReadLines("english.txt");
  return lines;
}
const Words& TokenizedLines() {
  static const Words lines = ReadLines("english.tok.txt");
  return lines;
}

/// Each line taken apart by `split(line, parts)`.
template <class Split>
std::vector<Words> SplitLines(const Words& lines, const Split& split) {
  std::vector<Words> all;
  for (const std::string& line : lines) split(line, all.emplace_back());
  return all;
}

std::vector<Words> SplitWords(const Words& lines) {
  return SplitLines(
      lines, [](const std::string& line, Words& words) { Tolvek::SplitFields(line, words); });
}

std::size_t CountParts(const std::vector<Words>& lines) {
  std::size_t count = 0;
  for (const Words& parts : lines) count += parts.size();
  return count;
}
std::size_t CountBytes(const Words& lines) {
  std::size_t count = 0;
  for (const std::string& line : lines) count += line.size();
  return count;
}

/// Says how many units each iteration has treated.
void Count(benchmark::State& state, std::size_t units, const char* unit) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(units));
  state.SetLabel(unit);
}

/// Keeps the loaders' progress off the screen.
class Quiet {
 public:
  Quiet() : _buffer(std::cerr.rdbuf(nullptr)) {}
  ~Quiet() {
    std::cerr.rdbuf(_buffer);  // clears the errors of writing nowhere
  }
  Quiet(const Quiet&) = delete;
  Quiet& operator=(const Quiet&) = delete;

 private:
  std::streambuf* _buffer;
};

// Loaders: each fills what it is given from DataPath; false when that fails.

bool Load(Tolvek::CharType& types) {
  return types.LoadBinary(DataPath("binarySource"));
}
bool Load(Tolvek::SegScore& scorer) {
  return scorer.Initialize(DataPath("binarySegLM"), DataPath("binarySegModel"));
}
bool Load(Tolvek::PosScore& scorer) {
  return scorer.Initialize(DataPath("binaryPosModel"), DataPath("Dict"));
}
bool Load(Tolvek::EngPosScore& scorer) {
  return scorer.Initialize(DataPath("binaryEngPosModel"), DataPath("EngDict"));
}
bool Load(Tolvek::EngToken& tokenizer) {
  return tokenizer.Load(DataPath("abbtitle"));
}
bool Load(Tolvek::MeModel& model) {
  return model.LoadModel(DataPath("binarySegModel")) == 1;
}
bool Load(Tolvek::Ngram& model) {
  return model.LoadFile(DataPath("binarySegLM").c_str()) == 1;
}

template <class Resource>
void LoadOrFail(Resource& resource) {
  bool isLoaded = false;
  {
    const Quiet quiet;
    isLoaded = Load(resource);
  }
  if (!isLoaded) Fail("the models in " + DataPath("") + " do not load");
}

/// The one copy that benchmarks of decoding share.
template <class Resource, class... Arguments>
const Resource& Shared(Arguments... arguments) {
  static const Resource& resource = *[&] {
    static Resource loaded(arguments...);
    LoadOrFail(loaded);
    return &loaded;
  }();
  return resource;
}

const Tolvek::CharType* Types() {
  return &Shared<Tolvek::CharType>();
}
const Tolvek::SegScore* SegKnowledge() {
  return &Shared<Tolvek::SegScore>(Types());
}
const Tolvek::PosScore* PosKnowledge() {
  return &Shared<Tolvek::PosScore>(Types());
}

// Loading, with the release of what was loaded.

template <class Resource, class... Arguments>
void LoadOf(benchmark::State& state, std::initializer_list<const char*> files,
            Arguments... arguments) {
  std::uintmax_t size = 0;
  for (const char* file : files) {
    std::error_code error;
    const std::uintmax_t bytes = std::filesystem::file_size(DataPath(file), error);
    if (error) Fail("no file " + DataPath(file));
    size += bytes;
  }
  for (auto _ : state) {
    Resource resource(arguments...);
    LoadOrFail(resource);
  }
  Count(state, size, "bytes");
}

void LoadCharType(benchmark::State& state) {
  LoadOf<Tolvek::CharType>(state, {"binarySource"});
}
void LoadSegScore(benchmark::State& state) {
  LoadOf<Tolvek::SegScore>(state, {"binarySegLM", "binarySegModel"}, Types());
}
void LoadPosScore(benchmark::State& state) {
  LoadOf<Tolvek::PosScore>(state, {"binaryPosModel", "Dict"}, Types());
}
void LoadEngPosScore(benchmark::State& state) {
  LoadOf<Tolvek::EngPosScore>(state, {"binaryEngPosModel", "EngDict"});
}
void LoadEngToken(benchmark::State& state) {
  LoadOf<Tolvek::EngToken>(state, {"abbtitle"});
}
BENCHMARK(LoadCharType)->Unit(benchmark::kMillisecond);
BENCHMARK(LoadSegScore)->Unit(benchmark::kMillisecond);
BENCHMARK(LoadPosScore)->Unit(benchmark::kMillisecond);
BENCHMARK(LoadEngPosScore)->Unit(benchmark::kMillisecond);
BENCHMARK(LoadEngToken)->Unit(benchmark::kMillisecond);

// Chinese words. Operations that trim their line get a copy of it.

void SegSentence(benchmark::State& state) {
  Tolvek::Segmentor segmentor(SegKnowledge(), Types(), kLanguageModelWeight, kOrder);
  segmentor.Initialize();
  std::string copy;
  std::string out;
  for (auto _ : state) {
    for (const std::string& line : ChineseLines()) {
      copy = line;
      segmentor.SegSentence(copy, out);
      benchmark::DoNotOptimize(out.data());
    }
  }
  Count(state, CountParts(SplitLines(ChineseLines(), Tolvek::SplitCharacters)), "characters");
}
BENCHMARK(SegSentence)->Unit(benchmark::kMillisecond);

void SegLatticeAndViterbi(benchmark::State& state) {
  Tolvek::Segmentor segmentor(SegKnowledge(), Types(), kLanguageModelWeight, kOrder);
  segmentor.Initialize();
  const std::vector<Words> lines = SplitLines(ChineseLines(), Tolvek::SplitCharacters);
  std::string out;
  for (auto _ : state) {
    for (const Words& characters : lines) {
      segmentor.RenewLattice(characters);
      segmentor.Viterbi(characters, out);
      benchmark::DoNotOptimize(out.data());
    }
  }
  Count(state, CountParts(lines), "characters");
}
BENCHMARK(SegLatticeAndViterbi)->Unit(benchmark::kMillisecond);

/// All characters, each between its neighbours.
std::vector<std::deque<std::string>> CharacterContexts() {
  std::vector<std::deque<std::string>> contexts;
  std::vector<Words> lines = SplitLines(ChineseLines(), Tolvek::SplitCharacters);
  for (Words& characters : lines) {
    characters.insert(characters.begin(), "B_0");
    characters.emplace_back("E_0");
    for (std::size_t i = 1; i + 1 < characters.size(); ++i) {
      contexts.push_back({characters[i - 1], characters[i], characters[i + 1]});
    }
  }
  return contexts;
}

void GetMeScore(benchmark::State& state) {
  const Tolvek::SegScore& scorer = *SegKnowledge();
  const auto contexts = CharacterContexts();
  std::vector<std::pair<std::string, double>> scores;
  for (auto _ : state) {
    for (const std::deque<std::string>& context : contexts) {
      scorer.GetMeScore(context, scores);
      benchmark::DoNotOptimize(scores.data());
    }
  }
  Count(state, contexts.size(), "characters");
}
BENCHMARK(GetMeScore)->Unit(benchmark::kMillisecond);

/// The model under `GetMeScore`, on features that are written already.
void MeModelEvaluation(benchmark::State& state) {
  const Tolvek::MeModel& model = Shared<Tolvek::MeModel>();
  std::vector<std::vector<std::pair<std::string, double>>> characters;
  for (const std::deque<std::string>& context : CharacterContexts()) {
    auto& features = characters.emplace_back();
    Tolvek::SegScore::ForEachFeature(
        *Types(), context[0], context[1], context[2],
        [&](std::string_view text, double value) { features.emplace_back(text, value); });
  }
  std::vector<std::pair<std::string, double>> scores;
  for (auto _ : state) {
    for (const auto& features : characters) {
      model.eval_all(features, scores, false);
      benchmark::DoNotOptimize(scores.data());
    }
  }
  Count(state, characters.size(), "evaluations");
}
BENCHMARK(MeModelEvaluation)->Unit(benchmark::kMillisecond);

/// The tokens of all words in turn, each after the one before.
void NgramWordProb(benchmark::State& state) {
  Tolvek::Vocab vocab;
  Tolvek::Ngram model(&vocab, kOrder);
  LoadOrFail(model);
  std::vector<int> tokens;
  for (const Words& words : SplitWords(SegmentedLines())) {
    for (const std::string& word : words) {
      Words characters;
      Tolvek::SplitCharacters(word, characters);
      for (std::size_t i = 0; i < characters.size(); ++i) {
        const bool isFirst = i == 0;
        const bool isLast = i + 1 == characters.size();
        const Tolvek::SegTag tag = isFirst ? (isLast ? Tolvek::kTagS : Tolvek::kTagB)
                                           : (isLast ? Tolvek::kTagE : Tolvek::kTagM);
        const Tolvek::SegRole role = Tolvek::GetSegRole(*Types(), characters[i]);
        const std::string key = Tolvek::LexicalKey(characters[i], role);
        tokens.push_back(vocab.GetIndex(Tolvek::SegToken(key, tag)));
      }
    }
  }
  for (auto _ : state) {
    double sum = 0;
    for (std::size_t i = 1; i < tokens.size(); ++i) {
      sum += model.WordProb(tokens[i], {tokens[i - 1]});
    }
    benchmark::DoNotOptimize(sum);
  }
  Count(state, tokens.size() - 1, "tokens");
}
BENCHMARK(NgramWordProb)->Unit(benchmark::kMicrosecond);

// Tags.

/// Calls `process(line, out)` for a copy of each line.
template <class Process>
void ForEachLine(benchmark::State& state, const Words& lines, const Process& process) {
  std::string copy;
  std::string out;
  for (auto _ : state) {
    for (const std::string& line : lines) {
      copy = line;
      process(copy, out);
      benchmark::DoNotOptimize(out.data());
    }
  }
}

template <class Tagger>
void LatticeAndViterbi(benchmark::State& state, Tagger& tagger, const Words& lines) {
  const std::vector<Words> sentences = SplitWords(lines);
  std::vector<int> tags;
  for (auto _ : state) {
    for (const Words& words : sentences) {
      tagger.RenewLattice(words);
      tagger.Viterbi(tags);
      benchmark::DoNotOptimize(tags.data());
    }
  }
  Count(state, CountParts(sentences), "words");
}

void PosTagSentence(benchmark::State& state) {
  Tolvek::PosTagger tagger(PosKnowledge(), kOrder);
  ForEachLine(state, SegmentedLines(),
              [&](std::string& line, std::string& out) { tagger.TagSentence(line, out); });
  Count(state, CountParts(SplitWords(SegmentedLines())), "words");
}
BENCHMARK(PosTagSentence)->Unit(benchmark::kMillisecond);

void PosLatticeAndViterbi(benchmark::State& state) {
  Tolvek::PosTagger tagger(PosKnowledge(), kOrder);
  LatticeAndViterbi(state, tagger, SegmentedLines());
}
BENCHMARK(PosLatticeAndViterbi)->Unit(benchmark::kMillisecond);

void EngPosTagSentence(benchmark::State& state) {
  Tolvek::EngPosTagger tagger(kOrder);
  tagger.Initialize(&Shared<Tolvek::EngToken>(), &Shared<Tolvek::EngPosScore>());
  ForEachLine(state, EnglishLines(),
              [&](std::string& line, std::string& out) { tagger.TagSentence(line, out, false); });
  Count(state, CountParts(SplitWords(TokenizedLines())), "words");
}
BENCHMARK(EngPosTagSentence)->Unit(benchmark::kMillisecond);

void EngPosLatticeAndViterbi(benchmark::State& state) {
  Tolvek::EngPosTagger tagger(kOrder);
  tagger.Initialize(&Shared<Tolvek::EngToken>(), &Shared<Tolvek::EngPosScore>());
  LatticeAndViterbi(state, tagger, TokenizedLines());
}
BENCHMARK(EngPosLatticeAndViterbi)->Unit(benchmark::kMillisecond);

// English tokens.

void TokenizeSentence(benchmark::State& state) {
  const Tolvek::EngToken& tokenizer = Shared<Tolvek::EngToken>();
  ForEachLine(state, EnglishLines(),
              [&](std::string& line, std::string& out) { tokenizer.TokenizeSentence(line, out); });
  Count(state, CountBytes(EnglishLines()), "bytes");
}
BENCHMARK(TokenizeSentence)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
