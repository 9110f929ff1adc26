// The saver on X11 when another program holds the keyboard and the pointer.
#include <gtest/gtest.h>

#include <cstdio>

#include "desktop/desktop_core.h"
#include "e2e/desktop.h"

namespace lumox::e2e {
namespace {

using Clock = std::chrono::steady_clock;

TEST(X11DesktopE2E, TheSaverGivesUpInOneLineWhenAnotherProgramHoldsTheGrab) {
  Session session({.outputs = {{1024, 768}, {800, 600}}, .start_lumox = false});
  std::string said;
  const pid_t grab = session.XClient("grab", &said);
  ASSERT_EQ(said, "grabbed");
  const auto start = Clock::now();
  session.StartLumox({"--saver"});
  ASSERT_TRUE(session.WaitForExit(10000));
  std::printf("The saver gave up the grab after %ld ms\n", MsSince(start));
  EXPECT_EQ(session.ExitStatus(), 1);
  EXPECT_EQ(session.Stderr(), "lumox: " + desktop_line::GrabTaken() + "\n");
  // Nothing of it is left over the desktop.
  EXPECT_TRUE(WaitFor([&] { return LitPixels(session.Screenshot()) == 0; }));
  StopHelper(grab);
}

}  // namespace
}  // namespace lumox::e2e
