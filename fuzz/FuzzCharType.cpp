// SPDX-License-Identifier: Apache-2.0
#include "chinese/CharType.h"
#include "fuzz/FuzzInput.h"

/// Character resources: the binary form, and the same bytes as a text list.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string path = Tolvek::WriteInput("data/binarySource", bytes, size);
  Tolvek::Survive([&] {
    Tolvek::CharType types;
    types.Initialize(true);
    types.GetCharType("1");
    types.BuildChineseNameType(path, path);
    Tolvek::TextTable table;
    Tolvek::CharType::BuildCharacterType(3, path, table);
  });
  return 0;
}
