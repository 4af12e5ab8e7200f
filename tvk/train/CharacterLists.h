// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Tolvek {

/// Builds the binary character resource from the readable lists of a folder: "Punc.txt",
/// "ANum.txt", "CNum1.txt", "CNum2.txt", "EChar.txt", "Date.txt", "CFamilyName.txt",
/// "CGivenName.txt" and "ForeignName.txt".
///
/// A list is UTF-8 text: entries separated by white space, "#" begins a comment at the start of a
/// line, blank lines mean nothing. "CFamilyName.txt" has two sections, separated by the line
/// "== second ==". The codes are those that `CharType` gives to the same lists, byte for byte the
/// same file; an entry met again is reported in `warnings`, one line each, as the core would report
/// it.
///
/// Returns the file's bytes. Throws `Failure` that names the list, the line and what was expected.
std::string BuildCharacterResource(const std::string& folder, std::string& warnings);

}  // namespace Tolvek
