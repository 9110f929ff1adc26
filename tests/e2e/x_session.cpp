#include "e2e/x_session.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace lumox::e2e {

namespace {

// Environment settings go first in `argv`, through env(1), which runs the program in its own place.
pid_t Spawn(const std::vector<std::string>& argv, int keep_fd = -1, const std::string& err_path = "") {
  const pid_t pid = fork();
  if (pid != 0) return pid;
  setpgid(0, 0);
  const int null = open("/dev/null", O_RDWR);
  dup2(null, STDIN_FILENO);
  dup2(null, STDOUT_FILENO);
  if (!err_path.empty()) dup2(open(err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
  else if (!getenv("E2E_VERBOSE")) dup2(null, STDERR_FILENO);
  for (int fd = 3; fd < 1024; ++fd)
    if (fd != keep_fd) close(fd);
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  execvp(args[0], args.data());
  _exit(127);
}

void Stop(pid_t pid) {
  if (pid <= 0) return;
  kill(-pid, SIGTERM);
  for (int i = 0; i < 100; ++i, SleepMs(20))
    if (waitpid(pid, nullptr, WNOHANG) == pid) return;
  kill(-pid, SIGKILL);
  waitpid(pid, nullptr, 0);
}

}  // namespace

void SleepMs(int ms) { usleep(ms * 1000); }

pid_t StartHelper(const std::vector<std::string>& argv) { return Spawn(argv); }
void StopHelper(pid_t pid) { Stop(pid); }

Session::Session(int width, int height, const char* prefs, const std::vector<std::string>& env) {
  int fds[2];
  if (pipe(fds) != 0) throw std::runtime_error("pipe");
  const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
  xvfb_ = Spawn({"Xvfb", "-displayfd", std::to_string(fds[1]), "-screen", "0", screen, "-nolisten", "tcp"}, fds[1]);
  close(fds[1]);
  display_ = ":";
  for (char c; read(fds[0], &c, 1) == 1 && c != '\n';) display_ += c;
  close(fds[0]);
  if (display_ == ":") throw std::runtime_error("Xvfb did not start");
  wm_ = Spawn({"env", "DISPLAY=" + display_, "openbox", "--sm-disable"});
  for (int i = 0; i < 100 && Shell("xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null").find("window id") == std::string::npos;
       ++i)
    SleepMs(50);

  data_ = (std::filesystem::temp_directory_path() / "lumox-e2e-XXXXXX").string();
  if (!mkdtemp(data_.data())) throw std::runtime_error("mkdtemp");
  if (prefs) std::ofstream(File("LumoxPrefs"), std::ios::binary) << prefs;
  inotify_ = inotify_init1(IN_NONBLOCK);
  inotify_add_watch(inotify_, data_.c_str(), IN_MOVED_TO | IN_CREATE);
  std::vector<std::string> argv{"env", "DISPLAY=" + display_, "XDG_DATA_HOME=" + data_};
  argv.insert(argv.end(), env.begin(), env.end());
  argv.push_back(LUMOX_EXE);
  lumox_ = Spawn(argv, -1, getenv("E2E_VERBOSE") ? "" : data_ + ".stderr");
}

Session::~Session() {
  if (Running()) Stop(lumox_);
  Stop(wm_);
  Stop(xvfb_);
  close(inotify_);
  std::error_code ignored;
  std::filesystem::permissions(data_, std::filesystem::perms::owner_all, ignored);
  std::filesystem::remove_all(data_, ignored);
  std::filesystem::remove(data_ + ".stderr", ignored);
}

std::string Session::Shell(const std::string& command) const {
  const std::string full = "DISPLAY=" + display_ + " " + command;
  std::string out;
  if (FILE* pipe = popen(full.c_str(), "r")) {
    char buffer[4096];
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
    pclose(pipe);
  }
  return out;
}

QImage Session::Screenshot() const {
  const std::string path = std::filesystem::temp_directory_path() / ("lumox-shot-" + std::to_string(getpid()) + ".png");
  Shell(std::string(LUMOX_GRAB) + " " + path + " 2>/dev/null");
  QImage image(QString::fromStdString(path));
  std::filesystem::remove(path);
  return image.convertToFormat(QImage::Format_RGB32);
}

std::string Session::Stderr() const {
  std::ostringstream text;
  text << std::ifstream(data_ + ".stderr", std::ios::binary).rdbuf();
  return text.str();
}

std::string Session::Prefs() const {
  std::ostringstream text;
  text << std::ifstream(File("LumoxPrefs"), std::ios::binary).rdbuf();
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

bool Session::Running() {
  if (lumox_ > 0 && waitpid(lumox_, &status_, WNOHANG) == lumox_) lumox_ = -1;
  return lumox_ > 0;
}

void Session::Signal(int signal) {
  if (lumox_ > 0) kill(lumox_, signal);
}

bool Session::WaitForExit(int ms) {
  for (int waited = 0; waited < ms && Running(); waited += 20) SleepMs(20);
  return !Running();
}

bool Session::Quit() {
  Xdo("key ctrl+q");
  return WaitForExit();
}

std::string Session::WaitForWindow(const std::string& title, int ms) const {
  for (int waited = 0; waited < ms; waited += 100, SleepMs(100))
    if (std::string id; std::istringstream(Xdo("search --onlyvisible --name '^" + title + "$'")) >> id) return id;
  return "";
}

std::string Session::Fly(int settle_ms) {
  const std::string start = WaitForWindow("Untitled");
  if (start.empty()) return "";
  Xdo("windowactivate --sync " + start + " key Return");
  const std::string window = WaitForWindow("Lumox");
  SleepMs(settle_ms);
  return window;
}

QRect Session::Geometry(const std::string& window) const {
  // xwininfo's absolute position is the client area's; xdotool adds the frame's offset to it.
  int x = -1, y = -1, w = -1, h = -1;
  std::istringstream(Shell("xwininfo -id " + window +
                           " 2>/dev/null | awk '/Absolute upper-left [XY]:|  Width:|  Height:/ {print $NF}'")) >>
      x >> y >> w >> h;
  return QRect(x, y, w, h);
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
