// A Wayland compositor that offers wl_compositor and nothing else, as GNOME's does no layer
// shell: prints its socket's name and serves until killed.
#include <wayland-server.h>

#include <cstdio>

int main() {
  wl_display* display = wl_display_create();
  const char* socket = display ? wl_display_add_socket_auto(display) : nullptr;
  if (!socket) return 1;
  wl_global_create(display, &wl_compositor_interface, 4, nullptr, [](wl_client* client, void*, uint32_t version, uint32_t id) {
    wl_resource_create(client, &wl_compositor_interface, static_cast<int>(version), id);
  });
  std::printf("%s\n", socket);
  std::fflush(stdout);
  wl_display_run(display);
}
