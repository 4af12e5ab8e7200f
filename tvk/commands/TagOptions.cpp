// SPDX-License-Identifier: Apache-2.0
#include "tvk/commands/TagOptions.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <thread>

#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"
#include "tvk/train/ModelFiles.h"

namespace Tolvek {

namespace {

/// The templates that differ from the others, as the option gives them.
std::string ShowTemplates(const std::vector<TemplateOptions>& templates) {
  std::ostringstream text;
  for (std::size_t number = 0; number < templates.size(); ++number) {
    const TemplateOptions& options = templates[number];
    if (options.cutOff == 1 && options.l2Factor == 1) continue;
    text << (text.tellp() > 0 ? " " : "") << number << ':' << options.cutOff << ':'
         << options.l2Factor;
  }
  return text.str();
}

/// Takes "NUMBER:CUTOFF:FACTOR"; false when it is not that.
bool TakeTemplate(const std::string& given, std::vector<TemplateOptions>& templates) {
  static constexpr std::size_t kMostTemplates = 100;
  std::istringstream in(given);
  in.imbue(std::locale::classic());
  std::size_t number = 0;
  TemplateOptions options;
  char first = 0;
  char second = 0;
  in >> number >> first >> options.cutOff >> second >> options.l2Factor;
  if (!in || in.peek() != std::istringstream::traits_type::eof() || first != ':' || second != ':' ||
      number >= kMostTemplates || options.cutOff < 0 || options.l2Factor < 0) {
    return false;
  }
  templates.resize(std::max(templates.size(), number + 1));
  templates[number] = options;
  return true;
}

void AddTemplates(CLI::App& command, const std::string& group, TagTrainerOptions& trainer) {
  command
      .add_option_function<std::vector<std::string>>(
          "--template",
          [&trainer](const std::vector<std::string>& all) {
            trainer.templates.clear();
            for (const std::string& given : all) TakeTemplate(given, trainer.templates);
          },
          "For features of template NUMBER: those seen fewer than CUTOFF times are left out, and "
          "the penalty is multiplied by FACTOR")
      ->check(CLI::Validator(
          [](const std::string& given) {
            std::vector<TemplateOptions> templates;
            return TakeTemplate(given, templates)
                       ? std::string()
                       : "NUMBER:CUTOFF:FACTOR expected, found \"" + given + "\"";
          },
          ""))
      ->group(group)
      ->option_text("NUMBER:CUTOFF:FACTOR ... [" + ShowTemplates(trainer.templates) + "]");
}

}  // namespace

void AddTagTrainOptions(CLI::App& command, TagTrainOptions& options) {
  TagRecipe& recipe = options.recipe;
  FitOptions& fit = recipe.model.fit;
  fit.threads = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  recipe.teacher.fit.threads = fit.threads;
  command.add_option("--corpus", options.corpora, "Tagged corpora to learn from")->required();
  command.add_option("--raw", options.raw, "Text without tags, which a teacher tags to learn from");
  command.add_option("--dev", options.development, "Tagged corpus to report accuracy on");
  AddTrainOptions(command, options);
  command.add_flag("--text-form", options.textForm, "Also leave the model's text form, with .txt");
  command
      .add_option_function<int>(
          "--threads",
          [&recipe](int threads) {
            recipe.model.fit.threads = recipe.teacher.fit.threads = threads;
          },
          "Threads; the result is the same at any number")
      ->check(CLI::PositiveNumber)
      ->default_str(std::to_string(fit.threads));

  const std::string model = "Fit of the model";
  AddNumber(command, model, "--l2", fit.l2, "Penalty (L2 / 2) * |w|^2", 0);
  AddNumber(command, model, "--iterations", fit.iterations, "At most so many iterations", 1);
  AddNumber(command, model, "--tolerance", fit.tolerance,
            "Stop when ten iterations gain less than this part of the objective", 0);
  AddTemplates(command, model, recipe.model);
  AddNumber(command, model, "--threshold", recipe.weightThreshold,
            "Smaller weights are not written", 0);
  const std::string teacher = "Raw text and its teacher";
  AddNumber(command, teacher, "--raw-weight", recipe.rawWeight, "Weight of the raw text", 0);
  AddNumber(command, teacher, "--raw-seen", recipe.rawSeen,
            "What a feature's occurrence in raw text counts for its cut-off", 0);
  AddNumber(command, teacher, "--teacher-l2", recipe.teacher.fit.l2, "Its L2 penalty", 0);
  AddNumber(command, teacher, "--teacher-iterations", recipe.teacher.fit.iterations,
            "At most so many iterations of its fit", 1);
  command
      .add_option("--clusters", recipe.clusters.sizes,
                  "Numbers of word clusters it looks at, one clustering each")
      ->check(CLI::PositiveNumber)
      ->type_name("NUMBER ...")
      ->group(teacher)
      ->capture_default_str();
  AddNumber(command, teacher, "--cluster-count", recipe.clusters.leastCount,
            "Words seen fewer times are in no cluster of their own", 1);
  const std::string dictionary = "Dictionary";
  AddNumber(command, dictionary, "--least-count", recipe.words.leastCount,
            "Words seen fewer times are not listed", 0);
  AddNumber(command, dictionary, "--least-share", recipe.words.leastShare,
            "Tags with a smaller share of a word are not listed", 0);
  command
      .add_flag("--list-raw-words,!--no-raw-words", recipe.listRawWords,
                "List words that only the raw text has, too")
      ->group(dictionary);
  AddNumber(command, dictionary, "--raw-least-count", recipe.rawWords.leastCount,
            "Such words seen fewer times are not listed", 0);
  AddNumber(command, dictionary, "--raw-least-share", recipe.rawWords.leastShare,
            "Tags with a smaller share of such a word are not listed", 0);
}

TaggerFiles::TaggerFiles(const std::string& folder, const std::string& model,
                         const std::string& dictionary)
    : modelPath(std::filesystem::path(folder) / model),
      dictionaryPath(std::filesystem::path(folder) / dictionary) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  CheckWritable(modelPath);
}

void WriteTagger(const TaggerFiles& files, const std::string& title, const TagSet& tags,
                 const TagModelFit& model, const std::string& dictionary,
                 const TagTrainOptions& options, StepLog& log) {
  std::size_t weights = 0;
  const std::string text = ModelText(title, model.features, tags.Names(), model.parameters,
                                     model.weights, options.recipe.weightThreshold, weights);
  if (weights == 0) throw Failure("no weight is left for the model: the threshold is too high");
  WriteMaxEntModel(files.modelPath, text);
  WriteWholeFile(files.dictionaryPath, dictionary);
  if (options.textForm) WriteWholeFile(files.modelPath + ".txt", text);
  log.Say(files.modelPath + ": " + std::to_string(weights) + " weights, " +
          std::to_string(std::filesystem::file_size(files.modelPath)) + " bytes");
  log.Say(files.dictionaryPath + ": " + std::to_string(dictionary.size()) + " bytes");
}

Sentence ReadTagged(std::string_view line) {
  Sentence sentence;
  std::string_view word;
  std::string_view tag;
  for (const std::string_view item : SplitAtBlanks(line)) {
    if (!SplitItem(item, word, tag)) continue;
    sentence.words.emplace_back(word);
    sentence.tags.emplace_back(tag);
  }
  return sentence;
}

void SayAccuracy(const TagCounts& goldWords, const TagCounts& running, StepLog& log) {
  log.Say("written model on the development corpus: tag accuracy on gold words " +
          ShowRatio(TagAccuracy(goldWords)) + ", on unknown ones " +
          ShowRatio(UnknownTagAccuracy(goldWords)) + ", on known ones " +
          ShowRatio(KnownTagAccuracy(goldWords)) + ShowLeftOut(goldWords.words));
  if (running.words.goldWords > 0) {
    log.Say("from running text: F1 of words " + ShowRatio(F1(running.words)) +
            ", of words with tags " + ShowRatio(F1(running.joint)) + ShowLeftOut(running.words));
  }
}

}  // namespace Tolvek
