#include "desktop/x11/x11_hints.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
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

constexpr uint32_t kI3GetWorkspaces = 1;

// i3's answer to one request over its socket (i3-ipc: the magic word, the length and the type,
// then JSON), or empty; an i3 that has not answered within a second is given up.
QByteArray AskI3(xcb_connection_t* connection, xcb_window_t root, uint32_t type) {
  const QByteArray path = ReadProperty(connection, root, Atom(connection, "I3_SOCKET_PATH"), Atom(connection, "UTF8_STRING"));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.isEmpty() || size_t(path.size()) >= sizeof address.sun_path) return {};
  memcpy(address.sun_path, path.constData(), size_t(path.size()));
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return {};
  const timeval second{1, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &second, sizeof second);
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &second, sizeof second);
  const auto receive = [fd](uint32_t size) {
    QByteArray data(qsizetype(size), '\0');
    uint32_t got = 0;
    for (ssize_t n; got < size && (n = recv(fd, data.data() + got, size - got, 0)) > 0;) got += uint32_t(n);
    data.truncate(qsizetype(got));
    return data;
  };
  QByteArray request("i3-ipc"), reply;
  const uint32_t header[2] = {0, type};
  request.append(reinterpret_cast<const char*>(header), sizeof header);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
      send(fd, request.constData(), size_t(request.size()), MSG_NOSIGNAL) == request.size()) {
    const QByteArray head = receive(14);
    uint32_t length = 0;
    if (head.size() == 14 && head.startsWith("i3-ipc")) memcpy(&length, head.constData() + 6, sizeof length);
    if (length < (1u << 24)) reply = receive(length);
  }
  close(fd);
  return reply;
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

void PutOnI3WorkspaceOf(QWindow* window, const QString& output) {
  auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
  if (!x11) return;
  xcb_connection_t* connection = x11->connection();
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  QByteArray shown;
  for (const QJsonValue workspace : QJsonDocument::fromJson(AskI3(connection, root, kI3GetWorkspaces)).array())
    if (workspace["visible"].toBool() && workspace["output"].toString() == output) shown = workspace["name"].toString().toUtf8();
  // A window's desktop is its workspace's place among i3's desktop names.
  const xcb_atom_t utf8 = Atom(connection, "UTF8_STRING");
  const QList<QByteArray> names = ReadProperty(connection, root, Atom(connection, "_NET_DESKTOP_NAMES"), utf8).split('\0');
  const qsizetype desktop = shown.isEmpty() ? -1 : names.indexOf(shown);
  if (desktop < 0) return;
  const auto value = static_cast<uint32_t>(desktop);
  const auto id = static_cast<xcb_window_t>(window->winId());
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, Atom(connection, "_NET_WM_DESKTOP"), XCB_ATOM_CARDINAL, 32, 1,
                      &value);
  xcb_flush(connection);
}

}  // namespace lumox
