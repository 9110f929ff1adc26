#pragma once
// End-to-end harness on Wayland: a private headless sway, the real lumox started on it as a
// native Wayland client with its own data folder, wtype for keys, grim for screenshots and
// swaymsg's tree for geometry and focus. sway refuses to run as root, so under root both run as
// the unprivileged user lumoxtest with a runtime folder of their own.
#include <sys/types.h>

#include <QImage>
#include <QRect>
#include <string>

namespace lumox::e2e {

// A window in sway's tree: its client area on the output, and how sway has it.
struct SwayWindow {
  bool found = false;
  QRect geometry;
  bool focused = false;
  bool full_screen = false;
  bool urgent = false;
};

class WaylandSession {
 public:
  // `sway_config`: lines for sway's configuration besides the output's.
  WaylandSession(int width, int height, const char* prefs = nullptr, const std::string& sway_config = "");
  ~WaylandSession();
  WaylandSession(const WaylandSession&) = delete;
  WaylandSession& operator=(const WaylandSession&) = delete;

  // Runs a shell command as the session's user, against this compositor; gives its standard output.
  std::string Shell(const std::string& command) const;
  // wtype with the given arguments, e.g. Keys("-k Escape").
  void Keys(const std::string& args) const { Shell("wtype " + args + " 2>/dev/null"); }
  QImage Screenshot() const;
  std::string Prefs() const;  // LumoxPrefs' text, "" if there is none
  SwayWindow Window(const std::string& title) const;
  // Waits until the window with this title holds `condition`, or `ms` pass.
  bool WaitForWindow(const std::string& title, bool (*condition)(const SwayWindow&), int ms = 20000) const;
  bool WaitForLit(const QRect& area, int min, int ms = 10000) const;
  bool Running();
  // Ctrl+Q, then waits for lumox to end.
  bool Quit();

 private:
  pid_t sway_ = -1, keyboard_ = -1, lumox_ = -1;
  std::string dir_, user_env_;
};

}  // namespace lumox::e2e
