// SPDX-License-Identifier: Apache-2.0
#pragma once

#if defined(__SANITIZE_THREAD__)
#define TOLVEK_TELLS_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TOLVEK_TELLS_THREAD_SANITIZER 1
#endif
#endif

#ifdef TOLVEK_TELLS_THREAD_SANITIZER
#include <sanitizer/tsan_interface.h>
#endif

namespace Tolvek {

/// Tells ThreadSanitizer, which does not see into a library that was built without it, what that
/// library takes care of: something goes from thread to thread, and only one has it at a time.
/// Stands beside what is handed over; the thread that makes it gives it for the first time, and the
/// one that destroys it takes it for the last time. In other builds nothing happens.
class HandOver {
 public:
  HandOver() { Give(); }
  ~HandOver() { Take(); }
  HandOver(const HandOver&) = delete;
  HandOver& operator=(const HandOver&) = delete;

  /// What all threads did until they gave comes before what this one does from now on.
  void Take() {
#ifdef TOLVEK_TELLS_THREAD_SANITIZER
    __tsan_acquire(this);
#endif
  }
  void Give() {
#ifdef TOLVEK_TELLS_THREAD_SANITIZER
    __tsan_release(this);
#endif
  }
};

/// The time that one thread has it: until the end of the scope.
class Turn {
 public:
  explicit Turn(HandOver& handOver) : _handOver(handOver) { _handOver.Take(); }
  ~Turn() { _handOver.Give(); }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  HandOver& _handOver;
};

}  // namespace Tolvek
