// The flight driven by the real event loop: the sweep runs on every pass before the loop waits.
#include <gtest/gtest.h>

#include <QAbstractEventDispatcher>

#include "display/surface_window.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

int64_t StarsAboveCamera(const SurfaceWindow& w) {
  int64_t count = 0;
  for (int64_t i = 1; i <= w.StarMax; ++i) count += w.Star[i].z > w.CameraZ;
  return count;
}

TEST(EventLoop, NoLiveStarIsBehindTheCameraWhenTheLoopWaits) {
  SurfaceWindow* window = SurfaceWindow::Instance();
  window->Speed = 0.05f;  // fast enough that every frame passes some stars
  window->StarMax = 50000;
  window->Timer2()->SetPeriod(0);
  ASSERT_EQ(window->Timer2()->Period(), 0);

  int passes = 0;
  int64_t behind = 0;
  const float start_z = window->CameraZ;
  // Connected after the window's own sweep, so it sees the stars as the sweep left them.
  auto hook = QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                               [&] {
                                 ++passes;
                                 behind += StarsAboveCamera(*window);
                               });
  testing::RunEventLoop(1500);
  QObject::disconnect(hook);

  EXPECT_LT(window->CameraZ, start_z - 1.0f);  // about 45 frames of 0.05
  EXPECT_GT(passes, 20);
  // The loop sleeps between events rather than spinning: a few passes per frame, not thousands.
  EXPECT_LT(passes, 1500);
  EXPECT_EQ(behind, 0);
}

TEST(EventLoop, Timer2SwitchesBetweenLoopPassesAndAPeriod) {
  int fired = 0;
  SweepTimer timer([&] { ++fired; });
  timer.SetPeriod(20);
  testing::RunEventLoop(500);
  EXPECT_GE(fired, 15);
  EXPECT_LE(fired, 30);

  fired = 0;
  timer.SetPeriod(-8);  // a negative period, from a hand-edited file, ticks as often as the loop allows
  EXPECT_EQ(timer.Period(), 0);
  QTimer wake;  // something for the loop to wake up for
  wake.start(2);
  testing::RunEventLoop(300);
  EXPECT_GT(fired, 50);
}

}  // namespace
}  // namespace lumox
