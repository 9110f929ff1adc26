// The display window: its first opening, a file's values, its keys; the event loop's sweep and Timer2.
#include <gtest/gtest.h>

#include <QAbstractEventDispatcher>
#include <QMenuBar>

#include "display/surface_window.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

TEST(DisplayWindow, FirstOpeningTakesTheScreenWithItsDefaults) {
  SCREEN_DEFAULTS(row);
  SurfaceWindow* w = SurfaceWindow::Instance();
  EXPECT_TRUE(w->isFullScreen() && !w->menuBar()->isVisible() && !w->escaped);
  EXPECT_EQ(std::pair(AppCursor(), w->Timer1()->interval()), std::pair(Qt::BlankCursor, 30));

  w->Event_Close();  // no file was there: the screen's defaults are written, once
  EXPECT_EQ(ReadPrefs(), row->file);
  QFile::remove(PrefsPath());
  w->Event_Close();
  EXPECT_FALSE(QFile::exists(PrefsPath()));
}

TEST(DisplayWindow, AFilesValuesAreTakenAsTheyStandButTheStarCountIsHeld) {
  ASSERT_TRUE(WritePrefs("3000\n0.1\n-7\n15\n90000\n"));
  SurfaceWindow* w = SurfaceWindow::Instance();
  EXPECT_EQ(std::tuple(w->Rotn, w->Speed, w->ColourSpread, w->StarSize, w->StarMax, w->Timer2()->Period()),
            std::tuple(3000, 0.1f, -7, 15.0f, 50000, 20));
  for (int key : {Qt::Key_Up, Qt::Key_Left}) Press(w, key);
  w->Event_Close();  // the file was there and the settings window never opened: it stays as it was
  EXPECT_EQ(ReadPrefs(), "3000\n0.1\n-7\n15\n90000\n");
}

TEST(DisplayWindow, KeysSteerTheFlightAndEscapeLeavesFullScreenOnce) {
  SurfaceWindow* w = SurfaceWindow::Instance();
  w->StarMax = 50000;
  w->Speed = 0.1f;
  w->Timer2()->SetPeriod(7);
  Press(w, Qt::Key_Down);  // ~0.0975: 19.5 before truncation
  EXPECT_EQ(w->Timer2()->Period(), 19);
  Press(w, Qt::Key_Up);
  EXPECT_EQ(std::pair(Bits(w->Speed), w->Timer2()->Period()), std::pair(0x3DCCCCCDu, int64_t{20}));
  for (int key : {Qt::Key_Left, Qt::Key_Left, Qt::Key_Right}) Press(w, key);
  EXPECT_EQ(w->Rotn, 15);

  Press(w, Qt::Key_Escape);  // the geometry is read at once, before the window manager has a say
  EXPECT_TRUE(w->escaped && w->menuBar()->isVisible() && !w->isFullScreen()) << w->isFullScreen();
  EXPECT_EQ(w->geometry(), QRect(20, 50, 600, 400));
  w->setGeometry(120, 140, 500, 300);  // where the user puts it, a second escape leaves it
  Press(w, Qt::Key_Escape);
  EXPECT_TRUE(w->escaped && !w->isFullScreen() && w->geometry() == QRect(120, 140, 500, 300)) << w->geometry().x();
}

TEST(EventLoop, NoLiveStarIsBehindTheCameraWhenTheLoopWaits) {  // the sweep runs after every frame
  SurfaceWindow* w = SurfaceWindow::Instance();
  w->Speed = 0.05f;  // every frame passes some stars
  w->StarMax = 50000;
  w->Timer2()->SetPeriod(0);
  int64_t passes = 0, behind = 0;
  const float start_z = w->CameraZ;
  // Connected after the window's own sweep, so it sees the stars as the sweep left them.
  auto hook = QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, [&] {
    ++passes;
    for (int64_t i = 1; i <= w->StarMax; ++i) behind += w->Star[i].z > w->CameraZ;
  });
  QElapsedTimer clock;
  clock.start();
  EXPECT_TRUE(RunUntil([&] { return w->CameraZ < start_z - 1.0f; }));  // 20 frames of 0.05
  QObject::disconnect(hook);
  EXPECT_LT(passes, clock.elapsed() / 2);  // the loop sleeps rather than spinning
  EXPECT_EQ(behind, 0);
}

TEST(EventLoop, Timer2SwitchesBetweenLoopPassesAndAPeriod) {
  int fired = 0, wakes = 0;
  SweepTimer timer([&] { ++fired; });
  QTimer wake;  // something for the loop to wake up for, every 2 ms; every other wake moves something
  QObject::connect(&wake, &QTimer::timeout, [&] { if (++wakes % 2) timer.Arm(); });
  wake.start(2);
  timer.SetPeriod(-8);  // from a hand-edited file: ticks as often as the loop allows
  EXPECT_EQ(timer.Period(), 0);
  EXPECT_TRUE(RunUntil([&] { return fired > 50; }));
  EXPECT_LE(fired, (wakes + 1) / 2 + 1);  // one sweep for each time something moved, not one a pass

  fired = 0;
  timer.SetPeriod(20);  // and no longer on every pass
  QElapsedTimer clock;
  clock.start();
  RunUntil([] { return false; }, 500);
  EXPECT_TRUE(fired > 0 && fired <= clock.elapsed() / 20 + 1) << fired;
}

}  // namespace
}  // namespace lumox
