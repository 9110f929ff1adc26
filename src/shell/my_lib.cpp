#include "shell/my_lib.h"

#include <QDir>
#include <QMessageBox>

#include "settings/prefs_store.h"

namespace myLib {

QString AppName;
QString AppBundleID;
QString ApplicationDataFolder;
QString PrefsFile;
double pi = 0.0;
QColor black;
QColor red;
QColor green;
QColor blue;
QString CR;
QString DQUOTE;

namespace {
void MsgBox(const char* text) { QMessageBox::information(nullptr, QStringLiteral("Lumox"), QString::fromUtf8(text)); }
}  // namespace

void InitMyLib(const QString& name) {
  AppName = name;
  MakeBundleID();
  MakeApplicationFolder();
  MakePrefsFileName();
  pi = 3.141592653589793;
  black = QColor(0, 0, 0, 0);
  red = QColor(255, 0, 0, 0);
  green = QColor(0, 170, 0, 0);
  blue = QColor(0, 0, 255, 0);
  CR = QString(QChar(13));
  DQUOTE = QString(QChar(34));
}

void MakeBundleID() { AppBundleID = QStringLiteral("net.tallowby.") + AppName; }

void MakeApplicationFolder() {
  const QString base = lumox::ApplicationDataFolder();
  ApplicationDataFolder = base.isEmpty() ? QString() : base + QLatin1Char('/') + AppBundleID;
  if (ApplicationDataFolder.isEmpty()) MsgBox(kNoDataFolderMessage);
}

void MakePrefsFileName() {
  // Whether the folder could be made is not looked at: nothing in the program keeps files in it.
  if (!ApplicationDataFolder.isEmpty() && !QDir(ApplicationDataFolder).exists()) QDir().mkpath(ApplicationDataFolder);
  PrefsFile = ApplicationDataFolder.isEmpty() ? QString() : ApplicationDataFolder + QLatin1Char('/') + AppName + "Prefs";
  if (PrefsFile.isEmpty()) MsgBox(kNoPrefsMessage);
}

}  // namespace myLib
