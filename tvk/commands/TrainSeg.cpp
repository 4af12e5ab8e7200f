// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>
#include <thread>

#include "chinese/LexSegPos.h"
#include "chinese/SegScore.h"
#include "chinese/Segmentor.h"
#include "tvk/commands/Command.h"
#include "tvk/commands/Options.h"
#include "tvk/commands/TrainOptions.h"
#include "tvk/evaluate/SegEvaluation.h"
#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"
#include "tvk/train/ModelFiles.h"
#include "tvk/train/SegTrainer.h"

namespace Tolvek {

namespace {

struct Options : TrainOptions {
  std::vector<std::string> corpora;
  std::vector<std::string> lexicons;
  std::vector<std::string> raw;
  std::string development;
  std::string characters = "data/binarySource";
  bool text = false;
  Encoding encoding = Encoding::kUtf8;
  Tagging tagging = Tagging::kAuto;
  SegTrainerOptions recipe;
};

/// Segments a corpus with the written models as the program would, and compares.
SegCounts EvaluateWritten(const CharType& characters, const std::string& lmPath,
                          const std::string& mePath, const Corpus& corpus, const WordSet& known) {
  SegScore scorer(&characters);
  if (!scorer.Initialize(lmPath, mePath)) throw Failure("the written models cannot be loaded");
  Segmentor segmentor(&scorer, &characters, LexSegPos::kLanguageModelWeight, LexSegPos::kOrder);
  segmentor.Initialize();
  const Converter toGbk(Encoding::kUtf8, Encoding::kGbk);
  const Converter toUtf8(Encoding::kGbk, Encoding::kUtf8);
  SegCounts counts;
  std::string difference;
  std::size_t marks = 0;
  for (const Sentence& sentence : corpus.sentences) {
    if (sentence.words.empty()) continue;
    std::string line = ToGbkWithMarks(toGbk, RunningText(sentence.words), marks);
    std::string segmented;
    segmentor.SegSentence(line, segmented);
    std::vector<std::string> words;
    const std::string utf8 = toUtf8(segmented).value();
    for (const std::string_view word : SplitAtBlanks(utf8)) words.emplace_back(word);
    CompareSentence(sentence.words, words, known, counts, difference);
  }
  return counts;
}

void Run(const Options& options) {
  namespace fs = std::filesystem;
  const auto inFolder = [&](const char* name) { return (fs::path(options.out) / name).string(); };
  const std::string lmPath = inFolder("binarySegLM");
  const std::string mePath = inFolder("binarySegModel");
  std::error_code error;
  fs::create_directories(options.out, error);
  CheckWritable(lmPath);

  StepLog log = MakeLog(options);
  StepStore steps = MakeSteps(
      options, {options.corpora, options.raw, options.lexicons, {options.characters}}, log);
  CharType characters;
  if (!characters.LoadBinary(options.characters)) {
    throw Failure(options.characters + ": not a character resource (see tvk train chars)");
  }
  SegTrainer trainer(characters, options.recipe, log, steps);
  WordSet known;
  for (const std::string& path : options.corpora) {
    const Corpus corpus = ReadCorpus(path, options.encoding, options.tagging);
    AddWords(corpus, known);
    trainer.AddCorpus(corpus);
  }
  for (const std::string& path : options.lexicons) {
    trainer.AddLexicon(ReadReadableList(path, 1));
  }
  for (const std::string& path : options.raw) {
    trainer.AddRawText(DecodeToUtf8(path, ReadWholeFile(path), options.encoding));
  }
  Corpus development;
  if (!options.development.empty()) {
    development = ReadCorpus(options.development, options.encoding, options.tagging);
    trainer.SetDevelopment(development);
  }

  const SegModels models = trainer.Train();
  WriteMaxEntModel(mePath, models.meText);
  WriteLanguageModel(lmPath, models.lmArpa);
  if (options.text) {
    WriteWholeFile(inFolder("segModel.txt"), models.meText);
    WriteWholeFile(inFolder("segLM.arpa"), models.lmArpa);
  }
  steps.Done();
  log.Say(mePath + ": " + std::to_string(models.weights) + " weights, " +
          std::to_string(fs::file_size(mePath)) + " bytes");
  log.Say(lmPath + ": " + std::to_string(models.unigrams) + " unigrams, " +
          std::to_string(models.bigrams) + " bigrams, " + std::to_string(fs::file_size(lmPath)) +
          " bytes");
  if (!development.sentences.empty() && !options.quiet) {
    const SegCounts counts = EvaluateWritten(characters, lmPath, mePath, development, known);
    log.Say("written models on the development corpus: F1 " + ShowRatio(F1(counts)) +
            ", recall of unknown words " + ShowRatio(UnknownRecall(counts)) + ShowLeftOut(counts));
  }
}

}  // namespace

void AddTrainSeg(CLI::App& parent, Action& action) {
  auto* command = parent.add_subcommand(
      "seg",
      "Train both models of the segmenter: \"binarySegModel\" and \"binarySegLM\".\n"
      "Corpora have one sentence a line, words separated by blanks, with or without /TAG; raw text "
      "has one sentence a line. The steps: estimate a language model from the corpora and fit the "
      "tag model beside it; segment the raw text; estimate the language model from both; fit the "
      "tag "
      "model for whole paths beside it; repeat.\n"
      "Example: tvk train seg --corpus train.tagged --raw raw.txt --dev dev.tagged --out data");
  const auto options = std::make_shared<Options>();
  Options& o = *options;
  SegTrainerOptions& recipe = o.recipe;
  recipe.threads = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));

  command->add_option("--corpus", o.corpora, "Segmented corpora to learn from")->required();
  command->add_option("--raw", o.raw, "Unsegmented text for the language model");
  command->add_option("--lexicon", o.lexicons,
                      "Lists of words (UTF-8) that the language model learns besides");
  command->add_option("--dev", o.development, "Segmented corpus to report F1 on");
  command->add_option("--chars", o.characters, "The character resource")->capture_default_str();
  AddTrainOptions(*command, o);
  command->add_flag("--text", o.text, "Also leave the text forms segModel.txt and segLM.arpa");
  command->add_option("--threads", recipe.threads, "Threads; the result is the same at any number")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  AddEncoding(*command, o.encoding);
  AddTagging(*command, "--tagging", o.tagging, "the corpora");

  const std::string fit = "Fit of the tag model";
  const auto number = [&](const std::string& group, const std::string& name, auto& value,
                          const std::string& help,
                          double least) { AddNumber(*command, group, name, value, help, least); };
  number(fit, "--l2", recipe.fit.l2, "Penalty (L2 / 2) * |w|^2 of the whole-path fits", 0);
  AddChoice(*command, "--first-fit", recipe.firstFit, FirstFitNames(),
            "What the weights that first segment the raw text are fitted to")
      ->group(fit);
  number(fit, "--first-l2", recipe.firstL2, "The L2 penalty of that fit", 0);
  number(fit, "--l1", recipe.fit.l1, "Penalty L1 * |w| of the last fit; makes few weights", 0);
  number(fit, "--iterations", recipe.fit.iterations, "At most so many iterations a fit", 1);
  number(fit, "--tolerance", recipe.fit.tolerance,
         "Stop when ten iterations gain less than this part of the objective", 0);
  number(
      fit, "--rounds", recipe.rounds,
      "Times of segmenting the raw text and fitting beside its language model; 0: first fit only",
      0);
  number(fit, "--folds", recipe.folds,
         "Language models that have not seen the sentences they score; 1: one that has", 1);
  number(fit, "--cutoff", recipe.featureCutOff, "Least number of times a feature is seen", 1);
  command
      ->add_flag("--all-pairs,!--seen-pairs", recipe.allPairs,
                 "A weight for every tag of a feature (default), or only for the tags seen with it")
      ->group(fit);
  number(fit, "--threshold", recipe.weightThreshold, "Smaller weights are not written", 0);
  number(fit, "--dev-every", recipe.reportEvery, "Report F1 every so many iterations; 0: never", 0);
  command
      ->add_option("--alpha", recipe.alpha,
                   "The language model's weight to fit beside; tolvek decodes with 0.3")
      ->check(CLI::Range(0.0, 0.99))
      ->type_name("NUMBER")
      ->group(fit)
      ->capture_default_str();

  const std::string lm = "Language model";
  AddChoice(*command, "--smoothing", recipe.ngram.smoothing, SmoothingNames(),
            "Interpolated Kneser-Ney, its modified form, absolute discounting, Witten-Bell")
      ->group(lm);
  number(lm, "--discount", recipe.ngram.discount, "Discount of kn and abs; 0: estimated", 0);
  number(lm, "--prune", recipe.ngram.pruning,
         "Drop bigrams that lower the relative perplexity by less than this, e.g. 1e-7", 0);
  number(lm, "--count-cutoff", recipe.ngram.cutOff, "Drop bigrams with a count up to this", 0);
  number(lm, "--gold-weight", recipe.goldWeight, "Weight of the corpora", 0);
  number(lm, "--raw-weight", recipe.rawWeight, "Weight of the segmented raw text", 0);
  number(lm, "--lexicon-weight", recipe.lexiconWeight, "Weight of the lexicon", 0);
  command->callback([&action, options] { action = [options] { Run(*options); }; });
}

}  // namespace Tolvek
