// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace Tolvek {

/// A file, or the standard output ("-"), that is written to as soon as it is given something.
/// Where nobody reads any more (as behind `head`), SIGPIPE ends the program; if its caller ignores
/// that signal, it is a failure like any other.
class OutputFile {
 public:
  /// Messages call the file `name`. Throws `Failure` when it cannot be opened.
  OutputFile(const std::string& path, const std::string& name);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Throws `Failure` when it cannot be written.
  void Write(std::string_view bytes) const;

  /// To be called at the end of a file: throws `Failure` when the system tells only now that it
  /// was not written.
  void Close();

  /// What a write does where nobody reads any more.
  [[noreturn]] void FailAsUnread() const;

  /// What the system knows it by.
  int Descriptor() const { return _file; }

 private:
  std::string _name;
  int _file;
};

}  // namespace Tolvek
