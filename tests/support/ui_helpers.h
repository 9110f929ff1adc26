#pragma once
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QThread>
#include <QTimer>
#include <QEventLoop>
#include <functional>

#include "support/pixels.h"

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

}  // namespace lumox::testing
