// SPDX-License-Identifier: Apache-2.0
//
// What goes wrong around a run - a full disk, a reader that goes away, an input that cannot be
// read, a signal - and what both programs then do.
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <set>
#include <vector>

#include "Child.h"
#include "Workplace.h"

namespace Tolvek {
namespace {

namespace fs = std::filesystem;

const char* const kTasks[] = {"seg", "segpos", "pos", "tok", "tokpos"};

/// The status that the shell tells of a program that a signal has ended.
constexpr int EndedBy(int signal) {
  return 128 + signal;
}

void IgnorePipe() {
  ::signal(SIGPIPE, SIG_IGN);
}

/// No file may grow beyond this, as on a disk with so much room.
void LimitFiles(rlim_t bytes) {
  const rlimit limit{bytes, bytes};
  ::setrlimit(RLIMIT_FSIZE, &limit);
}

/// Both programs, with the shipped models in ./data, on Chinese text in GBK and English text.
class Faults : public Workplace {
 protected:
  Faults() : _pipe(::signal(SIGPIPE, SIG_IGN)) {
    fs::create_symlink(PROJECT_DIR "/data", "data");
    for (const char* name : {"chinese.gbk", "english.txt"}) {
      fs::copy(std::string(PROJECT_DIR "/examples/") + name, name);
    }
    fs::copy(PROJECT_DIR "/examples/chinese.seg.gbk", "words.gbk");
  }
  ~Faults() override { ::signal(SIGPIPE, _pipe); }

  static std::string InputOf(const std::string& task) {
    return task == "pos" ? "words.gbk" : task.starts_with("tok") ? "english.txt" : "chinese.gbk";
  }
  static std::string Tvk(const std::string& task, const std::string& rest = "") {
    const std::string command = TVK_PROGRAM " " + task + (rest.empty() ? "" : " " + rest);
    return task.starts_with("tok") ? command : command + " --encoding gbk";
  }
  static std::string Tolvek(const std::string& task, const std::string& from,
                            const std::string& to) {
    return TOLVEK_PROGRAM " -t " + task + " -i " + from + " -o " + to;
  }

  /// The status of a command; what it wrote is left in `_out` and `_err`. A redirection in the
  /// command itself goes before.
  int Run(const std::string& command, const std::function<void()>& prepare = {}) {
    const std::string exec = command.starts_with("{") ? "sh -c '" + command + "'" : command;
    Child child(">out.txt 2>err.txt " + exec, prepare);
    const int status = child.Wait();
    _out = Get("out.txt");
    _err = Get("err.txt");
    return status;
  }
  /// What a task makes of its input when nothing is wrong; a text of some kilobytes.
  std::string GoodOf(const std::string& task, const std::string& program) {
    const std::string input = InputOf(task);
    if (program == "tvk") {
      EXPECT_EQ(Run(Tvk(task, input)), 0) << _err;
      return _out;
    }
    EXPECT_EQ(Run(Tolvek(task, input, "good")), 0) << _err;
    const std::string good = Get("good");
    fs::remove("good");
    return good;
  }
  /// The files of the working folder but for those that the test itself makes.
  static std::vector<std::string> Results() {
    static const std::set<std::string> own{"data",      "chinese.gbk", "english.txt",
                                           "words.gbk", "out.txt",     "err.txt"};
    std::vector<std::string> names = NamesIn(".");
    std::erase_if(names, [](const std::string& name) { return own.contains(name); });
    return names;
  }
  /// A text with so much output that no pipe holds it.
  static std::string PutLarge(const std::string& path) {
    const std::string part = Get("chinese.gbk");
    std::string text;
    while (text.size() < 3'000'000) text += part;
    Put(path, text);
    return text;
  }
  /// Waits for something that happens soon; false when it doesn't.
  template <class Condition>
  static bool Await(const Condition& condition) {
    for (int i = 0; i < 20'000; ++i) {
      if (condition()) return true;
      ::usleep(1000);
    }
    return false;
  }
  static bool IsWhole(const std::string& lines, const std::string& good) {
    return lines.ends_with('\n') && good.starts_with(lines);
  }
  /// Is a signal (also) handled by the program itself now?
  static bool Handles(const Child& child, int signal) {
    std::ifstream status("/proc/" + std::to_string(child.Id()) + "/status");
    for (std::string line; std::getline(status, line);) {
      if (!line.starts_with("SigCgt:")) continue;
      return (std::stoull(line.substr(7), nullptr, 16) >> (signal - 1) & 1U) != 0;
    }
    return false;
  }

  std::string _out;
  std::string _err;

 private:
  sighandler_t _pipe;
};

// A full disk.

TEST_F(Faults, TvkTellsThatTheDiskIsFull) {
  for (const std::string task : kTasks) {
    const std::string input = InputOf(task);
    EXPECT_EQ(Run(Tvk(task, input) + " >/dev/full"), 1) << task;
    EXPECT_EQ(_err, "tvk: standard output: No space left on device\n");
    EXPECT_EQ(Run(Tvk(task, input + " -o /dev/full")), 1) << task;
    EXPECT_EQ(_err, "tvk: /dev/full: No space left on device\n");

    const std::string good = GoodOf(task, "tvk");
    ASSERT_GT(good.size(), 1500U) << task;
    for (const bool isIgnored : {false, true}) {
      if (isIgnored && task != "tok") continue;
      const auto limit = [isIgnored] {
        LimitFiles(1500);
        if (isIgnored) ::signal(SIGXFSZ, SIG_IGN);
      };
      EXPECT_EQ(Run(Tvk(task, input + " -j 2"), limit), 1) << task;
      EXPECT_EQ(_out, good.substr(0, 1500)) << task << ": as far as it went";
      EXPECT_EQ(_err, "tvk: standard output: File too large\n");
      Put("result", "old");
      EXPECT_EQ(Run(Tvk(task, input + " -o result"), limit), 1) << task;
      EXPECT_EQ(_err, "tvk: result: File too large\n");
      EXPECT_EQ(Get("result"), "old") << task;
      EXPECT_EQ(Results(), (std::vector<std::string>{"result"})) << task;
    }
  }
}

TEST_F(Faults, EveryTvkCommandTellsThatItsOutputIsNotWritten) {
  Put("words", "我 来到 北京\n");
  for (const std::string command :
       {"--help", "--version", "seg --help", "version", "check data/abbtitle",
        "check --json data/abbtitle", "text words", "eval seg words words",
        "eval seg words words --json"}) {
    const std::string tvk = TVK_PROGRAM " " + command;
    EXPECT_EQ(Run(tvk), 0) << command << _err;
    EXPECT_EQ(Run(tvk + " >/dev/full"), 1) << command;
    EXPECT_NE(_err.find("tvk: standard output: No space left on device\n"), std::string::npos)
        << command << ": " << _err;
    EXPECT_EQ(Run(tvk + " >&-"), 1) << command;
    EXPECT_NE(_err.find("tvk: standard output: Bad file descriptor\n"), std::string::npos)
        << command << ": " << _err;
  }
}

TEST_F(Faults, TolvekLosesTheLinesThatAFullDiskDoesNotTake) {
  for (const std::string task : kTasks) {
    const std::string input = InputOf(task);
    const std::string good = GoodOf(task, "tolvek");
    ASSERT_GT(good.size(), 1500U) << task;
    EXPECT_EQ(Run(Tolvek(task, input, "/dev/full")), 0) << task;
    EXPECT_TRUE(_out.ends_with(" secs.\n")) << _out;
    const auto ignored = [] {
      LimitFiles(1500);
      ::signal(SIGXFSZ, SIG_IGN);
    };
    EXPECT_EQ(Run(Tolvek(task, input, "result"), ignored), 0) << task;
    EXPECT_TRUE(_out.ends_with(" secs.\n")) << _out;
    EXPECT_EQ(Get("result"), good.substr(0, 1500)) << task;
    if (task != "tok") continue;
    EXPECT_EQ(Run(Tolvek(task, input, "result"), [] { LimitFiles(1500); }), EndedBy(SIGXFSZ));
    EXPECT_EQ(Get("result"), good.substr(0, 1500)) << task;
    // What it tells is lost, the result is not.
    EXPECT_EQ(Run(Tolvek(task, input, "result") + " >/dev/full 2>&1"), 0) << task;
    EXPECT_EQ(Get("result"), good) << task;
  }
}

// A reader that goes away.

TEST_F(Faults, TvkEndsQuietlyBySigpipeWhenTheReaderLeaves) {
  PutLarge("large");
  ASSERT_EQ(::mkfifo("fifo", 0600), 0);
  for (const std::string arguments : {"large -j 1", "large -j 2", "large -o /dev/stdout"}) {
    Child child(Tvk("seg", arguments) + " 2>err.txt");
    EXPECT_TRUE(child.ReadLine().ends_with('\n'));
    child.CloseOutput();
    EXPECT_EQ(child.WaitWithOpenInput(), EndedBy(SIGPIPE)) << arguments;
    EXPECT_EQ(Get("err.txt"), "");

    Child ignoring(Tvk("seg", arguments) + " 2>err.txt", IgnorePipe);
    EXPECT_TRUE(ignoring.ReadLine().ends_with('\n'));
    ignoring.CloseOutput();
    EXPECT_EQ(ignoring.WaitWithOpenInput(), 1) << arguments;
    EXPECT_EQ(Get("err.txt"), arguments.ends_with("stdout")
                                  ? "tvk: /dev/stdout: Broken pipe\n"
                                  : "tvk: standard output: Broken pipe\n");
  }
  EXPECT_EQ(Results(), (std::vector<std::string>{"fifo", "large"}));
  // The shell's view: a pipeline ends, and tells why.
  EXPECT_EQ(Run("{ " + Tvk("seg", "large") + " | head -n 1; }"), 0);
  EXPECT_EQ(std::count(_out.begin(), _out.end(), '\n'), 1);
  EXPECT_EQ(_err, "");
}

TEST_F(Faults, TvkNoticesWhileIdleThatTheReaderLeaves) {
  for (const std::string threads : {"1", "2"}) {
    for (const bool isIgnored : {false, true}) {
      Child child(Tvk("tok", "-j " + threads + " 2>err.txt"),
                  isIgnored ? IgnorePipe : std::function<void()>());
      child.Write("It's so.\n");
      ASSERT_EQ(child.ReadLine(), "It 's so .\n");
      child.CloseOutput();
      EXPECT_EQ(child.WaitWithOpenInput(), isIgnored ? 1 : EndedBy(SIGPIPE)) << threads;
      EXPECT_EQ(Get("err.txt"), isIgnored ? "tvk: standard output: Broken pipe\n" : "");
    }
  }
}

TEST_F(Faults, NoTemporaryFileIsLeftWhenTheReaderOfMessagesLeaves) {
  Put("text", "a\n");
  Child child(Tvk("tok", "- -o result --progress 2>&1"));
  child.Write("a\n");
  ASSERT_TRUE(Await([] { return Results().size() == 2; })) << "the temporary file and the text";
  child.CloseOutput();
  EXPECT_EQ(child.Wait(), EndedBy(SIGPIPE));
  EXPECT_EQ(Results(), (std::vector<std::string>{"text"}));
}

TEST_F(Faults, TolvekEndsBySigpipeWhenTheReaderLeaves) {
  PutLarge("large");
  for (const bool isIgnored : {false, true}) {
    Child child(Tolvek("seg", "large", "/dev/fd/3") + " 3>&1 >told 2>err.txt",
                isIgnored ? IgnorePipe : std::function<void()>());
    EXPECT_TRUE(child.ReadLine().ends_with(" \n"));
    child.CloseOutput();
    // Lines that cannot be written are lost, as on a full disk.
    EXPECT_EQ(child.Wait(), isIgnored ? 0 : EndedBy(SIGPIPE));
    EXPECT_EQ(Get("told").ends_with(" secs.\n"), isIgnored);
  }
}

// Closed standard streams.

TEST_F(Faults, ClosedStandardStreamsDoNoHarm) {
  for (const std::string task : kTasks) {
    const std::string input = InputOf(task);
    const std::string tvkGood = GoodOf(task, "tvk");
    const std::string tolvekGood = GoodOf(task, "tolvek");
    for (const std::string closed :
         {"<&- >&- 2>&-", "<&-", ">&-", "2>&-", "<&- >&-", "<&- 2>&-", ">&- 2>&-"}) {
      // "pos" tells its progress where the others tell nothing.
      if (closed != "<&- >&- 2>&-" && task != "pos" && task != "tok") continue;
      EXPECT_EQ(Run(Tolvek(task, input, "result") + " " + closed), 0) << closed;
      EXPECT_EQ(Get("result"), tolvekGood) << task << " " << closed;
      if (task == "pos" && closed != "<&- >&- 2>&-") continue;
      EXPECT_EQ(Run(Tvk(task, input + " -o result --progress") + " " + closed), 0) << closed;
      EXPECT_EQ(Get("result"), tvkGood) << task << " " << closed;
    }
    EXPECT_EQ(Run(Tvk(task) + " <&-"), 1);
    EXPECT_EQ(_err, "tvk: standard input: Bad file descriptor\n");
    EXPECT_EQ(Run(Tvk(task, input) + " >&-"), 1);
    EXPECT_EQ(_err, "tvk: standard output: Bad file descriptor\n");
  }
}

// An input that cannot be read.

TEST_F(Faults, TvkTellsWhichInputCannotBeRead) {
  fs::create_directory("folder");
  fs::create_symlink("loop", "loop");
  const std::string good = GoodOf("seg", "tvk");
  const std::map<std::string, std::string> reasons{
      {"none", "none: No such file or directory"},
      {"folder", "folder: is a folder, not a file"},
      {"loop", "loop: Too many levels of symbolic links"},
      {"english.txt/text", "english.txt/text: Not a directory"}};
  for (const auto& [name, reason] : reasons) {
    for (const std::string& inputs : {name, "chinese.gbk " + name}) {
      EXPECT_EQ(Run(Tvk("seg", inputs)), 1);
      EXPECT_EQ(_out, "") << "told before anything is written";
      EXPECT_EQ(_err, "tvk: " + reason + "\n");
    }
    for (const std::string& command : {"text " + name, "eval seg chinese.gbk " + name}) {
      EXPECT_EQ(Run(TVK_PROGRAM " " + command), 1) << command;
      EXPECT_EQ(_err, "tvk: " + reason + "\n");
    }
  }
  // An error in the middle of reading: what was read before is written.
  const std::string broken = "/proc/self/mem: Input/output error\n";
  for (const std::string threads : {" -j 1", " -j 2"}) {
    EXPECT_EQ(Run(Tvk("seg", "chinese.gbk /proc/self/mem" + threads)), 1);
    EXPECT_EQ(_out, good);
    EXPECT_EQ(_err, "tvk: " + broken);
  }
  EXPECT_EQ(Run(TVK_PROGRAM " text /proc/self/mem"), 1);
  EXPECT_EQ(_err, "tvk: " + broken);
  EXPECT_EQ(Run(Tvk("seg", "chinese.gbk /proc/self/mem -o result")), 1);
  EXPECT_EQ(Results(), (std::vector<std::string>{"folder", "loop"}));
}

TEST_F(Faults, TvkTellsThatTheStandardInputCannotBeRead) {
  Put("words", "a\n");
  for (const std::string command : {"seg", "text -", "eval seg words -"}) {
    EXPECT_EQ(Run(TVK_PROGRAM " " + command + " <."), 1) << command;
    EXPECT_EQ(_err, "tvk: standard input: is a folder, not a file\n") << command;
    EXPECT_EQ(Run(TVK_PROGRAM " " + command + " <&-"), 1) << command;
    EXPECT_EQ(_err, "tvk: standard input: Bad file descriptor\n") << command;
    EXPECT_EQ(_out, "") << command;
  }
}

TEST_F(Faults, TolvekGoesOnWithoutInput) {
  fs::create_directory("folder");
  fs::create_symlink("loop", "loop");
  for (const std::string task : kTasks) {
    for (const std::string input : {"none", "loop", "english.txt/text"}) {
      if (input != "loop" && task != "tok") continue;
      Put("result", "old");
      EXPECT_EQ(Run(Tolvek(task, input, "result")), 0) << task;
      EXPECT_NE(_err.find(input), std::string::npos) << _err;
      EXPECT_TRUE(_out.starts_with("It takes ")) << _out;
      EXPECT_EQ(Get("result"), "old") << "not opened";
    }
    for (const std::string input : {"folder", "/proc/self/mem"}) {  // can be opened, not read
      if (input != "folder" && task != "tok") continue;
      Put("result", "old");
      EXPECT_EQ(Run(Tolvek(task, input, "result")), 0) << task;
      EXPECT_NE((_out + _err).find("\n0 sentences in total.\n"), std::string::npos) << task << _err;
      EXPECT_EQ(Get("result"), "");
    }
  }
}

TEST_F(Faults, AnInputThatShrinksMeanwhileEndsThere) {
  PutLarge("large");
  ASSERT_EQ(Run(Tvk("seg", "large")), 0);
  const std::string tvkGood = _out;
  ASSERT_EQ(Run(Tolvek("seg", "large", "good")), 0);
  const std::string tolvekGood = Get("good");
  for (const bool isTvk : {true, false}) {
    PutLarge("large");
    const std::string command =
        isTvk ? Tvk("seg", "large") : Tolvek("seg", "large", "/dev/fd/3") + " 3>&1 >told";
    Child child(command + " 2>err.txt");
    std::string found = child.ReadLine();
    fs::resize_file("large", 0);
    found += child.ReadRest();
    EXPECT_EQ(child.Wait(), 0);
    const std::string& good = isTvk ? tvkGood : tolvekGood;
    EXPECT_LT(found.size(), good.size());
    ASSERT_TRUE(found.ends_with('\n'));
    // What was read may have been cut in a line.
    found.resize(found.rfind('\n', found.size() - 2) + 1);
    EXPECT_GT(found.size(), 0U);
    EXPECT_TRUE(good.starts_with(found)) << isTvk;
  }
}

// Input and output the same.

TEST_F(Faults, TvkKeepsTheInputThatIsAlsoTheOutput) {
  for (const std::string task : {"seg", "tok"}) {
    const std::string text = Get(InputOf(task));
    const std::string good = GoodOf(task, "tvk");
    const auto put = [&] {
      for (const char* name : {"a", "hard", "soft"}) fs::remove(name);
      Put("a", text);
      fs::create_hard_link("a", "hard");
      fs::create_symlink("a", "soft");
    };
    for (const std::string name : {"a", "hard", "soft"}) {
      put();
      EXPECT_EQ(Run(Tvk(task, "a -o " + name)), 0) << task << _err;
      EXPECT_EQ(Get(name), good);
      EXPECT_EQ(Get("a"), name == "hard" ? text : good) << "a new file has taken the name";
      EXPECT_TRUE(fs::is_symlink("soft"));
      put();
      for (const std::string out : {"", " -o /dev/stdout"}) {
        EXPECT_EQ(Run(Tvk(task, "a" + out) + " >>" + name), 1) << task << out;
        EXPECT_EQ(Get("a"), text);
        EXPECT_EQ(_err, "tvk: a: is the file that is written\n");
      }
    }
  }
}

TEST_F(Faults, TolvekEmptiesTheInputThatIsAlsoTheOutput) {
  for (const std::string task : kTasks) {
    for (const std::string name : {"a", "hard", "soft"}) {
      if (name != "a" && task != "tok") continue;
      for (const char* old : {"a", "hard", "soft"}) fs::remove(old);
      Put("a", Get(InputOf(task)));
      fs::create_hard_link("a", "hard");
      fs::create_symlink("a", "soft");
      // The input is opened, then the output is emptied, then lines are read.
      EXPECT_EQ(Run(Tolvek(task, "a", name)), 0) << task;
      EXPECT_NE((_out + _err).find("\n0 sentences in total.\n"), std::string::npos) << _out;
      EXPECT_EQ(Get("a"), "") << task;
      EXPECT_EQ(Get("hard"), "") << task;
    }
  }
}

TEST_F(Faults, AnOutputThatCannotBeIsToldAtOnce) {
  fs::create_directory("folder");
  for (const std::string task : {"seg", "tok"}) {
    EXPECT_EQ(Run(Tvk(task, "none -o folder")), 1);
    EXPECT_EQ(_err, "tvk: folder: is a folder, not a file\n");
    EXPECT_EQ(Run(Tvk(task, "none -o nowhere/result")), 1);
    EXPECT_EQ(_err, "tvk: nowhere/result: cannot be written (No such file or directory)\n");
    for (const std::string output : {"folder", "nowhere/result"}) {
      EXPECT_EQ(Run(Tolvek(task, InputOf(task), output)), 0) << "lines are lost silently";
      EXPECT_TRUE(_out.ends_with(" secs.\n")) << _out;
    }
  }
  EXPECT_EQ(Results(), (std::vector<std::string>{"folder"}));
  EXPECT_TRUE(fs::is_empty("folder"));
}

// Signals.

TEST_F(Faults, TvkFinishesItsLinesAtASignal) {
  PutLarge("large");
  ASSERT_EQ(Run(Tvk("seg", "large")), 0);
  const std::string good = _out;
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
    for (const std::string threads : {"1", "2"}) {
      // The pipe is full: it is writing.
      Child child(Tvk("seg", "large -j " + threads) + " 2>err.txt");
      std::string found = child.ReadLine();
      child.Signal(signal);
      found += child.ReadRest();
      EXPECT_EQ(child.WaitWithOpenInput(), EndedBy(signal)) << threads;
      EXPECT_TRUE(IsWhole(found, good)) << signal << ", " << threads << " threads";
      EXPECT_LT(found.size(), good.size());
      EXPECT_EQ(Get("err.txt"), "");
    }
  }
  for (const std::string task : kTasks) {
    // All that was read is finished, though no more input comes.
    Child child(Tvk(task));
    const std::string input = Get(InputOf(task));
    const std::string two = input.substr(0, input.find('\n', input.find('\n') + 1) + 1);
    child.Write(two);
    std::string found = child.ReadLine();
    child.Signal(SIGTERM);
    found += child.ReadRest();
    EXPECT_EQ(child.WaitWithOpenInput(), EndedBy(SIGTERM)) << task;
    EXPECT_TRUE(IsWhole(found, GoodOf(task, "tvk"))) << task;
    EXPECT_EQ(std::count(found.begin(), found.end(), '\n'), 2) << task;
  }
}

TEST_F(Faults, AnIgnoredSignalDoesNothing) {
  Child child(Tvk("tok"), [] { ::signal(SIGHUP, SIG_IGN); });
  child.Write("a\n");
  ASSERT_EQ(child.ReadLine(), "a\n");
  child.Signal(SIGHUP);
  child.Write("b\n");
  EXPECT_EQ(child.ReadLine(), "b\n");
  EXPECT_EQ(child.Wait(), 0);
}

TEST_F(Faults, TvkEndsThoughNobodyTakesItsLines) {
  PutLarge("large");
  Child patient(Tvk("seg", "large"));
  ASSERT_TRUE(patient.ReadLine().ends_with('\n'));
  patient.Signal(SIGINT);
  EXPECT_EQ(patient.WaitWithOpenInput(), EndedBy(SIGINT)) << "after two seconds";

  int status = 0;
  for (int i = 0; i < 5 && status != EndedBy(SIGTERM); ++i) {  // the two seconds may be over
    Child hasty(Tvk("seg", "large"));
    ASSERT_TRUE(hasty.ReadLine().ends_with('\n'));
    ASSERT_FALSE(Handles(hasty, SIGALRM));
    hasty.Signal(SIGINT);
    ASSERT_TRUE(Await([&] { return Handles(hasty, SIGALRM); })) << "the first signal has arrived";
    hasty.Signal(SIGTERM);
    status = hasty.WaitWithOpenInput();
  }
  EXPECT_EQ(status, EndedBy(SIGTERM)) << "the second one ends it at once";
}

TEST_F(Faults, ASignalLeavesTheOldResultOnly) {
  for (const std::string task : {"seg", "tok"}) {
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGKILL}) {
      Put("result", "old");
      Child child(Tvk(task, "-o result"));
      child.Write("a\n");
      ASSERT_TRUE(Await([] { return Results().size() == 2; })) << "result and a temporary file";
      child.Signal(signal);
      EXPECT_EQ(child.WaitWithOpenInput(), EndedBy(signal));
      EXPECT_EQ(Get("result"), "old");
      if (signal != SIGKILL) {
        EXPECT_EQ(Results(), (std::vector<std::string>{"result"})) << signal;
      }
      for (const std::string& name : Results()) fs::remove(name);
    }
  }
}

TEST_F(Faults, TolvekEndsBehindAWholeLineAtASignal) {
  ASSERT_EQ(::mkfifo("in", 0600), 0);
  for (const std::string task : kTasks) {
    const std::string good = GoodOf(task, "tolvek");
    const std::string text = Get(InputOf(task));
    for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGKILL}) {
      if (signal != SIGTERM && task != "tok") continue;
      Child child(Tolvek(task, "in", "result") + " >told 2>&1");
      std::ofstream in("in");
      in << text.substr(0, text.size() / 2) << std::flush;
      std::error_code ignored;
      ASSERT_TRUE(Await([&] { return fs::file_size("result", ignored) + 2000 > good.size() / 2; }));
      child.Signal(signal);
      EXPECT_EQ(child.WaitWithOpenInput(), EndedBy(signal)) << task;
      EXPECT_TRUE(IsWhole(Get("result"), good)) << task << signal;
      EXPECT_LT(Get("result").size(), good.size());
      fs::remove("result");
    }
  }
}

}  // namespace
}  // namespace Tolvek
