#include "shell/pictures.h"

#include <QtGlobal>

static void InitPictures() { Q_INIT_RESOURCE(resources); }

namespace lumox {

namespace {
QImage Load(const char* name) {
  InitPictures();  // the pictures are compiled into a static library: register them first
  return QImage(QStringLiteral(":/") + QString::fromUtf8(name));
}
}  // namespace

const QImage& StartPicture() {
  static const QImage picture = Load("lumox2closseup.jpeg");
  return picture;
}

const QImage& AboutPicture() {
  static const QImage picture = Load("closeup");
  return picture;
}

}  // namespace lumox
