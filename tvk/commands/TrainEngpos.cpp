// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <memory>

#include "common/Fields.h"
#include "english/EngPosScore.h"
#include "english/EngPosTagger.h"
#include "english/EngToken.h"
#include "tvk/commands/Command.h"
#include "tvk/commands/TagOptions.h"
#include "tvk/evaluate/TagEvaluation.h"
#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"
#include "tvk/train/TeacherFeatures.h"
#include "tvk/train/TokenAlignment.h"

namespace Tolvek {

namespace {

struct Options : TagTrainOptions {
  std::vector<std::string> texts;
  std::string developmentText;
  std::string lists = "data/abbtitle";
  Encoding encoding = Encoding::kAutoEnglish;
  double goldWeight = 0.5;
  double ownWeight = 0.5;
};

TagRecipe DefaultRecipe() {
  TagRecipe recipe;
  recipe.model.fit.l2 = 1;
  recipe.model.templates = {{}, {1, 2}, {1, 2}, {1, 2}, {1, 4}, {1, 4}, {1, 4}};
  recipe.teacher.templates = TeacherTemplates({{}, {}, {2, 1}, {}, {2, 1}, {2, 1}, {2, 1}});
  recipe.teacher.fit.l2 = 1;
  recipe.words.leastCount = 2;
  recipe.listRawWords = false;
  recipe.rawSeen = 0.3;
  recipe.clusters.sizes = {50, 200, 800};
  return recipe;
}

/// A tagged corpus with its text as it was written, line by line.
struct TextCorpus {
  Corpus gold;
  std::vector<std::string> lines;  ///< none when the text was not given
};

TextCorpus Read(const std::string& path, const std::string& textPath, Encoding encoding) {
  TextCorpus corpus{ReadCorpus(path, encoding, Tagging::kTagged), {}};
  if (textPath.empty()) return corpus;
  const std::string text = DecodeToUtf8(textPath, ReadWholeFile(textPath), encoding);
  for (const std::string_view line : SplitLines(text)) corpus.lines.emplace_back(line);
  if (corpus.lines.size() != corpus.gold.sentences.size()) {
    throw Failure(textPath + ": " + std::to_string(corpus.gold.sentences.size()) +
                  " lines expected, as in " + path + ", found " +
                  std::to_string(corpus.lines.size()));
  }
  return corpus;
}

std::vector<std::string> Tokenize(const EngToken& tokenizer, std::string line) {
  std::string tokens;
  tokenizer.TokenizeSentence(line, tokens);
  std::vector<std::string> words;
  SplitFields(tokens, words);
  return words;
}

/// The sentences of a corpus as the tokenizer makes them, tagged where it agrees with the gold
/// tokens.
std::vector<TaggedSentence> OwnTokens(const EngToken& tokenizer, const TextCorpus& corpus,
                                      TagSet& tags, StepLog& log) {
  std::vector<TaggedSentence> sentences;
  std::size_t skipped = 0;
  std::size_t tokens = 0;
  std::size_t tagged = 0;
  for (std::size_t i = 0; i < corpus.lines.size(); ++i) {
    TaggedSentence sentence{Tokenize(tokenizer, corpus.lines[i]), {}};
    const auto aligned = AlignTags(corpus.gold.sentences[i], sentence.words);
    if (!aligned) {
      ++skipped;
      continue;
    }
    for (const std::string& tag : *aligned) {
      sentence.tags.push_back(tag.empty() ? -1 : tags.Add(tag));
      tagged += tag.empty() ? 0 : 1;
    }
    tokens += sentence.words.size();
    sentences.push_back(std::move(sentence));
  }
  log.Say(corpus.gold.path + ": " + std::to_string(tokens) + " tokens of the tokenizer, " +
          std::to_string(tagged) + " of them gold tokens");
  if (skipped > 0) {
    log.Say(corpus.gold.path + ": lines skipped, as their text differs from the gold tokens': " +
            std::to_string(skipped));
  }
  return sentences;
}

/// Tags a corpus as the program would, its gold tokens or its text, and compares.
TagCounts Evaluate(EngPosTagger& tagger, const TextCorpus& corpus, bool goldTokens,
                   const WordSet& known) {
  TagCounts counts;
  std::string difference;
  for (std::size_t i = 0; i < corpus.gold.sentences.size(); ++i) {
    const Sentence& gold = corpus.gold.sentences[i];
    std::string line = goldTokens ? SeparatedWords(gold.words) : corpus.lines[i];
    std::string tagged;
    tagger.TagSentence(line, tagged, goldTokens);
    const Sentence output = ReadTagged(tagged);
    CompareSentence(gold, output, known, counts, difference);
  }
  return counts;
}

void Run(const Options& options) {
  const TaggerFiles files(options.out, "binaryEngPosModel", "EngDict");
  if (!options.texts.empty() && options.texts.size() != options.corpora.size()) {
    throw Failure("--text: one file for each corpus expected");
  }
  StepLog log = MakeLog(options);
  StepStore steps =
      MakeSteps(options, {options.corpora, options.texts, options.raw, {options.lists}}, log);
  EngToken tokenizer;
  if (!tokenizer.Load(options.lists)) {
    throw Failure(options.lists + ": cannot be read (see tvk train abbtitle)");
  }

  TagSet tags;
  TagDictionaryBuilder words;
  WordSet known;
  std::vector<GoldText> texts;
  for (std::size_t i = 0; i < options.corpora.size(); ++i) {
    const TextCorpus corpus =
        Read(options.corpora[i], options.texts.empty() ? "" : options.texts[i], options.encoding);
    GoldText gold{MakeTagged(corpus.gold, tags), 1};
    AddWords(corpus.gold, known);
    for (const Sentence& sentence : corpus.gold.sentences) {
      for (std::size_t w = 0; w < sentence.words.size(); ++w) {
        words.Count(sentence.words[w], sentence.tags[w]);
      }
    }
    if (!corpus.lines.empty()) {
      gold.weight = options.goldWeight;
      texts.push_back({OwnTokens(tokenizer, corpus, tags, log), options.ownWeight});
    }
    texts.push_back(std::move(gold));
  }
  std::vector<std::vector<std::string>> raw;
  for (const std::string& path : options.raw) {
    const std::string text = DecodeToUtf8(path, ReadWholeFile(path), options.encoding);
    for (const std::string_view line : SplitLines(text)) {
      raw.push_back(Tokenize(tokenizer, std::string(line)));
    }
  }

  TextCorpus development;
  if (!options.development.empty()) {
    development = Read(options.development, options.developmentText, options.encoding);
  }

  const TagLanguage language{
      NeighbourFeatures([](auto&&... arguments) { EngPosScore::ForEachFeature(arguments...); }),
      EnglishTeacherFeatures, ClusterForm};
  const TagModelFit model =
      TrainTagger(tags, language, texts, std::move(raw), options.recipe, log, steps, words);
  WriteTagger(files, "English parts of speech", tags, model, words.Section(), options, log);
  steps.Done();
  if (options.development.empty() || options.quiet) return;
  EngPosScore scorer;
  if (!scorer.Initialize(files.modelPath, files.dictionaryPath)) {
    throw Failure("the written model cannot be loaded");
  }
  EngPosTagger tagger(2);
  tagger.Initialize(&tokenizer, &scorer);
  SayAccuracy(Evaluate(tagger, development, true, known),
              development.lines.empty() ? TagCounts{} : Evaluate(tagger, development, false, known),
              log);
}

}  // namespace

void AddTrainEngpos(CLI::App& parent, Action& action) {
  auto* command = parent.add_subcommand(
      "engpos",
      "Train the English tagger: \"binaryEngPosModel\" and \"EngDict\".\n"
      "Corpora have one sentence a line, tokens written WORD/TAG. Where their text as it was "
      "written is given, too, the tokenizer's own tokens of it are learned from beside the gold "
      "ones: a token that gold has gets its tag, any other is context only.\n"
      "Example: tvk train engpos --corpus train.tagged --text train.raw --out data");
  const auto options = std::make_shared<Options>();
  Options& o = *options;
  o.recipe = DefaultRecipe();
  AddTagTrainOptions(*command, o);
  command->add_option("--text", o.texts, "The text of each corpus, line by line");
  command->add_option("--dev-text", o.developmentText, "That of the development corpus");
  command->add_option("--lists", o.lists, "The tokenizer's lists")->capture_default_str();
  AddEnglishEncoding(*command, o.encoding);
  const std::string fit = "Fit of the model";
  AddNumber(*command, fit, "--gold-weight", o.goldWeight,
            "Weight of the gold tokens where the text is given", 0);
  AddNumber(*command, fit, "--own-weight", o.ownWeight, "Weight of the tokenizer's own tokens", 0);
  command->callback([&action, options] { action = [options] { Run(*options); }; });
}

}  // namespace Tolvek
