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
  bool urgent = false;  // asked for the focus and not given it
};

void FindWindow(const QJsonObject& node, const QString& title, SwayWindow& found) {
  if (node.value("name").toString() == title && node.contains("window_rect")) {
    const QJsonObject rect = node.value("rect").toObject(), inner = node.value("window_rect").toObject();
    found = {true, node.value("focused").toBool(), node.value("fullscreen_mode").toInt() != 0,
             QRect(rect.value("x").toInt() + inner.value("x").toInt(), rect.value("y").toInt() + inner.value("y").toInt(),
                   inner.value("width").toInt(), inner.value("height").toInt()),
             node.value("app_id").toString()};
    found.urgent = node.value("urgent").toBool();
  }
  for (const char* list : {"nodes", "floating_nodes"})
    for (const QJsonValue child : node.value(list).toArray()) FindWindow(child.toObject(), title, found);
}

// sway on a fresh runtime folder, one keyboard for the whole session (a headless seat has one
// only while a virtual one exists) and lumox as a client of it, from an empty environment: with
// no DISPLAY lumox can only be a Wayland client.
class WaylandSession {
 public:
  // `sway_config` goes after the first output's size; `lumox_args` after the program's name.
  WaylandSession(int width, int height, const std::string& sway_config = "",
                 const std::vector<std::string>& lumox_args = {}, int outputs = 1) {
    dir_ = (std::filesystem::temp_directory_path() / "lumox-wl-XXXXXX").string();
    if (!mkdtemp(dir_.data())) throw std::runtime_error("mkdtemp");
    std::filesystem::create_directory(dir_ + "/data");
    std::ofstream(dir_ + "/sway") << "output HEADLESS-1 resolution " << width << "x" << height << "\nxwayland disable\n"
                                  << sway_config << "\n";
    std::vector<std::string> env = AsTestUser(dir_);
    env.insert(env.end(), {"env", "-i", "HOME=" + dir_, "XDG_RUNTIME_DIR=" + dir_, "PATH=/usr/bin:/bin"});
    const auto with = [&env](std::initializer_list<std::string> words) {
      std::vector<std::string> argv = env;
      argv.insert(argv.end(), words);
      return argv;
    };
    sway_ = StartHelper(with({"WLR_BACKENDS=headless", "WLR_RENDERER=pixman", "WLR_LIBINPUT_NO_DEVICES=1",
                              "WLR_HEADLESS_OUTPUTS=" + std::to_string(outputs), "sway", "-c", dir_ + "/sway"}));
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
    std::vector<std::string> lumox = with({"XDG_DATA_HOME=" + dir_ + "/data", LUMOX_EXE});
    lumox.insert(lumox.end(), lumox_args.begin(), lumox_args.end());
    lumox_ = StartHelper(lumox);
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

// sway's default only marks a window urgent when its program asks for the focus; told to honour
// the request for a window on a visible workspace, it acts as GNOME and Plasma do.
constexpr char kHonourActivation[] = "focus_on_window_activation smart";

bool FullScreenAndFocused(const SwayWindow& w) { return w.full_screen && w.focused; }
bool Gone(const SwayWindow& w) { return !w.found; }
bool FoundAndFocused(const SwayWindow& w) { return w.found && w.focused; }

TEST(WaylandE2E, FlightSettingsEscapeAndQuitOnAWaylandCompositor) {
  WaylandSession lumox(1280, 800, kHonourActivation);
  ASSERT_TRUE(lumox.WaitForWindow("Untitled", FoundAndFocused));
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

  // `s` over the full-screen flight: the settings window comes focused and drawn above it; escape
  // there puts it away (sway has no minimise: it is unmapped) and the flight stays full screen
  // with the keys. `s` brings it back.
  for (int attempt = 0; attempt < 2; ++attempt) {
    lumox.Keys("s");
    ASSERT_TRUE(lumox.WaitForWindow("Settings", FoundAndFocused)) << attempt;
    EXPECT_TRUE(lumox.Window("Lumox").full_screen) << attempt;
    const QRect over = lumox.Window("Settings").geometry;
    EXPECT_TRUE(WaitFor([&] { return LitPixels(lumox.Screenshot().copy(over), 200) > over.width() * over.height() / 2; }))
        << attempt;
    lumox.Keys("-k Escape");
    ASSERT_TRUE(lumox.WaitForWindow("Settings", Gone)) << attempt;
    ASSERT_TRUE(lumox.WaitForWindow("Lumox", FullScreenAndFocused)) << attempt;
  }

  // Escape: a 600 by 400 window where the compositor puts it, the stars flying on in it.
  lumox.Keys("-k Escape");
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", [](const SwayWindow& w) {
    return !w.full_screen && w.focused && w.geometry.size() == QSize(600, 400);
  }));
  const QRect window = lumox.Window("Lumox").geometry;
  EXPECT_TRUE(lumox.WaitForLit(window.adjusted(0, 30, 0, 0), 50));  // below the menu bar

  // `s` by the window: the same, and the flight's window is left as it was.
  for (int attempt = 0; attempt < 2; ++attempt) {
    lumox.Keys("s");
    ASSERT_TRUE(lumox.WaitForWindow("Settings", FoundAndFocused)) << attempt;
    lumox.Keys("-k Escape");
    ASSERT_TRUE(lumox.WaitForWindow("Settings", Gone)) << attempt;
    ASSERT_TRUE(lumox.WaitForWindow("Lumox", [](const SwayWindow& w) { return w.focused; })) << attempt;
    EXPECT_EQ(lumox.Window("Lumox").geometry, window) << attempt;
  }

  ASSERT_TRUE(lumox.Quit());
  EXPECT_EQ(lumox.Prefs(), "35\n0.0035\n170\n1.28\n19200\n");
}

// With sway's own default the settings window opened over the full-screen flight is not given the
// focus, but the program has asked for it: sway marks the window urgent. Given the focus (the
// user's click), escape there still puts it away and leaves the flight full screen.
TEST(WaylandE2E, OnADefaultSwayTheSettingsWindowAsksForTheFocusAndEscapeStillPutsItAway) {
  WaylandSession lumox(1280, 800);
  ASSERT_TRUE(lumox.WaitForWindow("Untitled", FoundAndFocused));
  lumox.Keys("-k Return");
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", FullScreenAndFocused));
  lumox.Keys("s");
  ASSERT_TRUE(lumox.WaitForWindow("Settings", [](const SwayWindow& w) { return w.found && (w.urgent || w.focused); }));
  lumox.Shell("swaymsg \"[title=Settings] focus\" >/dev/null");
  ASSERT_TRUE(lumox.WaitForWindow("Settings", FoundAndFocused));
  lumox.Keys("-k Escape");
  ASSERT_TRUE(lumox.WaitForWindow("Settings", Gone));
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", FullScreenAndFocused));
  ASSERT_TRUE(lumox.Quit());
}

// --screen names a Wayland output: the flight fills that one, with the defaults of its width.
TEST(WaylandE2E, ScreenPutsTheFullScreenFlightOnThatOutput) {
  WaylandSession lumox(1280, 800, "output HEADLESS-2 resolution 1024x768 position 1280 0", {"--go", "--screen", "HEADLESS-2"}, 2);
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", [](const SwayWindow& w) {
    return w.full_screen && w.geometry == QRect(1280, 0, 1024, 768);
  }));
  // sway keeps the keyboard on the output that had it; the user's click hands it over.
  lumox.Shell("swaymsg \"[title=Lumox] focus\" >/dev/null");
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", FullScreenAndFocused));
  ASSERT_TRUE(lumox.Quit());
  EXPECT_EQ(lumox.Prefs(), "35\n0.0035\n170\n1.024\n15360\n");
}

}  // namespace
}  // namespace lumox::e2e
