#include "settings/prefs_watch.h"

#include <QFileInfo>

namespace lumox {

PrefsWatch::PrefsWatch(const QString& path, std::function<void()> changed)
    : path_(path), changed_(std::move(changed)) {
  settle_.setSingleShot(true);
  settle_.setInterval(kSettleMs);
  connect(&settle_, &QTimer::timeout, this, [this] { changed_(); });
  connect(&watcher_, &QFileSystemWatcher::fileChanged, this, [this] { Touched(); });
  connect(&watcher_, &QFileSystemWatcher::directoryChanged, this, [this] { Touched(); });
  if (path_.isEmpty()) return;
  watcher_.addPath(QFileInfo(path_).absolutePath());
  if (QFileInfo::exists(path_)) watcher_.addPath(path_);
}

void PrefsWatch::Touched() {
  // A renamed-over file is a new one: its watch is taken up again.
  if (!watcher_.files().contains(path_) && QFileInfo::exists(path_)) watcher_.addPath(path_);
  settle_.start();
}

}  // namespace lumox
