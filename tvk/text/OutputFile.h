// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <string>
#include <string_view>

namespace Tolvek {

/// A file, or the standard output ("-"), that is written to as soon as it is given something.
/// A reader of the output that goes away early (as `head` does) is no failure: what comes after
/// that is dropped. SIGPIPE must be ignored for that.
class OutputFile {
 public:
  /// Throws `Failure` when it cannot be opened.
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Throws `Failure` when it cannot be written.
  void Write(std::string_view bytes);

  /// To be called at the end of a file: throws `Failure` when the system tells only now that it
  /// was not written.
  void Close();

  /// Does nobody read any more? May be asked by another thread.
  bool IsAbandoned() const { return _isAbandoned; }
  /// What the system knows it by.
  int Descriptor() const { return _file; }

 private:
  std::string _path;
  int _file;
  std::atomic<bool> _isAbandoned = false;
};

}  // namespace Tolvek
