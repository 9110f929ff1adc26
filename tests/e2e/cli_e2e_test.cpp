// The command line: answers on the terminal, and displays that are missing, gone or going.
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>

#include "e2e/desktop.h"

namespace lumox::e2e {
namespace {

const char kHint[] = "Try 'lumox --help' for more information.\n";

struct Outcome {
  int status = -1;
  std::string out, err;
};

// Runs lumox to its end on the session's display; `env` goes first to env(1), e.g. "-u DISPLAY".
Outcome RunLumox(const Session& session, const std::string& args, const std::string& env = "") {
  // A runtime folder of its own keeps Qt's warning about a missing one off standard error.
  const std::string runtime = session.File(".runtime"), out = session.File(".out"), err = session.File(".err");
  mkdir(runtime.c_str(), 0700);
  const std::string status = session.Shell("env " + env + " XDG_DATA_HOME=" + session.File("") + " XDG_RUNTIME_DIR=" + runtime +
                                           " " LUMOX_EXE " " + args + " >" + out + " 2>" + err + "; echo $?");
  return {std::atoi(status.c_str()), ReadFile(out), ReadFile(err)};
}

// A display named but gone is a stale DISPLAY after ssh or a dead session's Wayland socket; a bad
// option is told before any display is looked for.
TEST(CliE2E, AnswersOnTheTerminalOpenNoWindowAndADisplayThatDoesNotAnswerIsNamedInOneLine) {
  Session lumox({.outputs = {{1280, 800}, {1024, 768}}, .start_lumox = false});
  // The windows framed by the window manager, as xev tells them in order: a probe's told last.
  const std::string xev = lumox.File(".xev");
  const pid_t watch = StartHelper({"sh", "-c", "exec stdbuf -oL xev -display " + lumox.Display() + " -root -event substructure >" + xev});
  const auto seen = [&] { return std::atoi(RunCommand("grep -c ReparentNotify " + xev).c_str()); };
  const auto probe = [&] { lumox.Shell("/usr/bin/python3 " LUMOX_E2E_DIR "/x_client.py probe"); };
  ASSERT_TRUE(WaitFor([&] { probe(); return WaitFor([&] { return seen() > 0; }, 2000); }));  // xev listens
  const int probes = seen();
  int n = 4093;
  while (n > 4000 && std::filesystem::exists("/tmp/.X11-unix/X" + std::to_string(n))) --n;
  const std::string dead_x = ":" + std::to_string(n), x = " DISPLAY=" + dead_x, w = " WAYLAND_DISPLAY=lumox-gone";
  const std::string no_x = " -u DISPLAY", no_w = " -u WAYLAND_DISPLAY", live_x = " DISPLAY=" + lumox.Display();
  const std::string none = "-u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM", usage = "Usage: lumox [options]\n";
  struct Run { std::string env, args; int status; std::string out, err; };
  std::vector<Run> runs = {
      {none, "--help", 0, usage, ""},
      {"-u DISPLAY", "--version", 0, "lumox " LUMOX_VERSION "\n", ""},
      {"", "-display " + lumox.Display() + " --go --bogus", 2, "", "Unknown option 'bogus'."},
      {"", "--go --screen 2", 2, "", "No screen '2'; the screens are 0 (OUT-1), 1 (OUT-2)."},
      {"", "--saver --output DP-1", 2, "", "No output 'DP-1'; the outputs are OUT-1, OUT-2."},
      {none, "", 1, "", "No graphical display: neither DISPLAY nor WAYLAND_DISPLAY is set."},
      {none, "--saver", 1, "", "Neither WAYLAND_DISPLAY nor DISPLAY is set, and '--wallpaper' and '--saver' need a "
                               "Wayland compositor with the layer shell or an X display."},
      {no_x + w, "-root", 1, "", "DISPLAY is not set, and '--root' and '--window-id' draw into X11 windows."},
  };
  for (const std::string& env : {no_x + no_w, no_w + x, no_x + w, no_w + live_x})
    runs.push_back({env, "--speed nan", 2, "", "'--speed' needs a number, not 'nan'."});
  for (const auto& run : runs) {
    const Outcome outcome = RunLumox(lumox, run.args, run.env);
    EXPECT_EQ(outcome.status, run.status) << run.env << " " << run.args;
    EXPECT_EQ(run.out == usage ? outcome.out.substr(0, usage.size()) : outcome.out, run.out) << run.args;
    EXPECT_EQ(outcome.err, run.err.empty() ? "" : "lumox: " + run.err + "\n" + (run.status == 2 ? kHint : "")) << run.args;
  }
  EXPECT_FALSE(std::filesystem::exists(lumox.File("net.tallowby.Lumox")));  // nothing began at all

  const struct { std::string env, err; } dead[] = {
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
  probe();
  EXPECT_TRUE(WaitFor([&] { return seen() > probes; }) && seen() == probes + 1) << seen() - probes - 1 << " windows came up";
  StopHelper(watch);

  // A dead Wayland display before a live X one: the flight and the wallpaper (whatever Qt's platform) on X, quietly.
  for (const char* args : {"--go", "--wallpaper"}) {
    std::vector<std::string> env = {"WAYLAND_DISPLAY=lumox-gone", "XDG_RUNTIME_DIR=" + lumox.File(".runtime")};
    if (args == std::string("--wallpaper")) env.push_back("QT_QPA_PLATFORM=wayland");
    lumox.StartLumox({args}, env);
    EXPECT_TRUE(lumox.WaitForLit(QRect(0, 0, 1024, 768), 1000, 30000)) << args;
    EXPECT_TRUE(lumox.Terminate()) << args;
  }
}

// xvfb-run's server resets as its last client leaves: each run still ends with its line or status, not Qt's abort.
TEST(CliE2E, AServerThatResetsOrEndsWhenItsLastClientLeavesEndsEveryRunInOrder) {
  const std::string folder = MakeTempFolder("lumox-reset"), err = folder + "/stderr", shot = folder + "/shot.png";
  const auto env = [&](const std::string& x) {
    return "env -u WAYLAND_DISPLAY DISPLAY=" + x + " XDG_RUNTIME_DIR=" + folder + " XDG_DATA_HOME=" + folder + " ";
  };
  const char kNoWindow[] = "lumox: There is no X window 0xdeadbeef to draw into.\n1\n";
  const auto [xvfb, display] = StartXvfb({800, 600});
  ASSERT_NE(display, ":");
  for (int n = 0; n < 12; ++n) {
    EXPECT_EQ(RunCommand(env(display) + LUMOX_EXE " --window-id 0xdeadbeef 2>&1; echo $?"), kNoWindow) << n;
    const pid_t wallpaper = StartHelper({"sh", "-c", "exec " + env(display) + LUMOX_EXE " --wallpaper"}, -1, err);
    int status = -1;
    EXPECT_TRUE(WaitFor([&] {
      if (waitpid(wallpaper, &status, WNOHANG) == wallpaper) return true;
      RunCommand(env(display) + "scrot -o " + shot + " 2>/dev/null");
      return LitPixels(QImage(QString::fromStdString(shot))) > 100;
    }, 30000) && status == -1) << n << " ended with " << status << ": " << ReadFile(err);
    if (status == -1 && kill(wallpaper, SIGTERM) == 0) waitpid(wallpaper, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << n << " ended with " << status;
    EXPECT_EQ(ReadFile(err), "") << n;
  }
  StopHelper(xvfb);

  // The display check's connection is held until Qt has its own, so the server is still there.
  const auto [ending, last] = StartXvfb({800, 600}, "-terminate");
  ASSERT_NE(last, ":");
  EXPECT_EQ(RunCommand(env(last) + LUMOX_EXE " --window-id 0xdeadbeef 2>&1; echo $?"), kNoWindow);
  StopHelper(ending);
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace lumox::e2e
