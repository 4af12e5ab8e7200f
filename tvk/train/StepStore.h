// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "tvk/text/Fingerprint.h"
#include "tvk/text/StepLog.h"

namespace Tolvek {

/// Keeps the results of a training's long steps in a folder beside its output, so that a run that
/// was interrupted is gone on with: the next run takes over what is kept and computes the rest. As
/// only finished steps are kept, and bit for bit, its models are those of an undisturbed run.
///
/// Steps are told apart by their order. The fingerprint in the folder's name stands for all that
/// they depend on.
class StepStore {
 public:
  /// Which steps an earlier run may have left to take over.
  enum class Kept { kTakenOver, kDropped };

  /// Keeps nothing.
  StepStore() = default;

  /// Keeps steps in the folder `out`/`prefix``fingerprint`. That and others of the same prefix are
  /// looked at when the first step comes up: before, nothing is made or removed. Borrows the log.
  StepStore(const std::filesystem::path& out, const std::string& prefix,
            const Fingerprint& fingerprint, Kept kept, StepLog& log);

  /// Begins the next step. True when its result was kept: `values` then have it. A result of
  /// another size than `values` is none of this step's; it and a damaged file are reported.
  template <class Value>
  bool Take(const std::string& name, std::vector<Value>& values) {
    static_assert(std::is_trivially_copyable_v<Value>);
    return TakeBytes(name, std::as_writable_bytes(std::span(values)));
  }

  /// Keeps the result of the step that was begun last. When that fails, it is reported, and the
  /// run goes on.
  template <class Value>
  void Keep(const std::vector<Value>& values) {
    static_assert(std::is_trivially_copyable_v<Value>);
    KeepBytes(std::as_bytes(std::span(values)));
  }

  /// The run is complete: removes the folder.
  void Done();

 private:
  bool TakeBytes(const std::string& name, std::span<std::byte> values);
  void KeepBytes(std::span<const std::byte> values);
  void Prepare();
  std::filesystem::path File() const;

  std::filesystem::path _folder;  ///< empty: nothing is kept
  std::string _prefix;
  Kept _kept = Kept::kTakenOver;
  StepLog* _log = nullptr;
  int _step = 0;  ///< the number of the step that was begun last
};

}  // namespace Tolvek
