#include "e2e/gnome_shell.h"

#include <signal.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace lumox::e2e {

namespace {
// What a gdbus call answers, "(true, 'text')": the text, or "" for a failed call.
std::string Answer(const std::string& reply) {
  const size_t open = reply.find('\''), close = reply.rfind('\'');
  if (!reply.starts_with("(true") || open == std::string::npos || close <= open) return "";
  return reply.substr(open + 1, close - open - 1);
}
}  // namespace

GnomeShell::GnomeShell(const std::vector<QSize>& monitors) : home_(MakeTempFolder("lumox-gnome")) {
  const std::string extensions = home_ + "/.local/share/gnome-shell/extensions";
  // Lumox and its extension as a user installs them, and the tests' own extension beside.
  RunCommand("cmake --install " LUMOX_BUILD_DIR " --prefix " + home_ + "/.local >/dev/null");
  std::filesystem::copy(LUMOX_E2E_DIR "/gnome", extensions, std::filesystem::copy_options::recursive);
  std::filesystem::create_directory(home_ + "/run");
  std::filesystem::permissions(home_ + "/run", std::filesystem::perms::owner_all);
  env_ = ShellWords(UserSession(home_, home_ + "/run")) + "XDG_CURRENT_DESKTOP=GNOME ";
  // The Shell won't start without logind: python-dbusmock's stands in, on a system bus of our own.
  env_ += "DBUS_SYSTEM_BUS_ADDRESS=" + StartBus(env_, buses_[0]) + " ";
  env_ += "DBUS_SESSION_BUS_ADDRESS=" + StartBus(env_, buses_[1]) + " ";
  logind_ = StartHelper({"sh", "-c", env_ + "python3 -m dbusmock --system --template logind"});
  Shell("gsettings set org.gnome.shell enabled-extensions \"['lumox-wallpaper@lumox', 'lumox-test@lumox']\"");
  std::string shell = env_ + "gnome-shell --headless --wayland --no-x11";
  for (const QSize& size : monitors)
    shell += " --virtual-monitor " + std::to_string(size.width()) + "x" + std::to_string(size.height());
  shell_ = StartHelper({"sh", "-c", shell}, -1, home_ + "/shell.log");
  // The Shell starts in the overview, once it has started up; the tests want the desktop.
  started_ = WaitFor([&] {
    return Eval("Main.layoutManager._startingUp ? 0 : (Main.overview.hide(), Main.overview.visible ? 0 : 1)") == "1";
  }, 60000);
}

GnomeShell::~GnomeShell() {
  StopHelper(shell_);
  StopHelper(logind_);
  for (pid_t bus : buses_)
    if (bus > 0) kill(bus, SIGTERM);
  // What the session's bus started for the user (dconf, the accessibility bus) goes too.
  RunCommand("pkill -f '" + home_ + "/'; pkill -u lumoxtest dconf-service");
  std::error_code ignored;
  std::filesystem::remove_all(home_, ignored);
}

std::string GnomeShell::Shell(const std::string& command) const { return RunIn(env_, home_, command); }

std::string GnomeShell::Eval(const std::string& js) const {
  // Through a file, so the script may hold quotes of any kind.
  std::ofstream(home_ + "/eval.js") << "{" << js << "}";  // a block: its constants are its own
  const std::string answer = Answer(Shell("gdbus call --session --dest org.gnome.Shell --object-path /org/gnome/Shell "
                                          "--method org.gnome.Shell.Eval \"$(cat eval.js)\""));
  // The result comes as JSON: a string in quotes.
  return answer.size() >= 2 && answer.front() == '"' ? answer.substr(1, answer.size() - 2) : answer;
}

QImage GnomeShell::Screenshot() const {
  const std::string path = home_ + "/shot.png";
  Shell("gdbus call --session --dest org.gnome.Shell.Screenshot --object-path /org/gnome/Shell/Screenshot "
        "--method org.gnome.Shell.Screenshot.Screenshot false false " + path + " >/dev/null");
  const QImage shot(QString::fromStdString(path));
  std::filesystem::remove(path);
  return shot.convertToFormat(QImage::Format_RGB32);
}

pid_t GnomeShell::Lumox() const {
  const std::string pid = RunCommand("pgrep -n -f '" + home_ + "/[.]local/bin/lumox --wallpaper'");  // not the shell asking
  return pid.empty() ? -1 : std::stoi(pid);
}

std::string GnomeShell::Log() const { return ReadFile(home_ + "/shell.log"); }

}  // namespace lumox::e2e
