// SPDX-License-Identifier: Apache-2.0
#include "tvk/text/Temporary.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <deque>
#include <filesystem>
#include <initializer_list>
#include <mutex>
#include <system_error>

namespace Tolvek {

namespace fs = std::filesystem;

namespace {

/// What a signal removes, in the order of their making. More than that at a time are not removed.
std::array<std::atomic<const char*>, 16> g_names;
static_assert(std::atomic<const char*>::is_always_lock_free, "for the signal handler");

const std::string* Keep(std::string path) {
  static std::mutex mutex;
  static auto& kept = *new std::deque<std::string>;
  const std::lock_guard lock(mutex);
  return &kept.emplace_back(std::move(path));
}

/// Once is enough: then the signal does what it would have done.
void RemoveAll(int number) {
  for (std::size_t i = g_names.size(); i-- > 0;) {
    const char* name = g_names[i];
    if (name != nullptr && ::unlink(name) != 0) ::rmdir(name);
  }
  ::raise(number);
}

void CatchSignals() {
  for (const int number : {SIGHUP, SIGINT, SIGPIPE, SIGQUIT, SIGTERM, SIGXCPU}) {
    struct sigaction action {};
    ::sigaction(number, nullptr, &action);
    if (action.sa_handler != SIG_DFL) continue;  // ignored, as by nohup, or caught already
    action.sa_handler = RemoveAll;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(number, &action, nullptr);
  }
}

}  // namespace

Temporary::Temporary(const std::string& path) : _path(Keep(fs::absolute(path))) {
  for (std::atomic<const char*>& name : g_names) {
    const char* none = nullptr;
    if (name.compare_exchange_strong(none, _path->c_str())) break;
  }
  CatchSignals();
}

Temporary::~Temporary() {
  std::error_code ignored;
  fs::remove_all(*_path, ignored);
  for (std::atomic<const char*>& name : g_names) {
    const char* own = _path->c_str();
    if (name.compare_exchange_strong(own, nullptr)) break;
  }
}

}  // namespace Tolvek
