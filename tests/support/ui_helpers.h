#pragma once
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QTimer>
#include <cstdint>
#include <functional>

#include "support/pixels.h"

namespace lumox::testing {

// Runs a real event loop, one that waits for events as the application's does, for `ms`.
inline void RunEventLoop(int ms) {
  QEventLoop loop;
  QTimer::singleShot(ms, &loop, &QEventLoop::quit);
  loop.exec();
}

// The same, until `done` holds or `ms` pass; gives whether it held.
inline bool RunUntil(const std::function<bool()>& done, int ms = 60000) {
  QEventLoop loop;
  QElapsedTimer clock;
  clock.start();
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, [&] { if (done() || clock.elapsed() > ms) loop.quit(); });
  poll.start(20);
  loop.exec();
  return done();
}

// A press and release of `key`, delivered where the platform would: to the focus widget.
inline void Press(QWidget* window, int key, const QString& text = {}) {
  QWidget* to = window->focusWidget() ? window->focusWidget() : window;
  for (QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
    QKeyEvent event(type, key, Qt::NoModifier, text);
    QCoreApplication::sendEvent(to, &event);
  }
}

inline Qt::CursorShape AppCursor() {
  return QGuiApplication::overrideCursor() ? QGuiApplication::overrideCursor()->shape() : Qt::ArrowCursor;
}

// The settings file where a user finds it: "LumoxPrefs" straight in the data folder.
inline QString PrefsPath() { return qEnvironmentVariable("XDG_DATA_HOME") + "/LumoxPrefs"; }

inline bool WritePrefs(const QByteArray& text) {
  QFile file(PrefsPath());
  return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

inline QByteArray ReadPrefs() {
  QFile file(PrefsPath());
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// What a first start gives on a screen of this width, from the design's tables; 3840 holds its
// 57600 stars to the array's 50000.
struct ScreenDefaults {
  int width;
  uint32_t star_size_bits;
  int64_t star_max;
  int slider5;
  const char* file;
};

inline const ScreenDefaults* DefaultsForThisScreen() {
  static const ScreenDefaults rows[] = {
      {1024, 0x3F83126F, 15360, 10, "35\n0.0035\n170\n1.024\n15360\n"},
      {1280, 0x3FA3D70A, 19200, 12, "35\n0.0035\n170\n1.28\n19200\n"},
      {1440, 0x3FB851EC, 21600, 14, "35\n0.0035\n170\n1.44\n21600\n"},
      {1920, 0x3FF5C28F, 28800, 19, "35\n0.0035\n170\n1.92\n28800\n"},
      {2560, 0x4023D70A, 38400, 25, "35\n0.0035\n170\n2.56\n38400\n"},
      {3840, 0x4075C28F, 50000, 38, "35\n0.0035\n170\n3.84\n50000\n"},
  };
  for (const ScreenDefaults& row : rows)
    if (row.width == QGuiApplication::primaryScreen()->geometry().width()) return &row;
  return nullptr;
}

#define SKIP_UNLESS_SCREEN_IN_TABLE(row)                                                      \
  if (!(row)) GTEST_SKIP() << "no table of defaults for a screen this wide: run on one 1024, " \
                              "1280, 1440, 1920, 2560 or 3840 wide"

}  // namespace lumox::testing
