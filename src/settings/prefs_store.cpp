#include "settings/prefs_store.h"

#include <stdlib.h>
#include <unistd.h>

#include <cerrno>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include "settings/prefs_format.h"

namespace lumox {

QString ApplicationDataFolder() {
  return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
}

QString PrefsFilePath() { return ApplicationDataFolder() + QStringLiteral("/LumoxPrefs"); }

PrefsFileState LoadPrefsFile(Settings& settings) {
  const QString path = PrefsFilePath();
  if (!QFileInfo::exists(path)) return PrefsFileState::Absent;
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return PrefsFileState::Unreadable;
  // Five short lines; anything past the first megabyte can't change what is read.
  const QByteArray text = file.read(1024 * 1024);
  settings = ReadSettings(SplitLines(std::string_view(text.constData(), static_cast<size_t>(text.size()))));
  return PrefsFileState::Read;
}

bool SavePrefsFile(const Settings& settings) {
  QDir().mkpath(ApplicationDataFolder());
  const QByteArray path = QFile::encodeName(PrefsFilePath());
  QByteArray temp = path + ".XXXXXX";
  const int fd = mkstemp(temp.data());
  if (fd < 0) return false;
  const std::string text = JoinLines(WriteSettings(settings));
  bool ok = true;
  for (size_t done = 0; ok && done < text.size();) {
    const ssize_t n = write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    ok = n > 0;
    if (ok) done += static_cast<size_t>(n);
  }
  ok = fsync(fd) == 0 && ok;
  ok = close(fd) == 0 && ok;
  ok = ok && rename(temp.constData(), path.constData()) == 0;
  if (!ok) unlink(temp.constData());
  return ok;
}

}  // namespace lumox
