// The flight driven by the real event loop: the sweep runs on every pass before the loop waits.
#include <gtest/gtest.h>

#include <QAbstractEventDispatcher>

#include "display/surface_window.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

TEST(EventLoop, NoLiveStarIsBehindTheCameraWhenTheLoopWaits) {
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
  EXPECT_TRUE(testing::RunUntil([&] { return w->CameraZ < start_z - 1.0f; }));  // 20 frames of 0.05
  QObject::disconnect(hook);
  EXPECT_LT(passes, clock.elapsed() / 2);  // the loop sleeps rather than spinning
  EXPECT_EQ(behind, 0);
}

TEST(EventLoop, Timer2SwitchesBetweenLoopPassesAndAPeriod) {
  int fired = 0;
  SweepTimer timer([&] { ++fired; });
  QTimer wake;  // something for the loop to wake up for, every 2 ms
  wake.start(2);
  timer.SetPeriod(-8);  // from a hand-edited file: ticks as often as the loop allows
  EXPECT_EQ(timer.Period(), 0);
  EXPECT_TRUE(testing::RunUntil([&] { return fired > 50; }));

  fired = 0;
  timer.SetPeriod(20);  // and no longer on every pass
  QElapsedTimer clock;
  clock.start();
  testing::RunEventLoop(500);
  EXPECT_TRUE(fired > 0 && fired <= clock.elapsed() / 20 + 1) << fired;
}

}  // namespace
}  // namespace lumox
