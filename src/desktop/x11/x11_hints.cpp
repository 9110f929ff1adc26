#include "desktop/x11/x11_hints.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <cstdlib>
#include <cstring>

namespace lumox {

namespace {
xcb_atom_t Atom(xcb_connection_t* connection, const char* name) {
  xcb_intern_atom_reply_t* reply =
      xcb_intern_atom_reply(connection, xcb_intern_atom(connection, 0, static_cast<uint16_t>(strlen(name)), name), nullptr);
  const xcb_atom_t atom = reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
  free(reply);
  return atom;
}

// Restacked now, as a dialog above the rest: metacity leaves a window that became a dialog after it
// was mapped where it was.
void RestackOnTop(xcb_connection_t* connection, xcb_window_t id) {
  const uint32_t above = XCB_STACK_MODE_ABOVE;
  xcb_configure_window(connection, id, XCB_CONFIG_WINDOW_STACK_MODE, &above);
}
// A property's value, up to 1 KiB; empty where there is none.
QByteArray ReadProperty(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property, xcb_atom_t type) {
  xcb_get_property_reply_t* reply =
      xcb_get_property_reply(connection, xcb_get_property(connection, 0, window, property, type, 0, 256), nullptr);
  QByteArray value;
  if (reply) value = QByteArray(static_cast<const char*>(xcb_get_property_value(reply)), xcb_get_property_value_length(reply));
  free(reply);
  return value;
}
}  // namespace

bool OnWayland() { return QGuiApplication::platformName().startsWith(QStringLiteral("wayland")); }

QString WindowManagerName() {
  auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
  if (!x11) return {};
  xcb_connection_t* connection = x11->connection();
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  const QByteArray check = ReadProperty(connection, root, Atom(connection, "_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_WINDOW);
  if (check.size() != 4) return {};
  xcb_window_t wm;
  memcpy(&wm, check.constData(), 4);
  return QString::fromUtf8(ReadProperty(connection, wm, Atom(connection, "_NET_WM_NAME"), Atom(connection, "UTF8_STRING")));
}

void SetTransientFor(QWindow* window, QWindow* parent) {
  window->setTransientParent(parent);
  auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
  if (!x11) return;
  xcb_connection_t* connection = x11->connection();
  const auto id = static_cast<xcb_window_t>(window->winId());
  if (parent) {
    const auto parent_id = static_cast<xcb_window_t>(parent->winId());
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, XCB_ATOM_WM_TRANSIENT_FOR, XCB_ATOM_WINDOW, 32, 1,
                        &parent_id);
  } else {
    xcb_delete_property(connection, id, XCB_ATOM_WM_TRANSIENT_FOR);
  }
  if (parent) RestackOnTop(connection, id);
  xcb_flush(connection);
}

void SetDialogType(QWindow* window, bool dialog) {
  auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
  if (!x11) return;
  xcb_connection_t* connection = x11->connection();
  const auto id = static_cast<xcb_window_t>(window->winId());
  const xcb_atom_t type = Atom(connection, dialog ? "_NET_WM_WINDOW_TYPE_DIALOG" : "_NET_WM_WINDOW_TYPE_NORMAL");
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, Atom(connection, "_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, 32, 1,
                      &type);
  if (dialog) RestackOnTop(connection, id);
  xcb_flush(connection);
}

bool TilingWindowManager() { return WindowManagerName() == QStringLiteral("i3"); }

bool TilingDesktop() { return OnWayland() || TilingWindowManager(); }

void PutOnDesktopAt(QWindow* window, QPoint origin) {
  auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
  if (!x11) return;
  xcb_connection_t* connection = x11->connection();
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  const QByteArray viewports = ReadProperty(connection, root, Atom(connection, "_NET_DESKTOP_VIEWPORT"), XCB_ATOM_CARDINAL);
  const QByteArray current = ReadProperty(connection, root, Atom(connection, "_NET_CURRENT_DESKTOP"), XCB_ATOM_CARDINAL);
  const auto at = [&](uint32_t desktop) {
    uint32_t xy[2];
    if (uint64_t(viewports.size()) < (uint64_t(desktop) + 1) * sizeof xy) return false;
    memcpy(xy, viewports.constData() + desktop * sizeof xy, sizeof xy);
    return QPoint(int(xy[0]), int(xy[1])) == origin;
  };
  // The current desktop where it is there, else the first one there.
  uint32_t desktop = UINT32_MAX;
  if (current.size() == 4) memcpy(&desktop, current.constData(), 4);
  for (uint32_t other = 0; !at(desktop) && other < viewports.size() / 8u; ++other) desktop = other;
  if (!at(desktop)) return;
  const auto id = static_cast<xcb_window_t>(window->winId());
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, Atom(connection, "_NET_WM_DESKTOP"), XCB_ATOM_CARDINAL, 32, 1,
                      &desktop);
  xcb_flush(connection);
}

}  // namespace lumox
