// SPDX-License-Identifier: Apache-2.0
#include "tvk/text/StopBySignal.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

namespace Tolvek {

namespace {

constexpr unsigned kSecondsToFinish = 2;  ///< the next lines
constexpr int kSignals[] = {SIGHUP, SIGINT, SIGTERM};

std::atomic<LineBlocks*> g_blocks = nullptr;
std::atomic<int> g_signal = 0;  ///< the first that came
static_assert(std::atomic<LineBlocks*>::is_always_lock_free &&
                  std::atomic<int>::is_always_lock_free,
              "for the signal handler");

void EndNow(int /*alarm*/) {
  std::signal(g_signal, SIG_DFL);
  ::raise(g_signal);
}

void Stop(int number) {
  const int error = errno;
  int none = 0;
  LineBlocks* const blocks = g_blocks;
  if (blocks == nullptr || !g_signal.compare_exchange_strong(none, number)) {
    std::signal(number, SIG_DFL);
    ::raise(number);
    return;
  }
  blocks->Stop();
  std::signal(SIGALRM, EndNow);
  ::alarm(kSecondsToFinish);
  errno = error;
}

/// What is done at the signals, but for those that do `from` now: they are ignored, as by nohup.
void Replace(void (*from)(int), void (*to)(int)) {
  for (const int number : kSignals) {
    struct sigaction action {};
    ::sigaction(number, nullptr, &action);
    if (action.sa_handler != from) continue;
    action.sa_handler = to;
    action.sa_flags = 0;  // waiting for a named pipe's other end ends, too
    ::sigaction(number, &action, nullptr);
  }
}

}  // namespace

StopBySignal::StopBySignal(LineBlocks& blocks) {
  g_blocks = &blocks;
  Replace(SIG_DFL, Stop);
}

StopBySignal::~StopBySignal() {
  Replace(Stop, SIG_DFL);
  g_blocks = nullptr;
}

void StopBySignal::Extend() {
  if (g_signal != 0) ::alarm(kSecondsToFinish);
}

void StopBySignal::Follow() {
  if (g_signal != 0) EndNow(SIGALRM);
}

}  // namespace Tolvek
