// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

#include "tvk/text/Encoding.h"
#include "tvk/train/Corpus.h"

namespace Tolvek {

/// Adds an option whose values have names; help lists them and marks the default.
template <class Value>
CLI::Option* AddChoice(CLI::App& command, const std::string& name, Value& value,
                       const std::vector<std::pair<std::string, Value>>& names,
                       const std::string& help) {
  std::string list;
  std::string byDefault;
  for (const auto& [text, named] : names) {
    list += (list.empty() ? "" : ", ") + text;
    if (named == value) byDefault = text;
  }
  return command
      .add_option_function<std::string>(
          name,
          [&value, &names](const std::string& given) {
            for (const auto& [text, named] : names) {
              if (text == given) value = named;
            }
          },
          help + " (" + list + ")")
      ->check(CLI::Validator(
          [&names, list](const std::string& given) {
            for (const auto& [text, named] : names) {
              if (text == given) return std::string();
            }
            return "one of " + list + " expected, found \"" + given + "\"";
          },
          ""))
      ->type_name("NAME")
      ->default_str(byDefault)
      ->option_text("NAME [" + byDefault + "]");
}

inline void AddEncoding(CLI::App& command, Encoding& encoding) {
  AddChoice(command, "--encoding", encoding, EncodingNames(),
            "Encoding of the files; auto: UTF-8 if a whole file is well-formed UTF-8, else GBK");
}

inline void AddTagging(CLI::App& command, const std::string& name, Tagging& tagging,
                       const std::string& whose) {
  AddChoice(
      command, name, tagging, TaggingNames(),
      "Are the words of " + whose + " written WORD/TAG? auto: yes if most items of a file look so");
}

}  // namespace Tolvek
