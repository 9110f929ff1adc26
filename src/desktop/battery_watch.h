#pragma once
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <functional>
#include <string>

namespace lumox {

// UPower's OnBattery on the system bus, told at the start and at each change.
class BatteryWatch : public QObject {
  Q_OBJECT
 public:
  explicit BatteryWatch(std::function<void(bool on_battery)> changed);
  // Asks UPower and follows it; false, with `error` set, when there is no UPower to ask.
  bool Start(std::string& error);

 private slots:
  void PropertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList& invalidated);

 private:
  bool Ask();
  std::function<void(bool)> changed_;
};

}  // namespace lumox
