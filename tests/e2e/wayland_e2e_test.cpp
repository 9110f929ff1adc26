// The real program as a native Wayland client on a private headless sway, driven with real key
// events: wtype for keys, grim for screenshots and swaymsg's tree for geometry and focus.
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <filesystem>
#include <fstream>

#include "e2e/x_session.h"

namespace lumox::e2e {
namespace {

// A window in sway's tree: its client area on the output, and how sway has it.
struct SwayWindow {
  bool found = false, focused = false, full_screen = false;
  QRect geometry;
  QString app_id;
};

void FindWindow(const QJsonObject& node, const QString& title, SwayWindow& found) {
  if (node.value("name").toString() == title && node.contains("window_rect")) {
    const QJsonObject rect = node.value("rect").toObject(), inner = node.value("window_rect").toObject();
    found = {true, node.value("focused").toBool(), node.value("fullscreen_mode").toInt() != 0,
             QRect(rect.value("x").toInt() + inner.value("x").toInt(), rect.value("y").toInt() + inner.value("y").toInt(),
                   inner.value("width").toInt(), inner.value("height").toInt()),
             node.value("app_id").toString()};
  }
  for (const char* list : {"nodes", "floating_nodes"})
    for (const QJsonValue child : node.value(list).toArray()) FindWindow(child.toObject(), title, found);
}

// sway on a fresh runtime folder, one keyboard for the whole session (a headless seat has one
// only while a virtual one exists) and lumox as a client of it, from an empty environment: with
// no DISPLAY lumox can only be a Wayland client.
class WaylandSession {
 public:
  WaylandSession(int width, int height) {
    dir_ = (std::filesystem::temp_directory_path() / "lumox-wl-XXXXXX").string();
    if (!mkdtemp(dir_.data())) throw std::runtime_error("mkdtemp");
    std::filesystem::create_directory(dir_ + "/data");
    std::ofstream(dir_ + "/sway") << "output HEADLESS-1 resolution " << width << "x" << height << "\nxwayland disable\n";
    std::vector<std::string> env = AsTestUser(dir_);
    env.insert(env.end(), {"env", "-i", "HOME=" + dir_, "XDG_RUNTIME_DIR=" + dir_, "PATH=/usr/bin:/bin"});
    const auto with = [&env](std::initializer_list<std::string> words) {
      std::vector<std::string> argv = env;
      argv.insert(argv.end(), words);
      return argv;
    };
    sway_ = StartHelper(with({"WLR_BACKENDS=headless", "WLR_RENDERER=pixman", "WLR_LIBINPUT_NO_DEVICES=1", "sway", "-c",
                              dir_ + "/sway"}));
    std::string socket, ipc;
    WaitFor([&] {
      for (const auto& entry : std::filesystem::directory_iterator(dir_)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with("wayland-") && !name.ends_with(".lock")) socket = name;
        if (name.starts_with("sway-ipc.")) ipc = name;
      }
      return !socket.empty() && !ipc.empty();
    });
    if (socket.empty() || ipc.empty()) throw std::runtime_error("sway did not start");
    env.insert(env.end(), {"WAYLAND_DISPLAY=" + socket, "SWAYSOCK=" + dir_ + "/" + ipc});
    for (const std::string& word : env) user_env_ += "'" + word + "' ";
    keyboard_ = StartHelper(with({"wtype", "-s", "86400000"}));
    if (!WaitFor([&] { return Shell("swaymsg -t get_inputs").find("\"keyboard\"") != std::string::npos; }))
      throw std::runtime_error("no keyboard in the seat");
    lumox_ = StartHelper(with({"XDG_DATA_HOME=" + dir_ + "/data", LUMOX_EXE}));
  }
  ~WaylandSession() {
    StopHelper(lumox_);
    StopHelper(keyboard_);
    StopHelper(sway_);
    std::filesystem::remove_all(dir_);
  }

  // Runs a shell command as the session's user, against this compositor; gives its standard output.
  std::string Shell(const std::string& command) const { return RunCommand(user_env_ + "sh -c '" + command + " 2>/dev/null'"); }
  void Keys(const std::string& args) const { Shell("wtype " + args); }
  QImage Screenshot() const {
    Shell("grim " + dir_ + "/shot.png");
    const QImage shot(QString::fromStdString(dir_ + "/shot.png"));
    std::filesystem::remove(dir_ + "/shot.png");
    return shot.convertToFormat(QImage::Format_RGB32);
  }
  std::string Prefs() const { return ReadFile(dir_ + "/data/LumoxPrefs"); }
  SwayWindow Window(const std::string& title) const {
    SwayWindow found;
    FindWindow(QJsonDocument::fromJson(QByteArray::fromStdString(Shell("swaymsg -t get_tree"))).object(),
               QString::fromStdString(title), found);
    return found;
  }
  bool WaitForWindow(const std::string& title, bool (*condition)(const SwayWindow&)) const {
    return WaitFor([&] { return condition(Window(title)); }, 20000);
  }
  bool WaitForLit(const QRect& area, int min) const {
    return WaitFor([&] { return LitPixels(Screenshot().copy(area)) > min; });
  }
  bool Quit() {
    Keys("-M ctrl q -m ctrl");
    return WaitFor([&] { return waitpid(lumox_, nullptr, WNOHANG) == lumox_ && (lumox_ = -1); }, 5000);
  }

 private:
  pid_t sway_ = -1, keyboard_ = -1, lumox_ = -1;
  std::string dir_, user_env_;
};

TEST(WaylandE2E, FlightSettingsEscapeAndQuitOnAWaylandCompositor) {
  WaylandSession lumox(1280, 800);
  ASSERT_TRUE(lumox.WaitForWindow("Untitled", [](const SwayWindow& w) { return w.found && w.focused; }));
  EXPECT_EQ(lumox.Window("Untitled").app_id, "net.tallowby.Lumox");  // the desktop entry's name
  lumox.Keys("-k Return");

  // GO: full screen, focused and drawn, the start window gone.
  const QRect screen(0, 0, 1280, 800);
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", [](const SwayWindow& w) {
    return w.full_screen && w.focused && w.geometry == QRect(0, 0, 1280, 800);
  }));
  ASSERT_TRUE(lumox.WaitForLit(screen, 500));
  EXPECT_FALSE(lumox.Window("Untitled").found);
  const QImage shot = lumox.Screenshot();
  ASSERT_EQ(shot.size(), QSize(1280, 800));
  EXPECT_LT(LitPixels(shot, 200), 1280 * 800 / 20);  // stars on black, no light window over them

  // Escape: a 600 by 400 window where the compositor puts it, the stars flying on in it.
  lumox.Keys("-k Escape");
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", [](const SwayWindow& w) {
    return !w.full_screen && w.focused && w.geometry.size() == QSize(600, 400);
  }));
  const QRect window = lumox.Window("Lumox").geometry;
  EXPECT_TRUE(lumox.WaitForLit(window.adjusted(0, 30, 0, 0), 50));  // below the menu bar

  // `s`: the settings window comes focused, above the flight.
  lumox.Keys("s");
  ASSERT_TRUE(lumox.WaitForWindow("Settings", [](const SwayWindow& w) { return w.found && w.focused; }));
  const QRect settings = lumox.Window("Settings").geometry;
  EXPECT_TRUE(WaitFor([&] {
    return LitPixels(lumox.Screenshot().copy(settings), 200) > settings.width() * settings.height() / 2;
  }));

  // Escape there is the settings window's: it makes itself small to be put away (sway keeps no
  // minimised windows, so it stays), and the flight's window is left as it was.
  lumox.Keys("-k Escape");
  ASSERT_TRUE(lumox.WaitForWindow("Settings", [](const SwayWindow& w) { return w.geometry.size() == QSize(400, 400); }));
  EXPECT_EQ(lumox.Window("Lumox").geometry, window);

  ASSERT_TRUE(lumox.Quit());
  EXPECT_EQ(lumox.Prefs(), "35\n0.0035\n170\n1.28\n19200\n");
}

}  // namespace
}  // namespace lumox::e2e
