// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "model/ContextTemplate.h"
#include "model/MeModel.h"
#include "unit/Fixtures.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

constexpr auto kTemplates = ContextTemplates(ContextPart::kNext);

std::vector<std::string> Features(std::string_view joint) {
  std::vector<std::string> features;
  ForEachContextFeature(kTemplates, joint, "a", "b", "c",
                        [&](std::initializer_list<std::string_view> parts, double value) {
                          std::string text;
                          for (const std::string_view part : parts) text += part;
                          features.push_back(text + "=" + std::to_string(static_cast<int>(value)));
                        });
  return features;
}

TEST(ContextTemplate, WritesTheSixFeatures) {
  EXPECT_EQ(Features("/"),
            (std::vector<std::string>{"1/a=1", "2/b=2", "3/c=1", "4/a/b=3", "5/b/c=3", "6/a/c=1"}));
  EXPECT_EQ(Features(""),
            (std::vector<std::string>{"1/a=1", "2/b=2", "3/c=1", "4/ab=3", "5/bc=3", "6/ac=1"}));
}

std::vector<std::string> Readings(std::string_view joint, std::string_view text) {
  std::vector<std::string> readings;
  ForEachReading(
      kTemplates, joint, text, [](std::string_view unit, ContextPart) { return !unit.empty(); },
      [&](const ContextTemplate& each, std::string_view first, std::string_view second) {
        readings.push_back(std::string(each.prefix) + "|" + std::string(first) + "|" +
                           std::string(second));
      });
  return readings;
}

TEST(ContextTemplate, ReadsATextInEveryWay) {
  using Texts = std::vector<std::string>;
  EXPECT_EQ(Readings("/", "2/a/b"), Texts{"2/|a/b|"});
  EXPECT_EQ(Readings("/", "4/a/b/c"), (Texts{"4/|a|b/c", "4/|a/b|c"}));
  EXPECT_EQ(Readings("/", "4///"), Texts{});
  EXPECT_EQ(Readings("/", "4////"), Texts{"4/|/|/"});
  EXPECT_EQ(Readings("", "4/abc"), (Texts{"4/|a|bc", "4/|ab|c"}));
  for (const std::string_view text : {"", "4", "4/", "7/a", "14/a/b", "2/"}) {
    EXPECT_EQ(Readings("/", text), Texts{}) << text;
    EXPECT_EQ(Readings("", text), Texts{}) << text;
  }
}

class LargestSumTest : public Scratch {
 protected:
  /// The sum of a model of the features "1/x" and "2/x", each with two parameters.
  double SumOf(const std::string& lists, const std::string& values) {
    WriteText("model", "title\n2\n1/x\n2/x\n2\nA\nB\n" + lists + "4\n" + values);
    MeModel model;
    EXPECT_EQ(model.LoadModel("model"), 1);
    return LargestSum(model, kTemplates);
  }
};

TEST_F(LargestSumTest, AddsTheLargestOfEachTemplate) {
  EXPECT_EQ(SumOf("2 0 1\n2 0 1\n", "1\n-3\n0.5\n0.25\n"), 3 + 2 * 0.5);
}

TEST_F(LargestSumTest, IsInfiniteWithoutABound) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(SumOf("2 0 0\n2 0 1\n", "1\n2\n3\n4\n"), infinity);  // a tag twice
  EXPECT_EQ(SumOf("2 0 7\n2 0 1\n", "1\n2\n3\n4\n"), infinity);  // no such tag
  EXPECT_EQ(SumOf("3 0 1\n2 0 1\n", "1\n2\n3\n4\n"), infinity);  // beyond the parameters
}

}  // namespace
}  // namespace Tolvek
