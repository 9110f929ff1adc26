// The command line of the real program: answers on the terminal, and flights started straight
// away, windowed, on another monitor and with the frames-per-second readout.
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "e2e/desktop.h"

namespace lumox::e2e {
namespace {

const char kHint[] = "Try 'lumox --help' for more information.\n";

// Counts the windows that come up on the display from the moment it is made: each one the window
// manager takes into a frame (reparents away from the root) as it is mapped.
class WindowWatch {
 public:
  explicit WindowWatch(const std::string& display) : c_(xcb_connect(display.c_str(), nullptr)) {
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c_)).data;
    const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(c_, screen->root, XCB_CW_EVENT_MASK, &mask);
    RoundTrip();
  }
  ~WindowWatch() { xcb_disconnect(c_); }

  int Windows() {
    RoundTrip();  // every event the server sent before the reply has arrived with it
    while (xcb_generic_event_t* event = xcb_poll_for_event(c_)) {
      windows_ += (event->response_type & 0x7f) == XCB_REPARENT_NOTIFY;
      free(event);
    }
    return windows_;
  }

 private:
  void RoundTrip() { free(xcb_get_input_focus_reply(c_, xcb_get_input_focus(c_), nullptr)); }
  xcb_connection_t* c_;
  int windows_ = 0;
};

struct Outcome {
  int status = -1;
  std::string out, err;
};

// Runs lumox to its end on the session's display with the session's data folder; `env` goes
// first to env(1), e.g. "-u DISPLAY".
Outcome RunLumox(const Session& session, const std::string& args, const std::string& env = "") {
  // A runtime folder of its own keeps Qt's warning about a missing one off standard error.
  const std::string runtime = session.File(".runtime");
  mkdir(runtime.c_str(), 0700);
  const std::string out = session.File(".out"), err = session.File(".err");
  const std::string status = session.Shell("env " + env + " XDG_DATA_HOME=" + session.File("") + " XDG_RUNTIME_DIR=" +
                                           runtime + " " + LUMOX_EXE + " " + args + " >" + out + " 2>" + err +
                                           "; echo $?");
  return {std::atoi(status.c_str()), ReadFile(out), ReadFile(err)};
}

TEST(CliE2E, HelpVersionAndBadArgumentsAnswerOnTheTerminalAndOpenNoWindow) {
  Session lumox({.outputs = {{1280, 800}, {1024, 768}}, .start_lumox = false});
  WindowWatch watch(lumox.Display());

  // Help and version need no display at all.
  const Outcome help = RunLumox(lumox, "--help", "-u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM");
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.err, "");
  EXPECT_EQ(help.out.rfind("Usage: lumox [options]\n", 0), 0u) << help.out;
  const Outcome version = RunLumox(lumox, "--version", "-u DISPLAY");
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "lumox " LUMOX_VERSION "\n");
  EXPECT_EQ(version.err, "");

  // Qt takes its own options (here -display) out before the program reads the rest; the
  // screens are known only once Qt has them. The command line's own messages are its unit test's.
  const struct {
    std::string args, error;
  } bad[] = {
      {"--bogus", "Unknown option 'bogus'."},
      {"-display " + lumox.Display() + " --go --bogus", "Unknown option 'bogus'."},
      {"--go --screen 2", "No screen '2'; the screens are 0 (OUT-1), 1 (OUT-2)."},
      {"--saver --output DP-1", "No output 'DP-1'; the outputs are OUT-1, OUT-2."},
      {"--wallpaper --speed fast", "'--speed' needs a number, not 'fast'."},
  };
  for (const auto& [args, error] : bad) {
    const Outcome outcome = RunLumox(lumox, args);
    EXPECT_EQ(outcome.status, 2) << args;
    EXPECT_EQ(outcome.out, "") << args;
    EXPECT_EQ(outcome.err, "lumox: " + error + "\n" + kHint) << args;
    EXPECT_EQ(watch.Windows(), 0) << args;
  }
  EXPECT_FALSE(std::filesystem::exists(lumox.File("net.tallowby.Lumox")));  // nothing began at all
  lumox.Shell("/usr/bin/python3 " LUMOX_E2E_DIR "/x_client.py probe");
  EXPECT_EQ(watch.Windows(), 1);  // the watch does see a window that comes up

  // Anything else needs a display, and without one says so in one line.
  const Outcome none = RunLumox(lumox, "", "-u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM");
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.err, "lumox: No graphical display: neither DISPLAY nor WAYLAND_DISPLAY is set.\n");
  const Outcome saver = RunLumox(lumox, "--saver", "-u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM");
  EXPECT_EQ(saver.status, 1);
  EXPECT_EQ(saver.err, "lumox: Neither WAYLAND_DISPLAY nor DISPLAY is set, and '--wallpaper' and '--saver' need a "
                       "Wayland compositor with the layer shell or an X display.\n");
}

// A display that is named but gone (a stale DISPLAY after ssh, a Wayland socket of a dead
// session) gets one line naming it and status 1; a bad option is told before any display.
TEST(CliE2E, ADisplayThatDoesNotAnswerIsNamedInOneLineAfterABadOption) {
  Session lumox({.outputs = {{1024, 768}}, .start_lumox = false});
  int n = 4093;
  while (n > 4000 && std::filesystem::exists("/tmp/.X11-unix/X" + std::to_string(n))) --n;
  const std::string dead_x = std::string(":").append(std::to_string(n)), x = " DISPLAY=" + dead_x, w = " WAYLAND_DISPLAY=lumox-gone";
  const std::string no_x = " -u DISPLAY", no_w = " -u WAYLAND_DISPLAY", live_x = " DISPLAY=" + lumox.Display();
  const struct {
    std::string env, err;
  } dead[] = {
      {no_w + x, "The X display '" + dead_x + "' can't be reached."},
      {no_x + w, "The Wayland display 'lumox-gone' can't be reached."},
      {x + w, "Neither the Wayland display 'lumox-gone' nor the X display '" + dead_x + "' can be reached."},
      {no_w + x + " XSCREENSAVER_WINDOW=0x1", "The X display '" + dead_x + "' can't be reached."},
  };
  for (const auto& [env, err] : dead) {
    for (const char* args : {"", "--window", "--wallpaper", env.find("XSCREEN") != std::string::npos ? "--root" : "--go"}) {
      const Outcome outcome = RunLumox(lumox, args, env);
      EXPECT_EQ(outcome.status, 1) << env << " " << args;
      EXPECT_EQ(outcome.err, "lumox: " + err + "\n") << env << " " << args;
    }
  }
  for (const std::string& env : {no_x + no_w, no_w + x, no_x + w, no_w + live_x}) {
    const Outcome outcome = RunLumox(lumox, "--speed nan", env);
    EXPECT_EQ(outcome.status, 2) << env;
    EXPECT_EQ(outcome.err, "lumox: '--speed' needs a number, not 'nan'.\n" + std::string(kHint)) << env;
  }

  // A dead Wayland display before a live X one: the flight on X, without a word about Wayland;
  // the wallpaper too, whatever Qt's platform was set to.
  mkdir(lumox.File(".runtime").c_str(), 0700);
  const std::vector<std::string> dead_wayland = {"WAYLAND_DISPLAY=lumox-gone", "XDG_RUNTIME_DIR=" + lumox.File(".runtime")};
  lumox.StartLumox({"--go"}, dead_wayland);
  EXPECT_TRUE(lumox.WaitForLit(QRect(0, 0, 1024, 768), 1000, 30000));
  ASSERT_TRUE(lumox.Quit());
  EXPECT_EQ(lumox.ExitStatus(), 0);
  EXPECT_EQ(lumox.Stderr(), "");
  std::vector<std::string> wallpaper_env = dead_wayland;
  wallpaper_env.push_back("QT_QPA_PLATFORM=wayland");
  lumox.StartLumox({"--wallpaper"}, wallpaper_env);
  EXPECT_TRUE(lumox.WaitForLit(QRect(0, 0, 1024, 768), 1000, 30000));
  lumox.Signal(SIGTERM);
  ASSERT_TRUE(lumox.WaitForExit());
  EXPECT_EQ(lumox.ExitStatus(), 0);
  EXPECT_EQ(lumox.Stderr(), "");
}

// An X server that resets when its last client leaves, as xvfb-run's does, and no other client:
// each run ends in order with its line or its status, never in Qt's abort at a server that went.
TEST(CliE2E, AServerThatResetsWhenItsLastClientLeavesEndsEveryRunInOrder) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  const pid_t xvfb = StartHelper({"Xvfb", "-displayfd", std::to_string(fds[1]), "-screen", "0", "800x600x24", "-nolisten", "tcp"}, fds[1]);
  close(fds[1]);
  std::string display = ":";
  for (char c; read(fds[0], &c, 1) == 1 && c != '\n';) display += c;
  close(fds[0]);
  ASSERT_NE(display, ":");
  const std::string folder = MakeTempFolder("lumox-reset"), err = folder + "/stderr", shot = folder + "/shot.png";
  const std::vector<std::string> env = {"env", "-u", "WAYLAND_DISPLAY", "DISPLAY=" + display, "XDG_RUNTIME_DIR=" + folder,
                                        "XDG_DATA_HOME=" + folder};
  std::string words;
  for (const std::string& word : env) words += word + " ";
  for (int run = 0; run < 12; ++run) {
    EXPECT_EQ(RunCommand(words + LUMOX_EXE " --window-id 0xdeadbeef 2>&1; echo $?"),
              "lumox: There is no X window 0xdeadbeef to draw into.\n1\n") << run;
    std::vector<std::string> argv = env;
    argv.insert(argv.end(), {LUMOX_EXE, "--wallpaper"});
    const pid_t wallpaper = StartHelper(argv, -1, err);
    int status = -1;
    const auto ended = [&] { return waitpid(wallpaper, &status, WNOHANG) == wallpaper; };
    const bool flew = WaitFor([&] {
      if (ended()) return true;
      RunCommand(words + LUMOX_GRAB " " + shot + " 2>/dev/null");
      return LitPixels(QImage(QString::fromStdString(shot))) > 100;
    }, 30000) && status == -1;
    EXPECT_TRUE(flew) << run << " ended with " << status << ": " << ReadFile(err);
    if (status == -1) {
      kill(wallpaper, SIGTERM);
      waitpid(wallpaper, &status, 0);
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << run << " ended with " << status;
    EXPECT_EQ(ReadFile(err), "") << run;
  }
  StopHelper(xvfb);

  // One that ends with its last client: the display check's connection is held until Qt has its
  // own, so the run still finds the server there.
  ASSERT_EQ(pipe(fds), 0);
  const pid_t ending = StartHelper({"Xvfb", "-displayfd", std::to_string(fds[1]), "-screen", "0", "800x600x24", "-nolisten",
                                    "tcp", "-terminate"}, fds[1]);
  close(fds[1]);
  std::string last = ":";
  for (char c; read(fds[0], &c, 1) == 1 && c != '\n';) last += c;
  close(fds[0]);
  ASSERT_NE(last, ":");
  EXPECT_EQ(RunCommand("env -u WAYLAND_DISPLAY DISPLAY=" + last + " XDG_RUNTIME_DIR=" + folder + " " LUMOX_EXE
                       " --window-id 0xdeadbeef 2>&1; echo $?"),
            "lumox: There is no X window 0xdeadbeef to draw into.\n1\n");
  StopHelper(ending);
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace lumox::e2e
