// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <sstream>
#include <thread>

#include "tvk/text/Progress.h"

namespace Tolvek {
namespace {

TEST(Progress, EndsWithTheWhole) {
  std::ostringstream out;
  Progress progress(&out, false, "tvk", 0);
  progress.Add(3, 1'000'000);
  progress.Add(4, 500'000);
  EXPECT_EQ(out.str(), "") << "not yet";
  progress.End();
  EXPECT_TRUE(std::regex_match(out.str(), std::regex("tvk: 7 lines, 1\\.5 MB, [0-9.]+ MB/s\n")))
      << out.str();
}

TEST(Progress, RewritesALineOfATerminal) {
  std::ostringstream out;
  Progress progress(&out, true, "tvk", 4'000'000);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  progress.Add(1, 1'000'000);
  EXPECT_TRUE(std::regex_match(
      out.str(), std::regex("\rtvk: 1 lines, 1\\.0 MB, [0-9.]+ MB/s, [0-9]+ s left\x1B\\[K")))
      << out.str();
  progress.Add(1, 1);
  progress.End();
  const std::string all = out.str();
  EXPECT_TRUE(all.ends_with("MB/s\x1B[K\n")) << all;
  EXPECT_EQ(std::count(all.begin(), all.end(), '\r'), 2);
}

TEST(Progress, EndsItsLineWhenTheWorkFails) {
  std::ostringstream out;
  {
    Progress progress(&out, true, "tvk", 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    progress.Add(1, 1);
    EXPECT_TRUE(out.str().ends_with("\x1B[K")) << out.str();
  }
  EXPECT_TRUE(out.str().ends_with("\x1B[K\n")) << out.str();
}

TEST(Progress, KeepsQuietWithoutAStream) {
  Progress progress(nullptr, true, "tvk", 1);
  progress.Add(1, 1);
  progress.End();
}

}  // namespace
}  // namespace Tolvek
