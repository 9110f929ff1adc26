// The wallpaper follows the settings file while it runs (the display mode's is DisplayModeE2E's).
#include <signal.h>

#include <algorithm>
#include <fstream>

#include "e2e/desktop.h"

namespace lumox::e2e {
namespace {

// Few stars, small; then the same stars ten times the size: the lit area grows many times over.
constexpr char kSmallStars[] = "35\n0.0035\n170\n1\n3000\n";
constexpr char kLargeStars[] = "35\n0.0035\n170\n10\n3000\n";
constexpr char kUnreadable[] = "lumox: Can't read the settings file ";

class FollowE2E : public ::testing::TestWithParam<std::string> {};

TEST_P(FollowE2E, TheWallpaperFollowsTheFileReplacedOrWrittenAndKeepsFlyingOnABrokenOneAndSighup) {
  const auto desktop = OpenDesktop(
      {.kind = GetParam(), .outputs = {{800, 600}, {640, 480}}, .prefs = kSmallStars, .lumox_args = {"--wallpaper"}});
  const std::string out[] = {desktop->OutputName(0), desktop->OutputName(1)};
  const auto flying = [&] { return Flying(*desktop, out[0]) && Flying(*desktop, out[1]); };
  ASSERT_TRUE(WaitFor(flying, 20000)) << desktop->Stderr();
  bool dark = false;  // an output went black
  const auto lit = [&](int i) {
    const int n = LitPixels(desktop->Screenshot(out[i]));
    dark = dark || n < 100;
    return n;
  };
  int small[2] = {0, 0};
  for (int shot = 0; shot < 6; ++shot) small[shot % 2] = std::max(small[shot % 2], lit(shot % 2));
  // How many outputs light more than `times` their small stars.
  const auto over = [&](int times) { return (lit(0) > times * small[0]) + (lit(1) > times * small[1]); };
  // The file put in place as Lumox saves it or written in place; `shown` within 2 s.
  const std::string prefs = desktop->File("LumoxPrefs");
  const auto change = [&](const char* text, bool replace, const std::function<bool()>& shown) {
    std::ofstream(replace ? prefs + ".new" : prefs, std::ios::trunc) << text;
    if (replace) std::rename((prefs + ".new").c_str(), prefs.c_str());
    return WaitFor(shown, 2000);
  };

  EXPECT_TRUE(change(kLargeStars, true, [&] { return over(3) == 2; }));
  EXPECT_FALSE(dark);  // until the change shows, and after it, no black frame between
  EXPECT_TRUE(desktop->Running());  // the same process, no restart
  EXPECT_TRUE(change(kSmallStars, false, [&] { return over(2) == 0; }));
  EXPECT_TRUE(flying());

  // Something that is no file in its place: one line, and the flights go on as they were.
  ASSERT_EQ(RunCommand("mkfifo " + prefs + ".fifo && mv " + prefs + ".fifo " + prefs + " && echo ok"), "ok\n");
  ASSERT_TRUE(WaitFor([&] { return desktop->Stderr().ends_with("\n"); }, 2000)) << desktop->Stderr();
  EXPECT_TRUE(flying());
  EXPECT_LT(lit(0), 2 * small[0]);
  const std::string line = desktop->Stderr();
  EXPECT_TRUE(line.starts_with(kUnreadable) && std::ranges::count(line, '\n') == 1) << line;

  // SIGHUP reads the file anew (the same line again) and no longer ends the wallpaper.
  desktop->Signal(SIGHUP);
  ASSERT_TRUE(WaitFor([&] { return desktop->Stderr() == line + line; }, 2000)) << desktop->Stderr();
  EXPECT_TRUE(desktop->Running());
  EXPECT_TRUE(change(kLargeStars, true, [&] { return over(3) == 2; }));
  EXPECT_TRUE(flying());
  EXPECT_TRUE(desktop->Running());

  desktop->Signal(SIGTERM);
  ASSERT_TRUE(desktop->WaitForExit() && desktop->ExitStatus() == 0) << desktop->ExitStatus();
  EXPECT_EQ(desktop->Prefs(), kLargeStars);
}

INSTANTIATE_TEST_SUITE_P(E2E, FollowE2E, ::testing::Values("openbox", "sway"));

}  // namespace
}  // namespace lumox::e2e
