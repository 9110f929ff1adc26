#pragma once
#include <QImage>
#include <QTimer>

#include "flight/draw_target.h"
#include "flight/fps_readout.h"
#include "flight/sweep_timer.h"
#include "settings/prefs_follow.h"
#include "starfield/star_field.h"

namespace lumox {

// The flight itself: the stars and their five settings, Timer1 (shade and draw a frame) and
// Timer2 (recycle the passed stars), and the frame with its readout. It makes no window: each
// host gives it a target to draw on and keeps that target alive as long as the flight.
class Flight : public StarField {
 public:
  Flight();
  Flight(const Flight&) = delete;
  Flight& operator=(const Flight&) = delete;
  virtual ~Flight();

  void SetTarget(DrawTarget* target) { target_ = target; }
  DrawTarget* Target() const { return target_; }
  QTimer* Timer1() { return &timer1_; }
  SweepTimer* Timer2() { return &timer2_; }

  void Timer1_Action();
  void Timer2_Action();
  bool Surface_Render();
  void Event_Paint();
  // One frame on the target: its context made current, the viewport over all of it, the frame
  // drawn and the buffer swapped. Nothing without a target that can be drawn on.
  void Render();
  // The same, reading the finished frame back before the swap (for checks of what was drawn).
  QImage RenderAndCapture();

  // Timer2's period from the present StarMax and Speed.
  void ResetTimer2Period();
  Settings CurrentSettings() const;
  void ApplySettings(const Settings& settings);
  // The settings file changed under a running flight: it goes on with the new settings, its
  // stars where they are; a new count brings its stars in at the next sweep, as the slider does.
  void Follow(const FollowStep& step);

  // Takes off with `settings`: CameraZ back to 0, the stars made anew, the first frame drawn and
  // both timers running.
  void TakeOff(const Settings& settings);
  // Both timers stop while the target takes no frames; Resume starts them again (the next frame
  // comes one tick later). The flight stands still meanwhile, as no frame moves it.
  bool Paused() const { return paused_; }
  void Pause();
  void Resume();

 private:
  bool Begin();
  DrawTarget* target_ = nullptr;
  QTimer timer1_;
  SweepTimer timer2_;
  FpsReadout fps_readout_;
  bool paused_ = false;
};

}  // namespace lumox
