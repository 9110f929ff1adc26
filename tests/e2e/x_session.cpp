#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <tuple>

#include "e2e/desktop.h"

namespace lumox::e2e {

Session::Session(const DesktopOptions& options) : Desktop(options) {
  QRect screen;
  for (int i = 0; i < int(options.outputs.size()); ++i) screen |= OutputArea(i);
  // Monitors are set before any client stays connected: the server must not reset when xrandr leaves.
  std::tie(xvfb_, display_) = StartXvfb(screen.size(), options.outputs.size() > 1 ? "-noreset" : "");
  if (display_ == ":") throw std::runtime_error("Xvfb did not start");
  // Before the window manager, which reads the monitors as it starts. The first takes the
  // screen's one output, which makes it the primary; sizes in millimetres are for 96 dpi.
  for (int i = 0; options.outputs.size() > 1 && i < int(options.outputs.size()); ++i) {
    const QRect a = OutputArea(i);
    const auto mm = [](int pixels) { return std::to_string(pixels * 254 / 960); };
    Shell("xrandr --setmonitor " + OutputName(i) + " " + std::to_string(a.width()) + "/" + mm(a.width()) + "x" +
          std::to_string(a.height()) + "/" + mm(a.height()) + "+" + std::to_string(a.x()) + "+0" +
          (i == 0 ? " screen" : " none") + " >/dev/null 2>&1");
  }
  std::filesystem::create_directory(dir_ + "/wm");
  std::vector<std::string> wm = {"env", "DISPLAY=" + display_, "HOME=" + dir_ + "/wm", options.kind};
  if (options.kind == "xfwm4") {
    wm.insert(wm.end(), {"--compositor=off", "--sm-client-disable"});
  } else if (options.kind == "i3") {
    // i3 as it comes, tiling, with no bar; without its first line the file is taken for an old one.
    std::ofstream(dir_ + "/wm/i3") << "# i3 config file (v4)\nfocus_on_window_activation focus\n";
    wm.insert(wm.end(), {"-c", dir_ + "/wm/i3"});
  } else {
    wm.push_back("--sm-disable");
  }
  wm_ = StartHelper(wm);
  // The manager announces itself before it is ready to take windows; a window it frames is proof.
  if (Shell("/usr/bin/python3 " LUMOX_E2E_DIR "/x_client.py probe; echo $?") != "0\n") throw std::runtime_error(options.kind + " did not start");
  // Without the Wayland display of a desktop the tests may run on, Qt takes this X server.
  std::filesystem::create_directory(dir_ + "/runtime");
  std::filesystem::permissions(dir_ + "/runtime", std::filesystem::perms::owner_all);
  Begin({"env", "-u", "WAYLAND_DISPLAY", "DISPLAY=" + display_, "XDG_RUNTIME_DIR=" + dir_ + "/runtime"}, LUMOX_EXE);
}

std::pair<pid_t, std::string> StartXvfb(QSize size, const std::string& option) {
  int fds[2];
  if (pipe(fds) != 0) return {-1, ":"};
  std::vector<std::string> argv = {"Xvfb", "-displayfd", std::to_string(fds[1]), "-screen", "0",
                                   std::to_string(size.width()) + "x" + std::to_string(size.height()) + "x24", "-nolisten", "tcp"};
  if (!option.empty()) argv.push_back(option);
  const pid_t pid = StartHelper(argv, fds[1]);
  close(fds[1]);
  std::string display = ":";
  for (char c; read(fds[0], &c, 1) == 1 && c != '\n';) display += c;
  close(fds[0]);
  return {pid, display};
}

Session::~Session() {
  StopLumox();
  StopHelper(wm_);
  StopHelper(xvfb_);
}

std::string Session::Shell(const std::string& command) const { return RunCommand("DISPLAY=" + display_ + " " + command); }

QImage Session::Screenshot(const std::string& output) const {
  const std::string path = dir_ + "/shot.png";
  Shell("scrot -o " + path + " 2>/dev/null");
  QImage image(QString::fromStdString(path));
  std::filesystem::remove(path);
  for (int i = 0; i < int(options_.outputs.size()); ++i)
    if (OutputName(i) == output) image = image.copy(OutputArea(i));
  return image.convertToFormat(QImage::Format_RGB32);
}

void Session::Keys(const std::string& words) const {
  std::istringstream in(words);
  std::string command;
  for (std::string word; in >> word;)
    command += word.starts_with("down:") ? " keydown " + word.substr(5)
               : word.starts_with("up:") ? " keyup " + word.substr(3)
                                         : " key " + word;
  Xdo(command);
}

// The key stays down after the client that put it down ends.
void Session::HoldKey(const std::string& key) const { StopHelper(XClient("press " + key)); }

bool Session::Pointer(QPoint p, bool click) const {
  Xdo(MouseTo(p) + (click ? " click 1" : ""));
  return true;
}

WindowState Session::State(const std::string& id) const {
  WindowState w{.id = id};
  const std::string info = Shell("xwininfo -id " + id + " 2>/dev/null");
  const std::string props = Shell("xprop -id " + id + " WM_STATE _NET_WM_STATE WM_CLASS _NET_FRAME_EXTENTS 2>/dev/null");
  // xwininfo's absolute position is the client area's; xdotool adds the frame's offset to it.
  const auto area = [](const std::string& xwininfo) {
    const auto number = [&](const std::string& label) {
      const size_t at = xwininfo.find(label);
      return at == std::string::npos ? -1 : std::atoi(xwininfo.c_str() + at + label.size());
    };
    return QRect(number("Absolute upper-left X:"), number("Absolute upper-left Y:"), number("  Width:"), number("  Height:"));
  };
  w.shown = info.find("IsViewable") != std::string::npos;
  w.minimised = props.find("Iconic") != std::string::npos || props.find("_NET_WM_STATE_HIDDEN") != std::string::npos;
  w.full_screen = props.find("_NET_WM_STATE_FULLSCREEN") != std::string::npos;
  w.geometry = area(info);
  int left = 0, right = 0, top = 0, bottom = 0;
  const size_t extents = props.find("_NET_FRAME_EXTENTS(CARDINAL) = ");
  if (extents != std::string::npos) std::sscanf(props.c_str() + extents + 31, "%d, %d, %d, %d", &left, &right, &top, &bottom);
  w.frame = w.geometry.adjusted(-left, -top, right, bottom);
  if (extents == std::string::npos && Kind() == "i3") {  // i3 tells no extents: its frame is the client's parent
    const std::string tree = Shell("xwininfo -children -id " + id + " 2>/dev/null"), label = "Parent window id: ";
    const size_t parent = tree.find(label);
    const size_t at = parent + label.size();
    if (parent != std::string::npos) w.frame = area(Shell("xwininfo -id " + tree.substr(at, tree.find(' ', at) - at)));
  }
  const size_t app = props.find("\", \"", props.find("WM_CLASS"));
  if (app != std::string::npos) w.app = props.substr(app + 4, props.find('"', app + 4) - app - 4);
  std::string active;
  std::istringstream(Xdo("getactivewindow")) >> active;
  w.focused = active == id;
  return w;
}

WindowState Session::Window(const std::string& title) const {
  WindowState found;
  // xdotool gives up its whole search when a window goes while it looks, as window managers'
  // frames do: an empty answer is asked again.
  for (int attempt = 0; attempt < 3 && found.id.empty(); ++attempt) {
    std::istringstream ids(Xdo("search --name '^" + title + "$'"));
    for (std::string id; ids >> id && !found.shown;) {
      const WindowState w = State(id);
      if (w.geometry.isValid() && (w.shown || (w.minimised && !found.minimised))) found = w;
    }
  }
  return found;
}

void Session::Activate(const std::string& title) const { Xdo("windowactivate --sync " + Window(title).id); }

bool Session::Move(const std::string& title, QPoint to) const {
  Xdo("windowmove " + Window(title).id + " " + std::to_string(to.x()) + " " + std::to_string(to.y()));
  return true;
}

bool Session::OpenWindow(int output) const {
  const QRect area = OutputArea(output);
  return Cover(area, "000000") > 0 && WaitFor([&] { return LitPixels(Screenshot().copy(area)) == 0; });
}

bool Session::CloseWindows() const {
  Xdo("search --name '^x_client$' windowunmap --sync %@");
  return true;
}

pid_t Session::Cover(const QRect& a, const std::string& how) const {
  return XClient("cover " + std::to_string(a.x()) + " " + std::to_string(a.y()) + " " + std::to_string(a.width()) + " " +
                 std::to_string(a.height()) + " " + how);
}

pid_t Session::XClient(const std::string& args, std::string* line) const {
  static int count = 0;
  const std::string out = dir_ + "/x_client" + std::to_string(++count);
  const pid_t pid = StartHelper({"sh", "-c", "DISPLAY=" + display_ + " exec /usr/bin/python3 " LUMOX_E2E_DIR "/x_client.py " +
                                                 args + " >" + out});
  std::string said;
  if (WaitFor([&] { return std::getline(std::ifstream(out), said) && !said.empty(); })) {
    if (line) *line = said;
    return pid;
  }
  StopHelper(pid);
  return -1;
}

void Session::KillServer() {
  kill(xvfb_, SIGKILL);
  waitpid(xvfb_, nullptr, 0);
  xvfb_ = -1;
}

}  // namespace lumox::e2e
