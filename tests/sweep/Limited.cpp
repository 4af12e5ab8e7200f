// SPDX-License-Identifier: Apache-2.0
#include "sweep/Limited.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "unit/Fixtures.h"

namespace Tolvek {

namespace {

constexpr rlim_t kBytes = rlim_t{1} << 30U;
constexpr rlim_t kProcessorSeconds = 10;
/// Longer, as other programs may be running.
constexpr unsigned kClockSeconds = 30;

void Limit(decltype(RLIMIT_CPU) resource, rlim_t most) {
  const rlimit limit{most, most};
  if (::setrlimit(resource, &limit) != 0) ::_exit(127);
}

void Redirect(const char* path, int descriptor) {
  ::dup2(::open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600), descriptor);
}

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

}  // namespace

Ending RunLimited(std::vector<std::string> arguments) {
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    Limit(RLIMIT_CORE, 0);
    Limit(RLIMIT_CPU, kProcessorSeconds);
    if (kIsSanitized) {
      ::setenv("ASAN_OPTIONS", "hard_rss_limit_mb=1024:allocator_may_return_null=0:detect_leaks=0",
               1);
    } else {
      Limit(RLIMIT_AS, kBytes);
    }
    ::alarm(kClockSeconds);  // it stays when the program takes over
    Redirect("stdout", STDOUT_FILENO);
    Redirect("stderr", STDERR_FILENO);
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  int status = 0;
  rusage usage{};
  EXPECT_EQ(::wait4(child, &status, 0, &usage), child);
  Ending ending;
  ending.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  ending.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  ending.seconds = Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
  ending.megabytes = static_cast<double>(usage.ru_maxrss) / 1024;
  ending.out = ReadText("stdout");
  ending.err = ReadText("stderr");
  return ending;
}

}  // namespace Tolvek
