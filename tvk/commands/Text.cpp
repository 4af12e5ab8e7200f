// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "tvk/commands/Command.h"
#include "tvk/commands/Options.h"
#include "tvk/text/Files.h"
#include "tvk/train/Corpus.h"

namespace Tolvek {

namespace {

struct Options {
  std::string corpus;
  std::string out = "-";
  bool words = false;
  Encoding encoding = Encoding::kAuto;
  Encoding target = Encoding::kUtf8;
  Tagging tagging = Tagging::kAuto;
};

const std::vector<std::pair<std::string, Encoding>>& TargetNames() {
  static const std::vector<std::pair<std::string, Encoding>> names{{"utf-8", Encoding::kUtf8},
                                                                   {"gbk", Encoding::kGbk}};
  return names;
}

void Run(const Options& options) {
  CheckWritable(options.out);
  const Corpus corpus = ReadCorpus(options.corpus, options.encoding, options.tagging);
  const Converter toGbk(Encoding::kUtf8, Encoding::kGbk);
  std::string text;
  std::size_t marks = 0;
  for (const Sentence& sentence : corpus.sentences) {
    const std::string line =
        options.words ? SeparatedWords(sentence.words) : RunningText(sentence.words);
    text += options.target == Encoding::kGbk ? ToGbkWithMarks(toGbk, line, marks) : line;
    text += '\n';
  }
  WriteWholeFile(options.out, text);
  if (marks > 0) {
    std::cerr << options.corpus
              << ": characters that GBK cannot hold, now geta marks (U+3013): " << marks
              << std::endl;
  }
}

}  // namespace

void AddText(CLI::App& parent, Action& action) {
  auto* command = parent.add_subcommand(
      "text",
      "Write the running text of a segmented corpus: its words joined, with one blank between two "
      "that end and begin with an ASCII letter. Or its words, without tags.\n"
      "Example: tvk text dev.tagged --to gbk -o dev.gbk; tolvek -i dev.gbk -o out.gbk; "
      "tvk eval seg dev.tagged out.gbk");
  const auto options = std::make_shared<Options>();
  command->add_option("CORPUS", options->corpus, "The corpus, tagged or not")->required();
  command->add_option("-o,--out", options->out, "File to write; - is the standard output")
      ->capture_default_str();
  command->add_flag("--words", options->words, "Write the words, one blank between two");
  AddChoice(*command, "--to", options->target, TargetNames(),
            "Encoding to write; in gbk a character it cannot hold becomes a geta mark");
  AddEncoding(*command, options->encoding);
  AddTagging(*command, "--tagging", options->tagging, "the corpus");
  command->callback([&action, options] { action = [options] { Run(*options); }; });
}

}  // namespace Tolvek
