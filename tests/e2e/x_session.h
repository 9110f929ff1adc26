#pragma once
// End-to-end harness: a private X server (Xvfb) with openbox, the real lumox started on it with
// its own data folder, xdotool for keys and clicks, and screenshots of the whole screen.
#include <sys/types.h>

#include <QImage>
#include <QRect>
#include <functional>
#include <string>
#include <vector>

#include "support/pixels.h"

namespace lumox::e2e {

// A settings file no run would write: negative rotation, CR LF line ends, a line after the five.
inline constexpr char kOddPrefs[] = "-35\r\n0.05\r\n200\r\n2.5\r\n30000\r\nsomething after\r\n";

// The window managers the end-to-end tests run under.
inline const char* const kWindowManagers[] = {"openbox", "xfwm4", "metacity"};

// A monitor cut out of the one screen, as xrandr --setmonitor makes it; Qt names its screen so.
struct Monitor {
  std::string name;
  QRect area;
};

struct SessionOptions {
  int width = 1440;
  int height = 900;
  const char* prefs = nullptr;  // LumoxPrefs' text, if there is to be one
  std::string wm = "openbox";   // one of kWindowManagers
  // Runs on the fresh data folder before lumox starts, e.g. to put a link or a FIFO there.
  std::function<void(const std::string& folder)> prepare = {};
  std::vector<std::string> lumox_args = {};  // after the program's name
  std::vector<Monitor> monitors = {};        // none: one screen; the first is the primary
  bool start_lumox = true;                   // false: the test runs lumox itself
  std::vector<std::string> env = {};         // "NAME=value" for lumox, besides the display's
};

std::string ReadFile(const std::string& path);  // "" if there is none

// What every desktop the tests run on gives them: a display server of their own, a way to run
// commands and take screenshots there, and lumox run on it as one process with its standard error
// kept in a file.
class Desktop {
 public:
  virtual ~Desktop() = default;
  // Runs a shell command against this display; gives its standard output.
  virtual std::string Shell(const std::string& command) const = 0;
  // The whole screen, or one output by name (where the desktop names them).
  virtual QImage Screenshot(const std::string& output = "") const = 0;
  // The screen has more than `min` lit pixels in `area`.
  bool WaitForLit(const QRect& area, int min, int ms = 10000) const;

  bool Running();
  // Waits for lumox to end; gives false if it is still running after `ms`.
  bool WaitForExit(int ms = 5000);
  // lumox's exit status, or 128 and the signal that ended it; -1 before it ended.
  int ExitStatus() const { return status_; }
  void Signal(int signal) const;
  // What lumox has written to its standard error so far.
  std::string Stderr() const { return ReadFile(stderr_); }
  // lumox's user and system CPU time so far, in clock ticks.
  long CpuTicks() const;

 protected:
  void Run(const std::vector<std::string>& argv);
  void Stop();
  std::string stderr_;

 private:
  pid_t lumox_ = -1;
  int status_ = -1;
};

// One run: a private screen managed by a real window manager, a fresh data folder (holding
// LumoxPrefs with `prefs` if given) and lumox started on them with XDG_DATA_HOME set to it.
class Session : public Desktop {
 public:
  explicit Session(const SessionOptions& options);
  Session(int width, int height, const char* prefs = nullptr) : Session(SessionOptions{width, height, prefs}) {}
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  std::string Shell(const std::string& command) const override;
  // xdotool with the given arguments, e.g. Xdo("key Escape").
  std::string Xdo(const std::string& args) const { return Shell("xdotool " + args + " 2>/dev/null"); }
  QImage Screenshot(const std::string& output = "") const override;
  std::string File(const std::string& name) const { return data_ + "/" + name; }
  std::string Prefs() const { return ReadFile(File("LumoxPrefs")); }  // "" if there is none
  // How many times LumoxPrefs has been put in place whole (linked in new or renamed over).
  int PrefsWrites();

  // Starts lumox with these arguments (for a session made with start_lumox false).
  void StartLumox(const std::vector<std::string>& args, const std::vector<std::string>& env = {});
  // Ctrl+Q, then WaitForExit.
  bool Quit();
  // The X window id of the mapped top-level window with this exact title, or "" if none within `ms`.
  std::string WaitForWindow(const std::string& title, int ms = 20000) const;
  // Presses GO (Return) in the start window and waits for the flight: filling `screen` (by
  // default the whole one), focused and drawn. Gives the display window's id, or "" if it did not come.
  std::string Fly(QRect screen = {});
  // Client-area geometry of a window, as the window manager reports it.
  QRect Geometry(const std::string& window) const;
  bool WaitForGeometry(const std::string& window, const QRect& geometry, int ms = 10000) const;
  // The window that has the keyboard focus, as the window manager announces it.
  std::string ActiveWindow() const;
  bool WaitForActive(const std::string& window, int ms = 10000) const;
  // Whether the window manager has the window iconic (WM_STATE Iconic or _NET_WM_STATE_HIDDEN).
  bool Iconic(const std::string& window) const;
  // Kills the X server under lumox, as a crash or the end of the session does.
  void KillXServer();
  const std::string& Display() const { return display_; }

 private:
  pid_t xvfb_ = -1, wm_ = -1;
  int inotify_ = -1, writes_ = 0;
  std::string display_, data_;
};

void SleepMs(int ms);
// ASAN_OPTIONS and UBSAN_OPTIONS as "NAME=value" words, where set: a run from an empty
// environment keeps the sanitized build's settings.
std::vector<std::string> SanitizerEnv();
// Runs a shell command; gives its standard output.
std::string RunCommand(const std::string& command);
// Polls `done` until it holds or `ms` pass; gives whether it held.
bool WaitFor(const std::function<bool()>& done, int ms = 10000);
// A process (a server, a bus, a mocked service, lumox) in its own process group, with no input,
// its output dropped and its standard error in `stderr_file` if one is named; environment
// settings go first in `argv`, through env(1). StopHelper ends the group.
pid_t StartHelper(const std::vector<std::string>& argv, int keep_fd = -1, const std::string& stderr_file = "");
void StopHelper(pid_t pid);
// The words that run a command as the unprivileged user lumoxtest when the tests run as root, as
// sway and XScreenSaver refuse root; the user is made if missing and given `folder`.
std::vector<std::string> AsTestUser(const std::string& folder);
inline std::string MouseTo(QPoint p) { return "mousemove " + std::to_string(p.x()) + " " + std::to_string(p.y()); }
using testing::LitPixels, testing::ColourPixels, testing::Green, testing::GreenPixels, testing::Level, testing::ReadoutGreen;
// Pixels that differ between two images of the same size.
int DifferentPixels(const QImage& a, const QImage& b);

}  // namespace lumox::e2e
