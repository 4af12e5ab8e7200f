// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "tvk/text/OrderedPipeline.h"

namespace Tolvek {
namespace {

enum class Step { kNone, kRead, kWork, kWrite };

/// The number of threads, and the step that fails. Each is a test, and so a process, of its own: a
/// second pipeline would find the threads of the first one, and ThreadSanitizer does not see that
/// they begin with it only after it was made.
class OrderedPipeline : public testing::TestWithParam<std::tuple<int, Step>> {};

/// Longer for some numbers than for others.
std::string TextOf(int number) {
  return std::string(static_cast<std::size_t>(number % 7 * 1000), 'x') + std::to_string(number);
}

TEST_P(OrderedPipeline, KeepsTheOrderUntilAStepFails) {
  const int count = 5000;
  const int failsAt = 1000;
  const auto [threads, failing] = GetParam();
  const auto visit = [failing = failing](Step step, int number) {
    if (step == failing && number == failsAt) throw std::runtime_error("as it was told");
  };
  int next = 0;
  int written = 0;
  const auto run = [&, threads = threads] {
    RunOrdered<int, std::string>(
        threads,
        [&](int& number) {
          visit(Step::kRead, next);
          number = next++;
          return number < count;
        },
        [&](const int& number, std::string& text) {
          visit(Step::kWork, number);
          text = TextOf(number);
        },
        [&](const std::string& text) {
          visit(Step::kWrite, written);
          EXPECT_EQ(text, TextOf(written));
          ++written;
        });
  };
  if (failing == Step::kNone) {
    run();
    EXPECT_EQ(written, count);
  } else {
    EXPECT_THROW(run(), std::runtime_error);
    EXPECT_LE(written, failsAt);
  }
}

std::string NameOf(const testing::TestParamInfo<std::tuple<int, Step>>& info) {
  const char* const failing[] = {"NoFailure", "FailingRead", "FailingWork", "FailingWrite"};
  return "Threads" + std::to_string(std::get<0>(info.param)) +
         failing[static_cast<std::size_t>(std::get<1>(info.param))];
}

INSTANTIATE_TEST_SUITE_P(All, OrderedPipeline,
                         testing::Combine(testing::Values(1, 2, 5),
                                          testing::Values(Step::kNone, Step::kRead, Step::kWork,
                                                          Step::kWrite)),
                         NameOf);

#ifdef TOLVEK_TELLS_THREAD_SANITIZER
TEST(OrderedPipelineDeathTest, ARaceInAStepIsStillSeen) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto run = [] {
    int left = 20000;
    int raced = 0;
    RunOrdered<int, int>(
        2, [&](int&) { return --left >= 0; }, [&](const int&, int&) { ++raced; },
        [](const int&) {});
    std::exit(raced < 0 ? 1 : 0);  // what was found makes another status of it
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(66), "data race");
}
#endif

}  // namespace
}  // namespace Tolvek
