#include "e2e/wayland_session.h"

#include <pwd.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "e2e/x_session.h"

namespace lumox::e2e {

namespace {

constexpr char kUser[] = "lumoxtest";

// The programs' environment, from nothing: no DISPLAY, so lumox can only be a Wayland client.
std::vector<std::string> AsUser(const std::string& dir, std::vector<std::string> env) {
  std::vector<std::string> command;
  if (geteuid() == 0)
    command = {"setpriv", std::string("--reuid=") + kUser, std::string("--regid=") + kUser, "--init-groups"};
  for (const std::string& word : {std::string("env"), std::string("-i"), "HOME=" + dir, "XDG_RUNTIME_DIR=" + dir,
                                  std::string("PATH=/usr/bin:/bin")})
    command.push_back(word);
  command.insert(command.end(), env.begin(), env.end());
  return command;
}

std::string Quoted(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& w : words) line += "'" + w + "' ";
  return line;
}

// The one file in `dir` whose name satisfies `match`, or "".
std::string FindIn(const std::string& dir, const std::function<bool(const std::string&)>& match) {
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(dir, ignored))
    if (match(entry.path().filename().string())) return entry.path().filename().string();
  return {};
}

void FindWindow(const QJsonObject& node, const QString& title, SwayWindow& found) {
  if (node.value("name").toString() == title && node.contains("window_rect")) {
    const QJsonObject rect = node.value("rect").toObject(), inner = node.value("window_rect").toObject();
    found.found = true;
    found.geometry = QRect(rect.value("x").toInt() + inner.value("x").toInt(), rect.value("y").toInt() + inner.value("y").toInt(),
                           inner.value("width").toInt(), inner.value("height").toInt());
    found.focused = node.value("focused").toBool();
    found.full_screen = node.value("fullscreen_mode").toInt() != 0;
    found.urgent = node.value("urgent").toBool();
  }
  for (const char* list : {"nodes", "floating_nodes"})
    for (const QJsonValue child : node.value(list).toArray()) FindWindow(child.toObject(), title, found);
}

}  // namespace

WaylandSession::WaylandSession(int width, int height, const char* prefs, const std::string& sway_config) {
  if (geteuid() == 0 && !getpwnam(kUser)) std::system((std::string("useradd -m ") + kUser + " >/dev/null 2>&1").c_str());
  dir_ = (std::filesystem::temp_directory_path() / "lumox-wl-XXXXXX").string();
  if (!mkdtemp(dir_.data())) throw std::runtime_error("mkdtemp");
  std::filesystem::create_directory(dir_ + "/data");
  std::ofstream(dir_ + "/sway") << "output HEADLESS-1 resolution " << width << "x" << height << "\nxwayland disable\n" << sway_config << "\n";
  if (prefs) std::ofstream(dir_ + "/data/LumoxPrefs", std::ios::binary) << prefs;
  if (geteuid() == 0) {
    const passwd* user = getpwnam(kUser);
    if (!user) throw std::runtime_error("no user lumoxtest");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir_))
      if (chown(entry.path().c_str(), user->pw_uid, user->pw_gid) != 0) throw std::runtime_error("chown");
    if (chown(dir_.c_str(), user->pw_uid, user->pw_gid) != 0) throw std::runtime_error("chown");
  }

  std::vector<std::string> sway = AsUser(dir_, {"WLR_BACKENDS=headless", "WLR_RENDERER=pixman", "WLR_LIBINPUT_NO_DEVICES=1",
                                                "sway", "-c", dir_ + "/sway"});
  sway_ = StartHelper(sway);
  std::string socket, ipc;
  WaitFor([&] {
    socket = FindIn(dir_, [](const std::string& n) { return n.starts_with("wayland-") && !n.ends_with(".lock"); });
    ipc = FindIn(dir_, [](const std::string& n) { return n.starts_with("sway-ipc."); });
    return !socket.empty() && !ipc.empty();
  });
  if (socket.empty() || ipc.empty()) throw std::runtime_error("sway did not start");
  const std::vector<std::string> client = AsUser(dir_, {"WAYLAND_DISPLAY=" + socket, "SWAYSOCK=" + dir_ + "/" + ipc});
  user_env_ = Quoted(client);
  // A headless seat has a keyboard only while a virtual one exists; one for the whole session,
  // so lumox's keyboard doesn't come and go with each wtype.
  std::vector<std::string> keyboard = client;
  for (const char* word : {"wtype", "-s", "86400000"}) keyboard.push_back(word);
  keyboard_ = StartHelper(keyboard);
  if (!WaitFor([&] { return Shell("swaymsg -t get_inputs 2>/dev/null").find("\"keyboard\"") != std::string::npos; }))
    throw std::runtime_error("no keyboard in the seat");

  std::vector<std::string> lumox = client;
  lumox.push_back("XDG_DATA_HOME=" + dir_ + "/data");
  lumox.push_back(LUMOX_EXE);
  lumox_ = StartHelper(lumox);
}

WaylandSession::~WaylandSession() {
  if (Running()) StopHelper(lumox_);
  StopHelper(keyboard_);
  StopHelper(sway_);
  std::error_code ignored;
  std::filesystem::remove_all(dir_, ignored);
}

std::string WaylandSession::Shell(const std::string& command) const {
  return RunCommand(user_env_ + "sh -c '" + command + "'");
}

QImage WaylandSession::Screenshot() const {
  const std::string path = dir_ + "/shot.png";
  Shell("grim " + path + " 2>/dev/null");
  QImage image(QString::fromStdString(path));
  std::filesystem::remove(path);
  return image.convertToFormat(QImage::Format_RGB32);
}

std::string WaylandSession::Prefs() const {
  std::ostringstream text;
  text << std::ifstream(dir_ + "/data/LumoxPrefs", std::ios::binary).rdbuf();
  return text.str();
}

SwayWindow WaylandSession::Window(const std::string& title) const {
  SwayWindow found;
  const QJsonDocument tree = QJsonDocument::fromJson(QByteArray::fromStdString(Shell("swaymsg -t get_tree 2>/dev/null")));
  FindWindow(tree.object(), QString::fromStdString(title), found);
  return found;
}

bool WaylandSession::WaitForWindow(const std::string& title, bool (*condition)(const SwayWindow&), int ms) const {
  return WaitFor([&] { return condition(Window(title)); }, ms);
}

bool WaylandSession::WaitForLit(const QRect& area, int min, int ms) const {
  return WaitFor([&] { return LitPixels(Screenshot().copy(area)) > min; }, ms);
}

bool WaylandSession::Running() {
  if (lumox_ > 0 && waitpid(lumox_, nullptr, WNOHANG) == lumox_) lumox_ = -1;
  return lumox_ > 0;
}

bool WaylandSession::Quit() {
  Keys("-M ctrl q -m ctrl");
  return WaitFor([&] { return !Running(); }, 5000);
}

}  // namespace lumox::e2e
