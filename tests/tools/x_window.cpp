// A tiny X client for the end-to-end tests.
//   x_window probe        maps a window and waits until the window manager frames it: the
//                         manager is then really managing windows, not just announced.
//   x_window hold X Y W H [child]
//                         maps an unmanaged W x H window at X, Y (as a screensaver's is), prints
//                         its id, and keeps it until it is destroyed from outside or the
//                         program is killed. With `child`, a white child window covers it, as
//                         a toolkit's or xlogo's window has one.
#include <xcb/xcb.h>

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

xcb_window_t MakeWindow(xcb_connection_t* c, xcb_screen_t* screen, int x, int y, int w, int h, bool managed) {
  const xcb_window_t window = xcb_generate_id(c);
  const uint32_t values[] = {screen->black_pixel, managed ? 0u : 1u, XCB_EVENT_MASK_STRUCTURE_NOTIFY};
  xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, static_cast<int16_t>(x), static_cast<int16_t>(y),
                    static_cast<uint16_t>(w), static_cast<uint16_t>(h), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                    screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
  const char title[] = "x_window";
  xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, sizeof title - 1, title);
  xcb_map_window(c, window);
  xcb_flush(c);
  return window;
}

// Whether the window manager lists `window` among the windows it manages (_NET_CLIENT_LIST).
bool Listed(xcb_connection_t* c, xcb_screen_t* screen, xcb_window_t window) {
  const char name[] = "_NET_CLIENT_LIST";
  xcb_intern_atom_reply_t* atom = xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, sizeof name - 1, name), nullptr);
  if (!atom) return false;
  xcb_get_property_reply_t* list =
      xcb_get_property_reply(c, xcb_get_property(c, 0, screen->root, atom->atom, XCB_ATOM_WINDOW, 0, 4096), nullptr);
  free(atom);
  if (!list) return false;
  const auto* ids = static_cast<const xcb_window_t*>(xcb_get_property_value(list));
  const int count = xcb_get_property_value_length(list) / 4;
  const bool listed = std::find(ids, ids + count, window) != ids + count;
  free(list);
  return listed;
}

int Probe(xcb_connection_t* c, xcb_screen_t* screen) {
  const xcb_window_t window = MakeWindow(c, screen, 0, 0, 10, 10, true);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  pollfd fd{xcb_get_file_descriptor(c), POLLIN, 0};
  bool framed = false;
  while (!framed && std::chrono::steady_clock::now() < deadline) {
    while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
      framed |= (event->response_type & 0x7f) == XCB_REPARENT_NOTIFY;
      free(event);
    }
    if (xcb_connection_has_error(c)) return 1;
    if (!framed) poll(&fd, 1, 100);
  }
  if (!framed) return 1;
  // Listed by the manager, then gone from its list before the program ends: the next client
  // reuses this one's ids, and a manager still holding this window would move that client's
  // window to its place.
  while (std::chrono::steady_clock::now() < deadline && !Listed(c, screen, window)) poll(nullptr, 0, 20);
  xcb_destroy_window(c, window);
  xcb_flush(c);
  while (std::chrono::steady_clock::now() < deadline && Listed(c, screen, window)) poll(nullptr, 0, 20);
  return 0;
}

int Hold(xcb_connection_t* c, xcb_screen_t* screen, char** xywh, bool child) {
  const xcb_window_t window =
      MakeWindow(c, screen, std::atoi(xywh[0]), std::atoi(xywh[1]), std::atoi(xywh[2]), std::atoi(xywh[3]), false);
  if (child) {
    const xcb_window_t inner = xcb_generate_id(c);
    xcb_create_window(c, XCB_COPY_FROM_PARENT, inner, window, 0, 0, static_cast<uint16_t>(std::atoi(xywh[2])),
                      static_cast<uint16_t>(std::atoi(xywh[3])), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL, &screen->white_pixel);
    xcb_map_window(c, inner);
    xcb_flush(c);
  }
  std::printf("%u\n", window);
  std::fflush(stdout);
  pollfd fd{xcb_get_file_descriptor(c), POLLIN, 0};
  for (;;) {
    while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
      const bool gone = (event->response_type & 0x7f) == XCB_DESTROY_NOTIFY;
      free(event);
      if (gone) return 0;
    }
    if (xcb_connection_has_error(c)) return 1;
    poll(&fd, 1, -1);
  }
}

}  // namespace

int main(int argc, char** argv) {
  xcb_connection_t* c = xcb_connect(nullptr, nullptr);
  if (xcb_connection_has_error(c)) return 1;
  xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
  if (argc == 2 && std::strcmp(argv[1], "probe") == 0) return Probe(c, screen);
  if ((argc == 6 || (argc == 7 && std::strcmp(argv[6], "child") == 0)) && std::strcmp(argv[1], "hold") == 0)
    return Hold(c, screen, argv + 2, argc == 7);
  std::fprintf(stderr, "usage: x_window probe | x_window hold X Y W H [child]\n");
  return 2;
}
