#include "shell/display_check.h"

#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "shell/command_line.h"

namespace lumox {

namespace {

std::string Env(const char* name) {
  const char* value = getenv(name);
  return value ? value : "";
}

// The value of one of Qt's own options (-display, -platform), in either spelling; "" if not given.
std::string QtOption(int argc, char** argv, std::string_view name) {
  std::string value;
  for (int i = 1; i + 1 < argc; ++i) {
    std::string_view option = argv[i];
    if (option.starts_with("--")) option.remove_prefix(1);
    if (option == name) value = argv[i + 1];
  }
  return value;
}

bool XAnswers(const std::string& name) {
  xcb_connection_t* c = xcb_connect(name.c_str(), nullptr);
  const bool answers = xcb_connection_has_error(c) == 0;
  xcb_disconnect(c);
  return answers;
}

// As libwayland finds the compositor: a socket path, or a name in XDG_RUNTIME_DIR.
bool WaylandAnswers(const std::string& name) {
  if (!Env("WAYLAND_SOCKET").empty()) return true;  // a connection handed down: Qt's to judge
  const std::string path = name.starts_with('/') ? name : Env("XDG_RUNTIME_DIR") + "/" + name;
  if (!name.starts_with('/') && Env("XDG_RUNTIME_DIR").empty()) return false;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return false;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool answers = fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  if (fd >= 0) close(fd);
  return answers;
}

[[noreturn]] void Exit(const std::string& line, const QString& option_error) {
  if (!option_error.isEmpty()) {
    std::fputs(qPrintable(QStringLiteral("lumox: ") + option_error + QLatin1Char('\n') + UsageHint()), stderr);
    std::exit(2);
  }
  std::fprintf(stderr, "%s\n", line.c_str());
  std::exit(1);
}

}  // namespace

void ExitWithoutDisplay(int argc, char** argv, bool x11_only, const QString& option_error) {
  std::string platform = QtOption(argc, argv, "-platform");
  if (platform.empty()) platform = Env("QT_QPA_PLATFORM");
  if (platform.find(';') != std::string::npos) return;  // a list to try in turn: Qt's own
  platform = platform.substr(0, platform.find(':'));     // the plugin's name, without its options
  std::string x = QtOption(argc, argv, "-display");
  if (x.empty()) x = Env("DISPLAY");
  // Qt tries Wayland first where the session is one, then X where DISPLAY is set, then X anyway.
  const bool chosen = !platform.empty();
  const bool wayland = chosen ? platform.starts_with("wayland")
                              : !x11_only && (!Env("WAYLAND_DISPLAY").empty() || Env("XDG_SESSION_TYPE") == "wayland");
  std::string wayland_name = Env("WAYLAND_DISPLAY");
  if (wayland_name.empty()) wayland_name = "wayland-0";
  if (chosen && platform != "xcb" && !wayland) return;  // offscreen, vnc and the rest: Qt's own
  if (x11_only && x.empty())
    Exit("lumox: '--root' and '--window-id' draw into X11 windows, but DISPLAY is not set.", option_error);
  if (!chosen && !wayland && x.empty())
    Exit("lumox needs a graphical display, but neither DISPLAY nor WAYLAND_DISPLAY is set.", option_error);
  if (!wayland && x.empty()) Exit("lumox: Qt is to start on X, but DISPLAY is not set.", option_error);

  if (wayland && WaylandAnswers(wayland_name)) return;
  const bool try_x = !chosen || platform == "xcb";
  if (try_x && !x.empty() && XAnswers(x)) {
    if (wayland) setenv("QT_QPA_PLATFORM", "xcb", 1);  // spares Qt's lines about the Wayland it can't reach
    return;
  }
  const std::string w = "the Wayland display '" + wayland_name + "'", xd = "the X display '" + x + "'";
  if (wayland && try_x && !x.empty()) Exit("lumox: neither " + w + " nor " + xd + " can be reached.", option_error);
  Exit(std::string(wayland ? "lumox: the Wayland display '" + wayland_name : "lumox: the X display '" + x) + "' can't be reached.",
       option_error);
}

}  // namespace lumox
