// Saves a screenshot of the whole X screen named by DISPLAY as a PNG.
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

int main(int argc, char** argv) {
  QGuiApplication app(argc, argv);
  if (argc < 2) return 2;
  const QPixmap shot = QGuiApplication::primaryScreen()->grabWindow(0);
  return shot.save(QString::fromLocal8Bit(argv[1]), "PNG") ? 0 : 1;
}
