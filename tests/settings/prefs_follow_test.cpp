#include "settings/prefs_follow.h"

#include <gtest/gtest.h>

namespace lumox {
namespace {

const Settings kRunning{35, 0.0035f, 170, 2.0f, 6000};

TEST(FollowPrefs, TheSameSettingsKeepTheFlightAsItIs) {
  EXPECT_EQ(FollowPrefs(kRunning, kRunning, {}), FollowStep{});
  // A file that can't be read keeps what runs.
  EXPECT_EQ(FollowPrefs(kRunning, std::nullopt, {}), FollowStep{});
}

TEST(FollowPrefs, SizeTurnAndColourChangeTheRunningFlightWithoutANewPeriod) {
  Settings read = kRunning;
  read.StarSize = 6.0f;
  read.Rotn = -200;
  read.ColourSpread = 60;
  EXPECT_EQ(FollowPrefs(kRunning, read, {}), (FollowStep{FollowStep::kChange, read, false}));
}

TEST(FollowPrefs, ANewStarCountOrSpeedSetsTimer2sPeriodAnew) {
  Settings more = kRunning;
  more.StarMax = 20000;
  EXPECT_EQ(FollowPrefs(kRunning, more, {}), (FollowStep{FollowStep::kChange, more, true}));
  Settings faster = kRunning;
  faster.Speed = 0.02f;
  EXPECT_EQ(FollowPrefs(kRunning, faster, {}), (FollowStep{FollowStep::kChange, faster, true}));
  // Beyond the stars there are, held as at take-off.
  Settings beyond = kRunning;
  beyond.StarMax = 90000;
  Settings held = kRunning;
  held.StarMax = kStarUpperBound;
  EXPECT_EQ(FollowPrefs(kRunning, beyond, {}), (FollowStep{FollowStep::kChange, held, true}));
  EXPECT_EQ(FollowPrefs(held, beyond, {}), FollowStep{});
}

TEST(FollowPrefs, TheCommandLinesOptionsStillWinOverTheFile) {
  Settings read = kRunning;
  read.StarSize = 6.0f;
  read.StarMax = 100;
  // --stars 6000 holds the count the file changes; the size follows the file.
  Settings wanted = kRunning;
  wanted.StarSize = 6.0f;
  EXPECT_EQ(FollowPrefs(kRunning, read, {.stars = 6000}), (FollowStep{FollowStep::kChange, wanted, false}));
  EXPECT_EQ(FollowPrefs(kRunning, read, {.star_size = 2.0, .stars = 6000}), FollowStep{});
}

TEST(FollowPrefs, TheUnreadableFileIsNamedInItsLine) {
  EXPECT_EQ(UnreadablePrefsLine("/home/u/.local/share/LumoxPrefs"),
            "Can't read the settings file /home/u/.local/share/LumoxPrefs; the flight keeps its settings.");
}

}  // namespace
}  // namespace lumox
