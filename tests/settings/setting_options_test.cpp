#include "settings/setting_options.h"

#include <gtest/gtest.h>

#include <tuple>

#include "support/scripted_numbers.h"

namespace lumox {
namespace {

using testing::Bits;

TEST(SettingOptions, EachGivenValueIsReadAsTheFileReadsItAndHeldToItsSlider) {
  const Settings file{9000, 0.5f, 7, 40.0f, 90000};  // a hand-edited file's values, beyond every slider
  const auto with = [&](const SettingOptions& options) {
    const Settings s = WithOptions(file, options);
    return std::tuple(s.Rotn, Bits(s.Speed), s.ColourSpread, Bits(s.StarSize), s.StarMax);
  };
  EXPECT_EQ(with({}), std::tuple(9000, Bits(0.5f), 7, Bits(40.0f), 90000));
  // Inside the ranges: truncated to whole numbers, rounded once to single.
  EXPECT_EQ(with({.rotation = -35.9, .speed = 0.0035, .colour_spread = 99.99, .star_size = 2.5, .stars = 1234.7}),
            std::tuple(-35, 0x3B656042u, 99, 0x40200000u, 1234));
  // Beyond them: the sliders' ends, for speed and size the singles nearest 0.0002, 0.1, 0.5 and 15.
  EXPECT_EQ(with({.rotation = -1e9, .speed = 0.0, .colour_spread = -3, .star_size = -1, .stars = 99.9}),
            std::tuple(-2000, Bits(0.0002f), 50, 0x3F000000u, 100));
  EXPECT_EQ(with({.rotation = 2000.5, .speed = 1e300, .colour_spread = 255.9, .star_size = 15.01, .stars = 5e4 + 1}),
            std::tuple(2000, Bits(0.1f), 255, 0x41700000u, 50000));
}

}  // namespace
}  // namespace lumox
