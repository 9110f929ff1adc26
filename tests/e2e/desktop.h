#pragma once
// One Desktop over the servers the tests run on (Xvfb with a window manager, or headless sway),
// with the real lumox on it, driven with real keys and seen through screenshots.
#include <sys/types.h>

#include <QImage>
#include <QRect>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/pixels.h"

namespace lumox::e2e {

// A settings file no run would write: negative rotation, CR LF line ends, a line after the five.
inline constexpr char kOddPrefs[] = "-35\r\n0.05\r\n200\r\n2.5\r\n30000\r\nsomething after\r\n";

struct WindowState {  // a top-level window as the window manager or compositor has it
  std::string id;
  bool shown = false, minimised = false, focused = false, full_screen = false;
  QRect geometry;   // the client area on the screen
  QRect frame;      // the same with the decorations around it
  std::string app;  // WM_CLASS's class, or the Wayland app id
};

struct DesktopOptions {
  std::string kind = "openbox";             // openbox, xfwm4, metacity, i3 (each under Xvfb) or sway
  std::vector<QSize> outputs = {{1440, 900}};  // side by side, tops aligned; the first is the primary
  const char* prefs = nullptr;              // LumoxPrefs' text, if there is to be one
  std::vector<std::string> lumox_args = {};  // after the program's name
  bool start_lumox = true;                   // false: the test runs lumox itself
  std::vector<std::string> env = {};         // "NAME=value" for lumox, besides the display's
  std::string sway_config = {};              // more lines for sway's configuration
  bool sway_pointer = false;                 // sway's seat has wayvnc's pointer (X always has one)
};

std::string ReadFile(const std::string& path);  // "" if there is none
inline bool Shown(const WindowState& w) { return w.shown; }
inline bool Focused(const WindowState& w) { return w.shown && w.focused; }

class Desktop {
 public:
  explicit Desktop(const DesktopOptions& options);
  virtual ~Desktop();
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

  // Runs a shell command against this display; gives its standard output.
  virtual std::string Shell(const std::string& command) const = 0;
  // The whole screen, or one output by name.
  virtual QImage Screenshot(const std::string& output = "") const = 0;
  // Keys by their X names in turn: "Escape", "alt", a chord "ctrl+q", "down:Left" / "up:Left".
  virtual void Keys(const std::string& words) const = 0;
  // Down without repeating until Keys("up:key").
  virtual void HoldKey(const std::string& key) const { Keys("down:" + key); }
  // The pointer moved there and clicked if asked, the wheel turned a step; false without a pointer.
  virtual bool Pointer(QPoint, bool = false) const { return false; }
  virtual bool Wheel() const { return false; }
  // The top-level window with this exact title; the first shown one where there are several.
  virtual WindowState Window(const std::string&) const { return {}; }
  // Hands the keyboard to the window, as the user's click on it does.
  virtual void Activate(const std::string&) const {}
  // Escape's window goes where asked and a put-away one is minimised (sway places and unmaps).
  virtual bool PlacesWindows() const { return false; }
  // Moves the window to the point, as the user's drag does; false where the desktop places them itself.
  virtual bool Move(const std::string&, QPoint) const { return false; }
  // An ordinary window of another program over the whole of an output; gives when it shows.
  virtual bool OpenWindow(int = 0) const { return false; }
  // Those windows put away, as minimised; gives when they are.
  virtual bool CloseWindows() const { return false; }
  // Kills the display server under lumox, as a crash or the end of the session does.
  virtual void KillServer() = 0;

  const std::string& Kind() const { return options_.kind; }
  std::string OutputName(int index) const;
  QRect OutputArea(int index) const;
  // The failure tells how the window last was.
  ::testing::AssertionResult WaitForWindow(const std::string& title, const std::function<bool(const WindowState&)>& condition,
                     int ms = 20000) const;
  // GO in the start window, then the flight full screen on the output, focused and drawn: its
  // window id, or "" and a failure.
  std::string Fly(int output = 0);
  bool WaitForLit(const QRect& area, int min, int ms = 10000) const;

  void StartLumox(const std::vector<std::string>& args, const std::vector<std::string>& env = {});
  bool Running();
  bool WaitForExit(int ms = 5000);
  int ExitStatus() const { return status_; }  // 128 + the signal that ended it; -1 while it runs
  void Signal(int signal) const;
  // SIGTERM, as at logout: lumox ends within two seconds, with status 0 and nothing said.
  ::testing::AssertionResult Terminate();
  bool Quit();  // Ctrl+Q
  std::string Stderr() const { return ReadFile(stderr_); }
  long CpuTicks() const;
  std::string File(const std::string& name) const { return data_ + "/" + name; }
  std::string Prefs() const { return ReadFile(File("LumoxPrefs")); }  // "" if there is none
  int PrefsWrites();  // LumoxPrefs put in place whole, linked in or renamed over

 protected:
  // Once the server runs: the data folder filled and lumox started, `launch` before `exe`.
  void Begin(std::vector<std::string> launch, std::string exe);
  void StopLumox();
  DesktopOptions options_;
  std::string dir_;  // the desktop's own folder; the data folder is in it
  std::string stderr_, data_;

 private:
  std::vector<std::string> launch_;
  std::string exe_;
  pid_t lumox_ = -1;
  int status_ = -1, inotify_ = -1, writes_ = 0;
};

// The desktop of this kind, running.
std::unique_ptr<Desktop> OpenDesktop(const DesktopOptions& options);

// Xvfb with a window manager, the outputs cut out of one screen as xrandr --setmonitor does.
class Session : public Desktop {
 public:
  explicit Session(const DesktopOptions& options);
  ~Session() override;
  std::string Shell(const std::string& command) const override;
  QImage Screenshot(const std::string& output = "") const override;
  void Keys(const std::string& words) const override;
  void HoldKey(const std::string& key) const override;
  bool Pointer(QPoint p, bool click = false) const override;
  bool Wheel() const override {
    Xdo("click 4");
    return true;
  }
  WindowState Window(const std::string& title) const override;
  void Activate(const std::string& title) const override;
  bool PlacesWindows() const override { return Kind() != "i3"; }  // i3 tiles them
  bool Move(const std::string& title, QPoint to) const override;
  bool OpenWindow(int output = 0) const override;
  bool CloseWindows() const override;
  void KillServer() override;

  std::string Xdo(const std::string& args) const { return Shell("xdotool " + args + " 2>/dev/null"); }
  QRect Geometry(const std::string& window) const { return State(window).geometry; }  // by id
  const std::string& Display() const { return display_; }
  // Another program on the display (tests/e2e/x_client.py with these arguments), once it has said
  // its first line, which goes in `line`; StopHelper ends it. -1 if it said nothing.
  pid_t XClient(const std::string& args, std::string* line = nullptr) const;
  // Another program's override-redirect window over `area`, as a notification's: XClient's cover.
  pid_t Cover(const QRect& area, const std::string& how) const;

 private:
  WindowState State(const std::string& id) const;
  pid_t xvfb_ = -1, wm_ = -1;
  std::string display_;
};

// An Xvfb of its own, with `option` if any: the server and its display, ":" if it did not start.
std::pair<pid_t, std::string> StartXvfb(QSize size, const std::string& option = "");

// A headless sway as an unprivileged user (sway refuses root), with one virtual keyboard for the
// session; lumox runs there from an empty environment, so it can only be a Wayland client.
class SwaySession : public Desktop {
 public:
  explicit SwaySession(const DesktopOptions& options);
  ~SwaySession() override;
  std::string Shell(const std::string& command) const override;
  QImage Screenshot(const std::string& output = "") const override;
  void Keys(const std::string& words) const override;
  // Through wayvnc's pointer on the first output, while one is plugged in.
  bool Pointer(QPoint p, bool click = false) const override;
  bool Wheel() const override { return Vnc("wheel", pointer_); }  // where the pointer is: RFB has no wheel alone
  WindowState Window(const std::string& title) const override;
  void Activate(const std::string& title) const override;
  bool OpenWindow(int output = 0) const override;
  bool CloseWindows() const override;  // closed: sway has no minimise
  void KillServer() override;

  // A foot terminal on the focused output, once shown; `command` runs in the data folder's parent.
  bool OpenTerminal(bool full_screen, const std::string& command = "sleep 86400") const;
  size_t Terminals() const;  // how many foot windows sway shows
  // A keyboard, or wayvnc's pointer on the first output, unplugged or plugged anew, as the seat shows.
  bool PlugKeyboard(bool plugged);
  bool PlugPointer(bool plugged);
  // A key (an X keysym) held down or let go on wayvnc's keyboard, which comes with its pointer:
  // unlike wtype's, one keyboard for both.
  bool HoldKey(uint32_t keysym, bool down) const;

 private:
  bool Capable(int capability) const;  // the seat has a device of this wl_seat capability
  bool Vnc(const std::string& action, QPoint p) const;
  pid_t sway_ = -1, keyboard_ = -1, vnc_ = -1;
  mutable QPoint pointer_;
  std::string user_env_;
  std::vector<std::string> env_;
};

void SleepMs(int ms);
// ASAN_OPTIONS and UBSAN_OPTIONS as "NAME=value" words, where set: a run from an empty
// environment keeps the sanitized build's settings.
std::vector<std::string> SanitizerEnv();
std::string RunCommand(const std::string& command);
bool WaitFor(const std::function<bool()>& done, int ms = 10000);
// A process (a server, a bus, a mocked service, lumox) in its own process group, with no input,
// its output dropped and its standard error in `stderr_file` if one is named; environment
// settings go first in `argv`, through env(1). StopHelper ends the group.
pid_t StartHelper(const std::vector<std::string>& argv, int keep_fd = -1, const std::string& stderr_file = "");
void StopHelper(pid_t pid);
// The words that run a command as the unprivileged user lumoxtest when the tests run as root, as
// sway and XScreenSaver refuse root; the user is made if missing and given `folder`.
std::vector<std::string> AsTestUser(const std::string& folder);
// A session of that user from an empty environment: AsTestUser's words, then env -i with `home`,
// `runtime` as XDG_RUNTIME_DIR and the sanitizer's settings.
std::vector<std::string> UserSession(const std::string& home, const std::string& runtime);
std::string ShellWords(const std::vector<std::string>& words);  // each quoted, then a space
// A session bus that `session` (ShellWords) starts: its address, and its process in `pid`.
std::string StartBus(const std::string& session, pid_t& pid);
// `command` run in `folder` after the `session` words; gives its standard output.
std::string RunIn(const std::string& session, const std::string& folder, const std::string& command);
std::string MakeTempFolder(const std::string& prefix);
inline std::string MouseTo(QPoint p) { return "mousemove " + std::to_string(p.x()) + " " + std::to_string(p.y()); }
using testing::LitPixels, testing::ColourPixels, testing::Green, testing::GreenPixels, testing::Level, testing::ReadoutGreen;
int DifferentPixels(const QImage& a, const QImage& b);
// The output (or `area` of the screen) shows a star field: lit pixels on black, and it moves.
bool Flying(const Desktop& desktop, const std::string& output, QRect area = {});
// How alike the columns on either side of x = `edge` are from row `top` to `bottom`: 1 where they
// carry the same light row by row, near 0 for unrelated fields; -1 where too little light falls there.
double SeamLikeness(const QImage& shot, int edge, int top, int bottom);
// Lumox's share of one core over the next `ms` of wall time; any process's, from its CPU ticks.
double CpuShare(const Desktop& desktop, int ms);
double CpuShare(const std::function<long()>& ticks, int ms);
long CpuTicksOf(pid_t pid);
inline long MsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
}
// The mean of the pixels' brightest channels over `shots` screenshots of the output.
double MeanLevel(const Desktop& desktop, const std::string& output, int shots = 6);

}  // namespace lumox::e2e
