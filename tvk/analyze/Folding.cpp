// SPDX-License-Identifier: Apache-2.0
#include "tvk/analyze/Folding.h"

#include "TraditionalCharacters.h"
#include "tvk/text/Files.h"
#include "tvk/text/Utf8.h"

namespace Tolvek {

Folding::Folding(bool folds) : _folds(folds), _gbk(Charset::kCodesOfTwoBytes, 0) {
  const Charset& gbk = Charset::Of(Encoding::kGbk);
  for (char32_t code = 0x80; code < _gbk.size(); ++code) _gbk[code] = gbk.TwoBytes(code);
  if (!folds) return;
  for (const std::string_view line : SplitLines(kTraditionalCharacters)) {
    if (line.starts_with('#')) continue;
    const std::string_view traditional = line.substr(0, Utf8Length(line));
    const std::string_view simplified = line.substr(traditional.size() + 1);
    _gbk.at(Utf8CodePoint(traditional)) = gbk.TwoBytes(Utf8CodePoint(simplified));
  }
}

char32_t Folding::Plain(char32_t code) {
  switch (code) {
    case 0x00A0:  // no-break space
      return U' ';
    case 0x2010:  // hyphen
    case 0x2011:  // non-breaking hyphen
      return U'-';
    case 0x2018:  // single quotation marks; the right one is the apostrophe, too
    case 0x2019:
      return U'\'';
    case 0x201C:  // double quotation marks
    case 0x201D:
      return U'"';
    case 0x2014:  // em dash and ellipsis: the models' closest sign that is a token by itself
    case 0x2026:
      return U';';
    default:
      return code;
  }
}

}  // namespace Tolvek
