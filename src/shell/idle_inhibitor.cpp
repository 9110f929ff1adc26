#include "shell/idle_inhibitor.h"

#include <xcb/xcb.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEvent>
#include <QGuiApplication>
#include <cstring>
#include <vector>

#include "display/surface_window.h"

namespace lumox {

namespace {

// An answer slower than this counts as a refusal; the flight never waits for it either way.
constexpr int kCallTimeoutMs = 5000;
// Minimising a full-screen window, a window manager may map it again for a moment before it
// goes; the inhibit follows the state once it has held this long.
constexpr int kSettleMs = 300;

const QString kScreenSaver = QStringLiteral("org.freedesktop.ScreenSaver");
const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kReason = QStringLiteral("Star-field flight on screen");
constexpr uint kPortalIdle = 8;

QString ScreenSaverPath(InhibitRoute route) {
  return route == InhibitRoute::ScreenSaverOldPath ? QStringLiteral("/ScreenSaver")
                                                   : QStringLiteral("/org/freedesktop/ScreenSaver");
}

QDBusMessage InhibitCall(InhibitRoute route) {
  if (route == InhibitRoute::Portal) {
    QDBusMessage call = QDBusMessage::createMethodCall(kPortal, QStringLiteral("/org/freedesktop/portal/desktop"),
                                                       QStringLiteral("org.freedesktop.portal.Inhibit"),
                                                       QStringLiteral("Inhibit"));
    call << QString() << kPortalIdle << QVariantMap{{QStringLiteral("reason"), kReason}};
    return call;
  }
  QDBusMessage call = QDBusMessage::createMethodCall(kScreenSaver, ScreenSaverPath(route), kScreenSaver,
                                                     QStringLiteral("Inhibit"));
  call << QStringLiteral("Lumox") << kReason;
  return call;
}

QDBusMessage ReleaseCall(InhibitRoute route, const QVariant& grant) {
  if (route == InhibitRoute::Portal)
    return QDBusMessage::createMethodCall(kPortal, qvariant_cast<QDBusObjectPath>(grant).path(),
                                          QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Close"));
  QDBusMessage call = QDBusMessage::createMethodCall(kScreenSaver, ScreenSaverPath(route), kScreenSaver,
                                                     QStringLiteral("UnInhibit"));
  call << grant;
  return call;
}

// What a granted Inhibit answers: a cookie from the screensaver service, a request from the portal.
bool IsGrant(InhibitRoute route, const QDBusMessage& reply) {
  // arguments() gives a new list each time: the grant is taken out of one that is held.
  const QVariantList arguments = reply.arguments();
  if (reply.type() != QDBusMessage::ReplyMessage || arguments.size() != 1) return false;
  const QVariant& grant = arguments.first();
  return route == InhibitRoute::Portal ? grant.canConvert<QDBusObjectPath>() : grant.typeId() == QMetaType::UInt;
}

xcb_atom_t Atom(xcb_connection_t* c, xcb_intern_atom_cookie_t cookie) {
  xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(c, cookie, nullptr);
  const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  free(reply);
  return atom;
}

xcb_intern_atom_cookie_t AskAtom(xcb_connection_t* c, const char* name) {
  return xcb_intern_atom(c, 1, std::strlen(name), name);  // only if it exists: a saver made it
}

// The X server's own saver counts idleness from the last input, and a reset starts it over.
// XScreenSaver 6 watches input by itself and is told instead, by the message
// `xscreensaver-command -deactivate` sends to its daemon's window (the top-level window carrying
// _SCREENSAVER_VERSION). Requests go out in two batches, so this costs two round trips. Errors
// (a window gone meanwhile) are dropped here rather than reported by Qt.
void NudgeX11Savers() {
  auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
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

}  // namespace

IdleInhibitor::IdleInhibitor() {
  settle_.setSingleShot(true);
  settle_.setInterval(kSettleMs);
  connect(&settle_, &QTimer::timeout, this, &IdleInhibitor::Apply);
  nudge_.setInterval(kIdleNudgeMs);
  connect(&nudge_, &QTimer::timeout, this, &NudgeX11Savers);
  qApp->installEventFilter(this);
}

// At quit the event loop has ended before the last change settles: what is held is given back here.
IdleInhibitor::~IdleInhibitor() { Carry(plan_.SetShown(false)); }

bool IdleInhibitor::eventFilter(QObject* watched, QEvent* event) {
  // The display window tells when its flight comes on screen, which is after its first showing.
  if (event->type() == QEvent::Show)
    if (auto* display = qobject_cast<SurfaceWindow*>(watched)) {
      qApp->removeEventFilter(this);
      connect(display, &SurfaceWindow::FlightShownChanged, this, &IdleInhibitor::SetShown);
    }
  return false;
}

void IdleInhibitor::SetShown(bool shown) {
  shown_ = shown;
  settle_.start();
}

void IdleInhibitor::Apply() {
  if (!shown_)
    nudge_.stop();
  else if (!nudge_.isActive())
    nudge_.start();
  if (!QDBusConnection::sessionBus().isConnected()) return;
  Carry(plan_.SetShown(shown_));
}

void IdleInhibitor::Carry(std::optional<InhibitStep> step) {
  if (!step) return;
  if (step->kind == InhibitStep::Kind::Release)
    Release(step->route);
  else
    Ask(step->route);
}

void IdleInhibitor::Ask(InhibitRoute route) {
  auto* call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(InhibitCall(route), kCallTimeoutMs), this);
  connect(call, &QDBusPendingCallWatcher::finished, this, [this, route](QDBusPendingCallWatcher* call) {
    call->deleteLater();
    const QDBusMessage reply = call->reply();
    if (IsGrant(route, reply)) {
      grant_ = reply.arguments().first();
      Carry(plan_.Granted());
      return;
    }
    const bool gone = call->error().type() == QDBusError::ServiceUnknown;
    Carry(plan_.Refused(gone ? InhibitRefusal::NoService : InhibitRefusal::Other));
  });
}

void IdleInhibitor::Release(InhibitRoute route) {
  // Sent without waiting for the answer; at quit it goes out before the process ends.
  QDBusConnection::sessionBus().send(ReleaseCall(route, grant_));
}

}  // namespace lumox
