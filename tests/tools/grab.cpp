// Saves a screenshot of the whole X screen named by DISPLAY as a PNG.
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

int main(int argc, char** argv) {
  QGuiApplication app(argc, argv);
  if (argc < 2) return 2;
  // The whole root window, all monitors of it, not only the primary one.
  QScreen* screen = QGuiApplication::primaryScreen();
  const QRect all = screen->virtualGeometry(), primary = screen->geometry();
  const QPixmap shot = screen->grabWindow(0, all.x() - primary.x(), all.y() - primary.y(), all.width(), all.height());
  return shot.save(QString::fromLocal8Bit(argv[1]), "PNG") ? 0 : 1;
}
