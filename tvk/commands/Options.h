// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <sstream>
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

/// Checks that a number is at least `least`.
inline CLI::Validator AtLeast(double least) {
  return CLI::Validator(
      [least](const std::string& given) {
        double value = 0;
        const bool isFine = CLI::detail::lexical_cast(given, value) && value >= least;
        std::ostringstream message;
        message << "a number of at least " << least << " expected, found \"" << given << "\"";
        return isFine ? std::string() : message.str();
      },
      "");
}

/// Adds an option with a number of at least `least` to a group of the help text.
template <class Number>
void AddNumber(CLI::App& command, const std::string& group, const std::string& name, Number& value,
               const std::string& help, double least) {
  command.add_option(name, value, help)
      ->check(AtLeast(least))
      ->type_name("NUMBER")
      ->group(group)
      ->capture_default_str();
}

inline void AddEncoding(CLI::App& command, Encoding& encoding) {
  AddChoice(command, "--encoding", encoding, EncodingNames(),
            "Encoding of the files; auto: UTF-8 if a whole file is well-formed UTF-8, else GBK");
}

inline void AddEnglishEncoding(CLI::App& command, Encoding& encoding) {
  AddChoice(command, "--encoding", encoding, EnglishEncodingNames(),
            "Encoding of the files; auto: UTF-8 if a whole file is well-formed UTF-8, else "
            "Windows-1252");
}

inline void AddTagging(CLI::App& command, const std::string& name, Tagging& tagging,
                       const std::string& whose) {
  AddChoice(
      command, name, tagging, TaggingNames(),
      "Are the words of " + whose + " written WORD/TAG? auto: yes if most items of a file look so");
}

}  // namespace Tolvek
