#include "e2e/desktop.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

namespace lumox::e2e {

std::unique_ptr<Desktop> OpenDesktop(const DesktopOptions& options) {
  if (options.kind == "sway") return std::make_unique<SwaySession>(options);
  return std::make_unique<Session>(options);
}

Desktop::Desktop(const DesktopOptions& options) : options_(options), dir_(MakeTempFolder("lumox-e2e")) {
  data_ = dir_ + "/data";
  stderr_ = dir_ + "/stderr";
  std::filesystem::create_directory(data_);
}

Desktop::~Desktop() {
  close(inotify_);
  if (getenv("E2E_VERBOSE")) std::fputs(Stderr().c_str(), stderr);
  std::error_code ignored;
  std::filesystem::permissions(data_, std::filesystem::perms::owner_all, ignored);
  std::filesystem::remove_all(dir_, ignored);
}

void Desktop::Begin(std::vector<std::string> launch, std::string exe) {
  launch_ = std::move(launch);
  exe_ = std::move(exe);
  if (options_.prefs) std::ofstream(File("LumoxPrefs"), std::ios::binary) << options_.prefs;
  inotify_ = inotify_init1(IN_NONBLOCK);
  inotify_add_watch(inotify_, data_.c_str(), IN_MOVED_TO | IN_CREATE);
  if (options_.start_lumox) StartLumox(options_.lumox_args, options_.env);
}

std::string Desktop::OutputName(int index) const {
  if (Kind() == "sway") return "HEADLESS-" + std::to_string(index + 1);
  return options_.outputs.size() == 1 ? "screen" : "OUT-" + std::to_string(index + 1);
}

QRect Desktop::OutputArea(int index) const {
  int x = 0;
  for (int i = 0; i < index; ++i) x += options_.outputs[i].width();
  return QRect(QPoint(x, 0), options_.outputs[index]);
}

void Desktop::StartLumox(const std::vector<std::string>& args, const std::vector<std::string>& env) {
  std::vector<std::string> argv = launch_;
  argv.push_back("XDG_DATA_HOME=" + data_);
  argv.insert(argv.end(), env.begin(), env.end());
  argv.push_back(exe_);
  argv.insert(argv.end(), args.begin(), args.end());
  status_ = -1;
  lumox_ = StartHelper(argv, -1, stderr_);
}

void Desktop::StopLumox() {
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

::testing::AssertionResult Desktop::Terminate() {
  Signal(SIGTERM);
  if (WaitForExit(2000) && status_ == 0 && Stderr().empty()) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "status " << status_ << ", said: " << Stderr();
}

bool Desktop::Quit() {
  // On Wayland Qt takes a window as active once the compositor's configure says so, which may come
  // after the keyboard focus that sway's tree shows: a Ctrl+Q in between goes unheard, and is given again.
  for (int attempt = 0; attempt < (Kind() == "sway" ? 3 : 1); ++attempt) {
    Keys("ctrl+q");
    if (WaitForExit()) return true;
  }
  return false;
}

long Desktop::CpuTicks() const { return CpuTicksOf(lumox_); }

long CpuTicksOf(pid_t pid) {
  std::istringstream stat(ReadFile("/proc/" + std::to_string(pid) + "/stat"));
  std::string field;
  long ticks = 0;
  for (int i = 1; i <= 15 && stat >> field; ++i)
    if (i >= 14) ticks += std::stol(field);
  return ticks;
}

int Desktop::PrefsWrites() {
  alignas(inotify_event) char buffer[16384];
  for (ssize_t n; (n = read(inotify_, buffer, sizeof buffer)) > 0;)
    for (char* p = buffer; p < buffer + n;) {
      const auto* event = reinterpret_cast<const inotify_event*>(p);
      writes_ += event->len && std::string(event->name) == "LumoxPrefs";
      p += sizeof(inotify_event) + event->len;
    }
  return writes_;
}

bool Desktop::WaitForLit(const QRect& area, int min, int ms) const {
  return WaitFor([&] { return LitPixels(Screenshot().copy(area)) > min; }, ms);
}

::testing::AssertionResult Desktop::WaitForWindow(const std::string& title,
                                                  const std::function<bool(const WindowState&)>& condition, int ms) const {
  WindowState w;
  if (WaitFor([&] { return condition(w = Window(title)); }, ms)) return ::testing::AssertionSuccess();
  const QRect g = w.geometry;
  return ::testing::AssertionFailure() << title << ": id '" << w.id << "' shown " << w.shown << " minimised " << w.minimised
                                       << " focused " << w.focused << " full screen " << w.full_screen << " at " << g.x()
                                       << "," << g.y() << " " << g.width() << "x" << g.height();
}

std::string Desktop::Fly(int output) {
  const auto fail = [](const char* step) {
    ADD_FAILURE() << "the flight did not come: " << step;
    return std::string();
  };
  if (!WaitForWindow("Untitled", [](const WindowState& w) { return w.shown; })) return fail("no start window");
  Activate("Untitled");
  if (!WaitForWindow("Untitled", [](const WindowState& w) { return w.focused; })) return fail("the start window has no focus");
  Keys("Return");
  const QRect area = OutputArea(output);
  if (!WaitForWindow("Lumox", [&](const WindowState& w) { return w.shown && w.geometry == area; }))
    return fail("not full screen");
  if (!WaitForWindow("Lumox", [](const WindowState& w) { return w.focused; }, 10000)) return fail("no keyboard focus");
  return WaitForLit(area, 500) ? Window("Lumox").id : fail("nothing drawn");
}

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

std::vector<std::string> UserSession(const std::string& home, const std::string& runtime) {
  std::vector<std::string> words = AsTestUser(home);
  words.insert(words.end(), {"env", "-i", "HOME=" + home, "XDG_RUNTIME_DIR=" + runtime, "PATH=/usr/bin:/bin"});
  for (const std::string& word : SanitizerEnv()) words.push_back(word);
  return words;
}

std::string ShellWords(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += "'" + word + "' ";
  return text;
}

std::string StartBus(const std::string& session, pid_t& pid) {
  std::istringstream bus(RunCommand(session + "dbus-daemon --session --fork --print-address=1 --print-pid=1"));
  std::string address;
  if (!(bus >> address >> pid)) throw std::runtime_error("no bus");
  return address;
}

std::string RunIn(const std::string& session, const std::string& folder, const std::string& command) {
  std::string quoted;  // the command in single quotes, its own single quotes kept
  for (const char c : command) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return RunCommand("cd '" + folder + "' && " + session + "sh -c '" + quoted + " 2>/dev/null'");
}

std::string MakeTempFolder(const std::string& prefix) {
  std::string folder = (std::filesystem::temp_directory_path() / (prefix + "-XXXXXX")).string();
  if (!mkdtemp(folder.data())) throw std::runtime_error("mkdtemp");
  return folder;
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

std::string ReadFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
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

bool Flying(const Desktop& desktop, const std::string& output, QRect area) {
  const auto shot = [&] { return area.isEmpty() ? desktop.Screenshot(output) : desktop.Screenshot(output).copy(area); };
  const QImage first = shot();
  return LitPixels(first) > 100 && LitPixels(first, 200) < first.width() * first.height() / 20 &&
         WaitFor([&] { return DifferentPixels(first, shot()) > 50; }, 3000);
}

double SeamLikeness(const QImage& shot, int edge, int top, int bottom) {
  int apart = 0, light = 0;
  for (int y = top; y < bottom; ++y) {
    const int l = Level(shot.pixel(edge - 1, y)), r = Level(shot.pixel(edge, y));
    apart += std::abs(l - r);
    light += l + r;
  }
  return light < 500 ? -1.0 : 1.0 - double(apart) / light;
}

double CpuShare(const std::function<long()>& ticks, int ms) {
  const long before = ticks();
  const auto start = std::chrono::steady_clock::now();
  while (MsSince(start) < ms) SleepMs(500);  // the measure is over this time, not a wait for anything
  return double(ticks() - before) / double(sysconf(_SC_CLK_TCK)) / (MsSince(start) / 1000.0);
}

double CpuShare(const Desktop& desktop, int ms) {
  return CpuShare([&] { return desktop.CpuTicks(); }, ms);
}

double MeanLevel(const Desktop& desktop, const std::string& output, int shots) {
  double sum = 0.0, pixels = 0.0;
  for (int shot = 0; shot < shots; ++shot) {
    const QImage image = desktop.Screenshot(output);
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x) sum += Level(image.pixel(x, y));
    pixels += double(image.width()) * image.height();
  }
  return sum / pixels;
}

}  // namespace lumox::e2e
