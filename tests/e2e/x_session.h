#pragma once
// End-to-end harness: a private X server (Xvfb) with openbox, the real lumox started on it with
// its own data folder, xdotool for keys and clicks, and screenshots of the whole screen.
#include <sys/types.h>

#include <QImage>
#include <QRect>
#include <string>
#include <vector>

#include "support/pixels.h"

namespace lumox::e2e {

// A settings file no run would write: negative rotation, CR LF line ends, a line after the five.
inline constexpr char kOddPrefs[] = "-35\r\n0.05\r\n200\r\n2.5\r\n30000\r\nsomething after\r\n";

// One run: a private screen, a fresh data folder (holding LumoxPrefs with `prefs` if given) and
// lumox started on them with XDG_DATA_HOME set to that folder, and `env` ("NAME=value") besides.
class Session {
 public:
  Session(int width, int height, const char* prefs = nullptr, const std::vector<std::string>& env = {});
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Runs a shell command against this display; gives its standard output.
  std::string Shell(const std::string& command) const;
  // xdotool with the given arguments, e.g. Xdo("key Escape").
  std::string Xdo(const std::string& args) const { return Shell("xdotool " + args + " 2>/dev/null"); }
  QImage Screenshot() const;
  std::string File(const std::string& name) const { return data_ + "/" + name; }
  std::string Prefs() const;  // LumoxPrefs' text, "" if there is none
  // How many times LumoxPrefs has been put in place whole (linked in new or renamed over).
  int PrefsWrites();

  bool Running();
  void Signal(int signal);
  // Waits for lumox to end; gives false if it is still running after `ms`.
  bool WaitForExit(int ms = 5000);
  int ExitStatus() const { return status_; }
  // Ctrl+Q, then WaitForExit.
  bool Quit();
  // The X window id of the top-level window with this exact title, or "" if none within `ms`.
  std::string WaitForWindow(const std::string& title, int ms = 10000) const;
  // Presses GO (Return) in the start window and lets the flight settle; gives the display
  // window's id, or "" if none came.
  std::string Fly(int settle_ms = 800);
  // Client-area geometry of a window, as the window manager reports it.
  QRect Geometry(const std::string& window) const;
  // The X display's name, e.g. ":5".
  const std::string& Display() const { return display_; }
  // What lumox has written to its standard error so far.
  std::string Stderr() const;

 private:
  pid_t xvfb_ = -1, wm_ = -1, lumox_ = -1;
  int status_ = -1, inotify_ = -1, writes_ = 0;
  std::string display_, data_;
};

void SleepMs(int ms);
// A helper process (a bus, a mocked service, a screensaver) in its own process group, with no
// input and its output dropped; StopHelper ends the group.
pid_t StartHelper(const std::vector<std::string>& argv);
void StopHelper(pid_t pid);
inline std::string MouseTo(QPoint p) { return "mousemove " + std::to_string(p.x()) + " " + std::to_string(p.y()); }
using testing::LitPixels;
// Pixels that differ between two images of the same size.
int DifferentPixels(const QImage& a, const QImage& b);

}  // namespace lumox::e2e
