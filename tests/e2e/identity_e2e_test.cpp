// What the desktop sees of the running program's windows on X11: the icon, and the window class
// by which a task bar ties the windows to the installed desktop entry.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <string>

#include "e2e/x_session.h"

namespace lumox::e2e {
namespace {

std::set<int> IconSizes(const Session& lumox, const std::string& window) {
  const std::string icons = lumox.Shell("xprop -id " + window + " _NET_WM_ICON");
  std::set<int> sizes;
  const std::regex heading(R"(Icon \((\d+) x (\d+)\))");
  for (auto it = std::sregex_iterator(icons.begin(), icons.end(), heading); it != std::sregex_iterator(); ++it)
    if ((*it)[1] == (*it)[2]) sizes.insert(std::stoi((*it)[1]));
  return sizes;
}

std::string DesktopEntryKey(const std::string& key) {
  std::ifstream entry(LUMOX_DESKTOP_FILE);
  for (std::string line; std::getline(entry, line);)
    if (line.rfind(key + "=", 0) == 0) return line.substr(key.size() + 1);
  return "";
}

TEST(IdentityE2E, WindowsCarryTheIconAndTheClassOfTheDesktopEntry) {
  Session lumox(1024, 768);
  const std::string start = lumox.WaitForWindow("Untitled");
  ASSERT_FALSE(start.empty());
  const std::set<int> sizes{16, 24, 32, 48, 64, 128};
  EXPECT_EQ(IconSizes(lumox, start), sizes);
  // WM_CLASS = "instance", "class"; the desktop entry's StartupWMClass must name the class.
  const std::string wm_class = lumox.Shell("xprop -id " + start + " WM_CLASS");
  const std::string startup_class = DesktopEntryKey("StartupWMClass");
  ASSERT_FALSE(startup_class.empty());
  EXPECT_NE(wm_class.find(", \"" + startup_class + "\""), std::string::npos) << wm_class;

  const std::string display = lumox.Fly();
  ASSERT_FALSE(display.empty());
  EXPECT_EQ(IconSizes(lumox, display), sizes);
  EXPECT_TRUE(lumox.Quit());
}

}  // namespace
}  // namespace lumox::e2e
