// The desktop's D-Bus services, dbusmock's on private buses: the idle inhibit and UPower's battery.
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "e2e/desktop.h"

namespace lumox::e2e {
namespace {

// A private session or system bus, with dbusmock running `mock` once it owns `name`; none if `mock` is empty.
class MockBus {
 public:
  // `as_test_user`: the bus and the mock are the unprivileged user's, for a lumox run as that user.
  MockBus(std::vector<std::string> mock, const std::string& name, bool system = false, bool as_test_user = false)
      : dir_(MakeTempFolder("lumox-bus")), address_("unix:path=" + dir_ + "/bus"), system_(system),
        as_(as_test_user ? AsTestUser(dir_) : std::vector<std::string>{}) {
    pids_[0] = StartHelper(As({"dbus-daemon", "--session", "--nofork", "--address=" + address_}));
    WaitFor([&] { return std::filesystem::exists(dir_ + "/bus"); });
    if (mock.empty()) return;
    mock.insert(mock.begin(), {"env", Env(), "/usr/bin/python3", "-m", "dbusmock", "-l", dir_ + "/calls.log"});
    pids_[1] = StartHelper(As(mock));
    const std::string has_owner = "org.freedesktop.DBus /org/freedesktop/DBus org.freedesktop.DBus.NameHasOwner string:";
    WaitFor([&] { return Send(has_owner + name).find("true") != std::string::npos; });
  }
  ~MockBus() {
    for (pid_t pid : pids_) StopHelper(pid);
    std::filesystem::remove_all(dir_);
  }

  std::string Env() const { return (system_ ? "DBUS_SYSTEM_BUS_ADDRESS=" : "DBUS_SESSION_BUS_ADDRESS=") + address_; }
  const std::string& Dir() const { return dir_; }
  // dbus-send's reply to "<destination> <path> <method> <arguments>".
  std::string Send(const std::string& call) const {
    std::string as;
    for (const std::string& word : as_) as += word + " ";
    return RunCommand(as + "dbus-send --bus=" + address_ + " --print-reply --dest=" + call + " 2>/dev/null");
  }
  // The mock's calls so far, one a line, without the time stamps; waits until there are `lines`.
  std::vector<std::string> Calls(size_t lines, int ms = 5000) const {
    std::vector<std::string> calls;
    WaitFor([&] {
      calls.clear();
      std::ifstream log(dir_ + "/calls.log");
      for (std::string line; std::getline(log, line);) calls.push_back(line.substr(line.find(' ') + 1));
      return calls.size() >= lines;
    }, ms);
    return calls;
  }

 private:
  std::vector<std::string> As(std::vector<std::string> argv) const {
    argv.insert(argv.begin(), as_.begin(), as_.end());
    return argv;
  }
  std::string dir_, address_;
  bool system_;
  std::vector<std::string> as_;
  pid_t pids_[2] = {-1, -1};
};

// The mock's cookie is 1000 + its call count; the portal's logs each request it closes. With
// nothing to ask (no bus to reach, or nobody on it) the flight is as ever, and quiet.
TEST(InhibitE2E, TheScreenSaverServiceElseThePortalIsHeldWhileTheFlightIsShown) {
  const std::string reason = "\"Star-field flight on screen\"", inhibit = "Inhibit \"Lumox\" " + reason;
  const std::string portal = "Inhibit \"\" 8 {\"reason\": " + reason + "}",  // 8: idle
                    closed = "closed /org/freedesktop/portal/desktop/request/lumox/t";
  const struct {
    std::vector<std::string> mock;
    const char* name;  // none: no bus to reach
    size_t release_lines;  // for each minimise
    std::vector<std::string> calls;
  } cases[] = {
      {{"-t", LUMOX_E2E_DIR "/screensaver_mock.py"}, "org.freedesktop.ScreenSaver", 1,
       {inhibit, "UnInhibit 1001", inhibit, "UnInhibit 1003", inhibit, "UnInhibit 1005"}},
      {{"-t", LUMOX_E2E_DIR "/portal_mock.py"}, "org.freedesktop.portal.Desktop", 2,
       {portal, "Close", closed + "1", portal, "Close", closed + "2", portal, "Close", closed + "3"}},
      {{}, "", 0, {}},
      {{}, nullptr, 0, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name ? c.name : "no bus");
    MockBus bus(c.mock, c.name ? c.name : "");
    const std::string address = c.name ? bus.Env() : "DBUS_SESSION_BUS_ADDRESS=unix:path=" + bus.Dir() + "/no-bus";
    Session lumox({.outputs = {{1024, 768}}, .env = {address, "XDG_RUNTIME_DIR=" + bus.Dir()}});
    ASSERT_TRUE(lumox.WaitForWindow("Untitled", Shown));
    EXPECT_TRUE(bus.Calls(0, 0).empty());  // the start window holds nothing
    const std::string window = lumox.Fly();
    ASSERT_FALSE(window.empty());
    EXPECT_EQ(bus.Calls(c.calls.empty() ? 0 : 1).size(), c.calls.empty() ? 0u : 1u);  // held at once
    for (const char* before : {"", "key Escape sleep 0.5 "}) {
      const size_t seen = bus.Calls(0, 0).size();
      lumox.Xdo(before + std::string("windowminimize --sync ") + window);
      if (c.release_lines) bus.Calls(seen + c.release_lines);
      lumox.Xdo("windowactivate --sync " + window);
      if (c.release_lines) bus.Calls(seen + c.release_lines + 1);
    }
    const QImage restored = lumox.Screenshot();
    EXPECT_TRUE(WaitFor([&] { return DifferentPixels(restored, lumox.Screenshot()) > 100; }, 3000));
    ASSERT_TRUE(lumox.Quit() && lumox.ExitStatus() == 0) << lumox.ExitStatus();
    EXPECT_EQ(bus.Calls(c.calls.size()), c.calls);
    EXPECT_EQ(lumox.Stderr(), "");
  }
}

TEST(BatteryE2E, OnBatteryEveryOutputStandsStillOnMainsTheyFlyAndWithoutUPowerItSaysSo) {
  for (const std::string kind : {"openbox", "sway"}) {
    SCOPED_TRACE(kind);
    const MockBus bus({"--system", "--template", "upower", "-p", "{\"OnBattery\": true}"}, "org.freedesktop.UPower", true,
                      kind == "sway");
    const auto d = OpenDesktop({.kind = kind, .outputs = {{800, 600}, {640, 480}}, .start_lumox = false});
    d->StartLumox({"--wallpaper", "--pause-on-battery"}, {bus.Env()});
    const std::string one = d->OutputName(0), two = d->OutputName(1);
    // Each output shows its first frame, stars on black, and goes no further.
    const auto starry = [&](const QImage& shot) { return LitPixels(shot) > 100 && LitPixels(shot) < shot.width() * shot.height() / 20; };
    ASSERT_TRUE(WaitFor([&] { return starry(d->Screenshot(one)) && starry(d->Screenshot(two)); }, 20000)) << d->Stderr();
    const QImage before = d->Screenshot();
    const double share = CpuShare(*d, 6000);
    std::printf("CPU on battery on %s: %.2f%% of a core\n", kind.c_str(), share * 100.0);
    EXPECT_LT(share, 0.02);
    EXPECT_EQ(DifferentPixels(before, d->Screenshot()), 0);
    const std::string set = "org.freedesktop.UPower /org/freedesktop/UPower org.freedesktop.DBus.Properties.Set "
                            "string:org.freedesktop.UPower string:OnBattery variant:boolean:";
    bus.Send(set + "false");
    ASSERT_TRUE(WaitFor([&] { return Flying(*d, one) && Flying(*d, two); }, 5000));
    bus.Send(set + "true");
    ASSERT_TRUE(WaitFor([&] { return DifferentPixels(d->Screenshot(), d->Screenshot()) == 0; }, 5000));
    EXPECT_LT(CpuShare(*d, 4000), 0.02);
    EXPECT_EQ(d->Stderr(), "");
    d->Signal(SIGTERM);
    ASSERT_TRUE(d->WaitForExit());

    const MockBus none({}, "", true, kind == "sway");
    d->StartLumox({"--wallpaper", "--pause-on-battery"}, {none.Env()});
    ASSERT_TRUE(WaitFor([&] { return Flying(*d, one) && Flying(*d, two); }, 20000)) << d->Stderr();
    EXPECT_EQ(d->Stderr(),
              "lumox: UPower does not answer on the system bus, so '--pause-on-battery' can't tell the battery from "
              "the mains; the flights go on.\n");
  }
}

}  // namespace
}  // namespace lumox::e2e
