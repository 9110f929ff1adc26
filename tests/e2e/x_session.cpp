#include "e2e/x_session.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

namespace lumox::e2e {

namespace {

pid_t Spawn(const std::vector<std::string>& argv, const std::vector<std::pair<std::string, std::string>>& env,
            int keep_fd = -1) {
  const pid_t pid = fork();
  if (pid != 0) return pid;
  setpgid(0, 0);
  for (const auto& [name, value] : env) setenv(name.c_str(), value.c_str(), 1);
  const int null = open("/dev/null", O_RDWR);
  dup2(null, STDIN_FILENO);
  dup2(null, STDOUT_FILENO);
  if (!getenv("E2E_VERBOSE")) dup2(null, STDERR_FILENO);
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
  for (int i = 0; i < 100; ++i) {
    if (waitpid(pid, nullptr, WNOHANG) == pid) return;
    SleepMs(20);
  }
  kill(-pid, SIGKILL);
  waitpid(pid, nullptr, 0);
}

}  // namespace

void SleepMs(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

XSession::XSession(int width, int height) {
  int fds[2];
  if (pipe(fds) != 0) throw std::runtime_error("pipe");
  const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
  xvfb_ = Spawn({"Xvfb", "-displayfd", std::to_string(fds[1]), "-screen", "0", screen, "-nolisten", "tcp"}, {},
                fds[1]);
  close(fds[1]);
  std::string number;
  char c;
  while (read(fds[0], &c, 1) == 1 && c != '\n') number += c;
  close(fds[0]);
  if (number.empty()) throw std::runtime_error("Xvfb did not start");
  display_ = ":" + number;
  wm_ = Spawn({"openbox", "--sm-disable"}, {{"DISPLAY", display_}});
  for (int i = 0; i < 100; ++i) {
    if (Shell("xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null").find("window id") != std::string::npos) break;
    SleepMs(50);
  }
}

XSession::~XSession() {
  Stop(wm_);
  Stop(xvfb_);
}

std::string XSession::Shell(const std::string& command) const {
  const std::string full = "DISPLAY=" + display_ + " " + command;
  std::string out;
  if (FILE* pipe = popen(full.c_str(), "r")) {
    std::array<char, 4096> buffer;
    size_t n;
    while ((n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0) out.append(buffer.data(), n);
    pclose(pipe);
  }
  return out;
}

std::string XSession::Xdo(const std::string& args) const { return Shell("xdotool " + args + " 2>/dev/null"); }

QImage XSession::Screenshot() const {
  const std::string path = std::filesystem::temp_directory_path() / ("lumox-shot-" + std::to_string(getpid()) + ".png");
  Shell(std::string(LUMOX_GRAB) + " " + path + " 2>/dev/null");
  QImage image(QString::fromStdString(path));
  std::filesystem::remove(path);
  return image.convertToFormat(QImage::Format_RGB32);
}

LumoxProcess::LumoxProcess(const XSession& session, const std::string& data_home) : session_(session) {
  pid_ = Spawn({LUMOX_EXE}, {{"DISPLAY", session.Display()}, {"XDG_DATA_HOME", data_home}});
}

LumoxProcess::~LumoxProcess() {
  if (Running()) Stop(pid_);
}

void LumoxProcess::Signal(int signal) {
  if (pid_ > 0) kill(pid_, signal);
}

bool LumoxProcess::Running() {
  if (pid_ <= 0) return false;
  int status;
  if (waitpid(pid_, &status, WNOHANG) == pid_) {
    status_ = status;
    pid_ = -1;
    return false;
  }
  return true;
}

bool LumoxProcess::WaitForExit(int ms) {
  for (int waited = 0; waited < ms; waited += 20) {
    if (!Running()) return true;
    SleepMs(20);
  }
  return !Running();
}

std::string LumoxProcess::WaitForWindow(const std::string& title, int ms) const {
  for (int waited = 0; waited < ms; waited += 100) {
    std::istringstream ids(session_.Xdo("search --onlyvisible --name '^" + title + "$'"));
    std::string id;
    if (ids >> id) return id;
    SleepMs(100);
  }
  return "";
}

std::string LumoxProcess::Go() const {
  const std::string start = WaitForWindow("Untitled");
  if (start.empty()) return "";
  session_.Xdo("windowactivate --sync " + start);
  session_.Xdo("key Return");
  return WaitForWindow("Lumox");
}

QRect LumoxProcess::Geometry(const std::string& window) const {
  // xwininfo's absolute position is the client area's; xdotool adds the frame's offset to it.
  std::istringstream out(session_.Shell("xwininfo -id " + window + " 2>/dev/null"));
  std::string line;
  int x = -1, y = -1, w = -1, h = -1;
  auto value = [](const std::string& l) { return std::stoi(l.substr(l.find(':') + 1)); };
  while (std::getline(out, line)) {
    if (line.find("Absolute upper-left X:") != std::string::npos) x = value(line);
    if (line.find("Absolute upper-left Y:") != std::string::npos) y = value(line);
    if (line.find("  Width:") != std::string::npos) w = value(line);
    if (line.find("  Height:") != std::string::npos) h = value(line);
  }
  return QRect(x, y, w, h);
}

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "lumox-e2e-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp");
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ignored);
  std::filesystem::remove_all(path_, ignored);
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
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
