#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "e2e/desktop.h"

namespace lumox::e2e {

namespace {
QRect Rect(const QJsonObject& o) {
  return QRect(o.value("x").toInt(), o.value("y").toInt(), o.value("width").toInt(), o.value("height").toInt());
}

void FindWindow(const QJsonObject& node, const QString& title, WindowState& found) {
  if (!found.shown && node.value("name").toString() == title && node.contains("window_rect")) {
    const QRect box = Rect(node.value("rect").toObject()), inner = Rect(node.value("window_rect").toObject());
    const QRect frame = box | Rect(node.value("deco_rect").toObject());  // the title bar is outside the box
    found = {.id = std::to_string(node.value("id").toInt()), .shown = true, .focused = node.value("focused").toBool(),
             .full_screen = node.value("fullscreen_mode").toInt() != 0, .geometry = inner.translated(box.topLeft()),
             .frame = frame, .app = node.value("app_id").toString().toStdString()};
  }
  for (const char* list : {"nodes", "floating_nodes"})
    for (const QJsonValue child : node.value(list).toArray()) FindWindow(child.toObject(), title, found);
}
}  // namespace

SwaySession::SwaySession(const DesktopOptions& options) : Desktop(options) {
  // The build may sit in a folder the session's user can't enter (a checkout under /root).
  std::filesystem::copy_file(LUMOX_EXE, dir_ + "/lumox");
  std::ofstream config(dir_ + "/sway");
  for (int i = 0; i < int(options.outputs.size()); ++i)
    config << "output " << OutputName(i) << " resolution " << options.outputs[i].width() << "x"
           << options.outputs[i].height() << " position " << OutputArea(i).x() << " 0\n";
  // sway's default only marks a window urgent when its program asks for the focus; told to honour
  // the request for a window on a visible workspace, it acts as GNOME and Plasma do.
  config << "xwayland disable\nfocus_on_window_activation smart\n" << options.sway_config << "\n";
  config.close();
  env_ = UserSession(dir_, dir_);
  const auto with = [this](std::initializer_list<std::string> words) {
    std::vector<std::string> argv = env_;
    argv.insert(argv.end(), words);
    return argv;
  };
  sway_ = StartHelper(with({"WLR_BACKENDS=headless", "WLR_RENDERER=pixman", "WLR_LIBINPUT_NO_DEVICES=1",
                            "WLR_HEADLESS_OUTPUTS=" + std::to_string(options.outputs.size()), "sway", "-c", dir_ + "/sway"}));
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
  env_.insert(env_.end(), {"WAYLAND_DISPLAY=" + socket, "SWAYSOCK=" + dir_ + "/" + ipc});
  user_env_ = ShellWords(env_);
  if (!PlugKeyboard(true)) throw std::runtime_error("no keyboard in the seat");
  if (options.sway_pointer && !PlugPointer(true)) throw std::runtime_error("no pointer in the seat");
  Begin(env_, dir_ + "/lumox");
}

SwaySession::~SwaySession() {
  StopLumox();
  StopHelper(vnc_);
  StopHelper(keyboard_);
  CloseWindows();
  StopHelper(sway_);
}

// From the session's folder: the test's own may be one the user can't enter, and foot won't start
// where it can't stand.
std::string SwaySession::Shell(const std::string& command) const { return RunIn(user_env_, dir_, command); }

QImage SwaySession::Screenshot(const std::string& output) const {
  Shell("grim " + (output.empty() ? "" : "-o " + output + " ") + dir_ + "/shot.png");
  const QImage shot(QString::fromStdString(dir_ + "/shot.png"));
  std::filesystem::remove(dir_ + "/shot.png");
  return shot.convertToFormat(QImage::Format_RGB32);
}

void SwaySession::Keys(const std::string& words) const {
  std::istringstream in(words);
  std::string command = "wtype";
  for (std::string word; in >> word;) {
    if (word == "alt") word = "Alt_L";
    const size_t plus = word.find('+');
    command += word.starts_with("down:") ? " -P " + word.substr(5)
               : word.starts_with("up:") ? " -p " + word.substr(3)
               : plus != std::string::npos
                   ? " -M " + word.substr(0, plus) + " -k " + word.substr(plus + 1) + " -m " + word.substr(0, plus)
                   : " -k " + word;
  }
  Shell(command);
}

WindowState SwaySession::Window(const std::string& title) const {
  WindowState found;
  FindWindow(QJsonDocument::fromJson(QByteArray::fromStdString(Shell("swaymsg -t get_tree"))).object(),
             QString::fromStdString(title), found);
  return found;
}

void SwaySession::Activate(const std::string& title) const { Shell("swaymsg \"[title=^" + title + "$] focus\" >/dev/null"); }

void SwaySession::KillServer() {
  StopHelper(sway_);
  sway_ = -1;
}

size_t SwaySession::Terminals() const {
  const std::string tree = Shell("swaymsg -t get_tree");
  size_t n = 0;
  for (size_t at = tree.find("\"app_id\": \"foot\""); at != std::string::npos; at = tree.find("\"app_id\": \"foot\"", at + 1)) ++n;
  return n;
}

bool SwaySession::OpenTerminal(bool full_screen, const std::string& command) const {
  const size_t before = Terminals();
  Shell("foot " + command + " >/dev/null 2>&1 &");
  if (!WaitFor([&] { return Terminals() > before; }, 20000)) return false;
  if (full_screen) Shell("swaymsg fullscreen enable >/dev/null");
  return true;
}

bool SwaySession::Capable(int capability) const {
  const QJsonArray seats = QJsonDocument::fromJson(QByteArray::fromStdString(Shell("swaymsg -t get_seats"))).array();
  return !seats.isEmpty() && (seats[0].toObject().value("capabilities").toInt() & capability);
}

bool SwaySession::PlugKeyboard(bool plugged) {
  StopHelper(keyboard_);
  keyboard_ = -1;
  if (plugged) {  // wtype's virtual keyboard, there as long as wtype waits
    std::vector<std::string> argv = env_;
    argv.insert(argv.end(), {"wtype", "-s", "86400000"});
    keyboard_ = StartHelper(argv);
  }
  return WaitFor([&] { return Capable(2) == plugged; });
}

bool SwaySession::PlugPointer(bool plugged) {
  StopHelper(vnc_);
  vnc_ = -1;
  std::filesystem::remove(dir_ + "/vnc");
  if (plugged) {
    // wayvnc gives the seat a pointer (and a keyboard) while it runs; its RFB socket is a file,
    // so sessions side by side can't meet on a port.
    std::vector<std::string> argv = env_;
    argv.insert(argv.end(), {"wayvnc", "-u", "-o", OutputName(0), dir_ + "/vnc"});
    vnc_ = StartHelper(argv);
  }
  return WaitFor([&] { return Capable(1) == plugged && (!plugged || Vnc("connect", {})); });
}

bool SwaySession::Vnc(const std::string& action, QPoint p) const {
  if (vnc_ <= 0) return false;
  return RunCommand("/usr/bin/python3 " LUMOX_E2E_DIR "/vnc_input.py " + dir_ + "/vnc " + action + " " +
                    std::to_string(p.x()) + " " + std::to_string(p.y()) + " 2>/dev/null && echo ok") == "ok\n";
}

bool SwaySession::Pointer(QPoint p, bool click) const {
  pointer_ = p;
  return Vnc(click ? "click" : "move", p);
}
bool SwaySession::HoldKey(uint32_t keysym, bool down) const { return Vnc(down ? "down" : "up", QPoint(int(keysym), 0)); }

bool SwaySession::OpenWindow(int output) const {
  Shell("swaymsg focus output " + OutputName(output) + " >/dev/null");
  return OpenTerminal(true);
}

bool SwaySession::CloseWindows() const {
  // Through this sway: a pkill would reach the terminals of other sessions of the same user.
  Shell("swaymsg \"[app_id=foot] kill\" >/dev/null");
  return WaitFor([&] { return Terminals() == 0; });
}

}  // namespace lumox::e2e
