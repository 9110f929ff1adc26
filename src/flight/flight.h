#pragma once
#include <QImage>
#include <QTimer>
#include <array>
#include <vector>

#include "flight/draw_target.h"
#include "flight/fps_readout.h"
#include "flight/view_cut.h"
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
  // A flight across several outputs: each shows its part of one picture. The first that can be
  // drawn on moves the camera, the others draw the same field through it; none is its target.
  struct View {
    DrawTarget* target;
    ViewRect part, whole;  // in logical pixels
  };
  void SetViews(std::vector<View> views);
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
  // The viewport reaches past the target's left and lower edges, and is wider and taller, by these device pixels.
  bool Begin(DrawTarget* target, int left = 0, int below = 0, int wider = 0, int taller = 0);
  bool Draw(const DrawTarget* target, const Projection* cut);
  bool TakesFrames() const;
  void RenderViews();
  DrawTarget* target_ = nullptr;
  std::vector<View> views_;
  // The camera as the last view that moved it left it, for the next view to take over.
  std::array<float, 16> camera_{};
  const DrawTarget* mover_ = nullptr;
  QTimer timer1_;
  SweepTimer timer2_;
  FpsReadout fps_readout_;
  bool paused_ = false;
};

}  // namespace lumox
