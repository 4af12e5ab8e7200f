// SPDX-License-Identifier: Apache-2.0
//
// Damages each of the shipped resource files in many ways, one at a time, and runs the programs on
// it within limits of memory and time. What must come out is what is documented: a complete result,
// a refusal that says why, or one of the few documented ends by SIGABRT. Each damage is tried with
// tolvek or tvk, on a task that reads the file, and with tvk check. Each case writes a line of what
// it did; a failure names the file and the damage.
//
// A long sweep of 20 rounds has 20 times as many cuts, changed bytes and wrong lengths:
//
//     TOLVEK_SWEEP_ROUNDS=20 ctest --preset test -R CorruptionSweep -V
//
// With sanitizers, where programs take their time, only a part of a single round is done unless
// rounds are asked for.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "sweep/Damage.h"
#include "sweep/Limited.h"
#include "unit/Fixtures.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

const std::string kShipped = PROJECT_DIR "/data/";

/// A resource file, and what is documented of it.
struct Resource {
  const char* name;
  std::vector<std::string> tasks;  ///< that read it
  /// What a folder that is checked must have beside it.
  std::vector<std::string> companions;
  /// What tolvek says when it refuses the file, and when SIGABRT ends it.
  std::vector<std::string> refusals;
  std::vector<std::string> aborts;
};

const std::vector<std::string> kModelRefusals = {
    "A text of -", "A list of -", " parameters in the Model File: ", " tags declared, "};
const std::vector<std::string> kModelAborts = {
    "A text of ", "terminate called after throwing an instance of 'std::out_of_range'",
    "Assertion `_lambdaSize == (int)_lambdasVec->size()' failed."};
const std::vector<std::string> kDictionaryAborts = {
    "terminate called after throwing an instance of 'std::out_of_range'"};

const std::vector<Resource> kChinese = {
    {"binarySource", {"seg", "segpos", "pos"}, {}, {"A key of "}, {}},
    {"binarySegLM",
     {"seg", "segpos"},
     {"binarySource", "binarySegModel"},
     {"A word of -", "reading the lm order wrong!"},
     {"A word of "}},
    {"binarySegModel",
     {"seg", "segpos"},
     {"binarySource", "binarySegLM"},
     kModelRefusals,
     kModelAborts},
    {"binaryPosModel", {"segpos", "pos"}, {"binarySource", "Dict"}, kModelRefusals, kModelAborts},
    {"Dict", {"segpos", "pos"}, {"binarySource", "binaryPosModel"}, {}, kDictionaryAborts},
};
const std::vector<Resource> kEnglish = {
    {"binaryEngPosModel", {"tokpos"}, {"abbtitle", "EngDict"}, kModelRefusals, kModelAborts},
    {"EngDict", {"tokpos"}, {"abbtitle", "binaryEngPosModel"}, {}, kDictionaryAborts},
    {"abbtitle", {"tok", "tokpos"}, {}, {}, {}},
};

bool IsEnglish(std::string_view task) {
  return task.starts_with("tok");
}

/// Words, in GBK: 我们 on 3月15日 2010 ... names, numbers, brackets, a character no table knows.
const std::vector<std::string> kChineseText = {
    "\xCE\xD2 \xC0\xB4\xB5\xBD \xB1\xB1\xBE\xA9 \xC7\xE5\xBB\xAA \xB4\xF3\xD1\xA7 \xA1\xA3",
    "\xCD\xF5\xD0\xA1\xC3\xF7 \xD4\xDA 2010 \xC4\xEA \xC8\xFD \xD4\xC2 \xBF\xAA\xBB\xE1 \xA1\xA3",
    "ABC \xB9\xAB\xCB\xBE (\xB1\xB1\xBE\xA9) \xCB\xB5 \xA3\xAC \xBF\xCB\xC1\xD6\xB6\xD9 \xC0\xB4",
    "\xF8\xA1 \xD2\xBB \xB8\xF6",
};
const std::vector<std::string> kEnglishText = {
    "Mr. Smith doesn't like the U.S. weather, he said.",
    "In 1998, state-of-the-art machines weren't \"cheap\" (at $5.50 etc.)",
    "Zyxwv of Qwrtplk Corp. cannot come!",
};

std::size_t LinesOf(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

bool HoldsOneOf(const std::string& text, const std::vector<std::string>& pieces) {
  return std::any_of(pieces.begin(), pieces.end(),
                     [&](const std::string& piece) { return text.find(piece) != text.npos; });
}

bool IsOfSanitizer(const std::string& text) {
  return HoldsOneOf(text, {"Sanitizer", "runtime error:"});
}

/// What makes the tests' folder: input texts, and in "data" the shipped files of one language.
class Sweep : public Scratch {
 protected:
  void PutTexts() {
    WriteText("zh", Lines(kChineseText));
    WriteText("en", Lines(kEnglishText));
  }

  static void LinkResources(const std::vector<Resource>& resources) {
    for (const Resource& each : resources) {
      std::filesystem::create_symlink(kShipped + each.name, std::string("data/") + each.name);
    }
  }

  static std::string InputOf(std::string_view task) { return IsEnglish(task) ? "en" : "zh"; }
  static std::size_t LinesOfTask(std::string_view task) {
    return IsEnglish(task) ? kEnglishText.size() : kChineseText.size();
  }

  static Ending RunTolvek(const std::string& task) {
    std::filesystem::remove("out");
    return RunLimited({TOLVEK_PROGRAM, "-i", InputOf(task), "-o", "out", "-t", task});
  }
  static Ending RunTvk(const std::string& task) {
    return RunLimited({TVK_PROGRAM, task, "--data", "data", "--threads", "2", "--encoding",
                       IsEnglish(task) ? "utf-8" : "gbk", InputOf(task)});
  }
  static Ending RunCheck(const std::string& folder) {
    return RunLimited({TVK_PROGRAM, "check", "--quiet", folder});
  }
};

TEST_F(Sweep, ProgramsAreLimited) {
  const std::string memory = kIsSanitized ? "hard_rss_limit_mb=1024" : "1048576";  // in KiB
  const Ending ending =
      RunLimited({"/bin/sh", "-c",
                  "ulimit -v; echo $ASAN_OPTIONS; ulimit -t; ulimit -c; echo to >&2; exit 3"});
  EXPECT_NE(ending.out.find(memory), std::string::npos) << ending.out;
  EXPECT_TRUE(ending.out.ends_with("\n10\n0\n")) << ending.out;
  EXPECT_EQ(ending.err, "to\n");
  EXPECT_EQ(ending.status, 3);
  EXPECT_EQ(RunLimited({"/bin/sh", "-c", "kill -TERM $$"}).signal, SIGTERM);
}

TEST_F(Sweep, SoundResourcesPass) {
  PutTexts();
  for (const auto* const resources : {&kChinese, &kEnglish}) {
    LinkResources(*resources);
    for (const Resource& each : *resources) {
      for (const std::string& task : each.tasks) {
        EXPECT_EQ(RunTolvek(task).status, 0) << task;
        EXPECT_EQ(LinesOf(ReadText("out")), LinesOfTask(task)) << task;
        const Ending tvk = RunTvk(task);
        EXPECT_EQ(tvk.status, 0) << task << ": " << tvk.err;
        EXPECT_EQ(LinesOf(tvk.out), LinesOfTask(task)) << task;
      }
    }
  }
  const Ending check = RunCheck("data");
  EXPECT_EQ(check.status, 0) << check.out << check.err;
}

enum class Kind { kCut, kFlip, kCount };
constexpr const char* kKindNames[] = {"Cut", "Flip", "Count"};

class CorruptionSweep : public Sweep,
                        public testing::WithParamInterface<std::tuple<Resource, Kind>> {
 protected:
  const Resource& Damaged() const { return std::get<0>(GetParam()); }
  Kind KindOfDamage() const { return std::get<1>(GetParam()); }

  std::vector<Damage> Damages(const std::string& content) const {
    const char* const given = std::getenv("TOLVEK_SWEEP_ROUNDS");
    const auto rounds =
        static_cast<std::size_t>(given == nullptr ? 1 : std::max(1, std::atoi(given)));
    const Anatomy anatomy = Dissect(Damaged().name, content);
    std::vector<Damage> damages;
    switch (KindOfDamage()) {
      case Kind::kCut:
        damages = Cuts(content, anatomy, rounds);
        break;
      case Kind::kFlip:
        damages = Flips(content, anatomy, kSeed, rounds);
        break;
      case Kind::kCount:
        damages = WrongCounts(content, anatomy, kSeed, rounds);
        break;
    }
    static constexpr std::size_t kSanitizedPart = 5;
    if (kIsSanitized && given == nullptr) {
      std::vector<Damage> part;
      for (std::size_t i = 0; i < damages.size(); i += kSanitizedPart) part.push_back(damages[i]);
      damages = part;
    }
    return damages;
  }

  /// Makes a folder with the damaged file and what else is needed, so that checking takes less
  /// time.
  void LinkChecked() const {
    std::filesystem::create_directory("checked");
    const std::string name = Damaged().name;
    std::filesystem::create_symlink("../data/" + name, "checked/" + name);
    for (const std::string& each : Damaged().companions) {
      std::filesystem::create_symlink(kShipped + each, "checked/" + each);
    }
  }

  // Each names how the program ended, or says that it must not end like this.

  std::string EndOfTolvek(const std::string& task, const Ending& ending) const {
    if (ending.status == 0) {
      const bool isWhole = Exists("out") && LinesOf(ReadText("out")) == LinesOfTask(task);
      EXPECT_TRUE(isWhole) << "the output is not complete";
      return "done";
    }
    if (ending.status == 255) {
      EXPECT_TRUE(ending.err.ends_with("\nInitialize error\n"));
      EXPECT_TRUE(HoldsOneOf(ending.err, Damaged().refusals)) << "the refusal is none documented";
      return "refused";
    }
    const bool isDocumented = ending.signal == SIGABRT && HoldsOneOf(ending.err, Damaged().aborts);
    EXPECT_TRUE(isDocumented) << "status " << ending.status << ", signal " << ending.signal;
    return "aborted";
  }

  std::string EndOfTvk(const std::string& task, const Ending& ending) const {
    if (ending.status == 0) {
      EXPECT_EQ(LinesOf(ending.out), LinesOfTask(task)) << "the output is not complete";
      return "done";
    }
    EXPECT_EQ(ending.status, 1) << "signal " << ending.signal;
    EXPECT_TRUE(HoldsOneOf(ending.err, {std::string("data/") + Damaged().name + ":",
                                        "(tvk check data tells what is wrong)"}))
        << "the message names neither the file nor the way to find it";
    return "refused";
  }

  std::string EndOfCheck(const Damage& damage, const std::string& content,
                         const Ending& ending) const {
    if (ending.status == 0) {
      EXPECT_FALSE(MustBeFound(damage, content)) << "tvk check finds no problem";
      return "no problem";
    }
    EXPECT_EQ(ending.status, 1) << "signal " << ending.signal;
    EXPECT_NE(ending.out.find(Damaged().name), std::string::npos) << ending.out;
    EXPECT_NE(ending.err.find("tvk: check: problems: "), std::string::npos);
    return "told";
  }

  /// Not so changed bytes, a text that is cut in its last line, and a length, wrong as it is, with
  /// which the file can be taken apart to its end all the same: that is another sound file.
  bool MustBeFound(const Damage& damage, const std::string& content) const {
    const std::string_view name = Damaged().name;
    switch (KindOfDamage()) {
      case Kind::kCut:
        return name.starts_with("binary") || damage.at <= content.rfind('\n', content.size() - 2);
      case Kind::kFlip:
        return false;
      case Kind::kCount:
        break;
    }
    try {
      Dissect(name, damage.Apply(content));
    } catch (const std::runtime_error&) {
      return true;
    }
    return false;
  }

  static constexpr std::uint64_t kSeed = 20'240'601;
};

TEST_P(CorruptionSweep, EndsAsDocumented) {
  PutTexts();
  const bool isEnglish = IsEnglish(Damaged().tasks.front());
  LinkResources(isEnglish ? kEnglish : kChinese);
  const std::string path = std::string("data/") + Damaged().name;
  const std::string content = ReadText(path);
  std::filesystem::remove(path);  // the link
  LinkChecked();

  std::mt19937_64 choice(kSeed);
  std::map<std::string, int> ends;
  double seconds = 0;
  double megabytes = 0;
  const std::vector<Damage> damages = Damages(content);
  for (std::size_t i = 0; i < damages.size() && !HasFatalFailure(); ++i) {
    WriteText(path, damages[i].Apply(content));
    const auto look = [&](const std::string& program, const Ending& ending, const auto& name) {
      SCOPED_TRACE(program + ", " + Damaged().name + ": " + damages[i].what + "; it wrote:\n" +
                   ending.err.substr(0, 2000));
      EXPECT_FALSE(IsOfSanitizer(ending.err));
      seconds = std::max(seconds, ending.seconds);
      megabytes = std::max(megabytes, ending.megabytes);
      ++ends[program.substr(0, program.rfind(' ')) + ": " + name(ending)];
    };
    const std::string& task = Damaged().tasks[choice() % Damaged().tasks.size()];
    if (choice() % 2 == 0) {
      look("tolvek " + task, RunTolvek(task),
           [&](const Ending& ending) { return EndOfTolvek(task, ending); });
    } else {
      look("tvk " + task, RunTvk(task),
           [&](const Ending& ending) { return EndOfTvk(task, ending); });
    }
    look("tvk check checked", RunCheck("checked"),
         [&](const Ending& ending) { return EndOfCheck(damages[i], content, ending); });
  }
  std::cout << damages.size() << " damages";
  for (const auto& [end, times] : ends) std::cout << "; " << end << " " << times;
  std::cout << "; at most " << seconds << " s, " << megabytes << " MiB" << std::endl;
}

std::string NameOf(const testing::TestParamInfo<std::tuple<Resource, Kind>>& info) {
  return std::string(std::get<0>(info.param).name) +
         kKindNames[static_cast<int>(std::get<1>(info.param))];
}

void PrintTo(const Resource& resource, std::ostream* out) {
  *out << resource.name;
}
void PrintTo(Kind kind, std::ostream* out) {
  *out << kKindNames[static_cast<int>(kind)];
}

INSTANTIATE_TEST_SUITE_P(Chinese, CorruptionSweep,
                         testing::Combine(testing::ValuesIn(kChinese),
                                          testing::Values(Kind::kCut, Kind::kFlip, Kind::kCount)),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(English, CorruptionSweep,
                         testing::Combine(testing::ValuesIn(kEnglish),
                                          testing::Values(Kind::kCut, Kind::kFlip, Kind::kCount)),
                         NameOf);

}  // namespace
}  // namespace Tolvek
