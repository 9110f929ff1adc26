#include "desktop/display_choice.h"

#include "desktop/desktop_core.h"

namespace lumox {

namespace {
std::string Wayland(const std::string& name) { return "the Wayland display '" + name + "'"; }
std::string X(const std::string& name) { return "the X display '" + name + "'"; }

DisplayChoice Fail(std::string line) { return {DisplayChoice::kQt, "", std::move(line)}; }

// Neither answered: one line naming what was tried.
DisplayChoice NoneAnswers(const std::string* wayland, const std::string* x) {
  if (wayland && x) return Fail("Neither " + Wayland(*wayland) + " nor " + X(*x) + " can be reached.");
  return Fail(desktop_line::Unreachable(wayland ? Wayland(*wayland) : X(*x)));
}

DisplayChoice ForDesktop(const DisplayFacts& f) {
  // A connection handed down (a lock screen's) is taken as it is; Qt must never open it.
  if (!f.wayland_socket.empty()) return {DisplayChoice::kWayland, "offscreen", ""};
  const bool wayland = !f.wayland_display.empty(), x = !f.x_display.empty();
  if (!wayland && !x) return Fail(desktop_line::NoDisplay());
  // Qt draws nothing on the Wayland host but the readout's text, off screen.
  if (wayland && f.wayland_answers(f.wayland_display)) return {DisplayChoice::kWayland, "offscreen", ""};
  if (x && f.x_answers(f.x_display)) return {DisplayChoice::kX11, "xcb", ""};
  return NoneAnswers(wayland ? &f.wayland_display : nullptr, x ? &f.x_display : nullptr);
}

// The Shell hands its connection down (WAYLAND_SOCKET); by hand, WAYLAND_DISPLAY names it.
DisplayChoice ForShellWindows(const DisplayFacts& f) {
  if (!f.wayland_socket.empty()) return {DisplayChoice::kQt, "wayland", ""};
  if (f.wayland_display.empty()) return Fail("WAYLAND_DISPLAY is not set, and '--gnome-shell' needs GNOME Shell's display.");
  if (!f.wayland_answers(f.wayland_display)) return NoneAnswers(&f.wayland_display, nullptr);
  return {DisplayChoice::kQt, "wayland", ""};
}
}  // namespace

DisplayChoice ChooseDisplay(DisplayUse use, const DisplayFacts& f) {
  if (use == DisplayUse::kDesktop) return ForDesktop(f);
  if (use == DisplayUse::kShellWindows) return ForShellWindows(f);
  std::string platform = f.qt_platform;
  if (platform.find(';') != std::string::npos) return {};  // a list to try in turn: Qt's own
  platform = platform.substr(0, platform.find(':'));       // the plugin's name, without its options
  const bool x11_only = use == DisplayUse::kX11Window;
  // Qt tries Wayland first where the session is one, then X where DISPLAY is set, then X anyway.
  const bool chosen = !platform.empty();
  const bool wayland = chosen ? platform.starts_with("wayland")
                              : !x11_only && (!f.wayland_display.empty() || f.session_type == "wayland");
  const std::string wayland_name = f.wayland_display.empty() ? "wayland-0" : f.wayland_display;
  if (chosen && platform != "xcb" && !wayland) return {};  // offscreen, vnc and the rest: Qt's own
  if (x11_only && f.x_display.empty())
    return Fail("DISPLAY is not set, and '--root' and '--window-id' draw into X11 windows.");
  if (!chosen && !wayland && f.x_display.empty())
    return Fail("No graphical display: neither DISPLAY nor WAYLAND_DISPLAY is set.");
  if (!wayland && f.x_display.empty()) return Fail("Qt is to start on X, but DISPLAY is not set.");

  // A connection handed down is Qt's to judge.
  if (wayland && (!f.wayland_socket.empty() || f.wayland_answers(wayland_name))) return {};
  const bool try_x = !chosen || platform == "xcb";
  if (try_x && !f.x_display.empty() && f.x_answers(f.x_display)) {
    // A screensaver's window is an X11 window, even where Qt would pick Wayland; and a Wayland
    // display that can't be reached spares Qt's lines about it.
    return {DisplayChoice::kQt, wayland || x11_only ? "xcb" : "", ""};
  }
  return NoneAnswers(wayland ? &wayland_name : nullptr, try_x && !f.x_display.empty() ? &f.x_display : nullptr);
}

}  // namespace lumox
