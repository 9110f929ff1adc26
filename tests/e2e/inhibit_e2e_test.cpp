// The idle inhibit on a private session bus, with the desktop's services mocked by dbusmock.
#include <stdlib.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "e2e/x_session.h"

namespace lumox::e2e {
namespace {

const std::string kReason = "\"Star-field flight on screen\"";
const std::string kPortalRequest = "/org/freedesktop/portal/desktop/request/lumox/t";

// A private directory, removed at the end.
struct TempDir {
  TempDir() : path((std::filesystem::temp_directory_path() / "lumox-bus-XXXXXX").string()) {
    if (!mkdtemp(path.data())) throw std::runtime_error("mkdtemp");
  }
  ~TempDir() { std::filesystem::remove_all(path); }
  std::string path;
};

// A session bus of its own (dbus-run-session), holding the service that the dbusmock template
// `mock` in this folder offers, or no service at all when `mock` is empty.
class MockBus {
 public:
  explicit MockBus(const std::string& mock = "", const std::string& name = "") {
    std::vector<std::string> serve{"sleep", "1000"};
    if (!mock.empty()) serve = {"/usr/bin/python3", "-m", "dbusmock", "-t", std::string(LUMOX_E2E_DIR) + "/" + mock, "-l", Log()};
    std::vector<std::string> argv{"dbus-run-session", "--", "sh", "-c",
                                  "echo \"$DBUS_SESSION_BUS_ADDRESS\" > " + dir_.path + "/a && mv " + dir_.path + "/a " +
                                      dir_.path + "/address && exec \"$@\"",
                                  "sh"};
    argv.insert(argv.end(), serve.begin(), serve.end());
    pid_ = StartHelper(argv);
    for (int waited = 0; waited < 10000 && address_.empty(); waited += 20, SleepMs(20))
      std::ifstream(dir_.path + "/address") >> address_;
    // The service is there once it owns its name on the bus.
    const std::string owner_query = "dbus-send --bus=" + address_ +
                                     " --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus "
                                     "org.freedesktop.DBus.NameHasOwner string:" + name + " 2>/dev/null";
    for (int waited = 0; !name.empty() && waited < 10000; waited += 50, SleepMs(50)) {
      if (Run(owner_query).find("true") != std::string::npos) break;
    }
  }
  ~MockBus() { StopHelper(pid_); }

  std::string Env() const { return "DBUS_SESSION_BUS_ADDRESS=" + address_; }
  // The mock's calls so far, one a line, without the time stamps; waits until there are `lines`.
  std::vector<std::string> Calls(size_t lines, int ms = 5000) const {
    std::vector<std::string> calls;
    for (int waited = 0; waited <= ms; waited += 50, SleepMs(50)) {
      calls.clear();
      std::ifstream log(Log());
      for (std::string line; std::getline(log, line);) calls.push_back(line.substr(line.find(' ') + 1));
      if (calls.size() >= lines) break;
    }
    return calls;
  }

 private:
  std::string Log() const { return dir_.path + "/calls.log"; }
  static std::string Run(const std::string& command) { return RunCommand(command); }

  TempDir dir_;
  pid_t pid_ = -1;
  std::string address_;
};

// Minimises the flight with the window manager and restores it, first from full screen, then
// after escape from the window; waits for the mock's `release_lines` lines of giving back and
// the one line of asking again.
void MinimiseAndRestoreTwice(Session& lumox, const std::string& window, const MockBus& bus, size_t release_lines) {
  for (const char* before : {"", "key Escape sleep 0.5 "}) {
    const size_t seen = bus.Calls(0, 0).size();
    lumox.Xdo(before + std::string("windowminimize --sync ") + window);
    bus.Calls(seen + release_lines);
    lumox.Xdo("windowactivate --sync " + window);
    bus.Calls(seen + release_lines + 1);
  }
}

TEST(InhibitE2E, TheScreenSaverServiceIsHeldWhileTheFlightIsShown) {
  MockBus bus("screensaver_mock.py", "org.freedesktop.ScreenSaver");
  TempDir runtime;
  Session lumox({.width = 1024, .height = 768, .env = {bus.Env(), "XDG_RUNTIME_DIR=" + runtime.path}});
  ASSERT_FALSE(lumox.WaitForWindow("Untitled").empty());
  EXPECT_TRUE(bus.Calls(0, 0).empty());  // the start window holds nothing
  const std::string window = lumox.Fly();
  ASSERT_FALSE(window.empty());
  EXPECT_EQ(bus.Calls(1), (std::vector<std::string>{"Inhibit \"Lumox\" " + kReason}));
  MinimiseAndRestoreTwice(lumox, window, bus, 1);
  // Minimising gives back the cookie the mock handed out (1000 + its call count), restoring asks
  // anew, leaving full screen keeps what is held, and quitting gives the last one back.
  ASSERT_TRUE(lumox.Quit());
  const std::string inhibit = "Inhibit \"Lumox\" " + kReason;
  EXPECT_EQ(bus.Calls(6), (std::vector<std::string>{inhibit, "UnInhibit 1001", inhibit, "UnInhibit 1003", inhibit,
                                                    "UnInhibit 1005"}));
  EXPECT_EQ(lumox.ExitStatus(), 0);
  EXPECT_EQ(lumox.Stderr(), "");
}

TEST(InhibitE2E, WithoutTheScreenSaverServiceThePortalIsAsked) {
  MockBus bus("portal_mock.py", "org.freedesktop.portal.Desktop");
  TempDir runtime;
  Session lumox({.width = 1024, .height = 768, .env = {bus.Env(), "XDG_RUNTIME_DIR=" + runtime.path}});
  const std::string window = lumox.Fly();
  ASSERT_FALSE(window.empty());
  const std::string inhibit = "Inhibit \"\" 8 {\"reason\": " + kReason + "}";  // 8: idle
  EXPECT_EQ(bus.Calls(1), std::vector<std::string>{inhibit});
  MinimiseAndRestoreTwice(lumox, window, bus, 2);  // Close, and the mock's line naming the request
  ASSERT_TRUE(lumox.Quit());
  std::vector<std::string> calls;
  for (const char* request : {"1", "2", "3"})
    calls.insert(calls.end(), {inhibit, "Close", "closed " + kPortalRequest + request});
  EXPECT_EQ(bus.Calls(9), calls);
  EXPECT_EQ(lumox.Stderr(), "");
}

// No bus to reach, or a bus on which nobody offers an inhibit: the flight is as ever, and quiet.
TEST(InhibitE2E, WithNothingToAskTheFlightRunsAsEverAndSaysNothing) {
  MockBus empty_bus;
  TempDir runtime;
  for (const std::string& bus : {"DBUS_SESSION_BUS_ADDRESS=unix:path=" + runtime.path + "/no-bus", empty_bus.Env()}) {
    Session lumox({.width = 1024, .height = 768, .env = {bus, "XDG_RUNTIME_DIR=" + runtime.path}});
    const std::string window = lumox.Fly();
    ASSERT_FALSE(window.empty()) << bus;
    lumox.Xdo("key Escape sleep 0.5 windowminimize --sync " + window + " windowactivate --sync " + window);
    const QImage before = lumox.Screenshot();
    bool moving = false;
    for (int waited = 0; waited < 3000 && !moving; waited += 100, SleepMs(100))
      moving = DifferentPixels(before, lumox.Screenshot()) > 100;
    EXPECT_TRUE(moving) << bus;
    ASSERT_TRUE(lumox.Quit()) << bus;
    EXPECT_EQ(lumox.ExitStatus(), 0) << bus;
    EXPECT_EQ(lumox.Stderr(), "") << bus;
  }
}

}  // namespace
}  // namespace lumox::e2e
