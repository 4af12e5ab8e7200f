// SPDX-License-Identifier: Apache-2.0
#include "Workplace.h"
#include "tvk/text/Files.h"

namespace Tolvek {
namespace {

using Views = std::vector<std::string_view>;

TEST(SplitLines, TakesAllLineEnds) {
  EXPECT_EQ(SplitLines("a\r\n\nb"), (Views{"a", "", "b"}));
  EXPECT_EQ(SplitLines("\xEF\xBB\xBF"
                       "a\n"),
            (Views{"a"}));
  EXPECT_TRUE(SplitLines("").empty());
}

TEST(SplitAtBlanks, DropsRunsOfThem) {
  EXPECT_EQ(SplitAtBlanks(" a \t b\r"), (Views{"a", "b"}));
  EXPECT_TRUE(SplitAtBlanks(" ").empty());
}

class Files : public Workplace {};

TEST_F(Files, AFailedWriteLeavesTheOldFileAndNoOther) {
  Put("out", "old");
  EXPECT_EQ(FailureOf([] { WriteBeside("out", [](const std::string&) { return false; }); }),
            "out: cannot be written");
  EXPECT_EQ(Get("out"), "old");
  WriteWholeFile("out", "new");
  EXPECT_EQ(Get("out"), "new");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator("."), {}), 1);
}

TEST_F(Files, NamesWhatCannotBeReadOrWritten) {
  EXPECT_EQ(FailureOf([] { ReadWholeFile("none"); }), "none: No such file or directory");
  std::filesystem::create_directory("folder");
  EXPECT_EQ(FailureOf([] { ReadWholeFile("folder"); }), "folder: is a folder, not a file");
  EXPECT_EQ(FailureOf([] { CheckWritable("folder"); }), "folder: is a folder, not a file");
  EXPECT_NE(FailureOf([] { CheckWritable("none/out"); }), "");
  CheckWritable("out");
  EXPECT_FALSE(std::filesystem::exists("out"));
}

}  // namespace
}  // namespace Tolvek
