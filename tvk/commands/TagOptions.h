// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "tvk/commands/Options.h"
#include "tvk/commands/TrainOptions.h"
#include "tvk/evaluate/TagEvaluation.h"
#include "tvk/text/StepLog.h"
#include "tvk/train/TagRecipe.h"

namespace Tolvek {

/// What the commands that train a tagger have in common.
struct TagTrainOptions : TrainOptions {
  std::vector<std::string> corpora;
  std::vector<std::string> raw;
  std::string development;
  bool textForm = false;
  TagRecipe recipe;
};

/// Adds these options; those of the recipe have what it holds now as defaults.
void AddTagTrainOptions(CLI::App& command, TagTrainOptions& options);

/// The files of a tagger in the folder that the options name, which is made.
struct TaggerFiles {
  TaggerFiles(const std::string& folder, const std::string& model, const std::string& dictionary);
  std::string modelPath;
  std::string dictionaryPath;
};

/// Writes both, the model under a title that its text form begins with, and says how large they
/// are.
void WriteTagger(const TaggerFiles& files, const std::string& title, const TagSet& tags,
                 const TagModelFit& model, const std::string& dictionary,
                 const TagTrainOptions& options, StepLog& log);

/// The words and tags of a tagger's output line, in UTF-8.
Sentence ReadTagged(std::string_view line);

/// Tells the accuracy on gold words, and the figures from running text.
void SayAccuracy(const TagCounts& goldWords, const TagCounts& running, StepLog& log);

}  // namespace Tolvek
