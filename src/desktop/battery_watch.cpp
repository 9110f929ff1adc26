#include "desktop/battery_watch.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

namespace lumox {

namespace {
const QString kService = QStringLiteral("org.freedesktop.UPower");
const QString kPath = QStringLiteral("/org/freedesktop/UPower");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");
// A missing UPower answers at once; a hung bus must not hold up the start for long.
constexpr int kAskTimeoutMs = 3000;

// A variant's value, whether the bus gave it wrapped or not.
bool Truth(const QVariant& value) {
  if (value.userType() == qMetaTypeId<QDBusVariant>()) return value.value<QDBusVariant>().variant().toBool();
  return value.toBool();
}
}  // namespace

BatteryWatch::BatteryWatch(std::function<void(bool)> changed) : changed_(std::move(changed)) {}

bool BatteryWatch::Ask() {
  QDBusMessage get = QDBusMessage::createMethodCall(kService, kPath, kProperties, QStringLiteral("Get"));
  get << kService << QStringLiteral("OnBattery");
  const QDBusMessage reply = QDBusConnection::systemBus().call(get, QDBus::Block, kAskTimeoutMs);
  if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return false;
  changed_(Truth(reply.arguments().first()));
  return true;
}

bool BatteryWatch::Start(std::string& error) {
  QDBusConnection bus = QDBusConnection::systemBus();
  // Followed before the first answer, so no change falls between the two.
  if (bus.isConnected())
    bus.connect(kService, kPath, kProperties, QStringLiteral("PropertiesChanged"), this,
                SLOT(PropertiesChanged(QString, QVariantMap, QStringList)));
  if (bus.isConnected() && Ask()) return true;
  error = "UPower does not answer on the system bus, so '--pause-on-battery' can't tell the battery from the "
          "mains; the flights go on.";
  return false;
}

void BatteryWatch::PropertiesChanged(const QString& interface, const QVariantMap& changed,
                                     const QStringList& invalidated) {
  if (interface != kService) return;
  if (const auto found = changed.find(QStringLiteral("OnBattery")); found != changed.end())
    changed_(Truth(*found));
  else if (invalidated.contains(QStringLiteral("OnBattery")))
    Ask();
}

}  // namespace lumox
