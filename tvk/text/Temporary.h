// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Tolvek {

/// The name of a file or folder that is removed at the end of the object's life, if it is there
/// then, and also when a signal ends the program (one that can be caught). In that case a folder is
/// removed if it is empty: what it holds must be temporary, too.
class Temporary {
 public:
  /// To be made before the file is.
  explicit Temporary(const std::string& path);
  ~Temporary();
  Temporary(const Temporary&) = delete;
  Temporary& operator=(const Temporary&) = delete;

  /// Absolute.
  const std::string& Path() const { return *_path; }

 private:
  const std::string* _path;  ///< never freed, as a signal may come at any time
};

}  // namespace Tolvek
