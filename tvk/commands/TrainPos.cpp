// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "chinese/CharType.h"
#include "chinese/LexSegPos.h"
#include "chinese/PosScore.h"
#include "chinese/PosTagger.h"
#include "chinese/SegScore.h"
#include "chinese/Segmentor.h"
#include "common/Fields.h"
#include "common/Globals.h"
#include "tvk/commands/Command.h"
#include "tvk/commands/TagOptions.h"
#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"
#include "tvk/text/WithoutAnnouncements.h"
#include "tvk/train/TeacherFeatures.h"

namespace Tolvek {

namespace {

struct Options : TagTrainOptions {
  std::string data = "data";
  Encoding encoding = Encoding::kUtf8;
};

TagRecipe DefaultRecipe() {
  TagRecipe recipe;
  recipe.model.templates = {{}, {1, 2}, {3, 2}, {1, 2}, {2, 4}, {2, 4}, {2, 4}};
  recipe.teacher.templates = TeacherTemplates(recipe.model.templates);
  recipe.teacher.fit.l2 = 1;
  recipe.clusters.sizes = {32, 128, 400, 1000};
  recipe.clusters.leastCount = 2;
  recipe.weightThreshold = 0.1;
  return recipe;
}

/// The segmenter that the tagger works behind.
class SegmenterOfFolder {
 public:
  SegmenterOfFolder(const std::string& folder, bool quiet) : _quiet(quiet) {
    const auto inFolder = [&](const char* name) { return folder + "/" + name; };
    if (!_characters.LoadBinary(inFolder("binarySource"))) {
      throw Failure(inFolder("binarySource") + ": not a character resource (see tvk train chars)");
    }
    _folder = folder;
  }

  const CharType& Characters() const { return _characters; }

  /// The words of a line of raw text (UTF-8), in GBK; none when GBK cannot hold it.
  std::vector<std::string> Segment(std::string_view utf8) {
    std::vector<std::string> words;
    if (const auto line = _toGbk(RunningTextOfLine(utf8))) {
      SplitFields(SegmentGbk(*line), words);
    } else {
      ++_skipped;
    }
    return words;
  }

  /// The same for any text, as a line; what GBK cannot hold becomes geta marks.
  std::string SegmentText(std::string_view utf8) {
    std::size_t marks = 0;
    return SegmentGbk(ToGbkWithMarks(_toGbk, utf8, marks));
  }

  /// Words (UTF-8) as a line in GBK.
  std::string Join(const std::vector<std::string>& words) const {
    std::size_t marks = 0;
    return ToGbkWithMarks(_toGbk, SeparatedWords(words), marks);
  }

  std::size_t Skipped() const { return _skipped; }

 private:
  /// The models are loaded when they are needed first.
  std::string SegmentGbk(std::string line) {
    if (!_isLoaded) {
      std::optional<WithoutAnnouncements> silence;
      if (_quiet) silence.emplace();
      if (!_scorer.Initialize(_folder + "/binarySegLM", _folder + "/binarySegModel")) {
        throw Failure(_folder + ": no models of the segmenter (see tvk train seg)");
      }
      _segmentor.Initialize();
      _isLoaded = true;
    }
    TrimLine(line);
    std::string words;
    if (!line.empty()) _segmentor.SegSentence(line, words);
    return words;
  }

  bool _quiet;
  std::string _folder;
  CharType _characters;
  SegScore _scorer{&_characters};
  Segmentor _segmentor{&_scorer, &_characters, LexSegPos::kLanguageModelWeight, LexSegPos::kOrder};
  bool _isLoaded = false;
  Converter _toGbk{Encoding::kUtf8, Encoding::kGbk};
  std::size_t _skipped = 0;
};

/// A corpus in GBK; what GBK cannot hold becomes geta marks.
Corpus InGbk(Corpus corpus) {
  const Converter toGbk(Encoding::kUtf8, Encoding::kGbk);
  std::size_t marks = 0;
  for (Sentence& sentence : corpus.sentences) {
    for (std::string& word : sentence.words) word = ToGbkWithMarks(toGbk, word, marks);
  }
  return corpus;
}

/// Counts the tags of words, and of the characters in them.
void Count(const Corpus& gbk, TagDictionaryBuilder& words, TagDictionaryBuilder& characters) {
  std::vector<std::string> split;
  for (const Sentence& sentence : gbk.sentences) {
    for (std::size_t i = 0; i < sentence.words.size(); ++i) {
      words.Count(sentence.words[i], sentence.tags[i]);
      PosScore::SplitWord(sentence.words[i], split);
      for (const std::string& character : split) characters.Count(character, sentence.tags[i]);
    }
  }
}

/// Tags the lines as the program would, and compares.
template <class LineOf>
TagCounts Evaluate(PosTagger& tagger, const Corpus& gold, const WordSet& known,
                   const LineOf& lineOf) {
  const Converter toUtf8(Encoding::kGbk, Encoding::kUtf8);
  TagCounts counts;
  std::string difference;
  std::string tagged;
  for (const Sentence& sentence : gold.sentences) {
    std::string line = lineOf(sentence);
    tagger.TagSentence(line, tagged);
    CompareSentence(sentence, ReadTagged(toUtf8(tagged).value()), known, counts, difference);
  }
  return counts;
}

void Run(const Options& options) {
  const TaggerFiles files(options.out, "binaryPosModel", "Dict");
  StepLog log = MakeLog(options);
  StepStore steps = MakeSteps(options,
                              {options.corpora,
                               options.raw,
                               {options.data + "/binarySource", options.data + "/binarySegLM",
                                options.data + "/binarySegModel"}},
                              log);
  SegmenterOfFolder segmenter(options.data, options.quiet);

  TagSet tags;
  TagDictionaryBuilder words;
  TagDictionaryBuilder characters;
  WordSet known;
  std::vector<GoldText> gold;
  for (const std::string& path : options.corpora) {
    const Corpus corpus = ReadCorpus(path, options.encoding, Tagging::kTagged);
    AddWords(corpus, known);
    const Corpus gbk = InGbk(corpus);
    Count(gbk, words, characters);
    gold.push_back({MakeTagged(gbk, tags), 1});
  }
  std::vector<std::vector<std::string>> raw;
  for (const std::string& path : options.raw) {
    const std::string text = DecodeToUtf8(path, ReadWholeFile(path), options.encoding);
    for (const std::string_view line : SplitLines(text)) raw.push_back(segmenter.Segment(line));
  }
  if (segmenter.Skipped() > 0) {
    log.Say("raw text: lines skipped, as GBK cannot hold them: " +
            std::to_string(segmenter.Skipped()));
  }

  Corpus development;
  if (!options.development.empty()) {
    development = ReadCorpus(options.development, options.encoding, Tagging::kTagged);
  }

  const CharType& charType = segmenter.Characters();
  const TagLanguage language{NeighbourFeatures([&charType](auto&&... arguments) {
                               PosScore::ForEachFeature(charType, arguments...);
                             }),
                             [&charType](const WordClusters& clusters) {
                               return ChineseTeacherFeatures(charType, clusters);
                             },
                             [](std::string_view word) { return std::string(word); }};
  const TagModelFit model =
      TrainTagger(tags, language, gold, std::move(raw), options.recipe, log, steps, words);
  WriteTagger(files, "Chinese parts of speech", tags, model, characters.Section() + words.Section(),
              options, log);
  steps.Done();
  if (options.development.empty() || options.quiet) return;
  PosScore scorer(&charType);
  if (!scorer.Initialize(files.modelPath, files.dictionaryPath)) {
    throw Failure("the written model cannot be loaded");
  }
  PosTagger tagger(&scorer, LexSegPos::kOrder);
  SayAccuracy(Evaluate(tagger, development, known,
                       [&](const Sentence& sentence) { return segmenter.Join(sentence.words); }),
              Evaluate(tagger, development, known,
                       [&](const Sentence& sentence) {
                         return segmenter.SegmentText(RunningText(sentence.words));
                       }),
              log);
}

}  // namespace

void AddTrainPos(CLI::App& parent, Action& action) {
  auto* command = parent.add_subcommand(
      "pos",
      "Train the Chinese tagger: \"binaryPosModel\" and \"Dict\".\n"
      "Corpora have one sentence a line, words written WORD/TAG; raw text has one sentence a line. "
      "The steps: fit a teacher, which may look at more than the tagger, to the corpora; segment "
      "the raw text and have the teacher tag it; fit the tagger's model to both.\n"
      "Example: tvk train pos --corpus train.tagged --raw raw.txt --data data --out data");
  const auto options = std::make_shared<Options>();
  Options& o = *options;
  o.recipe = DefaultRecipe();
  AddTagTrainOptions(*command, o);
  command->add_option("--data", o.data, "Folder with the segmenter's resources")
      ->capture_default_str();
  AddEncoding(*command, o.encoding);
  command->callback([&action, options] { action = [options] { Run(*options); }; });
}

}  // namespace Tolvek
