#include "settings/setting_options.h"

#include <gtest/gtest.h>

#include <bit>

namespace lumox {
namespace {

TEST(SettingOptions, EachGivenValueIsReadAsTheFileReadsItAndHeldToItsSlider) {
  Settings file;  // values a hand-edited file may hold, beyond every slider
  file.Rotn = 9000;
  file.Speed = 0.5f;
  file.ColourSpread = 7;
  file.StarSize = 40.0f;
  file.StarMax = 90000;

  // Nothing given: the file's values stand as they are.
  const Settings kept = WithOptions(file, {});
  EXPECT_EQ(kept.Rotn, 9000);
  EXPECT_EQ(std::bit_cast<uint32_t>(kept.Speed), std::bit_cast<uint32_t>(0.5f));
  EXPECT_EQ(kept.ColourSpread, 7);
  EXPECT_EQ(kept.StarMax, 90000);

  // Inside the ranges: truncated to whole numbers, rounded once to single.
  const Settings inside = WithOptions(file, {.rotation = -35.9, .speed = 0.0035, .colour_spread = 99.99,
                                             .star_size = 2.5, .stars = 1234.7});
  EXPECT_EQ(inside.Rotn, -35);
  EXPECT_EQ(std::bit_cast<uint32_t>(inside.Speed), 0x3B656042u);
  EXPECT_EQ(inside.ColourSpread, 99);
  EXPECT_EQ(std::bit_cast<uint32_t>(inside.StarSize), 0x40200000u);
  EXPECT_EQ(inside.StarMax, 1234);

  // Beyond them: the slider's ends, which for speed and size are the singles nearest 0.0002,
  // 0.1, 0.5 and 15.
  const Settings low = WithOptions(file, {.rotation = -1e9, .speed = 0.0, .colour_spread = -3, .star_size = -1,
                                          .stars = 99.9});
  EXPECT_EQ(low.Rotn, -2000);
  EXPECT_EQ(std::bit_cast<uint32_t>(low.Speed), std::bit_cast<uint32_t>(0.0002f));
  EXPECT_EQ(low.ColourSpread, 50);
  EXPECT_EQ(std::bit_cast<uint32_t>(low.StarSize), 0x3F000000u);
  EXPECT_EQ(low.StarMax, 100);
  const Settings high = WithOptions(file, {.rotation = 2000.5, .speed = 1e300, .colour_spread = 255.9,
                                           .star_size = 15.01, .stars = 5e4 + 1});
  EXPECT_EQ(high.Rotn, 2000);
  EXPECT_EQ(std::bit_cast<uint32_t>(high.Speed), std::bit_cast<uint32_t>(0.1f));
  EXPECT_EQ(high.ColourSpread, 255);
  EXPECT_EQ(std::bit_cast<uint32_t>(high.StarSize), 0x41700000u);
  EXPECT_EQ(high.StarMax, 50000);
}

}  // namespace
}  // namespace lumox
