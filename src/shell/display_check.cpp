#include "shell/display_check.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "desktop/wayland/wayland_probe.h"
#include "desktop/x11/x11_probe.h"
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

}  // namespace

DisplayChoice::Host DecideDisplay(int argc, char** argv, DisplayUse use, const QString& option_error) {
  DisplayFacts facts;
  facts.qt_platform = QtOption(argc, argv, "-platform");
  if (facts.qt_platform.empty()) facts.qt_platform = Env("QT_QPA_PLATFORM");
  facts.x_display = QtOption(argc, argv, "-display");
  if (facts.x_display.empty()) facts.x_display = Env("DISPLAY");
  facts.wayland_display = Env("WAYLAND_DISPLAY");
  facts.wayland_socket = Env("WAYLAND_SOCKET");
  facts.session_type = Env("XDG_SESSION_TYPE");
  facts.wayland_answers = WaylandAnswers;
  facts.x_answers = X11Answers;
  const DisplayChoice choice = ChooseDisplay(use, facts);
  if (!option_error.isEmpty() && (!choice.error.empty() || use == DisplayUse::kDesktop)) {
    std::fputs(qPrintable(QStringLiteral("lumox: ") + option_error + QLatin1Char('\n') + UsageHint()), stderr);
    std::exit(2);
  }
  if (!choice.error.empty()) {
    std::fprintf(stderr, "lumox: %s\n", choice.error.c_str());
    std::exit(1);
  }
  if (!choice.qt_platform.empty()) setenv("QT_QPA_PLATFORM", choice.qt_platform.c_str(), 1);
  return choice.host;
}

}  // namespace lumox
