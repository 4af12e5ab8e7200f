// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <span>
#include <sstream>
#include <system_error>
#include <utility>

#include "tvk/check/ResourceCheck.h"
#include "tvk/commands/Command.h"
#include "tvk/commands/Options.h"
#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"

namespace Tolvek {

namespace {

struct Options {
  std::vector<std::string> paths;
  std::optional<ResourceKind> as;
  std::size_t limit = 20;
  bool json = false;
  bool quiet = false;
};

const std::vector<std::pair<std::string, std::optional<ResourceKind>>>& KindChoices() {
  static const auto choices = [] {
    std::vector<std::pair<std::string, std::optional<ResourceKind>>> all{{"auto", std::nullopt}};
    all.insert(all.end(), ResourceKindNames().begin(), ResourceKindNames().end());
    return all;
  }();
  return choices;
}

// The report as text.

template <class Values>
std::string Joined(const Values& values) {
  static constexpr std::size_t kMost = 200;  // a broken file can have any number of tags
  std::ostringstream text;
  for (const auto& value : std::span(values).first(std::min(values.size(), kMost))) {
    text << ' ' << value;
  }
  if (values.size() > kMost) text << " ...";
  return text.str();
}

std::string ShowFact(const Fact::Value& value) {
  struct {
    std::string operator()(std::size_t number) const { return " " + std::to_string(number); }
    std::string operator()(const std::string& text) const { return " " + text; }
    std::string operator()(const std::vector<std::size_t>& numbers) const {
      return Joined(numbers);
    }
    std::string operator()(const std::vector<std::string>& texts) const {
      return " " + std::to_string(texts.size()) + ":" + Joined(texts);
    }
  } show;
  return std::visit(show, value);
}

std::string ShowPlace(const Place& place) {
  switch (place.in) {
    case Place::In::kLine:
      return ":" + std::to_string(place.number);
    case Place::In::kByte:
      return ": byte " + std::to_string(place.number);
    case Place::In::kFile:
      break;
  }
  return "";
}

void ShowFile(const FileReport& report, bool quiet, std::ostream& out) {
  const Findings& findings = report.findings;
  if (!quiet) {
    out << report.path << ":";
    if (report.kind) {
      out << ' ' << TitleOf(*report.kind) << ", " << (report.isBinary ? "binary" : "text") << ',';
    }
    out << ' ' << (report.size ? std::to_string(*report.size) + " bytes" : "not read") << '\n';
    for (const Fact& fact : findings.Facts()) {
      out << "  " << fact.name << ":" << ShowFact(fact.value) << '\n';
    }
    for (const std::string& remark : findings.Remarks()) out << "  remark: " << remark << '\n';
  }
  for (const Problem& problem : findings.Problems()) {
    out << report.path << ShowPlace(problem.place) << ": " << problem.what << '\n';
  }
  const std::size_t more = findings.ProblemCount() - findings.Problems().size();
  if (more > 0) out << report.path << ": ... and " << more << " more\n";
}

// The report as JSON.

using Json = nlohmann::ordered_json;

/// A name as scripts like it: "n_grams".
std::string Key(std::string name) {
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == ' ' || c == '-'; }, '_');
  return name;
}

Json ToJson(const Problem& problem) {
  Json json;
  if (problem.place.in == Place::In::kLine) json["line"] = problem.place.number;
  if (problem.place.in == Place::In::kByte) json["byte"] = problem.place.number;
  json["text"] = problem.what;
  return json;
}

Json ToJson(const FileReport& report, bool quiet) {
  const Findings& findings = report.findings;
  Json json;
  json["path"] = report.path;
  if (!quiet) {
    if (report.kind) {
      for (const auto& [name, kind] : ResourceKindNames()) {
        if (kind == report.kind) json["kind"] = name;
      }
      json["title"] = TitleOf(*report.kind);
      json["binary"] = report.isBinary;
    }
    if (report.size) json["bytes"] = *report.size;
    json["facts"] = Json::object();
    for (const Fact& fact : findings.Facts()) {
      std::visit([&](const auto& value) { json["facts"][Key(fact.name)] = value; }, fact.value);
    }
    json["remarks"] = findings.Remarks();
  }
  json["problem_count"] = findings.ProblemCount();
  json["problems"] = Json::array();
  for (const Problem& problem : findings.Problems()) json["problems"].push_back(ToJson(problem));
  return json;
}

std::string ShowJson(const std::vector<FileReport>& reports, std::size_t problems, bool quiet) {
  Json json;
  json["problem_count"] = problems;
  json["files"] = Json::array();
  for (const FileReport& report : reports) json["files"].push_back(ToJson(report, quiet));
  // Names of files need not be UTF-8.
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

/// Also false when there is nothing of this name, or the system will not say.
bool IsFolder(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::is_directory(path, ignored);
}

void Run(const Options& options) {
  std::vector<FileReport> reports;
  for (const std::string& path : options.paths) {
    if (IsFolder(path)) {
      for (FileReport& report : CheckDirectory(path, options.limit)) {
        reports.push_back(std::move(report));
      }
    } else {
      reports.push_back(CheckFile(path, options.as, options.limit));
    }
  }
  std::size_t problems = 0;
  std::size_t faulty = 0;
  for (const FileReport& report : reports) {
    problems += report.findings.ProblemCount();
    faulty += report.findings.ProblemCount() > 0 ? 1 : 0;
  }
  if (options.json) {
    WriteWholeFile("-", ShowJson(reports, problems, options.quiet));
  } else {
    std::ostringstream out;
    for (const FileReport& report : reports) ShowFile(report, options.quiet, out);
    if (!options.quiet && problems == 0) out << "no problems\n";
    WriteWholeFile("-", out.str());
  }
  if (problems > 0) {
    throw Failure("check: problems: " + std::to_string(problems) + ", in " +
                  std::to_string(faulty) + " of " + std::to_string(reports.size()) + " files");
  }
}

}  // namespace

void AddCheck(CLI::App& parent, Action& action) {
  auto* command = parent.add_subcommand(
      "check",
      "Say what resource files are and everything that is wrong with them. Of a folder, the files "
      "that tolvek reads are checked, and whether they fit together.\n"
      "A line or byte is told for each problem. Remarks are no problems. Exit status: 0 no "
      "problems, 1 problems, 2 wrong usage.\n"
      "Example: tvk check data; tvk check --as me model.txt");
  const auto options = std::make_shared<Options>();
  command->add_option("PATH", options->paths, "Resource folders and files; - is the standard input")
      ->required()
      ->type_name("");
  AddChoice(*command, "--as", options->as, KindChoices(),
            "What the files must be, whatever they look like");
  AddNumber(*command, "Options", "--limit", options->limit,
            "Most problems that are shown of one file", 1);
  command->add_flag("--json", options->json, "Write one JSON document");
  command->add_flag("-q,--quiet", options->quiet, "Write problems only");
  command->callback([&action, options] {
    for (const std::string& path : options->paths) {
      if (options->as && IsFolder(path)) {
        throw CLI::ValidationError("--as", "a file expected, found the folder \"" + path + "\"");
      }
    }
    action = [options] { Run(*options); };
  });
}

}  // namespace Tolvek
