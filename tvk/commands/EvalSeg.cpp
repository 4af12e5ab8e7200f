// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>

#include "tvk/commands/Command.h"
#include "tvk/commands/Options.h"
#include "tvk/evaluate/SegEvaluation.h"
#include "tvk/text/Files.h"

namespace Tolvek {

namespace {

struct Options {
  std::string gold;
  std::string output;
  std::vector<std::string> training;
  Encoding encoding = Encoding::kAuto;
  Tagging goldTagging = Tagging::kAuto;
  Tagging outputTagging = Tagging::kAuto;
};

void Run(const Options& options) {
  WordSet known;
  for (const std::string& path : options.training) {
    for (const Sentence& sentence :
         ReadCorpus(path, options.encoding, options.goldTagging).sentences) {
      known.insert(sentence.words.begin(), sentence.words.end());
    }
  }
  const Corpus gold = ReadCorpus(options.gold, options.encoding, options.goldTagging);
  const Corpus output = ReadCorpus(options.output, options.encoding, options.outputTagging);
  const SegCounts counts = CompareCorpora(gold, output, known);
  std::ostringstream report;
  const auto line = [&](const char* name, const auto& value) {
    report << std::left << std::setw(25) << name << value << '\n';
  };
  line("lines", counts.sentences);
  line("gold words", counts.goldWords);
  line("output words", counts.outputWords);
  line("correct words", counts.correctWords);
  line("precision", ShowRatio(Precision(counts)));
  line("recall", ShowRatio(Recall(counts)));
  line("F1", ShowRatio(F1(counts)));
  if (!options.training.empty()) {
    line("unknown gold words", counts.unknownGold);
    line("recall of unknown words", ShowRatio(UnknownRecall(counts)));
    line("recall of known words", ShowRatio(KnownRecall(counts)));
  }
  WriteWholeFile("-", report.str());
}

}  // namespace

void AddEvalSeg(CLI::App& parent, Action& action) {
  auto* command = parent.add_subcommand(
      "seg",
      "Compare a segmentation with a gold one, line by line.\n"
      "A word is correct when gold has one with the same begin and end, counted in characters "
      "without white space. Ratios are percent; \"undefined\" stands for one without a "
      "denominator. "
      "A geta mark (U+3013) in OUTPUT agrees with a gold character that GBK cannot hold.\n"
      "Exit status: 0 compared; 1 a file cannot be read, or the texts of a line differ; 2 wrong "
      "usage.\n"
      "Example: tvk eval seg dev.tagged out.gbk --train train.tagged");
  const auto options = std::make_shared<Options>();
  command->add_option("GOLD", options->gold, "The right segmentation, tagged or not")->required();
  command->add_option("OUTPUT", options->output, "The segmentation to judge")->required();
  command->add_option("--train", options->training,
                      "Training corpora: recall of words they lack and have is told apart");
  AddEncoding(*command, options->encoding);
  AddTagging(*command, "--tagging", options->goldTagging, "GOLD and the training corpora");
  AddTagging(*command, "--output-tagging", options->outputTagging, "OUTPUT");
  command->callback([&action, options] { action = [options] { Run(*options); }; });
}

}  // namespace Tolvek
