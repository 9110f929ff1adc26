// The display window's opening and closing against the real settings folder (a fresh temporary
// XDG_DATA_HOME per test process).
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QMenuBar>
#include <QScreen>

#include "display/surface_window.h"
#include "settings/prefs_store.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

void WritePrefs(const QByteArray& text) {
  QDir().mkpath(ApplicationDataFolder());
  QFile file(PrefsFilePath());
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write(text);
}

QByteArray ReadPrefs() {
  QFile file(PrefsFilePath());
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

TEST(DisplayWindow, FirstOpeningTakesTheScreenWithTheDefaults) {
  ASSERT_FALSE(QFile::exists(PrefsFilePath()));
  SurfaceWindow* w = SurfaceWindow::Instance();
  EXPECT_EQ(SurfaceWindow::Instance(), w);
  const QSize screen = QGuiApplication::primaryScreen()->size();
  EXPECT_TRUE(w->isFullScreen());
  EXPECT_FALSE(w->menuBar()->isVisible());
  ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
  EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::BlankCursor);
  EXPECT_EQ(w->cursor().shape(), Qt::ArrowCursor);
  EXPECT_TRUE(w->ini_file_changed);
  EXPECT_FALSE(w->escaped);
  EXPECT_EQ(w->Rotn, 35);
  EXPECT_EQ(w->Speed, kDefaultSpeed);
  EXPECT_EQ(w->ColourSpread, 170);
  EXPECT_EQ(w->StarSize, DefaultStarSize(screen.width()));
  EXPECT_EQ(w->StarMax, 15 * screen.width());
  EXPECT_EQ(w->Timer2()->Period(), 0);
  EXPECT_EQ(w->Timer1()->interval(), 30);
  EXPECT_EQ(w->Timer1()->timerType(), Qt::PreciseTimer);
  // The opening's own refresh drew one frame from CameraZ 0.
  EXPECT_EQ(w->CameraZ, -kDefaultSpeed);
  EXPECT_GT(w->Star[w->StarMax].brightness, 0.0f);
  EXPECT_EQ(w->Star[w->StarMax + 1].brightness, 0.0f);
  EXPECT_TRUE(testing::RunUntil([&] { return w->geometry().size() == screen; }));

  w->Event_Close();
  EXPECT_EQ(ReadPrefs(), QByteArray("35\n0.0035\n170\n") + QByteArray::number(w->StarSize) + "\n" +
                             QByteArray::number(static_cast<qlonglong>(w->StarMax)) + "\n");
  // The closing step runs once: a second call finds nothing more to do.
  QFile::remove(PrefsFilePath());
  w->Event_Close();
  EXPECT_FALSE(QFile::exists(PrefsFilePath()));
}

TEST(DisplayWindow, AFilesValuesAreTakenAsTheyStandButTheStarCountIsHeld) {
  WritePrefs("3000\n0.1\n-7\n15\n90000\n");
  SurfaceWindow* w = SurfaceWindow::Instance();
  EXPECT_FALSE(w->ini_file_changed);
  EXPECT_EQ(w->Rotn, 3000);
  EXPECT_EQ(w->Speed, 0.1f);
  EXPECT_EQ(w->ColourSpread, -7);
  EXPECT_EQ(w->StarSize, 15.0f);
  EXPECT_EQ(w->StarMax, 50000);
  EXPECT_EQ(w->Timer2()->Period(), 20);
  w->Event_Close();  // the file was present and the settings window never opened
  EXPECT_EQ(ReadPrefs(), QByteArray("3000\n0.1\n-7\n15\n90000\n"));
}

TEST(DisplayWindow, AFileThatCannotBeOpenedGivesTheDefaultsAndIsLeftAlone) {
  QDir().mkpath(PrefsFilePath());  // a folder where the file should be
  SurfaceWindow* w = SurfaceWindow::Instance();
  EXPECT_FALSE(w->ini_file_changed);
  EXPECT_EQ(w->Rotn, 35);
  EXPECT_EQ(w->StarMax, DefaultStarMax(QGuiApplication::primaryScreen()->size().width()));
  w->Event_Close();
  EXPECT_TRUE(QFileInfo(PrefsFilePath()).isDir());
  // Even when asked to write, a folder in the way costs nothing but the write.
  w->ini_file_changed = true;
  EXPECT_FALSE(SavePrefsFile(w->CurrentSettings()));
  EXPECT_TRUE(QFileInfo(PrefsFilePath()).isDir());
}

TEST(DisplayWindow, AFailedWriteKeepsTheOldFileWhole) {
  WritePrefs("1\n0.01\n100\n1\n100\n");
  SurfaceWindow* w = SurfaceWindow::Instance();
  w->ini_file_changed = true;
  // A disk that fills up after four bytes, for root too.
  signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit full{4, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &full);
  const bool written = SavePrefsFile(w->CurrentSettings());
  setrlimit(RLIMIT_FSIZE, &limit);
  EXPECT_FALSE(written);
  EXPECT_EQ(ReadPrefs(), QByteArray("1\n0.01\n100\n1\n100\n"));
  EXPECT_EQ(QDir(ApplicationDataFolder()).entryList(QDir::Files), QStringList{"LumoxPrefs"});
}

TEST(DisplayWindow, MaximizeAndMinimizeSetTheThreeStates) {
  SurfaceWindow* w = SurfaceWindow::Instance();
  w->escaped = true;
  w->Event_Minimize();
  EXPECT_FALSE(w->isFullScreen());
  EXPECT_TRUE(w->menuBar()->isVisible());
  w->Event_Maximize();
  EXPECT_TRUE(w->isFullScreen());
  EXPECT_FALSE(w->menuBar()->isVisible());
  EXPECT_TRUE(w->escaped);
}

}  // namespace
}  // namespace lumox
