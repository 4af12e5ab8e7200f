// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <sstream>
#include <thread>
#include <vector>

#include "Program.h"

namespace Tolvek {
namespace {

namespace fs = std::filesystem;

/// Training that is interrupted after some of its steps, and gone on with.
class Resume : public Program {
 protected:
  void SetUp() override {
    PutLists("lists");
    ASSERT_EQ(Run("train chars --lists lists --out chars"), 0) << _err;
    std::string corpus;
    std::string raw;
    for (int i = 0; i < 30; ++i) {
      corpus += "我/A 是/B 中国/C 人/C 。/D\n他/A 在/B 北京/C 。/D\n";
      raw += "中国人是我。\n他在中国，我在北京。\n";
    }
    Put("train", corpus);
    Put("raw", raw);
  }

  /// Starts the program and kills it when it has kept a step, as by `kill -9` or a power cut.
  static void RunUntilAStepIsKept(const std::string& arguments, const std::string& out) {
    std::vector<std::string> words{TVK_PROGRAM};
    std::istringstream in(arguments + " --quiet --out " + out);
    for (std::string word; in >> word;) words.push_back(word);
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      execv(TVK_PROGRAM, pointers.data());
      _exit(127);
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (StepFile(out).empty() && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the run was over, or failed, before it was killed";
    ASSERT_NE(StepFile(out), "");
  }

  /// The first kept step under an output folder; empty when there is none.
  static std::string StepFile(const std::string& out) {
    std::error_code ignored;
    for (const auto& folder : fs::directory_iterator(out, ignored)) {
      const fs::path path = folder.path() / "1.step";
      if (fs::exists(path)) return path;
    }
    return "";
  }

  using Names = std::vector<std::string>;

  /// Continues a copy of the interrupted run in `from`; what it logged. Its models must be those
  /// of `expected`.
  std::string Continue(const std::string& from, const std::string& arguments,
                       const std::string& expected) {
    fs::remove_all("copy");
    fs::copy(from, "copy", fs::copy_options::recursive);
    EXPECT_EQ(Run(arguments + " --out copy"), 0) << _err;
    EXPECT_EQ(NamesIn("copy"), NamesIn(expected)) << "nothing but the models is left";
    for (const std::string& name : NamesIn(expected)) {
      EXPECT_TRUE(Get("copy/" + name) == Get(expected + "/" + name)) << arguments << ": " << name;
    }
    return _err;
  }

  static bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  }

  // Many rounds: the run is far from over when its first fit is kept.
  const std::string kSeg =
      "train seg --corpus train --raw raw --chars chars --rounds 60 --iterations 20";
};

TEST_F(Resume, AnInterruptedRunGivesTheModelsOfAnUndisturbedOne) {
  ASSERT_EQ(Run(kSeg + " --out whole"), 0) << _err;
  EXPECT_EQ(NamesIn("whole"), (Names{"binarySegLM", "binarySegModel"}));
  EXPECT_FALSE(Has(_err, "taken over")) << _err;
  RunUntilAStepIsKept(kSeg, "out");
  EXPECT_FALSE(fs::exists("out/binarySegModel"));

  const std::string log = Continue("out", kSeg, "whole");
  EXPECT_TRUE(Has(log, "whole paths, round 0: taken over from an interrupted run, ")) << log;
  EXPECT_TRUE(Has(log, "whole paths, round 60: log-likelihood")) << log;
  // What doesn't change the models doesn't matter.
  EXPECT_TRUE(Has(Continue("out", kSeg + " --threads 3 --dev train --dev-every 7", "whole"),
                  "round 0: taken over"));
  Continue("out", kSeg + " --quiet", "whole");
  EXPECT_EQ(_err, "");

  const std::string fresh = Continue("out", kSeg + " --fresh", "whole");
  EXPECT_TRUE(Has(fresh, ": removed, kept by an interrupted run\n")) << fresh;
  EXPECT_FALSE(Has(fresh, "taken over")) << fresh;

  std::string damaged = Get(StepFile("out"));
  damaged[damaged.size() / 2] = static_cast<char>(damaged[damaged.size() / 2] ^ 1);
  Put(StepFile("out"), damaged);
  const std::string repaired = Continue("out", kSeg, "whole");
  EXPECT_TRUE(Has(repaired, "1.step: damaged; the step is computed anew\n")) << repaired;
  EXPECT_FALSE(Has(repaired, "round 0: taken over")) << repaired;
}

TEST_F(Resume, StepsOfOtherOptionsOrInputsAreNotTakenOver) {
  const std::string removed = "removed, kept by an interrupted run with other options or inputs\n";
  RunUntilAStepIsKept(kSeg, "out");
  const std::string other = kSeg + " --l2 3";
  ASSERT_EQ(Run(other + " --out other"), 0) << _err;
  const std::string changed = Continue("out", other, "other");
  EXPECT_TRUE(Has(changed, removed)) << changed;
  EXPECT_FALSE(Has(changed, "taken over")) << changed;

  Put("raw", Get("raw") + "我在中国。\n");
  ASSERT_EQ(Run(kSeg + " --out more"), 0) << _err;
  const std::string more = Continue("out", kSeg, "more");
  EXPECT_TRUE(Has(more, removed)) << more;
  EXPECT_FALSE(Has(more, "taken over")) << more;
}

TEST_F(Resume, WordClustersAndFitsOfTaggersAreTakenOver) {
  ASSERT_EQ(Run("train seg --corpus train --chars chars --out data --quiet"), 0) << _err;
  fs::copy("chars", "data/binarySource");
  Put("english", "She/PRP did/VBD n't/RB go/VB ./.\nA/DT 15/CD -/HYPH year/NN wait/NN !/.\n");
  Put("text", "She didn't go.\nA 15-year wait!\n");
  Put("abbtitle", "2\n!\n?\n1\netc\n");
  std::string clusters = " --clusters";  // so many that it takes a while
  for (int i = 0; i < 150; ++i) clusters += " " + std::to_string(2 + i % 5);
  const std::string pos = "train pos --corpus train --raw raw --data data" + clusters;
  const std::string engpos =
      "train engpos --corpus english --text text --raw text --lists abbtitle --cluster-count 1" +
      clusters;
  for (const std::string& command : {pos, engpos}) {
    fs::remove_all("whole");
    fs::remove_all("out");
    ASSERT_EQ(Run(command + " --out whole"), 0) << _err;
    EXPECT_EQ(NamesIn("whole").size(), 2U);
    RunUntilAStepIsKept(command, "out");
    EXPECT_EQ(NamesIn("out").size(), 1U) << "no model yet";
    const std::string log = Continue("out", command, "whole");
    EXPECT_TRUE(Has(log, "2 word clusters: taken over")) << log;
    EXPECT_TRUE(Has(log, "model: log-likelihood")) << log;
  }
}

TEST_F(Resume, NothingIsKeptOfInputsThatCanBeReadOnlyOnce) {
  const std::string command = "train seg --corpus train --chars chars --iterations 5 --out ";
  ASSERT_EQ(Run(command + "file --raw raw"), 0) << _err;
  ASSERT_EQ(Run(command + "pipe --raw - <raw"), 0) << _err;
  EXPECT_TRUE(Has(_err, "-: can be read only once, so finished steps are not kept\n")) << _err;
  EXPECT_EQ(Get("pipe/binarySegLM"), Get("file/binarySegLM"));
}

}  // namespace
}  // namespace Tolvek
