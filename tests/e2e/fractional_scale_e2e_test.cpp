// The wallpaper at a fractional scale, where the compositor offers one: a headless KWin.
#include <signal.h>

#include <cstdio>
#include <filesystem>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "e2e/desktop.h"

namespace lumox::e2e {
namespace {

// KWin as the test user, one output of the first size at `scale`, with a session bus for its screenshots.
class KWinSession : public Desktop {
 public:
  KWinSession(const DesktopOptions& options, double scale) : Desktop(options) {
    // Copies the user can reach. kwin_wayland keeps its name, without which it won't take its own
    // Qt platform, and loses its file capability, which exec refuses in a container.
    for (const std::filesystem::path file : {LUMOX_EXE, "/usr/bin/kwin_wayland", LUMOX_E2E_DIR "/kwin_shot.py"})
      std::filesystem::copy_file(file, dir_ / file.filename());
    std::vector<std::string> env = UserSession(dir_, dir_);
    env.push_back("DBUS_SESSION_BUS_ADDRESS=" + StartBus(ShellWords(env), bus_));
    user_env_ = ShellWords(env);
    std::vector<std::string> argv = env;
    const QSize size = options.outputs[0];
    argv.insert(argv.end(), {"KWIN_SCREENSHOT_NO_PERMISSION_CHECKS=1", dir_ + "/kwin_wayland", "--virtual", "--socket",
                             "wayland-kwin", "--width", std::to_string(size.width()), "--height",
                             std::to_string(size.height()), "--scale", std::to_string(scale), "--no-lockscreen",
                             "--no-global-shortcuts", "--no-kactivities"});
    kwin_ = StartHelper(argv, -1, dir_ + "/kwin.log");
    if (!WaitFor([&] { return std::filesystem::exists(dir_ + "/wayland-kwin"); }, 20000))
      throw std::runtime_error("kwin did not start: " + ReadFile(dir_ + "/kwin.log"));
    env.push_back("WAYLAND_DISPLAY=wayland-kwin");
    Begin(env, dir_ + "/lumox");
  }
  ~KWinSession() override {
    StopLumox();
    KillServer();
    if (bus_ > 0) kill(bus_, SIGTERM);
  }
  std::string Shell(const std::string& command) const override {
    return RunIn(user_env_, dir_, command);
  }
  // The output in its own pixels, whatever the name.
  QImage Screenshot(const std::string& = "") const override {
    std::istringstream meta(Shell("/usr/bin/python3 kwin_shot.py Virtual-0 shot.raw"));
    const std::string raw = ReadFile(dir_ + "/shot.raw");
    int width = 0, height = 0, stride = 0, format = 0;
    if (!(meta >> width >> height >> stride >> format) || raw.size() < size_t(stride) * height) return {};
    return QImage(reinterpret_cast<const uchar*>(raw.data()), width, height, stride, QImage::Format(format))
        .convertToFormat(QImage::Format_RGB32);
  }
  void KillServer() override { StopHelper(std::exchange(kwin_, -1)); }
  void Keys(const std::string&) const override { ADD_FAILURE() << "no keys on this KWin"; }

 private:
  pid_t kwin_ = -1, bus_ = -1;
  std::string user_env_;
};

// Not a buffer at scale 2 that KWin shrinks: one of the output's own pixels through a viewport, carrying
// the light it has at scale 1. The buffers are read from libwayland's protocol trace.
TEST(FractionalScaleE2E, AtOneAndAHalfTheWallpaperDrawsTheOutputsOwnPixels) {
  const DesktopOptions options{.kind = "kwin", .outputs = {{1280, 720}},
                               .lumox_args = {"--wallpaper", "--star-size", "4"}, .env = {"WAYLAND_DEBUG=1"}};
  double light[2];
  std::string trace;
  for (const double scale : {1.0, 1.5}) {
    KWinSession kwin(options, scale);
    ASSERT_TRUE(WaitFor([&] { return Flying(kwin, ""); }, 20000));
    EXPECT_EQ(kwin.Screenshot().size(), QSize(1280, 720) * scale);
    light[scale > 1.0] = MeanLevel(kwin, "");
    trace = kwin.Stderr();  // the last at 1.5
  }
  std::printf("Mean intensity: %.3f at scale 1, %.3f at scale 1.5\n", light[0], light[1]);
  EXPECT_GT(light[1], light[0] * 0.75);
  EXPECT_LT(light[1], light[0] * 1.25);
  std::string last;  // the buffer it draws on now
  const std::regex made(R"(create_buffer\(new id wl_buffer@\d+, \d+, (\d+), (\d+),)");
  for (std::sregex_iterator m(trace.begin(), trace.end(), made), end; m != end; ++m) last = m->str(1) + "x" + m->str(2);
  EXPECT_EQ(last, "1920x1080");
  EXPECT_TRUE(std::regex_search(trace, std::regex(R"(wp_viewport@\d+\.set_destination\(1280, 720\))")));
  EXPECT_EQ(trace.find("set_buffer_scale"), std::string::npos);
}

}  // namespace
}  // namespace lumox::e2e
