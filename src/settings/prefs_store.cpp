#include "settings/prefs_store.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
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
  QSaveFile file(PrefsFilePath());
  if (!file.open(QIODevice::WriteOnly)) return false;
  const std::string text = JoinLines(WriteSettings(settings));
  if (file.write(text.data(), static_cast<qint64>(text.size())) != static_cast<qint64>(text.size())) {
    file.cancelWriting();
    return false;
  }
  return file.commit();
}

}  // namespace lumox
