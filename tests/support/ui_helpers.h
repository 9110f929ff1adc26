#pragma once
#include <QCoreApplication>
#include <QCursor>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QTimer>
#include <QWidget>
#include <functional>

#include "support/defaults_table.h"
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

inline const ScreenDefaults* DefaultsForThisScreen() {
  return DefaultsFor(QGuiApplication::primaryScreen()->geometry().width());
}

#define SKIP_UNLESS_SCREEN_IN_TABLE(row)                                                      \
  if (!(row)) GTEST_SKIP() << "no table of defaults for a screen this wide: run on one 1024, " \
                              "1280, 1440, 1920, 2560 or 3840 wide"

}  // namespace lumox::testing
