#include "desktop/x11/x11_idle.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace lumox {

namespace {

xcb_atom_t Atom(xcb_connection_t* c, xcb_intern_atom_cookie_t cookie) {
  xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(c, cookie, nullptr);
  const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  free(reply);
  return atom;
}

xcb_intern_atom_cookie_t AskAtom(xcb_connection_t* c, const char* name) {
  return xcb_intern_atom(c, 1, std::strlen(name), name);  // only if it exists: a saver made it
}

}  // namespace

// The X server's own saver counts idleness from the last input, and a reset starts it over.
// XScreenSaver 6 watches input by itself and is told instead, by the message
// `xscreensaver-command -deactivate` sends to its daemon's window (the top-level window carrying
// _SCREENSAVER_VERSION). Requests go out in two batches, so this costs two round trips. Errors
// (a window gone meanwhile) are dropped here rather than reported by Qt.
void NudgeX11Savers() {
  auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
  if (!x11) return;
  xcb_connection_t* c = x11->connection();
  xcb_discard_reply(c, xcb_force_screen_saver_checked(c, XCB_SCREEN_SAVER_RESET).sequence);
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
  const xcb_intern_atom_cookie_t atom_cookies[] = {AskAtom(c, "_SCREENSAVER_VERSION"), AskAtom(c, "_SCREENSAVER_STATUS"),
                                                   AskAtom(c, "SCREENSAVER"), AskAtom(c, "DEACTIVATE")};
  const xcb_query_tree_cookie_t tree_cookie = xcb_query_tree(c, root);
  xcb_atom_t atoms[4];
  for (int i = 0; i < 4; ++i) atoms[i] = Atom(c, atom_cookies[i]);
  const auto [version, status, screensaver, deactivate] = atoms;
  xcb_query_tree_reply_t* tree = xcb_query_tree_reply(c, tree_cookie, nullptr);
  if (!tree || !version || !status || !screensaver || !deactivate) {
    free(tree);
    xcb_flush(c);
    return;
  }
  const xcb_get_property_cookie_t status_cookie = xcb_get_property(c, 0, root, status, XCB_ATOM_INTEGER, 0, 1);
  std::vector<xcb_get_property_cookie_t> cookies;
  const xcb_window_t* children = xcb_query_tree_children(tree);
  for (int i = 0; i < xcb_query_tree_children_length(tree); ++i)
    cookies.push_back(xcb_get_property(c, 0, children[i], version, XCB_ATOM_STRING, 0, 0));
  xcb_window_t daemon = XCB_WINDOW_NONE;
  for (size_t i = 0; i < cookies.size(); ++i) {
    if (daemon != XCB_WINDOW_NONE) {
      xcb_discard_reply(c, cookies[i].sequence);
      continue;
    }
    xcb_get_property_reply_t* reply = xcb_get_property_reply(c, cookies[i], nullptr);
    if (reply && reply->type != XCB_ATOM_NONE) daemon = children[i];
    free(reply);
  }
  // A blank or lock the user asked for (the saver is on although we keep it idle) is left alone:
  // deactivating it would pop up the unlock dialog.
  xcb_get_property_reply_t* state = xcb_get_property_reply(c, status_cookie, nullptr);
  const bool saver_on = state && xcb_get_property_value_length(state) >= 4 &&
                        *static_cast<const uint32_t*>(xcb_get_property_value(state)) != 0;
  free(state);
  if (daemon != XCB_WINDOW_NONE && !saver_on) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = daemon;
    message.type = screensaver;
    message.data.data32[0] = deactivate;
    xcb_discard_reply(c, xcb_send_event_checked(c, 0, daemon, XCB_EVENT_MASK_NO_EVENT,
                                                reinterpret_cast<const char*>(&message)).sequence);
  }
  free(tree);
  xcb_flush(c);
}

}  // namespace lumox
