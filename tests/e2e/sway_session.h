#pragma once
// A private headless sway as an unprivileged user (sway refuses root), with one virtual keyboard
// for the whole session, grim for screenshots, swaymsg for the tree, and lumox started on it
// from an empty environment: with no DISPLAY it can only be a Wayland client.
#include <sys/types.h>

#include <QImage>
#include <QRect>
#include <string>
#include <vector>

#include "e2e/x_session.h"

namespace lumox::e2e {

// A window in sway's tree: its client area on the output, and how sway has it.
struct SwayWindow {
  bool found = false, focused = false, full_screen = false;
  QRect geometry;
  QString app_id;
  bool urgent = false;  // asked for the focus and not given it
};

class SwaySession : public Desktop {
 public:
  // `sway_config` goes after the first output's size; `lumox_args` after the program's name.
  // Without `start`, the test starts lumox itself.
  SwaySession(int width, int height, const std::string& sway_config = "",
              const std::vector<std::string>& lumox_args = {}, int outputs = 1, bool start = true);
  ~SwaySession();
  SwaySession(const SwaySession&) = delete;
  SwaySession& operator=(const SwaySession&) = delete;

  // Runs a shell command as the session's user, against this compositor; gives its standard output.
  std::string Shell(const std::string& command) const override;
  void Keys(const std::string& args) const { Shell("wtype " + args); }
  QImage Screenshot(const std::string& output = "") const override;
  std::string Prefs() const;
  SwayWindow Window(const std::string& title) const;
  bool WaitForWindow(const std::string& title, bool (*condition)(const SwayWindow&)) const;
  // Starts lumox (a copy the session's user can run, wherever the build is) with these arguments.
  void StartLumox(const std::vector<std::string>& args);
  // A foot terminal, on the focused output, full screen if asked; gives when sway shows it.
  bool OpenTerminal(bool full_screen) const;
  bool Quit();
  // What a client of this compositor sets: "WAYLAND_DISPLAY=…" and "XDG_RUNTIME_DIR=…".
  std::vector<std::string> ClientEnv() const;
  // Ends the compositor under lumox, as a crash or a logout does.
  void KillCompositor();

 private:
  pid_t sway_ = -1, keyboard_ = -1;
  std::string dir_, user_env_, lumox_copy_;
  std::vector<std::string> env_;
};

}  // namespace lumox::e2e
