// The display window's opening and closing against a fresh settings folder per test process.
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

namespace lumox {
namespace {

void WritePrefs(const QByteArray& text) {
  QDir().mkpath(ApplicationDataFolder());
  QFile file(PrefsFilePath());
  ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
}

QByteArray ReadPrefs() {
  QFile file(PrefsFilePath());
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

TEST(DisplayWindow, FirstOpeningTakesTheScreenWithTheDefaults) {
  ASSERT_FALSE(QFile::exists(PrefsFilePath()));
  SurfaceWindow* w = SurfaceWindow::Instance();
  const QSize screen = QGuiApplication::primaryScreen()->size();
  EXPECT_TRUE(w->isFullScreen() && !w->menuBar()->isVisible());
  ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
  EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::BlankCursor);
  EXPECT_EQ(w->cursor().shape(), Qt::ArrowCursor);
  EXPECT_TRUE(w->ini_file_changed && !w->escaped);
  EXPECT_EQ(w->StarSize, DefaultStarSize(screen.width()));
  EXPECT_EQ(w->StarMax, 15 * screen.width());
  EXPECT_EQ(w->Timer2()->Period(), 0);
  EXPECT_TRUE(w->Timer1()->interval() == 30 && w->Timer1()->timerType() == Qt::PreciseTimer);
  // The opening's own refresh drew one frame from CameraZ 0.
  EXPECT_EQ(w->CameraZ, -kDefaultSpeed);
  EXPECT_TRUE(w->Star[w->StarMax].brightness > 0.0f && w->Star[w->StarMax + 1].brightness == 0.0f);

  w->Event_Close();  // the defaults, Rotn 35, Speed 0.0035 and ColourSpread 170 among them
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
  EXPECT_TRUE(w->Rotn == 3000 && w->Speed == 0.1f && w->ColourSpread == -7 && w->StarSize == 15.0f);
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
  EXPECT_FALSE(SavePrefsFile(w->CurrentSettings()));  // a folder in the way costs only the write
  EXPECT_TRUE(QFileInfo(PrefsFilePath()).isDir());
}

TEST(DisplayWindow, AFailedWriteKeepsTheOldFileWhole) {
  WritePrefs("1\n0.01\n100\n1\n100\n");
  // A disk that fills up after four bytes, for root too.
  signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit full{4, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &full);
  const bool written = SavePrefsFile(DefaultSettings(1440));
  setrlimit(RLIMIT_FSIZE, &limit);
  EXPECT_FALSE(written);
  EXPECT_EQ(ReadPrefs(), QByteArray("1\n0.01\n100\n1\n100\n"));
  EXPECT_EQ(QDir(ApplicationDataFolder()).entryList(QDir::Files), QStringList{"LumoxPrefs"});
}

}  // namespace
}  // namespace lumox
