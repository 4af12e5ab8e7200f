// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace Tolvek {

/// The units (characters or words) that a feature's text is made of.
enum class ContextPart : std::uint8_t { kNone, kPrevious, kCurrent, kNext };

/// A feature template over a unit and its neighbours: the prefix, one or two units, the value that
/// such a feature has.
struct ContextTemplate {
  std::string_view prefix;
  ContextPart first;
  ContextPart second;
  double value;
};

/// What stands for the neighbours that the first and the last unit of a sentence lack.
inline constexpr std::string_view kBeginOfSentence = "B_0";
inline constexpr std::string_view kEndOfSentence = "E_0";

/// The first six templates of all three models. They differ in whom the sixth pairs with the
/// previous unit.
constexpr std::array<ContextTemplate, 6> ContextTemplates(ContextPart sixth) {
  using enum ContextPart;
  return {{{"1/", kPrevious, kNone, 1.0},
           {"2/", kCurrent, kNone, 2.0},
           {"3/", kNext, kNone, 1.0},
           {"4/", kPrevious, kCurrent, 3.0},
           {"5/", kCurrent, kNext, 3.0},
           {"6/", kPrevious, sixth, 1.0}}};
}

/// Calls `visit(parts of the text, value)` for the templates; `joint` stands between two units. The
/// texts are valid during the call only.
template <std::size_t N, class Visit>
void ForEachContextFeature(const std::array<ContextTemplate, N>& templates, std::string_view joint,
                           std::string_view previous, std::string_view current,
                           std::string_view next, Visit&& visit) {
  const std::string_view units[] = {"", previous, current, next};
  for (const ContextTemplate& each : templates) {
    const std::string_view first = units[static_cast<std::size_t>(each.first)];
    const std::string_view second = units[static_cast<std::size_t>(each.second)];
    const bool isPair = each.second != ContextPart::kNone;
    visit({each.prefix, first, isPair ? joint : "", second}, each.value);
  }
}

/// The other way round: calls `visit(template, first unit, second unit)` for every reading of a
/// feature's text as one of the templates, with units of which `isUnit(text, part)` is true. There
/// may be several, as a word can hold the joint itself.
template <class IsUnit, class Visit>
void ForEachReading(std::span<const ContextTemplate> templates, std::string_view joint,
                    std::string_view text, const IsUnit& isUnit, const Visit& visit) {
  for (const ContextTemplate& each : templates) {
    if (!text.starts_with(each.prefix)) continue;
    const std::string_view units = text.substr(each.prefix.size());
    if (each.second == ContextPart::kNone) {
      if (isUnit(units, each.first)) visit(each, units, std::string_view());
      continue;
    }
    for (std::size_t end = units.find(joint, 1); end < units.size();
         end = units.find(joint, end + 1)) {
      const std::string_view first = units.substr(0, end);
      const std::string_view second = units.substr(end + joint.size());
      if (isUnit(first, each.first) && isUnit(second, each.second)) visit(each, first, second);
    }
  }
}

class MeModel;

/// A bound of the weighted sums of a model whose features are those of the templates and others of
/// value 1, one of each prefix: the sum of the largest weights. Infinite when there is none: when
/// parameters are not finite, or their lists corrupt, or a feature lists a tag twice.
double LargestSum(const MeModel& model, std::span<const ContextTemplate> templates);

}  // namespace Tolvek
