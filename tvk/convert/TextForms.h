// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Tolvek {

/// The way back from binary resources to text. The core's readers forgive much; these don't: each
/// throws `Failure` with the offset of what is wrong when the file is not exactly a resource of its
/// kind, and also when it holds what the text form cannot say. Numbers are as short as they can be
/// when they are read back to the same value.

/// Does the file begin as binary models do? False when it cannot be read.
bool IsBinaryModel(const std::string& path);

/// A maximum-entropy model as text. `MeModel::ConvertToBinaryModel` makes the same bytes of it
/// again.
std::string MaxEntText(const std::string& path);

/// A back-off language model in the ARPA format. `Ngram::ConvertToBinaryFile` makes the same bytes
/// of it again if it made the file: it numbers the words in the order in which they come up, and
/// leaves out words that no n-gram has.
std::string Arpa(const std::string& path);

/// Takes a character resource apart into the nine readable lists that `BuildCharacterResource`
/// makes the same bytes of again. Writes the folder by way of one beside it; it must be new or
/// empty.
void WriteCharacterLists(const std::string& path, const std::string& folder);

}  // namespace Tolvek
