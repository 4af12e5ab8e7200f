// SPDX-License-Identifier: Apache-2.0
#include "tvk/analyze/LineWriter.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace Tolvek {

namespace {

void AppendNumber(std::size_t number, std::string& out) {
  std::array<char, 24> text;
  out.append(text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr);
}

/// Appends "\u" and the four hexadecimal digits of a number of 16 bits.
void AppendUnicodeEscape(char32_t code, std::string& out) {
  static constexpr std::string_view kDigits = "0123456789abcdef";
  out += "\\u";
  for (unsigned shift = 16; shift > 0; shift -= 4) out += kDigits[code >> (shift - 4) & 0xFU];
}

/// Appends `separator` but before the first of several things.
class Between {
 public:
  explicit Between(std::string_view separator) : _separator(separator) {}
  void operator()(std::string& out) {
    if (!_isFirst) out += _separator;
    _isFirst = false;
  }

 private:
  std::string_view _separator;
  bool _isFirst = true;
};

}  // namespace

const std::vector<std::pair<std::string, Format>>& FormatNames() {
  static const std::vector<std::pair<std::string, Format>> names{{"text", Format::kText},
                                                                 {"tsv", Format::kTsv},
                                                                 {"jsonl", Format::kJsonl},
                                                                 {"conllu", Format::kConllu}};
  return names;
}

const std::vector<std::pair<std::string, BadBytes>>& BadBytesNames() {
  static const std::vector<std::pair<std::string, BadBytes>> names{
      {"replace", BadBytes::kReplace}, {"keep", BadBytes::kKeep}, {"fail", BadBytes::kFail}};
  return names;
}

/// Some characters of a line, from `begin` to before `end`.
struct LineWriter::Span {
  std::size_t begin;
  std::size_t end;
  std::size_t beginByte;
  std::size_t endByte;

  bool IsEmpty() const { return begin == end; }
};

LineWriter::LineWriter(const Options& options, const Charset& from, const Charset& to)
    : _options(options),
      _from(from),
      _to(options.format == Format::kJsonl || options.format == Format::kConllu
              ? Charset::Of(Encoding::kUtf8)
              : to) {}

bool LineWriter::IsReplaced(char32_t code) const {
  if (IsMalformed(code)) return _options.badBytes != BadBytes::kKeep;
  if (&_from == &_to) return false;
  return IsInUnicode(code) ? !_to.Has(code) : _options.badBytes != BadBytes::kKeep;
}

void LineWriter::Append(const AnalyzedLine& line, std::string& out) const {
  switch (_options.format) {
    case Format::kText:
      return AppendText(line, out);
    case Format::kTsv:
      return AppendTsv(line, out);
    case Format::kJsonl:
      return AppendJson(line, out);
    case Format::kConllu:
      return AppendConllu(line, out);
  }
}

template <class Visit>
void LineWriter::ForEachSpan(const AnalyzedLine& line, const Visit& visit) {
  const bool isOfSingleBytes = line.characters.size() == line.bytes.size();
  std::size_t at = 0;
  std::size_t byte = 0;
  const auto next = [&](std::size_t end) {
    Span span{at, end, byte, byte};
    if (isOfSingleBytes) {
      byte += end - at;
    } else {
      for (std::size_t i = at; i < end; ++i) byte += line.characters[i].length;
    }
    at = end;
    span.endByte = byte;
    return span;
  };
  for (const Token& token : line.tokens) {
    if (at < token.begin) visit(next(token.begin), nullptr);
    visit(next(token.end), &token);
  }
  if (at < line.characters.size()) visit(next(line.characters.size()), nullptr);
}

void LineWriter::AppendText(const AnalyzedLine& line, std::string& out) const {
  const Escapes escapes = _options.keepsSpaces ? Escapes::kBackslash : Escapes::kNone;
  Between separate(" ");
  if (!line.isBlankBefore || (line.part > 1 && _options.keepsSpaces)) separate(out);
  ForEachSpan(line, [&](const Span& span, const Token* token) {
    if (token == nullptr && !_options.keepsSpaces) return;
    separate(out);
    if (token == nullptr) return AppendSpaces(line, span, out);
    AppendSpan(line, span, escapes, out);
    if (_options.tags) out.append("/").append(token->tag);
  });
  if (line.isLast && (line.hasLineFeed || !_options.keepsSpaces)) out += '\n';
}

void LineWriter::AppendTsv(const AnalyzedLine& line, std::string& out) const {
  const Escapes escapes = _options.keepsSpaces ? Escapes::kBackslash : Escapes::kNone;
  ForEachSpan(line, [&](const Span& span, const Token* token) {
    if (token == nullptr && !_options.keepsSpaces) return;
    for (const std::size_t number :
         {line.number, line.firstByte + span.beginByte, line.firstByte + span.endByte,
          line.firstCharacter + span.begin, line.firstCharacter + span.end}) {
      AppendNumber(number, out);
      out += '\t';
    }
    if (token == nullptr) {
      AppendSpaces(line, span, out);
    } else {
      AppendSpan(line, span, escapes, out);
    }
    if (_options.tags) out.append("\t").append(token == nullptr ? std::string_view() : token->tag);
    out += '\n';
  });
  if (line.isLast && (line.hasLineFeed || !_options.keepsSpaces)) out += '\n';
}

void LineWriter::AppendJson(const AnalyzedLine& line, std::string& out) const {
  const auto range = [&](std::string_view name, std::size_t first, std::size_t begin,
                         std::size_t end) {
    out.append(",\"").append(name).append("\":[");
    AppendNumber(first + begin, out);
    out += ',';
    AppendNumber(first + end, out);
    out += ']';
  };
  out += "{\"line\":";
  AppendNumber(line.number, out);
  if (line.part > 0) {
    out += ",\"part\":";
    AppendNumber(line.part, out);
  }
  const auto spaces = [&](std::string_view name, const Span& span) {
    out.append(",\"").append(name).append("\":\"");
    AppendSpan(line, span, Escapes::kJson, out);
    out += '"';
  };
  // The white space behind a token is a member of the token: its brace is closed late.
  bool isOpen = false;
  Between separate(",");
  const auto close = [&] {
    if (isOpen) out += '}';
    isOpen = false;
  };
  bool hasBegun = false;
  const auto begin = [&] {
    if (!hasBegun) out += ",\"words\":[";
    hasBegun = true;
  };
  ForEachSpan(line, [&](const Span& span, const Token* token) {
    if (token == nullptr) {
      if (_options.keepsSpaces) spaces(isOpen ? "after" : "before", span);
      return;
    }
    begin();
    close();
    separate(out);
    out += "{\"word\":\"";
    AppendSpan(line, span, Escapes::kJson, out);
    out += '"';
    if (_options.tags) {
      out += ",\"tag\":\"";
      for (const char byte : token->tag) {
        AppendCharacter(static_cast<unsigned char>(byte), Escapes::kJson, out);
      }
      out += '"';
    }
    range("bytes", line.firstByte, span.beginByte, span.endByte);
    range("chars", line.firstCharacter, span.begin, span.end);
    isOpen = true;
  });
  begin();
  close();
  out += "]}";
  if (!line.isLast || line.hasLineFeed || !_options.keepsSpaces) out += '\n';
}

void LineWriter::AppendConllu(const AnalyzedLine& line, std::string& out) const {
  if (line.tokens.empty()) return;  // the format has no sentences without words
  out += "# sent_id = ";
  AppendNumber(line.number, out);
  if (line.part > 0) {
    out += '.';
    AppendNumber(line.part, out);
  }
  out += "\n# text = ";
  Span before{0, 0, 0, 0};
  ForEachSpan(line, [&](const Span& span, const Token* token) {
    if (token != nullptr) {
      if (!before.IsEmpty() && before.begin > 0) out += ' ';
      AppendSpan(line, span, Escapes::kNone, out);
    }
    before = token == nullptr ? span : Span{0, 0, 0, 0};
  });
  out += '\n';

  std::size_t number = 0;
  bool hasBefore = false;  // white space before the first token
  const auto spacing = [&](const Span& after) {
    const bool endsLine = after.end == line.characters.size() && line.isLast && line.hasLineFeed;
    std::string misc;
    const auto add = [&](std::string_view name, const Span& span, std::string_view rest) {
      if (!misc.empty()) misc += '|';
      misc += name;
      AppendSpaces(line, span, misc);
      misc += rest;
    };
    if (hasBefore) add("SpacesBefore=", before, "");
    hasBefore = false;
    if (_options.keepsSpaces && (endsLine || !after.IsEmpty())) {
      const bool isBlank =
          !endsLine && after.end == after.begin + 1 && line.characters[after.begin].code == ' ';
      if (!isBlank) add("SpacesAfter=", after, endsLine ? "\\n" : "");
    } else if (after.IsEmpty() && !endsLine &&
               (after.end < line.characters.size() || !line.isLast || _options.keepsSpaces)) {
      misc += misc.empty() ? "SpaceAfter=No" : "|SpaceAfter=No";
    }
    out.append(misc.empty() ? "_" : misc).append("\n");
  };
  bool isOpen = false;  // a token whose last column is to come
  ForEachSpan(line, [&](const Span& span, const Token* token) {
    if (token == nullptr) {
      if (isOpen) {
        spacing(span);
      } else {
        before = span;
        hasBefore = _options.keepsSpaces;
      }
      isOpen = false;
      return;
    }
    if (isOpen) spacing({span.begin, span.begin, span.beginByte, span.beginByte});
    AppendNumber(++number, out);
    out += '\t';
    AppendSpan(line, span, Escapes::kNone, out);
    out.append("\t_\t_\t").append(token->tag.empty() ? "_" : token->tag).append("\t_\t_\t_\t_\t");
    isOpen = true;
  });
  const std::size_t end = line.characters.size();
  if (isOpen) spacing({end, end, line.bytes.size(), line.bytes.size()});
  out += '\n';
}

void LineWriter::AppendSpan(const AnalyzedLine& line, const Span& span, Escapes escapes,
                            std::string& out) const {
  if (escapes == Escapes::kNone && !MayReplace(line)) {
    out.append(line.bytes, span.beginByte, span.endByte - span.beginByte);
    return;
  }
  std::size_t at = span.beginByte;
  for (const Character& character : line.characters.subspan(span.begin, span.end - span.begin)) {
    const bool isEscaped = escapes == Escapes::kBackslash && character.code == '\\';
    if (&_from == &_to && escapes != Escapes::kJson && !isEscaped && !IsReplaced(character.code)) {
      out.append(line.bytes, at, character.length);  // one of several codes, perhaps
    } else {
      AppendCharacter(character.code, escapes, out);
    }
    at += character.length;
  }
}

void LineWriter::AppendCharacter(char32_t code, Escapes escapes, std::string& out) const {
  if (escapes == Escapes::kBackslash && code == '\\') {
    out += "\\\\";
  } else if (escapes == Escapes::kJson && (code == '"' || code == '\\')) {
    out += '\\';
    out += static_cast<char>(code);
  } else if (escapes == Escapes::kJson && code < 0x20) {
    AppendUnicodeEscape(code, out);
  } else if (IsReplaced(code)) {
    out += _to.Replacement();
  } else if (!IsInUnicode(code)) {
    for (const char byte : BytesOf(code)) {
      if (escapes == Escapes::kJson) {
        AppendUnicodeEscape(0xDC00U + static_cast<unsigned char>(byte), out);
      } else {
        out += byte;
      }
    }
  } else {
    _to.Encode(code, out);
  }
}

void LineWriter::AppendSpaces(const AnalyzedLine& line, const Span& span, std::string& out) {
  for (std::size_t i = span.begin; i < span.end; ++i) {
    const char32_t code = line.characters[i].code;
    switch (code) {
      case ' ':
        out += "\\s";
        break;
      case '\t':
        out += "\\t";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\v':
        out += "\\v";
        break;
      case '\f':
        out += "\\f";
        break;
      default:
        AppendUnicodeEscape(code, out);
    }
  }
}

}  // namespace Tolvek
