// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace Tolvek {

/// A command of the shell that runs while the test goes on, with pipes as its standard input and
/// output. Signals do what they do by default, whatever the caller of the test has them do.
class Child {
 public:
  /// `prepare` is called in the new process: for limits and ignored signals.
  explicit Child(const std::string& command, const std::function<void()>& prepare = {}) {
    std::array<int, 2> in{};
    std::array<int, 2> out{};
    if (::pipe2(in.data(), O_CLOEXEC) != 0 || ::pipe2(out.data(), O_CLOEXEC) != 0) std::abort();
    _pid = ::fork();
    if (_pid == 0) {
      ::dup2(in[0], STDIN_FILENO);
      ::dup2(out[1], STDOUT_FILENO);
      for (const int number : {SIGHUP, SIGINT, SIGPIPE, SIGQUIT, SIGTERM, SIGXFSZ}) {
        ::signal(number, SIG_DFL);
      }
      const rlimit none{0, 0};
      ::setrlimit(RLIMIT_CORE, &none);
      if (prepare) prepare();
      ::execl("/bin/sh", "sh", "-c", ("exec " + command).c_str(), nullptr);
      ::_exit(127);
    }
    ::close(in[0]);
    ::close(out[1]);
    _in = in[1];
    _out = out[0];
  }
  ~Child() {
    CloseInput();
    CloseOutput();
    if (_pid > 0) {
      ::kill(_pid, SIGKILL);
      ::waitpid(_pid, nullptr, 0);
    }
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  void Write(std::string_view bytes) const {
    while (!bytes.empty()) {
      const ssize_t written = ::write(_in, bytes.data(), bytes.size());
      ASSERT_GT(written, 0);
      bytes.remove_prefix(static_cast<std::size_t>(written));
    }
  }
  /// Up to a line feed, or what there is after 20 s without anything new.
  std::string ReadLine() const {
    std::string line;
    char c = 0;
    while (!line.ends_with('\n') && IsThereMore() && ::read(_out, &c, 1) == 1) line += c;
    return line;
  }
  /// Up to the end of the output, or what there is after 20 s without anything new.
  std::string ReadRest() const {
    std::string rest;
    std::array<char, 4096> part;
    ssize_t count = 0;
    while (IsThereMore() && (count = ::read(_out, part.data(), part.size())) > 0) {
      rest.append(part.data(), static_cast<std::size_t>(count));
    }
    return rest;
  }
  void CloseInput() {
    if (_in >= 0) ::close(std::exchange(_in, -1));
  }
  void CloseOutput() {
    if (_out >= 0) ::close(std::exchange(_out, -1));
  }
  void Signal(int signal) const { ::kill(_pid, signal); }
  /// The exit status as the shell tells it: 128 and the number of the signal that ended it.
  int Wait() {
    CloseInput();
    return WaitWithOpenInput();
  }
  /// The same for a program that should end by itself; -1 when it goes on for 20 s.
  int WaitWithOpenInput() {
    int status = 0;
    for (int i = 0; i < 2000; ++i) {
      if (::wait4(_pid, &status, _in < 0 ? 0 : WNOHANG, &_usage) == _pid) {
        _pid = -1;
        return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
      }
      ::usleep(10000);
    }
    return -1;
  }
  /// Looks, without waiting.
  bool HasEnded() const {
    siginfo_t info{};
    return ::waitid(P_PID, static_cast<id_t>(_pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           info.si_pid == _pid;
  }
  pid_t Id() const { return _pid; }
  /// The most memory it had, in KB; after `Wait`.
  long PeakMemory() const { return _usage.ru_maxrss; }

 private:
  bool IsThereMore() const {
    struct pollfd watched {
      _out, POLLIN, 0
    };
    return ::poll(&watched, 1, 20000) == 1;
  }

  pid_t _pid = -1;
  int _in = -1;
  int _out = -1;
  struct rusage _usage {};
};

}  // namespace Tolvek
