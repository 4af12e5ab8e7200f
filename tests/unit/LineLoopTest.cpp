// SPDX-License-Identifier: Apache-2.0
#include <sstream>

#include "common/LineLoop.h"
#include "unit/Fixtures.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

class LineLoopTest : public Scratch {
 protected:
  /// Runs the loop over a text; every line comes out in brackets.
  void Run(const std::string& text, unsigned dotEvery = 100, unsigned countEvery = 5000,
           const char* unit = " sentence") {
    WriteText("in", text);
    std::ifstream in("in");
    std::ostringstream progress;
    ProcessLines(in, "out", {&progress, dotEvery, countEvery, unit},
                 [this](std::string& line, std::string& result) {
                   ++_calls;
                   result = "[" + line + "]";
                 });
    _progress = progress.str();
  }

  int _calls = 0;
  std::string _progress;
};

TEST_F(LineLoopTest, NoLines) {
  Run("");
  EXPECT_EQ(_progress, "Processing:\n\n0 sentences in total.\n");
  EXPECT_EQ(ReadText("out"), "");
}

TEST_F(LineLoopTest, LinesAreTrimmedAndBlankOnesStayEmpty) {
  Run("a b \r\n\n \t\r\n\tc");
  EXPECT_EQ(ReadText("out"), "[a b]\n\n\n[c]\n");
  EXPECT_EQ(_calls, 2) << "blank lines are not processed";
  EXPECT_EQ(_progress, "Processing:\n\n4 sentences in total.\n");
}

TEST_F(LineLoopTest, OnlyBlankLines) {
  Run("\n \n\t\n");
  EXPECT_EQ(ReadText("out"), "\n\n\n");
  EXPECT_EQ(_calls, 0);
}

TEST_F(LineLoopTest, ADotEveryHundredLines) {
  Run(Repeat("x\n", 99));
  EXPECT_EQ(_progress, "Processing:\n\n99 sentences in total.\n");
  Run(Repeat("x\n\n", 125));
  EXPECT_EQ(_progress, "Processing:\n..\n250 sentences in total.\n");
}

TEST_F(LineLoopTest, TheCountEveryFiveThousandLines) {
  Run(Repeat("\n", 10'100));
  const std::string dots(50, '.');
  EXPECT_EQ(_progress, "Processing:\n" + dots + "\t5000 sentence\n" + dots + "\t10000 sentence\n" +
                           ".\n10100 sentences in total.\n");
}

TEST_F(LineLoopTest, IntervalsAndUnitAreGiven) {
  Run(Repeat("\n", 12), 2, 6, " sentences");
  EXPECT_EQ(_progress,
            "Processing:\n...\t6 sentences\n...\t12 sentences\n\n12 sentences in total.\n");
}

TEST_F(LineLoopTest, TheDefaultsAreThoseOfSegmentation) {
  WriteText("in", Repeat("\n", 5000));
  std::ifstream in("in");
  std::ostringstream progress;
  ProcessLines(in, "out", {.report = &progress}, [](std::string&, std::string&) {});
  EXPECT_EQ(progress.str(), "Processing:\n" + std::string(50, '.') +
                                "\t5000 sentence\n\n5000 sentences in total.\n");
}

TEST_F(LineLoopTest, EachLineIsOutBeforeTheNextIsBegun) {
  WriteText("in", "a\n\nb\nc\n");
  std::ifstream in("in");
  std::ostringstream progress;
  std::vector<std::string> seen;
  ProcessLines(in, "out", {.report = &progress}, [&](std::string& line, std::string& result) {
    seen.push_back(ReadText("out"));
    result = line;
  });
  EXPECT_EQ(seen, (std::vector<std::string>{"", "a\n\n", "a\n\nb\n"}));
}

TEST_F(LineLoopTest, AnExistingOutputIsReplaced) {
  WriteText("out", "old and longer\n");
  Run("x\n");
  EXPECT_EQ(ReadText("out"), "[x]\n");
}

TEST_F(LineLoopTest, TheResultStartsEmptyForEachLine) {
  WriteText("in", "a\nb\n");
  std::ifstream in("in");
  std::ostringstream progress;
  ProcessLines(in, "out", {.report = &progress},
               [](std::string& line, std::string& result) { result += line; });
  EXPECT_EQ(ReadText("out"), "a\nb\n");
}

TEST_F(LineLoopTest, AnOutputThatCannotBeWrittenLosesTheLinesOnly) {
  WriteText("in", "a\nb\n");
  std::ifstream in("in");
  std::ostringstream progress;
  int calls = 0;
  const Output output = Capture([&] {
    ProcessLines(in, "nowhere/out", {.report = &progress},
                 [&](std::string&, std::string&) { ++calls; });
  });
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(progress.str(), "Processing:\n\n2 sentences in total.\n");
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_FALSE(Exists("nowhere/out"));
}

TEST_F(LineLoopTest, WithoutAReportNothingIsSaid) {
  WriteText("in", Repeat("x\n\n", 5000));
  std::ifstream in("in");
  const Output output = Capture([&] {
    ProcessLines(in, "out", {.report = nullptr},
                 [](std::string& line, std::string& result) { result = line; });
  });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_EQ(ReadText("out"), Repeat("x\n\n", 5000));
}

TEST_F(LineLoopTest, ThereIsNoReportByDefault) {
  WriteText("in", "x\n");
  std::ifstream in("in");
  const Output output = Capture([&] {
    ProcessLines(in, "out", {}, [](std::string& line, std::string& result) { result = line; });
  });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_EQ(ReadText("out"), "x\n");
}

TEST_F(LineLoopTest, BlankLinesCanBeDropped) {
  WriteText("in", "\na\r\n \t\r\n\n b\n\nempty\n");
  std::ifstream in("in");
  std::ostringstream progress;
  std::vector<std::string> seen;
  ProcessLines(in, "out",
               {.report = &progress,
                .dotEvery = 2,
                .countEvery = 6,
                .unit = " lines",
                .dropBlankLines = true},
               [&](std::string& line, std::string& result) {
                 seen.push_back(line);
                 if (line != "empty") result = line;
               });
  EXPECT_EQ(seen, (std::vector<std::string>{"a", "b", "empty"}));
  EXPECT_EQ(ReadText("out"), "a\nb\n\n") << "an empty result is a line";
  EXPECT_EQ(progress.str(), "Processing:\n...\t6 lines\n\n7 sentences in total.\n")
      << "all lines count";
}

}  // namespace
}  // namespace Tolvek
