// The idle inhibit on a private session bus, with the desktop's services mocked by dbusmock.
#include <stdlib.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "e2e/desktop.h"

namespace lumox::e2e {
namespace {

// A session bus of its own (dbus-run-session) in a private folder, holding the service that the
// dbusmock template `mock` in this folder offers, or no service at all when `mock` is empty.
class MockBus {
 public:
  MockBus(const std::string& mock, const std::string& name) : dir_(MakeTempFolder("lumox-bus")) {
    std::vector<std::string> argv{"dbus-run-session", "--", "sh", "-c",
                                  "echo \"$DBUS_SESSION_BUS_ADDRESS\" > " + dir_ + "/a && mv " + dir_ + "/a " + dir_ +
                                      "/address && exec \"$@\"",
                                  "sh"};
    if (mock.empty()) argv.insert(argv.end(), {"sleep", "1000"});
    else argv.insert(argv.end(), {"/usr/bin/python3", "-m", "dbusmock", "-t", LUMOX_E2E_DIR "/" + mock, "-l", dir_ + "/calls.log"});
    pid_ = StartHelper(argv);
    WaitFor([&] { return bool(std::ifstream(dir_ + "/address") >> address_); });
    // The service is there once it owns its name on the bus.
    WaitFor([&] {
      return name.empty() || RunCommand("dbus-send --bus=" + address_ +
                                        " --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus "
                                        "org.freedesktop.DBus.NameHasOwner string:" + name + " 2>/dev/null")
                                     .find("true") != std::string::npos;
    });
  }
  ~MockBus() {
    StopHelper(pid_);
    std::filesystem::remove_all(dir_);
  }

  std::string Env() const { return "DBUS_SESSION_BUS_ADDRESS=" + address_; }
  const std::string& Dir() const { return dir_; }
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
  std::string dir_;
  pid_t pid_ = -1;
  std::string address_;
};

// Each case flies, minimises the flight with the window manager and restores it, first from full
// screen, then after escape from the window, and quits. The mock hands out cookie 1000 + its call
// count; the portal's mock adds a line naming each request it closes. With nothing to ask (no bus
// to reach, or a bus on which nobody offers an inhibit) the flight is as ever, and quiet.
TEST(InhibitE2E, TheScreenSaverServiceElseThePortalIsHeldWhileTheFlightIsShown) {
  const std::string reason = "\"Star-field flight on screen\"", inhibit = "Inhibit \"Lumox\" " + reason;
  const std::string portal = "Inhibit \"\" 8 {\"reason\": " + reason + "}";  // 8: idle
  const std::string closed = "closed /org/freedesktop/portal/desktop/request/lumox/t";
  const struct {
    const char *mock, *name;
    size_t release_lines;  // for each minimise
    std::vector<std::string> calls;
  } cases[] = {
      {"screensaver_mock.py", "org.freedesktop.ScreenSaver", 1,
       {inhibit, "UnInhibit 1001", inhibit, "UnInhibit 1003", inhibit, "UnInhibit 1005"}},
      {"portal_mock.py", "org.freedesktop.portal.Desktop", 2,
       {portal, "Close", closed + "1", portal, "Close", closed + "2", portal, "Close", closed + "3"}},
      {"", "", 0, {}},
      {nullptr, "", 0, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.mock ? c.mock : "no bus");
    MockBus bus(c.mock ? c.mock : "", c.name);
    const std::string address = c.mock ? bus.Env() : "DBUS_SESSION_BUS_ADDRESS=unix:path=" + bus.Dir() + "/no-bus";
    Session lumox({.outputs = {{1024, 768}}, .env = {address, "XDG_RUNTIME_DIR=" + bus.Dir()}});
    ASSERT_TRUE(lumox.WaitForWindow("Untitled", Shown));
    EXPECT_TRUE(bus.Calls(0, 0).empty());  // the start window holds nothing
    const std::string window = lumox.Fly();
    ASSERT_FALSE(window.empty());
    if (!c.calls.empty()) {
      EXPECT_EQ(bus.Calls(1), std::vector<std::string>{c.calls[0]});
    }
    for (const char* before : {"", "key Escape sleep 0.5 "}) {
      const size_t seen = bus.Calls(0, 0).size();
      lumox.Xdo(before + std::string("windowminimize --sync ") + window);
      if (c.release_lines) bus.Calls(seen + c.release_lines);
      lumox.Xdo("windowactivate --sync " + window);
      if (c.release_lines) bus.Calls(seen + c.release_lines + 1);
    }
    const QImage restored = lumox.Screenshot();
    EXPECT_TRUE(WaitFor([&] { return DifferentPixels(restored, lumox.Screenshot()) > 100; }, 3000));
    ASSERT_TRUE(lumox.Quit());
    EXPECT_EQ(bus.Calls(c.calls.size()), c.calls);
    EXPECT_EQ(lumox.ExitStatus(), 0);
    EXPECT_EQ(lumox.Stderr(), "");
  }
}

}  // namespace
}  // namespace lumox::e2e
