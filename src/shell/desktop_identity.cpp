#include "shell/desktop_identity.h"

#include <QDir>
#include <QGuiApplication>
#include <QIcon>

static void InitIcons() { Q_INIT_RESOURCE(icons); }  // compiled into a static library

namespace lumox {

void SetDesktopIdentity() {
  InitIcons();
  QIcon icon;
  // Each file holds one size; QIcon reads it from the picture.
  for (const QFileInfo& file : QDir(QStringLiteral(":/icons")).entryInfoList(QDir::Files)) icon.addFile(file.filePath());
  QGuiApplication::setWindowIcon(icon);
  QGuiApplication::setDesktopFileName(QString::fromLatin1(kDesktopId));
}

}  // namespace lumox
