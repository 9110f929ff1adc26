#include "shell/idle_inhibitor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEvent>
#include <QGuiApplication>
#include <cstring>
#include <vector>

#include "desktop/x11/x11_idle.h"
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
