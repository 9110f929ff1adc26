#pragma once
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QThread>
#include <QTimer>
#include <QEventLoop>
#include <functional>

namespace lumox::testing {

// Runs a real event loop, one that waits for events as the application's does, for `ms`.
inline void RunEventLoop(int ms) {
  QEventLoop loop;
  QTimer::singleShot(ms, &loop, &QEventLoop::quit);
  loop.exec();
}

// Runs the event loop until `done` holds or `ms` pass; gives whether it held.
inline bool RunUntil(const std::function<bool()>& done, int ms = 5000) {
  QElapsedTimer clock;
  clock.start();
  while (!done()) {
    if (clock.elapsed() > ms) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    QThread::msleep(5);
  }
  return true;
}

// Pixels whose brightest channel is above `threshold`.
inline int LitPixels(const QImage& image, int threshold = 24) {
  const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
  int lit = 0;
  for (int y = 0; y < rgb.height(); ++y) {
    const auto* line = reinterpret_cast<const QRgb*>(rgb.constScanLine(y));
    for (int x = 0; x < rgb.width(); ++x)
      if (qMax(qRed(line[x]), qMax(qGreen(line[x]), qBlue(line[x]))) > threshold) ++lit;
  }
  return lit;
}

}  // namespace lumox::testing
