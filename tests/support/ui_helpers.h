#pragma once
// What the widget and GL tests share: a real event loop, keys, the pointer, the settings file, the defaults.
#include <gtest/gtest.h>

#include <QCursor>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QTimer>
#include <QWidget>
#include <cstdint>
#include <functional>

#include "support/core_helpers.h"
#include "support/defaults_table.h"

namespace lumox {
namespace {

// Runs a real event loop, waiting for events as the application's does, until `done` holds or `ms` pass.
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
  for (QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
    QKeyEvent event(type, key, Qt::NoModifier, text);
    QCoreApplication::sendEvent(window->focusWidget() ? window->focusWidget() : window, &event);
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

// `row`: a first start's defaults on a screen this wide; the test is skipped on a width the table has not.
#define SCREEN_DEFAULTS(row)                                                                          \
  const testing::ScreenDefaults* row = testing::DefaultsFor(QGuiApplication::primaryScreen()->geometry().width()); \
  if (!row) GTEST_SKIP() << "no table of defaults for a screen this wide: run on one 1024, 1280, 1440, 1920, 2560 or 3840 wide"

}  // namespace
}  // namespace lumox
