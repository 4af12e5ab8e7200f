// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cctype>
#include <iomanip>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>
#include <variant>

#include "tvk/commands/Command.h"
#include "tvk/commands/Options.h"
#include "tvk/evaluate/TagEvaluation.h"
#include "tvk/text/Files.h"

namespace Tolvek {

namespace {

/// A task of the program, as far as judging its output differs from that of the others.
struct Task {
  std::string name;
  std::string help;    ///< one line: what is compared
  std::string output;  ///< what OUTPUT is
  bool segments;       ///< its words are its own; else they are those of its input
  bool tags;
  bool isEnglish;

  std::string Word() const { return isEnglish ? "token" : "word"; }
  std::string Words() const { return Word() + "s"; }
  /// The English tagger writes nothing for a blank line.
  BlankLines Blanks() const { return isEnglish ? BlankLines::kSkipped : BlankLines::kPaired; }
};

const std::array<Task, 5>& Tasks() {
  static const std::array<Task, 5> tasks{{
      {"seg", "Compare a segmentation with a gold one", "The segmentation to judge", true, false,
       false},
      {"pos", "Compare the tags of a tagged text with gold ones", "The same words, tagged", false,
       true, false},
      {"segpos", "Compare words and tags of a text with gold ones", "The words and tags to judge",
       true, true, false},
      {"tok", "Compare English tokens with gold ones", "The tokens to judge", true, false, true},
      {"tokpos", "Compare English tokens and their tags with gold ones",
       "The tokens and tags to judge", true, true, true},
  }};
  return tasks;
}

struct Options {
  std::string gold;
  std::string output;
  std::vector<std::string> training;
  Encoding encoding = Encoding::kAuto;
  Tagging tagging = Tagging::kAuto;
  Tagging outputTagging = Tagging::kAuto;
  bool json = false;
};

/// The figures of a comparison, in the order in which they are shown.
class Report {
 public:
  Report(const Task& task, bool isTrained) : _task(task), _isTrained(isTrained) {}

  void Lines(const SegCounts& counts) { Add("lines", counts.sentences); }

  void Words(const SegCounts& counts) {
    const std::string words = _task.Words();
    Add("gold " + words, counts.goldWords);
    Add("output " + words, counts.outputWords);
    Add("correct " + words, counts.correctWords);
    Ratios(counts, "");
    if (!_isTrained) return;
    Add("unknown gold " + words, counts.unknownGold);
    Add("recall of unknown " + words, UnknownRecall(counts));
    Add("recall of known " + words, KnownRecall(counts));
  }

  void WordsAndTags(const TagCounts& counts) {
    Words(counts.words);
    Add("correctly tagged " + _task.Words(), counts.joint.correctWords);
    Ratios(counts.joint, "joint ");
    Add("tag accuracy", TagAccuracy(counts));
    if (!_isTrained) return;
    Add("joint recall of unknown", UnknownRecall(counts.joint));
    Add("joint recall of known", KnownRecall(counts.joint));
  }

  void Tags(const TagCounts& counts) {
    Add("words", counts.words.goldWords);
    Add("correct tags", counts.joint.correctWords);
    Add("tag accuracy", TagAccuracy(counts));
    if (!_isTrained) return;
    Add("unknown words", counts.words.unknownGold);
    Add("tag accuracy of unknown", UnknownTagAccuracy(counts));
    Add("tag accuracy of known", KnownTagAccuracy(counts));
  }

  void Confusions(const TagCounts& counts) { _confusions = WorstConfusions(counts, 10); }

  std::string Text() const {
    std::ostringstream text;
    text << std::left;
    for (const auto& [name, value] : _figures) {
      text << std::setw(25) << name;
      if (const auto* count = std::get_if<std::size_t>(&value)) {
        text << *count << '\n';
      } else {
        text << ShowRatio(std::get<Ratio>(value)) << '\n';
      }
    }
    if (_task.tags) WriteConfusions(text);
    return text.str();
  }

  /// One document: counts, ratios as parts of 1 or null, and the confusions, in which null stands
  /// for no tag.
  std::string Json() const {
    nlohmann::ordered_json document{{"task", _task.name}};
    for (const auto& [name, value] : _figures) {
      std::string key = name;
      for (char& c : key) c = c == ' ' ? '_' : static_cast<char>(std::tolower(c));
      nlohmann::ordered_json& figure = document[key];  // null until it gets a value
      if (const auto* count = std::get_if<std::size_t>(&value)) {
        figure = *count;
      } else if (const Ratio& ratio = std::get<Ratio>(value)) {
        figure = *ratio;
      }
    }
    if (_task.tags) {
      nlohmann::ordered_json& list = document["confusions"] = nlohmann::ordered_json::array();
      for (const auto& [gold, output, count] : _confusions) {
        nlohmann::ordered_json& entry = list.emplace_back();
        entry["gold"] = gold;
        entry["output"] = output.empty() ? nullptr : nlohmann::ordered_json(output);
        entry["count"] = count;
      }
    }
    return document.dump(2) + '\n';
  }

 private:
  void Add(const std::string& name, std::size_t count) { _figures.emplace_back(name, count); }
  void Add(const std::string& name, const Ratio& ratio) { _figures.emplace_back(name, ratio); }

  void Ratios(const SegCounts& counts, const std::string& prefix) {
    Add(prefix + "precision", Precision(counts));
    Add(prefix + "recall", Recall(counts));
    Add(prefix + "F1", F1(counts));
  }

  void WriteConfusions(std::ostream& text) const {
    const auto show = [](const std::string& tag) { return tag.empty() ? "(none)" : tag; };
    std::size_t width = std::string("output").size();
    for (const Confusion& confusion : _confusions) {
      width = std::max({width, confusion.gold.size(), show(confusion.output).size()});
    }
    const auto row = [&](const std::string& gold, const std::string& output, const auto& count) {
      const int padded = static_cast<int>(width) + 2;
      text << std::setw(padded) << gold << std::setw(padded) << output << count << '\n';
    };
    text << '\n';
    row("gold", "output", "count");
    for (const auto& [gold, output, count] : _confusions) row(gold, show(output), count);
  }

  const Task& _task;
  bool _isTrained;
  std::vector<std::pair<std::string, std::variant<std::size_t, Ratio>>> _figures;
  std::vector<Confusion> _confusions;
};

void Run(const Task& task, const Options& options) {
  WordSet known;
  for (const std::string& path : options.training) {
    AddWords(ReadCorpus(path, options.encoding, options.tagging), known);
  }
  const Corpus gold =
      ReadCorpus(options.gold, options.encoding, task.tags ? Tagging::kTagged : options.tagging);
  const Corpus output =
      ReadCorpus(options.output, options.encoding,
                 task.tags ? Tagging::kTagged : options.outputTagging, EmptyTags::kAllowed);
  Report report(task, !options.training.empty());
  if (!task.tags) {
    const SegCounts counts = CompareCorpora(gold, output, known, task.Blanks());
    report.Lines(counts);
    report.Words(counts);
  } else {
    if (!task.segments) CompareLines(gold, output, task.Blanks(), HaveSameWords);
    const TagCounts counts = CompareTaggedCorpora(gold, output, known, task.Blanks());
    report.Lines(counts.words);
    if (task.segments) {
      report.WordsAndTags(counts);
    } else {
      report.Tags(counts);
    }
    report.Confusions(counts);
  }
  WriteWholeFile("-", options.json ? report.Json() : report.Text());
}

/// What the figures of a task mean.
std::string Meaning(const Task& task) {
  std::string text = task.isEnglish ? "Blank lines are left out before lines are paired. " : "";
  if (task.segments) {
    text += "A " + task.Word() +
            " is correct when gold has one with the same begin and end, counted in characters "
            "without white space. ";
  } else {
    text +=
        "The words of both files must be the same; tag accuracy is the part of them that have the "
        "right tag. ";
  }
  if (task.segments && task.tags) {
    text +=
        "The joint figures ask for the right tag besides; tag accuracy is the part of the "
        "correct " +
        task.Words() + " that have it. ";
  }
  if (task.tags) {
    text +=
        "The table at the end counts the ten most frequent pairs of a gold tag and another "
        "one in its place; (none) stands for WORD/ without a tag, which is wrong. ";
  }
  text +=
      "Ratios are percent, \"undefined\" stands for one without a denominator; with --json they "
      "are parts of 1, or null.";
  if (!task.isEnglish) {
    text += " A geta mark (U+3013) in OUTPUT agrees with a gold character that GBK cannot hold.";
  }
  return text;
}

void AddTask(CLI::App& parent, const Task& task, Action& action) {
  auto* command = parent.add_subcommand(task.name, task.help + ", line by line.");
  const std::string ending = task.isEnglish ? ".txt" : ".gbk";
  command->footer(Meaning(task) + "\nExit status: 0 compared; 1 a file cannot be read, or the " +
                  (task.segments ? "texts" : "words") + " of a line differ; 2 wrong usage.\n" +
                  "Example: tolvek -i dev" + ending + " -o out" + ending + " -t " + task.name +
                  "; tvk eval " + task.name + " dev.tagged out" + ending + " --train train.tagged");
  const auto options = std::make_shared<Options>();
  command
      ->add_option("GOLD", options->gold,
                   "The right " + task.Words() + (task.tags ? " and tags" : ", tagged or not"))
      ->required();
  command->add_option("OUTPUT", options->output, task.output)->required();
  command->add_option("--train", options->training,
                      "Training corpora: " + task.Words() + " they lack and have are told apart");
  if (task.isEnglish) {
    options->encoding = Encoding::kAutoEnglish;
    AddEnglishEncoding(*command, options->encoding);
  } else {
    AddEncoding(*command, options->encoding);
  }
  AddTagging(*command, "--tagging", options->tagging,
             task.tags ? "the training corpora" : "GOLD and the training corpora");
  if (!task.tags) AddTagging(*command, "--output-tagging", options->outputTagging, "OUTPUT");
  command->add_flag("--json", options->json,
                    "Write one JSON document: the same figures under the same names, in small "
                    "letters with _ for blanks");
  command->callback(
      [&action, &task, options] { action = [&task, options] { Run(task, *options); }; });
}

}  // namespace

void AddEval(CLI::App& parent, Action& action) {
  auto* eval = parent.add_subcommand("eval", "Compare output with a gold standard");
  eval->require_subcommand(1);
  for (const Task& task : Tasks()) AddTask(*eval, task, action);
}

}  // namespace Tolvek
