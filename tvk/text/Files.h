// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Tolvek {

/// The whole file, "-" being the standard input. Throws `Failure` when it cannot be read.
std::string ReadWholeFile(const std::string& path);

/// The lines of a text, without line feeds and without a carriage return before one. A byte-order
/// mark of UTF-8 at the start is dropped.
std::vector<std::string_view> SplitLines(std::string_view text);

/// The pieces of a line between blanks, tabs and carriage returns.
std::vector<std::string_view> SplitAtBlanks(std::string_view line);

/// Is there nothing at this path, a file or a folder? A pipe or a device is not to be replaced, nor
/// what is open already (/dev/stdout, /dev/fd/3), which has to be added to.
bool IsReplaceable(const std::string& path);

/// Writes `path`, a file or a folder, by way of one beside it that is renamed at the end, so that
/// `path` never holds half a result, not even after a power cut (a pipe or a device is written to
/// as it is). `write` is given the name to write to and says whether it succeeded. Throws `Failure`
/// when it did not; nothing is left, then, either.
void WriteBeside(const std::string& path,
                 const std::function<bool(const std::string& besidePath)>& write);

/// The same for content in memory; "-" is the standard output.
void WriteWholeFile(const std::string& path, std::string_view content);

/// Makes the folder that this path lies in, if it is not there. Throws `Failure` when that fails.
void MakeFolderOf(const std::string& path);

/// Fails early: throws `Failure` when no file can be made at this path's place.
void CheckWritable(const std::string& path);

}  // namespace Tolvek
