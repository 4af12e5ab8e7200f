// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>
#include <regex>
#include <sstream>
#include <thread>

#include "tvk/text/StepLog.h"

namespace Tolvek {
namespace {

/// The text with all times as "T".
std::string WithoutTimes(const std::string& text) {
  return std::regex_replace(text, std::regex("[0-9.]+ s"), "T");
}

TEST(StepLog, ElsewhereWritesEveryTenthIterationAndThoseThatStay) {
  std::ostringstream out;
  StepLog log(&out, 0);
  log.Begin("fit", 30);
  for (int i = 1; i <= 12; ++i) log.Iteration(i, i == 3 ? "good" : "fair", i == 3);
  log.End("done");
  log.Say("all");
  EXPECT_EQ(WithoutTimes(out.str()),
            "fit: iteration 3 of at most 30, good, at most T left\n"
            "fit: iteration 10 of at most 30, fair, at most T left\n"
            "fit: done (T)\n"
            "all\n");
}

TEST(StepLog, OnATerminalRewritesOneLineThatFitsIt) {
  std::ostringstream out;
  StepLog log(&out, 20);
  log.Begin("a step", 3);
  log.Iteration(1, "some figures");
  log.Iteration(2, "figures", true);
  log.Begin("b");
  log.End("1");
  EXPECT_EQ(WithoutTimes(out.str()),
            "\ra step ..."
            "\ra step: iteration 1"
            "\ra step: iteration 2 of at most 3, figures, at most T left\n"
            "\rb ..."
            "\rb: 1 (T)\n");
}

TEST(StepLog, NothingIsLeftOfALongerLine) {
  std::ostringstream out;
  StepLog log(&out, 80);
  log.Begin("a step with a long name");
  log.Say("b");
  EXPECT_EQ(out.str(), "\ra step with a long name ...\rb                          \n");
}

TEST(StepLog, PartsTellHowFarAStepIs) {
  std::ostringstream terminal;
  std::ostringstream file;
  StepLog shown(&terminal, 80);
  StepLog sparse(&file, 0);
  for (StepLog* log : {&shown, &sparse}) {
    log->Begin("work");
    log->Part(1, 4);
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    log->Part(2, 4);
    log->Part(3, 4);
  }
  EXPECT_EQ(WithoutTimes(terminal.str()), "\rwork ...\rwork: 50%, T left") << "ten times a second";
  EXPECT_EQ(file.str(), "") << "every ten seconds";
}

TEST(StepLog, ANullStreamKeepsQuiet) {
  StepLog log(nullptr, 80);
  log.Begin("a", 2);
  log.Iteration(1, "b", true);
  log.Part(1, 2);
  log.Say("c");
  log.End("d");
}

}  // namespace
}  // namespace Tolvek
