#include "e2e/sway_session.h"

#include <signal.h>
#include <sys/wait.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "e2e/x_session.h"

namespace lumox::e2e {

namespace {
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
}  // namespace

SwaySession::SwaySession(int width, int height, const std::string& sway_config,
                         const std::vector<std::string>& lumox_args, int outputs, bool start) {
  dir_ = (std::filesystem::temp_directory_path() / "lumox-wl-XXXXXX").string();
  if (!mkdtemp(dir_.data())) throw std::runtime_error("mkdtemp");
  std::filesystem::create_directory(dir_ + "/data");
  // The build may sit in a folder the session's user can't enter (a checkout under /root).
  lumox_copy_ = dir_ + "/lumox";
  stderr_ = dir_ + "/stderr";
  std::filesystem::copy_file(LUMOX_EXE, lumox_copy_);
  std::ofstream(dir_ + "/sway") << "output HEADLESS-1 resolution " << width << "x" << height << "\nxwayland disable\n"
                                << sway_config << "\n";
  env_ = AsTestUser(dir_);
  env_.insert(env_.end(), {"env", "-i", "HOME=" + dir_, "XDG_RUNTIME_DIR=" + dir_, "PATH=/usr/bin:/bin"});
  for (const std::string& word : SanitizerEnv()) env_.push_back(word);
  const auto with = [this](std::initializer_list<std::string> words) {
    std::vector<std::string> argv = env_;
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
  env_.insert(env_.end(), {"WAYLAND_DISPLAY=" + socket, "SWAYSOCK=" + dir_ + "/" + ipc});
  for (const std::string& word : env_) user_env_ += "'" + word + "' ";
  keyboard_ = StartHelper(with({"wtype", "-s", "86400000"}));
  if (!WaitFor([&] { return Shell("swaymsg -t get_inputs").find("\"keyboard\"") != std::string::npos; }))
    throw std::runtime_error("no keyboard in the seat");
  if (start) StartLumox(lumox_args);
}

SwaySession::~SwaySession() {
  Stop();
  StopHelper(keyboard_);
  Shell("pkill -u $(id -u) foot");
  StopHelper(sway_);
  if (getenv("E2E_VERBOSE")) std::fputs(Stderr().c_str(), stderr);
  std::filesystem::remove_all(dir_);
}

std::string SwaySession::Shell(const std::string& command) const {
  // From the session's folder: the test's own may be one the user can't enter, and foot won't
  // start where it can't stand.
  return RunCommand("cd '" + dir_ + "' && " + user_env_ + "sh -c '" + command + " 2>/dev/null'");
}

QImage SwaySession::Screenshot(const std::string& output) const {
  Shell("grim " + (output.empty() ? "" : "-o " + output + " ") + dir_ + "/shot.png");
  const QImage shot(QString::fromStdString(dir_ + "/shot.png"));
  std::filesystem::remove(dir_ + "/shot.png");
  return shot.convertToFormat(QImage::Format_RGB32);
}

std::string SwaySession::Prefs() const { return ReadFile(dir_ + "/data/LumoxPrefs"); }

SwayWindow SwaySession::Window(const std::string& title) const {
  SwayWindow found;
  FindWindow(QJsonDocument::fromJson(QByteArray::fromStdString(Shell("swaymsg -t get_tree"))).object(),
             QString::fromStdString(title), found);
  return found;
}

bool SwaySession::WaitForWindow(const std::string& title, bool (*condition)(const SwayWindow&)) const {
  return WaitFor([&] { return condition(Window(title)); }, 20000);
}

void SwaySession::StartLumox(const std::vector<std::string>& args) {
  std::vector<std::string> argv = env_;
  argv.insert(argv.end(), {"XDG_DATA_HOME=" + dir_ + "/data", lumox_copy_});
  argv.insert(argv.end(), args.begin(), args.end());
  Run(argv);
}

bool SwaySession::OpenTerminal(bool full_screen) const {
  const auto count = [this] {
    const std::string tree = Shell("swaymsg -t get_tree");
    size_t n = 0;
    for (size_t at = tree.find("\"app_id\": \"foot\""); at != std::string::npos; at = tree.find("\"app_id\": \"foot\"", at + 1)) ++n;
    return n;
  };
  const size_t before = count();
  Shell("foot sleep 86400 >/dev/null 2>&1 &");
  if (!WaitFor([&] { return count() > before; }, 20000)) return false;
  if (full_screen) Shell("swaymsg fullscreen enable >/dev/null");
  return true;
}

std::vector<std::string> SwaySession::ClientEnv() const {
  std::vector<std::string> env;
  for (const std::string& word : env_)
    if (word.starts_with("WAYLAND_DISPLAY=") || word.starts_with("XDG_RUNTIME_DIR=")) env.push_back(word);
  return env;
}

void SwaySession::KillCompositor() {
  StopHelper(sway_);
  sway_ = -1;
}

bool SwaySession::Quit() {
  Keys("-M ctrl q -m ctrl");
  return WaitForExit();
}

}  // namespace lumox::e2e
