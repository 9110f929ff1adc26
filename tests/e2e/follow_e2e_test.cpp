// The desktop modes follow the settings file while they run, and stand still on battery power.
// Times and CPU shares are printed as measured.
#include <signal.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "e2e/desktop.h"

namespace lumox::e2e {
namespace {

using Clock = std::chrono::steady_clock;

// Few stars, small; then the same stars ten times the size: the lit area grows many times over.
constexpr char kSmallStars[] = "35\n0.0035\n170\n1\n3000\n";
constexpr char kLargeStars[] = "35\n0.0035\n170\n10\n3000\n";
constexpr char kUnreadable[] = "lumox: Can't read the settings file ";

void WriteInPlace(const std::string& path, const char* text) { std::ofstream(path, std::ios::trunc) << text; }

// As Lumox saves: a new file beside, renamed over the old one.
void Replace(const std::string& path, const char* text) {
  WriteInPlace(path + ".new", text);
  ASSERT_EQ(std::rename((path + ".new").c_str(), path.c_str()), 0);
}

int Count(const std::string& text, const std::string& part) {
  int n = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

class FollowE2E : public ::testing::TestWithParam<std::string> {};

TEST_P(FollowE2E, TheWallpaperFollowsTheFileReplacedOrWrittenAndKeepsFlyingOnABrokenOneAndSighup) {
  const auto desktop = OpenDesktop(
      {.kind = GetParam(), .outputs = {{800, 600}, {640, 480}}, .prefs = kSmallStars, .lumox_args = {"--wallpaper"}});
  const std::string a = desktop->OutputName(0), b = desktop->OutputName(1);
  ASSERT_TRUE(WaitFor([&] { return Flying(*desktop, a) && Flying(*desktop, b); }, 20000)) << desktop->Stderr();
  const auto lit = [&](const std::string& output) { return LitPixels(desktop->Screenshot(output)); };
  int small_a = 0, small_b = 0;
  for (int shot = 0; shot < 3; ++shot) {
    small_a = std::max(small_a, lit(a));
    small_b = std::max(small_b, lit(b));
  }
  // Until the change shows, and after it, both outputs keep their stars: no black frame between.
  bool dark = false;
  const auto grown = [&](int times) {
    const int on_a = lit(a), on_b = lit(b);
    dark = dark || on_a < 100 || on_b < 100;
    return on_a > times * small_a && on_b > times * small_b;
  };

  const std::string prefs = desktop->File("LumoxPrefs");
  Replace(prefs, kLargeStars);
  auto start = Clock::now();
  ASSERT_TRUE(WaitFor([&] { return grown(3); }, 5000))
      << "lit " << lit(a) << " and " << lit(b) << " against " << small_a << " and " << small_b;
  long ms = MsSince(start);
  std::printf("Replaced file: larger stars on both outputs after %ld ms (lit %d, %d against %d, %d)\n", ms, lit(a),
              lit(b), small_a, small_b);
  EXPECT_LT(ms, 2000);
  EXPECT_FALSE(dark);
  EXPECT_TRUE(desktop->Running());  // the same process, no restart

  // Written in place: small again.
  WriteInPlace(prefs, kSmallStars);
  start = Clock::now();
  ASSERT_TRUE(WaitFor([&] { return lit(a) < 2 * small_a && lit(b) < 2 * small_b; }, 5000));
  ms = MsSince(start);
  std::printf("File written in place: small stars again after %ld ms\n", ms);
  EXPECT_LT(ms, 2000);
  EXPECT_TRUE(Flying(*desktop, a) && Flying(*desktop, b));

  // Something that is no file in its place: one line, and the flights go on as they were.
  ASSERT_EQ(mkfifo((prefs + ".fifo").c_str(), 0644), 0);
  ASSERT_EQ(std::rename((prefs + ".fifo").c_str(), prefs.c_str()), 0);
  ASSERT_TRUE(WaitFor([&] { return Count(desktop->Stderr(), kUnreadable) >= 1; }, 2000)) << desktop->Stderr();
  EXPECT_TRUE(Flying(*desktop, a) && Flying(*desktop, b));
  EXPECT_LT(lit(a), 2 * small_a);
  EXPECT_EQ(Count(desktop->Stderr(), kUnreadable), 1) << desktop->Stderr();
  EXPECT_EQ(Count(desktop->Stderr(), "\n"), 1) << desktop->Stderr();

  // SIGHUP reads the file anew (the same line again) and no longer ends the wallpaper.
  desktop->Signal(SIGHUP);
  ASSERT_TRUE(WaitFor([&] { return Count(desktop->Stderr(), kUnreadable) == 2; }, 2000)) << desktop->Stderr();
  EXPECT_TRUE(desktop->Running());
  // A file again: the flights take it up.
  Replace(prefs, kLargeStars);
  ASSERT_TRUE(WaitFor([&] { return grown(3); }, 2000));
  EXPECT_TRUE(Flying(*desktop, a) && Flying(*desktop, b));
  EXPECT_TRUE(desktop->Running());

  // SIGTERM still ends it, and the file was never written.
  desktop->Signal(SIGTERM);
  ASSERT_TRUE(desktop->WaitForExit());
  EXPECT_EQ(desktop->ExitStatus(), 0);
  EXPECT_EQ(desktop->Prefs(), kLargeStars);
}

INSTANTIATE_TEST_SUITE_P(E2E, FollowE2E, ::testing::Values("openbox", "sway"));

TEST(FollowE2E, TheDisplayModeFollowsAFileThatComesLaterAndSighup) {
  // No settings file at the start: the folder's watch sees the first one come.
  Session session({.start_lumox = false});
  session.StartLumox({"--root", "--stars", "3000"});
  const QRect screen = session.OutputArea(0);
  ASSERT_TRUE(WaitFor([&] { return Flying(session, "", screen); }, 20000)) << session.Stderr();
  int small = 0;
  for (int shot = 0; shot < 3; ++shot) small = std::max(small, LitPixels(session.Screenshot()));
  // The count of the command line stays: only the size follows the file.
  Replace(session.File("LumoxPrefs"), "35\n0.0035\n170\n12\n100\n");
  const auto start = Clock::now();
  ASSERT_TRUE(WaitFor([&] { return LitPixels(session.Screenshot()) > 3 * small; }, 5000));
  const long ms = MsSince(start);
  std::printf("--root: larger stars %ld ms after the file was replaced\n", ms);
  EXPECT_LT(ms, 2000);
  session.Signal(SIGHUP);
  EXPECT_TRUE(Flying(session, "", screen));
  EXPECT_TRUE(session.Running());
  session.Signal(SIGTERM);
  ASSERT_TRUE(session.WaitForExit());
  EXPECT_EQ(session.ExitStatus(), 0);
}

// A bus of its own as the system bus, with python-dbusmock's UPower on it when asked.
class SystemBus {
 public:
  explicit SystemBus(bool upower) : dir_(MakeTempFolder("lumox-system-bus")) {
    std::vector<std::string> argv{"dbus-run-session", "--", "sh", "-c",
                                  "echo \"$DBUS_SESSION_BUS_ADDRESS\" > " + dir_ + "/a && mv " + dir_ + "/a " + dir_ +
                                      "/address && DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS exec \"$@\"",
                                  "sh"};
    if (upower)
      argv.insert(argv.end(), {"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "upower", "-p",
                               "{\"OnBattery\": true}"});
    else
      argv.insert(argv.end(), {"sleep", "1000"});
    pid_ = StartHelper(argv);
    WaitFor([&] { return bool(std::ifstream(dir_ + "/address") >> address_); });
    if (upower) WaitFor([&] { return OnBattery() != ""; });
  }
  ~SystemBus() {
    StopHelper(pid_);
    std::filesystem::remove_all(dir_);
  }
  std::string Env() const { return "DBUS_SYSTEM_BUS_ADDRESS=" + address_; }
  // "true", "false", or "" while UPower does not answer.
  std::string OnBattery() const {
    const std::string reply = Gdbus("--method org.freedesktop.DBus.Properties.Get org.freedesktop.UPower OnBattery");
    return reply.find("true") != std::string::npos ? "true" : reply.find("false") != std::string::npos ? "false" : "";
  }
  void SetOnBattery(bool on) const {
    Gdbus(std::string("--method org.freedesktop.DBus.Properties.Set org.freedesktop.UPower OnBattery '<") +
          (on ? "true" : "false") + ">'");
  }

 private:
  std::string Gdbus(const std::string& call) const {
    return RunCommand(Env() + " gdbus call --system --dest org.freedesktop.UPower --object-path /org/freedesktop/UPower " +
                      call + " 2>/dev/null");
  }
  std::string dir_, address_;
  pid_t pid_ = -1;
};

TEST(BatteryE2E, OnBatteryEveryOutputStandsStillAndOnMainsTheyFlyAgain) {
  SystemBus bus(true);
  ASSERT_EQ(bus.OnBattery(), "true");
  Session session({.outputs = {{800, 600}, {640, 480}}, .start_lumox = false});
  session.StartLumox({"--wallpaper", "--pause-on-battery"}, {bus.Env()});
  const QRect one = session.OutputArea(0), two = session.OutputArea(1);
  // Each output shows its first frame and goes no further.
  ASSERT_TRUE(WaitFor([&] { return LitPixels(session.Screenshot().copy(one)) > 100 && LitPixels(session.Screenshot().copy(two)) > 100; }, 20000))
      << session.Stderr();
  const QImage before = session.Screenshot();
  const double share = CpuShare(session, 6000);
  std::printf("CPU on battery: %.2f%% of a core\n", share * 100.0);
  EXPECT_LT(share, 0.02);
  EXPECT_EQ(DifferentPixels(before, session.Screenshot()), 0);

  bus.SetOnBattery(false);
  auto start = Clock::now();
  ASSERT_TRUE(WaitFor([&] { return Flying(session, "", one) && Flying(session, "", two); }, 5000));
  std::printf("Flying on both outputs %ld ms after the mains came back\n", MsSince(start));

  bus.SetOnBattery(true);
  start = Clock::now();
  // Still once two pictures in a row are the same.
  QImage last;
  ASSERT_TRUE(WaitFor([&] {
    const QImage shot = session.Screenshot();
    const bool still = !last.isNull() && DifferentPixels(last, shot) == 0;
    last = shot;
    return still;
  }, 5000));
  std::printf("Still %ld ms after the battery took over again\n", MsSince(start));
  EXPECT_LT(CpuShare(session, 4000), 0.02);
  EXPECT_EQ(Count(session.Stderr(), "\n"), 0) << session.Stderr();
}

TEST(BatteryE2E, WithoutUPowerItSaysSoInOneLineAndFlies) {
  SystemBus bus(false);
  Session session({.start_lumox = false});
  session.StartLumox({"--wallpaper", "--pause-on-battery"}, {bus.Env()});
  ASSERT_TRUE(WaitFor([&] { return Flying(session, "", session.OutputArea(0)); }, 20000)) << session.Stderr();
  EXPECT_EQ(session.Stderr(),
            "lumox: UPower does not answer on the system bus, so '--pause-on-battery' can't tell the battery from "
            "the mains; the flights go on.\n");
}

}  // namespace
}  // namespace lumox::e2e
