// SPDX-License-Identifier: Apache-2.0
//
// What makes a resource or a result gives the same bytes every time, and whatever ends it - a kill,
// a signal, a full disk - leaves the old file or the complete new one.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>
#include <vector>

#include "Child.h"
#include "Workplace.h"

namespace Tolvek {
namespace {

namespace fs = std::filesystem;

using Names = std::vector<std::string>;

/// A command that makes files in the folder "OUT".
struct Maker {
  const char* name;
  std::string arguments;  ///< of tvk
  Names results;
  bool hasThreads = false;  ///< does it have --threads?
  bool isFolder = false;    ///< is its only result a folder, which must not be there before?
};

void PrintTo(const Maker& maker, std::ostream* out) {
  *out << maker.name;
}

std::string NameOf(const ::testing::TestParamInfo<Maker>& info) {
  return info.param.name;
}

const Maker kTrainers[] = {
    {"chars", "train chars --lists lists --out OUT/binarySource", {"binarySource"}},
    {"abbtitle",
     "train abbtitle --separators separators --abbreviations abbreviations --out OUT/abbtitle",
     {"abbtitle"}},
    {"seg",
     "train seg --encoding gbk --corpus chinese --raw raw --chars chars --rounds 2 --iterations 8 "
     "--out OUT",
     {"binarySegModel", "binarySegLM"},
     true},
    {"pos",
     "train pos --encoding gbk --corpus chinese --raw raw --data in --clusters 3 5 --iterations 8 "
     "--teacher-iterations 8 --text-form --out OUT",
     {"binaryPosModel", "Dict", "binaryPosModel.txt"},
     true},
    {"engpos",
     "train engpos --corpus english --text text --raw text --lists abbtitle --clusters 3 5 "
     "--cluster-count 1 --iterations 8 --teacher-iterations 8 --out OUT",
     {"binaryEngPosModel", "EngDict"},
     true},
};

const Maker kOthers[] = {
    {"me", "convert me in/segModel.txt OUT/model", {"model"}},
    {"meText", "convert me in/binarySegModel OUT/model.txt", {"model.txt"}},
    {"lm", "convert lm in/segLM.arpa OUT/lm", {"lm"}},
    {"lmText", "convert lm in/binarySegLM OUT/lm.arpa", {"lm.arpa"}},
    {"charsOfLists", "convert chars --lists gbk OUT/binarySource", {"binarySource"}},
    {"charsToLists", "convert chars --from chars OUT/lists", {"lists"}, false, true},
    {"text", "text --encoding gbk chinese -o OUT/text", {"text"}},
    {"words", "tok large -o OUT/words", {"words"}},
};

class Making : public Workplace, public ::testing::WithParamInterface<Maker> {
 protected:
  Making() {
    ::setenv("TOLVEK_DATA", PROJECT_DIR "/data", 1);
    PutLists("lists");
    Put("separators", "! ? \" ( ) , ;\n...\n");
    Put("abbreviations", "Mr Mrs Dr\n");
    const std::string example = PROJECT_DIR "/examples/";
    Run("train chars --lists lists --out chars");
    Run("train abbtitle --separators separators --abbreviations abbreviations --out abbtitle");
    Put("raw", FirstLines(example + "chinese.gbk"));
    Put("chinese", FirstLines(example + "chinese.segpos.gbk"));
    Put("english", FirstLines(example + "english.tokpos.txt"));
    Put("text", FirstLines(example + "english.txt"));
    if (IsGiven("in")) {
      Run("train seg --quiet --encoding gbk --corpus chinese --chars chars --iterations 3 --text "
          "--out in");
      fs::copy("chars", "in/binarySource");
    }
    fs::create_directory("gbk");
    for (const char* list :
         {"Punc", "ANum", "CNum1", "CNum2", "EChar", "Date", "CGivenName", "ForeignName"}) {
      Put(std::string("gbk/") + list, "list\n2\na\nb\n");
    }
    Put("gbk/CFamilyName", "first\n1\na\nsecond\n1\nb\n");
    if (!IsGiven("large")) return;
    std::string large;
    for (int i = 0; i < 100; ++i) large += Get(example + "english.txt");
    Put("large", large);
  }
  ~Making() override { ::unsetenv("TOLVEK_DATA"); }

  /// The command, as it is run with its temporary folders here.
  static std::string CommandInto(const std::string& folder) {
    std::string command = GetParam().arguments;
    return "env TMPDIR=. " TVK_PROGRAM " " + command.replace(command.find("OUT"), 3, folder) +
           " >told.txt 2>&1";
  }
  static void Run(const std::string& arguments) {
    ASSERT_EQ(Child(TVK_PROGRAM " " + arguments + " >told.txt 2>&1").Wait(), 0) << Get("told.txt");
  }
  /// Does the command read this?
  static bool IsGiven(const std::string& path) {
    return GetParam().arguments.find(" " + path) != std::string::npos;
  }
  /// Some lines of a file that are not blank.
  static std::string FirstLines(const std::string& path) {
    std::ifstream in(path);
    std::string lines;
    int count = 0;
    for (std::string line; count < 100 && std::getline(in, line);) {
      if (line.find_first_not_of(" \t\r") == line.npos) continue;
      lines += line + "\n";
      ++count;
    }
    return lines;
  }

  /// Makes a folder with old results: what they are must not matter.
  static void PutOld(const std::string& folder) {
    fs::remove_all(folder);
    fs::create_directory(folder);
    if (GetParam().isFolder) return;
    for (const std::string& name : GetParam().results) Put(folder + "/" + name, "old " + name);
  }
  /// Makes the results in a folder of their own.
  static void MakeIn(const std::string& folder, const std::string& options = "") {
    fs::create_directory(folder);
    ASSERT_EQ(Child(CommandInto(folder) + options).Wait(), 0) << Get("told.txt");
  }
  /// The bytes of a result, a file or a folder; a missing folder is one, too.
  static std::string Bytes(const std::string& path) {
    if (!GetParam().isFolder) return Get(path);
    if (!fs::exists(path)) return "";
    std::string bytes = "folder\n";
    for (const std::string& name : NamesIn(path)) bytes += name + "\n" + Get(path + "/" + name);
    return bytes;
  }
  static Names Sorted(Names names) {
    std::sort(names.begin(), names.end());
    return names;
  }
  static bool HasTemporary(const std::string& folder) {
    const Names names = NamesIn(folder);
    return std::any_of(names.begin(), names.end(), [](const std::string& name) {
      return name.find(".tmp") != std::string::npos;
    });
  }
  /// Each result is the old or the new one; the number of new ones.
  static std::size_t CountNew(const std::string& folder) {
    std::size_t count = 0;
    for (const std::string& name : GetParam().results) {
      const std::string found = Bytes(folder + "/" + name);
      const bool isNew = found == Bytes("new/" + name);
      EXPECT_TRUE(isNew || found == (GetParam().isFolder ? "" : "old " + name))
          << name << " is neither the old nor the new one: " << found.size() << " bytes";
      count += isNew ? 1 : 0;
    }
    return count;
  }
};

class Training : public Making {};

TEST_P(Training, GivesTheSameBytesAgainAndAtAnyNumberOfThreads) {
  MakeIn("new");
  EXPECT_EQ(NamesIn("new"), Sorted(GetParam().results));
  std::vector<std::string> options{""};
  if (GetParam().hasThreads) options = {"", " --threads 1", " --threads 2", " --threads 3"};
  for (const std::string& option : options) {
    fs::remove_all("again");
    MakeIn("again", option);
    for (const std::string& name : GetParam().results) {
      EXPECT_TRUE(Get("again/" + name) == Get("new/" + name)) << name << option;
      EXPECT_FALSE(Get("new/" + name).empty()) << name;
    }
  }
}

/// How often each command is killed: TOLVEK_KILL_ROUNDS, or a few times.
int Rounds() {
  const char* given = std::getenv("TOLVEK_KILL_ROUNDS");
  return given == nullptr ? 6 : std::atoi(given);
}

/// So often at most, should the command always be over before it is killed.
constexpr int kMostRounds = 100;

TEST_P(Making, SurvivesAKill) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  MakeIn("new");
  const std::chrono::duration<double> whole = Clock::now() - start;
  std::mt19937 random(20261);
  int killed = 0;
  for (int round = 0; round < Rounds() || (killed == 0 && round < kMostRounds); ++round) {
    SCOPED_TRACE(round);
    PutOld("out");
    {
      Child child(CommandInto("out"));
      std::uniform_real_distribution<double> part(0, 1);
      if (round % 2 == 0) {  // at any time
        ::usleep(static_cast<unsigned>(1e6 * part(random) * whole.count()));
      } else {  // while something is written
        while (!HasTemporary("out") && !child.HasEnded()) {
        }
        ::usleep(static_cast<unsigned>(3000 * std::pow(part(random), 3)));
      }
      child.Signal(SIGKILL);
      killed += child.Wait() == 128 + SIGKILL ? 1 : 0;
    }
    CountNew("out");
    for (const std::string& name : NamesIn("out")) {
      const bool isResult = std::count(GetParam().results.begin(), GetParam().results.end(), name);
      EXPECT_TRUE(isResult || name.find(".tmp") != std::string::npos ||
                  name.starts_with(".tvk-train-"))
          << name;
    }
    // Goes on, or begins anew; a complete folder of lists is not replaced.
    if (GetParam().isFolder) fs::remove_all("out/lists");
    MakeIn("out");
    EXPECT_EQ(CountNew("out"), GetParam().results.size());
    for (const std::string& name : NamesIn("out")) {
      EXPECT_FALSE(name.starts_with(".tvk-train-")) << name;
    }
  }
  EXPECT_GT(killed, 0) << "no kill came in time";
}

TEST_P(Making, LeavesNoTraceWhenASignalEndsIt) {
  MakeIn("new");
  std::mt19937 random(20262);
  int interrupted = 0;
  const int signals[] = {SIGTERM, SIGINT, SIGHUP, SIGQUIT};
  for (int round = 0; round < 4 || (interrupted == 0 && round < kMostRounds); ++round) {
    const int signal = signals[round % 4];
    PutOld("out");
    Child child(CommandInto("out"));
    while (!HasTemporary("out") && !child.HasEnded()) {
    }
    ::usleep(std::uniform_int_distribution<unsigned>(0, 1000)(random));
    child.Signal(signal);
    interrupted += child.Wait() == 128 + signal ? 1 : 0;
    CountNew("out");
    for (const std::string& name : NamesIn("out")) {
      EXPECT_TRUE(std::count(GetParam().results.begin(), GetParam().results.end(), name) > 0 ||
                  name.starts_with(".tvk-train-"))
          << name << " is left";
    }
    EXPECT_EQ(std::count_if(fs::directory_iterator("."), {},
                            [](const fs::directory_entry& entry) {
                              return entry.path().filename().string().starts_with("tvk-lists-");
                            }),
              0);
  }
  EXPECT_GT(interrupted, 0) << "no signal came in time";
}

TEST_P(Making, LeavesTheOldFilesOnAFullDisk) {
  if (GetParam().isFolder) return;
  MakeIn("new");
  for (const std::string& name : GetParam().results) {
    if (fs::file_size("new/" + name) < 20) continue;
    PutOld("out");
    const rlim_t room = fs::file_size("new/" + name) / 2;
    Child child(CommandInto("out"), [room] {
      const rlimit limit{room, room};
      ::setrlimit(RLIMIT_FSIZE, &limit);
    });
    EXPECT_EQ(child.Wait(), 1) << Get("told.txt");
    CountNew("out");
    EXPECT_EQ(Get("out/" + name), "old " + name);
    EXPECT_FALSE(HasTemporary("out")) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(Trainers, Training, ::testing::ValuesIn(kTrainers), NameOf);
INSTANTIATE_TEST_SUITE_P(Trainers, Making, ::testing::ValuesIn(kTrainers), NameOf);
INSTANTIATE_TEST_SUITE_P(Others, Making, ::testing::ValuesIn(kOthers), NameOf);

}  // namespace
}  // namespace Tolvek
