#pragma once
#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>
#include <functional>

namespace lumox {

// Tells when the settings file has been written in place or replaced. The folder is watched as
// well as the file: a save renames a new file over the old one, and a watch on the file alone
// ends with the old one.
class PrefsWatch : public QObject {
 public:
  // The settle: a write in place comes in pieces (truncated, then written), and is read once.
  static constexpr int kSettleMs = 100;
  PrefsWatch(const QString& path, std::function<void()> changed);

 private:
  void Touched();
  QString path_;
  std::function<void()> changed_;
  QFileSystemWatcher watcher_;
  QTimer settle_;
};

}  // namespace lumox
