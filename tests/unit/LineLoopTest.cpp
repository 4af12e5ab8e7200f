// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <csignal>
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

  /// Copies the lines of "in" after a call with each; returns the progress.
  template <class Look>
  static std::string Copy(const Look& look, const std::string& outPath = "out") {
    std::ifstream in("in");
    std::ostringstream progress;
    ProcessLines(in, outPath, {.report = &progress}, [&](std::string& line, std::string& result) {
      look(line);
      result = line;
    });
    return progress.str();
  }

  int _calls = 0;
  std::string _progress;
};

/// The size that a file may grow to in this process, until the end of the scope. What goes beyond
/// cannot be written.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : _handler(::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &_before);
    const rlimit limit{bytes, _before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    Lift();
    ::signal(SIGXFSZ, _handler);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  void Lift() const { ::setrlimit(RLIMIT_FSIZE, &_before); }

 private:
  sighandler_t _handler;
  rlimit _before{};
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

TEST_F(LineLoopTest, LinesMayBeVeryLong) {
  // Around the sizes of buffers, and far beyond.
  std::string text;
  for (const std::size_t size : {1U << 12U, 1U << 13U, 1U << 16U}) {
    for (const std::size_t less : {0U, 1U, 2U}) text += std::string(size - less, 'x') + "\n\n";
  }
  text += std::string(1U << 26U, 'y') + "\n";
  WriteText("in", text + "end");
  EXPECT_EQ(Copy([](const std::string&) {}), "Processing:\n\n20 sentences in total.\n");
  EXPECT_TRUE(ReadText("out") == text + "end\n");
}

TEST_F(LineLoopTest, LinesMayHoldAnyByte) {
  std::string line = "x";
  for (int c = 0; c < 256; ++c) line += static_cast<char>(c);
  std::erase(line, '\n');
  Run(line + "x\n" + std::string(2, '\0'));
  EXPECT_EQ(ReadText("out"), "[" + line + "x]\n[" + std::string(2, '\0') + "]\n");
}

TEST_F(LineLoopTest, TheOutputIsAFileLikeAnyOther) {
  Run("x\n");
  EXPECT_EQ(std::filesystem::status("out").permissions(),
            std::filesystem::status("in").permissions());
}

TEST_F(LineLoopTest, ADirectoryHasNoLines) {
  std::ifstream in("data");
  std::ostringstream progress;
  ProcessLines(in, "out", {.report = &progress}, [](std::string&, std::string&) { FAIL(); });
  EXPECT_EQ(progress.str(), "Processing:\n\n0 sentences in total.\n");
  EXPECT_EQ(ReadText("out"), "");
}

TEST_F(LineLoopTest, LinesGoToADevice) {
  WriteText("in", "a\nb\n");
  for (const char* device : {"/dev/null", "/dev/full"}) {
    int calls = 0;
    EXPECT_EQ(Copy([&](const std::string&) { ++calls; }, device),
              "Processing:\n\n2 sentences in total.\n");
    EXPECT_EQ(calls, 2) << device;
  }
}

TEST_F(LineLoopTest, AfterAFailureAllIsLost) {
  WriteText("in", "aaaa\nbbbb\nc\nd\n");
  const FileSizeLimit limit(7);
  const std::string progress = Copy([&](const std::string& line) {
    if (line == "d") limit.Lift();
  });
  EXPECT_EQ(progress, "Processing:\n\n4 sentences in total.\n");
  EXPECT_EQ(ReadText("out"), "aaaa\nbb") << "as far as it went";
}

TEST_F(LineLoopTest, ALineFromAPipeDoesNotWaitForTheNext) {
  ASSERT_EQ(::mkfifo("in", 0600), 0);
  const int pipe = ::open("in", O_RDWR);
  ASSERT_GE(pipe, 0);
  const auto send = [&](std::string_view text) {
    ASSERT_EQ(::write(pipe, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  };
  ::alarm(20);  // a loop that waits ends here
  send("a\n");
  const std::string progress = Copy([&](const std::string& line) {
    if (line == "a") send("\nb\n");
    if (line == "b") {
      send("c");
      ::close(pipe);
    }
  });
  ::alarm(0);
  EXPECT_EQ(progress, "Processing:\n\n4 sentences in total.\n");
  EXPECT_EQ(ReadText("out"), "a\n\nb\nc\n");
}

TEST_F(LineLoopTest, ASlowReaderAndSignalsCostNoByte) {
  ASSERT_EQ(::mkfifo("pipe", 0600), 0);
  const std::string line(1U << 20U, 'x');  // more than a pipe holds
  WriteText("in", line + "\n" + line + "\nend\n");
  const pid_t reader = ::fork();
  if (reader == 0) {
    std::ifstream in("pipe");
    ::usleep(100'000);
    std::ofstream("read") << in.rdbuf();
    ::_exit(0);
  }
  static volatile std::sig_atomic_t signals = 0;
  struct sigaction interrupt {};
  interrupt.sa_handler = [](int) { signals = signals + 1; };  // without SA_RESTART
  struct sigaction before {};
  ::sigaction(SIGALRM, &interrupt, &before);
  const itimerval everyMillisecond{{0, 1000}, {0, 1000}};
  Copy([&](const std::string&) { ::setitimer(ITIMER_REAL, &everyMillisecond, nullptr); }, "pipe");
  const itimerval never{};
  ::setitimer(ITIMER_REAL, &never, nullptr);
  ::sigaction(SIGALRM, &before, nullptr);
  int status = -1;
  EXPECT_EQ(::waitpid(reader, &status, 0), reader);
  EXPECT_EQ(status, 0);
  EXPECT_GT(static_cast<int>(signals), 10);
  EXPECT_TRUE(ReadText("read") == line + "\n" + line + "\nend\n");
}

}  // namespace
}  // namespace Tolvek
