#include "e2e/x_session.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/inotify.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

namespace lumox::e2e {

pid_t StartHelper(const std::vector<std::string>& argv, int keep_fd, const std::string& stderr_file) {
  const pid_t pid = fork();
  if (pid != 0) return pid;
  setpgid(0, 0);
  const int null = open("/dev/null", O_RDWR);
  dup2(null, STDIN_FILENO);
  dup2(null, STDOUT_FILENO);
  if (!stderr_file.empty()) dup2(open(stderr_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
  else if (!getenv("E2E_VERBOSE")) dup2(null, STDERR_FILENO);
  for (int fd = 3; fd < 1024; ++fd)
    if (fd != keep_fd) close(fd);
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  execvp(args[0], args.data());
  _exit(127);
}

void StopHelper(pid_t pid) {
  if (pid <= 0) return;
  kill(-pid, SIGTERM);
  for (int i = 0; i < 100; ++i, SleepMs(20))
    if (waitpid(pid, nullptr, WNOHANG) == pid) return;
  kill(-pid, SIGKILL);
  waitpid(pid, nullptr, 0);
}

void SleepMs(int ms) { usleep(ms * 1000); }

std::vector<std::string> SanitizerEnv() {
  std::vector<std::string> words;
  for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS"})
    if (const char* value = getenv(name)) words.push_back(std::string(name) + "=" + value);
  return words;
}

std::vector<std::string> AsTestUser(const std::string& folder) {
  if (geteuid() != 0) return {};
  if (RunCommand("id -u lumoxtest >/dev/null 2>&1 || useradd -m lumoxtest >/dev/null 2>&1; chown -R lumoxtest: " +
                 folder + " && echo ok") != "ok\n")
    throw std::runtime_error("no user lumoxtest");
  return {"setpriv", "--reuid=lumoxtest", "--regid=lumoxtest", "--init-groups"};
}

Session::Session(const SessionOptions& options) {
  int fds[2];
  if (pipe(fds) != 0) throw std::runtime_error("pipe");
  const std::string screen = std::to_string(options.width) + "x" + std::to_string(options.height) + "x24";
  std::vector<std::string> xvfb = {"Xvfb", "-displayfd", std::to_string(fds[1]), "-screen", "0", screen, "-nolisten", "tcp"};
  // Monitors are set before any client stays connected: the server must not reset when xrandr leaves.
  if (!options.monitors.empty()) xvfb.push_back("-noreset");
  xvfb_ = StartHelper(xvfb, fds[1]);
  close(fds[1]);
  display_ = ":";
  for (char c; read(fds[0], &c, 1) == 1 && c != '\n';) display_ += c;
  close(fds[0]);
  if (display_ == ":") throw std::runtime_error("Xvfb did not start");
  // Before the window manager, which reads the monitors as it starts. The first takes the
  // screen's one output, which makes it the primary; sizes in millimetres are for 96 dpi.
  for (size_t i = 0; i < options.monitors.size(); ++i) {
    const QRect& a = options.monitors[i].area;
    const auto mm = [](int pixels) { return std::to_string(pixels * 254 / 960); };
    const std::string geometry = std::to_string(a.width()) + "/" + mm(a.width()) + "x" + std::to_string(a.height()) + "/" +
                                 mm(a.height()) + "+" + std::to_string(a.x()) + "+" + std::to_string(a.y());
    Shell("xrandr --setmonitor " + options.monitors[i].name + " " + geometry + (i == 0 ? " screen" : " none") +
          " >/dev/null 2>&1");
  }

  data_ = (std::filesystem::temp_directory_path() / "lumox-e2e-XXXXXX").string();
  if (!mkdtemp(data_.data())) throw std::runtime_error("mkdtemp");
  std::filesystem::create_directory(data_ + "/.wm");
  std::vector<std::string> wm = {"env", "DISPLAY=" + display_, "HOME=" + data_ + "/.wm", options.wm};
  if (options.wm == "xfwm4") wm.insert(wm.end(), {"--compositor=off", "--sm-client-disable"});
  else wm.push_back("--sm-disable");
  wm_ = StartHelper(wm);
  // The manager announces itself before it is ready to take windows; a window it frames is proof.
  if (Shell(std::string(X_WINDOW) + " probe; echo $?") != "0\n") throw std::runtime_error(options.wm + " did not start");

  if (options.prefs) std::ofstream(File("LumoxPrefs"), std::ios::binary) << options.prefs;
  if (options.prepare) options.prepare(data_);
  inotify_ = inotify_init1(IN_NONBLOCK);
  inotify_add_watch(inotify_, data_.c_str(), IN_MOVED_TO | IN_CREATE);
  stderr_ = data_ + ".stderr";
  if (options.start_lumox) StartLumox(options.lumox_args, options.env);
}

void Session::StartLumox(const std::vector<std::string>& args, const std::vector<std::string>& env) {
  // Without the Wayland display of a desktop the tests may run on, Qt takes this X server.
  std::vector<std::string> lumox = {"env", "-u", "WAYLAND_DISPLAY", "DISPLAY=" + display_, "XDG_DATA_HOME=" + data_};
  lumox.insert(lumox.end(), env.begin(), env.end());
  lumox.push_back(LUMOX_EXE);
  lumox.insert(lumox.end(), args.begin(), args.end());
  Run(lumox);
}

void Desktop::Run(const std::vector<std::string>& argv) {
  status_ = -1;
  lumox_ = StartHelper(argv, -1, stderr_);
}

void Desktop::Stop() {
  if (Running()) StopHelper(lumox_);
}

bool Desktop::Running() {
  int status = 0;
  if (lumox_ > 0 && waitpid(lumox_, &status, WNOHANG) == lumox_) {
    lumox_ = -1;
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  return lumox_ > 0;
}

bool Desktop::WaitForExit(int ms) {
  return WaitFor([this] { return !Running(); }, ms);
}

void Desktop::Signal(int signal) const {
  if (lumox_ > 0) kill(lumox_, signal);
}

long Desktop::CpuTicks() const {
  std::istringstream stat(ReadFile("/proc/" + std::to_string(lumox_) + "/stat"));
  std::string field;
  long ticks = 0;
  for (int i = 1; i <= 15 && stat >> field; ++i)
    if (i >= 14) ticks += std::stol(field);
  return ticks;
}

bool Desktop::WaitForLit(const QRect& area, int min, int ms) const {
  return WaitFor([&] { return LitPixels(Screenshot().copy(area)) > min; }, ms);
}

Session::~Session() {
  Stop();
  StopHelper(wm_);
  StopHelper(xvfb_);
  close(inotify_);
  std::error_code ignored;
  std::filesystem::permissions(data_, std::filesystem::perms::owner_all, ignored);
  std::filesystem::remove_all(data_, ignored);
  if (getenv("E2E_VERBOSE")) std::fputs(Stderr().c_str(), stderr);
  std::filesystem::remove(stderr_, ignored);
}

std::string RunCommand(const std::string& command) {
  std::string out;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char buffer[4096];
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
    pclose(pipe);
  }
  return out;
}

std::string Session::Shell(const std::string& command) const { return RunCommand("DISPLAY=" + display_ + " " + command); }

QImage Session::Screenshot(const std::string&) const {
  const std::string path = std::filesystem::temp_directory_path() / ("lumox-shot-" + std::to_string(getpid()) + ".png");
  Shell(std::string(LUMOX_GRAB) + " " + path + " 2>/dev/null");
  QImage image(QString::fromStdString(path));
  std::filesystem::remove(path);
  return image.convertToFormat(QImage::Format_RGB32);
}

std::string ReadFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

int Session::PrefsWrites() {
  alignas(inotify_event) char buffer[16384];
  for (ssize_t n; (n = read(inotify_, buffer, sizeof buffer)) > 0;)
    for (char* p = buffer; p < buffer + n;) {
      const auto* event = reinterpret_cast<const inotify_event*>(p);
      writes_ += event->len && std::string(event->name) == "LumoxPrefs";
      p += sizeof(inotify_event) + event->len;
    }
  return writes_;
}

void Session::KillXServer() {
  kill(xvfb_, SIGKILL);
  waitpid(xvfb_, nullptr, 0);
  xvfb_ = -1;
}

bool Session::Quit() {
  Xdo("key ctrl+q");
  return WaitForExit();
}

std::string Session::WaitForWindow(const std::string& title, int ms) const {
  std::string id;
  WaitFor([&] { return bool(std::istringstream(Xdo("search --onlyvisible --name '^" + title + "$'")) >> id); }, ms);
  return id;
}

std::string Session::Fly(QRect screen) {
  const auto fail = [](const char* step) {
    ADD_FAILURE() << "the flight did not come: " << step;
    return std::string();
  };
  const std::string start = WaitForWindow("Untitled");
  if (start.empty()) return fail("no start window");
  Xdo("windowactivate --sync " + start);
  if (!WaitForActive(start)) return fail("the start window has no focus");
  Xdo("key Return");
  const std::string window = WaitForWindow("Lumox");
  if (window.empty()) return fail("no flight window");
  if (screen.isEmpty()) screen = Screenshot().rect();
  if (!WaitForGeometry(window, screen)) return fail("not full screen");
  if (!WaitForActive(window)) return fail("no keyboard focus");
  return WaitForLit(screen, 500) ? window : fail("nothing drawn");
}

QRect Session::Geometry(const std::string& window) const {
  // xwininfo's absolute position is the client area's; xdotool adds the frame's offset to it.
  int x = -1, y = -1, w = -1, h = -1;
  std::istringstream(Shell("xwininfo -id " + window +
                           " 2>/dev/null | awk '/Absolute upper-left [XY]:|  Width:|  Height:/ {print $NF}'")) >>
      x >> y >> w >> h;
  return QRect(x, y, w, h);
}

bool Session::WaitForGeometry(const std::string& window, const QRect& geometry, int ms) const {
  return WaitFor([&] { return Geometry(window) == geometry; }, ms);
}

std::string Session::ActiveWindow() const {
  std::string id;
  std::istringstream(Xdo("getactivewindow")) >> id;
  return id;
}

bool Session::WaitForActive(const std::string& window, int ms) const {
  return WaitFor([&] { return ActiveWindow() == window; }, ms);
}

bool Session::Iconic(const std::string& window) const {
  const std::string state = Shell("xprop -id " + window + " WM_STATE _NET_WM_STATE 2>/dev/null");
  return state.find("Iconic") != std::string::npos || state.find("_NET_WM_STATE_HIDDEN") != std::string::npos;
}


bool WaitFor(const std::function<bool()>& done, int ms) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  for (;;) {
    if (done()) return true;
    if (std::chrono::steady_clock::now() > deadline) return false;
    SleepMs(50);
  }
}

int DifferentPixels(const QImage& a, const QImage& b) {
  if (a.size() != b.size()) return a.width() * a.height();
  int different = 0;
  for (int y = 0; y < a.height(); ++y) {
    const auto* la = reinterpret_cast<const QRgb*>(a.constScanLine(y));
    const auto* lb = reinterpret_cast<const QRgb*>(b.constScanLine(y));
    for (int x = 0; x < a.width(); ++x) different += la[x] != lb[x];
  }
  return different;
}

}  // namespace lumox::e2e
