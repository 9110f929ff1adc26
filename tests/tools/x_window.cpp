// A tiny X client for the end-to-end tests.
//   x_window probe        maps a window and waits until the window manager frames it: the
//                         manager is then really managing windows, not just announced.
//   x_window hold W H     maps a W x H window, prints its id, and keeps it until stdin closes
//                         or it is destroyed from outside.
#include <xcb/xcb.h>

#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

xcb_window_t MakeWindow(xcb_connection_t* c, xcb_screen_t* screen, uint16_t w, uint16_t h) {
  const xcb_window_t window = xcb_generate_id(c);
  const uint32_t values[] = {screen->black_pixel, XCB_EVENT_MASK_STRUCTURE_NOTIFY};
  xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, w, h, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                    screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
  const char title[] = "x_window";
  xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, sizeof title - 1, title);
  xcb_map_window(c, window);
  xcb_flush(c);
  return window;
}

int Probe(xcb_connection_t* c, xcb_screen_t* screen) {
  MakeWindow(c, screen, 10, 10);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  pollfd fd{xcb_get_file_descriptor(c), POLLIN, 0};
  while (std::chrono::steady_clock::now() < deadline) {
    while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
      const bool framed = (event->response_type & 0x7f) == XCB_REPARENT_NOTIFY;
      free(event);
      if (framed) return 0;
    }
    if (xcb_connection_has_error(c)) return 1;
    poll(&fd, 1, 100);
  }
  return 1;
}

int Hold(xcb_connection_t* c, xcb_screen_t* screen, int w, int h) {
  const xcb_window_t window = MakeWindow(c, screen, static_cast<uint16_t>(w), static_cast<uint16_t>(h));
  std::printf("%u\n", window);
  std::fflush(stdout);
  pollfd fds[2] = {{xcb_get_file_descriptor(c), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
  for (;;) {
    while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
      const bool gone = (event->response_type & 0x7f) == XCB_DESTROY_NOTIFY;
      free(event);
      if (gone) return 0;
    }
    if (xcb_connection_has_error(c)) return 1;
    poll(fds, 2, -1);
    char byte;
    if (fds[1].revents && read(STDIN_FILENO, &byte, 1) <= 0) return 0;
  }
}

}  // namespace

int main(int argc, char** argv) {
  xcb_connection_t* c = xcb_connect(nullptr, nullptr);
  if (xcb_connection_has_error(c)) return 1;
  xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
  if (argc == 2 && std::strcmp(argv[1], "probe") == 0) return Probe(c, screen);
  if (argc == 4 && std::strcmp(argv[1], "hold") == 0) return Hold(c, screen, std::atoi(argv[2]), std::atoi(argv[3]));
  std::fprintf(stderr, "usage: x_window probe | x_window hold W H\n");
  return 2;
}
