#include "desktop/x11/x11_probe.h"

#include <unistd.h>
#include <xcb/xcb.h>

namespace lumox {

namespace {
xcb_connection_t* g_held = nullptr;
}

bool X11Answers(const std::string& name) {
  // A server that resets as its last client leaves (xvfb-run's) drops a connection that came in
  // that moment: a dropped one is asked again, a few times.
  for (int attempt = 0; attempt < 3; ++attempt) {
    if (attempt > 0) usleep(100 * 1000);
    xcb_connection_t* c = xcb_connect(name.c_str(), nullptr);
    if (!xcb_connection_has_error(c)) {
      LetGoOfX11Probe();
      g_held = c;
      return true;
    }
    xcb_disconnect(c);
  }
  return false;
}

void LetGoOfX11Probe() {
  if (g_held) xcb_disconnect(g_held);
  g_held = nullptr;
}

}  // namespace lumox
