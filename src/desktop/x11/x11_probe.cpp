#include "desktop/x11/x11_probe.h"

#include <xcb/xcb.h>

namespace lumox {

namespace {
xcb_connection_t* g_held = nullptr;
}

bool X11Answers(const std::string& name) {
  xcb_connection_t* c = xcb_connect(name.c_str(), nullptr);
  if (xcb_connection_has_error(c)) {
    xcb_disconnect(c);
    return false;
  }
  LetGoOfX11Probe();
  g_held = c;
  return true;
}

void LetGoOfX11Probe() {
  if (g_held) xcb_disconnect(g_held);
  g_held = nullptr;
}

}  // namespace lumox
